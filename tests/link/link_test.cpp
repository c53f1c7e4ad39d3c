#include "platform/link/connection.h"
#include "platform/link/event_record.h"
#include "platform/link/frame.h"
#include "tests/link/scripted_peer.h"

#include <atomic>
#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

using namespace zo_test;
using boost::asio::ip::tcp;
using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;
using zo_link::FrameError;

namespace {

// A client without manners: bytes out, frames in.
class RawClient {
public:
    explicit RawClient(std::uint16_t port) { socket_.connect({boost::asio::ip::make_address("127.0.0.1"), port}); }
    void send(const Bytes& bytes) {
        boost::system::error_code ignored;
        boost::asio::write(socket_, boost::asio::buffer(bytes), ignored);
    }
    void send(const json& map) { send(zo_link::encode_frame(map)); }
    // The next frame; null when the connection ends first.
    json receive() {
        json map;
        std::size_t size = 0;
        while (!frames_.next(map, size)) {
            Bytes chunk(65536);
            boost::system::error_code error;
            const std::size_t count = socket_.read_some(boost::asio::buffer(chunk), error);
            if (error) return nullptr;
            chunk.resize(count);
            frames_.append(chunk);
        }
        return map;
    }
    bool hello() {
        send({{"id", 1}, {"op", "hello"}, {"version", 1}});
        return receive().value("code", 99) == 0;
    }

private:
    boost::asio::io_context io_;
    tcp::socket socket_{io_};
    zo_link::FrameReader frames_;
};

} // namespace

TEST(LinkServer, EndsOnlyTheSessionThatMisbehaves) {
    ScriptedPeer peer;
    RawClient good(peer.port());
    ASSERT_TRUE(good.hello());
    const json hello = {{"id", 2}, {"op", "hello"}, {"version", 1}};
    const struct {
        const char* name;
        bool greet;
        Bytes bytes;
    } rows[] = {
        {"garbage", false, {'G', 'E', 'T', ' ', '/', '\r', '\n'}},
        {"request before the hello", false, zo_link::encode_frame({{"id", 1}, {"op", "get_active_alarms"}})},
        {"second hello", true, zo_link::encode_frame(hello)},
        {"no id", true, zo_link::encode_frame({{"op", "ping"}})},
        {"id out of range", true, zo_link::encode_frame({{"id", -1}, {"op", "ping"}})},
    };
    for (const auto& row : rows) {
        RawClient bad(peer.port());
        ASSERT_TRUE(!row.greet || bad.hello()) << row.name;
        bad.send(row.bytes);
        EXPECT_EQ(bad.receive(), nullptr) << row.name;
    }
    good.send({{"id", 7}, {"op", "ping"}});
    EXPECT_EQ(good.receive(), (json{{"id", 7}, {"code", 0}}));
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 1; }));
}

TEST(LinkServer, GivesUpAClientThatDoesNotRead) {
    ScriptedPeer peer;
    RawClient client(peer.port());
    ASSERT_TRUE(client.hello());
    const auto session = peer.session();
    const json big = {{"text", std::string(std::size_t{8} << 20, 'x')}};
    for (int i = 0; i < 20; ++i)
        session->notify("message", big);
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
}

TEST(LinkServer, NotifiesOnlyWhoWasAccepted) {
    ScriptedPeer peer;
    RawClient accepted(peer.port());
    ASSERT_TRUE(accepted.hello());
    peer.on("hello", [](const auto&, std::uint32_t, const json&) {});
    RawClient waiting(peer.port());
    waiting.send({{"id", 1}, {"op", "hello"}, {"version", 1}});
    ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 2; }));
    peer.notify_all("database_changed", {{"reason", 2}});
    EXPECT_EQ(accepted.receive()["reason"], 2);
    peer.restart(); // ends all
    EXPECT_EQ(waiting.receive(), nullptr);
}

TEST(LinkServer, WhoSaysNothingKeepsNobodyOut) {
    ScriptedPeer peer;
    RawClient good(peer.port());
    ASSERT_TRUE(good.hello());
    RawClient silent(peer.port());
    silent.send(Bytes{40, 0, 0}); // not even a length
    EXPECT_EQ(silent.receive(), nullptr);
    good.send({{"id", 7}, {"op", "ping"}});
    EXPECT_EQ(good.receive()["id"], 7);
}

TEST(LinkServer, AHeldSessionOutlivesItsServer) {
    ScriptedPeer::Session session;
    {
        ScriptedPeer peer;
        RawClient client(peer.port());
        ASSERT_TRUE(client.hello());
        session = peer.session();
    }
    session->notify("database_changed", {{"reason", 2}});
    session->reply(5, 0);
    session->stall(false);
    session->drop();
    EXPECT_EQ(session->number(), 1u);
}

namespace {

struct Told final : zo_link::ConnectionEvents {
    void on_open(std::uint64_t number) override { instance = number; }
    std::uint32_t on_notification(const json&, std::size_t) override {
        ++notifications;
        return refuse ? zo_link::code::busy : zo_link::code::ok;
    }
    std::uint64_t on_answer() override { return notifications; }
    void on_lost(std::uint32_t result) override { lost = result; }

    std::atomic<std::uint64_t> instance{0};
    std::atomic<std::uint64_t> notifications{0};
    std::atomic<std::uint32_t> lost{0};
    std::atomic<bool> refuse{false};
};

} // namespace

TEST(Connection, APeerThatSendsButNeverAnswersIsLost) {
    boost::asio::io_context io;
    tcp::acceptor acceptor(io, {boost::asio::ip::make_address("127.0.0.1"), 0});
    std::thread peer([&] {
        tcp::socket socket = acceptor.accept();
        const auto hello = zo_link::encode_frame({{"id", 1}, {"code", 0}, {"version", 1}, {"instance", 3}});
        const auto chatter = zo_link::encode_frame({{"note", "database_changed"}, {"reason", 1}});
        boost::system::error_code error;
        boost::asio::write(socket, boost::asio::buffer(hello), error);
        while (!error) {
            boost::asio::write(socket, boost::asio::buffer(chatter), error);
            std::this_thread::sleep_for(milliseconds(1));
        }
    });
    const auto told = std::make_shared<Told>();
    zo_link::Connection connection(told);
    const auto port = std::to_string(acceptor.local_endpoint().port());
    EXPECT_EQ(connection.open("127.0.0.1", port, {{"role", "logger"}}, milliseconds(2000)).result, zo_link::code::ok);
    EXPECT_EQ(told->instance, 3u);
    connection.set_timeout(milliseconds(100));
    EXPECT_TRUE(eventually([&] { return told->lost == zo_link::code::timeout; }));
    EXPECT_FALSE(connection.is_open());
    EXPECT_GT(told->notifications, 0u);
    peer.join();
}

TEST(Connection, TellsOfALossOnceAndOfAnOwnEndNever) {
    ScriptedPeer peer;
    const auto port = std::to_string(peer.port());
    {
        const auto told = std::make_shared<Told>();
        zo_link::Connection connection(told);
        ASSERT_EQ(connection.open("localhost", port, json::object(), milliseconds(5000)).result, zo_link::code::ok);
        connection.close();
        EXPECT_FALSE(connection.is_open());
        EXPECT_EQ(told->lost, 0u);
        EXPECT_EQ(connection.request("class_name", json::object(), milliseconds(1000)).result,
                  zo_link::code::not_connected);
        // A connection lives once.
        EXPECT_EQ(connection.open("127.0.0.1", port, json::object(), milliseconds(100)).result, zo_link::code::aborted);
    }
    const auto told = std::make_shared<Told>();
    zo_link::Connection connection(told);
    ASSERT_EQ(connection.open("127.0.0.1", port, json::object(), milliseconds(5000)).result, zo_link::code::ok);
    // What the owner refuses ends the connection with the owner's code.
    told->refuse = true;
    peer.notify_all("database_changed", {{"reason", 1}});
    EXPECT_TRUE(eventually([&] { return told->lost == zo_link::code::busy; }));
}

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
