#pragma once

#include <map>
#include <string>

namespace ZoHmiFdx {

/// A node of a copied lookup table. To check a single path, use `RuntimeConfig::is_in_lookup_table`.
struct LookupTableEntry {
    std::map<std::string, LookupTableEntry> children; ///< by part of the path
    bool value = false;
    bool has_record = false; ///< false for a node that only has children
    std::string next_type;   ///< the walk continues in this type too; empty if none
};

/// Symbols and types have separate roots, because a type may have the name of a symbol.
struct LookupTable {
    LookupTableEntry symbols;
    LookupTableEntry types;
};

} // namespace ZoHmiFdx
