#include "device/type/datatype.h"
#include "tests/test_headers.h"

#include <stdexcept>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;

namespace {

using Change = std::function<void(DatatypeDescription&)>;

SubItem member(const std::string& name) {
    return {name, "INT", 0, 2, "", {}};
}

Attributes attribute(const std::string& key) {
    Attributes attributes;
    attributes.add(key, "");
    return attributes;
}

DatatypeDescription structure() {
    return {.size = 8,
            .item_name = "ST_Pump",
            .type_name = "ST_Pump",
            .subitems = {member("speed"), member("mode")},
            .hmi_type = ValueType::Struct,
            .fdx_type = FdxDataType::Composite};
}

DatatypeDescription basic(ValueType hmi_type, FdxDataType fdx_type, const std::string& name) {
    return {.item_name = name, .hmi_type = hmi_type, .fdx_type = fdx_type};
}

ArrayInfo one_dimension(std::uint64_t elements, const std::string& name = "") {
    return ArrayInfo({{0, elements}}, name);
}

DatatypeDescription array(std::int32_t size, std::uint64_t elements, const std::string& name, FdxDataType fdx_type) {
    return {
        .size = size, .array_info = one_dimension(elements, name), .hmi_type = ValueType::Vector, .fdx_type = fdx_type};
}

DatatypeDescription flagged(std::uint32_t flags, DatatypeDescription description = {}) {
    description.flags = flags;
    return description;
}

DatatypeDescription with_members(DatatypeDescription description) {
    description.subitems = {member("x")};
    return description;
}

DatatypeDescription enumeration(std::int32_t size, std::size_t items) {
    return {.size = size, .enum_items = std::vector<EnumItem>(items)};
}

TEST(Datatype, DeducedFlags) {
    EXPECT_EQ(Datatype().flags(), 8u);

    const auto with = [](DatatypeDescription description, const Change& change) {
        change(description);
        return description;
    };
    constexpr std::uint32_t dialects = 1u << 24, incomplete = 1u << 25;
    const std::pair<unsigned, bool (Datatype::*)() const noexcept> accessors[] = {
        {18, &Datatype::is_enum_and_fits_in_int32},
        {19, &Datatype::is_indirection},
        {20, &Datatype::is_indirection_strict},
        {21, &Datatype::is_reference},
        {22, &Datatype::is_struct_alias},
        {23, &Datatype::is_enum_alias},
        {24, &Datatype::can_have_dialects},
        {25, &Datatype::is_incomplete_write_possible},
        {26, &Datatype::parsed},
        {27, &Datatype::is_alias_of_alias},
        {28, &Datatype::is_alias_indirection},
        {29, &Datatype::is_basic_alias},
        {30, &Datatype::bits_may_be_packed}};
    const std::tuple<const char*, DatatypeDescription, std::uint32_t> cases[] = {
        {"enumeration of 7 bytes", enumeration(7, 2), 1u << 18},
        {"enumeration of 8 bytes", enumeration(8, 1), 0},
        {"reference", flagged(1 << 1), 0b111u << 19},
        {"pointer", flagged(1 << 2), 0b011u << 19},
        {"reference by alias", flagged(1 << 5), 0b101u << 19},
        {"indirection by alias", flagged(1 << 6), 0b001u << 19},
        {"alias of an indirection, by alias", flagged(1 << 6 | 1 << 15), 0b001u << 19 | 1u << 28},
        {"alias of a structure", flagged(1 << 7), 1u << 22},
        {"alias of an enumeration", flagged(1 << 4), 1u << 23},
        {"alias of an alias", flagged(1 << 14), 1u << 27},
        {"alias of an indirection", flagged(1 << 15), 1u << 28},
        {"alias of a basic type", flagged(1 << 17), 1u << 29},
        {"flags of the device alone", flagged(1u << 8 | 1u << 9 | 1u << 16), 0},
        {"stale deductions", flagged(0x7FFC'0000), 0},
        {"parsed", with({}, [](auto& d) { d.parsed = 2; }), 1u << 26},

        {"BIT", basic(ValueType::Bool, FdxDataType::Bit, "BIT"), 1u << 30},
        {"BOOL", basic(ValueType::Bool, FdxDataType::Bit, "BOOL"), 0},
        {"BIT in a dialect", basic(ValueType::Bool, FdxDataType::Bit, "BIT ReadOnly"), 0},
        {"an array called BIT", basic(ValueType::Vector, FdxDataType::Bit, "BIT"), 0},

        {"structure with members", structure(), dialects | incomplete},
        {"structure without members", with(structure(), [](auto& d) { d.subitems.clear(); }), 0},
        {"map with members", with(structure(), [](auto& d) { d.hmi_type = ValueType::Map; }), dialects | incomplete},
        {"composite code alone", with(structure(), [](auto& d) { d.hmi_type = ValueType::Int; }),
         dialects | incomplete},
        {"members of something else", with_members(basic(ValueType::Int, FdxDataType::Int16, "x")), dialects},
        {"reference to a structure by alias", flagged(1 << 5, structure()), 0b101u << 19 | dialects},
        {"indirection by alias with members", flagged(1 << 6, structure()), 0b001u << 19 | dialects},

        {"array of INT", array(6, 3, "INT", FdxDataType::Int16), dialects},
        {"array of a wrong size", array(12, 3, "INT", FdxDataType::Int16), 0},
        {"array of XINT of 4 bytes", array(12, 3, "XINT", FdxDataType::Int32), dialects},
        {"array of STRING", array(243, 3, "STRING(80)", FdxDataType::String), dialects | incomplete},
        {"array of structures", array(24, 3, "ST_Pump", FdxDataType::Composite), incomplete},
        {"array of structures with members of its own", with_members(array(24, 3, "ST_Pump", FdxDataType::Composite)),
         dialects | incomplete},
        {"array of pointers", flagged(1 << 6, array(24, 3, "POINTER TO INT", FdxDataType::UInt64)),
         0b001u << 19 | dialects},
        {"array without elements", array(0, 0, "INT", FdxDataType::Int16), 0},
        {"array of unknown size", array(-1, 1, "INT", FdxDataType::Int16), dialects},
        {"array of negative size and elements",
         array(-2, std::numeric_limits<std::uint64_t>::max(), "INT", FdxDataType::Int16), 0},
        {"array of more elements than bytes",
         array(6, std::numeric_limits<std::uint64_t>::max(), "INT", FdxDataType::Int16), 0},
    };
    for (const auto& [what, description, deduced] : cases) {
        SCOPED_TRACE(what);
        const Datatype type(description);
        EXPECT_EQ(type.flags() & ~0x3FFFFu, deduced) << std::hex << type.flags();
        EXPECT_EQ(type.flags() & 0x3FFFFu, description.flags & 0x3FFFFu);
        for (const auto& [bit, accessor] : accessors)
            EXPECT_EQ((type.*accessor)(), (deduced >> bit & 1) != 0) << bit;
        EXPECT_EQ(type.is_alias(), (deduced & (0b11u << 22 | 1u << 29)) != 0);
        EXPECT_EQ(type.is_array_of_indirections(), (deduced & (0b11u << 19 | 1u << 28)) == 1u << 19);
    }
}

TEST(Datatype, DescriptionRoundTrip) {
    DatatypeDescription description = structure();
    description.size = 4;
    description.type_name = "ST_Base";
    description.property_items = {PropertyItem("p", "INT", 1, 2, "c", attribute("x"))};
    description.method_items = {MethodItem("m", "INT", "c", MethodFlags::Getter)};
    description.enum_items = {{"e", -5}};
    description.attributes = attribute("ZoSwapWord");
    description.array_info = ArrayInfo({{-1, 3}}, "ST_Pump");
    description.parsed = 7;
    description.flags = 1u << 9 | 1u << 30;

    const Datatype type(description);
    DatatypeDescription back = type.description();
    EXPECT_EQ(back.parsed, 1u);
    EXPECT_EQ(back.flags, 1u << 9);
    EXPECT_EQ(back.size, 4);
    EXPECT_EQ(back.item_name + " " + back.type_name, "ST_Pump ST_Base");
    EXPECT_EQ(back.hmi_type, ValueType::Struct);
    EXPECT_EQ(back.fdx_type, FdxDataType::Composite);
    EXPECT_EQ(back.array_info.max_index(0), 1);
    EXPECT_EQ(back.subitems.at(1).name(), "mode");
    EXPECT_EQ(back.property_items.at(0).comment(), "c");
    EXPECT_EQ(back.method_items.at(0).flags(), MethodFlags::Getter);
    EXPECT_EQ(back.enum_items.at(0).value, -5);
    EXPECT_TRUE(back.attributes.has(AttributesFlags::SwapWord));
    EXPECT_EQ(Datatype(back).flags(), type.flags());
}

TEST(Datatype, SanityCheck) {
    // Whether an array, a structure and a number are sane after the change.
    const std::tuple<const char*, Change, const char*> cases[] = {
        {"nothing", [](auto&) {}, "yyy"},
        {"no size", [](auto& d) { d.size = -1; }, "nnn"},
        {"enumerators", [](auto& d) { d.enum_items.resize(1); }, "nny"},
        {"members", [](auto& d) { d.subitems = {member("a")}; }, "nyn"},
        {"properties", [](auto& d) { d.property_items = {PropertyItem("p", "INT", 0, 0, "", {})}; }, "nyn"},
        {"methods", [](auto& d) { d.method_items.resize(1); }, "nyn"},
        {"a dimension", [](auto& d) { d.array_info = one_dimension(1); }, "ynn"},
        {"a dimension of nothing", [](auto& d) { d.array_info = one_dimension(0); }, "yyy"},
        {"elements", [](auto& d) { d.array_info.set_element_type_name("INT"); }, "ynn"},
        {"another class", [](auto& d) { d.fdx_type = FdxDataType::Bit; }, "yyn"},
        {"no known class", [](auto& d) { d.fdx_type = FdxDataType::Composite; }, "yyy"},
    };
    for (const auto& [what, change, expected] : cases) {
        SCOPED_TRACE(what);
        std::string sane;
        for (DatatypeDescription description :
             {array(6, 3, "INT", FdxDataType::Int16), structure(), basic(ValueType::Int, FdxDataType::Int16, "INT")}) {
            change(description);
            sane += Datatype(description).sanity_check() ? 'y' : 'n';
        }
        EXPECT_EQ(sane, expected);
    }
    DatatypeDescription map = structure();
    map.hmi_type = ValueType::Map;
    map.array_info.set_element_type_name("INT");
    EXPECT_FALSE(Datatype(map).sanity_check());
}

TEST(Datatype, FindSubitemAgreesWithPlainWalk) {
    std::mt19937 random(99);
    const auto name = [&random] {
        static constexpr char letters[] = {'a', 'b', 'B', '\xE4', '.', '\0'};
        std::string text(random() % 4, ' ');
        for (char& letter : text)
            letter = letters[random() % std::size(letters)];
        return text;
    };
    std::size_t hits = 0;
    for (int round = 0; round < 300; ++round) {
        DatatypeDescription description;
        for (std::size_t count = random() % 60; count > 0; --count)
            description.subitems.push_back(member(name()));
        const Datatype type(description);

        for (int question = 0; question < 50; ++question) {
            const std::string wanted = name();
            const auto& items = type.subitems();
            const auto walked =
                std::find_if(items.begin(), items.end(), [&](const SubItem& item) { return item.name() == wanted; });
            ASSERT_EQ(type.find_subitem(wanted), walked);
            hits += walked != items.end();
        }
    }
    EXPECT_GT(hits, 1000u); // the names are few enough to be found
}

TEST(Datatype, FindCutsNameAtOperators) {
    DatatypeDescription description;
    description.subitems = {member("b"), member("a"), member("b"), member("")};
    for (const char* name : {"p", "q", "p"}) {
        description.property_items.emplace_back(name, "INT", 0, 0, "", Attributes());
        description.method_items.emplace_back(name, "", "", MethodFlags::None);
    }
    const Datatype type(description);
    // Position 4 is the end.
    const std::pair<std::string, std::ptrdiff_t> cases[] = {{"a", 1},  {"a^", 1}, {"a`^", 1}, {"a^.x", 1},
                                                            {"b", 0},  {"b`", 0}, {"A", 4},   {"a ", 4},
                                                            {"a[", 4}, {"", 3},   {"^a", 3},  {"c", 4}};
    for (const auto& [name, position] : cases)
        EXPECT_EQ(type.find_subitem(name) - type.subitems().begin(), position) << name;
    EXPECT_EQ(type.find_property("p^") - type.property_items().begin(), 0);
    EXPECT_EQ(type.find_property("q`x") - type.property_items().begin(), 1);
    EXPECT_EQ(type.find_property("b"), type.property_items().end());
    EXPECT_EQ(type.find_method("q^") - type.method_items().begin(), 1);
    EXPECT_EQ(type.find_method("P"), type.method_items().end());
}

TEST(Datatype, ByteOrder) {
    const Attributes none, word = attribute("ZoSwapWord"), dword = attribute("ZoSwapDWord");
    const std::tuple<FdxDataType, const Attributes&, const Attributes&, bool> cases[] = {
        {FdxDataType::UInt16, none, none, false},   {FdxDataType::UInt16, word, none, true},
        {FdxDataType::UInt16, none, word, true},    {FdxDataType::UInt16, dword, dword, false},
        {FdxDataType::UInt32, dword, none, true},   {FdxDataType::UInt32, none, dword, true},
        {FdxDataType::UInt32, word, word, false},   {FdxDataType::Int16, word, word, false},
        {FdxDataType::Int32, dword, dword, false},  {FdxDataType::UInt64, dword, word, false},
        {FdxDataType::Composite, word, word, false}};
    std::size_t row = 0;
    for (const auto& [type, own, given, reversed] : cases) {
        SCOPED_TRACE(row++);
        const Datatype datatype(DatatypeDescription{.attributes = own, .fdx_type = type});
        EXPECT_EQ(datatype.is_byte_order_reversed(given), reversed);
    }
}

TEST(ArrayInfo, TotalsAndBounds) {
    constexpr std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    constexpr std::int64_t max = std::numeric_limits<std::int64_t>::max();
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    using Dimensions = std::vector<ArrayInfo::Dimension>;
    const std::tuple<Dimensions, std::uint64_t, std::vector<std::int64_t>> cases[] = {
        {Dimensions(), 0, {}},
        {{{-1, 3}}, 3, {1}},
        {{{1, 3}, {0, 2}, {-5, 4}}, 24, {3, 1, -2}},
        {{{7, 0}, {0, 5}}, 0, {6, 4}},
        {{{lowest, 0}}, 0, {std::int64_t(lowest) - 1}},
        {{{0, 1ull << 32}, {0, 1ull << 32}}, huge, {0xFFFFFFFF, 0xFFFFFFFF}}, // 2^64 would wrap to 0
        {{{0, huge}, {1, 2}, {0, 0}}, 0, {max, 2, -1}},
        {{{lowest, huge}}, huge, {max}},
        {{{lowest, 1ull << 63}}, 1ull << 63, {max + lowest}},
        {{{-1, (1ull << 63) + 1}}, (1ull << 63) + 1, {max}}, // the last that fits
        {{{1, 1ull << 63}}, 1ull << 63, {max}},              // one more
    };
    for (const auto& [dimensions, total, max_indices] : cases) {
        const ArrayInfo info(dimensions, "INT");
        SCOPED_TRACE(testing::PrintToString(max_indices));
        EXPECT_EQ(info.total_nr_of_elements(), total);
        ASSERT_EQ(info.dimensions(), max_indices.size());
        for (std::size_t i = 0; i < max_indices.size(); ++i)
            EXPECT_EQ(info.max_index(i), max_indices[i]);
        EXPECT_THROW((void)info.max_index(info.dimensions()), std::out_of_range);
    }

    ArrayInfo grown;
    grown.add_dimension(0, 2);
    grown.add_dimension(0, 3);
    EXPECT_EQ(grown.total_nr_of_elements(), 0u);
    EXPECT_EQ(grown.calculate_total_nr_of_elements(), 6u);
    grown.recalculate_total_nr_of_elements();
    EXPECT_EQ(grown.total_nr_of_elements(), 6u);
}

} // namespace
