#include "platform/link/frame.h"

#include "platform/link/event_record.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using nlohmann::json;
using zo_link::FrameError;
using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes framed(Bytes content) {
    Bytes frame = {static_cast<std::uint8_t>(content.size()), static_cast<std::uint8_t>(content.size() >> 8),
                   static_cast<std::uint8_t>(content.size() >> 16), 0};
    frame.insert(frame.end(), content.begin(), content.end());
    return frame;
}

Bytes repeated(std::size_t count, std::uint8_t byte, Bytes tail = {}) {
    Bytes bytes(count, byte);
    bytes.insert(bytes.end(), tail.begin(), tail.end());
    return bytes;
}

} // namespace

TEST(Frame, BytesInAnySplitGiveTheSameFrames) {
    Bytes stream;
    std::vector<json> sent;
    for (int i = 0; i < 5; ++i) {
        json map = {{"id", i}, {"name", std::string(static_cast<std::size_t>(i) * 100, 'x')}};
        map["raw"] = json::binary({1, 0, 255});
        map["odd \xff bytes"] = -5;
        const Bytes frame = zo_link::encode_frame(map);
        stream.insert(stream.end(), frame.begin(), frame.end());
        sent.push_back(map);
    }
    for (const std::size_t step : {std::size_t{1}, std::size_t{3}, std::size_t{64}, stream.size()}) {
        zo_link::FrameReader reader;
        std::vector<json> got;
        for (std::size_t at = 0; at < stream.size(); at += step) {
            reader.append(std::span(stream).subspan(at, std::min(step, stream.size() - at)));
            json map;
            std::size_t size = 0;
            while (reader.next(map, size))
                got.push_back(map);
        }
        EXPECT_EQ(got, sent) << step;
        EXPECT_EQ(reader.error(), FrameError::none);
    }
}

TEST(Frame, BadInputIsTold) {
    const struct {
        const char* name;
        Bytes bytes;
        FrameError error;
    } rows[] = {
        {"length 0", {0, 0, 0, 0}, FrameError::empty},
        {"one above the limit, content still to come", {1, 0, 0, 1}, FrameError::oversize},
        {"all bits", {255, 255, 255, 255}, FrameError::oversize},
        {"a number", framed({0x01}), FrameError::not_a_map},
        {"an array", framed({0x81, 0x01}), FrameError::not_a_map},
        {"bytes left over", framed({0xa0, 0xa0}), FrameError::malformed},
        {"map that ends early", framed({0xa1, 0x61, 'a'}), FrameError::malformed},
        {"key that is no text", framed({0xa1, 0x01, 0x01}), FrameError::malformed},
        {"text longer than the frame", framed({0xa1, 0x79, 0xff, 0xff, 'a'}), FrameError::malformed},
        {"array with a huge count", framed({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
         FrameError::malformed},
        {"map whose doubled count overflows", framed({0xbb, 0x80, 0, 0, 0, 0, 0, 0, 0}), FrameError::malformed},
        {"indefinite array", framed({0x9f, 0xff}), FrameError::malformed},
        {"indefinite texts in each other", framed(repeated(100000, 0x7f)), FrameError::malformed},
        {"tag", framed({0xc0, 0xa0}), FrameError::malformed},
        {"undefined", framed({0xa1, 0x61, 'a', 0xf7}), FrameError::malformed},
        {"negative number below 64 bits", framed({0xa1, 0x61, 'a', 0x3b, 0x80, 0, 0, 0, 0, 0, 0, 0}),
         FrameError::malformed},
        {"nested 16 deep, no map", framed(repeated(16, 0x81, {0x01})), FrameError::not_a_map},
        {"nested 17 deep", framed(repeated(17, 0x81, {0x01})), FrameError::too_deep},
        {"nested 100000 deep", framed(repeated(100000, 0x81, {0x01})), FrameError::too_deep},
    };
    for (const auto& row : rows) {
        zo_link::FrameReader reader;
        json map;
        std::size_t size = 0;
        reader.append(row.bytes);
        EXPECT_FALSE(reader.next(map, size)) << row.name;
        EXPECT_EQ(reader.error(), row.error) << row.name;
        // It stays so, whatever comes.
        reader.append(zo_link::encode_frame({{"id", 1}}));
        EXPECT_FALSE(reader.next(map, size)) << row.name;
    }
}

TEST(Frame, ItemsAreCountedAndSizesBounded) {
    Bytes many = {0x9a, 0x00, 0x40, 0x00, 0x00}; // as many as the limit, and the array itself is one more
    many.resize(many.size() + zo_link::max_frame_items, 0x01);
    EXPECT_EQ(zo_link::check_cbor(many), FrameError::too_many_items);

    const std::string longest(zo_link::max_frame_size, 'x');
    EXPECT_TRUE(zo_link::encode_frame({{"text", longest}}).empty());
    EXPECT_FALSE(zo_link::encode_frame({{"text", longest.substr(64)}}).empty());
}

TEST(Frame, ListsAreCutIntoPartsThatJoinAgain) {
    std::vector<json> items;
    for (int i = 0; i < 10; ++i)
        items.push_back({{"n", i}, {"text", std::string(std::size_t{1} << 20, static_cast<char>('a' + i))}});
    const auto frames = zo_link::encode_list(9, items);
    EXPECT_GE(frames.size(), 3u);
    json joined = json::array();
    for (std::size_t i = 0; i < frames.size(); ++i) {
        EXPECT_LE(frames[i].size(), zo_link::list_part_size + 100);
        zo_link::FrameReader reader;
        reader.append(frames[i]);
        json map;
        std::size_t size = 0;
        ASSERT_TRUE(reader.next(map, size));
        EXPECT_EQ(map["id"], 9);
        EXPECT_EQ(map["code"], 0);
        EXPECT_EQ(map.value("more", false), i + 1 < frames.size());
        for (const json& item : map["items"])
            joined.push_back(item);
    }
    EXPECT_EQ(joined, json(items));
    EXPECT_EQ(zo_link::encode_list(9, {}).size(), 1u);
    EXPECT_TRUE(zo_link::encode_list(9, {json(std::string(zo_link::max_frame_size, 'x'))}).empty());
}

TEST(EventRecord, SurvivesTheWayThroughAFrame) {
    zo_link::EventRecord full;
    ASSERT_TRUE(zo_link::parse_guid("01234567-89ab-CDEF-0123-456789abcdef", full.event_class));
    EXPECT_EQ(full.event_class.data1, 0x01234567u);
    EXPECT_EQ(full.event_class.data3, 0xcdefu);
    EXPECT_EQ(full.event_class.data4[7], 0xefu);
    full.event_id = 0xffffffff;
    full.severity = 4;
    full.type = -1;
    full.source_id = 0;
    full.source_guid = zo_link::Guid{1, 2, 3, {4}};
    full.source_name = std::string("a\0\xff", 3);
    full.raised = 133000000000000000;
    full.cleared = -1;
    full.confirmed = 1;
    full.with_confirmation = 1; // not the same as true
    full.confirmation = -7;
    full.active = -1;
    full.uid = 0;
    full.extended = false;
    full.args = {3, 0xffffffff, 2, 1, 0};
    full.block = {0, 1, 2};
    full.json = "";
    full.handle = 0xffffffffffffffff;
    zo_link::EventRecord bare;
    for (const auto& record : {full, bare}) {
        zo_link::FrameReader reader;
        reader.append(zo_link::encode_frame(zo_link::event_to_json(record)));
        json map;
        std::size_t size = 0;
        ASSERT_TRUE(reader.next(map, size));
        zo_link::EventRecord read;
        ASSERT_TRUE(zo_link::event_from_json(map, false, read));
        EXPECT_EQ(read, record);
    }
}

TEST(EventRecord, RefusesWhatIsNotOne) {
    const json good = {{"class", "01234567-89ab-cdef-0123-456789abcdef"}, {"id", 1}, {"handle", 2}};
    zo_link::EventRecord record;
    ASSERT_TRUE(zo_link::event_from_json(good, true, record));

    const struct {
        const char* name;
        const char* field;
        json value; // discarded: the field is left out
    } rows[] = {
        {"no class", "class", json(json::value_t::discarded)},
        {"class too short", "class", "01234567-89ab-cdef-0123-456789abcde"},
        {"class in braces", "class", "{01234567-89ab-cdef-0123-456789abcdef}"},
        {"class without dashes", "class", "0123456789ab-cdef-0123-456789abcdef01"},
        {"class with a wrong digit", "class", "01234567-89ab-cdef-0123-456789abcdeg"},
        {"no id", "id", json(json::value_t::discarded)},
        {"negative id", "id", -1},
        {"id above 32 bits", "id", 0x100000000},
        {"id as text", "id", "1"},
        {"id as fraction", "id", 1.0},
        {"handle 0", "handle", 0},
        {"no handle", "handle", json(json::value_t::discarded)},
        {"type above 32 signed bits", "type", 0x80000000u},
        {"time above 64 signed bits", "raised", 0x8000000000000000u},
        {"flag above 16 bits", "active", 40000},
        {"flag as text", "with_confirmation", "true"},
        {"null instead of nothing", "uid", nullptr},
        {"extended as number", "extended", 1},
        {"source as text", "source", "door"},
        {"source name as number", "source", {{"name", 5}}},
        {"source guid of no form", "source", {{"guid", "x"}}},
        {"four argument numbers", "args", {1, 2, 3, 4}},
        {"six argument numbers", "args", {1, 2, 3, 4, 5, 6}},
        {"negative argument number", "args", {1, 2, 3, 4, -5}},
        {"block as text", "block", "abc"},
        {"attribute as map", "json", json::object()},
    };
    for (const auto& row : rows) {
        json map = good;
        if (row.value.is_discarded())
            map.erase(row.field);
        else
            map[row.field] = row.value;
        EXPECT_FALSE(zo_link::event_from_json(map, true, record)) << row.name;
    }
    EXPECT_FALSE(zo_link::event_from_json(json::array(), true, record));
}
