#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/translate_path_result.h"

namespace ZoHmiSrv {
class Value;
}

namespace ZoHmiFdx {

/// The top layer, ordered by path.
void browse_top_layer(RuntimeConfig& config, ZoHmiSrv::Value& out, bool with_hidden);
/// Members and properties of the parent, in declared order.
ZoHmiSrv::ExtensionResult browse_members(RuntimeConfig& config, const TranslatePathResult& parent, ZoHmiSrv::Value& out,
                                         bool with_hidden);

} // namespace ZoHmiFdx
