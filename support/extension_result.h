#pragma once

#include "support/export.h"

#include <charconv>
#include <concepts>
#include <string>
#include <utility>

namespace ZoHmiSrv {

/// The outcome of a library operation: a result code (0 is success) and a text in UTF-8 that explains a failure.
/// A plain value; one object belongs to one thread at a time.
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

/// Builds the text of an ExtensionResult piece by piece. The finished text ends in a full stop and, where the stream
/// was given a context (a path or a name), in the context in square brackets.
class ZO_EXPORT ExtensionResultStream {
public:
    explicit ExtensionResultStream(int code) : code_(code) {}
    ExtensionResultStream(int code, std::string context) : code_(code), context_(std::move(context)) {}

    /// Names (types, members, paths) are strings and appear in single quotes; [any thread], one at a time.
    ExtensionResultStream& operator<<(const std::string& name);
    /// Wording appears as it is; null counts as "".
    ExtensionResultStream& operator<<(const char* wording);

    /// Numbers appear in plain decimal.
    template <typename T>
    requires(std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>) ||
        std::floating_point<T> ExtensionResultStream& operator<<(T number) {
        // Enough for the longest double in fixed or scientific form that to_chars chooses.
        char digits[64];
        const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
        text_.append(digits, end);
        return *this;
    }

    /// The finished result. A text that is empty stays empty unless there is a context.
    operator ExtensionResult() const; // NOLINT(google-explicit-constructor): a stream is returned as a result

private:
    int code_;
    std::string context_;
    std::string text_;
};

} // namespace ZoHmiSrv
