#pragma once

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <tuple>
#include <vector>

/// The events of a logger and of a server, for comparison.
namespace programs {

using nlohmann::json;

/// An event on both sides: raised (ns since 1970), event id, kind.
using Known = std::tuple<std::int64_t, std::int64_t, std::string>;

/// Returns the newest `limit` events of a logger's list, and its active alarms.
inline std::multiset<Known> known_to_logger(const json& list,
                                            std::size_t limit = std::numeric_limits<std::size_t>::max()) {
    const auto known = [](const json& event, bool alarm) {
        const std::int64_t raised = (event["raised"].get<std::int64_t>() - 116444736000000000) * 100;
        return Known(raised, event["id"].get<std::int64_t>(), alarm ? "alarm" : "message");
    };
    // An active alarm is in the log, too. No two events of a logger have the same raised time.
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

/// Returns the events of the server's rows or its listing.
inline std::multiset<Known> known_to_server(const json& events) {
    std::multiset<Known> known;
    for (const json& event : events) {
        const char* kind = event.contains("alarm") ? "alarm" : "message";
        const json& record = event.at(kind);
        known.emplace(record["timeRaised"].get<std::int64_t>(), record["parameters"]["eventId"].get<std::int64_t>(),
                      kind);
    }
    return known;
}

/// Returns a server's events with all fields but the numbers of rows.
inline std::multiset<std::string> contents(const json& events) {
    std::multiset<std::string> contents;
    for (json event : events) {
        event.erase("number");
        contents.insert(event.dump());
    }
    return contents;
}

/// Compares in any order and reports the differences.
template <class T>
testing::AssertionResult same(const std::multiset<T>& first, const std::multiset<T>& second) {
    std::vector<T> missing, extra;
    std::set_difference(second.begin(), second.end(), first.begin(), first.end(), std::back_inserter(missing));
    std::set_difference(first.begin(), first.end(), second.begin(), second.end(), std::back_inserter(extra));
    if (missing.empty() && extra.empty()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "only in the second: " << testing::PrintToString(missing)
                                       << "\nonly in the first: " << testing::PrintToString(extra);
}

} // namespace programs
