#pragma once

#include "extension/host/result.h"

#include <optional>

namespace ZoHmiSrv {
class IZoHmiSrvExt;
}

namespace server {

class Host;
class Signals;

/// The end of an extension's `init`.
struct Start {
    std::optional<ZoHmiSrv::ResultPair> result; ///< nothing after an exception
    bool stopped = false;                       ///< SIGINT or SIGTERM came before its end
    bool reload = false;                        ///< SIGHUP came before its end
};

/// Runs `init` on a thread of its own, while this one waits for signals. In `init` an extension may try many targets,
/// each for its whole timeout. SIGINT and SIGTERM call the shutdown listener, which makes `init` end early.
[[nodiscard]] Start start(ZoHmiSrv::IZoHmiSrvExt& extension, Host& host, Signals& signals);

} // namespace server
