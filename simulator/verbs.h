#pragma once

#include "platform/link/event_record.h"
#include "simulator/scenario.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zo_sim {

enum class VerbKind : std::uint8_t {
    raise,
    clear,
    confirm,
    reset,
    message,
    flood,
    clear_log,
    database_changed,
    set,
    drop,
    stall,
    resume,
    fail,
    slow,
    truncate,
    during,
    after,
    normal,
    list,
    sessions,
    requests,
    quit,
};

/// One checked line of input; docs/simulator.md has the list. Each member names the kinds that use it.
struct Verb {
    VerbKind kind = VerbKind::quit;
    // raise, message, flood: the event. clear, confirm, reset: class, id and source of the alarm.
    zo_link::EventRecord event;
    bool alarm = false;       // flood: the event is an alarm
    std::uint64_t handle = 0; // clear, confirm, reset: instead of the event
    // flood: number of events. fail, slow: number of requests, 0 for all.
    std::uint64_t count = 1;
    std::string operation;                 // fail, slow, truncate, during, after, normal; empty: all
    std::optional<std::int32_t> language;  // of the same kinds: only requests in this language
    std::uint32_t code = 0;                // fail
    std::int64_t milliseconds = 0;         // slow; stall, 0 until resume
    std::int32_t reason = 0;               // database_changed
    bool Interfaces::*interface = nullptr; // set
    bool on = false;                       // set
    std::shared_ptr<const Verb> inner;     // during, after
    std::string text;                      // the line
};

/// The text names the error in the line.
struct VerbError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads one line. Throws VerbError. [any thread]
Verb parse_verb(std::string_view line, const Scenario& scenario);

/// Returns whether loggers have this operation. [any thread]
bool is_operation(std::string_view word);

/// Returns whether the verb changes log and alarms only: a history may have it. [any thread]
bool is_logger_verb(const Verb& verb);

} // namespace zo_sim
