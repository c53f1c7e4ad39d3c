#include "tests/extension/extension_fixture.h"

#include "tests/fakes/callback_thread.h"

#include <future>

using namespace ZoHmiSrv;
using fakes::FakeProxyLibrary;

Context context_of(const char* domain) {
    Context context;
    context.set_domain(domain);
    return context;
}

Value target_entry(const char* address, bool enabled) {
    Value entry;
    entry.set_type(ValueType::Struct);
    entry.insert("ADDRESS", address);
    entry.insert("ENABLED", enabled);
    return entry;
}

Texts in_order(std::initializer_list<Texts> steps) {
    Texts calls;
    for (const Texts& step : steps)
        calls.insert(calls.end(), step.begin(), step.end());
    return calls;
}

Texts made(const std::string& logger) {
    return {"CreateInstance.Logger", logger + ".FindConnectionPoint", logger + ".Advise", logger + ".SetTimeout"};
}

Texts connected(const std::string& logger, const std::string& target) {
    return {"host.get_config_value PRELOAD_TRANSLATIONS",
            "CreateInstance.ConnectionSettings",
            "SetPreloadTranslations",
            logger + ".ConnectWithSettings",
            "host.send_message TARGET_SYSTEM_CONNECTED " + target,
            logger + ".GetLoggedEvents",
            logger + ".GetActiveAlarms",
            "host.send_message GETLOGGEDEVENTS_GETACTIVEALARMS " + target};
}

Texts destroyed(const std::string& logger) {
    return {logger + ".FindConnectionPoint", logger + ".Unadvise", logger + ".Disconnect",
            logger + ".FindConnectionPoint", logger + ".Unadvise"};
}

ExtensionTest::ExtensionTest() {
    FakeProxyLibrary::instance().reset();
    fakes::device_client().reset();
    take_syslog_lines();
    host.set_probe([this](std::string_view call) { probe(call); });
    config.set_type(ValueType::Struct);
    config.insert("LIMIT_EVENT_COUNT", 100.0);
    config.insert("PRELOAD_TRANSLATIONS", false);
    config.insert("TARGET_SYSTEMS", Value().set_type(ValueType::Map));
    config.insert("TIMEOUT", Timespan(5'000'000'000));
    host.set_config(config);
}

ExtensionTest::~ExtensionTest() {
    if (extension) shut_down();
    EXPECT_EQ(FakeProxyLibrary::instance().reset(), 0) << "objects of the proxy leaked";
    EXPECT_TRUE(fakes::device_client().open_ports().empty());
}

fakes::LoggerPtr ExtensionTest::add_target(const char* name, const char* address) {
    set_entry(name, target_entry(address, true));
    return FakeProxyLibrary::instance().expect_logger(name);
}

void ExtensionTest::set_entry(const std::string& name, const Value& entry) {
    Value& targets = config["TARGET_SYSTEMS"];
    if (entry.isset())
        targets.insert_or_update(name.c_str(), entry);
    else
        targets.remove(targets.find(name.c_str()));
    host.set_config(config);
}

void ExtensionTest::set_config(const char* key, const Value& value) {
    config.insert_or_update(key, value);
    host.set_config(config);
}

void ExtensionTest::make_extension() {
    extension = std::make_unique<ZoHmiEventLogger::ZoHmiEventLogger>(&host);
    alive_ = true;
}

ErrorValue ExtensionTest::init() {
    if (!extension) make_extension();
    return extension->init(context_of("HMI")).result();
}

void ExtensionTest::start_without_ticks() {
    const auto targets = static_cast<unsigned>(config["TARGET_SYSTEMS"].size());
    set_entry("~", target_entry("", false));
    FakeProxyLibrary::instance().plan->answer("CreateInstance.Logger", E_FAIL, targets + 1);
    ASSERT_EQ(init(), HMI_E_INIT);
    set_entry("~", Value());
    take_calls();
    host.clear();
}

ErrorValue ExtensionTest::change(const char* name) {
    return extension->on_config_change(context_of("caller"), (std::string("TARGET_SYSTEMS::") + name).c_str()).result();
}

void ExtensionTest::shut_down() {
    extension->on_shutdown(context_of("shutdown"));
    destroy();
}

void ExtensionTest::destroy() {
    alive_ = false;
    extension.reset();
}

Value ExtensionTest::listed() {
    Value events;
    EXPECT_EQ(extension->on_get_events(Context(), events), 0);
    return events;
}

Texts ExtensionTest::take_calls(std::string_view prefix) {
    Texts texts = fakes::call_log().texts(prefix);
    fakes::call_log().clear();
    std::erase_if(texts, [](const auto& text) { return text.ends_with("IsConnected") || text.starts_with("Fdx"); });
    return texts;
}

std::size_t ExtensionTest::raise_before_reset(const char* call, unsigned nth, const fakes::LoggerPtr& logger,
                                              const std::function<void()>& change) {
    fakes::CallbackThread callbacks;
    const auto alarm = logger->make_alarm();
    host.plan().run(call, nth, [&] { callbacks.post([&] { logger->fire_raised(alarm); }); });
    std::size_t raised = 99, listed_in_reset = 99;
    host.plan().run("reset_temporary_events", [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200)); // time for a callback that overtakes
        raised = host.alarms();
        listed_in_reset = listed().size(); // as the server does, inside the call
    });
    change();
    callbacks.drain();
    EXPECT_EQ(raised, 0u);
    EXPECT_EQ(host.alarms(), 1u);
    return listed_in_reset;
}

void ExtensionTest::probe(std::string_view call) {
    if (!alive_) return;
    auto done = std::make_shared<std::promise<void>>();
    auto finished = done->get_future();
    std::thread lister([this, done] {
        Value events;
        extension->on_get_events(Context(), events);
        done->set_value();
    });
    if (finished.wait_for(std::chrono::seconds(5)) == std::future_status::ready) {
        lister.join();
    } else {
        ADD_FAILURE() << "a lock is locked during " << call;
        lister.detach(); // goes on when the lock is released
    }
}
