#pragma once

#include "platform/link/event_record.h"
#include "simulator/scenario.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

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
    shorten,  // "short"
    lengthen, // "long"
    replace,
    peek,
    poke,
    step,
    online_change,
    device_state,
    limits,
    group,
    item,
};

/// The arguments of a controller's verb. Each member names the kinds that use it.
struct DeviceVerb {
    std::uint32_t port = 0;
    std::string path;                                   // peek, poke, step, item
    std::string value;                                  // poke: JSON
    double delta = 0, low = 0, high = 0;                // step
    std::uint32_t number = 0;                           // device_state: the state; group: its number; item: the code
    bool on = false;                                    // group
    std::uint64_t count = 0;                            // item: 0 for all
    std::optional<std::uint64_t> items, bytes, handles; // limits
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
    // fail, slow, truncate, short, long, replace, during, after, normal; empty: all
    std::string operation;
    std::optional<std::int32_t> language;  // of the same kinds: only requests in this language
    std::optional<std::uint32_t> group;    // of the same kinds: only requests of this group
    std::uint32_t code = 0;                // fail
    std::int64_t milliseconds = 0;         // slow; stall, 0 until resume
    std::int32_t reason = 0;               // database_changed
    bool Interfaces::*interface = nullptr; // set
    bool on = false;                       // set
    std::shared_ptr<const Verb> inner;     // during, after
    std::uint32_t number = 0;              // short, long: bytes
    std::vector<std::uint8_t> bytes;       // replace
    DeviceVerb device;                     // the verbs of a controller
    std::string text;                      // the input line
};

/// The text names the error in the line.
struct VerbError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads one line. Throws VerbError. [any thread]
Verb parse_verb(std::string_view line, const Scenario& scenario);

/// Both return whether an operation is known: the first for targets, the second for the role "device". [any thread]
bool is_operation(std::string_view word);
bool is_device_operation(std::string_view word);

/// Returns whether the verb changes only log and alarms. Only such verbs can be in a history. [any thread]
bool is_logger_verb(const Verb& verb);

} // namespace zo_sim
