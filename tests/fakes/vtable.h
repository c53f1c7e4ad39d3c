#pragma once

#include <cstddef>

#if defined(__clang__)
#define FAKES_NO_FUNCTION_CHECK __attribute__((no_sanitize("undefined")))
#else
#define FAKES_NO_FUNCTION_CHECK
#endif

namespace fakes {

// Calls the operation at an index of the object's virtual table, as code built against another header would. `object`
// must point at the view whose table is meant; references are passed as pointers.
template <class Result, class... Arguments>
FAKES_NO_FUNCTION_CHECK Result call_slot(void* object, std::size_t slot, Arguments... arguments) {
    using Function = Result (*)(void*, Arguments...);
    void** table = *static_cast<void***>(object);
    return reinterpret_cast<Function>(table[slot])(object, arguments...);
}

} // namespace fakes
