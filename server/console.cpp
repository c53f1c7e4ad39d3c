#include "server/console.h"

namespace server {

void Console::say(const std::string& text) {
    const std::lock_guard lock(mutex_);
    last_ = text;
    if (hushed_) return;
    std::fprintf(stream_, "%s\n", text.c_str());
    std::fflush(stream_);
}

void Console::hush() {
    const std::lock_guard lock(mutex_);
    hushed_ = true;
}

std::string Console::last() const {
    const std::lock_guard lock(mutex_);
    return last_;
}

} // namespace server
