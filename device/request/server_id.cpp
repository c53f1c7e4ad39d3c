#include "device/request/server_id.h"

#include "device/code/result_codes.h"
#include "device/net/scoped_port.h"
#include "device/request/index_groups.h"
#include "device/request/request_proxy.h"
#include "support/file.h"

namespace ZoHmiFdx {

std::string server_id() {
    std::string id = ZoHmiSrv::File::current_directory();
    const SimpleScopedPort port;
    if (!port.valid()) return id;
    constexpr NrxAddr this_machine{{{127, 0, 0, 1, 1, 1}}, identity_port};
    RequestProxy proxy(static_cast<unsigned long>(port.port()), this_machine, RequestLimits(), false, nullptr);
    const auto [system, code] = proxy.system_id();
    if (code == HMI_FDX_SUCCESS) id += ZoHmiSrv::Algorithm::uuid_to_string(system, false);
    return id;
}

} // namespace ZoHmiFdx
