#include "extension/host/algorithm.h"

#include "platform/server_api/number_text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>

namespace ZoHmiSrv::Algorithm {

namespace {

const char* or_empty(const char* text) noexcept {
    return text == nullptr ? "" : text;
}

} // namespace

bool equals(const char* left, const char* right) noexcept {
    return std::strcmp(or_empty(left), or_empty(right)) == 0;
}

bool empty(const char* text) noexcept {
    return *or_empty(text) == '\0';
}

void replace(std::string& text, std::string_view search, std::string_view replacement) {
    if (search.empty()) return;
    std::string replaced;
    std::size_t from = 0;
    for (std::size_t at = text.find(search); at != std::string::npos; at = text.find(search, from)) {
        replaced.append(text, from, at - from).append(replacement);
        from = at + search.size();
    }
    if (from > 0) {
        replaced.append(text, from);
        text = std::move(replaced);
    }
}

std::vector<std::string> split(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    if (text.empty()) return parts;
    for (std::size_t at = 0; !separator.empty() && (at = text.find(separator)) != std::string_view::npos;) {
        parts.emplace_back(text.substr(0, at));
        text.remove_prefix(at + separator.size());
    }
    parts.emplace_back(text);
    return parts;
}

std::vector<std::string> split_symbol_name(const char* path) {
    return split(or_empty(path), "::");
}

std::optional<std::int64_t> try_as_int64(std::string_view text) noexcept {
    return Numbers::parse_int64(text);
}

std::string to_string(long number) {
    return Numbers::to_text(number);
}

std::string to_string(unsigned long number) {
    return Numbers::to_text(number);
}

std::string to_string(double number, int decimals, bool keep_zeros) {
    // The longest double has 309 digits before the point.
    std::array<char, 512> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                            std::chars_format::fixed, std::clamp(decimals, 0, 100));
    if (error != std::errc()) return {};
    std::string text(buffer.data(), end);
    if (!keep_zeros && text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

int hmi_memcpy_s(void* to, std::size_t size, const void* from, std::size_t count) noexcept {
    if (count == 0) return 0;
    if (to == nullptr) return EINVAL;
    if (from == nullptr || count > size) {
        std::memset(to, 0, size);
        return from == nullptr ? EINVAL : ERANGE;
    }
    std::memmove(to, from, count);
    return 0;
}

int hmi_memset_s(void* to, std::size_t size, int byte, std::size_t count) noexcept {
    if (to == nullptr) return EINVAL;
    std::memset(to, byte, std::min(size, count));
    return count > size ? ERANGE : 0;
}

} // namespace ZoHmiSrv::Algorithm
