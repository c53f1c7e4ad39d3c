#include "tests/support/captured_syslog.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>

// The header of the system log stays out: where the build is hardened, it replaces calls by a function of another name.

namespace {

std::mutex mutex;
std::vector<std::pair<int, std::string>> lines;

void take_line(int priority, const char* format, std::va_list arguments) {
    char text[512] = "";
    std::vsnprintf(text, sizeof text, format, arguments);
    const std::lock_guard lock(mutex);
    lines.emplace_back(priority, text);
}

} // namespace

std::vector<std::pair<int, std::string>> take_syslog_lines(int up_to) {
    const std::lock_guard lock(mutex);
    auto taken = std::exchange(lines, {});
    std::erase_if(taken, [up_to](const auto& line) { return line.first > up_to; });
    return taken;
}

extern "C" {

__attribute__((visibility("default"))) void syslog(int priority, const char* format, ...);
__attribute__((visibility("default"))) void __syslog_chk(int priority, int flag, const char* format, ...);

void syslog(int priority, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    take_line(priority, format, arguments);
    va_end(arguments);
}

void __syslog_chk(int priority, int, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    take_line(priority, format, arguments);
    va_end(arguments);
}
}
