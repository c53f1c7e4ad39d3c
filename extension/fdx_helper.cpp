#include "extension/fdx_helper.h"

#include "device/code/result_codes.h"
#include "device/net/net_id.h"

#include <utility>

namespace ZoHmiEventLogger {

std::string FdxHelper::fetch_local_net_id() const {
    return ZoHmiFdx::fetch_local_remote_netid_base();
}

void FdxHelper::licence_targets(const std::set<std::string>&, const std::string&) const {
}

std::string FdxHelper::actualize(std::string address, const std::string& local, bool keep_loopback) const {
    return ZoHmiFdx::actualize_net_id(std::move(address), local, keep_loopback);
}

std::string FdxHelper::error_text(int code) const {
    return ZoHmiFdx::fdx_error_to_string(code);
}

} // namespace ZoHmiEventLogger
