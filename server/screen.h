#pragma once

#include "server/event_list.h"

#include <mutex>
#include <string>
#include <thread>

namespace server {

/// The live table on the terminal at standard output: draws the list about four times a second, in the window's size,
/// on a screen of its own that it leaves when it is destroyed.
class Screen {
public:
    /// Starts to draw. The list must outlive this object.
    explicit Screen(const EventList& list);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// What to show as the last thing that was said. [any thread]
    void note(const std::string& line);

private:
    void draw();

    const EventList& list_;
    std::mutex mutex_;
    std::string note_;
    std::string drawn_;
    std::jthread thread_;
};

} // namespace server
