#pragma once

#include "extension/host/event_payload.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace server {

/// Time from a failed import to the reconnect; it doubles with each failure in a row.
struct RetryPauses {
    std::chrono::steady_clock::duration first = std::chrono::seconds(5);
    std::chrono::steady_clock::duration max = std::chrono::minutes(5);
};

/// Lists the targets whose last import failed, with the time of each reconnect. The extension does not retry a failed
/// import while the link is up, so its list would stay incomplete. [any thread]
class Imports {
public:
    using Clock = std::chrono::steady_clock;

    /// Without pauses no reconnect becomes due.
    explicit Imports(std::optional<RetryPauses> pauses = RetryPauses{}) : pauses_(pauses) {}

    /// Reads the extension's messages: an error between "connected" and the summary of the import means a failed
    /// import. Returns a printable line when an import failed, else "".
    std::string follow(const ZoHmiSrv::Message& message);
    /// Schedules the next reconnect of a target that could not be disconnected.
    void postpone(const std::string& target);
    /// Forgets a target that was deleted or disabled.
    void forget(const std::string& target);

    /// Returns the names of the targets with an incomplete list, not made printable.
    [[nodiscard]] std::vector<std::string> incomplete() const;
    [[nodiscard]] bool is_incomplete(const std::string& target) const;
    /// Returns the printable name of a target, followed by a remark in parentheses if its list is incomplete.
    [[nodiscard]] std::string label(const std::string& target) const;

    /// Blocks until the reconnect of a target is due and returns its name; nothing when a stop is requested.
    std::optional<std::string> wait_until_due(const std::stop_token& stop);

private:
    struct Target {
        bool importing = false;
        bool failed = false;
        Clock::duration pause{};
        std::optional<Clock::time_point> due;
    };

    void schedule(Target& target);
    [[nodiscard]] std::map<std::string, Target>::iterator first_due();

    const std::optional<RetryPauses> pauses_;
    mutable std::mutex mutex_;
    std::condition_variable_any changed_;
    std::map<std::string, Target> targets_;
};

/// The remark on a target whose list is incomplete.
inline constexpr const char* incomplete_text = "import failed, list incomplete";

/// Returns "One, Two: import failed, list incomplete", printable; "" without names.
[[nodiscard]] std::string incomplete_line(const std::vector<std::string>& targets);

} // namespace server
