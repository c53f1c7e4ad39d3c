#include "device/runtime/detail/lookup_trie.h"

#include <algorithm>
#include <array>

namespace ZoHmiFdx {

namespace {

constexpr char folded(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equal_in_any_case(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, {}, folded, folded);
}

} // namespace

LookupTrie::LookupTrie(const LookupTrieBuilder& builder)
    : nodes_(builder.nodes().size() * 3 / 2 + 2), places_(nodes_.size() - 2), symbols_(static_cast<Node>(places_)),
      types_(symbols_ + 1), long_names_(builder.long_names()) {
    std::vector<Node> moved(builder.nodes().size(), none);
    moved[LookupTrieBuilder::symbols] = symbols_;
    moved[LookupTrieBuilder::types] = types_;
    for (const Node root : {LookupTrieBuilder::symbols, LookupTrieBuilder::types})
        nodes_[moved[root]].has_children = builder.nodes()[root].has_children;
    for (Node node = 2; node < moved.size(); ++node) {
        LookupNode entry = builder.nodes()[node];
        entry.parent = moved[entry.parent];
        std::size_t at = lookup_position(hash_lookup_name(entry.parent, entry.name_in(long_names_)), places_);
        while (nodes_[at].parent != none)
            at = at + 1 == places_ ? 0 : at + 1;
        nodes_[at] = entry;
        moved[node] = static_cast<Node>(at);
    }
    for (LookupNode& entry : nodes_)
        if (entry.next != none) entry.next = moved[entry.next];
    for (LookupNode& entry : nodes_) {
        entry.chained = entry.own;
        Node next = entry.next;
        for (unsigned steps = 0; next != none && steps < max_lookup_chain; ++steps, next = nodes_[next].next)
            entry.chained = combine_lookup_values(entry.chained, nodes_[next].own);
    }
}

template <class Accept>
void LookupTrie::probe(Node parent, std::string_view name, Accept accept) const {
    std::size_t at = lookup_position(hash_lookup_name(parent, name), places_);
    for (; nodes_[at].parent != none; at = at + 1 == places_ ? 0 : at + 1)
        if (nodes_[at].parent == parent && accept(static_cast<Node>(at))) return;
}

LookupTrie::Node LookupTrie::child(Node parent, std::string_view name) const noexcept {
    Node found = none;
    probe(parent, name, [&](Node node) {
        if (name_of(node) != name) return false;
        found = node;
        return true;
    });
    return found;
}

std::vector<LookupTrie::Node> LookupTrie::children_in_any_case(Node parent, std::string_view name) const {
    std::vector<Node> found;
    probe(parent, name, [&](Node node) {
        if (equal_in_any_case(name_of(node), name)) found.push_back(node);
        return false;
    });
    std::ranges::sort(found, {}, [this](Node node) { return name_of(node); });
    return found;
}

/// Walks over the parts of a path one by one.
class LookupTrie::Walk {
public:
    explicit Walk(const LookupTrie& trie) noexcept : trie_(trie) { hits_[0].add(trie.symbols()); }

    /// Returns false when the walk has ended.
    bool step(std::string_view part) noexcept {
        const Hits& from = hits_[current_];
        Hits& found = hits_[1 - current_];
        current_ = 1 - current_;
        found.count = 0;
        for (unsigned i = 0; i < from.count; ++i)
            search_below(from.nodes[i], part, found);
        std::uint8_t collected = 0;
        for (unsigned i = 0; i < std::min(found.count, max_hits); ++i)
            collected = combine_lookup_values(collected, trie_.nodes_[found.nodes[i]].chained);
        tables_ |= std::uint8_t(collected & ~LookupNode::record);
        if (found.count <= max_hits) return found.count != 0;
        tables_ |= std::uint8_t(LookupFlag::Hidden | LookupFlag::ReadOnly);
        return false;
    }
    [[nodiscard]] LookupFlag tables() const noexcept { return LookupFlag(tables_); }

private:
    struct Hits {
        std::array<Node, max_hits> nodes;
        unsigned count = 0; // `max_hits` + 1 if some hits are missing

        void add(Node node) noexcept {
            const unsigned known = std::min(count, max_hits);
            if (std::find(nodes.begin(), nodes.begin() + known, node) != nodes.begin() + known) return;
            if (known < max_hits) nodes[known] = node;
            count = known + 1;
        }
    };

    void search_below(Node node, std::string_view part, Hits& found) const noexcept {
        for (unsigned steps = 0; node != none && steps <= max_lookup_chain; ++steps, node = trie_.nodes_[node].next) {
            if (!trie_.nodes_[node].has_children) continue;
            if (const Node hit = trie_.child(node, part); hit != none) found.add(hit);
        }
    }

    const LookupTrie& trie_;
    Hits hits_[2];
    unsigned current_ = 0;
    std::uint8_t tables_ = 0;
};

LookupFlag LookupTrie::tables_of(const LookupFdxPath& path) const {
    Walk walk(*this);
    std::string_view rest = path.str();
    while (!path.empty()) {
        const std::size_t end = rest.find_first_of(".#");
        if (!walk.step(rest.substr(0, end)) || end == rest.npos) break;
        rest.remove_prefix(end + 1);
    }
    return walk.tables();
}

namespace {

enum class Mark : std::uint8_t { None, Separator, Operator, Open, Close };

constexpr auto marks = [] {
    std::array<Mark, 256> table{};
    table['.'] = table['#'] = Mark::Separator;
    table['^'] = table['`'] = Mark::Operator;
    table['['] = Mark::Open;
    table[']'] = Mark::Close;
    return table;
}();

Mark mark_at(std::string_view text, std::size_t at) noexcept {
    return at < text.size() ? marks[static_cast<unsigned char>(text[at])] : Mark::Separator;
}

/// Returns the end of the operators and groups at `at`; npos if they are malformed. Only an exact path has content in
/// its groups. In a sanitized path all groups are empty.
std::size_t end_of_marks(std::string_view text, std::size_t at, bool groups_are_empty) noexcept {
    for (;;) {
        switch (mark_at(text, at)) {
        case Mark::Separator:
            return at;
        case Mark::Operator:
            ++at;
            break;
        case Mark::Open: {
            const std::size_t close = text.find(']', at + 1);
            if (close == text.npos || (groups_are_empty && close != at + 1)) return text.npos;
            at = close + 1;
            break;
        }
        default:
            return text.npos;
        }
    }
}

/// Calls `step` with each part of a path, without its marks. Returns false if the path must be reduced first.
template <class Step>
bool for_each_part(std::string_view text, bool groups_are_empty, Step step) {
    for (std::size_t start = 0;;) {
        std::size_t at = start;
        while (mark_at(text, at) == Mark::None)
            ++at;
        const std::size_t end = end_of_marks(text, at, groups_are_empty);
        if (end == text.npos) return false;
        if (!step(text.substr(start, at - start)) || end == text.size()) return true;
        start = end + 1;
    }
}

} // namespace

LookupFlag LookupTrie::tables_of(const UniqueFdxPath& path) const {
    if (path.empty()) return LookupFlag::None;
    Walk walk(*this);
    if (for_each_part(path.str(), false, [&](std::string_view part) { return walk.step(part); })) return walk.tables();
    return tables_of(to_lookup(path));
}

LookupFlag LookupTrie::tables_of(const SanitizedUniqueFdxPath& path) const {
    if (path.empty()) return LookupFlag::None;
    Walk walk(*this);
    if (for_each_part(path.str(), true, [&](std::string_view part) { return walk.step(part); })) return walk.tables();
    return tables_of(simplify(path));
}

LookupTable LookupTrie::table(LookupFlag flag) const {
    LookupTable result;
    std::vector<LookupTableEntry*> entries(nodes_.size());
    entries[symbols_] = &result.symbols;
    entries[types_] = &result.types;
    std::vector<Node> way;
    for (Node start = 0; start < places_; ++start) {
        if (nodes_[start].parent == none) continue;
        for (Node node = start; !entries[node]; node = nodes_[node].parent)
            way.push_back(node);
        for (; !way.empty(); way.pop_back()) {
            const LookupNode& node = nodes_[way.back()];
            LookupTableEntry& entry = entries[node.parent]->children[std::string(name_of(way.back()))];
            entry.value = has(LookupFlag(node.own), flag);
            entry.has_record = (node.own & LookupNode::record) != 0;
            if (node.next != none) entry.next_type = name_of(node.next);
            entries[way.back()] = &entry;
        }
    }
    return result;
}

} // namespace ZoHmiFdx
