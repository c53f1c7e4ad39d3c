#include "platform/link/event_record.h"

#include <limits>
#include <utility>

#include <nlohmann/json.hpp>

namespace zo_link {

namespace {

using nlohmann::json;
using ZoHmiSrv::Algorithm::guid_from_string;
using ZoHmiSrv::Algorithm::uuid_to_string;

const json* find(const json& map, const char* name) {
    if (!map.is_object()) return nullptr;
    const auto it = map.find(name);
    return it == map.end() ? nullptr : &*it;
}

template <typename T>
bool read_integer(const json* value, T& out) {
    if (value == nullptr) return false;
    if (value->is_number_unsigned()) {
        const auto number = value->get<std::uint64_t>();
        if (!std::in_range<T>(number)) return false;
        out = static_cast<T>(number);
        return true;
    }
    if (!value->is_number_integer()) return false;
    const auto number = value->get<std::int64_t>();
    if (!std::in_range<T>(number)) return false;
    out = static_cast<T>(number);
    return true;
}

/// Reads a field if it is present; a missing field leaves `value` unchanged.
template <typename T>
bool read_optional(const json& map, const char* name, T& value) {
    return find(map, name) == nullptr || read_field(map, name, value);
}

template <typename T>
bool read_optional(const json& map, const char* name, std::optional<T>& value) {
    if (find(map, name) == nullptr) {
        value.reset();
        return true;
    }
    return read_field(map, name, value.emplace());
}

bool read_optional_flag(const json& map, const char* name, std::int16_t& value) {
    return find(map, name) == nullptr || read_flag(map, name, value);
}

json flag_to_json(std::int16_t value) {
    return value == -1 ? json(true) : json(value);
}

} // namespace

bool read_field(const json& map, const char* name, std::uint32_t& value) {
    return read_integer(find(map, name), value);
}
bool read_field(const json& map, const char* name, std::int32_t& value) {
    return read_integer(find(map, name), value);
}
bool read_field(const json& map, const char* name, std::uint64_t& value) {
    return read_integer(find(map, name), value);
}
bool read_field(const json& map, const char* name, std::int64_t& value) {
    return read_integer(find(map, name), value);
}

bool read_field(const json& map, const char* name, std::string& value) {
    const json* field = find(map, name);
    if (field == nullptr || !field->is_string()) return false;
    value = field->get_ref<const std::string&>();
    return true;
}

bool read_field(const json& map, const char* name, std::vector<std::uint8_t>& value) {
    const json* field = find(map, name);
    if (field == nullptr || !field->is_binary()) return false;
    value = field->get_binary();
    return true;
}

bool read_field(const json& map, const char* name, GUID& value) {
    const json* field = find(map, name);
    if (field == nullptr || !field->is_string()) return false;
    const auto guid = guid_from_string(field->get_ref<const std::string&>(), false);
    if (guid) value = *guid;
    return guid.has_value();
}

bool read_field(const json& map, const char* name, std::array<std::uint32_t, 5>& value) {
    const json* field = find(map, name);
    if (field == nullptr || !field->is_array() || field->size() != value.size()) return false;
    for (std::size_t i = 0; i < value.size(); ++i)
        if (!read_integer(&(*field)[i], value[i])) return false;
    return true;
}

bool read_flag(const json& map, const char* name, std::int16_t& value) {
    const json* field = find(map, name);
    if (field != nullptr && field->is_boolean()) {
        value = field->get<bool>() ? std::int16_t{-1} : std::int16_t{0};
        return true;
    }
    return read_integer(field, value);
}

json event_to_json(const EventRecord& record) {
    json map = {{"class", uuid_to_string(record.event_class, false)}, {"id", record.event_id}};
    const auto number = [&map](const char* name, auto value) {
        if (value != 0) map[name] = value;
    };
    number("severity", record.severity);
    number("type", record.type);
    number("raised", record.raised);
    number("cleared", record.cleared);
    number("confirmed", record.confirmed);
    number("confirmation", record.confirmation);
    number("handle", record.handle);
    if (record.source_id || record.source_guid || record.source_name) {
        json& source = map["source"] = json::object();
        if (record.source_id) source["id"] = *record.source_id;
        if (record.source_guid) source["guid"] = uuid_to_string(*record.source_guid, false);
        if (record.source_name) source["name"] = *record.source_name;
    }
    if (record.with_confirmation != 0) map["with_confirmation"] = flag_to_json(record.with_confirmation);
    if (record.active != 0) map["active"] = flag_to_json(record.active);
    if (record.uid) map["uid"] = *record.uid;
    if (!record.extended) map["extended"] = false;
    if (record.args != std::array<std::uint32_t, 5>{}) map["args"] = record.args;
    if (!record.block.empty()) map["block"] = json::binary(record.block);
    if (record.json) map["json"] = *record.json;
    return map;
}

bool event_from_json(const json& map, bool alarm, EventRecord& record) {
    record = EventRecord();
    if (!read_field(map, "class", record.event_class) || !read_field(map, "id", record.event_id)) return false;
    if (const json* source = find(map, "source")) {
        if (!source->is_object()) return false;
        if (!read_optional(*source, "id", record.source_id) || !read_optional(*source, "guid", record.source_guid) ||
            !read_optional(*source, "name", record.source_name))
            return false;
    }
    if (const json* extended = find(map, "extended")) {
        if (!extended->is_boolean()) return false;
        record.extended = extended->get<bool>();
    }
    return read_optional(map, "severity", record.severity) && read_optional(map, "type", record.type) &&
           read_optional(map, "raised", record.raised) && read_optional(map, "cleared", record.cleared) &&
           read_optional(map, "confirmed", record.confirmed) &&
           read_optional_flag(map, "with_confirmation", record.with_confirmation) &&
           read_optional(map, "confirmation", record.confirmation) &&
           read_optional_flag(map, "active", record.active) && read_optional(map, "uid", record.uid) &&
           read_optional(map, "args", record.args) && read_optional(map, "block", record.block) &&
           read_optional(map, "json", record.json) && read_optional(map, "handle", record.handle) &&
           (!alarm || record.handle != 0);
}

} // namespace zo_link
