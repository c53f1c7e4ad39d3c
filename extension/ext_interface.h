#pragma once

namespace ZoHmiSrv {
class IZoHmiSrvExt;
class IZoHmiSrvExtHost;
} // namespace ZoHmiSrv

/// The entry of the library. Creates the extension for a host and stores its IZoHmiSrvExt part and the version of the
/// interface, 22.0. Returns 0 always. When an out argument is null, or the extension cannot be created, it stores
/// nothing. The server deletes the extension through the pointer. [server thread]
extern "C" __attribute__((visibility("default"))) int
ext_interface(ZoHmiSrv::IZoHmiSrvExtHost* host, ZoHmiSrv::IZoHmiSrvExt** out_extension, double* out_version);
