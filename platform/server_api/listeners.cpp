#include "extension/host/listeners.h"

#include "extension/host/context.h"

namespace ZoHmiSrv {

IZoHmiSrvExt::~IZoHmiSrvExt() = default;
IZoHmiSrvListener::~IZoHmiSrvListener() = default;

ListenerType IZoHmiSrvShutdownListener::type() const noexcept {
    return ListenerType::Shutdown;
}
ListenerType IZoHmiSrvAlarmProviderListener::type() const noexcept {
    return ListenerType::AlarmProvider;
}
ListenerType IZoHmiSrvEventLocalizationListener::type() const noexcept {
    return ListenerType::EventLocalization;
}
ListenerType IZoHmiSrvRequestListener::type() const noexcept {
    return ListenerType::Request;
}
ListenerType IZoHmiSrvConfigListener::type() const noexcept {
    return ListenerType::Config;
}

ResultPair ZoHmiSrvConfigListener::reserved_0(const Context& /*context*/, const char* /*path*/) {
    return {};
}
ResultPair ZoHmiSrvConfigListener::reserved_1(const Context& /*context*/, const char* /*path*/) {
    return {};
}
ResultPair ZoHmiSrvConfigListener::reserved_2(const Context& /*context*/, const char* /*path*/) {
    return {};
}
ResultPair ZoHmiSrvConfigListener::on_config_change(const Context& /*context*/, const char* /*path*/) {
    return {};
}
ResultPair ZoHmiSrvConfigListener::on_config_delete(const Context& /*context*/, const char* /*path*/) {
    return {};
}
ResultPair ZoHmiSrvConfigListener::reserved_5(const Context& /*context*/, const char* /*path*/) {
    return {};
}

} // namespace ZoHmiSrv
