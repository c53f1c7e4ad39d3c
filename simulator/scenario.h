#pragma once

#include "simulator/argument_block.h"
#include "support/guid.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace zo_sim {

// The content of a scenario file, as docs/simulator.md describes it.

/// A text for each language number. Without languages, one text under the number 0.
using LocalizedText = std::map<std::int32_t, std::string>;

struct Source {
    std::optional<std::uint32_t> id;
    std::optional<GUID> guid;
    std::optional<std::string> name;
    LocalizedText text;
};

/// One cause with its remedy, or one detail with its comment.
struct Advice {
    std::string id;
    LocalizedText text;
    LocalizedText remark;
};

struct EventDefinition {
    std::uint32_t id = 0;
    bool alarm = false;
    std::uint32_t severity = 0;
    bool confirmation = false;
    std::string source; // a key, or empty
    LocalizedText text;
    std::vector<std::string> argument_names;
    std::vector<Argument> arguments; // one default for each name, with the argument's type
    BlockLayout layout = BlockLayout::types_first;
    std::optional<ArgumentBlock> raw; // replaces the argument block
    std::optional<std::string> json;
    std::vector<Advice> causes;
    std::vector<Advice> details;
};

struct EventClass {
    GUID guid{};
    LocalizedText name;
    std::map<std::uint32_t, EventDefinition> events;
};

/// The optional interfaces that events offer.
struct Interfaces {
    bool identity = true;
    bool extended = true;
    bool json = true;
};

struct HistoryItem {
    double ago = 0; // seconds before the start
    std::string verb;
};

struct ScheduleItem {
    std::int64_t at = 0;    // milliseconds after the start
    std::int64_t every = 0; // milliseconds; 0: once
    std::string verb;
};

struct Scenario {
    std::map<std::string, std::int32_t> languages;
    std::int32_t default_language = 0;
    Interfaces interfaces;
    std::size_t max_log = 10000;
    std::map<std::string, Source> sources;
    std::map<std::string, EventClass> classes;
    std::vector<HistoryItem> history;
    std::vector<ScheduleItem> schedule;
    std::shared_ptr<const nlohmann::json> devices; // an object with the keys `system` and `controllers`, unchecked

    /// Finds a class by key or by GUID text; null if there is none.
    const EventClass* find_class(std::string_view name) const;
    const EventClass* find_class(const GUID& guid) const;
    /// Returns the text in that language. If it is missing, returns another variant of the language (same low ten
    /// bits), or the default language.
    const std::string& in_language(const LocalizedText& text, std::int32_t language) const;
};

/// The text names the place in the file and the error.
struct ScenarioError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads and checks a scenario, except its verbs, which the target checks. Throws ScenarioError. [any thread]
Scenario parse_scenario(std::string_view json);
/// Reads a regular file of at most 64 MiB. Throws ScenarioError. [any thread]
Scenario load_scenario(const std::string& path);

} // namespace zo_sim
