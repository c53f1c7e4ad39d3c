#pragma once

#include "device/runtime/detail/lookup_node.h"

#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

/// Collects the nodes of lookup tables; `LookupTrie` is made of it. One thread at a time.
class LookupTrieBuilder {
public:
    using Node = LookupNodeId;
    static constexpr Node symbols = 0; ///< root of the paths of symbols
    static constexpr Node types = 1;   ///< root of the names of types

    LookupTrieBuilder();

    void reserve(std::size_t nodes);
    /// The child, made when there is none.
    Node add(Node parent, std::string_view name);
    /// The node of a symbol, with the nodes that lead to it.
    Node add_symbol(std::string_view lookup_path);
    /// Makes the node a record: `values` are the tables that it is true in, `next` a type or `no_lookup_node`. Of
    /// several records for one node all values count, and the first type.
    void set(Node node, LookupFlag values, Node next);

    /// Parents in front of their children; the first two are the roots.
    [[nodiscard]] const std::vector<LookupNode>& nodes() const noexcept { return nodes_; }
    [[nodiscard]] const std::string& long_names() const noexcept { return long_names_; }

private:
    void grow(std::size_t slots);
    /// The slot of the child, or the free one where it belongs.
    [[nodiscard]] Node& slot_of(Node parent, std::string_view name);

    std::vector<LookupNode> nodes_{2};
    std::vector<Node> slots_; // open addressing, at most two thirds full
    std::string long_names_;
};

} // namespace ZoHmiFdx
