#include "simulator/controller/type_table.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace zo_sim {

namespace {

/// The maximum memory of a controller; it limits every size.
constexpr std::uint64_t max_size = std::uint64_t{1} << 28;
constexpr std::uint32_t address_size = 8;
constexpr std::uint32_t code_text = 0x1E;
constexpr std::uint32_t code_wide_text = 0x1F;
constexpr std::uint32_t code_bit = 0x21;
constexpr std::uint32_t code_composite = 0x41;
constexpr std::uint32_t default_text_length = 80;
constexpr std::size_t max_name = 4096;
constexpr int max_depth = 200; // levels of types inside types

struct Elementary {
    std::string_view name;
    std::uint32_t code;
    std::uint32_t size;
};

/// Types without a code of their own travel as the integer of their size, or as a composite.
constexpr Elementary elementary_types[] = {
    {"BOOL", 0x21, 1},          {"BYTE", 0x11, 1},
    {"USINT", 0x11, 1},         {"UINT8", 0x11, 1},
    {"SINT", 0x10, 1},          {"INT8", 0x10, 1},
    {"WORD", 0x12, 2},          {"UINT", 0x12, 2},
    {"UINT16", 0x12, 2},        {"INT", 0x02, 2},
    {"INT16", 0x02, 2},         {"DWORD", 0x13, 4},
    {"UDINT", 0x13, 4},         {"UINT32", 0x13, 4},
    {"DINT", 0x03, 4},          {"INT32", 0x03, 4},
    {"LWORD", 0x15, 8},         {"ULINT", 0x15, 8},
    {"UINT64", 0x15, 8},        {"LINT", 0x14, 8},
    {"INT64", 0x14, 8},         {"REAL", 0x04, 4},
    {"LREAL", 0x05, 8},         {"TIME", 0x13, 4},
    {"TOD", 0x13, 4},           {"TIME_OF_DAY", 0x13, 4},
    {"DATE", 0x13, 4},          {"DT", 0x13, 4},
    {"DATE_AND_TIME", 0x13, 4}, {"LTIME", 0x15, 8},
    {"LTOD", 0x15, 8},          {"LDATE", 0x15, 8},
    {"LDT", 0x15, 8},           {"LDATE_AND_TIME", 0x15, 8},
    {"INT24", 0x41, 3},         {"UINT24", 0x41, 3},
    {"INT40", 0x41, 5},         {"UINT40", 0x41, 5},
    {"INT48", 0x41, 6},         {"UINT48", 0x41, 6},
    {"INT56", 0x41, 7},         {"UINT56", 0x41, 7},
};

std::string_view trim(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

template <class T>
bool read_number(std::string_view text, T& number) {
    text = trim(text);
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return !text.empty() && read.ec == std::errc() && read.ptr == text.data() + text.size();
}

bool take_prefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    text = trim(text);
    return true;
}

/// Reads "a..b" as a dimension.
bool read_bounds(std::string_view text, Dimension& dimension) {
    const auto dots = text.find("..");
    std::int32_t upper = 0;
    if (dots == text.npos || !read_number(text.substr(0, dots), dimension.lower) ||
        !read_number(text.substr(dots + 2), upper) || upper < dimension.lower)
        return false;
    dimension.count = static_cast<std::uint32_t>(std::int64_t{upper} - dimension.lower + 1);
    return true;
}

std::uint32_t alignment_of_number(std::uint32_t size) {
    return size == 2 || size == 4 || size == 8 ? size : 1;
}

std::uint64_t rounded_up(std::uint64_t size, std::uint32_t align) {
    return (size + align - 1) / align * align;
}

} // namespace

Bytes bytes_of_hex(std::string_view digits, const Node& node) {
    Bytes bytes;
    if (digits.size() % 2 != 0) node.fail("must be hexadecimal digits, two a byte");
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        std::uint8_t byte = 0;
        const auto read = std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
        if (read.ec != std::errc() || read.ptr != digits.data() + i + 2)
            node.fail("must be hexadecimal digits, two a byte");
        bytes.push_back(byte);
    }
    return bytes;
}

TypeTable::TypeTable(const Node& types) {
    types.each_item([this](const Node& node) {
        const std::string& name =
            node.object({"name", "enum", "items", "alias", "members", "union", "array", "of", "bits", "attributes",
                         "comment", "properties", "methods", "size", "code", "flags", "guid", "raw"})
                .at("name")
                .text();
        if (name.empty()) node.fail("needs a name");
        if (!declared_.emplace(name, node).second) node.fail("comes twice");
    });
    types.each_item([this](const Node& node) { uploaded_.push_back(&get(node.at("name").text(), node)); });
}

const Type* TypeTable::find(std::string_view name) const {
    const auto found = types_.find(name);
    return found == types_.end() ? nullptr : found->second.get();
}

const Type& TypeTable::get(const std::string& name, const Node& node) {
    const auto [place, added] = types_.emplace(name, nullptr);
    if (!added) {
        if (!place->second) node.fail("type '" + name + "' contains itself");
        return *place->second;
    }
    try {
        if (name.size() > max_name || ++depth_ > max_depth) node.fail("types lie too deep in types");
        const auto declared = declared_.find(name);
        Type type = declared != declared_.end() ? build(declared->second) : infer(name, node);
        type.name = name;
        if (type.size > max_size) node.fail("type '" + name + "' is larger than 256 MiB");
        place->second = std::make_unique<Type>(std::move(type));
        --depth_;
    } catch (...) {
        types_.erase(place);
        throw;
    }
    if (place->second->uploaded && !declared_.contains(name)) uploaded_.push_back(place->second.get());
    return *place->second;
}

void TypeTable::read_common(const Node& node, AttributeList& attributes, std::string& comment, EntryNumbers& numbers) {
    if (const auto list = node.find("attributes"))
        list->each_member(
            [&](const std::string& key, const Node& value) { attributes.emplace_back(key, value.text_or_json()); });
    if (const auto text = node.find("comment")) comment = text->text();
    if (const auto size = node.find("size")) numbers.size = size->u32_or_text();
    if (const auto code = node.find("code")) numbers.code = code->u32_or_text();
    if (const auto flags = node.find("flags")) numbers.flags = flags->u32_or_text();
    if (const auto guid = node.find("guid")) numbers.guid = guid->guid();
}

Type TypeTable::build(const Node& node) {
    Type type;
    type.uploaded = true;
    read_common(node, type.attributes, type.comment, type.numbers);
    if (const auto raw = node.find("raw")) {
        type.raw = bytes_of_hex(raw->text(), *raw);
        type.code = code_composite;
        return type;
    }
    if (const auto base = node.find("enum")) {
        type.kind = TypeKind::enumeration;
        type.base = &get(base->text(), *base);
        if (type.base->plain().kind != TypeKind::number) base->fail("must be a number");
        node.at("items").each_item([&](const Node& pair) {
            if (!pair.value().is_array() || pair.value().size() != 2 || !pair.value()[0].is_string() ||
                !pair.value()[1].is_number_integer() ||
                (pair.value()[1].is_number_unsigned() &&
                 pair.value()[1].get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max()))
                pair.fail("must be a name and an integer");
            type.enumerators.emplace_back(pair.value()[0].get<std::string>(), pair.value()[1].get<std::int64_t>());
        });
    } else if (const auto aliased = node.find("alias")) {
        type.kind = TypeKind::alias;
        type.base = &get(aliased->text(), *aliased);
    } else if (node.find("array")) {
        type.kind = TypeKind::array;
        type.base = &get(node.at("of").text(), node.at("of"));
        read_dimensions(type, node.at("array"));
        const auto bits = node.find("bits");
        finish_array(type, node, bits && bits->flag());
    } else {
        type.kind = TypeKind::structure;
        type.code = code_composite;
        if (const auto flag = node.find("union")) type.is_union = flag->flag();
        if (const auto members = node.find("members")) read_members(type, *members);
        if (const auto properties = node.find("properties"))
            properties->each_item([&](const Node& item) { type.properties.push_back(read_property(item)); });
        // An interface has memory but no members.
        if (type.members.empty()) type.size = type.numbers.size.value_or(0);
        if (const auto methods = node.find("methods"))
            methods->each_item([&](const Node& item) { type.methods.push_back(read_method(item)); });
    }
    if (type.kind == TypeKind::alias || type.kind == TypeKind::enumeration) {
        type.code = type.base->code;
        type.size = type.base->size;
        type.align = type.base->align;
    }
    return type;
}

void TypeTable::read_dimensions(Type& type, const Node& node) const {
    node.each_item([&](const Node& pair) {
        const auto& bounds = pair.value();
        if (!bounds.is_array() || bounds.size() != 2 || !bounds[0].is_number_integer() ||
            !bounds[1].is_number_integer())
            pair.fail("must be a lower and an upper bound");
        const auto lower = bounds[0].get<std::int64_t>();
        const auto upper = bounds[1].get<std::int64_t>();
        constexpr std::int64_t limit = std::numeric_limits<std::int32_t>::max();
        if (lower < -limit || upper > limit || upper < lower) pair.fail("must be a lower and an upper bound");
        type.dimensions.push_back({static_cast<std::int32_t>(lower), static_cast<std::uint32_t>(upper - lower + 1)});
    });
}

void TypeTable::finish_array(Type& type, const Node& node, bool bits) const {
    std::uint64_t count = 1;
    for (const Dimension& dimension : type.dimensions) {
        count *= dimension.count;
        if (count > max_size) node.fail("has too many elements");
    }
    if (type.dimensions.empty()) node.fail("needs a dimension");
    const std::uint64_t size = bits ? (count + 7) / 8 : count * type.base->size;
    if (size > max_size) node.fail("is larger than 256 MiB");
    if (bits) type.kind = TypeKind::bit_array;
    type.code = type.base->code;
    type.size = static_cast<std::uint32_t>(size);
    type.align = bits ? 1 : type.base->align;
}

void TypeTable::read_members(Type& type, const Node& members) {
    std::uint64_t end = 0;    // of all members so far, in bytes
    std::uint64_t bit_at = 0; // offset of the next packed bit, in bits; 0 if the previous member is not packed
    members.each_item([&](const Node& node) {
        Declared declared = read_item(node);
        Item& item = declared.item;
        const bool packed = item.type->plain().kind == TypeKind::bit;
        if (declared.offset < 0) {
            if (packed && !type.is_union) {
                if (bit_at == 0) bit_at = end * 8;
                item.offset = static_cast<std::uint32_t>(bit_at / 8);
                item.bit = static_cast<int>(bit_at % 8);
            } else {
                item.offset = type.is_union ? 0 : static_cast<std::uint32_t>(rounded_up(end, item.type->align));
                if (packed) item.bit = 0;
            }
        } else if (packed && item.bit < 0) {
            item.bit = 0;
        }
        bit_at = packed ? std::uint64_t{item.offset} * 8 + static_cast<std::uint64_t>(item.bit) + 1 : 0;
        end = std::max(end, std::uint64_t{item.offset} + item.type->size);
        if (end > max_size) node.fail("lies behind 256 MiB");
        type.align = std::max(type.align, item.type->align);
        type.members.push_back(std::move(item));
    });
    type.size = static_cast<std::uint32_t>(rounded_up(end, type.align));
}

TypeTable::Declared TypeTable::read_item(const Node& node) {
    Declared declared;
    Item& item = declared.item;
    std::string type_name;
    std::string place;
    if (node.is_text()) {
        const std::string& text = node.text();
        const auto colon = text.find(" : ");
        if (colon == text.npos) node.fail("must read \"NAME : TYPE\"");
        item.name = std::string(trim(std::string_view(text).substr(0, colon)));
        std::string_view rest = std::string_view(text).substr(colon + 3);
        if (const auto assigned = rest.find(" := "); assigned != rest.npos) {
            item.value = json::parse(rest.substr(assigned + 4), nullptr, false);
            if (item.value.is_discarded()) node.fail("the value behind ':=' is not JSON");
            rest = rest.substr(0, assigned);
        }
        if (const auto at = rest.find(" AT "); at != rest.npos) {
            place = std::string(trim(rest.substr(at + 4)));
            rest = rest.substr(0, at);
        }
        type_name = std::string(trim(rest));
    } else {
        node.object({"name", "type", "at", "value", "attributes", "comment", "size", "code", "flags", "guid", "raw"});
        if (const auto raw = node.find("raw")) item.raw = bytes_of_hex(raw->text(), *raw);
        item.name = node.at("name").text();
        type_name = node.at("type").text();
        if (const auto at = node.find("at")) place = at->text_or_json();
        if (const auto value = node.find("value")) item.value = value->value();
        read_common(node, item.attributes, item.comment, item.numbers);
    }
    item.type = &get(type_name, node);
    if (place.empty()) return declared;
    const auto dot = place.find('.');
    std::uint32_t offset = 0;
    if (!read_number(std::string_view(place).substr(0, dot), offset)) node.fail("'at' must be BYTE or BYTE.BIT");
    if (dot != place.npos) {
        if (!read_number(std::string_view(place).substr(dot + 1), item.bit) || item.bit < 0 || item.bit > 7 ||
            item.type->plain().kind != TypeKind::bit)
            node.fail("only a BIT lies at one of the bits 0 to 7");
    }
    item.offset = offset;
    declared.offset = offset;
    return declared;
}

Property TypeTable::read_property(const Node& node) {
    node.object({"name", "type", "get", "set", "attributes", "comment", "size", "code", "flags", "guid"});
    Property property;
    property.item.name = node.at("name").text();
    property.item.type = &get(node.at("type").text(), node.at("type"));
    read_common(node, property.item.attributes, property.item.comment, property.item.numbers);
    if (const auto flag = node.find("get")) property.getter = flag->flag();
    if (const auto flag = node.find("set")) property.setter = flag->flag();
    return property;
}

Method TypeTable::read_method(const Node& node) {
    node.object({"name", "returns", "comment", "parameters"});
    Method method;
    method.name = node.at("name").text();
    if (const auto type = node.find("returns")) method.return_type = type->text();
    if (const auto comment = node.find("comment")) method.comment = comment->text();
    const auto parameters = node.find("parameters");
    if (!parameters) return method;
    parameters->each_item([&](const Node& item) {
        Parameter parameter;
        std::string pass = "in";
        if (item.is_text()) {
            const Declared declared = read_item(item);
            parameter.name = declared.item.name;
            parameter.type = declared.item.type->name;
            parameter.size = declared.item.type->size;
        } else {
            item.object({"name", "type", "pass", "comment"});
            parameter.name = item.at("name").text();
            const Type& type = get(item.at("type").text(), item.at("type"));
            parameter.type = type.name;
            parameter.size = type.size;
            if (const auto given = item.find("pass")) pass = given->text();
            if (const auto comment = item.find("comment")) parameter.comment = comment->text();
        }
        if (pass != "in" && pass != "out" && pass != "inout") item.fail("'pass' is 'in', 'out' or 'inout'");
        parameter.flags = pass == "in" ? 1 : pass == "out" ? 2 : 3;
        method.parameters.push_back(std::move(parameter));
    });
    return method;
}

Type TypeTable::infer(const std::string& name, const Node& node) {
    Type type;
    std::string_view rest = name;
    const auto elementary = std::ranges::find(elementary_types, rest, &Elementary::name);
    if (elementary != std::end(elementary_types)) {
        type.code = elementary->code;
        type.size = elementary->size;
        type.align = alignment_of_number(type.size);
        return type;
    }
    if (rest == "BIT") {
        type.kind = TypeKind::bit;
        type.code = code_bit;
        type.size = 1;
        return type;
    }
    const bool pointer = take_prefix(rest, "POINTER TO ");
    if (pointer || take_prefix(rest, "REFERENCE TO ")) {
        type.kind = pointer ? TypeKind::pointer : TypeKind::reference;
        type.target = std::string(rest);
        type.code = 0x15;
        type.size = type.align = address_size;
        // A declared target may be the type that is being built.
        if (!declared_.contains(type.target)) get(type.target, node);
        return type;
    }
    const bool wide = rest.starts_with("WSTRING");
    if (wide || rest.starts_with("STRING")) {
        rest.remove_prefix(wide ? 7 : 6);
        std::uint32_t length = default_text_length;
        if (!rest.empty() && !(rest.front() == '(' && rest.back() == ')' &&
                               read_number(rest.substr(1, rest.size() - 2), length) && length < max_size / 2 - 1))
            node.fail("unknown type '" + name + "'");
        type.kind = wide ? TypeKind::wide_text : TypeKind::text;
        type.code = wide ? code_wide_text : code_text;
        type.size = wide ? 2 * (length + 1) : length + 1;
        type.align = wide ? 2 : 1;
        return type;
    }
    if (take_prefix(rest, "ARRAY")) {
        const auto end = rest.find(']');
        if (!rest.starts_with('[') || end == rest.npos) node.fail("unknown type '" + name + "'");
        std::string_view bounds = rest.substr(1, end - 1);
        while (!bounds.empty()) {
            const auto comma = bounds.find(',');
            Dimension dimension;
            if (!read_bounds(bounds.substr(0, comma), dimension)) node.fail("unknown type '" + name + "'");
            type.dimensions.push_back(dimension);
            bounds = comma == bounds.npos ? std::string_view() : bounds.substr(comma + 1);
        }
        rest = trim(rest.substr(end + 1));
        if (!take_prefix(rest, "OF ")) node.fail("unknown type '" + name + "'");
        type.kind = TypeKind::array;
        type.base = &get(std::string(rest), node);
        finish_array(type, node, false);
        return type;
    }
    if (const auto range = rest.find(" ("); range != rest.npos && rest.back() == ')') {
        Dimension ignored;
        if (read_bounds(rest.substr(range + 2, rest.size() - range - 3), ignored)) {
            type.kind = TypeKind::alias;
            type.base = &get(std::string(rest.substr(0, range)), node);
            type.code = type.base->code;
            type.size = type.base->size;
            type.align = type.base->align;
            type.uploaded = true;
            return type;
        }
    }
    node.fail("unknown type '" + name + "'");
}

} // namespace zo_sim
