#pragma once

#include "device/path/symbol_path.h"
#include "device/request/symbol_info.h"
#include "device/runtime/detail/entry_reader.h"
#include "device/type/datatype_description.h"

#include <optional>
#include <string>

/// Entries of the blocks in which a device uploads its symbols and types. Every length is checked against the entry.
namespace ZoHmiFdx {

struct SymbolEntry {
    UniqueFdxPath path;
    SymbolInfo info;
    bool announces_attributes = false;
    bool complete = true; ///< false if the bytes end before the entry does
};

/// Reads one symbol. With `may_be_cut` a truncated entry gives its complete parts. An entry that contradicts itself
/// gives no value, and so does a truncated one without `may_be_cut`.
std::optional<SymbolEntry> read_symbol_entry(EntryReader reader, int code_page, bool may_be_cut);
/// Checks only the lengths.
bool is_well_formed_symbol_entry(EntryReader reader);
/// Returns whether the symbol has a type and a name that is valid in a path.
bool is_usable(const SymbolEntry& symbol);

/// Reads one type with its parts. Skips members with a name that no path can contain, and members outside the type.
std::optional<DatatypeDescription> read_datatype_entry(EntryReader reader, int code_page);

inline constexpr std::size_t symbol_head_size = 30;
inline constexpr std::size_t datatype_head_size = 34;

} // namespace ZoHmiFdx
