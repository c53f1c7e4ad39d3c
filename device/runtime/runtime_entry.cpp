#include "device/runtime/detail/runtime_entry.h"

#include "device/code/result_codes.h"

#include <utility>

namespace ZoHmiFdx {

using ZoHmiSrv::ExtensionResult;
using ZoHmiSrv::ExtensionResultStream;
using ZoHmiSrv::MutexLock;

namespace {

constexpr int device_timeout = 0x719;

bool is_timeout(int code) {
    return code == FDX_SYNC_TIMEOUT || code == device_timeout;
}

} // namespace

ExtensionResult device_failure(int code, const std::string& context) {
    return ExtensionResultStream(code, context) << fdx_error_to_string_with_code(code).c_str();
}

RuntimeConnection::RuntimeConnection(const NrxAddr& address, const StateOptions& options)
    : proxy(static_cast<unsigned long>(port_.port()), address, options.limits, options.require_write_mask, cache) {
    if (valid()) RequestProxy::set_timeout(port_.port(), options.timeout_ms);
}

RuntimeEntry::RuntimeEntry(std::string name) : name_(std::move(name)), config_(std::make_shared<RuntimeConfig>(name_)) {
}

ExtensionResult RuntimeEntry::configure(const FdxRuntime& runtime, const StateOptions& options) {
    const auto needs_connection = [&] {
        const MutexLock lock(mutex_);
        return runtime.enabled() && (!connection_ || description_.address() != runtime.address());
    };
    std::shared_ptr<RuntimeConnection> fresh;
    if (needs_connection()) {
        fresh = std::make_shared<RuntimeConnection>(runtime.address(), options);
        if (!fresh->valid()) return device_failure(FDX_PORT_NOT_OPEN, name_);
    }
    // Ports close after the unlock.
    std::shared_ptr<RuntimeConnection> old;
    const MutexLock lock(mutex_);
    const bool moved = phase_ != Phase::NotConfigured && description_.address() != runtime.address();
    if (fresh || moved) old = std::exchange(connection_, std::move(fresh));
    description_ = runtime;
    if (moved) start_over();
    if (phase_ == Phase::NotConfigured) phase_ = Phase::Initial;
    FdxRuntime revision = runtime;
    revision.set_initialized(runtime.initialized() || config_->runtime_revision().initialized());
    config_->set_runtime_revision(revision);
    return {};
}

void RuntimeEntry::start_over() {
    config_ = std::make_shared<RuntimeConfig>(name_);
    config_->set_runtime_revision(description_);
    info_ = {};
    stale_ = false;
    ++generation_;
    if (phase_ != Phase::NotConfigured) phase_ = Phase::Initial;
}

void RuntimeEntry::clear() {
    const MutexLock lock(mutex_);
    start_over();
}

RuntimeEntry::Config RuntimeEntry::config() const {
    const MutexLock lock(mutex_);
    return config_;
}

std::shared_ptr<RuntimeConnection> RuntimeEntry::connection() const {
    const MutexLock lock(mutex_);
    return connection_;
}

SymbolsInfo RuntimeEntry::info() const {
    const MutexLock lock(mutex_);
    return info_;
}

ExtensionResult RuntimeEntry::refusal() const {
    if (phase_ == Phase::NotConfigured)
        return ExtensionResultStream(HMI_FDX_E_INVALID_RUNTIME, name_) << "Runtime is not configured";
    if (!description_.enabled()) return ExtensionResultStream(HMI_FDX_E_DISABLED, name_) << "Runtime is disabled";
    return {};
}

ExtensionResult RuntimeEntry::refused() const {
    const MutexLock lock(mutex_);
    return refusal();
}

ExtensionResult RuntimeEntry::names_availability() const {
    const MutexLock lock(mutex_);
    ExtensionResult refused = refusal();
    if (!is_error(refused) && phase_ == Phase::Initial)
        return unavailability_reason_to_error(name_, UnavailabilityInitialRefresh, info_);
    return refused;
}

ExtensionResult RuntimeEntry::availability() const {
    const MutexLock lock(mutex_);
    if (ExtensionResult refused = refusal(); is_error(refused)) return refused;
    switch (phase_) {
    case Phase::Initial:
        return unavailability_reason_to_error(name_, UnavailabilityInitialRefresh, info_);
    case Phase::Refresh:
        return unavailability_reason_to_error(name_, UnavailabilityRefresh, info_);
    case Phase::TimedOut:
        return unavailability_reason_to_error(name_, UnavailabilityTimedOut, info_);
    default:
        return stale_ ? unavailability_reason_to_error(name_, UnavailabilityRefresh, info_) : ExtensionResult();
    }
}

ExtensionResult RuntimeEntry::waits_for_refresh() const {
    const MutexLock lock(mutex_);
    return unavailability_reason_to_error(name_, UnavailabilityRefresh, info_);
}

bool RuntimeEntry::refresh_due() const {
    const MutexLock lock(mutex_);
    return !is_error(refusal()) && (phase_ != Phase::Ready || stale_);
}

void RuntimeEntry::note_stale(const RuntimeConfig& config) {
    const MutexLock lock(mutex_);
    if (config_.get() != &config) return;
    stale_ = true;
    ++stale_notes_;
}

RuntimeEntry::Refresh::Refresh(RuntimeEntry& entry) : entry_(entry) {
    MutexLock lock(entry.mutex_);
    while (entry.refreshing_)
        lock.wait(entry.refresh_ended_);
    entry.refreshing_ = true;
    refused = entry.refusal();
    config = entry.config_;
    is_filled = entry.phase_ != Phase::Initial && entry.phase_ != Phase::NotConfigured;
    description = entry.description_;
    connection = entry.connection_;
    generation_ = entry.generation_;
    stale_notes_ = entry.stale_notes_;
}

RuntimeEntry::Refresh::~Refresh() {
    const MutexLock lock(entry_.mutex_);
    entry_.refreshing_ = false;
    entry_.refresh_ended_.notify_one();
}

void RuntimeEntry::Refresh::begin_upload() {
    const MutexLock lock(entry_.mutex_);
    if (generation_ == entry_.generation_ && entry_.phase_ != Phase::Initial) entry_.phase_ = Phase::Refresh;
}

ExtensionResult RuntimeEntry::Refresh::conclude(const ExtensionResult& result, const Config& fresh) {
    const MutexLock lock(entry_.mutex_);
    if (generation_ != entry_.generation_)
        return ExtensionResultStream(HMI_FDX_E_ABORTED, entry_.name_) << "Runtime was changed during its refresh";
    entry_.info_.last_refresh = result;
    if (is_error(result)) {
        if (is_timeout(result.code()) && is_filled) entry_.phase_ = Phase::TimedOut;
        return result;
    }
    if (fresh) {
        // Flags may have changed since the upload began.
        FdxRuntime revision = entry_.description_;
        revision.set_initialized(true);
        fresh->set_runtime_revision(revision);
        entry_.config_ = fresh;
        entry_.info_.revision = fresh->upload_info().revision;
        entry_.info_.symbols = fresh->symbols().size();
        entry_.info_.datatypes = fresh->datatypes().size();
    }
    // Corrects the code by name, then by type name. The device sends a composite code for some types that are not
    // composite.
    if (fresh || stale_notes_ == entry_.stale_notes_) entry_.stale_ = false;
    entry_.phase_ = Phase::Ready;
    return result;
}

std::shared_ptr<RuntimeEntry> Runtimes::at(const std::string& name) {
    const MutexLock lock(mutex_);
    std::shared_ptr<RuntimeEntry>& entry = entries_[name];
    if (!entry) entry = std::make_shared<RuntimeEntry>(name);
    return entry;
}

std::shared_ptr<const RuntimeEntry> Runtimes::find(const std::string& name) const {
    const MutexLock lock(mutex_);
    const auto found = entries_.find(name);
    return found != entries_.end() ? found->second : std::make_shared<const RuntimeEntry>(name);
}

} // namespace ZoHmiFdx
