#include "device/request/use_low_timeout.h"

#include "device/request/request_proxy.h"

namespace ZoHmiFdx {

UseLowTimeout::UseLowTimeout(unsigned port, int milliseconds)
    : port_(port), saved_timeout_(RequestProxy::get_timeout(static_cast<int>(port))) {
    RequestProxy::set_timeout(static_cast<int>(port), milliseconds);
}

UseLowTimeout::~UseLowTimeout() {
    if (saved_timeout_ > 0) RequestProxy::set_timeout(static_cast<int>(port_), saved_timeout_);
}

} // namespace ZoHmiFdx
