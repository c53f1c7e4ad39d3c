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

/// The calls of an extension, one JSON object a line, each written out at once: "t", nanoseconds since 1970, "call",
/// and what applies of "name", "is_event", "mode", "parameters", "alarm". [any thread]
class Trace {
public:
    /// "-" is standard output, an empty name writes nothing. Throws std::runtime_error when the file cannot be opened.
    explicit Trace(const std::filesystem::path& file);

    /// A call that is known by its name alone, such as a path or the kind of a listener; null leaves it out.
    void call(const char* call, const char* name = nullptr);
    void message(const ZoHmiSrv::Message& message, bool is_event);
    void alarm(std::int32_t mode, const ZoHmiSrv::Alarm& alarm);
    void forgotten(const ZoHmiSrv::Event& event);

    /// Whether a line could not be written; standard error has been told why.
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
