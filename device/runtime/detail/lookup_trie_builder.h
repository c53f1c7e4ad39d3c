#pragma once

#include "device/runtime/detail/lookup_node.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

/// Collects the nodes of lookup tables. A `LookupTrie` is built from it. One thread at a time.
class LookupTrieBuilder {
public:
    using Node = LookupNodeId;
    static constexpr Node symbols = 0; ///< the root of the paths of symbols
    static constexpr Node types = 1;   ///< the root of the names of types

    LookupTrieBuilder();

    void reserve(std::size_t nodes);
    /// Returns the child; creates a missing one.
    Node add(Node parent, std::string_view name);
    /// Returns the node of a symbol; creates it and its parents if they are missing.
    Node add_symbol(std::string_view lookup_path);
    /// Makes the node a record. `values` are the tables that contain it; `next` is a type or `no_lookup_node`. If a
    /// node gets several records, all values and the first type count.
    void set(Node node, LookupFlag values, Node next);

    /// Parents come before their children; the first two nodes are the roots.
    [[nodiscard]] const std::vector<LookupNode>& nodes() const noexcept { return nodes_; }
    [[nodiscard]] const std::string& long_names() const noexcept { return long_names_; }

private:
    void grow(std::size_t slots);
    /// Returns the slot of the child, or the free slot for it.
    [[nodiscard]] Node& slot_of(Node parent, std::string_view name);

    std::vector<LookupNode> nodes_{2};
    std::vector<Node> slots_; // open addressing, at most two thirds full
    std::string long_names_;
};

} // namespace ZoHmiFdx
