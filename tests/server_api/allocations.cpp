#include "tests/server_api/allocations.h"

#include <cstdlib>
#include <limits>
#include <new>

namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();
thread_local std::size_t counted = 0;
thread_local std::size_t left_until_failure = never;
thread_local bool failed = false;

} // namespace

namespace allocations {

std::size_t count() noexcept {
    return counted;
}

void fail_after(std::size_t n) noexcept {
    left_until_failure = n;
    failed = false;
}

bool stop_failing() noexcept {
    left_until_failure = never;
    return failed;
}

} // namespace allocations

void* operator new(std::size_t size) {
    ++counted;
    if (left_until_failure != never && left_until_failure-- == 0) {
        left_until_failure = never;
        failed = true;
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
