#pragma once

/// A scenario for the tests of the simulator.
namespace zo_sim_test {

inline constexpr char small_scenario[] = R"json({
    "languages": {"de-DE": 1031, "en-US": 1033},
    "default_language": "en-US",
    "max_log": 8,
    "sources": {
        "pump": {"id": 7, "guid": "11111111-2222-3333-4444-555555555555", "name": "Plant.Pump",
                 "text": {"en-US": "Pump", "de-DE": "Pumpe"}},
        "bare": {"name": "Bare"}
    },
    "classes": {
        "c": {
            "guid": "0a0b0c0d-0102-0304-0506-0708090a0b0c",
            "name": {"en-US": "Class", "de-DE": "Klasse"},
            "events": {
                "1": {"kind": "alarm", "severity": 2, "source": "pump",
                      "text": {"en-US": "Speed {speed:1} of {name}", "de-DE": "{name}: Drehzahl {speed:1}"},
                      "arguments": [{"name": "speed", "type": "double", "value": 12.5},
                                    {"name": "name", "type": "text", "value": "P1"}],
                      "causes": [{"id": "a", "cause": "Cause", "remedy": {"en-US": "Remedy", "de-DE": "Abhilfe"}}]},
                "2": {"kind": "alarm", "severity": 3, "confirmation": true, "text": "Confirm me", "json": {"k": 1}},
                "3": {"kind": "message", "text": "Count {count}, {flag}",
                      "arguments": [{"name": "count", "type": "int32", "value": -5},
                                    {"name": "flag", "type": "bool", "value": false}],
                      "layout": "data_first"},
                "4": {"kind": "message", "text": "Hostile {x}",
                      "arguments": [{"name": "x", "type": "int32", "value": 1}],
                      "raw": {"args": [1, 4294967290, 4, 2, 4294967295], "block": "01ff"}}
            }
        }
    }
})json";

} // namespace zo_sim_test
