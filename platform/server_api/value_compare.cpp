// The total order of Values, without recursion.
#include "platform/server_api/value_access.h"

#include <boost/container/small_vector.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ZoHmiSrv {

using Layout::MemberNames;

namespace {

template <class T>
int order(const T& left, const T& right) noexcept {
    return left < right ? -1 : static_cast<int>(right < left);
}

int order_doubles(double left, double right) noexcept {
    if (std::isnan(left) || std::isnan(right)) return order(std::isnan(left), std::isnan(right));
    return order(left, right);
}

/// A position in two containers of the same type.
class Walk {
public:
    Walk(const Value& left, const Value& right) noexcept
        : named_(ValueAccess::is_map(left)), left_{ValueAccess::block(left)}, right_{ValueAccess::block(right)} {}

    /// Returns the order of the next pair's names; the caller compares the pair's values. At the end of one container
    /// it returns the order of the sizes, and sets `done`.
    int next(const Value*& a, const Value*& b, bool& done) noexcept {
        const bool left_ended = left_.at_end();
        const bool right_ended = right_.at_end();
        done = left_ended || right_ended;
        if (done) return order(right_ended, left_ended);
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

        /// True at the end of the last block. Moves to the next block at the end of others.
        bool at_end() noexcept {
            while (block != nullptr && at == block->size)
                *this = {block->next};
            return block == nullptr;
        }
    };

    bool named_;
    Place left_, right_;
};

/// The first levels need no memory.
using WalkStack = boost::container::small_vector<Walk, 8>;

int compare_bytes(const Value& left, const Value& right) noexcept {
    if (ValueAccess::bytes(left) == ValueAccess::bytes(right)) return 0; // copies share their bytes
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
        if (const int types = order(a->type_, b->type_); types != 0) return types;
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
            if (ValueAccess::block(*a) != ValueAccess::block(*b)) // equal: both are empty, or share a tree
                stack.emplace_back(*a, *b);
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
        if (result != 0) return result;
        for (bool done = true; done;) {
            if (stack.empty()) return 0;
            if (result = stack.back().next(a, b, done); result != 0) return result;
            if (done) stack.pop_back();
        }
    }
}

} // namespace ZoHmiSrv
