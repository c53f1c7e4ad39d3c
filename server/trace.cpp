#include "server/trace.h"

#include "server/event_json.h"
#include "server/event_rows.h"

#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace server {

using nlohmann::ordered_json;

void Trace::Close::operator()(std::FILE* file) const {
    if (file != stdout) std::fclose(file);
}

Trace::Trace(const std::filesystem::path& file) {
    if (file.empty()) return;
    file_.reset(file == "-" ? stdout : std::fopen(file.c_str(), "we"));
    if (!file_) throw std::runtime_error("cannot write " + file.string() + ": " + std::strerror(errno));
}

void Trace::write(ordered_json fields) {
    const std::lock_guard lock(mutex_);
    // Under the lock, so that times ascend from line to line.
    ordered_json line{{"t", ZoHmiSrv::Timestamp::now().nanoseconds()}};
    line.update(fields);
    const std::string text = json_line(line) + "\n";
    const bool written =
        std::fwrite(text.data(), 1, text.size(), file_.get()) == text.size() && std::fflush(file_.get()) == 0;
    if (!written && !failed_) {
        failed_ = true;
        std::fprintf(stderr, "zo-hmi-server: cannot write the trace: %s\n", std::strerror(errno));
    }
}

bool Trace::failed() const {
    const std::lock_guard lock(mutex_);
    return failed_;
}

void Trace::call(const char* call, const char* name) {
    if (!file_) return;
    ordered_json line{{"call", call}};
    if (name != nullptr) line["name"] = name;
    write(std::move(line));
}

void Trace::message(const ZoHmiSrv::Message& message, bool is_event) {
    if (!file_) return;
    write({{"call", "send_message"},
           {"name", message.name()},
           {"is_event", is_event},
           {"parameters", value_json(message.parameters())}});
}

void Trace::alarm(std::int32_t mode, const ZoHmiSrv::Alarm& alarm) {
    if (!file_) return;
    write({{"call", "notify_alarm"}, {"name", alarm.name()}, {"mode", mode}, {"alarm", alarm_json(alarm)}});
}

void Trace::forgotten(const ZoHmiSrv::Event& event) {
    if (!file_) return;
    ordered_json line{{"call", "forget_event"}, {"name", event.name()}};
    if (const auto* alarm = alarm_of(event)) {
        line["alarm"] = alarm_json(*alarm);
    } else if (const auto* message = message_of(event)) {
        line["parameters"] = value_json(message->parameters());
    }
    write(std::move(line));
}

} // namespace server
