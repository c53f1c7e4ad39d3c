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
class Walk {
public:
    Walk(const Value& left, const Value& right) noexcept
        : named_(ValueAccess::is_map(left)), left_{ValueAccess::block(left)}, right_{ValueAccess::block(right)} {}

    /// Gives the next pair, or the order if it is settled here: `done` then.
    int next(const Value*& a, const Value*& b, bool& done) noexcept {
        const bool left_over = left_.over();
        const bool right_over = right_.over();
        done = left_over || right_over;
        if (done) {
            return order(right_over, left_over);
        }
        const std::size_t left = left_.at++;
        const std::size_t right = right_.at++;
        if (!named_) {
            a = elements_of(left_.block) + left;
            b = elements_of(right_.block) + right;
            return 0;
        }
        const MapMember& left_member = members_of(left_.block)[left];
        const MapMember& right_member = members_of(right_.block)[right];
        a = &left_member.value;
        b = &right_member.value;
        return MemberNames::compare(left_member.name, right_member.name);
    }

private:
    struct Place {
        Block* block;
        std::size_t at = 0;

        /// Goes on to the next block where there is one.
        bool over() noexcept {
            while (block != nullptr && at == block->size) {
                *this = {block->next};
            }
            return block == nullptr;
        }
    };

    bool named_;
    Place left_, right_;
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
        case ValueType::Map:
        case ValueType::Struct:
            if (ValueAccess::block(*a) != ValueAccess::block(*b)) { // else both are empty, or share a tree
                stack.push(Walk(*a, *b));
            }
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
