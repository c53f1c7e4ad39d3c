#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/detail/lookup_trie_builder.h"
#include "device/runtime/lookup_flag.h"
#include "device/runtime/lookup_table_entry.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

/// The four lookup tables of a runtime in one. Each node has the values of all tables, so one walk over a path gives
/// all answers. Never changes. [any thread]
///
/// A part of a path is searched below the nodes of the part before it, and below the types of these nodes. All hits
/// count. A part with more than `max_hits` hits ends the walk; the path then counts as hidden and read-only.
class LookupTrie {
public:
    using Node = LookupNodeId;
    static constexpr Node none = no_lookup_node;
    static constexpr unsigned max_hits = 64;

    LookupTrie() : LookupTrie(LookupTrieBuilder()) {}
    explicit LookupTrie(const LookupTrieBuilder& builder);

    /// Returns the tables that contain the path.
    [[nodiscard]] LookupFlag tables_of(const UniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const SanitizedUniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const LookupFdxPath& path) const;

    /// The root of the paths of symbols.
    [[nodiscard]] Node symbols() const noexcept { return symbols_; }
    /// Returns `none` if there is no such child.
    [[nodiscard]] Node child(Node parent, std::string_view name) const noexcept;
    /// Returns all children with this name, ignoring the case of ASCII letters; ordered by name.
    [[nodiscard]] std::vector<Node> children_in_any_case(Node parent, std::string_view name) const;
    [[nodiscard]] std::string_view name_of(Node node) const noexcept { return nodes_[node].name_in(long_names_); }
    /// Returns a copy of one table as trees.
    [[nodiscard]] LookupTable table(LookupFlag flag) const;

private:
    class Walk;

    /// Calls `accept(node)` for each candidate for the child, until it returns true.
    template <class Accept>
    void probe(Node parent, std::string_view name, Accept accept) const;

    // The nodes themselves form a hash table, which saves a cache miss for each part of a path. The roots lie behind
    // the hashed places.
    std::vector<LookupNode> nodes_;
    std::size_t places_;
    Node symbols_;
    Node types_;
    std::string long_names_;
};

} // namespace ZoHmiFdx
