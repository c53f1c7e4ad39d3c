#include "server/console.h"

#include <cerrno>

namespace server {

void Console::print(const std::string& text) {
    const std::lock_guard lock(mutex_);
    last_ = text;
    if (quiet_) return;
    const bool written = std::fprintf(stream_, "%s\n", text.c_str()) >= 0 && std::fflush(stream_) == 0;
    if (!written && error_ == 0) error_ = errno;
}

void Console::set_quiet() {
    const std::lock_guard lock(mutex_);
    quiet_ = true;
}

std::string Console::last() const {
    const std::lock_guard lock(mutex_);
    return last_;
}

int Console::error() const {
    const std::lock_guard lock(mutex_);
    return error_;
}

} // namespace server
