#include "platform/link/event_record.h"
#include "platform/link/frame.h"
#include "tests/link/link_client.h"
#include "tests/link/scripted_peer.h"

#include <future>
#include <string>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <malloc.h>
#include <poll.h>

using namespace zo_test;
using boost::asio::ip::tcp;
using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;
using zo_link::FrameError;
namespace code = zo_link::code;

namespace {

/// A client without manners: bytes out, frames in.
class RawClient {
public:
    explicit RawClient(std::uint16_t port, bool greet = true) {
        socket_.connect({boost::asio::ip::make_address("127.0.0.1"), port});
        EXPECT_TRUE(!greet || hello());
    }
    void send(const Bytes& bytes) {
        boost::system::error_code ignored;
        boost::asio::write(socket_, boost::asio::buffer(bytes), ignored);
    }
    void send(const json& map) { send(zo_link::encode_frame(map)); }
    /// Returns the next frame; null if the connection ends first, a text if nothing comes for 10 s.
    json receive() {
        json map;
        std::size_t size = 0;
        while (!frames_.next(map, size)) {
            pollfd readable = {socket_.native_handle(), POLLIN, 0};
            if (::poll(&readable, 1, 10000) == 0) return "timed out";
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
        const json answer = receive();
        return answer.is_object() && answer["code"] == 0;
    }
    bool ping() {
        send({{"id", 7}, {"op", "ping"}});
        return receive() == json{{"id", 7}, {"code", 0}};
    }

private:
    boost::asio::io_context io_;
    tcp::socket socket_{io_};
    zo_link::FrameReader frames_;
};

} // namespace

TEST(LinkServer, EndsOnlyTheFaultySession) {
    ScriptedPeer peer;
    RawClient good(peer.port());
    const std::pair<bool, json> rows[] = {
        {false, {{"id", 1}, {"op", "get_active_alarms"}}}, // before the hello
        {true, {{"id", 2}, {"op", "hello"}, {"version", 1}}},
        {true, {{"op", "ping"}}},
        {true, {{"id", -1}, {"op", "ping"}}},
        {true, nullptr}, // no frame
    };
    for (const auto& [greet, frame] : rows) {
        RawClient bad(peer.port(), greet);
        bad.send(frame.is_null() ? Bytes{'G', 'E', 'T', ' ', '/', '\r', '\n'} : zo_link::encode_frame(frame));
        EXPECT_EQ(bad.receive(), nullptr) << frame;
    }
    EXPECT_TRUE(good.ping());
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 1; }));
}

TEST(LinkServer, ClientThatDoesNotReadIsDropped) {
    ScriptedPeer peer;
    const RawClient client(peer.port());
    const auto session = peer.session();
    const json big = {{"text", std::string(std::size_t{8} << 20, 'x')}};
    for (int i = 0; i < 20; ++i)
        session->notify("message", big);
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
}

TEST(LinkServer, NotifiesAcceptedSessionsOnly) {
    ScriptedPeer peer;
    RawClient accepted(peer.port());
    peer.ignore("hello");
    RawClient waiting(peer.port(), false);
    waiting.send({{"id", 1}, {"op", "hello"}, {"version", 1}});
    ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 2; }));
    peer.notify_all("database_changed", {{"reason", 2}});
    EXPECT_EQ(accepted.receive()["reason"], 2);
    peer.restart(); // ends all
    EXPECT_EQ(waiting.receive(), nullptr);
}

TEST(LinkServer, SilentClientIsDroppedWhenFull) {
    constexpr milliseconds silence{400};
    ScriptedPeer peer({.sessions = 4, .silence = silence});
    {
        RawClient no_hello(peer.port(), false);
        no_hello.send(Bytes{40, 0, 0});         // not even a length
        EXPECT_EQ(no_hello.receive(), nullptr); // dropped although there is room
    }
    RawClient lively(peer.port()), longest(peer.port()), second(peer.port()), third(peer.port());
    std::this_thread::sleep_for(silence);
    EXPECT_TRUE(lively.ping());
    EXPECT_EQ(peer.open_sessions(), 4u); // silence alone drops no client after its hello
    const RawClient newcomer(peer.port());
    EXPECT_EQ(longest.receive(), nullptr);
    EXPECT_TRUE(second.ping() && third.ping() && lively.ping());
    RawClient refused(peer.port(), false);
    EXPECT_FALSE(refused.hello()); // no session is silent now
}

TEST(LinkServer, KeptSessionOutlivesTheServer) {
    ScriptedPeer::Session session;
    {
        ScriptedPeer peer;
        const RawClient client(peer.port());
        session = peer.session();
    }
    session->notify("database_changed", {{"reason", 2}});
    session->reply(5, 0);
    session->stall(false);
    session->drop();
    EXPECT_EQ(session->number(), 1u);
}

TEST(Connection, PeerThatNeverAnswersIsLost) {
    boost::asio::io_context io;
    tcp::acceptor acceptor(io, {boost::asio::ip::make_address("127.0.0.1"), 0});
    std::thread peer([&] {
        tcp::socket socket = acceptor.accept();
        Bytes bytes = zo_link::encode_frame({{"id", 1}, {"code", 0}, {"version", 1}, {"instance", 3}});
        boost::system::error_code error;
        while (!error) {
            boost::asio::write(socket, boost::asio::buffer(bytes), error);
            bytes = zo_link::encode_frame({{"note", "database_changed"}, {"reason", 1}});
            std::this_thread::sleep_for(milliseconds(1));
        }
    });
    LinkClient client(acceptor.local_endpoint().port());
    EXPECT_EQ(client.opened, code::ok);
    client.connection.set_timeout(milliseconds(100));
    EXPECT_TRUE(client.wait_lost());
    EXPECT_EQ(client.events->lost, code::timeout);
    EXPECT_GT(client.events->notes().size(), 0u);
    peer.join();
}

TEST(Connection, OwnEndIsNoLoss) {
    ScriptedPeer peer;
    LinkClient closed(peer.port(), milliseconds(5000), "localhost");
    ASSERT_EQ(closed.opened, code::ok);
    closed.connection.close();
    EXPECT_FALSE(closed.connection.is_open());
    EXPECT_EQ(closed.events->lost, 0u);
    const std::string port = std::to_string(peer.port()); // a connection opens once
    EXPECT_EQ(closed.connection.open("127.0.0.1", port, json::object(), milliseconds(5000)).result, code::aborted);
}

TEST(Connection, AbandonedRequestsLoseTheLink) {
    std::mutex mutex;
    std::vector<std::uint32_t> unanswered;
    ScriptedPeer peer;
    peer.on("class_name", [&](const auto&, std::uint32_t id, const json&) {
        const std::lock_guard lock(mutex);
        unanswered.push_back(id);
    });
    const auto id_of = [&](std::size_t number) { // waits until the peer has so many requests
        std::uint32_t id = 0;
        EXPECT_TRUE(eventually([&] {
            const std::lock_guard lock(mutex);
            if (unanswered.size() >= number) id = unanswered[number - 1];
            return id != 0;
        }));
        return id;
    };
    peer.answer("details", {});
    LinkClient client(peer.port());
    ASSERT_EQ(client.opened, code::ok);
    const auto abandon = [&] { return client.request("class_name", {}, milliseconds(0)).result; };
    constexpr std::size_t limit = zo_link::max_outstanding_requests;
    for (std::size_t i = 1; i < limit; ++i)
        ASSERT_EQ(abandon(), code::timeout);
    auto waiting = std::async(std::launch::async, [&] { return client.request("class_name").result; });
    const std::uint32_t last = id_of(limit);
    EXPECT_EQ(client.request("details").result, code::busy);
    EXPECT_TRUE(client.connection.is_open()); // one caller still waits
    peer.session()->reply(last, code::ok);
    EXPECT_EQ(waiting.get(), code::ok);
    peer.session()->reply(id_of(1), code::ok); // a late answer makes room, too
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(client.request("details").result, code::ok);
        EXPECT_EQ(abandon(), code::timeout);
    }
    EXPECT_TRUE(client.wait_lost());
    EXPECT_EQ(client.events->lost, code::timeout);
}

namespace {

/// Returns `head` and `count` times `bytes`.
Bytes repeated(Bytes head, std::size_t count, const Bytes& bytes) {
    for (std::size_t i = 0; i < count; ++i)
        head.insert(head.end(), bytes.begin(), bytes.end());
    return head;
}

Bytes framed(const Bytes& content) {
    Bytes length;
    for (int shift = 0; shift < 32; shift += 8)
        length.push_back(static_cast<std::uint8_t>(content.size() >> shift));
    return repeated(length, 1, content);
}

/// Bytes that the program has from its allocator; 0 under a sanitizer with an allocator of its own.
std::size_t allocated() {
    const struct mallinfo2 info = ::mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Reads one frame; returns the error.
FrameError read_frame(const Bytes& bytes, json& map) {
    zo_link::FrameReader reader;
    std::size_t size = 0;
    reader.append(bytes);
    const bool whole = reader.next(map, size);
    EXPECT_EQ(whole, reader.error() == FrameError::none);
    reader.append(zo_link::encode_frame({{"id", 1}}));
    json after;
    EXPECT_EQ(reader.next(after, size), whole); // an error stays
    return reader.error();
}

} // namespace

TEST(Frame, BadInputIsAnError) {
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
        {"huge array", framed({0x9b, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}), FrameError::malformed},
        {"map whose doubled count overflows", framed({0xbb, 0x80, 0, 0, 0, 0, 0, 0, 0}), FrameError::malformed},
        {"indefinite texts in each other", framed(repeated({}, 100000, {0x7f})), FrameError::malformed},
        {"tag", framed({0xc0, 0xa0}), FrameError::malformed},
        {"undefined", framed({0xa1, 0x61, 'a', 0xf7}), FrameError::malformed},
        {"below 64 bits", framed({0xa1, 0x61, 'a', 0x3b, 0x80, 0, 0, 0, 0, 0, 0, 0}), FrameError::malformed},
        {"nested 16 deep, no map", framed(repeated(repeated({}, 16, {0x81}), 1, {0x01})), FrameError::not_a_map},
        {"nested 17 deep", framed(repeated(repeated({}, 17, {0x81}), 1, {0x01})), FrameError::too_deep},
    };
    for (const auto& row : rows) {
        json map;
        EXPECT_EQ(read_frame(row.bytes, map), row.error) << row.name;
    }
}

TEST(Frame, MemoryIsBoundedBeforeItIsUsed) {
    const struct {
        const char* name;
        Bytes bytes;
        std::size_t weight; // one of these items
    } rows[] = {
        {"empty maps", {0xa0}, zo_link::item_memory},
        {"maps of a number", {0xa1, 0x61, 'a', 0x01}, 3 * zo_link::item_memory + 1},
        {"short texts", {0x61, 'a'}, zo_link::item_memory + 1},
        {"longer texts", repeated({0x70}, 16, {'a'}), zo_link::item_memory + 16},
        {"empty byte strings", {0x40}, zo_link::item_memory},
    };
    for (const auto& row : rows) {
        const auto frame = [&](std::size_t count) {
            Bytes head = {0xa1, 0x61, 'a', 0x9a}; // a map with one list
            for (int shift = 24; shift >= 0; shift -= 8)
                head.push_back(static_cast<std::uint8_t>(count >> shift));
            return framed(repeated(head, count, row.bytes));
        };
        const std::size_t most = (zo_link::max_frame_memory - 3 * zo_link::item_memory - 1) / row.weight;
        for (const std::size_t more : {0, 1}) {
            const Bytes bytes = frame(most + more);
            const std::size_t before = allocated();
            json map;
            EXPECT_EQ(read_frame(bytes, map), more == 0 ? FrameError::none : FrameError::too_costly) << row.name;
            const std::size_t used = std::max(allocated(), before) - before;
            EXPECT_LT(used, more == 0 ? zo_link::max_frame_memory : 1000 * zo_link::item_memory) << row.name;
        }
    }
}

TEST(Frame, SenderKeepsTheLimits) {
    const std::string longest(zo_link::max_frame_size, 'x');
    EXPECT_TRUE(zo_link::encode_frame({{"text", longest}}).empty());
    EXPECT_FALSE(zo_link::encode_frame({{"text", longest.substr(64)}}).empty());
    const std::vector<json> costly(zo_link::max_frame_memory / zo_link::item_memory, json::object());
    EXPECT_TRUE(zo_link::encode_frame({{"items", costly}}).empty());
    EXPECT_TRUE(zo_link::encode_list(1, std::vector<json>(1, costly)).empty());
}

TEST(EventRecord, RefusesBadFields) {
    const json good = {{"class", "01234567-89ab-cdef-0123-456789abcdef"}, {"id", 1}, {"handle", 2}};
    zo_link::EventRecord record;
    ASSERT_TRUE(zo_link::event_from_json(good, true, record));
    const json changes[] = {
        // null removes a field
        {{"class", nullptr}},
        {{"class", "01234567-89ab-cdef-0123-456789abcde"}},
        {{"class", "{1234567-89ab-cdef-0123-456789abcdef}"}},
        {{"id", -1}},
        {{"type", 0x80000000u}},
        {{"active", 40000}},
        {{"source", "door"}},
        {{"source", {{"guid", "x"}}}},
        {{"args", {1, 2, 3, 4}}},
        {{"args", {1, 2, 3, 4, -5}}},
        {{"block", "abc"}},
    };
    for (const json& change : changes) {
        json map = good;
        map.merge_patch(change);
        EXPECT_FALSE(zo_link::event_from_json(map, true, record)) << change;
    }
    EXPECT_FALSE(zo_link::event_from_json(json::array(), true, record));
}
