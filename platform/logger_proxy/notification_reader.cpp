#include "platform/logger_proxy/notification_reader.h"

#include "binding/connection_points.h"
#include "platform/link/event_record.h"

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace zo_logger_proxy {

namespace {

using Event = ZoEventLoggerFdxProxyLib::_IZoEventLoggerEvents;

struct Kind {
    std::string_view name;
    std::int32_t id;
};

constexpr Kind kinds[] = {
    {zo_link::note::message, Event::OnMessageSent},
    {zo_link::note::alarm_raised, Event::OnAlarmRaised},
    {zo_link::note::alarm_cleared, Event::OnAlarmCleared},
    {zo_link::note::alarm_confirmed, Event::OnAlarmConfirmed},
    {zo_link::note::database_changed, Event::OnDatabaseChanged},
};

bool read_event(const nlohmann::json& map, bool alarm, Callback& callback) {
    const auto event = map.find("event");
    if (event == map.end()) return false;
    auto record = std::make_shared<zo_link::EventRecord>();
    if (!zo_link::event_from_json(*event, alarm, *record)) return false;
    callback.record = std::move(record);
    return true;
}

bool read_callback(const nlohmann::json& map, Callback& callback) {
    std::string name;
    if (!zo_link::read_field(map, "note", name)) return false;
    for (const Kind& kind : kinds)
        if (kind.name == name) callback.id = kind.id;
    switch (callback.id) {
    case Event::OnMessageSent:
        return read_event(map, false, callback);
    case Event::OnAlarmRaised:
        return read_event(map, true, callback);
    case Event::OnAlarmCleared:
    case Event::OnAlarmConfirmed:
        return read_event(map, true, callback) && zo_link::read_flag(map, "removed", callback.removed);
    case Event::OnDatabaseChanged:
        return zo_link::read_field(map, "reason", callback.reason);
    default:
        return false;
    }
}

} // namespace

std::uint32_t NotificationReader::on_notification(const nlohmann::json& map, std::size_t size) {
    Callback callback;
    if (!read_callback(map, callback)) return zo_link::code::bad_answer;
    callback.instance = instance_;
    callback.bytes = size;
    return queue_->push(epoch_, std::move(callback)) ? zo_link::code::ok : zo_link::code::busy;
}

} // namespace zo_logger_proxy
