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

/// The events that a logger and a server know, for comparing them.
namespace programs {

using nlohmann::json;

/// An event as both sides know it: raised (ns since 1970), event id, and what it is.
using Known = std::tuple<std::int64_t, std::int64_t, std::string>;

/// Of a logger's list: its newest `limit` events, and its active alarms.
std::multiset<Known> known_to_logger(const json& list, std::size_t limit = std::numeric_limits<std::size_t>::max());
/// Of the server's rows or its listing.
std::multiset<Known> known_to_server(const json& events);
/// All that a server's events hold, but for the numbers of rows.
std::multiset<std::string> contents(const json& events);

/// Equal in any order; what differs is told.
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
