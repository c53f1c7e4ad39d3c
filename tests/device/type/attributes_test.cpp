#include "device/type/attributes.h"

#include "device/runtime/state.h"
#include "tests/server_api/values.h"
#include "tests/test_headers.h"

#include <cstddef>

using namespace ZoHmiFdx;
using ZoHmiSrv::ValueType;
using Entries = std::vector<Attributes::Entry>;

namespace {

Attributes list(const Entries& entries) {
    Attributes attributes;
    for (const auto& [key, value] : entries)
        attributes.add(key, value);
    return attributes;
}

unsigned bits(AttributesFlags flags) {
    return unsigned(flags);
}

std::optional<std::string> text(const std::optional<std::reference_wrapper<const std::string>>& value) {
    return value ? std::optional<std::string>(value->get()) : std::nullopt;
}

TEST(AttributesAdd, FlagsOfKey) {
    const std::pair<std::string, unsigned> cases[] = {
        {"ZoHmiSymbol.Show", 1},
        {"ZoHmiSymbol.ShowRecursively", 2},
        {"ZoHmiSymbol.Hide", 4},
        {"ZoHmiSymbol.ReadOnly", 8},
        {"ZoHmiSymbol.BLOB", 16},
        {"LowerBorder", 64},
        {"UpperBorder", 128},
        {"ZoSwapWord", 256},
        {"ZoSwapDWord", 512},
        {"ZoEncoding", 1024},
        {"ZoHmiSymbol.AddSymbol", 4096},
        {"ZoHmiSymbol.AddSymbol.UserGroups", 4096},
        {"ZoHmiSymbol.AddSymbol.UserGroups.Read", 4096},
        {"ZoHmiSymbol.AddSymbol.Hidden", 4096},
        {"", 0},
        {"zoHmiSymbol.Show", 0},
        {std::string("LowerBorder\0", 12), 0},
        {"ZoHmiSymbol.AddSymbol.UserGroups.Write", 0},
        {"ZoSwapQWord", 0},
    };
    for (const auto& [key, flags] : cases) {
        SCOPED_TRACE(key);
        Attributes attributes;
        EXPECT_FALSE(attributes.has(key));
        EXPECT_EQ(bits(attributes.add(key, "x")), flags);
        EXPECT_EQ(bits(attributes.flags()), flags);
        EXPECT_TRUE(attributes.has(key));
        EXPECT_EQ(attributes.entries(), (Entries{{key, "x"}}));
    }
    EXPECT_FALSE(list({{"ZoHmiSymbol.AddSymbol", ""}}).has("ZoHmiSymbol.AddSymbol.Hidden")); // of the same flag
}

TEST(AttributesAdd, ExactValueGivesUtf8) {
    const std::pair<std::string, unsigned> cases[] = {
        {"UTF-8", 0xC00}, {"utf-8", 0x400}, {"UTF-8 ", 0x400}, {"", 0x400}};
    for (const auto& [value, flags] : cases) {
        SCOPED_TRACE(value);
        Attributes attributes;
        EXPECT_EQ(bits(attributes.add("ZoEncoding", value)), 0x400u); // the key's flags, never the value's
        EXPECT_EQ(bits(attributes.flags()), flags);
        EXPECT_EQ(attributes.has(AttributesFlags::Utf8), flags == 0xC00);
        EXPECT_TRUE(attributes.has(AttributesFlags::Encoding | AttributesFlags::Utf8)); // any of them will do
    }
}

TEST(AttributesAdd, RepeatedKeyMovesIndex) {
    const Attributes attributes = list({{"LowerBorder", "1"},
                                        {"ZoEncoding", "UTF-8"},
                                        {"UpperBorder", "2"},
                                        {"LowerBorder", "3"},
                                        {"ZoEncoding", "ASCII"}});
    EXPECT_EQ(text(attributes.value_of_lower_border()), "3");
    EXPECT_EQ(text(attributes.value_of_upper_border()), "2");
    EXPECT_EQ(attributes.encoding_index(), 4);
    EXPECT_EQ(attributes.size(), 5u);
    EXPECT_TRUE(attributes.has(AttributesFlags::Utf8)); // once set, it stays
}

TEST(AttributesMerge, FreeFunctionsKeepSecondFirst) {
    const Attributes first = list({{"UpperBorder", "1"}, {"x", "1"}});
    const Attributes second = list({{"UpperBorder", "2"}, {"y", "2"}});
    EXPECT_EQ(merge_attributes(first, second).entries(), (Entries{{"UpperBorder", "2"}, {"y", "2"}, {"x", "1"}}));
    EXPECT_EQ(text(merge_attributes(first, second).value_of_upper_border()), "2");
    const Attributes both = merge_attributes_keep_duplicates(first, second);
    EXPECT_EQ(both.entries(), (Entries{{"UpperBorder", "2"}, {"y", "2"}, {"UpperBorder", "1"}, {"x", "1"}}));
    EXPECT_EQ(text(both.value_of_upper_border()), "1");
}

TEST(AttributesMerge, TakesItself) {
    const Entries entries = {{"a", "1"}, {"LowerBorder", "2"}, {"a", "3"}};
    Attributes attributes = list(entries);
    attributes.merge(attributes);
    EXPECT_EQ(attributes.entries(), entries);
    attributes.merge_keep_duplicates(attributes);
    EXPECT_EQ(attributes.entries(),
              (Entries{{"a", "1"}, {"LowerBorder", "2"}, {"a", "3"}, {"a", "1"}, {"LowerBorder", "2"}, {"a", "3"}}));
    EXPECT_EQ(attributes.lower_border_index(), 4);
}

/// The model of a list: compares each entry of the other list with each entry here.
struct PlainList {
    Entries entries;
    AttributesFlags flags{};
    std::size_t lower = 0xFFFF, upper = 0xFFFF, encoding = 0xFFFF;

    explicit PlainList(const Attributes& from)
        : entries(from.entries()), flags(from.flags()), lower(from.lower_border_index()),
          upper(from.upper_border_index()), encoding(from.encoding_index()) {}

    void merge(const PlainList& other, bool keep_duplicates) {
        for (std::size_t i = 0; i < other.entries.size(); ++i) {
            bool known = false;
            for (const auto& [key, value] : entries)
                known = known || key == other.entries[i].first;
            if (known && !keep_duplicates) continue;
            if (i == other.lower) lower = entries.size();
            if (i == other.upper) upper = entries.size();
            if (i == other.encoding && keep_duplicates) encoding = entries.size();
            entries.push_back(other.entries[i]);
        }
        flags = flags | other.flags;
    }
};

TEST(AttributesMerge, AgreesWithPlainWalk) {
    std::mt19937 random(4711);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    const auto random_list = [&](std::size_t longest) {
        Attributes attributes;
        const std::size_t size = below(longest + 1);
        const std::size_t names = 1 + below(2 * longest + 1);
        for (std::size_t i = 0; i < size; ++i) {
            const std::size_t name = below(names);
            const std::string key = name == 0   ? "LowerBorder"
                                    : name == 1 ? "UpperBorder"
                                    : name == 2 ? "ZoEncoding"
                                                : "attribute with a name of some length " + std::to_string(name);
            attributes.add(key, std::to_string(random()));
        }
        return attributes;
    };
    for (int round = 0; round < 2000; ++round) {
        const std::size_t longest = 1 + below(40);
        Attributes merged = random_list(longest);
        const Attributes other = random_list(longest);
        const bool keep_duplicates = below(2) == 0;
        PlainList plain(merged);
        plain.merge(PlainList(other), keep_duplicates);
        keep_duplicates ? merged.merge_keep_duplicates(other) : merged.merge(other);
        ASSERT_EQ(merged.entries(), plain.entries) << round;
        ASSERT_EQ(merged.flags(), plain.flags) << round;
        ASSERT_EQ(merged.lower_border_index(), plain.lower) << round;
        ASSERT_EQ(merged.upper_border_index(), plain.upper) << round;
        ASSERT_EQ(merged.encoding_index(), plain.encoding) << round;
    }
}

TEST(AttributesMerge, PositionBeyondIndexIsIgnored) {
    Attributes attributes;
    for (int i = 0; i < 65534; ++i)
        attributes.add("", "");
    Attributes merged = attributes;
    attributes.add("LowerBorder", "last that fits"); // position 65534
    EXPECT_EQ(text(attributes.value_of_lower_border()), "last that fits");
    attributes.add("LowerBorder", "at the mark for none");
    EXPECT_EQ(text(attributes.value_of_lower_border()), "last that fits");
    attributes.add("UpperBorder", "wrapped to 0");
    attributes.add("LowerBorder", "wrapped to 1");
    EXPECT_EQ(text(attributes.value_of_upper_border()), std::nullopt);
    EXPECT_EQ(text(attributes.value_of_lower_border()), "last that fits");

    Attributes appended = merged;
    const Attributes borders = list({{"x", ""}, {"y", ""}, {"UpperBorder", "u"}, {"LowerBorder", "l"}});
    merged.merge(borders);
    EXPECT_EQ(text(merged.value_of_upper_border()), std::nullopt);
    EXPECT_EQ(merged.size(), 65538u);
    appended.merge_keep_duplicates(borders);
    EXPECT_EQ(text(appended.value_of_upper_border()), std::nullopt);
    EXPECT_EQ(text(appended.value_of_lower_border()), std::nullopt);
    EXPECT_TRUE(appended.has("LowerBorder"));
}

TEST(Attributes, AddSymbolKeys) {
    const std::tuple<const char*, Entries, bool, bool, std::map<std::string, int>> cases[] = {
        {"nothing", {{"ZoHmiSymbol.Show", ""}}, false, false, {}},
        {"the value does not matter", {{"ZoHmiSymbol.AddSymbol", "false"}}, true, false, {}},
        {"hidden alone does not add", {{"ZoHmiSymbol.AddSymbol.Hidden", ""}}, false, true, {}},
        {"names as they stand, but no empty ones",
         {{"ZoHmiSymbol.AddSymbol", ""}, {"ZoHmiSymbol.AddSymbol.UserGroups", ",a, b,,a b,"}},
         true,
         false,
         {{"a", 1}, {" b", 1}, {"a b", 1}}},
        {"both kinds of access, and repeated keys",
         {{"ZoHmiSymbol.AddSymbol.UserGroups.Read", "b,a"},
          {"ZoHmiSymbol.AddSymbol.UserGroups", "a"},
          {"ZoHmiSymbol.AddSymbol.UserGroups", "c"}},
         false,
         false,
         {{"a", 3}, {"b", 2}, {"c", 1}}},
    };
    for (const auto& [what, entries, add, hidden, groups] : cases) {
        SCOPED_TRACE(what);
        const AddSymbolAttributeInfo info = list(entries).analyze_add_symbol_attribute();
        EXPECT_EQ(info.add, add);
        EXPECT_EQ(info.hidden, hidden);
        EXPECT_EQ(info.user_groups, groups);
    }
}

TEST(Attributes, BlobOnEitherSideGivesBinary) {
    const Attributes blob = list({{"ZoHmiSymbol.BLOB", ""}}), other = list({{"ZoHmiSymbol.Show", "ZoHmiSymbol.BLOB"}});
    EXPECT_EQ(get_actual_hmi_datatype(ValueType::Int, other, blob), ValueType::Binary);
    EXPECT_EQ(get_actual_hmi_datatype(ValueType::Vector, blob, other), ValueType::Binary);
    EXPECT_EQ(get_actual_hmi_datatype(ValueType::Int, other, other), ValueType::Int);
}

// Indices are 16 bits wide, and the last number means "not set": an entry at that position is no border.
TEST(AttributesMerge, PositionOfMarkIsNoBorder) {
    for (const bool has_lower : {false, true}) {
        Attributes other;
        other.add(has_lower ? "LowerBorder" : "same", "1");
        other.add("same", "2");
        other.add("same", "3"); // dropped, so that what follows moves up
        for (int entry = 3; entry <= 0xFFFF; ++entry)
            other.add("k" + std::to_string(entry), "x");
        Attributes merged;
        merged.merge(other);
        EXPECT_EQ(merged.value_of_lower_border().has_value(), has_lower);
        EXPECT_FALSE(merged.value_of_upper_border().has_value());
    }
}

TEST(Attributes, PublicAttributesAsValue) {
    const State state;
    Attributes attributes = list({{"ZoHmiSymbol.Hide", ""}});
    EXPECT_EQ(values::show(attributes.public_attributes_as_value(state)), "{}");

    attributes.add("unit", "mm");
    attributes.add("Unit", "");
    attributes.add("ZoHmiSymbol.Show", "kept back");
    attributes.add("unit", "m"); // a symbol's own attributes stand behind those of its type
    attributes.add("", "no key");
    EXPECT_EQ(values::show(attributes.public_attributes_as_value(state)), "{: 'no key', Unit: '', unit: 'm'}");
}

} // namespace
