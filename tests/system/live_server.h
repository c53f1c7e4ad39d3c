#pragma once

#include "server/configuration.h"
#include "server/event_list.h"
#include "server/extension_library.h"
#include "server/host.h"
#include "server/trace.h"
#include "tests/system/programs.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace programs {

/// The server inside this process, with the product loaded as the program loads it, so that a test can look at its list
/// at any time. One at a time in a process.
class LiveServer {
public:
    /// Routes are pairs of net id and address. Fails the test when the extension's `init` does not succeed.
    LiveServer(const TemporaryFolder& folder, const json& config,
               const std::vector<std::pair<std::string, std::string>>& routes);
    ~LiveServer();

    /// The server's list, and what the extension lists.
    json rows() const;
    json listing();
    /// How many lines the server said that begin so: "message ", "raised ", "forgotten ", "reset", "log NAME", ...
    std::size_t said(const std::string& first_words) const;
    /// The last lines that it said, for a failing test.
    std::string last_words() const;
    void change_config(const json& config);
    /// Ends the extension and unloads it.
    void stop();

private:
    void hear(const std::string& line);

    const std::filesystem::path config_;
    mutable std::mutex mutex_;
    std::map<std::string, std::size_t> said_; // by first word, for log lines by the first two
    std::vector<std::string> lines_;
    server::Trace trace_{{}};
    server::EventList events_;
    std::optional<server::Configuration> configuration_;
    std::optional<server::Host> host_;
    std::optional<server::ExtensionLibrary> library_;
};

} // namespace programs
