#include "device/runtime/detail/type_references.h"

#include "device/runtime/detail/type_lookup.h"
#include "device/type/dialect.h"

#include <algorithm>
#include <cstddef>

namespace ZoHmiFdx {

std::string base_name(const Datatype& type) {
    if (type.array_info().dimensions() != 0) return remove_dialect_suffix_copy(element_name(type));
    if (type.is_indirection_strict() || type.count_subitems() != 0 || type.type_name() == type.item_name()) return {};
    return type.type_name();
}

std::vector<std::string> contained_types(const Datatype& type) {
    std::vector<std::string> names;
    if (std::string base = base_name(type); !base.empty()) names.push_back(std::move(base));
    for (const SubItem& member : type.subitems())
        names.push_back(member.type_name());
    return names;
}

namespace {

/// Finds strongly connected components with Tarjan's algorithm. It has its own stack, because the device decides the
/// depth.
class Components {
public:
    using Edges = std::unordered_map<std::string, std::vector<std::string>>;

    explicit Components(const Edges& edges) : edges_(edges) {}

    std::unordered_set<std::string> on_cycles() && {
        for (const auto& [name, targets] : edges_)
            if (!marks_.contains(name)) search_from(name);
        return std::move(found_);
    }

private:
    struct Mark {
        std::size_t index;
        std::size_t low;
        bool open;
    };
    struct Frame {
        const std::string* name;
        const std::vector<std::string>* targets;
        Mark* mark;
        std::size_t next = 0;
    };

    void enter(const Edges::value_type& node) {
        Mark& mark = marks_[node.first] = {marks_.size(), marks_.size(), true};
        mark.low = mark.index;
        frames_.push_back({&node.first, &node.second, &mark});
        open_.push_back(&node.first);
    }
    void search_from(const std::string& start) {
        enter(*edges_.find(start));
        while (!frames_.empty()) {
            Frame& frame = frames_.back();
            if (frame.next == frame.targets->size()) {
                leave();
                continue;
            }
            const std::string& target = (*frame.targets)[frame.next++];
            if (target == *frame.name) found_.insert(target);
            const auto node = edges_.find(target);
            if (node == edges_.end()) continue;
            if (const auto mark = marks_.find(target); mark == marks_.end())
                enter(*node);
            else if (mark->second.open)
                frame.mark->low = std::min(frame.mark->low, mark->second.index);
        }
    }
    void leave() {
        const Frame frame = frames_.back();
        frames_.pop_back();
        if (!frames_.empty()) frames_.back().mark->low = std::min(frames_.back().mark->low, frame.mark->low);
        if (frame.mark->low != frame.mark->index) return;
        const bool is_cycle = open_.back() != frame.name;
        for (bool more = true; more; open_.pop_back()) {
            more = open_.back() != frame.name;
            marks_[*open_.back()].open = false;
            if (is_cycle) found_.insert(*open_.back());
        }
    }

    const Edges& edges_;
    std::unordered_map<std::string, Mark> marks_;
    std::vector<Frame> frames_;
    std::vector<const std::string*> open_;
    std::unordered_set<std::string> found_;
};

} // namespace

std::unordered_set<std::string>
names_on_cycles(const std::unordered_map<std::string, std::vector<std::string>>& edges) {
    return Components(edges).on_cycles();
}

} // namespace ZoHmiFdx
