#pragma once

#include "extension/host/value.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace server {

/// A configuration text as the tree that extensions read. An object is a Struct, but `TARGET_SYSTEMS` is a Map;
/// `TIMEOUT`, a number of milliseconds, is a TimeSpan, and `LIMIT_EVENT_COUNT` a Double. Throws std::runtime_error with
/// one sentence when the text is no JSON object, nests too deep, or has a key that no path can name (with "::" or a
/// zero byte inside).
[[nodiscard]] ZoHmiSrv::Value parse_configuration(std::string_view json);

/// One entry of `TARGET_SYSTEMS` that is not what it was.
struct ConfigChange {
    std::string path; ///< "TARGET_SYSTEMS::" and the entry's name
    bool deleted = false;

    bool operator==(const ConfigChange&) const = default;
};

/// What became of the entries between two configurations: those that are new or differ, then those that are gone.
[[nodiscard]] std::vector<ConfigChange> target_changes(const ZoHmiSrv::Value& before, const ZoHmiSrv::Value& after);

/// The extension's configuration as a file holds it. [any thread]
class Configuration {
public:
    /// Throws std::runtime_error when the file cannot be read or parsed.
    explicit Configuration(std::filesystem::path file);

    /// The value at a path of keys joined by "::", Null when there is none. The empty path, or a null
    /// pointer, is the whole.
    [[nodiscard]] ZoHmiSrv::Value get(const char* path) const;

    /// Reads the file again and tells what changed below `TARGET_SYSTEMS`. Throws as the constructor does, and then
    /// nothing has changed.
    std::vector<ConfigChange> reload();

    /// Makes or changes an entry of `TARGET_SYSTEMS` in memory, until the file is read again. Throws
    /// std::runtime_error with one sentence when no path can name it; nothing has changed then.
    std::vector<ConfigChange> set_target(const std::string& name, const std::string& address, bool enabled);
    /// Removes an entry likewise; one that is not there is no change.
    std::vector<ConfigChange> delete_target(const std::string& name);

private:
    std::filesystem::path file_;
    mutable std::mutex mutex_;
    ZoHmiSrv::Value root_;
};

} // namespace server
