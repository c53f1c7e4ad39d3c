#include "device/runtime/detail/lookup_trie.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace ZoHmiFdx {

namespace {

constexpr std::size_t first_slots = 64;
/// Tables where one true value decides; in the table `NotShown` all values of a part have to be true.
constexpr auto any_of = std::uint8_t(LookupFlag::ReadOnly | LookupFlag::ShownRecursively | LookupFlag::Hidden);
constexpr auto all_of = std::uint8_t(LookupFlag::NotShown);

template <class T>
std::uint64_t load(const char* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

constexpr char folded(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool equal_in_any_case(std::string_view left, std::string_view right) noexcept {
    return std::ranges::equal(left, right, {}, folded, folded);
}

/// Combines what nodes collected. A node that only leads on has collected nothing.
std::uint8_t combine(std::uint8_t left, std::uint8_t right, std::uint8_t record) noexcept {
    if ((right & record) == 0) return left;
    if ((left & record) == 0) return right;
    return std::uint8_t(((left | right) & (any_of | record)) | (left & right & all_of));
}

} // namespace

struct LookupTrie::Hits {
    std::array<Node, max_hits> nodes;
    unsigned count = 0;
    bool overflow = false;

    void add(Node node) noexcept {
        if (std::find(nodes.begin(), nodes.begin() + count, node) != nodes.begin() + count) return;
        if (count == max_hits) {
            overflow = true;
            return;
        }
        nodes[count++] = node;
    }
};

/// Takes the parts of a path one by one.
class LookupTrie::Walk {
public:
    explicit Walk(const LookupTrie& trie) : trie_(trie) { hits_.add(symbols); }

    /// False when the walk has ended.
    bool step(std::string_view part) noexcept {
        Hits found;
        for (unsigned i = 0; i < hits_.count; ++i)
            search_below(hits_.nodes[i], part, found);
        std::uint8_t collected = 0;
        for (unsigned i = 0; i < found.count; ++i)
            collected = combine(collected, trie_.nodes_[found.nodes[i]].chained, record);
        tables_ |= std::uint8_t(collected & ~record);
        if (found.overflow) tables_ |= std::uint8_t(LookupFlag::Hidden | LookupFlag::ReadOnly);
        hits_ = found;
        return found.count != 0 && !found.overflow;
    }
    [[nodiscard]] LookupFlag tables() const noexcept { return LookupFlag(tables_); }

private:
    void search_below(Node node, std::string_view part, Hits& found) const noexcept {
        for (unsigned steps = 0; node != none && steps <= max_chain; ++steps, node = trie_.nodes_[node].next) {
            if (!trie_.nodes_[node].has_children) continue;
            if (const Node hit = trie_.child(node, part); hit != none) found.add(hit);
        }
    }

    const LookupTrie& trie_;
    Hits hits_;
    std::uint8_t tables_ = 0;
};

LookupTrie::LookupTrie() {
    grow(first_slots);
    nodes_.resize(2, NodeRecord{none, none, 0, 0, 0, false, {}});
}

void LookupTrie::reserve(std::size_t nodes) {
    nodes_.reserve(nodes + 2);
    if (2 * nodes > slots_.size()) grow(std::bit_ceil(2 * nodes));
}

// Letters hash alike in both cases. Eight bytes at a time; the last ones may overlap those before them.
std::uint64_t LookupTrie::hash(Node parent, std::string_view name) noexcept {
    constexpr std::uint64_t lower = 0x2020'2020'2020'2020;
    constexpr std::uint64_t factor = 0x9E37'79B9'7F4A'7C15;
    std::uint64_t result = (parent + 1) * factor + name.size();
    const auto mix = [&result](std::uint64_t bytes) {
        result = (result ^ (bytes | lower)) * factor;
        result ^= result >> 29;
    };
    const char* at = name.data();
    const std::size_t size = name.size();
    if (size >= 8) {
        for (const char* const last = at + size - 8; at < last; at += 8)
            mix(load<std::uint64_t>(at));
        mix(load<std::uint64_t>(name.data() + size - 8));
    } else if (size >= 4) {
        mix(load<std::uint32_t>(at) | load<std::uint32_t>(at + size - 4) << 32);
    } else if (size > 0) {
        mix(load<std::uint8_t>(at) | load<std::uint8_t>(at + size / 2) << 8 | load<std::uint8_t>(at + size - 1) << 16);
    }
    return result * factor;
}

/// Calls `accept(node)` for the nodes that may be the child; ends when it returns true.
template <class Accept>
void LookupTrie::probe(Node parent, std::string_view name, Accept accept) const {
    const std::uint64_t key = hash(parent, name);
    const auto tag = static_cast<std::uint32_t>(key);
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t at = (key >> 32) & mask; slots_[at].node != none; at = (at + 1) & mask) {
        if (slots_[at].tag == tag && nodes_[slots_[at].node].parent == parent && accept(slots_[at].node)) return;
    }
}

void LookupTrie::enter(Node node, std::uint64_t key) {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = (key >> 32) & mask;
    while (slots_[at].node != none)
        at = (at + 1) & mask;
    slots_[at] = {static_cast<std::uint32_t>(key), node};
}

void LookupTrie::grow(std::size_t slots) {
    slots_.assign(slots, {0, none});
    for (Node node = 2; node < nodes_.size(); ++node)
        enter(node, hash(nodes_[node].parent, name_of(node)));
}

std::string_view LookupTrie::name_of(Node node) const {
    const NodeRecord& entry = nodes_[node];
    if (entry.name_length <= sizeof entry.name) return {entry.name, entry.name_length};
    return std::string_view(long_names_).substr(load<std::uint64_t>(entry.name), entry.name_length);
}

LookupTrie::Node LookupTrie::child(Node parent, std::string_view name) const {
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

LookupTrie::Node LookupTrie::add(Node parent, std::string_view name) {
    if (const Node known = child(parent, name); known != none) return known;
    if (2 * nodes_.size() > slots_.size()) grow(2 * slots_.size());
    NodeRecord entry{parent, none, static_cast<std::uint32_t>(name.size()), 0, 0, false, {}};
    if (name.size() <= sizeof entry.name) {
        std::memcpy(entry.name, name.data(), name.size());
    } else {
        const std::uint64_t position = long_names_.size();
        std::memcpy(entry.name, &position, sizeof position);
        long_names_ += name;
    }
    const auto node = static_cast<Node>(nodes_.size());
    nodes_.push_back(entry);
    nodes_[parent].has_children = true;
    enter(node, hash(parent, name));
    return node;
}

LookupTrie::Node LookupTrie::add_symbol(std::string_view path) {
    Node node = symbols;
    for (std::size_t end = 0; end != path.npos; path.remove_prefix(std::min(end + 1, path.size()))) {
        end = path.find_first_of(".#");
        node = add(node, path.substr(0, end));
        if (end == path.npos) break;
    }
    return node;
}

void LookupTrie::set(Node node, LookupFlag values, Node next) {
    NodeRecord& entry = nodes_[node];
    entry.own = combine(entry.own, std::uint8_t(std::uint8_t(values) | record), record);
    if (entry.next == none) entry.next = next;
}

void LookupTrie::freeze() {
    for (NodeRecord& entry : nodes_) {
        entry.chained = entry.own;
        Node next = entry.next;
        for (unsigned steps = 0; next != none && steps < max_chain; ++steps, next = nodes_[next].next)
            entry.chained = combine(entry.chained, nodes_[next].own, record);
    }
}

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

/// The end of the operators and groups at `at`; npos where they are not those of a well-formed part. The content of
/// groups belongs to the path's exact spelling alone; in a sanitized path all groups are empty.
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

/// Calls `step` with each part of a path, without its marks. False for a path that has to be reduced first.
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
    entries[symbols] = &result.symbols;
    entries[types] = &result.types;
    // A parent was added before its children.
    for (Node node = 2; node < nodes_.size(); ++node) {
        LookupTableEntry& entry = entries[nodes_[node].parent]->children[std::string(name_of(node))];
        entry.value = has(LookupFlag(nodes_[node].own), flag);
        entry.has_record = has_record(node);
        if (nodes_[node].next != none) entry.next_type = name_of(nodes_[node].next);
        entries[node] = &entry;
    }
    return result;
}

} // namespace ZoHmiFdx
