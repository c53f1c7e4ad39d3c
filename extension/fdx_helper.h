#pragma once

#include <set>
#include <string>

namespace ZoHmiEventLogger {

/// The operations of the device access library that the extension uses. [any thread]
class FdxHelper {
public:
    /// Returns the first four numbers of this machine's net id; "" when they are not available.
    std::string fetch_local_net_id() const;
    /// Does nothing in this build. It is the place to report the targets' net ids for licensing.
    void licence_targets(const std::set<std::string>& net_ids, const std::string& local) const;
    /// Returns a configured net id with its placeholders resolved; see actualize_net_id.
    std::string actualize(std::string address, const std::string& local, bool keep_loopback) const;
    /// Returns the name of a device result code.
    std::string error_text(int code) const;
};

} // namespace ZoHmiEventLogger
