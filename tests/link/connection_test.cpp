#include "platform/link/connection.h"

#include "platform/link/frame.h"
#include "tests/link/scripted_peer.h"

#include <atomic>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

using namespace zo_test;
using boost::asio::ip::tcp;
using nlohmann::json;
using std::chrono::milliseconds;

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
