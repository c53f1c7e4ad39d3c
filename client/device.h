#pragma once

#include "client/options.h"
#include "device/net/scoped_port.h"
#include "device/request/request_proxy.h"
#include "device/runtime/state.h"

#include <chrono>
#include <memory>
#include <string>

namespace fdx {

/// The target of the command line: its requests, and its runtime with the symbols. The first request connects it. [one
/// thread]
class Device {
public:
    explicit Device(const Options& options);
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// Returns false if no client port could be opened.
    [[nodiscard]] bool valid() const noexcept { return port_.valid(); }
    [[nodiscard]] int port() const noexcept { return port_.port(); }
    [[nodiscard]] const ZoHmiFdx::NrxAddr& address() const noexcept { return options_.target; }
    [[nodiscard]] ZoHmiFdx::RequestProxy& requests() noexcept { return requests_; }
    [[nodiscard]] ZoHmiFdx::State& state() noexcept { return state_; }

    /// Uploads the symbols unless the current ones match the target.
    ZoHmiSrv::ExtensionResult refresh();
    [[nodiscard]] ZoHmiFdx::State::Runtime runtime() { return state_.runtime_config(name); }

    /// The name of the one runtime.
    static inline const std::string name = "PLC";

private:
    void show_progress(std::uint64_t done, std::uint64_t total);

    const Options options_;
    const ZoHmiFdx::SimpleScopedPort port_;
    ZoHmiFdx::RequestProxy requests_;
    ZoHmiFdx::State state_;
    std::chrono::steady_clock::time_point refresh_began_;
    bool progress_shown_ = false;
};

} // namespace fdx
