#pragma once

#include "device/runtime/detail/entry_reader.h"
#include "device/type/attributes.h"

#include <cstddef>
#include <string>
#include <string_view>

/// Fields that the entries of symbols and types share.
namespace ZoHmiFdx {

inline constexpr std::size_t type_guid_size = 16;

/// The text in UTF-8.
std::string entry_text(std::string_view text, int code_page);

/// Adds the attributes that are complete. A negative count is none.
void read_attributes(EntryReader& reader, int code_page, Attributes& attributes);
void skip_attributes(EntryReader& reader);

} // namespace ZoHmiFdx
