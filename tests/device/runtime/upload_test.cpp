#include "device/type/datatype_description.h"
#include "tests/device/runtime/plant.h"

#include <gtest/gtest.h>

using namespace ZoHmiFdx;
using plant::alias;
using plant::member;
using plant::path;
using plant::structure;
using zo_sim::UploadBytes;
using zo_sim::UploadEntry;
using zo_sim::UploadSymbol;
using ZoHmiSrv::ValueType;

namespace {

class Upload : public testing::Test {
protected:
    ZoHmiSrv::ExtensionResult add(const UploadEntry& type) {
        UploadBytes block;
        append_datatype(block, type);
        return state.add_datatypes(config, block);
    }
    ZoHmiSrv::ExtensionResult add(const UploadSymbol& symbol) {
        UploadBytes block;
        append_symbol(block, symbol);
        return state.add_symbols(config, block);
    }
    std::shared_ptr<const Datatype> type(const std::string& name) { return config->datatypes().get(name); }
    std::shared_ptr<const SymbolInfo> symbol(const std::string& name) { return config->symbols().get(path(name)); }

    State state;
    std::shared_ptr<RuntimeConfig> config = std::make_shared<RuntimeConfig>("plc");
};

TEST_F(Upload, SymbolKeepsEveryField) {
    config->set_upload_info({0, 0, 0, 0, 1, 0});
    UploadSymbol entry = plant::symbol("MAIN.s\xFC"
                                       "d",
                                       "ST_Valve ReadOnly", 24,
                                       {{"ZoHmiSymbol.Hide", ""},
                                        {"unit", "\xB0"
                                                 "C"}});
    entry.offset = 17;
    entry.code = 0x41;
    entry.comment = "Verschlie\xDF"
                    "er";
    entry.guid.emplace();
    EXPECT_EQ(add(entry).code(), 0);
    const auto stored = symbol("MAIN.süd");
    ASSERT_TRUE(stored);
    EXPECT_EQ(std::tuple(stored->index_group, stored->index_offset, stored->size, stored->data_type),
              std::tuple(0x4020u, 17u, 24u, 0x41u));
    EXPECT_EQ(stored->datatype_without_dialect(), "ST_Valve");
    EXPECT_EQ(stored->comment, "Verschließer");
    EXPECT_EQ(stored->attributes.entries(), (std::vector<Attributes::Entry>{{"ZoHmiSymbol.Hide", ""}, {"unit", "°C"}}))
        << "16 bytes of GUID lie in front of them";
}

TEST_F(Upload, UnusableSymbolsAreLeftOut) {
    UploadBytes block;
    const char* names[] = {"a", "a", "", "b[1]", "c^", "d`", "e,f", "g]", ".h", "i#j"};
    for (std::uint32_t i = 0; i < std::size(names); ++i)
        append_symbol(block, plant::symbol(names[i], "INT", i));
    append_symbol(block, plant::symbol("untyped", "", 4));
    EXPECT_EQ(state.add_symbols(config, block).code(), 0);
    EXPECT_EQ(config->symbols().size(), 3u);
    EXPECT_EQ(symbol("a")->size, 0u) << "the first of one name counts";
    EXPECT_TRUE(symbol(".h") && symbol("i#j"));
}

TEST_F(Upload, TypesAreClassified) {
    const auto program = plant::bottling();
    ASSERT_EQ(state.add_datatypes(config, program.datatype_block()).text(), "");
    UploadEntry time = alias("T_Pause", "TIME", 4, 0x41);
    UploadEntry blob = alias("T_Blob", "BYTE", 1, 0x11);
    blob.attributes = {{"ZoHmiSymbol.BLOB", ""}};
    UploadEntry interface = alias("I_Axis", "", 8, 0x15);
    interface.methods = {{"Move", "", {}, 3, "moves"}};
    for (const UploadEntry& one : {time, blob, interface, alias("T_Opaque", "", 12, 0x41)})
        ASSERT_EQ(add(one).code(), 0);
    const std::tuple<const char*, ValueType, unsigned, int> rows[] = {
        {"E_State", ValueType::Int, 0x02, 2},       {"INT (0..100)", ValueType::Int, 0x02, 2},
        {"ST_Valve", ValueType::Struct, 0x41, 24},  {"ST_InletValve", ValueType::Null, 0x41, 24},
        {"Doors", ValueType::Vector, 0x21, 2},      {"ARRAY [1..5] OF ST_Step", ValueType::Vector, 0x41, 220},
        {"T_Pause", ValueType::TimeSpan, 0x109, 4}, {"T_Blob", ValueType::Binary, 0x11, 1},
        {"I_Axis", ValueType::UInt64, 0x15, 8},     {"T_Opaque", ValueType::Null, 0x41, 12},
    };
    for (const auto& [name, hmi_type, code, size] : rows) {
        ASSERT_TRUE(type(name)) << name;
        EXPECT_EQ(std::tuple(type(name)->hmi_type(), unsigned(type(name)->fdx_type()), type(name)->size()),
                  std::tuple(hmi_type, code, size))
            << name;
    }
    EXPECT_EQ(type("INT (0..100)")->attributes().value_of_upper_border()->get(), "100");
    EXPECT_EQ(type("E_State")->enum_items()[0].value, -1);
    EXPECT_TRUE((type("U_Flags")->flags() & DatatypeFlags::Union) &&
                (type("Doors")->flags() & DatatypeFlags::BitArray));
    EXPECT_EQ(type("Doors")->array_info().max_index(0), 12);
    const Datatype& mode = *type("ST_Mode");
    EXPECT_EQ(std::pair(mode.find_subitem("step")->offset(), mode.find_subitem("step")->size()), std::pair(2, 1));
    const Datatype& motor = *type("FB_Motor");
    EXPECT_TRUE(motor.property_items()[0].prefixed_getter_method_exists());
    EXPECT_EQ(motor.method_items()[0].signature(), "METHOD-RETURNING-BOOL-PARAMETERS-ramp-TIME--reason-OUT-STRING-80");
}

TEST_F(Upload, MembersThatCannotBeReachedAreLeftOut) {
    UploadEntry type_entry = structure("ST", {member("kept", "INT", 2, 2), member("a.b", "INT", 0, 2),
                                              member("c[0]", "INT", 0, 2), member("", "INT", 0, 2)});
    for (const auto& [name, offset, size] : {std::tuple("behind", 3u, 2u), std::tuple("far", 0xFFFF'FFFFu, 2u)})
        type_entry.members.push_back(member(name, "INT", offset, size));
    UploadEntry bit = member("bit", "BIT", 31, 1);
    bit.counts_bits = true;
    type_entry.members.push_back(bit);
    bit.name = "bit32";
    bit.offset = 32;
    type_entry.members.push_back(bit);
    ASSERT_EQ(add(type_entry).code(), 0);
    std::vector<std::string> names;
    for (const SubItem& item : type("ST")->subitems())
        names.push_back(item.name());
    EXPECT_EQ(names, (std::vector<std::string>{"kept", "bit"}));
}

TEST_F(Upload, MalformedEntryAddsNothing) {
    UploadEntry huge = alias("A", "INT", 2, 2);
    huge.dimensions = {{0, 0x8000'0001}};
    UploadEntry nested = structure("B", {structure("inner", {member("x", "INT", 0, 2)})});
    UploadEntry negative = alias("C", "INT", 0x8000'0000, 2);
    for (const UploadEntry& bad : {huge, nested, negative}) {
        UploadBytes block;
        append_datatype(block, structure("GOOD", {member("x", "INT", 0, 2)}));
        append_datatype(block, bad);
        EXPECT_EQ(state.add_datatypes(config, block),
                  ZoHmiSrv::ExtensionResult(0x100031, "Datatype entry 1 is malformed. [plc]"));
    }
    EXPECT_EQ(config->datatypes().size(), 0u);
}

// Cuts a block and lies about lengths inside of it.
TEST_F(Upload, EveryTruncationIsRefused) {
    plant::Program program = plant::bottling();
    program.symbols[0].guid.emplace();
    program.types[0].guid.emplace();
    // Copies of the exact size, so that a sanitizer sees a byte read too many.
    const auto refused = [&](const UploadBytes& block, std::size_t length, bool symbols) {
        const UploadBytes cut(block.begin(), block.begin() + static_cast<std::ptrdiff_t>(length));
        return (symbols ? state.add_symbols(config, cut) : state.add_datatypes(config, cut)).code() == 0x100031;
    };
    for (const bool symbols : {true, false}) {
        const UploadBytes block = symbols ? program.symbol_block() : program.datatype_block();
        std::set<std::size_t> ends{0};
        for (std::size_t end = 0; end < block.size(); ends.insert(end))
            end += fakes::number_at(block, end);
        for (std::size_t length = 0; length < block.size(); ++length)
            EXPECT_NE(refused(block, length, symbols), ends.contains(length)) << symbols << length;
        // The first entry claims to be shorter by each number of bytes.
        const std::uint32_t first = fakes::number_at(block, 0);
        for (std::uint32_t length = 0; length < first; ++length) {
            UploadBytes lie(block.begin(), block.begin() + first);
            std::memcpy(lie.data(), &length, sizeof length);
            EXPECT_TRUE(refused(lie, length < 4 ? lie.size() : length, symbols)) << symbols << length;
        }
    }
}

TEST_F(Upload, SingleTypeEntryTakesTheSizeOver) {
    UploadBytes entry;
    append_datatype(entry, structure("ST", {member("x", "INT", 0, 2)}));
    EXPECT_EQ(state.add_datatype(config, entry).code(), 0);
    entry[16] = 10;
    EXPECT_EQ(state.add_datatype(config, entry).code(), 0);
    EXPECT_EQ(std::pair(type("ST")->size(), type("ST")->count_subitems()), std::pair(10, std::size_t{1}));
    entry.pop_back();
    EXPECT_EQ(state.add_datatype(config, entry).code(), 0x100031);
}

TEST_F(Upload, SymbolEntryAddsAttributesOnlyWhereItHasMore) {
    ASSERT_EQ(add(plant::symbol("a", "INT", 2, {{"one", "1"}})).code(), 0);
    const auto update = [&](const UploadSymbol& entry, std::size_t cut = 255) {
        UploadBytes bytes;
        append_symbol(bytes, entry);
        bytes.resize(std::min(bytes.size(), cut));
        state.update_attributes_based_on_symbol_entry(config, bytes);
        return symbol("a")->attributes.size();
    };
    EXPECT_EQ(update(plant::symbol("a", "INT", 2, {{"other", "2"}})), 1u);
    EXPECT_EQ(symbol("a")->attributes.entries()[0].first, "one");
    EXPECT_EQ(update(plant::symbol("a", "", 2, {{"x", ""}, {"y", ""}})), 1u) << "without a type";
    EXPECT_EQ(update(plant::symbol("a", "INT", 2, {{"x", ""}, {"y", ""}})), 2u);
    const UploadSymbol longer = plant::symbol(
        "a", "INT", 2, {{"k1", std::string(90, 'v')}, {"k2", ""}, {"k3", ""}, {"k4", std::string(200, 'v')}});
    EXPECT_EQ(update(longer), 3u) << "the fourth does not fit into the answer";
    EXPECT_EQ(update(plant::symbol("unknown", "INT", 2, {{"x", ""}})), 3u);
}

TEST(Description, DereferenceStandsForTheTarget) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"POINTER TO REFERENCE TO INT", "INT", "REFERENCE TO INT"},
        {"REFERENCE TO ST", "REFERENCE TO ST", "ST"},
        {"T_Pointer", "POINTER TO ST", "ST"},
        {"INT", "INT", "INT"},
    };
    for (const auto& [item_name, type_name, expected] : rows) {
        DatatypeDescription description;
        description.item_name = item_name;
        description.type_name = type_name;
        description.flags = 0xF;
        description.dereference();
        EXPECT_EQ(std::pair(description.type_name, description.flags), std::pair(std::string(expected), 0x9u));
    }
}

} // namespace
