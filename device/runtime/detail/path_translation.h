#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/translate_path_result.h"

namespace ZoHmiFdx {

/// Translates like `State::translate_path`, but without a cache.
TranslatePathResult translate_path(RuntimeConfig& config, const UnqualifiedFdxPath& path);

} // namespace ZoHmiFdx
