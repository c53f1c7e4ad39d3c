#pragma once

namespace ZoHmiSrv {
class IZoHmiSrvExt;
class IZoHmiSrvExtHost;
} // namespace ZoHmiSrv

/// The entry of the library. Creates the extension for a host and hands out its IZoHmiSrvExt part and the version of
/// the interface, 22.0. Always 0; when an out argument is null, or the extension cannot be created, nothing is stored.
/// The server deletes the extension through the pointer. [server thread]
extern "C" __attribute__((visibility("default"))) int
ext_interface(ZoHmiSrv::IZoHmiSrvExtHost* host, ZoHmiSrv::IZoHmiSrvExt** out_extension, double* out_version);
