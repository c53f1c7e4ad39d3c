#include "tests/extension/extension_fixture.h"

#include "extension/ext_interface.h"
#include "tests/fakes/callback_thread.h"
#include "tests/server_api/allocations.h"
#include "tests/server_api/values.h"
#include "tests/support/eventually.h"

#include <future>
#include <stdexcept>

using namespace ZoHmiSrv;
using fakes::call_log;
using fakes::FakeProxyLibrary;

namespace {

IZoHmiSrvExt* const untouched = reinterpret_cast<IZoHmiSrvExt*>(0x1000);

TEST(ExtInterface, StoresExtensionAndVersion) {
    fakes::FakeHost host;
    fakes::call_log().clear();
    IZoHmiSrvExt* out = untouched;
    double version = -1.0;
    EXPECT_EQ(ext_interface(&host, nullptr, &version), 0);
    EXPECT_EQ(ext_interface(&host, &out, nullptr), 0);
    EXPECT_EQ(ext_interface(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(out, untouched);
    EXPECT_EQ(version, -1.0);
    EXPECT_TRUE(take_syslog_lines().empty()) << "an extension was made and destroyed";
    for (IZoHmiSrvExtHost* given : {static_cast<IZoHmiSrvExtHost*>(&host), static_cast<IZoHmiSrvExtHost*>(nullptr)}) {
        EXPECT_EQ(ext_interface(given, &out, &version), 0);
        const std::unique_ptr<IZoHmiSrvExt> extension(out); // the server deletes it through this pointer
        ASSERT_NE(dynamic_cast<ZoHmiEventLogger::ZoHmiEventLogger*>(out), nullptr);
        EXPECT_EQ(version, 22.0);
    }
    EXPECT_TRUE(fakes::call_log().texts().empty());
    EXPECT_EQ(take_syslog_lines().size(), 2u); // neither was shut down
}

TEST(ExtInterface, OutOfMemoryStoresNothing) {
    fakes::FakeHost host;
    std::size_t failures = 0;
    for (bool failed = true; failed; ++failures) {
        ASSERT_LT(failures, 1000u);
        IZoHmiSrvExt* out = untouched;
        double version = -1.0;
        allocations::fail_after(failures);
        EXPECT_EQ(ext_interface(&host, &out, &version), 0);
        failed = allocations::stop_failing();
        if (!failed) {
            delete out;
            break;
        }
        EXPECT_EQ(out, untouched) << failures;
        EXPECT_EQ(version, -1.0) << failures;
    }
    EXPECT_GT(failures, 5u);
    take_syslog_lines();
}

class LifeCycle : public ExtensionTest {
protected:
    /// Destroys the extension. Returns true if its pool was still running, by the line in the system log.
    bool destroyed_while_running() {
        destroy();
        const auto lines = take_syslog_lines();
        EXPECT_LE(lines.size(), 1u);
        for (const auto& line : lines)
            EXPECT_EQ(line, std::pair(3, std::string("Unexpected shutdown of thread pool.")));
        return !lines.empty();
    }
    /// Returns false once the extension is stopping: it then ignores changes of configuration.
    bool applies_changes() {
        set_entry("later", target_entry("5.8.8.8.1.1", true));
        call_log().clear();
        EXPECT_EQ(change("later"), HMI_SUCCESS);
        return call_log().count("host.reset_temporary_events") == 1;
    }
    std::shared_ptr<fakes::CallPlan> library() { return FakeProxyLibrary::instance().plan; }
};

TEST_F(LifeCycle, InitRunsItsStepsInOrder) {
    const auto a = add_target("a", "0.0.0.0.1.1");
    set_entry("b", target_entry("127.0.0.1.1.1", false));
    FakeProxyLibrary::instance().expect_logger("b");
    // An incomplete entry makes a target too, which stays disabled.
    set_entry("c", Value().set_type(ValueType::Map));
    config["TARGET_SYSTEMS"]["c"].insert("ADDRESS", "5.7.7.7.1.1");
    set_config("PRELOAD_TRANSLATIONS", true);
    FakeProxyLibrary::instance().expect_logger("c");

    ASSERT_EQ(init(), HMI_SUCCESS);
    EXPECT_STREQ(extension->extension_info().name(), "");
    EXPECT_EQ(call_log().texts(),
              in_order({{"host.set_display_name Zorvane EventLogger", "host.get_config_value",
                         "host.register_listener AlarmProvider", "host.register_listener EventLocalization",
                         "host.register_listener Shutdown", "host.register_listener Request",
                         "host.get_config_value TARGET_SYSTEMS", "host.get_config_value LIMIT_EVENT_COUNT",
                         "FdxPortOpenEx() = 1", "FdxGetLocalAddressEx(1)", "FdxPortCloseEx(1)"},
                        made("a"),
                        connected("a", "a"),
                        made("b"),
                        made("c"),
                        {"host.register_config_listener"}}));
    EXPECT_EQ(a->record().addresses, (Texts{"5.1.2.3.1.1"}));
    EXPECT_EQ(a->record().preloads, std::vector<VARIANT_BOOL>{VARIANT_TRUE});
    for (const char* call : {"set_display_name", "get_config_value", "register_listener", "register_config_listener"})
        EXPECT_STREQ(host.context_of(call).domain(), "HMI") << call;

    EXPECT_EQ(values::show(host.config_filter()), "[struct {flags: Int(48), paths: ['TARGET_SYSTEMS::*']}]");
}

TEST_F(LifeCycle, EachInitFailureLeavesItsState) {
    const auto host_throws = [this](const char* call) { return [=, this] { host.plan().throw_error(call, "no"); }; };
    Value with_number = config;
    with_number.insert_or_update("TIMEOUT", 5000.0);
    const struct {
        const char* name;
        std::function<void()> arrange;
        ErrorValue result = HMI_E_INIT;
        bool threads_run = false, stopping = true;
        std::size_t listeners = 0;
        bool first_target_stays = false;
    } cases[] = {
        {"no configuration", [&] { host.set_config(Value()); }, HMI_E_INVALID_PARAMETER},
        {"TIMEOUT a number", [&] { host.set_config(with_number); }, HMI_E_INIT, true, false},
        {"proxy refused", [&] { library()->answer("CreateInstance.Logger", E_FAIL, 2); }, HMI_E_INIT, false, false, 4,
         true},
        {"listener refused", host_throws("register_listener Shutdown")},
        {"limit unreadable", [&] { host.plan().throw_foreign("get_config_value LIMIT_EVENT_COUNT"); }},
        {"target throws", [&] { FakeProxyLibrary::instance().next_loggers[1]->has_timeout = false; }},
        {"config listener refused", host_throws("register_config_listener")},
    };
    for (const auto& failure : cases) {
        SCOPED_TRACE(failure.name);
        const auto a = add_target("a");
        add_target("b");
        failure.arrange();
        call_log().clear();
        EXPECT_EQ(init(), failure.result);
        EXPECT_EQ(host.listeners().size(), failure.listeners);
        if (failure.stopping && failure.result == HMI_E_INIT) {
            EXPECT_EQ(take_calls("host.unregister"),
                      (Texts{"host.unregister_listener AlarmProvider", "host.unregister_listener EventLocalization",
                             "host.unregister_listener Shutdown", "host.unregister_listener Request"}));
        }
        // A table with targets makes the list a Vector.
        EXPECT_EQ(listed().type(), failure.first_target_stays ? ValueType::Vector : ValueType::Null);
        EXPECT_EQ(a->connected == VARIANT_TRUE, failure.first_target_stays);
        host.plan().clear();
        library()->clear();
        EXPECT_NE(applies_changes(), failure.stopping);
        for (IZoHmiSrvListener* left : host.listeners())
            host.unregister_listener(Context(), left);
        EXPECT_EQ(destroyed_while_running(), failure.threads_run);
        host.set_config(config);
        FakeProxyLibrary::instance().reset();
    }
}

TEST_F(LifeCycle, ShutdownDuringInitLeavesNothing) {
    for (const char* call :
         {"register_listener Request", "get_config_value PRELOAD_TRANSLATIONS", "register_config_listener"}) {
        SCOPED_TRACE(call);
        const auto a = add_target("a");
        host.plan().run(call, 1, [this] { EXPECT_EQ(extension->on_shutdown(Context()), 0); });
        init();
        EXPECT_TRUE(host.listeners().empty());
        EXPECT_EQ(listed().type(), ValueType::Null);
        EXPECT_EQ(a->sink(), nullptr);
        EXPECT_FALSE(destroyed_while_running());
        host.plan().clear();
    }
}

TEST_F(LifeCycle, FirstConnectExceptionIsReported) {
    const auto a = add_target("a");
    const auto b = add_target("b");
    host.plan().throw_foreign("get_config_value PRELOAD_TRANSLATIONS", 1);
    EXPECT_EQ(init(), HMI_SUCCESS);
    EXPECT_EQ(take_calls("host.send_message ZORVANE"), Texts{"host.send_message ZORVANE_EVENTLOGGER_ERROR a"});
    EXPECT_EQ(a->record().addresses.size(), 0u);
    EXPECT_EQ(b->connected, VARIANT_TRUE);
}

TEST_F(LifeCycle, ShutdownRunsItsStepsInOrder) {
    const auto b = add_target("b");
    const auto a = add_target("a");
    std::swap(FakeProxyLibrary::instance().next_loggers[0], FakeProxyLibrary::instance().next_loggers[1]);
    add_target("c");
    // A tick that blocks in the second target: the shutdown must wait for the pool before it destroys any target, also
    // the third, which the tick does not use yet.
    const auto block = b->plan->block("IsConnected", 1);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(block->wait_for_arrivals());
    call_log().clear();
    fakes::CallbackThread callbacks;
    const auto alarm = a->make_alarm();
    // Exceptions of the server do not stop it, and messages neither.
    host.plan().run("unregister_listener AlarmProvider", [&] {
        callbacks.post([&] { a->fire_raised(alarm); }); // stopping already: not forwarded
        callbacks.drain();
    });
    host.plan().throw_error("unregister_listener AlarmProvider", "no");
    host.plan().throw_foreign("unregister_listener Config");
    host.plan().throw_foreign("send_message");
    auto ended = std::async(std::launch::async, [&] { return extension->on_shutdown(context_of("shutdown")); });
    EXPECT_TRUE(call_log().wait_for("host.unregister_listener Config", 1, std::chrono::seconds(3)));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(take_calls(),
              (Texts{"host.unregister_listener AlarmProvider", "host.send_message ZORVANE_EVENTLOGGER_ERROR",
                     "host.unregister_listener EventLocalization", "host.unregister_listener Shutdown",
                     "host.unregister_listener Request", "host.unregister_listener Config",
                     "host.send_message ZORVANE_EVENTLOGGER_ERROR"}));
    EXPECT_STREQ(host.context_of("unregister_listener").domain(), "shutdown");
    block->open();
    EXPECT_EQ(ended.get(), 0);
    EXPECT_EQ(take_calls(), in_order({destroyed("a"), destroyed("b"), destroyed("c")}));
    host.plan().clear();
    EXPECT_EQ(listed().type(), ValueType::Null);
    EXPECT_FALSE(applies_changes());

    EXPECT_EQ(extension->on_shutdown(Context()), 0); // a second one changes nothing
    EXPECT_FALSE(destroyed_while_running());
    EXPECT_EQ(host.alarms(), 0u);
}

TEST_F(LifeCycle, DestructionEndsTheTickEarly) {
    const auto a = add_target("a");
    const auto b = add_target("b");
    const auto block = a->plan->block("IsConnected", 1);
    ASSERT_EQ(init(), HMI_SUCCESS);
    ASSERT_TRUE(block->wait_for_arrivals());
    take_syslog_lines();
    auto ended = std::async(std::launch::async, [this] { destroy(); });
    // The line of the pool appears once the destructor has begun.
    EXPECT_TRUE(zo_test::eventually([] { return !take_syslog_lines().empty(); }));
    block->open();
    ended.get();
    EXPECT_EQ(b->plan->count("IsConnected"), 0u);
}

TEST_F(LifeCycle, DestructorStopsThreadsFirst) {
    const auto b = add_target("b");
    const auto a = add_target("a");
    std::swap(FakeProxyLibrary::instance().next_loggers[0], FakeProxyLibrary::instance().next_loggers[1]);
    // The reports of a target that is destroyed still have the domain of the extension.
    a->plan->answer("Disconnect", E_FAIL);
    make_extension();
    const std::string domain(100, 'd');
    ASSERT_EQ(extension->init(context_of(domain.c_str())).result(), HMI_SUCCESS);
    call_log().clear();
    EXPECT_TRUE(destroyed_while_running());
    Texts expected = in_order({destroyed("a"), destroyed("b")});
    expected.insert(expected.begin() + 3, "host.send_message ZORVANE_EVENTLOGGER_ERROR a");
    EXPECT_EQ(take_calls(), expected);
    EXPECT_EQ(host.messages("ZORVANE_EVENTLOGGER_ERROR").at(0).domain(), domain);
    EXPECT_EQ(host.context_of("send_message").domain(), domain);
    EXPECT_EQ(host.listeners().size(), 5u);
}

} // namespace
