#include "platform/logger_proxy/logger_link.h"

#include "platform/link/event_record.h"
#include "platform/link/routes.h"
#include "platform/logger_proxy/notification_reader.h"

#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

namespace zo_logger_proxy {

namespace {

namespace code = zo_link::code;
using nlohmann::json;
using zo_link::Connection;

constexpr std::uint32_t default_timeout_ms = 5000;

/// Its address in memory identifies this library.
constexpr char anchor = 0;

struct Endpoint {
    std::string host;
    std::string port;
};

bool find_route(const std::string& address, Endpoint& endpoint) {
    const auto routes = zo_link::read_routes(zo_link::default_routes_path(&anchor));
    if (!routes) return false;
    const auto it = routes->routes.find(zo_link::normalise_net_id(address));
    if (it == routes->routes.end()) return false;
    const std::size_t colon = it->second.rfind(':');
    if (colon == std::string::npos) return false;
    endpoint = {it->second.substr(0, colon), it->second.substr(colon + 1)};
    return true;
}

bool read_items(const json& answer, bool alarms, std::size_t max_items, std::vector<Snapshot>& records) {
    const auto items = answer.find("items");
    if (items == answer.end() || !items->is_array() || items->size() > max_items) return false;
    for (const json& item : *items) {
        auto record = std::make_shared<zo_link::EventRecord>();
        if (!zo_link::event_from_json(item, alarms, *record)) return false;
        records.push_back(std::move(record));
    }
    return true;
}

} // namespace

LoggerLink::LoggerLink() : callbacks_(std::make_shared<CallbackQueue>()), timeout_ms_(default_timeout_ms) {
}

std::shared_ptr<LoggerLink> LoggerLink::make() {
    const std::shared_ptr<LoggerLink> link(new LoggerLink);
    link->alarms_ = std::make_shared<AlarmTable>(link);
    return link;
}

void LoggerLink::set_timeout(std::uint32_t milliseconds) {
    timeout_ms_ = milliseconds != 0 ? milliseconds : default_timeout_ms;
    if (const auto connection = current().connection) connection->set_timeout(timeout());
}

std::uint32_t LoggerLink::connect(const std::string& address, bool settings, bool preload) {
    const std::lock_guard connect_lock(connect_mutex_);
    disconnect();
    std::uint64_t generation = 0;
    {
        const std::lock_guard lock(state_mutex_);
        generation = ++generation_;
    }
    Endpoint endpoint;
    if (!find_route(address, endpoint)) return code::no_route;

    Current made;
    std::shared_ptr<NotificationReader> reader;
    {
        const std::lock_guard lock(state_mutex_);
        if (generation != generation_) return code::aborted;
        made.epoch = callbacks_->begin(alarms_);
        reader = std::make_shared<NotificationReader>(callbacks_, made.epoch);
        made.connection = std::make_shared<Connection>(reader);
        opening_ = made.connection;
    }
    json hello = {{"role", "logger"}, {"address", address}, {"settings", settings}};
    if (settings) hello["preload"] = preload;
    const std::uint32_t result = made.connection->open(endpoint.host, endpoint.port, hello, timeout()).result;
    made.instance = reader->instance();

    const std::lock_guard lock(state_mutex_);
    if (generation != generation_) return code::aborted;
    opening_.reset();
    if (zo_link::failed(result))
        callbacks_->end(made.epoch);
    else
        current_ = std::move(made);
    return result;
}

void LoggerLink::disconnect() {
    std::shared_ptr<Connection> opening;
    Current old;
    {
        const std::lock_guard lock(state_mutex_);
        ++generation_;
        opening = std::exchange(opening_, nullptr);
        old = std::exchange(current_, Current());
        callbacks_->end();
    }
    if (opening) opening->close();
    if (old.connection) old.connection->close();
}

LoggerLink::Current LoggerLink::current() const {
    const std::lock_guard lock(state_mutex_);
    return current_;
}

bool LoggerLink::is_connected() const {
    const Current now = current();
    return now.connection && now.connection->is_open() && callbacks_->is_current(now.epoch);
}

std::uint32_t LoggerLink::exchange(const Current& over, const char* operation, const json& fields, const Reader& read,
                                   std::uint64_t& mark) {
    if (!over.connection) return code::not_connected;
    const zo_link::Reply reply = over.connection->request(operation, fields, timeout());
    if (zo_link::failed(reply.result)) return reply.result;
    mark = reply.mark;
    if (read(*reply.body)) return reply.result;
    over.connection->close();
    callbacks_->end(over.epoch);
    return code::bad_answer;
}

std::uint32_t LoggerLink::request(const char* operation, const json& fields, const Reader& read) {
    std::uint64_t mark = 0;
    return exchange(current(), operation, fields, read, mark);
}

std::uint32_t LoggerLink::list(const Current& over, const char* operation, const json& fields, bool alarms,
                               std::size_t max_items, std::vector<Snapshot>& records, std::uint64_t& mark) {
    const auto read = [&](const json& answer) { return read_items(answer, alarms, max_items, records); };
    const std::uint32_t result = exchange(over, operation, fields, read, mark);
    if (zo_link::failed(result)) return result;
    return callbacks_->wait_done(over.epoch, mark) ? result : code::not_connected;
}

std::uint32_t LoggerLink::logged_events(std::uint32_t count, std::vector<Snapshot>& events) {
    std::uint64_t mark = 0;
    return list(current(), zo_link::op::get_logged_events, {{"count", count}}, false, count, events, mark);
}

std::uint32_t LoggerLink::active_alarms(std::vector<ZoAtlCom::CComPtr<Alarm>>& alarms) {
    const AlarmTable::Pin pin(*alarms_);
    const Current over = current();
    std::vector<Snapshot> records;
    std::uint64_t mark = 0;
    const std::uint32_t result =
        list(over, zo_link::op::get_active_alarms, json::object(), true, zo_link::max_list_items, records, mark);
    if (zo_link::failed(result)) return result;
    for (Snapshot& record : records) {
        const AlarmKey key{over.instance, record->handle};
        alarms.push_back(alarms_->get(key, std::move(record), mark));
    }
    return result;
}

std::uint32_t LoggerLink::confirm(const AlarmKey& alarm) {
    const Current over = current();
    if (over.connection && over.connection->is_open() && over.instance != alarm.instance) return code::not_found;
    std::uint64_t mark = 0;
    return exchange(
        over, zo_link::op::confirm, {{"handle", alarm.handle}}, [](const json&) { return true; }, mark);
}

void LoggerLink::close() {
    disconnect();
    callbacks_->stop();
}

} // namespace zo_logger_proxy
