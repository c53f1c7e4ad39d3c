#pragma once

#include "device/path/symbol_path.h"
#include "device/runtime/lookup_flag.h"
#include "device/runtime/lookup_table_entry.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ZoHmiFdx {

/// The four lookup tables of a runtime in one: each node carries the values of all tables, so that one walk over a path
/// answers all. Built by one thread and then only read.
///
/// A part of a path is searched below the nodes that the part before it led to, and below the types that these lead
/// to; all hits count. A chain of types is followed for `max_chain` steps. A part with more than `max_hits` hits ends
/// the walk, and the path counts as hidden and read-only.
class LookupTrie {
public:
    using Node = std::uint32_t;
    static constexpr Node none = 0xFFFFFFFF;
    static constexpr Node symbols = 0; ///< root of the paths of symbols
    static constexpr Node types = 1;   ///< root of the names of types
    static constexpr unsigned max_chain = 64;
    static constexpr unsigned max_hits = 64;

    LookupTrie();

    /// @name Building
    /// @{
    void reserve(std::size_t nodes);
    /// The node of a child, made when there is none. Nodes of types are children of `types`.
    Node add(Node parent, std::string_view name);
    /// The node of a symbol, with the nodes that lead to it.
    Node add_symbol(std::string_view lookup_path);
    /// Makes the node a record: `values` are the tables that it is true in, `next` a type or `none`. Of several records
    /// for one node all values count, and the first type.
    void set(Node node, LookupFlag values, Node next);
    [[nodiscard]] bool has_record(Node node) const { return (nodes_[node].own & record) != 0; }
    /// Works out what each node collects along its chain. Questions are answered only after this.
    void freeze();
    /// @}

    /// The tables that the path is in.
    [[nodiscard]] LookupFlag tables_of(const UniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const SanitizedUniqueFdxPath& path) const;
    [[nodiscard]] LookupFlag tables_of(const LookupFdxPath& path) const;

    [[nodiscard]] bool empty() const noexcept { return nodes_.size() == 2; }
    /// `none` when there is no such child.
    [[nodiscard]] Node child(Node parent, std::string_view name) const;
    /// All children whose names differ from `name` in the case of ASCII letters at most; ordered by name.
    [[nodiscard]] std::vector<Node> children_in_any_case(Node parent, std::string_view name) const;
    [[nodiscard]] std::string_view name_of(Node node) const;
    /// One of the tables as a tree.
    [[nodiscard]] LookupTable table(LookupFlag flag) const;

private:
    static constexpr std::uint8_t record = 0x80; ///< beside the bits of LookupFlag

    // 32 bytes, so that a node lies in one line of the cache together with a usual name.
    struct alignas(32) NodeRecord {
        Node parent;
        Node next;
        std::uint32_t name_length;
        std::uint8_t own;     ///< table values of the node, and `record`
        std::uint8_t chained; ///< those of the node and its chain together
        bool has_children;
        char name[16]; ///< a longer name's position in long_names_
    };
    struct Slot {
        std::uint32_t tag;
        Node node;
    };
    struct Hits;
    class Walk;

    [[nodiscard]] static std::uint64_t hash(Node parent, std::string_view name) noexcept;
    template <class Accept>
    void probe(Node parent, std::string_view name, Accept accept) const;
    void grow(std::size_t slots);
    void enter(Node node, std::uint64_t hash);

    std::vector<NodeRecord> nodes_;
    std::vector<Slot> slots_; // open addressing, a power of two, at most half full
    std::string long_names_;
};

} // namespace ZoHmiFdx
