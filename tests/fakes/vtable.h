#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#if defined(__clang__)
#define FAKES_NO_FUNCTION_CHECK __attribute__((no_sanitize("undefined")))
#else
#define FAKES_NO_FUNCTION_CHECK
#endif

namespace fakes {

/// Calls the operation at an index of the object's virtual table, as code built against another header would. `object`
/// must point at the view whose table is meant; references are passed as pointers.
template <class Result, class... Arguments>
FAKES_NO_FUNCTION_CHECK Result call_slot(void* object, std::size_t slot, Arguments... arguments) {
    using Function = Result (*)(void*, Arguments...);
    void** table = *static_cast<void***>(object);
    return reinterpret_cast<Function>(table[slot])(object, arguments...);
}

/// Returns the index at which callers look for a virtual operation. A pointer to it holds the index in bytes in its
/// first word, on some machines with the lowest bit set.
template <class Operation>
std::size_t slot_of(Operation operation) {
    static_assert(std::is_member_function_pointer_v<Operation>);
    std::size_t words[2];
    static_assert(sizeof words == sizeof operation);
    std::memcpy(words, &operation, sizeof words);
    return words[0] / sizeof(void*);
}

template <class... Operations>
std::vector<std::size_t> slots_of(Operations... operations) {
    return {slot_of(operations)...};
}

} // namespace fakes
