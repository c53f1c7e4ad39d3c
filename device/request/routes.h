#pragma once

#include "device/net/net_id.h"
#include "support/export.h"
#include "support/extension_result.h"

#include <string>

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiFdx {

/// The routes of a target to other targets. [any thread]
class ZO_EXPORT Routes {
public:
    struct Route {
        Route(const NrxNetId& id, std::string name_) : net_id(id), name(std::move(name_)) {}

        NrxNetId net_id;
        std::string name; ///< UTF-8; "?" if the target sends none
    };

    /// Both append the routes of the target to `out` as `append_route` does. `out` becomes a Vector; a Vector keeps its
    /// elements. They send one request after the other over the client port. After a failure, `out` keeps the routes
    /// that were already read. A name that does not fit the received bytes becomes "?"; a record that does not fit ends
    /// the list.
    /// @{
    static ZoHmiSrv::ExtensionResult fetch_routes_from_sys_service(int port, const NrxNetId& target,
                                                                   ZoHmiSrv::Value& out);
    static ZoHmiSrv::ExtensionResult fetch_routes_from_router(int port, const NrxNetId& target, ZoHmiSrv::Value& out);
    /// @}

    /// Appends a Struct with the texts "label", "name" and "value" (the net ID).
    static void append_route(ZoHmiSrv::Value& out, const Route& route);
    /// Returns "name (net ID)".
    [[nodiscard]] static std::string route_label(const std::string& name, const std::string& net_id);
};

} // namespace ZoHmiFdx
