// Every operation of the server's interfaces is called by its index, as a server that was built elsewhere would have
// it.
#include "extension/host/command.h"
#include "extension/host/listeners.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/vtable.h"

#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace ZoHmiSrv;
using fakes::call_log;
using fakes::call_slot;

namespace {

static_assert(!std::has_virtual_destructor_v<IZoHmiSrvExtHost> && !std::has_virtual_destructor_v<ILicenseHost>);
static_assert(sizeof(IZoHmiSrvExtHost) == sizeof(void*) && sizeof(IZoHmiSrvExt) == sizeof(void*) &&
              sizeof(IZoHmiSrvConfigListener) == sizeof(void*) && sizeof(EventPayload) == sizeof(void*));

// Notes its calls and its end.
class Recorder final : public IZoHmiSrvExt,
                       public IZoHmiSrvShutdownListener,
                       public IZoHmiSrvAlarmProviderListener,
                       public IZoHmiSrvEventLocalizationListener,
                       public IZoHmiSrvRequestListener,
                       public IZoHmiSrvConfigListener {
public:
    ~Recorder() override { call_log().add("end"); }
    ResultPair init(const Context& context) override {
        note("init", context);
        return {HMI_E_INIT, "text"};
    }
    String extension_info() override {
        call_log().add("extension_info");
        return {"info"};
    }
    int on_shutdown(const Context& context) override {
        note("on_shutdown", context);
        return 3;
    }
    ErrorValue on_confirm_alarm(const Context& context, Alarm& alarm) override {
        note("on_confirm_alarm", context, std::to_string(alarm.id()));
        return HMI_E_FAIL;
    }
    int on_get_events(const Context& context, Value& events) override {
        note("on_get_events", context);
        events << 1;
        return 4;
    }
    ErrorValue on_localize_event(const Context& context, const char* locale, EventPayload& payload,
                                 String& text) override {
        note("on_localize_event", context, locale + std::string(payload.name()));
        text.set_name("localized");
        return HMI_E_UNEXPECTED;
    }
    void on_request(const Context& context, CommandGroup& commands) override {
        note("on_request", context, std::to_string(commands.size()));
    }
    ResultPair reserved_0(const Context& context, const char* path) override { return note("0", context, path); }
    ResultPair reserved_1(const Context& context, const char* path) override { return note("1", context, path); }
    ResultPair reserved_2(const Context& context, const char* path) override { return note("2", context, path); }
    ResultPair on_config_change(const Context& context, const char* path) override {
        return note("change", context, path);
    }
    ResultPair on_config_delete(const Context& context, const char* path) override {
        return note("delete", context, path);
    }
    ResultPair reserved_5(const Context& context, const char* path) override { return note("5", context, path); }

private:
    static ResultPair note(const std::string& call, const Context& context, const std::string& about = {}) {
        call_log().add(call + " " + context.domain() + about);
        return HMI_E_SYNTAX;
    }
};

class HostSlots : public testing::Test {
protected:
    HostSlots() {
        context.set_domain("dom");
        call_log().clear();
    }

    // The call of the one slot was the one operation.
    static void expect_last(const std::string& call) {
        EXPECT_EQ(call_log().texts(), std::vector{call});
        call_log().clear();
    }
    void expect_host(const std::string& call, const std::string& about) {
        EXPECT_STREQ(host.context_of(call).domain(), "dom") << call;
        expect_last("host." + call + about);
    }

    // A listener on the heap: its type by slot 0, its end by slot 2, which gives the memory back too.
    template <class Interface>
    static Interface* make(int type) {
        Interface* listener = new Recorder();
        EXPECT_EQ(call_slot<std::int32_t>(listener, 0), type);
        return listener;
    }
    template <class Interface>
    static void end(Interface* listener, std::size_t slot = 2) {
        call_slot<void>(listener, slot);
        expect_last("end");
    }

    fakes::FakeLicenseHost host;
    Context context;
};

} // namespace

// What lies between these is reserved: were one of those slots missing, all behind it would answer as others.
TEST_F(HostSlots, Host) {
    void* object = static_cast<IZoHmiSrvExtHost*>(&host);
    Message message;
    message.set_name("NAME");
    call_slot<void>(object, 2, &context, &message, true);
    expect_host("send_message", " event NAME");
    Command command("cmd");
    call_slot<void>(object, 5, &context, &command);
    expect_host("execute_command", " cmd");
    Recorder listener;
    call_slot<void>(object, 8, &context, static_cast<IZoHmiSrvShutdownListener*>(&listener));
    expect_host("register_listener", " Shutdown");
    Value filter = Value().set_type(ValueType::Vector) << 1 << 2;
    call_slot<void>(object, 10, &context, static_cast<IZoHmiSrvConfigListener*>(&listener), &filter);
    expect_host("register_config_listener", "");
    EXPECT_EQ(host.config_filter().size(), 2U);
    call_slot<void>(object, 12, &context, static_cast<IZoHmiSrvConfigListener*>(&listener));
    expect_host("unregister_listener", " Config");
    Alarm alarm;
    alarm.set_id(77);
    for (const std::int32_t mode : {0, 1, 2}) {
        call_slot<void>(object, 13, &context, mode, &alarm);
        expect_host("notify_alarm", " " + std::to_string(mode) + " 77");
    }
    Event event;
    event.set_name("EVENT");
    call_slot<void>(object, 14, &context, &event);
    expect_host("forget_event", " EVENT");
    // A result that is no plain number is built in memory of the caller, whose address comes before the object's.
    Value config;
    config["A"]["B"] = "configured";
    host.set_config(config);
    alignas(Value) unsigned char memory[sizeof(Value)];
    using GetConfigValue = void (*)(void*, void*, const Context*, const char*);
    reinterpret_cast<GetConfigValue>((*static_cast<void***>(object))[16])(memory, object, &context, "A::B");
    auto* value = std::launder(reinterpret_cast<Value*>(memory));
    EXPECT_STREQ(value->get_string(), "configured");
    std::destroy_at(value);
    expect_host("get_config_value", " A::B");
    call_slot<void>(object, 17, &context);
    expect_host("reset_temporary_events", "");
    call_slot<void>(object, 18, &context, "display");
    expect_host("set_display_name", " display");
}

TEST_F(HostSlots, TheLicenceInterfaceIsReachedByACrossCast) {
    IZoHmiSrvExtHost* object = &host;
    EXPECT_EQ(dynamic_cast<ILicenseHost*>(object), &host);
}

TEST_F(HostSlots, Extension) {
    IZoHmiSrvExt* extension = new Recorder();
    const auto result = call_slot<ResultPair>(extension, 0, &context);
    EXPECT_TRUE(result == HMI_E_INIT);
    EXPECT_STREQ(result.text(), "text");
    expect_last("init dom");
    EXPECT_STREQ(call_slot<String>(extension, 1).name(), "info");
    expect_last("extension_info");
    end(extension, 3);
}

TEST_F(HostSlots, ShutdownListener) {
    auto* listener = make<IZoHmiSrvShutdownListener>(1);
    EXPECT_EQ(call_slot<int>(listener, 3, &context), 3);
    expect_last("on_shutdown dom");
    end(listener);
}

TEST_F(HostSlots, AlarmProviderListener) {
    auto* listener = make<IZoHmiSrvAlarmProviderListener>(2);
    Alarm alarm;
    alarm.set_id(9);
    EXPECT_EQ(call_slot<std::int32_t>(listener, 3, &context, &alarm), 0x101);
    expect_last("on_confirm_alarm dom9");
    Value events;
    EXPECT_EQ(call_slot<int>(listener, 4, &context, &events), 4);
    expect_last("on_get_events dom");
    EXPECT_EQ(events.size(), 1U);
    end(listener);
}

TEST_F(HostSlots, EventLocalizationListener) {
    auto* listener = make<IZoHmiSrvEventLocalizationListener>(3);
    Message message;
    message.set_name("MSG");
    String text;
    EXPECT_EQ(call_slot<std::int32_t>(listener, 3, &context, "de-DE", static_cast<EventPayload*>(&message), &text),
              0x102);
    expect_last("on_localize_event domde-DEMSG");
    EXPECT_STREQ(text.name(), "localized");
    end(listener);
}

TEST_F(HostSlots, RequestListener) {
    auto* listener = make<IZoHmiSrvRequestListener>(4);
    CommandGroup commands;
    commands.add(Command("a"));
    call_slot<void>(listener, 3, &context, &commands);
    expect_last("on_request dom1");
    end(listener);
}

TEST_F(HostSlots, ConfigListener) {
    auto* listener = make<IZoHmiSrvConfigListener>(5);
    const char* const names[] = {"0", "1", "2", "change", "delete", "5"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_TRUE(call_slot<ResultPair>(listener, 3 + i, &context, "P::Q") == HMI_E_SYNTAX);
        expect_last(std::string(names[i]) + " domP::Q");
    }
    end(listener);

    ZoHmiSrvConfigListener silent;
    for (std::size_t slot = 3; slot < 9; ++slot) {
        const auto result = call_slot<ResultPair>(static_cast<IZoHmiSrvConfigListener*>(&silent), slot, &context, "P");
        EXPECT_TRUE(result == HMI_SUCCESS);
    }
}

TEST_F(HostSlots, EventPayloads) {
    EventPayload* const payloads[] = {new Message(), new Alarm()};
    for (EventPayload* payload : payloads) {
        call_slot<void>(payload, 2, "set by slot 2");
        EXPECT_STREQ(call_slot<const char*>(payload, 3), "set by slot 2");
        EXPECT_STREQ(call_slot<const char*>(payload, 4), "");
        auto* parameters = call_slot<Value*>(payload, 5);
        parameters->insert("key", 1);
        const auto type = call_slot<std::uint16_t>(payload, 6);
        EXPECT_EQ(type, payload == payloads[0] ? 65 : 66);
        if (type == 65) {
            EXPECT_EQ(parameters, &static_cast<Message*>(payload)->parameters());
        } else {
            EXPECT_EQ(parameters, &static_cast<Alarm*>(payload)->parameters());
        }
        call_slot<void>(payload, 1); // destroys and gives the memory back: what is left would show as a leak
    }
}
