#pragma once

#include "extension/host/error_value.h"
#include "extension/host/string_holder.h"
#include "support/export.h"

#include <cstdint>
#include <string>

namespace ZoHmiSrv {

class Value;

/// How much a readable error text tells. There is one form so far; the argument is kept for callers of the library.
enum class ErrorMessageDetails : std::int32_t { standard = 0 };

/// The short name of a result number, such as "FAIL" for 0x101; "" for a number without a name. [any thread]
[[nodiscard]] ZO_EXPORT String get_error_string(ErrorValue error);

/// A sentence with the name of the error, such as "Command failed (HMI_E_FAIL)"; "" for a number without a sentence.
/// [any thread]
[[nodiscard]] ZO_EXPORT std::string get_error_string_pretty(ErrorValue error, ErrorMessageDetails details);

/// Puts an error under `name` into `value` (which becomes a Map unless it is one, or a Struct): a Struct with "code"
/// (Int), "message" (String: `message`, or the readable text of the error where that is null or empty) and, where
/// `reason` is neither null nor empty, "reason" (String). [any thread], the value belongs to the caller.
ZO_EXPORT void add_error(Value& value, const char* name, ErrorValue error, const char* message, const char* reason);

} // namespace ZoHmiSrv
