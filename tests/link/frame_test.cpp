#include "platform/link/frame.h"

#include "platform/link/event_record.h"

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
        {"one above the limit, content still to come", {1, 0, 0, 1}, FrameError::oversize},
        {"a number", framed({0x01}), FrameError::not_a_map},
        {"bytes left over", framed({0xa0, 0xa0}), FrameError::malformed},
        {"map that ends early", framed({0xa1, 0x61, 'a'}), FrameError::malformed},
        {"key that is no text", framed({0xa1, 0x01, 0x01}), FrameError::malformed},
        {"text longer than the frame", framed({0xa1, 0x79, 0xff, 0xff, 'a'}), FrameError::malformed},
        {"array with a huge count", framed({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
         FrameError::malformed},
        {"map whose doubled count overflows", framed({0xbb, 0x80, 0, 0, 0, 0, 0, 0, 0}), FrameError::malformed},
        {"indefinite texts in each other", framed(repeated(100000, 0x7f)), FrameError::malformed},
        {"tag", framed({0xc0, 0xa0}), FrameError::malformed},
        {"undefined", framed({0xa1, 0x61, 'a', 0xf7}), FrameError::malformed},
        {"negative number below 64 bits", framed({0xa1, 0x61, 'a', 0x3b, 0x80, 0, 0, 0, 0, 0, 0, 0}),
         FrameError::malformed},
        {"nested 16 deep, no map", framed(repeated(16, 0x81, {0x01})), FrameError::not_a_map},
        {"nested 17 deep", framed(repeated(17, 0x81, {0x01})), FrameError::too_deep},
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
        {"class with a wrong digit", "class", "01234567-89ab-cdef-0123-456789abcdeg"},
        {"no id", "id", json(json::value_t::discarded)},
        {"negative id", "id", -1},
        {"handle 0", "handle", 0},
        {"type above 32 signed bits", "type", 0x80000000u},
        {"flag above 16 bits", "active", 40000},
        {"source as text", "source", "door"},
        {"source guid of no form", "source", {{"guid", "x"}}},
        {"four argument numbers", "args", {1, 2, 3, 4}},
        {"negative argument number", "args", {1, 2, 3, 4, -5}},
        {"block as text", "block", "abc"},
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
