// Type descriptions as a device may send them. The input is text, a field a line: the field's letter, and its parts,
// separated by '|':
//
//     n NAME                   own name                      t NAME                  name of the base or target
//     z SIZE | h HMI_TYPE | x FDX_TYPE | f FLAGS | r PARSED  the numbers
//     d LOWER|ELEMENTS         a dimension                   e NAME                  name of the elements
//     s NAME|TYPE|OFFSET|SIZE  a member                      p NAME|TYPE|MARKS       a property
//     m NAME|TYPE              a method                      a NAME|TYPE|FLAGS       a parameter of the last method
//     i NAME|VALUE             an enumerator
//     k KEY|VALUE              an attribute of the type      K KEY|VALUE             one of a symbol

#include "device/type/build_type.h"
#include "device/type/datatype.h"
#include "device/type/fix_type_description.h"
#include "fuzz/require.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace ZoHmiFdx;

namespace {

template <typename T>
T number(std::string_view text) {
    T value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

struct Input {
    DatatypeDescription type;
    Attributes symbol;
};
using Parts = std::array<std::string, 4>;

void add_property(Input& in, const Parts& parts) {
    PropertyItem& item = in.type.property_items.emplace_back(parts[0], parts[1], 0, 0, "", in.symbol);
    item.set_prefixed_getter_method_exists((number<unsigned>(parts[2]) & 1) != 0);
    item.set_prefixed_setter_method_exists((number<unsigned>(parts[2]) & 2) != 0);
}

void add_dimension(Input& in, const Parts& parts) {
    in.type.array_info.add_dimension(number<std::int32_t>(parts[0]), number<std::uint64_t>(parts[1]));
    in.type.array_info.recalculate_total_nr_of_elements();
}

void add_parameter(Input& in, const Parts& parts) {
    if (in.type.method_items.empty()) return;
    in.type.method_items.back().add_parameter({parts[0], parts[1], "", number<unsigned>(parts[2]), 0});
}

constexpr struct {
    char letter;
    void (*read)(Input&, const Parts&);
} fields[] = {
    {'n', [](Input& in, const Parts& p) { in.type.item_name = p[0]; }},
    {'t', [](Input& in, const Parts& p) { in.type.type_name = p[0]; }},
    {'z', [](Input& in, const Parts& p) { in.type.size = number<std::int32_t>(p[0]); }},
    {'h', [](Input& in, const Parts& p) { in.type.hmi_type = ZoHmiSrv::ValueType(number<std::uint16_t>(p[0])); }},
    {'x', [](Input& in, const Parts& p) { in.type.fdx_type = FdxDataType(number<std::uint32_t>(p[0])); }},
    {'f', [](Input& in, const Parts& p) { in.type.flags = number<std::uint32_t>(p[0]); }},
    {'r', [](Input& in, const Parts& p) { in.type.parsed = number<std::uint32_t>(p[0]); }},
    {'d', add_dimension},
    {'e', [](Input& in, const Parts& p) { in.type.array_info.set_element_type_name(p[0]); }},
    {'s',
     [](Input& in, const Parts& p) {
         in.type.subitems.emplace_back(p[0], p[1], number<int>(p[2]), number<int>(p[3]), "", in.symbol);
     }},
    {'p', add_property},
    {'m', [](Input& in, const Parts& p) { in.type.method_items.emplace_back(p[0], p[1], "", MethodFlags::None); }},
    {'a', add_parameter},
    {'i',
     [](Input& in, const Parts& p) {
         in.type.enum_items.push_back({p[0], number<std::int64_t>(p[1])});
     }},
    {'k', [](Input& in, const Parts& p) { in.type.attributes.add(p[0], p[1]); }},
    {'K', [](Input& in, const Parts& p) { in.symbol.add(p[0], p[1]); }},
};

void read(Input& input, std::string_view line) {
    if (line.size() < 2) return;
    Parts parts;
    std::string_view rest = line.substr(2);
    for (std::string& part : parts) {
        const std::size_t end = std::min(rest.find('|'), rest.size());
        part = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    for (const auto& field : fields) {
        if (field.letter == line[0]) field.read(input, parts);
    }
}

void check(const Attributes& attributes) {
    const auto& entries = attributes.entries();
    for (const auto& [key, value] : entries) {
        const AttributesFlags flags = Attributes::flags_by_key(key);
        require(attributes.has(key));
        require((attributes.flags() & flags) == flags);
    }
    const auto lower = attributes.value_of_lower_border();
    const auto upper = attributes.value_of_upper_border();
    require(!lower || entries[attributes.lower_border_index()].first == "LowerBorder");
    require(!upper || entries[attributes.upper_border_index()].first == "UpperBorder");
    const AddSymbolAttributeInfo info = attributes.analyze_add_symbol_attribute();
    require(attributes.has(AttributesFlags::AddSymbol) || !(info.add || info.hidden || !info.user_groups.empty()));
}

void use(const Datatype& type, const Attributes& symbol) {
    for (const SubItem& item : type.subitems()) {
        (void)type.find_subitem(item.name());
    }
    for (const PropertyItem& item : type.property_items()) {
        require(item.signature().starts_with("PROPERTY-"));
        (void)type.find_property(item.name());
    }
    for (const MethodItem& item : type.method_items()) {
        require(item.signature().starts_with("METHOD-"));
        (void)type.find_method(item.name());
    }
    for (std::size_t i = 0; i < type.array_info().dimensions(); ++i) {
        require(type.array_info().max_index(i) >= std::int64_t(type.array_info().dimension(i).lower_bound) - 1);
    }
    (void)type.sanity_check();
    (void)type.is_byte_order_reversed(symbol);
    require(!type.is_indirection_strict() || type.is_indirection());
    require(!type.is_array_of_indirections() || type.is_indirection());
    require(!type.is_indirection() || !type.is_incomplete_write_possible());
    require(Datatype(type.description()).flags() == type.flags());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Input input;
    std::string_view text(reinterpret_cast<const char*>(data), size);
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        read(input, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }

    check(input.type.attributes);
    check(merge_attributes(input.type.attributes, input.symbol));
    use(Datatype(input.type), input.symbol);

    const std::size_t attributes = input.type.attributes.size();
    fix_type_description(input.type);
    require(input.type.attributes.size() == attributes || input.type.attributes.has(AttributesFlags::LowerBorder));
    use(Datatype(input.type), input.symbol);

    const Datatype built = build_type(input.type.item_name);
    require(built.sanity_check());
    require(built.item_name() == input.type.item_name);
    use(built, input.symbol);
    return 0;
}
