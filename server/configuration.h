#pragma once

#include "extension/host/value.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace server {

/// Returns a configuration text as the tree that extensions read. An object becomes a Struct, but `TARGET_SYSTEMS` a
/// Map. `TIMEOUT`, a number of milliseconds, becomes a TimeSpan, and `LIMIT_EVENT_COUNT` a Double. Throws
/// std::runtime_error with the reason if the text is not a JSON object or nests too deep. Throws also for a key with
/// "::" or a zero byte: no path can name it.
[[nodiscard]] ZoHmiSrv::Value parse_configuration(std::string_view json);

/// A fault in a configuration.
struct ConfigProblem {
    std::string text;   ///< names the key; not made printable
    bool fatal = false; ///< the extension does not start with it
};

/// Returns the keys that are unknown to the extension, are missing, or have the wrong type.
[[nodiscard]] std::vector<ConfigProblem> configuration_problems(const ZoHmiSrv::Value& root);

/// One entry of `TARGET_SYSTEMS` that has changed.
struct ConfigChange {
    std::string path; ///< "TARGET_SYSTEMS::" and the entry's name
    bool deleted = false;

    bool operator==(const ConfigChange&) const = default;
};

/// Returns the entries that differ between two configurations: new and changed ones, then deleted ones.
[[nodiscard]] std::vector<ConfigChange> target_changes(const ZoHmiSrv::Value& before, const ZoHmiSrv::Value& after);

/// The extension's configuration, read from a file. [any thread]
class Configuration {
public:
    /// Throws std::runtime_error when the file cannot be read or parsed.
    explicit Configuration(std::filesystem::path file);

    /// Returns the value at a path of keys joined by "::", or Null. The empty path and a null pointer mean the root.
    [[nodiscard]] ZoHmiSrv::Value get(const char* path) const;

    /// Reads the file again and returns the changes below `TARGET_SYSTEMS`. Throws as the constructor does; the
    /// configuration is unchanged then.
    std::vector<ConfigChange> reload();

    /// Adds or changes an entry of `TARGET_SYSTEMS` in memory, until the file is read again. Throws std::runtime_error
    /// when no path can name the entry; the configuration is unchanged then.
    std::vector<ConfigChange> set_target(const std::string& name, const std::string& address, bool enabled);
    /// Deletes an entry in memory. An unknown name changes nothing.
    std::vector<ConfigChange> delete_target(const std::string& name);

private:
    std::filesystem::path file_;
    mutable std::mutex mutex_;
    ZoHmiSrv::Value root_;
};

} // namespace server
