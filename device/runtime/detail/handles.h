#pragma once

#include "device/runtime/detail/runtime_entry.h"
#include "device/runtime/handle_request.h"

#include <span>

namespace ZoHmiFdx {

/// See `State::fetch_handles`.
void fetch_handles(RuntimeEntry& entry, const std::shared_ptr<RuntimeConfig>& config, std::span<HandleRequest> requests,
                   const StateOptions& options);
/// See `State::value_failure`.
ZoHmiSrv::ExtensionResult value_failure(RuntimeEntry& entry, RuntimeConfig& config, const HandleRequest& used,
                                        int code);

} // namespace ZoHmiFdx
