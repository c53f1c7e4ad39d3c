#include "tests/extension/extension_fixture.h"

#include "binding/error.h"

#include <stdexcept>

using namespace ZoHmiSrv;
using fakes::call_log;
using fakes::FakeProxyLibrary;

namespace {

class Configuration : public ExtensionTest {
protected:
    static std::size_t created() { return FakeProxyLibrary::instance().plan->count("CreateInstance.Logger"); }
    static fakes::LoggerPtr expect(const char* name) { return FakeProxyLibrary::instance().expect_logger(name); }
    static std::size_t resets() { return call_log().count("host.reset_temporary_events"); }
};

TEST_F(Configuration, ForeignPathsAndEntriesAreIgnored) {
    const auto a = add_target("a");
    start_without_ticks();
    set_entry("text", "5.1.1.1.1.1");
    for (const char* missing : {"ADDRESS", "ENABLED"}) {
        Value entry = target_entry("x", true);
        entry.remove(entry.find(missing));
        set_entry(std::string("without ") + missing, entry);
    }
    const auto before = created();

    struct {
        const char* path;
        ErrorValue on_change, on_delete;
    } const cases[] = {
        {nullptr, HMI_SUCCESS, HMI_SUCCESS},
        {"TARGET_SYSTEMS", HMI_SUCCESS, HMI_SUCCESS},
        {"TARGET_SYSTEMS::a::ENABLED", HMI_SUCCESS, HMI_SUCCESS},
        {"OTHER::a", HMI_E_INVALID_SYMBOL, HMI_E_INVALID_SYMBOL},
        {"target_systems::a", HMI_E_INVALID_SYMBOL, HMI_E_INVALID_SYMBOL},
        {"TARGET_SYSTEMS::missing", HMI_E_INVALID_PARAMETER, HMI_SUCCESS},
        {"TARGET_SYSTEMS::text", HMI_E_INVALID_PARAMETER, HMI_SUCCESS},
        {"TARGET_SYSTEMS::without ADDRESS", HMI_E_INVALID_PARAMETER, HMI_SUCCESS},
        {"TARGET_SYSTEMS::without ENABLED", HMI_E_INVALID_PARAMETER, HMI_SUCCESS},
    };
    for (const auto& [path, on_change, on_delete] : cases) {
        SCOPED_TRACE(path ? path : "(null)");
        EXPECT_EQ(extension->on_config_change(Context(), path).result(), on_change);
        EXPECT_EQ(extension->on_config_delete(Context(), path).result(), on_delete);
    }
    EXPECT_EQ(created(), before);
    EXPECT_EQ(resets(), 0u);
    EXPECT_EQ(a->connected, VARIANT_TRUE);
}

TEST_F(Configuration, ReplacementRunsItsStepsInOrder) {
    const auto old = add_target("a");
    start_without_ticks();
    // A Map is as good as a Struct.
    set_entry("a", target_entry("5.8.8.8.1.1", true).set_type(ValueType::Map));
    set_config("LIMIT_EVENT_COUNT", 7.0);
    set_config("TIMEOUT", 2e9);
    const auto fresh = expect("fresh");
    EXPECT_EQ(change("a"), HMI_SUCCESS);
    EXPECT_EQ(take_calls(), in_order({{"host.get_config_value TARGET_SYSTEMS::a",
                                       "host.get_config_value LIMIT_EVENT_COUNT", "host.get_config_value TIMEOUT"},
                                      made("fresh"),
                                      destroyed("a"),
                                      connected("fresh", "a"),
                                      reset_calls}));
    // Only the entry and the reset use the context of the caller.
    for (const char* call : {"get_config_value TARGET_SYSTEMS::a", "reset_temporary_events"})
        EXPECT_STREQ(host.context_of(call).domain(), "caller") << call;
    for (const char* call : {"get_config_value LIMIT_EVENT_COUNT", "get_config_value TIMEOUT",
                             "get_config_value PRELOAD_TRANSLATIONS", "send_message"})
        EXPECT_STREQ(host.context_of(call).domain(), "HMI") << call;
    EXPECT_EQ(fresh->record().addresses, (Texts{"5.8.8.8.1.1"}));
    EXPECT_EQ(fresh->record().timeouts, std::vector<std::uint32_t>{2000u});
    EXPECT_EQ(fresh->record().history_counts, std::vector<std::uint32_t>{7u});
    EXPECT_EQ(old->record().timeouts, std::vector<std::uint32_t>{5000u});
}

TEST_F(Configuration, NewNetIdOrEnabledReplacesTarget) {
    const auto a = add_target("a", "0.0.0.0.1.1");
    start_without_ticks();
    struct {
        const char* step;
        const char* name;
        const char* address;
        bool enabled, replaced, connects;
    } const steps[] = {
        {"the same again", "a", "0.0.0.0.1.1", true, false, false},
        {"another text of the same net id", "a", "5.1.2.3.1.1", true, false, false},
        {"off", "a", "5.1.2.3.1.1", false, true, false},
        {"on", "a", "5.1.2.3.1.1", true, true, true},
        {"another address", "a", "5.1.2.3.1.10", true, true, true},
        {"new, but like no target", "n", "", false, false, false},
        {"new and off", "n", "5.1.1.1.1.1", false, true, false},
        {"new without an address", "m", "", true, true, true},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.step);
        const auto before = created();
        const auto fresh = expect("fresh");
        set_entry(step.name, target_entry(step.address, step.enabled));
        call_log().clear();
        EXPECT_EQ(change(step.name), HMI_SUCCESS);
        EXPECT_EQ(created() - before, step.replaced ? 1u : 0u);
        EXPECT_EQ(resets(), step.replaced ? 1u : 0u);
        EXPECT_EQ(fresh->connected == VARIANT_TRUE, step.connects);
        FakeProxyLibrary::instance().next_loggers.clear();
    }
    EXPECT_EQ(a->sink(), nullptr);
}

TEST_F(Configuration, NewTargetCallsBackAfterTheReset) {
    start_without_ticks();
    const auto a = add_target("a");
    const auto changed = [this] { EXPECT_EQ(change("a"), HMI_SUCCESS); };
    EXPECT_EQ(raise_before_reset("send_message RESET_TEMPORARY_EVENTS", 1, a, changed), 0u);
}

TEST_F(Configuration, UnreachableTargetStaysInTheTable) {
    start_without_ticks();
    const auto a = add_target("a");
    a->plan->answer("ConnectWithSettings", E_FAIL, 1);
    EXPECT_EQ(change("a"), HMI_SUCCESS);
    EXPECT_EQ(take_calls("host.send"),
              (Texts{"host.send_message TARGET_SYSTEM_CONNECT_FAILED a", "host.send_message RESET_TEMPORARY_EVENTS"}));
    tick();
    EXPECT_EQ(a->connected, VARIANT_TRUE);

    FakeProxyLibrary::instance().plan->answer("CreateInstance.Logger", E_FAIL, 1);
    set_entry("b", target_entry("5.2.2.2.1.1", true));
    take_calls();
    EXPECT_EQ(change("b"), HMI_SUCCESS);
    EXPECT_EQ(take_calls("host.send"),
              (Texts{"host.send_message CAN_NOT_CREATE_PROXY b", "host.send_message RESET_TEMPORARY_EVENTS"}));
    EXPECT_EQ(extension->on_config_delete(Context(), "TARGET_SYSTEMS::b").result(), HMI_SUCCESS);
    EXPECT_EQ(resets(), 1u); // it was there
}

TEST_F(Configuration, ExceptionReachesServerAndUnlocks) {
    start_without_ticks();
    const auto refused = add_target("a");
    refused->plan->answer("SetTimeout", E_FAIL);
    EXPECT_THROW(change("a"), ZoAtlCom::CAtlException);
    EXPECT_EQ(listed().type(), ValueType::Null); // nothing in the table
    EXPECT_EQ(refused->sink(), nullptr);

    const auto a = expect("a");
    host.plan().throw_error("get_config_value PRELOAD_TRANSLATIONS", "unreadable", 1);
    EXPECT_THROW(change("a"), std::runtime_error);
    EXPECT_EQ(resets(), 0u);
    EXPECT_EQ(listed().type(), ValueType::Vector);
    EXPECT_NE(a->sink(), nullptr);

    const auto again = expect("a"); // the first target is still disabled, and so differs
    EXPECT_EQ(change("a"), HMI_SUCCESS);
    EXPECT_EQ(again->connected, VARIANT_TRUE);
    EXPECT_EQ(a->sink(), nullptr);
}

TEST_F(Configuration, DeletedTargetGoesBeforeReset) {
    const auto a = add_target("a");
    start_without_ticks();
    EXPECT_EQ(extension->on_config_delete(context_of("caller"), "TARGET_SYSTEMS::a").result(), HMI_SUCCESS);
    EXPECT_EQ(take_calls(), in_order({destroyed("a"), reset_calls}));
    EXPECT_STREQ(host.context_of("reset_temporary_events").domain(), "caller");
    EXPECT_EQ(extension->on_config_delete(Context(), "TARGET_SYSTEMS::a").result(), HMI_SUCCESS);
    EXPECT_EQ(take_calls(), Texts());
}

TEST_F(Configuration, SerialChangesBlockNoListing) {
    start_without_ticks();
    const auto a = add_target("a");
    add_target("b");
    const auto block = a->plan->block("ConnectWithSettings");
    std::thread first([this] { change("a"); });
    ASSERT_TRUE(block->wait_for_arrivals());
    std::thread second([this] { change("b"); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(created(), 2u); // of init and of the first change
    EXPECT_EQ(listed().type(), ValueType::Vector);
    block->open();
    first.join();
    second.join();
    EXPECT_EQ(created(), 3u);
}

TEST_F(Configuration, LaterTimeoutAndLimitAreNotChecked) {
    // A number means nanoseconds; no number means 0. A negative limit is none.
    start_without_ticks();
    const std::tuple<Value, std::uint32_t, Value, std::uint32_t> cases[] = {
        {3e9, 3000, -1.0, 4'294'967'295}, {"soon", 0, 1e300, 2'147'483'647}, {Value(), 0, Value(), 0}};
    int round = 0;
    for (const auto& [timeout, milliseconds, limit, count] : cases) {
        set_config("TIMEOUT", timeout);
        set_config("LIMIT_EVENT_COUNT", limit);
        const auto b = expect("b");
        set_entry("b", target_entry(std::to_string(++round).c_str(), true));
        EXPECT_EQ(change("b"), HMI_SUCCESS);
        EXPECT_EQ(b->record().timeouts, std::vector{milliseconds});
        EXPECT_EQ(b->record().history_counts, std::vector{count});
    }
}

TEST_F(Configuration, LocalNetIdIsFetchedUntilKnown) {
    const auto a = add_target("a", "0.0.0.0.1.1");
    fakes::device_client().set_local_result(0x745);
    start_without_ticks();
    EXPECT_EQ(a->record().addresses, (Texts{"127.0.0.1.1.1"}));

    fakes::device_client().set_local_result(0); // known now, so the resolved net id differs
    const auto second = expect("a");
    EXPECT_EQ(change("a"), HMI_SUCCESS);
    EXPECT_EQ(second->record().addresses, (Texts{"5.1.2.3.1.1"}));

    fakes::device_client().set_local({{5, 4, 4, 4, 1, 1}});
    call_log().clear();
    EXPECT_EQ(change("a"), HMI_SUCCESS);
    EXPECT_EQ(call_log().texts("Fdx"), Texts());
    EXPECT_EQ(resets(), 0u);
    const auto loopback = expect("l");
    set_entry("l", target_entry("127.0.0.1.1.1", true));
    EXPECT_EQ(change("l"), HMI_SUCCESS);
    EXPECT_EQ(loopback->record().addresses, (Texts{"127.0.0.1.1.1"}));
}

} // namespace
