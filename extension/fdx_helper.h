#pragma once

#include <set>
#include <string>

namespace ZoHmiEventLogger {

/// What the extension uses of the device access library. [any thread]
class FdxHelper {
public:
    /// The first four numbers of this machine's net id; "" if they cannot be had.
    std::string fetch_local_net_id() const;
    /// The place of the licence report over the targets' net ids; nothing is reported here.
    void licence_targets(const std::set<std::string>& net_ids, const std::string& local) const;
    /// Resolves the placeholders of a configured net id; see actualize_net_id.
    std::string actualize(std::string address, const std::string& local, bool keep_loopback) const;
    /// The name of a device result code.
    std::string error_text(int code) const;
};

} // namespace ZoHmiEventLogger
