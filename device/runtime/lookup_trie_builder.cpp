#include "device/runtime/detail/lookup_trie_builder.h"

#include <algorithm>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t first_slots = 64;

} // namespace

LookupTrieBuilder::LookupTrieBuilder() {
    grow(first_slots);
}

void LookupTrieBuilder::reserve(std::size_t nodes) {
    nodes_.reserve(nodes + 2);
    if (nodes + nodes / 2 > slots_.size()) grow(nodes + nodes / 2);
}

void LookupTrieBuilder::grow(std::size_t slots) {
    slots_.assign(slots, no_lookup_node);
    for (Node node = 2; node < nodes_.size(); ++node)
        slot_of(nodes_[node].parent, nodes_[node].name_in(long_names_)) = node;
}

LookupTrieBuilder::Node& LookupTrieBuilder::slot_of(Node parent, std::string_view name) {
    std::size_t at = lookup_position(hash_lookup_name(parent, name), slots_.size());
    for (; slots_[at] != no_lookup_node; at = at + 1 == slots_.size() ? 0 : at + 1) {
        const LookupNode& node = nodes_[slots_[at]];
        if (node.parent == parent && node.name_in(long_names_) == name) break;
    }
    return slots_[at];
}

LookupTrieBuilder::Node LookupTrieBuilder::add(Node parent, std::string_view name) {
    if (nodes_.size() + nodes_.size() / 2 > slots_.size()) grow(2 * slots_.size());
    Node& slot = slot_of(parent, name);
    if (slot != no_lookup_node) return slot;
    slot = static_cast<Node>(nodes_.size());
    LookupNode& node = nodes_.emplace_back();
    node.parent = parent;
    node.set_name(name, long_names_);
    nodes_[parent].has_children = true;
    return slot;
}

LookupTrieBuilder::Node LookupTrieBuilder::add_symbol(std::string_view path) {
    Node node = symbols;
    for (;;) {
        const std::size_t end = path.find_first_of(".#");
        node = add(node, path.substr(0, end));
        if (end == path.npos) return node;
        path.remove_prefix(end + 1);
    }
}

void LookupTrieBuilder::set(Node node, LookupFlag values, Node next) {
    LookupNode& entry = nodes_[node];
    entry.own = combine_lookup_values(entry.own, std::uint8_t(std::uint8_t(values) | LookupNode::record));
    if (entry.next == no_lookup_node) entry.next = next;
}

} // namespace ZoHmiFdx
