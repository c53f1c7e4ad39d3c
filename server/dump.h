#pragma once

#include "extension/host/value.h"
#include "server/event_list.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace server {

/// Writes the list and a fresh listing of the extension, which is taken while the list does not change:
/// {"rows": [{"number": "17", "name": ..., ...}, ...], "incomplete": ["Bottling"], "listing": [{"name": ..., ...},
/// ...]}. "incomplete" names targets. "listing" is omitted when `list_events` returns false. Throws std::runtime_error
/// when the file cannot be written.
void write_dump(const std::filesystem::path& file, const EventList& events, const std::vector<std::string>& incomplete,
                const std::function<bool(ZoHmiSrv::Value&)>& list_events);

} // namespace server
