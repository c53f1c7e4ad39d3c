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

/// A client port of a runtime's own, and the proxy that uses it.
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

/// One runtime: its description, its phase and the config in use. Under its lock the locks of the config may be locked;
/// no request is made under it. [any thread]
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
    /// A failure for a runtime that is not configured or disabled.
    [[nodiscard]] ZoHmiSrv::ExtensionResult refused() const;
    /// Success where names and types can be asked: from the first upload on.
    [[nodiscard]] ZoHmiSrv::ExtensionResult names_availability() const;
    [[nodiscard]] bool refresh_due() const;
    /// The failure of a value that waits for an upload.
    [[nodiscard]] ZoHmiSrv::ExtensionResult waits_for_refresh() const;
    /// A refresh is due if the config is still the one in use.
    void note_stale(const RuntimeConfig& config);

    /// A refresh under way, which no other one overlaps.
    class Refresh {
    public:
        /// Blocks while another refresh of the runtime is under way.
        explicit Refresh(RuntimeEntry& entry);
        ~Refresh();
        Refresh(const Refresh&) = delete;
        Refresh& operator=(const Refresh&) = delete;

        /// The config that the refresh found, and whether it was filled by an upload.
        Config config;
        bool is_filled = false;
        FdxRuntime description;
        std::shared_ptr<RuntimeConnection> connection;
        ZoHmiSrv::ExtensionResult refused; ///< a failure where no request may be made

        /// An upload was begun: values are refused from now on.
        void begin_upload();
        /// Takes the outcome over; `fresh` is the new config, null where the old one is up to date. Does nothing but
        /// fail where the runtime was changed meanwhile.
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
    std::uint64_t generation_ ZO_GUARDED_BY(mutex_) = 0; ///< of address and content; a refresh of an older one is void
    FdxRuntime description_ ZO_GUARDED_BY(mutex_);
    Config config_ ZO_GUARDED_BY(mutex_);
    std::shared_ptr<RuntimeConnection> connection_ ZO_GUARDED_BY(mutex_);
    SymbolsInfo info_ ZO_GUARDED_BY(mutex_);
};

/// All runtimes by name. Entries are never removed. Its lock is a leaf. [any thread]
class Runtimes {
public:
    /// Made on first use.
    std::shared_ptr<RuntimeEntry> at(const std::string& name);
    /// Of an unknown name an entry that is not configured.
    [[nodiscard]] std::shared_ptr<const RuntimeEntry> find(const std::string& name) const;

private:
    mutable ZoHmiSrv::Mutex mutex_;
    std::map<std::string, std::shared_ptr<RuntimeEntry>> entries_ ZO_GUARDED_BY(mutex_);
};

/// A code of the device as a failure that names it.
[[nodiscard]] ZoHmiSrv::ExtensionResult device_failure(int code, const std::string& context);

} // namespace ZoHmiFdx
