#include "targets/event_key.h"

#include "extension/host/algorithm.h"
#include "targets/getters.h"

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
namespace Algorithm = ZoHmiSrv::Algorithm;

std::optional<std::uint32_t> unique_id_of(IUnknown& object) {
    const auto identity = query<IZoEventIdentity>(object);
    if (!identity) return std::nullopt;
    return get(*identity, &IZoEventIdentity::GetUniqueId);
}

std::string EventKey::text() const {
    if (!occurrence_.exists) return {};
    return Algorithm::to_string(occurrence_.raised) + Algorithm::uuid_to_string(occurrence_.event_class, true) +
           Algorithm::to_string(static_cast<double>(occurrence_.event_id), 2, false);
}

template <class T>
EventKey EventKey::of(T& event) {
    const auto raised = get_time(event, &IZoEvent::GetTimeRaised).nanoseconds();
    const auto event_class = get(event, &IZoEvent::GetEventClass);
    const auto event_id = get(event, &IZoEvent::GetEventId);
    return {unique_id_of(event), raised, event_class, event_id};
}
template EventKey EventKey::of(IZoAlarm&);
template EventKey EventKey::of(IZoMessage&);

void EventKeySet::reserve(std::size_t keys) {
    ids_.reserve(keys);
    with_id_.reserve(keys);
}

void EventKeySet::add(const EventKey& key) {
    if (key.id()) ids_.add(*key.id());
    (key.id() ? with_id_ : without_id_).add(key.occurrence());
}

bool EventKeySet::contains(const EventKey& key) const {
    if (without_id_.contains(key.occurrence())) return true;
    return key.id() ? ids_.contains(*key.id()) : with_id_.contains(key.occurrence());
}

AlarmKey AlarmKey::of(IZoAlarm& alarm) {
    AlarmKey key;
    key.id = unique_id_of(alarm);
    key.raised = get_time(alarm, &IZoEvent::GetTimeRaised).nanoseconds();
    return key;
}

bool operator<(const AlarmKey& a, const AlarmKey& b) {
    if (a.id.has_value() != b.id.has_value()) return b.id.has_value();
    if (a.id.value() != b.id.value()) return a.id.value() < b.id.value();
    return a.raised < b.raised;
}

} // namespace ZoHmiEventLogger
