// The binary interfaces, the extension and its targets: the index of each operation, and the offsets of the parts of an
// object.
#include "binding/error_info.h"

#include "binding/event_logger_proxy.h"
#include "extension/ext_interface.h"
#include "extension/host/event_payload.h"
#include "extension/host/host.h"
#include "extension/host/listeners.h"
#include "extension/zo_hmi_event_logger.h"
#include "targets/target_system.h"
#include "tests/fakes/fake_host.h"
#include "tests/fakes/fake_proxy.h"
#include "tests/fakes/vtable.h"
#include "tests/support/checksum.h"
#include "tests/test_headers.h"

#include <cstddef>
#include <type_traits>

using namespace ZoHmiSrv;
using namespace ZoEventLoggerFdxProxyLib;
using fakes::slots_of;
using Slots = std::vector<std::size_t>;
using Extension = ZoHmiEventLogger::ZoHmiEventLogger;
using ZoHmiEventLogger::TargetSystem;

namespace {

static_assert(!std::has_virtual_destructor_v<IZoHmiSrvExtHost> && !std::has_virtual_destructor_v<ILicenseHost>);
static_assert(sizeof(IZoHmiSrvExtHost) == sizeof(void*) && sizeof(IZoHmiSrvExt) == sizeof(void*) &&
              sizeof(IZoHmiSrvConfigListener) == sizeof(void*) && sizeof(EventPayload) == sizeof(void*));
// The caller provides the memory of a result that is not trivially copyable.
static_assert(!std::is_trivially_copyable_v<Value> && !std::is_trivially_copyable_v<ResultPair> &&
              !std::is_trivially_copyable_v<String>);
// The deleting destructor takes the slots that the operations leave free.
static_assert(std::has_virtual_destructor_v<IZoHmiSrvExt> && std::has_virtual_destructor_v<IZoHmiSrvListener> &&
              std::has_virtual_destructor_v<EventPayload>);

// The slots between these are reserved: if one were missing, all later calls would reach another operation.
TEST(HostSlots, Host) {
    using Host = IZoHmiSrvExtHost;
    EXPECT_EQ(slots_of(&Host::send_message, &Host::execute_command, &Host::register_listener,
                       &Host::register_config_listener, &Host::unregister_listener, &Host::notify_alarm,
                       &Host::forget_event, &Host::get_config_value, &Host::reset_temporary_events,
                       &Host::set_display_name),
              (Slots{2, 5, 8, 10, 12, 13, 14, 16, 17, 18}));
}

TEST(HostSlots, ExtensionAndListeners) {
    EXPECT_EQ(slots_of(&IZoHmiSrvExt::init, &IZoHmiSrvExt::extension_info), (Slots{0, 1}));
    EXPECT_EQ(slots_of(&IZoHmiSrvListener::type), Slots{0});
    EXPECT_EQ(slots_of(&IZoHmiSrvShutdownListener::on_shutdown), Slots{3});
    EXPECT_EQ(
        slots_of(&IZoHmiSrvAlarmProviderListener::on_confirm_alarm, &IZoHmiSrvAlarmProviderListener::on_get_events),
        (Slots{3, 4}));
    EXPECT_EQ(slots_of(&IZoHmiSrvEventLocalizationListener::on_localize_event), Slots{3});
    EXPECT_EQ(slots_of(&IZoHmiSrvRequestListener::on_request), Slots{3});
    using Config = IZoHmiSrvConfigListener;
    EXPECT_EQ(slots_of(&Config::reserved_0, &Config::reserved_1, &Config::reserved_2, &Config::on_config_change,
                       &Config::on_config_delete, &Config::reserved_5),
              (Slots{3, 4, 5, 6, 7, 8}));
}

TEST(HostSlots, EventPayload) {
    using Payload = EventPayload;
    EXPECT_EQ(slots_of(&Payload::set_name, &Payload::name, &Payload::domain, &Payload::parameters, &Payload::type),
              (Slots{2, 3, 4, 5, 6}));
}

template <class... Interfaces>
constexpr bool none_has_virtual_destructor = (... && !std::has_virtual_destructor_v<Interfaces>);
static_assert(none_has_virtual_destructor<
              IUnknown, IDispatch, IZoEventLogger, IZoEventLogger4, IZoEventLogger5, IZoEventLoggerTimeout,
              IZoEventLoggerClassName, IZoEventLoggerSourceName, IZoConnectionSettings, IZoLoggedEvent, IZoLoggedEvent2,
              IZoLoggedEventJson, IZoAlarm, IZoAlarmJson, IZoMessage, IZoMessageJson, IZoEventIdentity,
              IZoLoggedEventCollection, IZoAlarmCollection, IZoCauseRemedyCollection, IZoDetailCollection,
              IZoCauseRemedy, IZoDetail, IConnectionPoint, IConnectionPointContainer, _IZoEventLoggerEvents>);
static_assert(sizeof(IZoEventLogger) == sizeof(void*) && sizeof(IZoAlarm) == sizeof(void*));

TEST(ProxySlots, Bases) {
    EXPECT_EQ(slots_of(&IUnknown::QueryInterface, &IUnknown::AddRef, &IUnknown::Release), (Slots{0, 1, 2}));
    EXPECT_EQ(
        slots_of(&IDispatch::GetTypeInfoCount, &IDispatch::GetTypeInfo, &IDispatch::GetIDsOfNames, &IDispatch::Invoke),
        (Slots{3, 4, 5, 6}));
    EXPECT_EQ(slots_of(&IConnectionPointContainer::FindConnectionPoint), Slots{4});
    EXPECT_EQ(slots_of(&IConnectionPoint::Advise, &IConnectionPoint::Unadvise), (Slots{5, 6}));
}

TEST(ProxySlots, Logger) {
    using Logger = IZoEventLogger5;
    EXPECT_EQ(slots_of(&Logger::Connect, &Logger::Disconnect, &Logger::IsConnected, &Logger::GetActiveAlarms),
              (Slots{7, 8, 9, 10}));
    EXPECT_EQ(slots_of(&Logger::GetLoggedEvents, &Logger::ClearLoggedEvents, &Logger::GetText), (Slots{13, 14, 15}));
    EXPECT_EQ(slots_of(&Logger::ConnectWithSettings, &Logger::GetCausesAndRemedies, &Logger::GetDetails),
              (Slots{30, 31, 32}));
    EXPECT_EQ(slots_of(&IZoConnectionSettings::SetPreloadTranslations), Slots{8});
    EXPECT_EQ(slots_of(&IZoEventLoggerTimeout::SetTimeout), Slots{4});
    EXPECT_EQ(slots_of(&IZoEventLoggerClassName::GetEventClassName), Slots{7});
    EXPECT_EQ(slots_of(&IZoEventLoggerSourceName::GetSourceNameText), Slots{7});
}

TEST(ProxySlots, Events) {
    EXPECT_EQ(slots_of(&IZoEvent::GetEventClass, &IZoEvent::GetEventId, &IZoEvent::GetSeverity, &IZoEvent::GetEventType,
                       &IZoEvent::HasSourceField, &IZoEvent::GetSourceId, &IZoEvent::GetSourceGuid,
                       &IZoEvent::GetSourceName, &IZoEvent::GetTimeRaised),
              (Slots{7, 8, 9, 10, 11, 12, 13, 14, 16}));
    using LoggedEvent = IZoLoggedEvent2;
    EXPECT_EQ(slots_of(&LoggedEvent::GetTimeCleared, &LoggedEvent::GetWithConfirmation, &LoggedEvent::GetTimeConfirmed,
                       &LoggedEvent::GetJsonAttribute, &LoggedEvent::GetIsActive, &LoggedEvent::GetArguments,
                       &LoggedEvent::GetArgumentData),
              (Slots{18, 19, 21, 24, 25, 26, 27}));
    using Alarm = IZoAlarmJson;
    EXPECT_EQ(slots_of(&Alarm::GetArguments, &Alarm::GetArgumentData, &Alarm::GetIsRaised, &Alarm::GetTimeCleared,
                       &Alarm::GetConfirmationState, &Alarm::Confirm, &Alarm::GetTimeConfirmed,
                       &Alarm::GetJsonAttribute),
              (Slots{19, 20, 21, 23, 24, 25, 27, 28}));
    using Message = IZoMessageJson;
    EXPECT_EQ(slots_of(&Message::GetArguments, &Message::GetArgumentData, &Message::GetJsonAttribute),
              (Slots{19, 20, 21}));
    EXPECT_EQ(slots_of(&IZoEventIdentity::GetUniqueId), Slots{3});
}

TEST(ProxySlots, Collections) {
    EXPECT_EQ(slots_of(&IZoAlarmCollection::GetItem, &IZoAlarmCollection::GetCount), (Slots{8, 9}));
    EXPECT_EQ(slots_of(&IZoCauseRemedy::GetId, &IZoCauseRemedy::GetCause, &IZoCauseRemedy::GetRemedy),
              (Slots{7, 8, 9}));
    EXPECT_EQ(slots_of(&IZoDetail::GetId, &IZoDetail::GetText, &IZoDetail::GetComment), (Slots{7, 8, 9}));
}

TEST(ProxyIdentifiers, AreUnchanged) {
    // clang-format off
    const GUID* const published[] = {
        &CLSID_ZoEventLogger, iid_of<IZoEventLogger>, iid_of<IZoEventLoggerTimeout>, &CLSID_ZoConnectionSettings,
        iid_of<IZoConnectionSettings>, iid_of<IZoEventIdentity>, iid_of<IZoLoggedEvent2>, iid_of<IZoLoggedEventJson>,
        iid_of<IZoAlarm>, iid_of<IZoAlarmJson>, iid_of<IZoMessage>, iid_of<IZoMessageJson>,
        iid_of<IZoCauseRemedyCollection>, iid_of<IZoDetailCollection>, iid_of<_IZoEventLoggerEvents>,
        iid_of<IConnectionPointContainer>, iid_of<IConnectionPoint>, iid_of<IUnknown>, iid_of<IDispatch>,
        iid_of<ICreateErrorInfo>, iid_of<IErrorInfo>,
    };
    // clang-format on
    std::string texts;
    std::set<GUID> all = {IID_IZoEventLogger4, IID_IZoEventLogger5, IID_IZoEventLoggerClassName,
                          IID_IZoEventLoggerSourceName};
    for (const GUID* guid : published) {
        texts += Algorithm::uuid_to_string(*guid, false) + "\n";
        all.insert(*guid);
    }
    EXPECT_EQ(crc32(texts), 760905507u) << texts;
    EXPECT_EQ(all.size(), std::size(published) + 4);
    // The first three groups are numbers in native byte order.
    EXPECT_EQ(*reinterpret_cast<const std::uint8_t*>(&CLSID_ZoEventLogger), 0xD6);
}

template <class Base>
std::ptrdiff_t offset_of(Extension& extension) {
    return reinterpret_cast<char*>(static_cast<Base*>(&extension)) - reinterpret_cast<char*>(&extension);
}

TEST(ExtensionLayout, ServerGetsTheSecondBase) {
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
    extension.on_shutdown(Context());
}

TEST(ExtensionLayout, OwnSlotsFollowTheDestructor) {
    EXPECT_EQ(slots_of(&Extension::log_message, &Extension::log_exception, &Extension::log_unknown_exception,
                       &Extension::on_message, &Extension::on_alarm_raised, &Extension::on_alarm_changed,
                       &Extension::forget_event, &Extension::preload_translations),
              (Slots{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(slots_of(&Extension::on_confirm_alarm, &Extension::on_get_events, &Extension::extension_info,
                       &Extension::init, &Extension::on_shutdown, &Extension::on_localize_event,
                       &Extension::on_config_delete, &Extension::on_config_change, &Extension::on_request),
              (Slots{10, 11, 12, 13, 14, 15, 16, 17, 18}));
}

TEST(TargetLayout, SinkIsFirstAndDestructorsLast) {
    auto& library = fakes::FakeProxyLibrary::instance();
    library.reset();
    const auto logger = library.expect_logger("l");
    fakes::FakeHost host;
    Extension extension(&host);
    auto* const target =
        new TargetSystem("domain", &extension, "name", "5.1.1.1.1.1", Timespan(0), 1,
                         std::make_shared<std::atomic<bool>>(false), std::make_shared<std::atomic<std::uint32_t>>(1));
    void* const object = static_cast<IDispatch*>(target);
    ASSERT_EQ(object, static_cast<void*>(target));
    ASSERT_EQ(object, logger->sink());
    EXPECT_EQ(slots_of(&TargetSystem::QueryInterface, &TargetSystem::AddRef, &TargetSystem::Release,
                       &TargetSystem::Invoke, &TargetSystem::GetFuncInfoFromId),
              (Slots{0, 1, 2, 6, 7}));
    EXPECT_NE(logger->sink(), nullptr);
    fakes::call_slot<void>(object, 9);
    EXPECT_EQ(logger->sink(), nullptr);
    extension.on_shutdown(Context());
}

} // namespace
