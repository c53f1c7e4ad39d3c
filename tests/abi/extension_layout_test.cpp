// The extension and its targets as code that was built elsewhere sees them: where the parts of the object lie, and
// which operation stands at which index.
#include "extension/ext_interface.h"
#include "extension/zo_hmi_event_logger.h"
#include "targets/target_system.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/fakes/vtable.h"
#include "tests/support/captured_syslog.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

using namespace ZoHmiSrv;
using fakes::call_log;
using fakes::call_slot;
using Extension = ZoHmiEventLogger::ZoHmiEventLogger;

namespace {

template <class Base>
std::ptrdiff_t offset_of(Extension& extension) {
    return reinterpret_cast<char*>(static_cast<Base*>(&extension)) - reinterpret_cast<char*>(&extension);
}

TEST(ExtensionLayout, TheServerGetsThePartOfItsInterfaceAndNotTheStart) {
    constexpr std::ptrdiff_t pointer = sizeof(void*);
    fakes::FakeHost host;
    IZoHmiSrvExt* out = nullptr;
    double version = 0.0;
    ASSERT_EQ(ext_interface(&host, &out, &version), 0);
    const std::unique_ptr<IZoHmiSrvExt> owner(out);
    auto& extension = dynamic_cast<Extension&>(*out);
    EXPECT_EQ(reinterpret_cast<char*>(out) - reinterpret_cast<char*>(&extension), pointer);

    EXPECT_EQ(offset_of<ZoHmiEventLogger::ILoggingFunctions>(extension), 0);
    EXPECT_EQ(offset_of<IZoHmiSrvExt>(extension), 1 * pointer);
    EXPECT_EQ(offset_of<IZoHmiSrvShutdownListener>(extension), 2 * pointer);
    EXPECT_EQ(offset_of<IZoHmiSrvAlarmProviderListener>(extension), 3 * pointer);
    EXPECT_EQ(offset_of<IZoHmiSrvEventLocalizationListener>(extension), 4 * pointer);
    EXPECT_EQ(offset_of<IZoHmiSrvRequestListener>(extension), 5 * pointer);
    EXPECT_EQ(offset_of<ZoHmiSrvConfigListener>(extension), 6 * pointer);

    // init through the second part's table reaches the extension's own.
    const Context context;
    call_log().clear();
    EXPECT_EQ(call_slot<ResultPair>(out, 0, &context).result(), HMI_E_INVALID_PARAMETER);
    EXPECT_EQ(call_log().count("host.set_display_name Zorvane EventLogger"), 1u);
}

TEST(ExtensionLayout, TheReportingOperationsComeFirst) {
    fakes::FakeHost host;
    Extension extension(&host);
    const auto called = [&](std::size_t slot, auto... arguments) {
        call_log().clear();
        call_slot<void>(&extension, slot, arguments...);
        const auto texts = call_log().texts();
        return texts.size() == 1 ? texts[0] : std::to_string(texts.size()) + " calls";
    };
    Message message;
    message.set_name("M");
    Alarm alarm;
    alarm.set_id(7);
    Event event;
    event.set_name("E");
    const std::string target = "t";
    const std::runtime_error error("wrong");
    const std::exception* const base = &error;
    EXPECT_EQ(called(0, &message), "host.send_message M");
    EXPECT_EQ(called(1, &target, base), "host.send_message ZORVANE_EVENTLOGGER_ERROR t");
    EXPECT_STREQ(host.messages().back().message.parameters()["2"].get_string(), "wrong");
    EXPECT_EQ(called(2, &target), "host.send_message ZORVANE_EVENTLOGGER_ERROR t");
    EXPECT_STRNE(host.messages().back().message.parameters()["2"].get_string(), "wrong");
    message.set_name("M");
    EXPECT_EQ(called(3, &message), "host.send_message event M");
    EXPECT_EQ(called(4, &alarm), "host.notify_alarm 0 7");
    EXPECT_EQ(called(5, &alarm, true), "host.notify_alarm 2 7");
    EXPECT_EQ(called(6, &event), "host.forget_event E");
    EXPECT_EQ(called(7), "host.get_config_value PRELOAD_TRANSLATIONS");
}

TEST(ExtensionLayout, ItsOwnOperationsFollowTheReportingOnes) {
    fakes::FakeHost host;
    // Destroyed where it lies, so its memory must be this test's own; the pool that still runs writes its line.
    alignas(Extension) std::byte memory[sizeof(Extension)];
    take_syslog_lines();
    call_slot<void>(new (memory) Extension(&host), 8);
    EXPECT_EQ(take_syslog_lines().size(), 1u);

    auto* const extension = new Extension(&host);
    const Context context;
    Alarm alarm;
    Message message;
    Value value(5);
    String text;
    CommandGroup commands;
    commands.add(Command("one"));
    const char* const path = "TARGET_SYSTEMS::x";
    EventPayload* const payload = &message;
    call_log().clear();
    EXPECT_EQ(call_slot<ErrorValue>(extension, 10, &context, &alarm), HMI_E_ENTRY_NOT_FOUND);
    EXPECT_EQ(call_slot<int>(extension, 11, &context, &value), 0);
    EXPECT_EQ(value, Value(5)); // an empty table leaves it alone
    EXPECT_STREQ(call_slot<String>(extension, 12).name(), "");
    EXPECT_TRUE(call_log().texts().empty());
    message.set_name("without a target");
    EXPECT_EQ(call_slot<ErrorValue>(extension, 15, &context, "en", payload, &text), HMI_SUCCESS);
    EXPECT_STREQ(text.name(), "without a target");
    EXPECT_EQ(call_slot<ResultPair>(extension, 16, &context, path).result(), HMI_SUCCESS);
    EXPECT_EQ(call_slot<ResultPair>(extension, 17, &context, path).result(), HMI_E_INVALID_PARAMETER);
    call_slot<void>(extension, 18, &context, &commands);
    EXPECT_EQ(commands[0].extension_result(), static_cast<unsigned>(HMI_E_INVALID_SYMBOL));
    EXPECT_EQ(call_slot<ResultPair>(extension, 13, &context).result(), HMI_E_INVALID_PARAMETER);
    EXPECT_EQ(call_log().count("host.set_display_name Zorvane EventLogger"), 1u);
    call_log().clear();
    EXPECT_EQ(call_slot<int>(extension, 14, &context), 0);
    EXPECT_EQ(call_log().texts().size(), 5u); // the listeners
    take_syslog_lines();
    auto* const running = new Extension(&host);
    call_slot<void>(running, 9);
    EXPECT_EQ(take_syslog_lines().size(), 1u);
    call_slot<void>(extension, 9); // memory checkers see whether both are freed
}

TEST(TargetLayout, TheSinkComesFirstAndTheDestructorsLast) {
    auto& library = fakes::FakeProxyLibrary::instance();
    library.reset();
    const auto logger = library.expect_logger("l");
    fakes::FakeHost host;
    Extension extension(&host);
    auto* const target = new ZoHmiEventLogger::TargetSystem("domain", &extension, "name", "5.1.1.1.1.1", Timespan(0), 1,
                                                            std::make_shared<std::atomic<bool>>(false),
                                                            std::make_shared<std::atomic<std::uint32_t>>(1));
    void* const object = static_cast<IDispatch*>(target);
    ASSERT_EQ(object, static_cast<void*>(target));
    ASSERT_EQ(object, logger->sink());
    void* out = nullptr;
    EXPECT_EQ(call_slot<HRESULT>(object, 0, &ZoEventLoggerFdxProxyLib::IID__IZoEventLoggerEvents, &out), S_OK);
    EXPECT_EQ(out, object);
    EXPECT_EQ(call_slot<std::uint32_t>(object, 1), 1u);
    EXPECT_EQ(call_slot<std::uint32_t>(object, 2), 1u);
    for (const std::size_t slot : {3u, 4u, 5u, 7u})
        EXPECT_EQ(call_slot<HRESULT>(object, slot, nullptr, nullptr, nullptr, nullptr, nullptr), E_NOTIMPL) << slot;
    const GUID none{};
    EXPECT_EQ(call_slot<HRESULT>(object, 6, -1, &none, 0u, std::uint16_t{1}, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_NE(logger->sink(), nullptr);
    call_slot<void>(object, 9);
    EXPECT_EQ(logger->sink(), nullptr);
    extension.on_shutdown(Context());
}

} // namespace
