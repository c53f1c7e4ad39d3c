#include "server/configuration.h"

#include "extension/host/algorithm.h"
#include "server/read_file.h"
#include "support/numeric.h"

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>
#include <utility>

namespace server {

namespace {

using nlohmann::json;
using ZoHmiSrv::Timespan;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

constexpr const char* targets_key = "TARGET_SYSTEMS";
constexpr const char* timeout_key = "TIMEOUT";
constexpr const char* limit_key = "LIMIT_EVENT_COUNT";
constexpr const char* preload_key = "PRELOAD_TRANSLATIONS";
constexpr const char* address_key = "ADDRESS";
constexpr const char* enabled_key = "ENABLED";
constexpr std::string_view separator = "::";
constexpr int max_depth = 32;
constexpr std::size_t max_file_size = std::size_t{64} << 20;

/// A key that the extension reads.
struct KeyRule {
    const char* key;
    ValueType type;
    const char* words; ///< the type for people
    enum class Missing { allowed, reported, fatal } missing;
};
using Missing = KeyRule::Missing;

constexpr std::array root_rules{
    KeyRule{timeout_key, ValueType::TimeSpan, "a number of milliseconds, such as 3000", Missing::fatal},
    KeyRule{limit_key, ValueType::Double, "a number", Missing::allowed},
    KeyRule{preload_key, ValueType::Bool, "true or false", Missing::allowed},
    KeyRule{targets_key, ValueType::Map, "an object with an entry for each target", Missing::allowed},
};
constexpr std::array target_rules{
    KeyRule{address_key, ValueType::String, "a net id, such as \"5.12.82.40.1.1\"", Missing::reported},
    KeyRule{enabled_key, ValueType::Bool, "true or false", Missing::reported},
};

void check_key(const std::string& key) {
    if (key.find(separator) != std::string::npos || key.find('\0') != std::string::npos) {
        throw std::runtime_error("the key \"" + key + "\" contains \"::\" or a zero byte");
    }
}

void check_members(const Value& object, std::span<const KeyRule> rules, const std::string& path,
                   std::vector<ConfigProblem>& problems) {
    for (const KeyRule& rule : rules) {
        const Value& member = object[rule.key];
        if (!member.isset() && rule.missing == Missing::allowed) continue;
        if (member.type() == rule.type) continue;
        const std::string fault = member.isset() ? " has the wrong type; it must be " : " is missing; it must be ";
        problems.push_back({path + rule.key + fault + rule.words, rule.missing == Missing::fatal});
    }
    for (auto member = object.begin(); member != object.end(); ++member) {
        const auto named = [&](const KeyRule& rule) { return std::string_view(rule.key) == member.name(); };
        if (std::find_if(rules.begin(), rules.end(), named) == rules.end())
            problems.push_back({"unknown key " + path + member.name(), false});
    }
}

Value to_value(const json& item, int depth) {
    if (depth > max_depth) throw std::runtime_error("nested too deep");
    Value value;
    switch (item.type()) {
    case json::value_t::boolean:
        value.set(item.get<bool>());
        break;
    case json::value_t::number_integer: {
        const auto number = item.get<std::int64_t>();
        const auto narrow = static_cast<std::int32_t>(number);
        if (narrow == number) {
            value.set(narrow);
        } else {
            value.set(static_cast<long>(number));
        }
        break;
    }
    case json::value_t::number_unsigned: {
        const auto number = item.get<std::uint64_t>();
        if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
            value.set(static_cast<int>(number));
        } else if (number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            value.set(static_cast<long>(number));
        } else {
            value.set(static_cast<unsigned long>(number));
        }
        break;
    }
    case json::value_t::number_float:
        value.set(item.get<double>());
        break;
    case json::value_t::string:
        value.set(item.get_ref<const std::string&>().c_str());
        break;
    case json::value_t::array:
        value.set_type(ValueType::Vector);
        for (const json& element : item)
            value << to_value(element, depth + 1);
        break;
    case json::value_t::object:
        value.set_type(ValueType::Struct);
        for (const auto& [key, member] : item.items()) {
            check_key(key);
            value.insert_or_update(key.c_str(), to_value(member, depth + 1));
        }
        break;
    default:
        break;
    }
    return value;
}

Timespan to_timespan(double milliseconds) {
    return Timespan(ZoHmiSrv::Algorithm::saturating_cast<long>(milliseconds * 1e6));
}

Value read_configuration(const std::filesystem::path& file) {
    const std::string text = read_file(file, max_file_size);
    try {
        return parse_configuration(text);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(file.string() + ": " + error.what());
    }
}

} // namespace

Value parse_configuration(std::string_view text) {
    json root;
    try {
        root = json::parse(text);
    } catch (const json::exception& error) {
        // The parser quotes its last token, which may be most of the file.
        const std::string_view what = error.what();
        throw std::runtime_error(std::string(what.substr(0, what.find("; last read: "))));
    }
    if (!root.is_object()) throw std::runtime_error("not a JSON object");
    Value value = to_value(root, 0);
    if (const auto timeout = root.find(timeout_key); timeout != root.end() && timeout->is_number()) {
        value[timeout_key].set(to_timespan(timeout->get<double>()));
    }
    if (const auto limit = root.find(limit_key); limit != root.end() && limit->is_number()) {
        value[limit_key].set(limit->get<double>());
    }
    if (const auto targets = root.find(targets_key); targets != root.end() && targets->is_object()) {
        value[targets_key].set_type(ValueType::Map);
    }
    return value;
}

std::vector<ConfigProblem> configuration_problems(const Value& root) {
    std::vector<ConfigProblem> problems;
    check_members(root, root_rules, {}, problems);
    const Value& targets = root[targets_key];
    for (auto entry = targets.begin(); entry != targets.end(); ++entry) {
        const std::string path = std::string(targets_key).append(separator).append(entry.name());
        if (entry->type() == ValueType::Struct) {
            check_members(*entry, target_rules, path + std::string(separator), problems);
        } else {
            problems.push_back({path + " has the wrong type; it must be an object with ADDRESS and ENABLED", false});
        }
    }
    return problems;
}

std::vector<ConfigChange> target_changes(const Value& before, const Value& after) {
    std::vector<ConfigChange> changes;
    const auto path = [](const char* name) { return std::string(targets_key).append(separator).append(name); };
    const Value& old_targets = before[targets_key];
    const Value& new_targets = after[targets_key];
    for (auto entry = new_targets.begin(); entry != new_targets.end(); ++entry) {
        const auto old_entry = old_targets.find(entry.name());
        if (old_entry == old_targets.end() || !(*old_entry == *entry)) changes.push_back({path(entry.name()), false});
    }
    for (auto entry = old_targets.begin(); entry != old_targets.end(); ++entry) {
        if (new_targets.find(entry.name()) == new_targets.end()) changes.push_back({path(entry.name()), true});
    }
    return changes;
}

Configuration::Configuration(std::filesystem::path file) : file_(std::move(file)), root_(read_configuration(file_)) {
}

Value Configuration::get(const char* path) const {
    const std::lock_guard lock(mutex_);
    const Value* value = &root_;
    for (const std::string& key : ZoHmiSrv::Algorithm::split_symbol_name(path))
        value = &(*value)[key.c_str()];
    return *value;
}

std::vector<ConfigChange> Configuration::reload() {
    Value fresh = read_configuration(file_);
    const std::lock_guard lock(mutex_);
    std::vector<ConfigChange> changes = target_changes(root_, fresh);
    root_.swap(fresh);
    return changes;
}

std::vector<ConfigChange> Configuration::set_target(const std::string& name, const std::string& address, bool enabled) {
    check_key(name);
    const std::lock_guard lock(mutex_);
    const Value before(root_);
    Value& entry = root_[targets_key][name.c_str()];
    if (entry.type() != ValueType::Struct) entry.set_type(ValueType::Struct);
    entry.insert_or_update(address_key, address.c_str());
    entry.insert_or_update(enabled_key, Value(enabled));
    return target_changes(before, root_);
}

std::vector<ConfigChange> Configuration::delete_target(const std::string& name) {
    const std::lock_guard lock(mutex_);
    const Value before(root_);
    Value kept;
    kept.set_type(ValueType::Map);
    const Value& targets = std::as_const(root_)[targets_key];
    for (auto entry = targets.begin(); entry != targets.end(); ++entry)
        if (name != entry.name()) kept.insert(entry.name(), *entry);
    root_.insert_or_update(targets_key, std::move(kept));
    return target_changes(before, root_);
}

} // namespace server
