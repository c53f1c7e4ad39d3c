#include "server/dump.h"

#include "server/describe.h"
#include "server/event_json.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace server {

using nlohmann::ordered_json;

namespace {

/// With constant traffic the last attempt may still differ.
constexpr int max_attempts = 20;

ordered_json rows_json(const EventList& events) {
    ordered_json rows = ordered_json::array();
    for (const EventRow& row : events.rows()) {
        ordered_json json{{"number", event_number(row)}};
        json.update(event_json(row.event));
        rows.push_back(std::move(json));
    }
    return rows;
}

} // namespace

void write_dump(const std::filesystem::path& file, const EventList& events, const std::vector<std::string>& incomplete,
                const std::function<bool(ZoHmiSrv::Value&)>& list_events) {
    ordered_json dump;
    for (int attempt = 0; attempt < max_attempts; ++attempt) {
        const std::uint64_t version = events.version();
        ZoHmiSrv::Value listing;
        const bool listed = list_events(listing);
        dump = {{"rows", rows_json(events)}, {"incomplete", incomplete}};
        if (listed) {
            listing.set_type(ZoHmiSrv::ValueType::Vector);
            dump["listing"] = value_json(listing);
        }
        if (events.version() == version) break;
    }
    std::ofstream out(file, std::ios::binary);
    out << json_line(dump) << '\n';
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file.string() + ": " + std::strerror(errno));
}

} // namespace server
