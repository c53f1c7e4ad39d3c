// Every operation of the server's interfaces is called by its index, as a server that was built elsewhere would have
// it.
#include "extension/host/command.h"
#include "extension/host/context.h"
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "tests/fakes/vtable.h"

#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace ZoHmiSrv;
using fakes::call_slot;

namespace {

static_assert(!std::has_virtual_destructor_v<IZoHmiSrvExtHost> && !std::has_virtual_destructor_v<ILicenseHost>);
static_assert(sizeof(IZoHmiSrvExtHost) == sizeof(void*) && sizeof(IZoHmiSrvExt) == sizeof(void*) &&
              sizeof(IZoHmiSrvConfigListener) == sizeof(void*) && sizeof(EventPayload) == sizeof(void*));

using Log = std::vector<std::string>;

class RecordingHost final : public IZoHmiSrvExtHost, public ILicenseHost {
public:
    void reserved_0() override { log.emplace_back("0"); }
    void reserved_1() override { log.emplace_back("1"); }
    void send_message(const Context& context, Message message, bool is_event) override {
        note("send_message", context, message.name(), is_event ? "event" : "diagnostic");
    }
    void reserved_3() override { log.emplace_back("3"); }
    void reserved_4() override { log.emplace_back("4"); }
    void execute_command(const Context& context, Command& command) override {
        note("execute_command", context, command.name());
        command.read_value() = "answer";
    }
    void reserved_6() override { log.emplace_back("6"); }
    void reserved_7() override { log.emplace_back("7"); }
    void register_listener(const Context& context, IZoHmiSrvListener* listener) override {
        note("register_listener", context, std::to_string(static_cast<int>(listener->type())));
    }
    void reserved_9() override { log.emplace_back("9"); }
    void register_config_listener(const Context& context, IZoHmiSrvConfigListener* listener, Value filter) override {
        note("register_config_listener", context, std::to_string(static_cast<int>(listener->type())),
             std::to_string(filter.size()));
    }
    void reserved_11() override { log.emplace_back("11"); }
    void unregister_listener(const Context& context, IZoHmiSrvListener* listener) override {
        note("unregister_listener", context, std::to_string(static_cast<int>(listener->type())));
    }
    void notify_alarm(const Context& context, AlarmNotification mode, const Alarm& alarm) override {
        note("notify_alarm", context, std::to_string(static_cast<int>(mode)), std::to_string(alarm.id()));
    }
    void forget_event(const Context& context, const Event& event) override {
        note("forget_event", context, event.name());
    }
    void reserved_15() override { log.emplace_back("15"); }
    Value get_config_value(const Context& context, const char* path) override {
        note("get_config_value", context, path);
        return {"configured"};
    }
    void reset_temporary_events(const Context& context) override { note("reset_temporary_events", context); }
    void set_display_name(const Context& context, const char* name) override {
        note("set_display_name", context, name);
    }

    Log log;

private:
    void note(std::string name, const Context& context, const std::string& first = {}, const std::string& second = {}) {
        name += std::string(" ") + context.domain();
        for (const std::string& argument : {first, second}) {
            name += argument.empty() ? "" : " " + argument;
        }
        log.push_back(name);
    }
};

// Notes the order of its calls and its end, for every interface that it is made of.
template <class Interface>
class Recording;

Log listener_log;

template <>
class Recording<IZoHmiSrvExt> final : public IZoHmiSrvExt {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
    ResultPair init(const Context& context) override {
        listener_log.push_back(std::string("init ") + context.domain());
        return {HMI_E_INIT, "text"};
    }
    String extension_info() override {
        listener_log.emplace_back("extension_info");
        return {"info"};
    }
};

template <>
class Recording<IZoHmiSrvShutdownListener> final : public IZoHmiSrvShutdownListener {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
    int on_shutdown(const Context& context) override {
        listener_log.push_back(std::string("on_shutdown ") + context.domain());
        return 3;
    }
};

template <>
class Recording<IZoHmiSrvAlarmProviderListener> final : public IZoHmiSrvAlarmProviderListener {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
    ErrorValue on_confirm_alarm(const Context& context, Alarm& alarm) override {
        listener_log.push_back(std::string("on_confirm_alarm ") + context.domain() + std::to_string(alarm.id()));
        return HMI_E_FAIL;
    }
    int on_get_events(const Context& context, Value& events) override {
        listener_log.push_back(std::string("on_get_events ") + context.domain());
        events << 1;
        return 4;
    }
};

template <>
class Recording<IZoHmiSrvEventLocalizationListener> final : public IZoHmiSrvEventLocalizationListener {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
    ErrorValue on_localize_event(const Context& context, const char* locale, EventPayload& payload,
                                 String& text) override {
        listener_log.push_back(std::string("on_localize_event ") + context.domain() + locale + payload.name());
        text.set_name("localized");
        return HMI_E_UNEXPECTED;
    }
};

template <>
class Recording<IZoHmiSrvRequestListener> final : public IZoHmiSrvRequestListener {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
    void on_request(const Context& context, CommandGroup& commands) override {
        listener_log.push_back(std::string("on_request ") + context.domain() + std::to_string(commands.size()));
    }
};

template <>
class Recording<IZoHmiSrvConfigListener> final : public IZoHmiSrvConfigListener {
public:
    ~Recording() override { listener_log.emplace_back("end"); }
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
    static ResultPair note(const std::string& name, const Context& context, const char* path) {
        listener_log.push_back(name + " " + context.domain() + path);
        return HMI_E_SYNTAX;
    }
};

class HostSlots : public testing::Test {
protected:
    HostSlots() {
        context.set_domain("dom");
        listener_log.clear();
    }

    // The call of the one slot was the one operation.
    void expect_last(const std::string& call) {
        EXPECT_EQ(host.log, Log{call});
        host.log.clear();
    }
    static void expect_listener(const std::string& call) {
        EXPECT_EQ(listener_log, Log{call});
        listener_log.clear();
    }

    // A listener on the heap: its type by slot 0, its end by slot 2, which gives the memory back too.
    template <class Interface>
    static Interface* make(int type) {
        Interface* listener = new Recording<Interface>();
        EXPECT_EQ(call_slot<std::int32_t>(listener, 0), type);
        return listener;
    }
    template <class Interface>
    static void end(Interface* listener, std::size_t slot = 2) {
        call_slot<void>(listener, slot);
        expect_listener("end");
    }

    RecordingHost host;
    Context context;
};

} // namespace

TEST_F(HostSlots, Host) {
    void* object = static_cast<IZoHmiSrvExtHost*>(&host);
    constexpr std::size_t reserved[] = {0, 1, 3, 4, 6, 7, 9, 11, 15};
    for (const std::size_t slot : reserved) {
        call_slot<void>(object, slot);
        expect_last(std::to_string(slot));
    }
    Message message;
    message.set_name("NAME");
    call_slot<void>(object, 2, &context, &message, true);
    expect_last("send_message dom NAME event");
    Command command("cmd");
    call_slot<void>(object, 5, &context, &command);
    expect_last("execute_command dom cmd");
    EXPECT_STREQ(command.read_value().get_string(), "answer");
    Recording<IZoHmiSrvShutdownListener> listener;
    Recording<IZoHmiSrvConfigListener> config;
    call_slot<void>(object, 8, &context, static_cast<IZoHmiSrvListener*>(&listener));
    expect_last("register_listener dom 1");
    Value filter = Value().set_type(ValueType::Vector) << 1 << 2;
    call_slot<void>(object, 10, &context, static_cast<IZoHmiSrvConfigListener*>(&config), &filter);
    expect_last("register_config_listener dom 5 2");
    call_slot<void>(object, 12, &context, static_cast<IZoHmiSrvListener*>(&config));
    expect_last("unregister_listener dom 5");
    Alarm alarm;
    alarm.set_id(77);
    for (const std::int32_t mode : {0, 1, 2}) {
        call_slot<void>(object, 13, &context, mode, &alarm);
        expect_last("notify_alarm dom " + std::to_string(mode) + " 77");
    }
    Event event;
    event.set_name("EVENT");
    call_slot<void>(object, 14, &context, &event);
    expect_last("forget_event dom EVENT");
    // A result that is no plain number is built in memory of the caller, whose address comes before the object's.
    alignas(Value) unsigned char memory[sizeof(Value)];
    using GetConfigValue = void (*)(void*, void*, const Context*, const char*);
    reinterpret_cast<GetConfigValue>((*static_cast<void***>(object))[16])(memory, object, &context, "A::B");
    auto* value = std::launder(reinterpret_cast<Value*>(memory));
    EXPECT_STREQ(value->get_string(), "configured");
    std::destroy_at(value);
    expect_last("get_config_value dom A::B");
    call_slot<void>(object, 17, &context);
    expect_last("reset_temporary_events dom");
    call_slot<void>(object, 18, &context, "display");
    expect_last("set_display_name dom display");
}

TEST_F(HostSlots, TheLicenceInterfaceIsReachedByACrossCast) {
    IZoHmiSrvExtHost* object = &host;
    EXPECT_EQ(dynamic_cast<ILicenseHost*>(object), &host);
}

TEST_F(HostSlots, Extension) {
    IZoHmiSrvExt* extension = new Recording<IZoHmiSrvExt>();
    const auto result = call_slot<ResultPair>(extension, 0, &context);
    EXPECT_TRUE(result == HMI_E_INIT);
    EXPECT_STREQ(result.text(), "text");
    expect_listener("init dom");
    EXPECT_STREQ(call_slot<String>(extension, 1).name(), "info");
    expect_listener("extension_info");
    end(extension, 3);
}

TEST_F(HostSlots, ShutdownListener) {
    auto* listener = make<IZoHmiSrvShutdownListener>(1);
    EXPECT_EQ(call_slot<int>(listener, 3, &context), 3);
    expect_listener("on_shutdown dom");
    end(listener);
}

TEST_F(HostSlots, AlarmProviderListener) {
    auto* listener = make<IZoHmiSrvAlarmProviderListener>(2);
    Alarm alarm;
    alarm.set_id(9);
    EXPECT_EQ(call_slot<std::int32_t>(listener, 3, &context, &alarm), 0x101);
    expect_listener("on_confirm_alarm dom9");
    Value events;
    EXPECT_EQ(call_slot<int>(listener, 4, &context, &events), 4);
    expect_listener("on_get_events dom");
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
    expect_listener("on_localize_event domde-DEMSG");
    EXPECT_STREQ(text.name(), "localized");
    end(listener);
}

TEST_F(HostSlots, RequestListener) {
    auto* listener = make<IZoHmiSrvRequestListener>(4);
    CommandGroup commands;
    commands.add(Command("a"));
    call_slot<void>(listener, 3, &context, &commands);
    expect_listener("on_request dom1");
    end(listener);
}

TEST_F(HostSlots, ConfigListener) {
    auto* listener = make<IZoHmiSrvConfigListener>(5);
    const char* const names[] = {"0", "1", "2", "change", "delete", "5"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_TRUE(call_slot<ResultPair>(listener, 3 + i, &context, "P::Q") == HMI_E_SYNTAX);
        expect_listener(std::string(names[i]) + " domP::Q");
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
