#pragma once

#include <atomic>
#include <memory>
#include <thread>

namespace zo_logger_proxy {

// A thread on which its own object died cannot be joined by that object. It is parked here, to be joined by a later
// call that finds `ended` set, or when the library is unloaded: its code must not go away under it. [any thread]
void park(std::thread thread, std::shared_ptr<const std::atomic<bool>> ended);

// Joins the parked threads that have ended. [any thread]
void reap_parked();

} // namespace zo_logger_proxy
