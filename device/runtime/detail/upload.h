#pragma once

#include "device/runtime/detail/runtime_entry.h"
#include "support/extension_result.h"

#include <cstdint>
#include <span>

namespace ZoHmiFdx {

class State;

/// Adds all symbols or types of a block to a config. Adds none if an entry is malformed. `count` is the number of
/// entries in the block.
ZoHmiSrv::ExtensionResult add_symbol_block(RuntimeConfig& config, std::span<const unsigned char> block,
                                           std::size_t& count);
ZoHmiSrv::ExtensionResult add_datatype_block(RuntimeConfig& config, std::span<const unsigned char> block,
                                             std::size_t& count);

/// See `State::refresh`.
ZoHmiSrv::ExtensionResult refresh_runtime(State& state, RuntimeEntry& entry, const StateOptions& options);

} // namespace ZoHmiFdx
