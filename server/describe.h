#pragma once

#include "extension/host/error_value.h"
#include "server/event_rows.h"

#include <string>

/// Short texts of events and results, safe to print on one line. All functions are [any thread].
namespace server {

/// Returns the name of a result and its number, then its text if there is one: "HMI_E_FAIL (0x101): no such alarm".
[[nodiscard]] std::string result_text(ZoHmiSrv::ErrorValue result, const char* text = "");

/// Returns the name by which commands call a row: the id of an alarm, or "m3" with the server's number for any other
/// event; "-" for a message that is not listed.
[[nodiscard]] std::string event_number(const EventRow& row);

/// Returns "active", "cleared" or "invalid", each with " confirmed" after it if the alarm is confirmed. "removed" is an
/// alarm that its target dropped before it was cleared. A message gives "message", any other event "".
[[nodiscard]] std::string state_text(const EventRow& row);

/// The columns of a row.
struct RowText {
    std::string number;
    std::string target;
    std::string time;
    std::string severity;
    std::string state;
    std::string name;
    std::string event_class;
    std::string id;
};
[[nodiscard]] RowText row_text(const EventRow& row);

/// Returns a row as one line, with "!" before a target whose list is incomplete: "17 Bottling 2024-05-01 12:34:56.789
/// severity 2 active ZOEVENTLOGGER_ALARM {...} 7".
[[nodiscard]] std::string row_line(const EventRow& row, bool incomplete);

/// Returns a message's name and the texts of its parameters in order: "TARGET_SYSTEM_CONNECTED Bottling".
[[nodiscard]] std::string message_line(const ZoHmiSrv::Message& message);

/// Returns the members of a Map, Struct or Vector, one a line, each after `indent`; inner members get two more blanks.
/// There is no line end after the last line. Any other value gives "".
[[nodiscard]] std::string value_lines(const ZoHmiSrv::Value& value, const std::string& indent);

/// Returns all fields of an alarm or message in such lines.
[[nodiscard]] std::string event_lines(const ZoHmiSrv::Event& event, const std::string& indent);

} // namespace server
