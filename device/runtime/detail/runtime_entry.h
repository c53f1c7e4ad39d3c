#pragma once

#include "device/code/connection_state.h"
#include "device/code/symbols_info.h"
#include "device/net/scoped_port.h"
#include "device/request/request_proxy.h"
#include "device/request/runtime_config_base_cache.h"
#include "device/runtime/runtime_config.h"
#include "device/runtime/state_options.h"
#include "support/mutex.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace ZoHmiFdx {

/// The client port of one runtime, and the proxy that uses it.
class RuntimeConnection {
public:
    RuntimeConnection(const NrxAddr& address, const StateOptions& options);
    [[nodiscard]] bool valid() const noexcept { return port_.valid(); }

private:
    SimpleScopedPort port_;

public:
    const std::shared_ptr<RuntimeConfigBaseCache> cache = std::make_shared<RuntimeConfigBaseCache>();
    RequestProxy proxy;
};

/// One runtime: its description, its phase and the current config. The locks of the config come after its lock. It
/// sends no request under its lock. [any thread]
class RuntimeEntry {
public:
    using Config = std::shared_ptr<RuntimeConfig>;

    explicit RuntimeEntry(std::string name);

    ZoHmiSrv::ExtensionResult configure(const FdxRuntime& runtime, const StateOptions& options);
    void clear();
    [[nodiscard]] Config config() const;
    [[nodiscard]] std::shared_ptr<RuntimeConnection> connection() const;
    [[nodiscard]] SymbolsInfo info() const;
    [[nodiscard]] ZoHmiSrv::ExtensionResult availability() const;
    /// Returns a failure if the runtime is disabled or not configured.
    [[nodiscard]] ZoHmiSrv::ExtensionResult refused() const;
    /// Returns success after the first upload: names and types are then available.
    [[nodiscard]] ZoHmiSrv::ExtensionResult names_availability() const;
    [[nodiscard]] bool refresh_due() const;
    /// Returns the failure of a value while an upload is due.
    [[nodiscard]] ZoHmiSrv::ExtensionResult waits_for_refresh() const;
    /// Marks a refresh as due if `config` is still the current one.
    void note_stale(const RuntimeConfig& config);

    /// A refresh in progress. Refreshes of one runtime never overlap.
    class Refresh {
    public:
        /// Blocks while another refresh of the runtime is in progress.
        explicit Refresh(RuntimeEntry& entry);
        ~Refresh();
        Refresh(const Refresh&) = delete;
        Refresh& operator=(const Refresh&) = delete;

        /// The config at the start of the refresh, and whether an upload filled it.
        Config config;
        bool is_filled = false;
        FdxRuntime description;
        std::shared_ptr<RuntimeConnection> connection;
        ZoHmiSrv::ExtensionResult refused; ///< a failure if no request is allowed

        /// Marks the start of an upload: values are refused from now on.
        void begin_upload();
        /// Stores the outcome. `fresh` is the new config, or null if the old one is up to date. If the runtime was
        /// changed during the refresh, it only returns a failure.
        ZoHmiSrv::ExtensionResult conclude(const ZoHmiSrv::ExtensionResult& result, const Config& fresh);

    private:
        RuntimeEntry& entry_;
        std::uint64_t generation_ = 0;
        std::uint64_t stale_notes_ = 0;
    };

private:
    enum class Phase { NotConfigured, Initial, Refresh, TimedOut, Ready };

    [[nodiscard]] ZoHmiSrv::ExtensionResult refusal() const ZO_REQUIRES(mutex_);
    void start_over() ZO_REQUIRES(mutex_);

    const std::string name_;
    mutable ZoHmiSrv::Mutex mutex_;
    std::condition_variable refresh_ended_;
    bool refreshing_ ZO_GUARDED_BY(mutex_) = false;
    Phase phase_ ZO_GUARDED_BY(mutex_) = Phase::NotConfigured;
    bool stale_ ZO_GUARDED_BY(mutex_) = false;
    std::uint64_t stale_notes_ ZO_GUARDED_BY(mutex_) = 0;
    std::uint64_t
        generation_ ZO_GUARDED_BY(mutex_) = 0; ///< of address and content; a refresh of an older one is discarded
    FdxRuntime description_ ZO_GUARDED_BY(mutex_);
    Config config_ ZO_GUARDED_BY(mutex_);
    std::shared_ptr<RuntimeConnection> connection_ ZO_GUARDED_BY(mutex_);
    SymbolsInfo info_ ZO_GUARDED_BY(mutex_);
};

/// All runtimes by name. Entries are never removed. Its lock is a leaf. [any thread]
class Runtimes {
public:
    /// Returns the entry; creates a missing one.
    std::shared_ptr<RuntimeEntry> at(const std::string& name);
    /// Returns the entry; for an unknown name, one that is not configured.
    [[nodiscard]] std::shared_ptr<const RuntimeEntry> find(const std::string& name) const;

private:
    mutable ZoHmiSrv::Mutex mutex_;
    std::map<std::string, std::shared_ptr<RuntimeEntry>> entries_ ZO_GUARDED_BY(mutex_);
};

/// Returns the failure for a code of the device. The text names the code.
[[nodiscard]] ZoHmiSrv::ExtensionResult device_failure(int code, const std::string& context);

} // namespace ZoHmiFdx
