#include "simulator/controller/plant.h"

#include "simulator/controller/groups.h"
#include "support/utf8.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace zo_sim {

namespace {

constexpr Plant::Code not_found = device_code::symbol_not_found;
using device_code::invalid_address;
constexpr std::uint64_t first_address = 0x10000000;
constexpr std::uint64_t max_memory = std::uint64_t{1} << 28;
constexpr std::string_view delimiters = ".[^#";
const nlohmann::json no_items = nlohmann::json::array();

std::string lower(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return result;
}

bool same_name(std::string_view left, std::string_view right) {
    return left.size() == right.size() && lower(left) == lower(right);
}

Node part(const Node& description, const char* name) {
    const auto found = description.find(name);
    return found ? *found : Node(no_items, name);
}

} // namespace

Plant::Plant(const Node& description) : types_(part(description, "types")) {
    if (const auto code_page = description.find("code_page")) code_page_ = code_page->u32_or_text();
    place_symbols(part(description, "symbols"));
    // Addresses need the places of all symbols.
    std::size_t index = 0;
    part(description, "symbols").each_item([&](const Node& node) {
        const Item& symbol = symbols_[index++];
        const Place place{symbol.type, symbol.offset, -1, &symbol};
        set_defaults(place, node);
        if (!symbol.value.is_null()) set_value(place, Node(symbol.value, node.place()));
    });
}

// Sets the values of members, inner ones first. So the value of a member overrides those that its type declares.
void Plant::set_defaults(const Place& place, const Node& node) {
    const Type& type = place.type->plain();
    if (type.kind == TypeKind::array && type.base->plain().size > 1 && !type.base->plain().members.empty()) {
        for (std::uint64_t i = 0; i < type.count(); ++i)
            set_defaults({type.base, place.offset + static_cast<std::uint32_t>(i * type.base->size), -1, nullptr},
                         node);
    }
    if (type.kind != TypeKind::structure) return;
    for (const Item& member : type.members) {
        const Place inner{member.type, place.offset + member.offset, member.bit, &member};
        set_defaults(inner, node);
        if (!member.value.is_null()) set_value(inner, Node(member.value, node.place() + "." + member.name));
    }
}

void Plant::place_symbols(const Node& symbols) {
    std::uint64_t end = 0;
    symbols.each_item([&](const Node& node) {
        Item symbol = types_.read_item(node).item;
        const std::uint32_t align = symbol.type->align;
        end = (end + align - 1) / align * align;
        symbol.offset = static_cast<std::uint32_t>(end);
        end += symbol.type->size;
        if (end > max_memory) node.fail("lies behind 256 MiB of memory");
        symbols_.push_back(std::move(symbol));
    });
    for (const Item& symbol : symbols_)
        by_name_.emplace(lower(symbol.name), &symbol);
    memory_.resize(static_cast<std::size_t>(end));
}

// Returns the longest symbol name that begins the path and ends at a delimiter.
const Item* Plant::find_symbol(std::string_view path, std::size_t& end) const {
    const std::string wanted = lower(path);
    for (end = path.size(); end != 0 && end != path.npos; end = path.find_last_of(delimiters, end - 1)) {
        const auto found = by_name_.find(std::string_view(wanted).substr(0, end));
        if (found != by_name_.end()) return found->second;
    }
    return nullptr;
}

Plant::Code Plant::resolve(std::string_view path, Place& place) const {
    std::size_t end = 0;
    const Item* symbol = find_symbol(path, end);
    if (!symbol) return not_found;
    place = {symbol->type, symbol->offset, -1, symbol};
    path.remove_prefix(end);
    while (!path.empty()) {
        Code code = 0;
        if (path.front() == '^') {
            path.remove_prefix(1);
            if (place.type->plain().kind != TypeKind::pointer) return not_found;
            code = follow(place.type->plain(), place);
        } else if (path.front() == '[') {
            code = take_element(path, place);
        } else if (path.front() == '.') {
            path.remove_prefix(1);
            const std::size_t next = std::min(path.find_first_of(delimiters), path.size());
            code = take_member(path.substr(0, next), place);
            path.remove_prefix(next);
        } else {
            return not_found; // properties and methods have no memory
        }
        if (code != 0) return code;
    }
    return place.type->plain().kind == TypeKind::reference ? follow(place.type->plain(), place) : 0;
}

const Type& Plant::type_of_target(const Type& type) const {
    // Every such type was in use when the plant was built, or can be inferred now without a change of the plant.
    static const Type nothing;
    const Type* found = types_.find(type.target);
    return found ? *found : nothing;
}

Plant::Code Plant::follow(const Type& type, Place& place) const {
    std::uint64_t address = 0;
    if (memory_.size() < sizeof address || place.offset > memory_.size() - sizeof address) return invalid_address;
    std::memcpy(&address, memory_.data() + place.offset, sizeof address);
    const Type& target = type_of_target(type);
    if (address < first_address || target.size == 0) return invalid_address;
    const std::uint64_t offset = address - first_address;
    if (offset > memory_.size() || target.size > memory_.size() - offset) return invalid_address;
    place = {&target, static_cast<std::uint32_t>(offset), -1, nullptr};
    return 0;
}

Plant::Code Plant::take_member(std::string_view name, Place& place) const {
    if (place.type->plain().kind == TypeKind::reference)
        if (const Code code = follow(place.type->plain(), place); code != 0) return code;
    const Type& type = place.type->plain();
    const auto member =
        std::ranges::find_if(type.members, [&](const Item& item) { return same_name(item.name, name); });
    if (type.kind != TypeKind::structure || member == type.members.end()) return not_found;
    place = {member->type, place.offset + member->offset, member->bit, &*member};
    return 0;
}

// "[1][2]" equals "[1,2]". Indices beyond the dimensions of an array index its element.
Plant::Code Plant::take_element(std::string_view& path, Place& place) const {
    if (place.type->plain().kind == TypeKind::reference)
        if (const Code code = follow(place.type->plain(), place); code != 0) return code;
    const Type& type = place.type->plain();
    if (type.kind != TypeKind::array && type.kind != TypeKind::bit_array) return not_found;
    std::uint64_t linear = 0;
    bool open = false; // inside brackets
    for (const Dimension& dimension : type.dimensions) {
        if (!open) {
            if (path.empty() || path.front() != '[') return not_found;
            path.remove_prefix(1);
        }
        std::int64_t index = 0;
        const auto read = std::from_chars(path.data(), path.data() + path.size(), index);
        if (read.ec != std::errc() || index < dimension.lower ||
            index >= std::int64_t{dimension.lower} + dimension.count)
            return not_found;
        linear = linear * dimension.count + static_cast<std::uint64_t>(index - dimension.lower);
        path.remove_prefix(static_cast<std::size_t>(read.ptr - path.data()));
        if (path.empty() || (path.front() != ',' && path.front() != ']')) return not_found;
        open = path.front() == ',';
        path.remove_prefix(1);
    }
    if (open) {
        // The remaining indices belong to an element that is an array itself.
        place = {type.base, place.offset + static_cast<std::uint32_t>(linear * type.base->size), -1, nullptr};
        const std::string rest = "[" + std::string(path);
        std::string_view view = rest;
        if (const Code code = take_element(view, place); code != 0) return code;
        path.remove_prefix(path.size() - view.size());
        return 0;
    }
    if (type.kind == TypeKind::bit_array)
        place = {type.base, place.offset + static_cast<std::uint32_t>(linear / 8), static_cast<int>(linear % 8),
                 nullptr};
    else
        place = {type.base, place.offset + static_cast<std::uint32_t>(linear * type.base->size), -1, nullptr};
    return 0;
}

void Plant::read(const Place& place, std::span<std::uint8_t> bytes) const {
    if (place.bit >= 0)
        bytes[0] = (memory_[place.offset] >> place.bit) & 1;
    else
        std::copy_n(memory_.begin() + place.offset, bytes.size(), bytes.begin());
}

void Plant::write(const Place& place, std::span<const std::uint8_t> bytes) {
    if (place.bit >= 0) {
        const auto mask = static_cast<std::uint8_t>(1u << place.bit);
        std::uint8_t& byte = memory_[place.offset];
        byte = static_cast<std::uint8_t>(bytes[0] & 1 ? byte | mask : byte & ~mask);
    } else {
        std::ranges::copy(bytes, memory_.begin() + place.offset);
    }
}

std::string Plant::encoded(std::string_view utf8) const {
    return code_page_ == 65001 ? std::string(utf8) : ZoHmiSrv::UTF8::utf8_to_windows1252(utf8);
}

std::string Plant::decoded(std::string_view native) const {
    return code_page_ == 65001 ? std::string(native) : ZoHmiSrv::UTF8::windows1252_to_utf8(native);
}

void Plant::describe(const Type& type, std::string& text) {
    const Type& plain = type.plain();
    text += std::to_string(static_cast<int>(plain.kind)) + " " + std::to_string(plain.code) + " " +
            std::to_string(plain.size) + " " + plain.target + "(";
    for (const Dimension& dimension : plain.dimensions)
        text += std::to_string(dimension.lower) + ":" + std::to_string(dimension.count) + ",";
    if (plain.base) describe(*plain.base, text);
    for (const Item& member : plain.members) {
        text += member.name + "@" + std::to_string(member.offset) + "." + std::to_string(member.bit) + " ";
        describe(*member.type, text);
    }
    text += ")";
}

void Plant::take_over(const Plant& before) {
    for (const Item& symbol : symbols_) {
        const auto found = before.by_name_.find(lower(symbol.name));
        if (found == before.by_name_.end() || found->second->type->name != symbol.type->name) continue;
        std::string was, is;
        describe(*found->second->type, was);
        describe(*symbol.type, is);
        if (was == is)
            std::copy_n(before.memory_.begin() + found->second->offset, symbol.type->size,
                        memory_.begin() + symbol.offset);
    }
}

} // namespace zo_sim
