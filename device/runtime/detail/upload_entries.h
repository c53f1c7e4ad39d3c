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
    bool complete = true; ///< false where the bytes end before the entry does
};

/// Reads one symbol. With `may_be_cut` an entry whose end is missing gives the parts that are complete; without it, as
/// for any other entry that contradicts itself, there is no value.
std::optional<SymbolEntry> read_symbol_entry(EntryReader reader, int code_page, bool may_be_cut);
/// Checks the lengths alone.
bool is_well_formed_symbol_entry(EntryReader reader);
/// The symbol has a name that a path can consist of, and a type.
bool is_usable(const SymbolEntry& symbol);

/// Reads one type with its parts. Members that no path can name, or that lie outside of the type, are left out.
std::optional<DatatypeDescription> read_datatype_entry(EntryReader reader, int code_page);

inline constexpr std::size_t symbol_head_size = 30;
inline constexpr std::size_t datatype_head_size = 34;

} // namespace ZoHmiFdx
