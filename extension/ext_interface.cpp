#include "extension/ext_interface.h"

#include "extension/host/host.h"
#include "extension/zo_hmi_event_logger.h"

int ext_interface(ZoHmiSrv::IZoHmiSrvExtHost* host, ZoHmiSrv::IZoHmiSrvExt** out_extension, double* out_version) {
    if (!out_extension || !out_version) return 0;
    try {
        ZoHmiSrv::initialize_api(host); // before any type of that library is used
        *out_extension = new ZoHmiEventLogger::ZoHmiEventLogger(host);
        *out_version = 22.0;
    } catch (...) { // no exception may leave a C function; the server detects that nothing was stored
    }
    return 0;
}
