#pragma once

#include <map>
#include <string>

namespace ZoHmiFdx {

/// A node of a copied lookup table. `RuntimeConfig::is_in_lookup_table` answers for a single path.
struct LookupTableEntry {
    std::map<std::string, LookupTableEntry> children; ///< by part of a path
    bool value = false;
    bool has_record = false; ///< false for a node that only leads to other nodes
    std::string next_type;   ///< the walk goes on in this type too; empty for none
};

/// Symbols and types have roots of their own: a type may have the name of a symbol.
struct LookupTable {
    LookupTableEntry symbols;
    LookupTableEntry types;
};

} // namespace ZoHmiFdx
