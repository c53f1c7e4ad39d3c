#include "tests/extension/extension_fixture.h"

#include "tests/support/captured_syslog.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>

using namespace ZoHmiSrv;
using fakes::call_log;
using fakes::FakeProxyLibrary;

namespace {

bool is_noise(const std::string& text) {
    return text.ends_with("IsConnected") || text.starts_with("Fdx");
}

} // namespace

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
    EXPECT_EQ(FakeProxyLibrary::instance().reset(), 0) << "objects of the proxy are left";
    EXPECT_TRUE(fakes::device_client().open_ports().empty());
}

void ExtensionTest::probe(std::string_view call) {
    if (!alive_ || !check_locks) return;
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
        ADD_FAILURE() << "a lock is held in " << call;
        lister.detach(); // goes on when the lock is let go
    }
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

void ExtensionTest::make_extension(IZoHmiSrvExtHost* with_host) {
    extension = std::make_unique<ZoHmiEventLogger::ZoHmiEventLogger>(with_host ? with_host : &host);
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
    host.take_reads();
}

void ExtensionTest::tick(TimerError error) {
    extension->on_timer(error, context_of("tick"));
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

Texts ExtensionTest::take_calls() {
    Texts texts = call_log().texts();
    call_log().clear();
    std::erase_if(texts, is_noise);
    return texts;
}

Texts ExtensionTest::take_calls(std::string_view prefix) {
    Texts texts = take_calls();
    std::erase_if(texts, [&](const std::string& text) { return !text.starts_with(prefix); });
    return texts;
}
