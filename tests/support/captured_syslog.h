#pragma once

#include <string>
#include <utility>
#include <vector>

// What this test program sent to the system log: priority and text. The function that sends it is replaced here.
std::vector<std::pair<int, std::string>> take_syslog_lines();
