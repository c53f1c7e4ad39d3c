#include "tests/system/known_events.h"

namespace programs {

namespace {

std::int64_t nanoseconds(const json& file_time) {
    return (file_time.get<std::int64_t>() - 116444736000000000) * 100;
}

} // namespace

std::multiset<Known> known_to_logger(const json& list, std::size_t limit) {
    const auto known = [](const json& event, bool alarm) {
        return Known(nanoseconds(event["raised"]), event["id"].get<std::int64_t>(), alarm ? "alarm" : "message");
    };
    // An active alarm stands in the log, too. No two events of a logger have the same raised time.
    std::set<Known> active, all;
    for (const json& event : list["alarms"])
        active.insert(known(event, true));
    for (const json& event : list["log"])
        all.insert(known(event, event.value("type", 0) == 1));
    all.insert(active.begin(), active.end());
    auto oldest = all.begin();
    std::advance(oldest, static_cast<std::ptrdiff_t>(all.size() - std::min(limit, all.size())));
    std::set<Known> kept(oldest, all.end());
    kept.insert(active.begin(), active.end());
    return {kept.begin(), kept.end()};
}

std::multiset<Known> known_to_server(const json& events) {
    std::multiset<Known> known;
    for (const json& event : events) {
        const char* kind = event.contains("alarm") ? "alarm" : "message";
        const json& record = event.at(kind);
        known.emplace(record["timeRaised"].get<std::int64_t>(), record["parameters"]["eventId"].get<std::int64_t>(),
                      kind);
    }
    return known;
}

std::multiset<std::string> contents(const json& events) {
    std::multiset<std::string> contents;
    for (json event : events) {
        event.erase("row");
        contents.insert(event.dump());
    }
    return contents;
}

} // namespace programs
