#include "extension/target_config.h"

#include "extension/host/value.h"

#include <utility>

namespace ZoHmiEventLogger {

TargetConfig::TargetConfig(std::string key, const ZoHmiSrv::Value& entry) : name(std::move(key)) {
    if (!is_complete(entry)) return;
    address = entry["ADDRESS"].get_string();
    enabled = entry["ENABLED"].get_bool();
}

bool TargetConfig::is_complete(const ZoHmiSrv::Value& entry) {
    return entry.find("ADDRESS") != entry.end() && entry.find("ENABLED") != entry.end();
}

} // namespace ZoHmiEventLogger
