#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/detail/lookup_trie_builder.h"
#include "device/runtime/lookup_flag.h"
#include "device/runtime/lookup_table_entry.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

/// The four lookup tables of a runtime in one: each node carries the values of all tables, so that one walk over a path
/// answers all. Never changes. [any thread]
///
/// A part of a path is searched below the nodes that the part before it led to, and below the types that these lead
/// to; all hits count. A part with more than `max_hits` hits ends the walk, and the path counts as hidden and
/// read-only.
class LookupTrie {
public:
    using Node = LookupNodeId;
    static constexpr Node none = no_lookup_node;
    static constexpr unsigned max_hits = 64;

    LookupTrie() : LookupTrie(LookupTrieBuilder()) {}
    explicit LookupTrie(const LookupTrieBuilder& builder);

    /// The tables that the path is in.
    [[nodiscard]] LookupFlag tables_of(const UniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const SanitizedUniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const LookupFdxPath& path) const;

    /// Root of the paths of symbols.
    [[nodiscard]] Node symbols() const noexcept { return symbols_; }
    /// `none` when there is no such child.
    [[nodiscard]] Node child(Node parent, std::string_view name) const noexcept;
    /// All children whose names differ from `name` in the case of ASCII letters at most; ordered by name.
    [[nodiscard]] std::vector<Node> children_in_any_case(Node parent, std::string_view name) const;
    [[nodiscard]] std::string_view name_of(Node node) const noexcept { return nodes_[node].name_in(long_names_); }
    /// One of the tables as trees.
    [[nodiscard]] LookupTable table(LookupFlag flag) const;

private:
    class Walk;

    /// Calls `accept(node)` for the nodes that may be the child; ends when it returns true.
    template <class Accept>
    void probe(Node parent, std::string_view name, Accept accept) const;

    // The nodes lie in a hash table themselves, which saves a miss of the cache for each part of a path. The roots lie
    // behind the places that hashes lead to.
    std::vector<LookupNode> nodes_;
    std::size_t places_;
    Node symbols_;
    Node types_;
    std::string long_names_;
};

} // namespace ZoHmiFdx
