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

/// Reads a state file. Empty if there is no file. Skips an incomplete last line. Throws StateError for any other
/// damage, for a file that is not regular, and for a file above 1 GiB. [any thread]
std::optional<State> load_state(const std::string& path);

/// The log on disk: one JSON object in each line. The first line has the instance and the next number. Each other line
/// replaces the older version of one occurrence, or erases some. Changes are appended. From time to time the whole
/// state is written to a new file, which is renamed over the old one. Written data survives the process, not the
/// machine. [one thread at a time]
class StateFile {
public:
    /// Locks PATH.lock for its lifetime. Throws StateError if another process has that lock.
    explicit StateFile(std::string path);
    ~StateFile();
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    /// Writes the whole state. Later changes are appended to it. Throws StateError.
    void rewrite(std::uint64_t instance, const EventLog& log);
    /// Throws StateError.
    void append(const std::vector<Change>& changes);
    /// Returns the number of lines since the last rewrite.
    std::size_t appended() const { return appended_; }

private:
    std::string path_;
    int lock_ = -1;
    int file_ = -1;
    std::size_t appended_ = 0;
};

} // namespace zo_sim
