#pragma once

#include "binding/hresult.h"

#include <exception>
#include <string>
#include <utility>

namespace ZoAtlCom {

/// Returns the text of a result code from the proxy's library, or else from the table of this floor. [any thread]
[[nodiscard]] std::string error_text(HRESULT code);

/// A failed call of a proxy object.
class CAtlException : public std::exception {
public:
    /// Looks the text of the code up.
    explicit CAtlException(HRESULT code) : CAtlException(code, error_text(code)) {}
    CAtlException(HRESULT code, std::string text) : code_(code), text_(std::move(text)) {}

    [[nodiscard]] HRESULT code() const noexcept { return code_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

private:
    HRESULT code_;
    std::string text_;
};

/// Throws CAtlException for a negative code; otherwise returns the code. [any thread]
inline HRESULT throw_if_failed(HRESULT code) {
    if (failed(code)) throw CAtlException(code);
    return code;
}

} // namespace ZoAtlCom
