#pragma once

#include "simulator/event_log.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zo_sim {

struct State {
    std::uint64_t instance = 0;
    std::uint64_t next_number = 1;
    std::vector<Occurrence> occurrences; // in the order of the log
};

struct StateError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The log on disk: one JSON object a line. The first tells the instance and the next number, each other one puts one
// occurrence in the place of an older version of it, or erases some. Changes are appended; now and then the whole
// is written anew beside the file and renamed over it. Written data survives the process, not the machine.
// [one thread at a time]
class StateFile {
public:
    explicit StateFile(std::string path);
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    // Empty when there is no file. Half a line at the end is passed over; throws StateError for any other damage.
    std::optional<State> load() const;

    // Writes the whole state; later changes are appended to it. Throws StateError.
    void rewrite(std::uint64_t instance, const EventLog& log);
    // Throws StateError.
    void append(const std::vector<Change>& changes);
    // Lines appended since the last rewrite.
    std::size_t appended() const { return appended_; }

private:
    std::string path_;
    int file_ = -1;
    std::size_t appended_ = 0;
};

} // namespace zo_sim
