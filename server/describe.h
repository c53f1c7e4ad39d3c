#pragma once

#include "server/event_rows.h"

#include <string>

/// Events in a few words, safe to print on one line.
namespace server {

/// "active", "cleared" or "invalid", and " confirmed" behind it; "removed" when its target dropped an alarm that was
/// never cleared; "message" for a message, "" for anything else.
[[nodiscard]] std::string state_text(const EventRow& row);

/// The row's columns as they stand in the table.
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

/// A row on one line: "#3 Bottling 2024-05-01 12:34:56.789 severity 2 active ZOEVENTLOGGER_ALARM {...} 7".
[[nodiscard]] std::string row_line(const EventRow& row);

/// A message's name and the texts of its parameters, in their order: "TARGET_SYSTEM_CONNECTED Bottling".
[[nodiscard]] std::string message_line(const ZoHmiSrv::Message& message);

/// What a Map, Struct or Vector holds, a line for each member, each beginning with `indent` and deeper with two blanks
/// more. No line end behind the last one; "" for anything else.
[[nodiscard]] std::string value_lines(const ZoHmiSrv::Value& value, const std::string& indent);

/// All about an alarm or message, likewise.
[[nodiscard]] std::string event_lines(const ZoHmiSrv::Event& event, const std::string& indent);

} // namespace server
