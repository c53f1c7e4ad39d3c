#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "targets/logging_functions.h"
#include "tests/fakes/call_plan.h"

namespace fakes {

using namespace ZoHmiSrv;

/// A value with its type: "text", 5 (Int), 5.0 (Double), true (Bool), <0a0b> (Binary), {name=1 other=2.0}. A DateTime
/// is @5s (whole seconds since 1970), @5ns, @0 or, within a minute of the present, @now.
std::string describe(const Value& value);
/// All but the parameters: "NAME@domain id=1 severity=2 state=0 confirmation=3 raised=@1s cleared=@0 confirmed=@0".
std::string describe(const Alarm& alarm);
std::string describe(const Message& message);

/// The receiver of a target's reports. Each call stands in `call_log()`:
///   log_message NAME "T" 5 @1s          (the parameters "0", "1", ... without their names)
///   log_message NAME severity=3 "T"     (a severity other than -1; raised=... unless it is the present)
///   log_exception T 0x80004005          (CAtlException; the text of any other exception)
///   log_unknown_exception T             on_message @1s             on_alarm_raised 5 @1s
///   on_alarm_changed 5 removed|kept     forget_event @1s           preload_translations
/// `plan()` changes calls, also by "log_message NAME". [any thread]
class FakeListener : public ZoHmiEventLogger::ILoggingFunctions {
public:
    virtual ~FakeListener() = default;

    /// Runs inside every call, on its thread, with the call's line. Set it before the calls begin.
    void set_probe(std::function<void(const std::string&)> probe) { probe_ = std::move(probe); }
    [[nodiscard]] CallPlan& plan() { return plan_; }
    bool preload = false; ///< the answer of `preload_translations`

    // The arguments of on_message, of on_alarm_raised and on_alarm_changed, and of forget_event. Read them while no
    // other thread calls.
    std::vector<Message> messages;
    std::vector<Alarm> alarms;
    std::vector<Event> forgotten;

    void log_message(Message message) override;
    void log_exception(const std::string& target_name, const std::exception& exception) override;
    void log_unknown_exception(const std::string& target_name) override;
    void on_message(Message message) override;
    void on_alarm_raised(const Alarm& alarm) override;
    void on_alarm_changed(const Alarm& alarm, bool removed) override;
    void forget_event(const Event& event) override;
    bool preload_translations() override;

private:
    template <class T>
    void keep(std::vector<T>& kept, T argument) {
        const std::lock_guard lock(mutex_);
        kept.push_back(std::move(argument));
    }
    void enter(const char* call, const std::string& about = {}, const char* plan_detail = nullptr);

    CallPlan plan_;
    std::function<void(const std::string&)> probe_;
    std::mutex mutex_;
};

} // namespace fakes
