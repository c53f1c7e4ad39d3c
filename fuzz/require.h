#pragma once

/// Requires a condition for every input; the fuzz target traps if it is false.
inline void require(bool condition) {
    if (!condition) __builtin_trap();
}
