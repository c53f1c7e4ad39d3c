#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Text as it crosses to the proxy: a pointer to narrow, zero-terminated bytes, with their number as 32 bits in the four
// bytes before them. One allocation holds both. Null is a valid string of length 0. Bytes pass unchanged, inner zeros
// included. All functions: [any thread]
namespace ZoAtlCom {

// A copy of a zero-terminated text; null for a null text or without memory.
[[nodiscard]] char* SysAllocString(const char* text);
// A copy of `length` bytes, or of that many zero bytes for a null text; null without memory.
[[nodiscard]] char* SysAllocStringLen(const char* text, std::uint32_t length);
void SysFreeString(char* text);
// The stored length in bytes.
[[nodiscard]] std::uint32_t SysStringLen(const char* text);
// Replaces `*target` by a copy, which may be of a part of the old string. 1 when done; 0 when a pointer is null or
// memory lacks, and `*target` stays.
int SysReAllocString(char** target, const char* text);
// The same for the first `length` bytes; refuses 0 and more than the text has, too.
int SysReAllocStringLen(char** target, const char* text, std::uint32_t length);

// Owns one counted string.
class CountedString {
public:
    CountedString() = default;
    // Throws CAtlException(E_OUTOFMEMORY) when the copy fails. A null text gives a null string.
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
    // Frees what is held, for an out argument.
    [[nodiscard]] char** put() {
        SysFreeString(detach());
        return &text_;
    }
    [[nodiscard]] char* detach() {
        char* text = text_;
        text_ = nullptr;
        return text;
    }
    // Every byte of it; a null string is empty.
    [[nodiscard]] std::string_view view() const { return {text_ ? text_ : "", SysStringLen(text_)}; }
    [[nodiscard]] std::string str() const { return std::string(view()); }

private:
    char* text_ = nullptr;
};

} // namespace ZoAtlCom
