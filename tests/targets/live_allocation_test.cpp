#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "targets/logging_functions.h"
#include "targets/target_system.h"
#include "tests/fakes/plain_proxy.h"
#include "tests/server_api/allocations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace {

using ZoHmiEventLogger::TargetSystem;

class EmptyListener : public ZoHmiEventLogger::ILoggingFunctions {
public:
    void log_message(ZoHmiSrv::Message) override {}
    void log_exception(const std::string&, const std::exception&) override {}
    void log_unknown_exception(const std::string&) override {}
    void on_message(ZoHmiSrv::Message) override { ++events; }
    void on_alarm_raised(const ZoHmiSrv::Alarm&) override { ++events; }
    void on_alarm_changed(const ZoHmiSrv::Alarm&, bool) override { ++events; }
    void forget_event(const ZoHmiSrv::Event&) override { ++forgotten; }
    bool preload_translations() override { return false; }

    int events = 0;
    int forgotten = 0;
};

// How many allocations a call of the sink makes at most, in a store that is full. Who must raise a number here makes
// the road of every alarm slower.
TEST(LiveAllocations, AreAsFewAsCounted) {
    constexpr int limit = 50;
    EmptyListener listener;
    plain::prepare_loggers(1, {});
    TargetSystem target("domain", &listener, "T", "5.1.2.3.1.1", ZoHmiSrv::Timespan(5'000'000'000), limit,
                        std::make_shared<std::atomic<bool>>(false), std::make_shared<std::atomic<std::uint32_t>>(1));
    {
        ZoHmiEventLogger::LockHolder holder;
        target.connect(holder);
    }
    const plain::LoggerPtr logger = plain::latest_logger();
    std::uint32_t number = 0;
    const auto fields = [&number] {
        ++number;
        return plain::EventFields{.raised = number * 1'000'000'000L, .unique_id = number};
    };
    const auto most = [](auto&& call) {
        std::size_t found = 0;
        for (std::size_t i = 0; i < limit; ++i) {
            const std::size_t before = allocations::count();
            call(i);
            found = std::max(found, allocations::count() - before);
        }
        return found;
    };
    std::vector<plain::AlarmPtr> alarms(limit);
    std::vector<plain::MessagePtr> messages(limit);
    const auto make = [&](auto& events) {
        for (auto& event : events)
            event = new std::remove_reference_t<decltype(*event)>(fields());
    };
    const auto raise = [&](std::size_t i) { ASSERT_EQ(logger->raise(alarms[i]), S_OK); };
    const auto clear = [&](std::size_t i) { ASSERT_EQ(logger->clear(alarms[i], VARIANT_TRUE), S_OK); };
    const auto send = [&](std::size_t i) { ASSERT_EQ(logger->send(messages[i]), S_OK); };

    make(alarms);
    most(raise);
    most(clear);
    make(alarms);
    EXPECT_EQ(listener.forgotten, 0);
    EXPECT_LE(most(raise), 18U) << "an alarm that is raised and pushes another one out";
    EXPECT_EQ(listener.forgotten, limit);
    EXPECT_LE(most(raise), 17U) << "an alarm that is raised again";
    EXPECT_LE(most(clear), 3U) << "an alarm that is cleared and stays as history";
    make(messages);
    EXPECT_LE(most(send), 15U) << "a message that pushes an alarm out";
    EXPECT_EQ(listener.forgotten, 2 * limit);
    EXPECT_EQ(listener.events, 6 * limit);
    target.disconnect();
}

} // namespace
