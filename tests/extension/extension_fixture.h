#pragma once

#include "extension/host/value.h"
#include "extension/zo_hmi_event_logger.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_device_client.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/support/captured_syslog.h"
#include "tests/test_headers.h"

#include <initializer_list>

using Texts = std::vector<std::string>;

ZoHmiSrv::Context context_of(const char* domain);
ZoHmiSrv::Value target_entry(const char* address, bool enabled);

/// The calls of several steps, one after the other.
Texts in_order(std::initializer_list<Texts> steps);
/// The calls that make a target whose logger has the name.
Texts made(const std::string& logger);
/// The calls of a target that connects and imports.
Texts connected(const std::string& logger, const std::string& target);
/// The calls of a target that is destroyed.
Texts destroyed(const std::string& logger);
inline const Texts reset_calls = {"host.send_message RESET_TEMPORARY_EVENTS", "host.reset_temporary_events"};

/// An extension with fakes around it. During every host call another thread lists all events. It blocks when the thread
/// of the call has locked the target table or the store of a target.
class ExtensionTest : public testing::Test {
protected:
    ExtensionTest();
    ~ExtensionTest() override;

    /// Configures an enabled target and returns its logger, which has the same name. Call it in the order of names.
    fakes::LoggerPtr add_target(const char* name, const char* address = "5.9.9.9.1.1");
    /// Stores an entry under TARGET_SYSTEMS; Null removes it.
    void set_entry(const std::string& name, const ZoHmiSrv::Value& entry);
    void set_config(const char* key, const ZoHmiSrv::Value& value);

    void make_extension();
    /// Runs `init` with the domain "HMI".
    ZoHmiSrv::ErrorValue init();
    /// Connects the targets but starts no tick, so that only the test runs ticks. The proxy of a last target "~",
    /// removed afterwards, cannot be created: `init` then fails but keeps the other targets.
    void start_without_ticks();
    /// Runs a tick with the domain "tick".
    void tick(ZoHmiSrv::TimerError error = ZoHmiSrv::TimerError::none) {
        extension->on_timer(error, context_of("tick"));
    }
    ZoHmiSrv::ErrorValue change(const char* name);
    /// Shuts down with the domain "shutdown".
    void shut_down();
    /// Destroys the extension without a shutdown.
    void destroy();

    /// Returns the server's list; Null when the extension does not change it.
    ZoHmiSrv::Value listed();
    /// Returns and removes the calls, without reads of events and of connection states.
    static Texts take_calls(std::string_view prefix = {});

    /// While the host handles `call`, `logger` raises an alarm on a callback thread. Runs `change`, and asserts that
    /// the server hears of the alarm, but only after the reset. Returns the number of events listed inside the reset.
    std::size_t raise_before_reset(const char* call, unsigned nth, const fakes::LoggerPtr& logger,
                                   const std::function<void()>& change);

    fakes::FakeHost host;
    ZoHmiSrv::Value config; ///< in `host` after set_entry and set_config
    std::unique_ptr<ZoHmiEventLogger::ZoHmiEventLogger> extension;

private:
    void probe(std::string_view call);

    std::atomic<bool> alive_ = false;
};
