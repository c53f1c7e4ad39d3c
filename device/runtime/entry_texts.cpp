#include "device/runtime/detail/entry_texts.h"

#include "device/code/code_page.h"

#include <algorithm>

namespace ZoHmiFdx {

namespace {

/// Calls `take(name, value)` for each complete attribute.
template <class Take>
void for_each_attribute(EntryReader& reader, Take take) {
    const auto count = reader.number<std::int16_t>();
    for (int i = 0; i < count; ++i) {
        const auto name_length = reader.number<std::uint8_t>();
        const auto value_length = reader.number<std::uint8_t>();
        const std::string_view name = reader.text(name_length);
        const std::string_view value = reader.text(value_length);
        if (reader.failed()) return;
        take(name, value);
    }
}

} // namespace

std::string entry_text(std::string_view text, int code_page) {
    // Nearly all texts are ASCII, which is the same in all code pages.
    const bool is_ascii = std::ranges::all_of(text, [](char c) { return (static_cast<unsigned char>(c) & 0x80) == 0; });
    return is_ascii ? std::string(text) : to_utf8(std::string(text), code_page);
}

void read_attributes(EntryReader& reader, int code_page, Attributes& attributes) {
    for_each_attribute(reader, [&](std::string_view name, std::string_view value) {
        attributes.add(entry_text(name, code_page), entry_text(value, code_page));
    });
}

void skip_attributes(EntryReader& reader) {
    for_each_attribute(reader, [](std::string_view, std::string_view) {});
}

} // namespace ZoHmiFdx
