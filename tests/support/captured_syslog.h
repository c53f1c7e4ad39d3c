#pragma once

#include <string>
#include <utility>
#include <vector>

/// Returns and removes the lines that this program sent to the system log: priority and text, up to a priority. 6
/// leaves out debug lines (7). The sources of this header replace the function that sends them. [any thread]
std::vector<std::pair<int, std::string>> take_syslog_lines(int up_to = 6);
