#include "client/device.h"

#include <cstdio>
#include <unistd.h>

namespace fdx {

namespace {

using namespace std::chrono_literals;
using ZoHmiFdx::FdxRuntime;
using ZoHmiFdx::StateOptions;

constexpr auto silent_upload = 1s;

FdxRuntime runtime_of(const Options& options) {
    FdxRuntime runtime(Device::name, options.target, {});
    runtime.set_enabled(true);
    runtime.set_uses_whitelisting(options.whitelist);
    runtime.set_is_read_only(options.read_only);
    return runtime;
}

StateOptions state_options(const Options& options, std::function<void(std::uint64_t, std::uint64_t)> progress) {
    StateOptions result;
    result.limits = options.limits;
    result.timeout_ms = options.timeout_ms;
    result.progress = std::move(progress);
    return result;
}

} // namespace

Device::Device(const Options& options)
    : options_(options), requests_(static_cast<unsigned long>(port_.port()), options.target, options.limits, false, {}),
      state_(state_options(options, [this](std::uint64_t done, std::uint64_t total) { show_progress(done, total); })) {
    if (port_.valid()) ZoHmiFdx::RequestProxy::set_timeout(port_.port(), options.timeout_ms);
    state_.configure(runtime_of(options));
}

ZoHmiSrv::ExtensionResult Device::refresh() {
    refresh_began_ = std::chrono::steady_clock::now();
    const auto result = state_.refresh(name);
    if (progress_shown_) std::fputs("\r\033[K", stderr);
    progress_shown_ = false;
    return result;
}

void Device::show_progress(std::uint64_t done, std::uint64_t total) {
    if (options_.quiet || !::isatty(STDERR_FILENO)) return;
    if (!progress_shown_ && std::chrono::steady_clock::now() - refresh_began_ < silent_upload) return;
    progress_shown_ = true;
    std::fprintf(stderr, "\rUpload of symbols: %llu of %llu bytes", static_cast<unsigned long long>(done),
                 static_cast<unsigned long long>(total));
}

} // namespace fdx
