#pragma once

#include "platform/link/connection.h"
#include "platform/logger_proxy/callback_queue.h"

#include <atomic>
#include <cstdint>
#include <memory>

namespace zo_logger_proxy {

/// Turns the notifications of one connection into callbacks of one epoch. It references only the queue, so that no
/// object of the logger is ever destroyed on the reader thread.
class NotificationReader final : public zo_link::ConnectionEvents {
public:
    NotificationReader(std::shared_ptr<CallbackQueue> queue, std::uint64_t epoch)
        : queue_(std::move(queue)), epoch_(epoch) {}

    void on_open(std::uint64_t instance) override { instance_ = instance; }
    std::uint32_t on_notification(const nlohmann::json& map, std::size_t size) override;
    std::uint64_t on_answer() override { return queue_->mark(); }
    void on_lost(std::uint32_t) override { queue_->end(epoch_); }

    /// Returns the instance of the target, once the connection is open. [any thread]
    std::uint64_t instance() const { return instance_; }

private:
    const std::shared_ptr<CallbackQueue> queue_;
    const std::uint64_t epoch_;
    std::atomic<std::uint64_t> instance_{0};
};

} // namespace zo_logger_proxy
