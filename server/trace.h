#pragma once

#include "extension/host/event.h"
#include "extension/host/event_payload.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>

namespace server {

/// Writes the calls of an extension, one JSON object a line. Flushes each line at once. The members are "t"
/// (nanoseconds since 1970), "call", and "name", "is_event", "mode", "parameters" and "alarm" where they apply. [any
/// thread]
class Trace {
public:
    /// "-" is standard output, an empty name writes nothing. Throws std::runtime_error when the file cannot be opened.
    explicit Trace(const std::filesystem::path& file);

    /// Writes a call with a name, such as a path or the kind of a listener; null leaves the name out.
    void call(const char* call, const char* name = nullptr);
    void message(const ZoHmiSrv::Message& message, bool is_event);
    void alarm(std::int32_t mode, const ZoHmiSrv::Alarm& alarm);
    void forgotten(const ZoHmiSrv::Event& event);

    /// Returns true if a line could not be written; the reason was printed to standard error.
    [[nodiscard]] bool failed() const;

private:
    struct Close {
        void operator()(std::FILE* file) const;
    };

    void write(nlohmann::ordered_json line);

    mutable std::mutex mutex_;
    std::unique_ptr<std::FILE, Close> file_;
    bool failed_ = false; // reported once
};

} // namespace server
