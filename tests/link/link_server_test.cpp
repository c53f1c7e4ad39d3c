#include "platform/link/frame.h"
#include "tests/link/scripted_peer.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

using namespace zo_test;
using boost::asio::ip::tcp;
using nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

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
