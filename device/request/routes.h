#pragma once

#include "device/net/net_id.h"
#include "support/export.h"
#include "support/extension_result.h"

#include <string>

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiFdx {

/// The routes that a target knows: to which other targets it can pass requests. [any thread]
class ZO_EXPORT Routes {
public:
    struct Route {
        Route(const NrxNetId& id, std::string name_) : net_id(id), name(std::move(name_)) {}

        NrxNetId net_id;
        std::string name; ///< UTF-8, "?" where the target gives none
    };

    /// Both make `out` a Vector (which keeps what it holds) and append the routes of the target as `append_route` does.
    /// They use the client port and send one request after the other; what came before a failure stays in `out`.
    /// A record is read within the bytes that came: what does not fit has the name "?" or ends the list.
    /// @{
    static ZoHmiSrv::ExtensionResult fetch_routes_from_sys_service(int port, const NrxNetId& target,
                                                                   ZoHmiSrv::Value& out);
    static ZoHmiSrv::ExtensionResult fetch_routes_from_router(int port, const NrxNetId& target, ZoHmiSrv::Value& out);
    /// @}

    /// Appends a Struct with the texts "label", "name" and "value" (the net ID).
    static void append_route(ZoHmiSrv::Value& out, const Route& route);
    /// "name (net ID)".
    [[nodiscard]] static std::string route_label(const std::string& name, const std::string& net_id);
};

} // namespace ZoHmiFdx
