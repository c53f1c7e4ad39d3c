#pragma once

#include <string>

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiEventLogger {

/// One entry of TARGET_SYSTEMS while it is being applied.
struct TargetConfig {
    std::string name;
    std::string address; ///< as configured, placeholders included
    bool enabled = false;

    TargetConfig() = default;
    /// Reads ADDRESS and ENABLED only when the entry has both. The target of an incomplete entry stays disabled.
    TargetConfig(std::string key, const ZoHmiSrv::Value& entry);

    static bool is_complete(const ZoHmiSrv::Value& entry);
};

} // namespace ZoHmiEventLogger
