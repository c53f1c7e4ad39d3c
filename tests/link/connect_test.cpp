#include "tests/link/proxy_fixture.h"

#include <filesystem>
#include <future>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

using namespace zo_test;
namespace code = zo_link::code;
using nlohmann::json;

namespace {

class ConnectTest : public ProxyTest {};

} // namespace

TEST_F(ConnectTest, HelloCarriesTheWayAndThePreloadFlag) {
    CComPtr<IZoConnectionSettings> settings;
    ASSERT_EQ(CreateInstance(CLSID_ZoConnectionSettings, IID_IZoConnectionSettings, settings.put_void()), S_OK);
    for (const VARIANT_BOOL preload : {VARIANT_TRUE, VARIANT_FALSE}) {
        ASSERT_EQ(settings->SetPreloadTranslations(preload), S_OK);
        ASSERT_EQ(logger->ConnectWithSettings(settings.get(), net_id), S_OK);
        const json hello = peer.last("hello");
        EXPECT_EQ(hello["settings"], true);
        EXPECT_EQ(hello["preload"], preload == VARIANT_TRUE);
        EXPECT_EQ(hello["address"], net_id);
    }
    ASSERT_EQ(logger->Connect("5.12.82.40"), S_OK); // four numbers get two more
    EXPECT_EQ(peer.last("hello")["settings"], false);
}

TEST_F(ConnectTest, FailuresHaveTheirCodes) {
    EXPECT_EQ(logger->Connect("9.9.9.9.1.1"), hresult(code::no_route));

    // A code of the target comes through, the one that asks for the other way too.
    for (const std::uint32_t refusal : {0x98110701u, 0x80004005u}) {
        peer.on("hello", [&](const auto& session, std::uint32_t id, const json&) { session->reply(id, refusal); });
        EXPECT_EQ(connect(), hresult(refusal));
    }
    const json bad_hellos[] = {{{"version", 1}}, {{"version", 2}, {"instance", 1}}};
    for (const json& answer : bad_hellos) {
        peer.answer("hello", answer);
        EXPECT_EQ(connect(), hresult(code::bad_answer)) << answer;
        EXPECT_FALSE(connected());
    }
    peer.on("hello", [](const auto& session, std::uint32_t, const json&) { session->drop(); });
    EXPECT_EQ(connect(), not_connected);

    peer.on("hello", [](const auto&, std::uint32_t, const json&) {});
    set_timeout(100);
    EXPECT_EQ(connect(), hresult(code::timeout));

    peer.on("hello", nullptr);
    set_timeout(0); // the default again
    EXPECT_EQ(connect(), S_OK);
    EXPECT_TRUE(connected());
}

TEST_F(ConnectTest, ConnectingAgainDropsTheOldLink) {
    ASSERT_EQ(connect(), S_OK);
    const auto first = peer.session()->number();
    ASSERT_EQ(connect(), S_OK);
    EXPECT_TRUE(connected());
    EXPECT_NE(peer.session()->number(), first);
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 1; }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
    EXPECT_FALSE(connected());
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
}

TEST_F(ConnectTest, DisconnectEndsAConnectThatIsUnderWay) {
    peer.on("hello", [](const auto&, std::uint32_t, const json&) {});
    auto pending = std::async(std::launch::async, [&] { return connect(); });
    ASSERT_TRUE(eventually([&] { return !peer.last("hello").is_null(); }));
    EXPECT_EQ(logger->Disconnect(), S_OK);
    EXPECT_EQ(pending.get(), hresult(code::aborted));
    EXPECT_FALSE(connected());
}

TEST_F(ConnectTest, ARequestHasADeadlineAndItsLateAnswerIsNobodysElse) {
    set_timeout(150);
    ASSERT_EQ(connect(), S_OK);
    peer.on("class_name", [](const auto&, std::uint32_t, const json&) {});
    std::string text;
    EXPECT_EQ(class_name(1033, text), hresult(code::timeout));
    ASSERT_TRUE(eventually([&] { return !peer.last("class_name").is_null(); }));
    EXPECT_TRUE(connected());
    peer.session()->reply(peer.last("class_name")["id"], 0, {{"text", "late"}});
    set_timeout(5000);
    peer.answer("class_name", {{"text", "right"}});
    ASSERT_EQ(class_name(1033, text), S_OK);
    EXPECT_EQ(text, "right");
    EXPECT_TRUE(connected());
}

TEST_F(ConnectTest, ManyLivesLeaveNoThreadAndNoDescriptor) {
    const auto entries = [](const char* folder) {
        return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    std::ptrdiff_t threads = 0;
    std::ptrdiff_t descriptors = 0;
    for (int round = 0; round < 20; ++round) {
        SetUp();
        advise();
        ASSERT_EQ(connect(), S_OK);
        peer.session()->notify("database_changed", {{"reason", 1}});
        ASSERT_TRUE(eventually([&] { return sink.count() == static_cast<std::size_t>(round + 1); }));
        if (round % 2 == 0) logger->Disconnect();
        TearDown();
        ASSERT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
        if (round == 5) {
            threads = entries("/proc/self/task");
            descriptors = entries("/proc/self/fd");
        }
    }
    EXPECT_TRUE(eventually([&] { return entries("/proc/self/task") <= threads; }, std::chrono::seconds(2)));
    EXPECT_LE(entries("/proc/self/fd"), descriptors);
}
