#pragma once

#include "device/runtime/runtime_config.h"
#include "device/runtime/translate_path_result.h"

namespace ZoHmiFdx {

/// As `State::translate_path`, without a memory of earlier answers.
TranslatePathResult translate_path(RuntimeConfig& config, const UnqualifiedFdxPath& path);

} // namespace ZoHmiFdx
