#pragma once

#include "platform/link/connection.h"
#include "tests/support/eventually.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace zo_test {

/// Records the events of a connection. [any thread]
class LinkEvents final : public zo_link::ConnectionEvents {
public:
    void on_open(std::uint64_t number) override { instance = number; }
    std::uint32_t on_notification(const nlohmann::json& map, std::size_t) override {
        const std::lock_guard lock(mutex_);
        notes_.push_back(map);
        return refusal;
    }
    std::uint64_t on_answer() override { return notes().size(); }
    void on_lost(std::uint32_t result) override { lost = result; }

    std::vector<nlohmann::json> notes() const {
        const std::lock_guard lock(mutex_);
        return notes_;
    }
    /// Waits for so many notifications, or the loss; returns all of them.
    std::vector<nlohmann::json> wait(std::size_t count) const {
        eventually([&] { return notes().size() >= count || lost != 0; });
        return notes();
    }

    std::atomic<std::uint64_t> instance{0};
    std::atomic<std::uint32_t> lost{0};
    std::atomic<std::uint32_t> refusal{0};

private:
    mutable std::mutex mutex_;
    std::vector<nlohmann::json> notes_;
};

/// A connection that opens at once, with its events.
struct LinkClient {
    using Time = std::chrono::milliseconds;

    explicit LinkClient(std::uint16_t port, Time deadline = Time(10000), const char* host = "127.0.0.1",
                        const char* role = "logger")
        : opened(connection
                     .open(host, std::to_string(port),
                           {{"role", role}, {"address", "1.2.3.4.1.1"}, {"settings", false}}, deadline)
                     .result) {}
    zo_link::Reply request(const char* operation, const nlohmann::json& fields = {}, Time deadline = Time(10000)) {
        return connection.request(operation, fields, deadline);
    }
    bool wait_lost() const {
        return eventually([this] { return events->lost != 0; }) && !connection.is_open();
    }

    const std::shared_ptr<LinkEvents> events = std::make_shared<LinkEvents>();
    zo_link::Connection connection{events};
    const std::uint32_t opened;
};

} // namespace zo_test
