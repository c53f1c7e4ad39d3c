#pragma once

#include <string>
#include <utility>
#include <vector>

// What this test program sent to the system log since the last look: priority and text, up to a priority (6 leaves out
// what is for debugging, 7). The function that sends it is replaced here.
std::vector<std::pair<int, std::string>> take_syslog_lines(int up_to = 6);
