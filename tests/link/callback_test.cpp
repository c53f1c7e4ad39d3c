#include "tests/link/proxy_fixture.h"

#include <future>
#include <set>

using namespace zo_test;
using nlohmann::json;
using std::chrono::milliseconds;

namespace {

class CallbackTest : public ProxyTest {
protected:
    void notify_change(std::int32_t reason) { peer.session()->notify("database_changed", {{"reason", reason}}); }
    /// Connects with a sink whose calls wait at the gate.
    void connect_waiting() {
        sink.inside = [this](std::int32_t, IDispatch*) { gate.wait(); };
        advise();
        ASSERT_EQ(connect(), S_OK);
    }

    Gate gate;
};

} // namespace

TEST_F(CallbackTest, CallsKeepOrderThreadAndArguments) {
    std::set<std::thread::id> threads;
    sink.inside = [&](std::int32_t, IDispatch*) { threads.insert(std::this_thread::get_id()); };
    advise();
    ASSERT_EQ(connect(), S_OK);
    const auto session = peer.session();
    session->notify("message", event_fields(make_record(1)));
    session->notify("alarm_raised", event_fields(make_record(2, 20)));
    session->notify("alarm_cleared", event_fields(make_record(3, 20), false));
    session->notify("alarm_confirmed", event_fields(make_record(4, 20), true));
    session->notify("alarm_cleared", event_fields(make_record(5, 20), 1));
    session->notify("database_changed", {{"reason", -3}});
    ASSERT_EQ(settle(), S_OK);

    EXPECT_EQ(sink.calls(), (std::vector<std::string>{"2 event 1", "3 event 2", "4 event 3 removed 0",
                                                      "5 event 4 removed -1", "4 event 5 removed 1", "10 reason -3"}));
    EXPECT_EQ(threads.size(), 1u);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

TEST_F(CallbackTest, ListsReturnAfterEarlierCallbacks) {
    set_timeout(300);
    connect_waiting();
    for (const char* list : {"get_active_alarms", "get_logged_events"})
        peer.on(list, [](const auto& session, std::uint32_t id, const json&) {
            for (int i = 0; i < 50; ++i)
                session->notify("database_changed", {{"reason", i}});
            session->reply_list(id, {});
        });
    auto answer = std::async(std::launch::async, [&] {
        const HRESULT result = call("get_logged_events");
        return std::pair(result, sink.count());
    });
    gate.wait_for_arrivals(1);
    // Other answers are read meanwhile. The wait is longer than the deadline of a ping: its answers are read, too.
    peer.answer("class_name", {{"text", "Doors"}});
    EXPECT_EQ(call("class_name"), S_OK);
    EXPECT_EQ(answer.wait_for(milliseconds(700)), std::future_status::timeout);
    EXPECT_TRUE(connected());
    gate.open();
    EXPECT_EQ(answer.get(), std::pair(S_OK, std::size_t{50}));
    for (std::size_t round = 2; round <= 20; ++round) {
        ASSERT_EQ(call("get_active_alarms"), S_OK);
        EXPECT_EQ(sink.count(), 50 * round);
    }
}

TEST_F(CallbackTest, WaitingListEndsWithTheLink) {
    for (const bool lose : {false, true}) {
        RecordingSink blocked;
        Gate closed;
        blocked.inside = [&](std::int32_t, IDispatch*) { closed.wait(); };
        std::uint32_t number = 0;
        ASSERT_EQ(point()->Advise(&blocked, &number), S_OK);
        ASSERT_EQ(connect(), S_OK);
        notify_change(1);
        auto answer = std::async(std::launch::async, [&] { return settle(); });
        closed.wait_for_arrivals(1);
        EXPECT_EQ(answer.wait_for(milliseconds(50)), std::future_status::timeout);
        if (lose)
            peer.session()->drop();
        else
            EXPECT_EQ(logger->Disconnect(), S_OK); // does not wait for the callback
        EXPECT_EQ(answer.get(), not_connected);
        EXPECT_EQ(blocked.count(), 0u);
        closed.open();
        EXPECT_EQ(point()->Unadvise(number), S_OK);
    }
}

TEST_F(CallbackTest, FullQueueDropsTheLink) {
    constexpr int bound = 65536;
    connect_waiting();
    notify_change(0);
    gate.wait_for_arrivals(1);
    const auto session = peer.session();
    for (int i = 1; i <= bound; ++i)
        session->notify("database_changed", {{"reason", i}});
    // The answer comes behind all of them.
    peer.answer("clear_logged_events", {});
    ASSERT_EQ(logger->ClearLoggedEvents(), S_OK);
    EXPECT_TRUE(connected());
    session->notify("database_changed", {{"reason", 0}});
    EXPECT_TRUE(eventually([&] { return !connected(); }));
    gate.open();
    ASSERT_EQ(unadvise(), S_OK);
    EXPECT_EQ(sink.count(), 1u); // the queue is dropped with the link
}

TEST_F(CallbackTest, UnadviseWaitsForItsOwnCall) {
    connect_waiting();
    RecordingSink other;
    std::uint32_t other_cookie = 0;
    ASSERT_EQ(point()->Advise(&other, &other_cookie), S_OK);
    notify_change(1);
    gate.wait_for_arrivals(1);
    EXPECT_EQ(point()->Unadvise(other_cookie), S_OK); // does not wait for the first sink
    auto done = std::async(std::launch::async, [&] {
        const HRESULT result = unadvise();
        return std::pair(result, sink.count());
    });
    EXPECT_EQ(done.wait_for(milliseconds(100)), std::future_status::timeout);
    gate.open();
    EXPECT_EQ(done.get(), std::pair(S_OK, std::size_t{1}));
    notify_change(2);
    EXPECT_EQ(settle(), S_OK);
    EXPECT_EQ(sink.count(), 1u);
    EXPECT_EQ(other.count(), 0u);
    for (const std::uint32_t unknown : {other_cookie, 0xFEFEFEFEu, 0u})
        EXPECT_TRUE(failed(point()->Unadvise(unknown))) << unknown;
}

TEST_F(CallbackTest, NoCallAfterARacingUnadvise) {
    ASSERT_EQ(connect(), S_OK);
    const auto session = peer.session();
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        for (int i = 0; !stop; ++i) {
            session->notify("database_changed", {{"reason", i}});
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    for (int round = 0; round < 100; ++round) {
        // On the heap and destroyed at once: the sanitizers see a call after Unadvise.
        const auto short_lived = std::make_unique<RecordingSink>();
        std::uint32_t number = 0;
        EXPECT_EQ(point()->Advise(short_lived.get(), &number), S_OK);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
        EXPECT_EQ(point()->Unadvise(number), S_OK);
    }
    stop = true;
    flood.join();
    EXPECT_TRUE(connected());
}

TEST_F(CallbackTest, LoggerMayEndInsideACallback) {
    std::atomic<bool> gone{false};
    sink.inside = [&](std::int32_t, IDispatch*) {
        unadvise();
        logger.release();
        gone = true;
    };
    advise();
    ASSERT_EQ(connect(), S_OK);
    notify_change(1);
    ASSERT_TRUE(eventually([&] { return gone.load(); }));
    EXPECT_TRUE(eventually([&] { return peer.open_sessions() == 0; }));
    ASSERT_TRUE(eventually([&] { return sink.count() == 1; }));
    SetUp(); // the next logger joins the old thread
}
