#include "binding/counted_string.h"

#include "binding/error.h"

#include <cstdlib>
#include <cstring>

namespace ZoAtlCom {

namespace {

using Length = std::uint32_t;

/// The allocation begins at the length.
char* start_of(char* text) {
    return text - sizeof(Length);
}

/// The length has 32 bits.
constexpr std::size_t max_length = UINT32_MAX;

} // namespace

char* SysAllocStringLen(const char* text, std::uint32_t length) {
    char* memory = static_cast<char*>(std::malloc(std::size_t{length} + sizeof(Length) + 1));
    if (!memory) return nullptr;
    char* copy = memory + sizeof(Length);
    std::memcpy(memory, &length, sizeof length);
    if (text)
        std::memcpy(copy, text, length);
    else
        std::memset(copy, 0, length);
    copy[length] = '\0';
    return copy;
}

char* SysAllocString(const char* text) {
    if (!text) return nullptr;
    const std::size_t length = std::strlen(text);
    return length > max_length ? nullptr : SysAllocStringLen(text, static_cast<Length>(length));
}

void SysFreeString(char* text) {
    if (text) std::free(start_of(text));
}

std::uint32_t SysStringLen(const char* text) {
    Length length = 0;
    if (text) std::memcpy(&length, text - sizeof(Length), sizeof length);
    return length;
}

int SysReAllocString(char** target, const char* text) {
    if (!target || !text) return 0;
    char* copy = SysAllocString(text);
    if (!copy) return 0;
    SysFreeString(*target);
    *target = copy;
    return 1;
}

int SysReAllocStringLen(char** target, const char* text, std::uint32_t length) {
    if (!target || !text || length == 0 || length > std::strlen(text)) return 0;
    char* copy = SysAllocStringLen(text, length);
    if (!copy) return 0;
    SysFreeString(*target);
    *target = copy;
    return 1;
}

CountedString::CountedString(const char* text) : text_(SysAllocString(text)) {
    if (text && !text_) throw CAtlException(E_OUTOFMEMORY);
}

} // namespace ZoAtlCom
