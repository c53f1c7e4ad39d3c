#pragma once

#include "support/export.h"

#include <charconv>
#include <concepts>
#include <string>
#include <utility>

namespace ZoHmiSrv {

/// The outcome of a library operation: a result code (0 is success) and a UTF-8 text that explains a failure. One
/// thread at a time may use an object.
class ZO_EXPORT ExtensionResult {
public:
    ExtensionResult() = default;
    explicit ExtensionResult(int code, std::string text = {}) : code_(code), text_(std::move(text)) {}

    [[nodiscard]] int code() const noexcept { return code_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }

    friend bool operator==(const ExtensionResult&, const ExtensionResult&) = default;

private:
    int code_ = 0;
    std::string text_;
};

/// Builds the text of an ExtensionResult in pieces. The text ends in a full stop. A context (a path or a name) follows
/// in square brackets.
class ZO_EXPORT ExtensionResultStream {
public:
    explicit ExtensionResultStream(int code) : code_(code) {}
    ExtensionResultStream(int code, std::string context) : code_(code), context_(std::move(context)) {}

    /// Appends a name (of a type, member or path) in single quotes.
    ExtensionResultStream& operator<<(const std::string& name);
    /// Appends wording unchanged; null counts as "".
    ExtensionResultStream& operator<<(const char* wording);

    /// Appends a number in plain decimal.
    template <typename T>
    requires(std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>) ||
        std::floating_point<T> ExtensionResultStream& operator<<(T number) {
        // Enough for the longest double in fixed or scientific form that to_chars chooses.
        char digits[64];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        text_.append(digits, end);
        return *this;
    }

    /// Returns the result. An empty text stays empty unless there is a context.
    operator ExtensionResult() const; // NOLINT(google-explicit-constructor): a stream is returned as a result

private:
    int code_;
    std::string context_;
    std::string text_;
};

} // namespace ZoHmiSrv
