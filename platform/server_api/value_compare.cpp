// The total order of Values, without recursion.
#include "platform/server_api/value_access.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

namespace ZoHmiSrv {

using Layout::MemberNames;

namespace {

template <class T>
int order(const T& left, const T& right) noexcept {
    return left < right ? -1 : static_cast<int>(right < left);
}

int order_doubles(double left, double right) noexcept {
    if (std::isnan(left) || std::isnan(right)) {
        return order(std::isnan(left), std::isnan(right));
    }
    return order(left, right);
}

/// Two containers of the same type on the way through their contents.
struct Walk {
    bool named;
    ConstVectorIterator<Value> left, left_end, right, right_end;
    ConstIterator<Value> left_member, left_member_end, right_member, right_member_end;

    /// Gives the next pair, or the order if it is settled here: `done` then.
    int next(const Value*& a, const Value*& b, bool& done) noexcept {
        const bool left_over = named ? left_member == left_member_end : left == left_end;
        const bool right_over = named ? right_member == right_member_end : right == right_end;
        done = left_over || right_over;
        if (done) {
            return order(right_over, left_over);
        }
        if (!named) {
            a = &*left++;
            b = &*right++;
            return 0;
        }
        const int names = std::strcmp(left_member.name(), right_member.name());
        a = &*left_member;
        b = &*right_member;
        ++left_member;
        ++right_member;
        return names;
    }
};

/// The first levels cost no memory, and nothing before they are reached.
class WalkStack {
public:
    bool empty() const noexcept { return depth_ == 0; }
    Walk& top() noexcept { return depth_ <= near_limit ? near_[depth_ - 1].walk : far_.back(); }
    void push(const Walk& walk) {
        if (depth_ < near_limit) {
            std::construct_at(&near_[depth_].walk, walk);
        } else {
            far_.push_back(walk);
        }
        ++depth_;
    }
    void pop() noexcept {
        if (depth_ > near_limit) {
            far_.pop_back();
        }
        --depth_;
    }

private:
    static constexpr std::size_t near_limit = 8;
    static_assert(std::is_trivially_destructible_v<Walk>);
    union Place {
        Place() noexcept {}
        Walk walk;
    };

    Place near_[near_limit];
    std::vector<Walk> far_;
    std::size_t depth_ = 0;
};

int compare_bytes(const Value& left, const Value& right) noexcept {
    if (ValueAccess::bytes(left) == ValueAccess::bytes(right)) {
        return 0; // copies share them
    }
    const std::size_t left_size = ValueAccess::bytes_size(left);
    const std::size_t right_size = ValueAccess::bytes_size(right);
    const std::size_t common = std::min(left_size, right_size);
    const int bytes = std::memcmp(ValueAccess::bytes(left), ValueAccess::bytes(right), common);
    return bytes != 0 ? bytes : order(left_size, right_size);
}

} // namespace

int Value::compare(const Value& left, const Value& right) {
    WalkStack stack;
    const Value* a = &left;
    const Value* b = &right;
    for (;;) {
        if (const int types = order(a->type_, b->type_); types != 0) {
            return types;
        }
        int result = 0;
        switch (a->type_) {
        case ValueType::Bool:
            result = order(a->payload_.boolean, b->payload_.boolean);
            break;
        case ValueType::Int:
            result = order(a->payload_.int32, b->payload_.int32);
            break;
        case ValueType::Double:
            result = order_doubles(a->payload_.real, b->payload_.real);
            break;
        case ValueType::Int64:
        case ValueType::DateTime:
        case ValueType::TimeSpan:
            result = order(a->payload_.int64, b->payload_.int64);
            break;
        case ValueType::UInt64:
            result = order(a->payload_.uint64, b->payload_.uint64);
            break;
        case ValueType::String:
        case ValueType::Binary:
            result = compare_bytes(*a, *b);
            break;
        case ValueType::Vector:
            stack.push(
                Walk{false, a->begin_vector(), a->end_vector(), b->begin_vector(), b->end_vector(), {}, {}, {}, {}});
            break;
        case ValueType::Map:
        case ValueType::Struct:
            stack.push(Walk{true, {}, {}, {}, {}, a->begin(), a->end(), b->begin(), b->end()});
            break;
        case ValueType::Event:
        case ValueType::Message:
        case ValueType::Alarm:
            result = ValueAccess::compare_shell(ValueAccess::block(*a), ValueAccess::block(*b));
            if (result == 0) {
                const Value* inside = &ValueAccess::inner(ValueAccess::block(*a));
                b = &ValueAccess::inner(ValueAccess::block(*b));
                a = inside;
                continue;
            }
            break;
        default:
            break;
        }
        if (result != 0) {
            return result;
        }
        for (bool done = true; done;) {
            if (stack.empty()) {
                return 0;
            }
            if (result = stack.top().next(a, b, done); result != 0) {
                return result;
            }
            if (done) {
                stack.pop();
            }
        }
    }
}

} // namespace ZoHmiSrv
