#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// A text that crosses to the proxy: a pointer to zero-terminated bytes. The four bytes before them contain their
/// number. One allocation contains both. Null is a valid string of length 0. Bytes pass unchanged, inner zeros
/// included. [any thread]
namespace ZoAtlCom {

/// Returns a copy of a zero-terminated text; null for a null text or when out of memory.
[[nodiscard]] char* SysAllocString(const char* text);
/// Returns a copy of `length` bytes, or as many zero bytes for a null text; null when out of memory.
[[nodiscard]] char* SysAllocStringLen(const char* text, std::uint32_t length);
void SysFreeString(char* text);
/// Returns the stored length in bytes.
[[nodiscard]] std::uint32_t SysStringLen(const char* text);
/// Replaces `*target` by a copy of `text`, which may be part of the old string. Returns 1 on success. Returns 0 when a
/// pointer is null or memory runs out; `*target` is then unchanged.
int SysReAllocString(char** target, const char* text);
/// As SysReAllocString for the first `length` bytes. Returns 0 also for a length of 0 or beyond the text.
int SysReAllocStringLen(char** target, const char* text, std::uint32_t length);

/// Owns one counted string.
class CountedString {
public:
    CountedString() = default;
    /// A null text gives a null string. Throws CAtlException(E_OUTOFMEMORY) when the copy fails.
    explicit CountedString(const char* text);
    CountedString(CountedString&& other) noexcept : text_(other.detach()) {}
    CountedString& operator=(CountedString&& other) noexcept {
        if (this != &other) {
            SysFreeString(text_);
            text_ = other.detach();
        }
        return *this;
    }
    ~CountedString() { SysFreeString(text_); }

    [[nodiscard]] const char* get() const { return text_; }
    /// Frees the string and returns the place for an out argument.
    [[nodiscard]] char** put() {
        SysFreeString(detach());
        return &text_;
    }
    [[nodiscard]] char* detach() {
        char* text = text_;
        text_ = nullptr;
        return text;
    }
    /// Returns all bytes; a null string is empty.
    [[nodiscard]] std::string_view view() const { return {text_ ? text_ : "", SysStringLen(text_)}; }
    [[nodiscard]] std::string str() const { return std::string(view()); }

private:
    char* text_ = nullptr;
};

} // namespace ZoAtlCom
