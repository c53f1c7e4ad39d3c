// The operations of a Value as a Map or Struct.
#include "platform/server_api/value_access.h"

#include <string>
#include <utility>

namespace ZoHmiSrv {

namespace {

/// Turns a value into an unshared Map and runs an operation with a name. The name, and a value to insert, may be a part
/// of the old content. So the content lives until the end of the operation, and the name of a shared tree is copied.
template <class Operation>
auto as_map(Value& value, const NameKey& key, Operation operation) {
    const bool is_map = ValueAccess::is_map(value);
    if (is_map && !ValueAccess::is_shared(value)) return operation(key);
    const std::string name(key.text, key.length);
    Value before;
    if (is_map) {
        ValueAccess::make_unshared(value);
    } else {
        before.swap(value);
        value.set_type(ValueType::Map);
    }
    return operation(NameKey(name.c_str()));
}

} // namespace

const Value& Value::shared_null() noexcept {
    return ValueAccess::null_value();
}

[[gnu::noinline]] Value::Found Value::look_up_long(const char* name) const noexcept {
    const ValueAccess::Place place = ValueAccess::find(*this, NameKey(name));
    return place.found ? Found{place.run, members_of(place.run) + place.at} : Found{};
}

Iterator<Value> Value::unshare_and_find(const char* name) {
    const NameKey key(name);
    const std::string kept(key.text, key.length); // another owner may destroy the tree of the name
    unshare();
    return find(kept.c_str());
}

Value& Value::member(const NameKey& name) {
    return *as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        if (place.found) return &members_of(place.run)[place.at].value;
        Value null;
        return &ValueAccess::emplace(*this, place, key, null);
    });
}

Iterator<Value> Value::insert_member(const NameKey& name, Value&& value) {
    if (&value == this) return insert_member(name, Value(*this));
    return as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        if (!place.found) {
            Value taken = std::move(value); // `value` may be a member, which the insertion moves
            ValueAccess::emplace(*this, place, key, taken);
        }
        return ValueAccess::iterator(place.run, members_of(place.run) + place.at);
    });
}

Iterator<Value> Value::insert_or_update_member(const NameKey& name, Value&& value) {
    if (&value == this) return insert_or_update_member(name, Value(*this));
    return as_map(*this, name, [&](const NameKey& key) {
        ValueAccess::Place place = ValueAccess::locate(*this, key);
        Value taken = std::move(value); // `value` may be a member, which the insertion moves
        if (place.found)
            members_of(place.run)[place.at].value.swap(taken);
        else
            ValueAccess::emplace(*this, place, key, taken);
        return ValueAccess::iterator(place.run, members_of(place.run) + place.at);
    });
}

Iterator<Value> Value::remove(Iterator<Value> position) noexcept {
    if (position == end()) return end();
    ValueAccess::Place place;
    place.run = ValueAccess::run_of(position);
    place.at = static_cast<std::size_t>(ValueAccess::member_at(position) - members_of(place.run));
    if (ValueAccess::index(*this) != nullptr) place = ValueAccess::find(*this, NameKey(position.name()));
    return ValueAccess::erase(*this, place);
}

} // namespace ZoHmiSrv
