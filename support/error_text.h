#pragma once

#include "extension/host/error_value.h"
#include "extension/host/string_holder.h"
#include "support/export.h"

#include <cstdint>
#include <string>

namespace ZoHmiSrv {

class Value;

/// The detail of a readable error text. Only one form exists; callers of the library pass it.
enum class ErrorMessageDetails : std::int32_t { standard = 0 };

/// Returns the short name of a result number, such as "FAIL" for 0x101; "" for a number without a name. [any thread]
[[nodiscard]] ZO_EXPORT String get_error_string(ErrorValue error);

/// Returns a sentence with the name of the error, such as "Command failed (HMI_E_FAIL)"; "" for a number without one.
/// [any thread]
[[nodiscard]] ZO_EXPORT std::string get_error_string_pretty(ErrorValue error, ErrorMessageDetails details);

/// Inserts an error under `name` into `value`. Makes `value` a Map unless it is a Map or Struct. The error is a Struct
/// with "code" (Int), "message" (String) and, unless `reason` is null or empty, "reason" (String). A null or empty
/// `message` is replaced by the readable text of the error. [any thread]
ZO_EXPORT void add_error(Value& value, const char* name, ErrorValue error, const char* message, const char* reason);

} // namespace ZoHmiSrv
