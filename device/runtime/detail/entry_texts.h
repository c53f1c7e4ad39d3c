#pragma once

#include "device/runtime/detail/entry_reader.h"
#include "device/type/attributes.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Fields of symbol entries and type entries.
namespace ZoHmiFdx {

inline constexpr std::size_t type_guid_size = 16;

/// Returns the text in UTF-8.
std::string entry_text(std::string_view text, int code_page);

/// Adds the complete attributes. A negative count adds none.
void read_attributes(EntryReader& reader, int code_page, Attributes& attributes);
void skip_attributes(EntryReader& reader);

} // namespace ZoHmiFdx
