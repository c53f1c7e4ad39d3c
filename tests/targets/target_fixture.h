#pragma once

#include "extension/host/event.h"
#include "extension/host/value.h"
#include "targets/target_system.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_listener.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/support/eventually.h"
#include "tests/test_headers.h"

namespace ZoHmiEventLogger {

// Private state that tests look at.
struct TargetSystemTestAccess {
    // Free, or free once its owner had time to release it.
    static bool is_free(std::mutex& mutex) {
        return zo_test::eventually([&mutex] { return is_free_now(mutex); }, std::chrono::seconds(30));
    }
    static bool is_free_now(std::mutex& mutex) {
        const bool free = mutex.try_lock();
        if (free) mutex.unlock();
        return free;
    }
    static std::mutex& event_mutex(TargetSystem& target) { return target.event_mutex_.inner(); }
    static std::mutex& callback_mutex(TargetSystem& target) { return target.callbacks_.mutex()->inner(); }
    static std::mutex& connection_mutex(TargetSystem& target) { return target.connection_.mutex().inner(); }
    static SavedAlarmIds& saved_alarm_ids(TargetSystem& target) { return target.saved_alarm_ids_; }
    static std::uint32_t event_cookie(TargetSystem& target) { return target.event_cookie; }
};

} // namespace ZoHmiEventLogger

using Access = ZoHmiEventLogger::TargetSystemTestAccess;
using ZoHmiEventLogger::LockHolder;
using ZoHmiEventLogger::TargetSystem;
using Lines = std::vector<std::string>;

// One target "T" over a fake logger. Every call of the listener finds the target's event mutex free.
class TargetTest : public testing::Test {
protected:
    ~TargetTest() override {
        logger->plan->clear(); // hooks may use locals of the test
        listener.plan().clear();
        release();
        logger = {};
        EXPECT_EQ(library().reset(), 0) << "references to the proxy's objects are lost";
    }

    static fakes::FakeProxyLibrary& library() { return fakes::FakeProxyLibrary::instance(); }

    std::shared_ptr<TargetSystem> make(std::uint32_t limit = 100,
                                       ZoHmiSrv::Timespan timeout = ZoHmiSrv::Timespan(5'000'000'000L)) {
        listener.set_probe([this](const std::string& line) {
            if (!probed || HasFailure()) return; // one long wait for a lock is enough
            EXPECT_TRUE(Access::is_free(Access::event_mutex(*probed))) << "event mutex locked in " << line;
        });
        target = std::shared_ptr<TargetSystem>(
            new TargetSystem("dom", &listener, "T", "5.1.2.3.1.1", timeout, limit, stopping, next_id),
            &TargetSystem::destroy);
        probed = target.get();
        return target;
    }
    // The logger of the next target.
    void fresh_logger() {
        library().next_loggers.clear();
        logger = library().expect_logger();
    }
    void release() {
        target.reset();
        probed = nullptr;
    }
    // Connects and releases the callbacks.
    bool connect() {
        LockHolder holder;
        return target->connect(holder);
    }
    bool poll() {
        LockHolder holder;
        return target->poll(holder);
    }
    void make_connected(std::uint32_t limit = 100) {
        make(limit);
        ASSERT_TRUE(connect());
        poll();
        log();
    }

    // With the active alarm 1, raised at 1 s, which the logger has as 1 too.
    void connect_with_alarm() {
        logger->active = {alarm(1, 1)};
        make_connected();
    }

    void lose_link() { logger->connected = VARIANT_FALSE; }
    void refuse(HRESULT code = E_FAIL) { logger->plan->answer("ConnectWithSettings", code); }

    // All locks are free.
    void expect_idle() {
        for (std::mutex* mutex :
             {&Access::connection_mutex(*target), &Access::callback_mutex(*target), &Access::event_mutex(*target)})
            EXPECT_TRUE(Access::is_free(*mutex));
    }

    // The log since the last call.
    static Lines log() {
        Lines lines = fakes::call_log().texts();
        fakes::call_log().clear();
        return lines;
    }
    // The same, without the calls of the proxy.
    static Lines reports() {
        Lines lines = log();
        std::erase_if(lines, [](const std::string& line) { return !is_report(line); });
        return lines;
    }
    static bool is_report(const std::string& line) {
        return line.starts_with("log_") || line.starts_with("on_") || line.starts_with("forget_event");
    }

    std::vector<ZoHmiSrv::Event> listed() {
        ZoHmiSrv::Value list;
        target->list_events(list);
        std::vector<ZoHmiSrv::Event> events;
        for (std::size_t i = 0; i < list.size(); ++i)
            events.push_back(std::as_const(list)[i].get_event());
        return events;
    }
    // The stored events, oldest first: "id@1s" for alarms, "message@1s", "empty" for neither.
    Lines stored() {
        Lines lines;
        for (const ZoHmiSrv::Event& event : listed()) {
            const ZoHmiSrv::Value& payload = event.payload();
            const std::string time = fakes::describe(ZoHmiSrv::Value(event.time_received()));
            if (payload.type() == ZoHmiSrv::ValueType::Alarm)
                lines.push_back(std::to_string(payload.get_alarm().id()) + time);
            else
                lines.push_back(payload.type() == ZoHmiSrv::ValueType::Message ? "message" + time : "empty");
        }
        return lines;
    }
    // The stored alarm of that id; an empty one when there is none.
    ZoHmiSrv::Alarm stored_alarm(int id) {
        for (const ZoHmiSrv::Event& event : listed()) {
            const ZoHmiSrv::Value& payload = event.payload();
            if (payload.type() == ZoHmiSrv::ValueType::Alarm && payload.get_alarm().id() == id)
                return payload.get_alarm();
        }
        return {};
    }

    static ZoHmiSrv::Alarm with_id(int id) {
        ZoHmiSrv::Alarm alarm;
        alarm.set_id(id);
        return alarm;
    }

    fakes::AlarmPtr alarm(std::int64_t seconds, std::optional<std::uint32_t> unique_id = {}) {
        return logger->make_alarm({.raised = fakes::file_time(seconds), .unique_id = unique_id});
    }
    fakes::MessagePtr message(std::int64_t seconds, std::optional<std::uint32_t> unique_id = {}) {
        return logger->make_message({.raised = fakes::file_time(seconds), .unique_id = unique_id});
    }
    // An entry of the log: an alarm (cleared a second later) or a message.
    fakes::LoggedEventPtr logged(std::int32_t type, std::int64_t seconds, std::optional<std::uint32_t> unique_id = {}) {
        return logger->make_logged_event({.type = type,
                                          .raised = fakes::file_time(seconds),
                                          .cleared = fakes::file_time(seconds + 1),
                                          .unique_id = unique_id});
    }

    static constexpr std::int32_t is_message = ZoEventLoggerFdxProxyLib::EventTypeMessage;
    static constexpr std::int32_t is_alarm = ZoEventLoggerFdxProxyLib::EventTypeAlarm;

    fakes::FakeListener listener;
    fakes::LoggerPtr logger = library().expect_logger();
    const std::shared_ptr<std::atomic<bool>> stopping = std::make_shared<std::atomic<bool>>(false);
    const std::shared_ptr<std::atomic<std::uint32_t>> next_id = std::make_shared<std::atomic<std::uint32_t>>(1);
    std::shared_ptr<TargetSystem> target;
    TargetSystem* probed = nullptr; // outlives `target` by its destructor
};
