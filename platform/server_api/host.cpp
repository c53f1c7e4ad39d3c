#include "extension/host/host.h"

namespace ZoHmiSrv {

void IZoHmiSrvExtHost::reserved_0() {
}
void IZoHmiSrvExtHost::reserved_1() {
}
void IZoHmiSrvExtHost::reserved_3() {
}
void IZoHmiSrvExtHost::reserved_4() {
}
void IZoHmiSrvExtHost::reserved_6() {
}
void IZoHmiSrvExtHost::reserved_7() {
}
void IZoHmiSrvExtHost::reserved_9() {
}
void IZoHmiSrvExtHost::reserved_11() {
}
void IZoHmiSrvExtHost::reserved_15() {
}

void ILicenseHost::reserved_0() {
}

/// Values and events are plain objects and need no host.
void initialize_api(IZoHmiSrvExtHost* /*host*/) noexcept {
}

} // namespace ZoHmiSrv
