#include "extension/zo_hmi_event_logger.h"

#include "extension/host/algorithm.h"
#include "extension/host/host.h"
#include "extension/host/value.h"
#include "support/numeric.h"
#include "targets/target_system.h"

namespace ZoHmiEventLogger {

using namespace ZoHmiSrv;

namespace {

constexpr char targets_key[] = "TARGET_SYSTEMS";

} // namespace

std::vector<TargetConfig> ZoHmiEventLogger::read_target_configs() {
    const Value entries = host_->get_config_value(context_, targets_key);
    std::vector<TargetConfig> configs;
    configs.reserve(entries.size());
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        configs.emplace_back(entry.name(), *entry);
    return configs;
}

// A negative count becomes a huge unsigned number: no limit.
std::uint32_t ZoHmiEventLogger::read_event_limit() {
    const double limit = host_->get_config_value(context_, "LIMIT_EVENT_COUNT").get_double();
    return static_cast<std::uint32_t>(Algorithm::saturating_cast<std::int32_t>(limit));
}

// An empty answer is not stored: the next call fetches again.
std::string ZoHmiEventLogger::get_local_net_id() {
    const MutexLock lock(local_net_id_mutex_);
    if (local_net_id_.empty()) local_net_id_ = fetch_local_net_id();
    return local_net_id_;
}

std::shared_ptr<TargetSystem> ZoHmiEventLogger::create_target(const TargetConfig& config, const std::string& net_id,
                                                              const Timespan& timeout, std::uint32_t event_limit) {
    return {
        new TargetSystem(context_.domain(), this, config.name, net_id, timeout, event_limit, stopping_, next_event_id_),
        &TargetSystem::destroy};
}

ResultPair ZoHmiEventLogger::on_config_change(const Context& context, const char* path) {
    const MutexLock lock(config_mutex_);
    const auto parts = Algorithm::split_symbol_name(path);
    if (parts.size() != 2) return {};
    if (parts[0] != targets_key) return HMI_E_INVALID_SYMBOL;
    const Value entry = host_->get_config_value(context, path);
    if (entry.type() != ValueType::Struct && entry.type() != ValueType::Map) return HMI_E_INVALID_PARAMETER;
    if (!TargetConfig::is_complete(entry)) return HMI_E_INVALID_PARAMETER;

    LockedTarget locked; // released after the reset: live callbacks of the new target must come later
    if (apply_target_config(TargetConfig(parts[1], entry), locked)) send_reset_temporary_events(context);
    return {};
}

/// Replaces the target when its address or `enabled` changed; a target is never changed in place. Returns true when it
/// was replaced.
bool ZoHmiEventLogger::apply_target_config(const TargetConfig& config, LockedTarget& locked) {
    const auto event_limit = read_event_limit();
    const Timespan timeout = host_->get_config_value(context_, "TIMEOUT").get_timespan();
    const std::string net_id = actualize(config.address, get_local_net_id(), true);

    {
        // Released at the end of this block, so that the old target disconnects before the new one connects.
        const auto current = targets_.find(config.name);
        const std::string current_net_id = current ? current->net_id() : std::string();
        const bool currently_enabled = current && !current->disabled();
        if (net_id == current_net_id && config.enabled == currently_enabled) return false;
    }

    locked.target = create_target(config, net_id, timeout, event_limit);
    if (!targets_.insert_or_replace(config.name, locked.target, *stopping_)) return false;
    if (config.enabled) locked.target->connect(locked.holder);
    return true;
}

ResultPair ZoHmiEventLogger::on_config_delete(const Context& context, const char* path) {
    const MutexLock lock(config_mutex_);
    const auto parts = Algorithm::split_symbol_name(path);
    if (parts.size() != 2) return {};
    if (parts[0] != targets_key) return HMI_E_INVALID_SYMBOL;
    if (targets_.erase(parts[1])) send_reset_temporary_events(context);
    return {};
}

} // namespace ZoHmiEventLogger
