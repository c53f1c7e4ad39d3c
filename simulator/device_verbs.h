#pragma once

#include "simulator/verbs.h"

#include <functional>
#include <string>

namespace zo_sim {

class DeviceSystem;
class Words;

/// Returns whether a verb belongs to the controllers. [any thread]
bool is_device_verb(VerbKind kind);

/// Reads the arguments of such a verb. Throws VerbError. [any thread]
DeviceVerb parse_device_verb(VerbKind kind, Words& words);
/// Reads a word of hexadecimal digits, two for each byte. Throws VerbError. [any thread]
std::vector<std::uint8_t> hex_word(Words& words);

/// Runs such a verb. `print` gets its output. Throws VerbError. [io thread]
void execute_device_verb(DeviceSystem& devices, const Verb& verb, const std::function<void(const std::string&)>& print);

} // namespace zo_sim
