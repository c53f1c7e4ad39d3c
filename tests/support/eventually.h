#pragma once

#include <chrono>
#include <thread>

namespace zo_test {

/// Polls until the condition is true; returns false when that timed out.
template <class Condition>
bool eventually(Condition&& condition, std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace zo_test
