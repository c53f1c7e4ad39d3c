#pragma once

#include <cstddef>

/// Counts and fails what this program and the libraries in it allocate with `new`.
namespace allocations {

/// How many there were on this thread so far.
std::size_t count() noexcept;

/// How many there are while the operation runs.
template <class Operation>
std::size_t during(Operation operation) {
    const std::size_t before = count();
    operation();
    return count() - before;
}

/// Lets the n-th allocation from now on (0 is the next) throw `std::bad_alloc`, once.
void fail_after(std::size_t n) noexcept;

/// Takes the order back; true if it was carried out.
bool stop_failing() noexcept;

} // namespace allocations
