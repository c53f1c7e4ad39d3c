// The operations of a Value as a Map or Struct.
#include "platform/server_api/value_access.h"

#include <string>
#include <utility>

namespace ZoHmiSrv {

namespace {

/// Runs an operation on a Map by a name. What the value was before it became a Map lives until the operation is done:
/// the name and the value to insert may be parts of it.
template <class Operation>
auto as_map(Value& value, const char* name, Operation operation) {
    if (ValueAccess::is_map(value)) {
        return operation(NameKey(name));
    }
    const std::string kept = name == nullptr ? "" : name;
    Value before;
    before.swap(value);
    value.set_type(ValueType::Map);
    return operation(NameKey(kept.c_str()));
}

} // namespace

const Value& Value::shared_null() noexcept {
    return ValueAccess::null_value();
}

Value::Found Value::look_up_long(const char* name) const noexcept {
    const ValueAccess::Place place = ValueAccess::find(*this, NameKey(name));
    return place.found ? Found{place.run, members_of(place.run) + place.at} : Found{};
}

Value& Value::operator[](const char* name) {
    return *as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        if (place.found) {
            return &members_of(place.run)[place.at].value;
        }
        Value null;
        return &ValueAccess::emplace(*this, place, key, null);
    });
}

Iterator<Value> Value::insert(const char* name, const Value& value) {
    return insert(name, Value(value));
}

Iterator<Value> Value::insert(const char* name, Value&& value) {
    if (&value == this) {
        return insert(name, Value(*this));
    }
    return as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        if (!place.found) {
            Value taken = std::move(value); // it may be a member, which the insertion moves
            ValueAccess::emplace(*this, place, key, taken);
        }
        return ValueAccess::iterator(place.run, members_of(place.run) + place.at);
    });
}

Iterator<Value> Value::insert(const char* name, const char* text) {
    return insert(name, Value(text));
}

Iterator<Value> Value::insert_or_update(const char* name, const Value& value) {
    return insert_or_update(name, Value(value));
}

Iterator<Value> Value::insert_or_update(const char* name, Value&& value) {
    if (&value == this) {
        return insert_or_update(name, Value(*this));
    }
    return as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        Value taken = std::move(value); // it may be a member, which the insertion moves
        if (place.found) {
            members_of(place.run)[place.at].value.swap(taken);
        } else {
            ValueAccess::emplace(*this, place, key, taken);
        }
        return ValueAccess::iterator(place.run, members_of(place.run) + place.at);
    });
}

Iterator<Value> Value::insert_or_update(const char* name, const char* text) {
    return insert_or_update(name, Value(text));
}

Iterator<Value> Value::remove(Iterator<Value> position) noexcept {
    if (position == end()) {
        return end();
    }
    ValueAccess::Place place;
    place.run = ValueAccess::run_of(position);
    place.at = static_cast<std::size_t>(ValueAccess::member_at(position) - members_of(place.run));
    if (ValueAccess::index(*this) != nullptr) {
        place = ValueAccess::find(*this, NameKey(position.name()));
    }
    return ValueAccess::erase(*this, place);
}

} // namespace ZoHmiSrv
