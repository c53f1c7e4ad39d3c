#pragma once

#include "binding/hresult.h"

#include <exception>
#include <string>
#include <utility>

namespace ZoAtlCom {

// The text of a result code: what the proxy's library has, else what the table of this floor has. [any thread]
[[nodiscard]] std::string error_text(HRESULT code);

// A failed call of a proxy object.
class CAtlException : public std::exception {
public:
    // Asks for the code's text.
    explicit CAtlException(HRESULT code) : CAtlException(code, error_text(code)) {}
    CAtlException(HRESULT code, std::string text) : code_(code), text_(std::move(text)) {}

    [[nodiscard]] HRESULT code() const noexcept { return code_; }
    [[nodiscard]] const std::string& text() const noexcept { return text_; }
    [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

private:
    HRESULT code_;
    std::string text_;
};

// Throws CAtlException for a negative code; else hands the code on. [any thread]
inline HRESULT throw_if_failed(HRESULT code) {
    if (failed(code)) throw CAtlException(code);
    return code;
}

} // namespace ZoAtlCom
