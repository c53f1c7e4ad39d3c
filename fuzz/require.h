#pragma once

/// What must hold for any input; a fuzz target traps where it does not.
inline void require(bool condition) {
    if (!condition) __builtin_trap();
}
