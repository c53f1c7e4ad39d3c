#include "targets/event_key.h"

#include "extension/host/algorithm.h"
#include "extension/host/timestamp.h"
#include "targets/ask.h"

namespace ZoHmiEventLogger {

using namespace ZoEventLoggerFdxProxyLib;
namespace Algorithm = ZoHmiSrv::Algorithm;

namespace {

std::int64_t raised_nanoseconds(IZoEvent& event) {
    return ZoHmiSrv::Timestamp::from_file_time(ask(event, &IZoEvent::GetTimeRaised)).nanoseconds();
}

} // namespace

std::optional<std::uint32_t> unique_id_of(IUnknown& object) {
    const auto identity = query<IZoEventIdentity>(object);
    if (!identity) return std::nullopt;
    return ask(*identity, &IZoEventIdentity::GetUniqueId);
}

EventKey::EventKey(std::optional<std::uint32_t> id, std::int64_t raised, const GUID& event_class,
                   std::uint32_t event_id)
    : id_(id) {
    text_ = Algorithm::to_string(raised);
    text_ += Algorithm::uuid_to_string(event_class, true);
    text_ += Algorithm::to_string(static_cast<double>(event_id), 2, false);
}

template <class T>
EventKey EventKey::of(T& event) {
    const auto raised = raised_nanoseconds(event);
    const auto event_class = ask(event, &IZoEvent::GetEventClass);
    const auto event_id = ask(event, &IZoEvent::GetEventId);
    return {unique_id_of(event), raised, event_class, event_id};
}
template EventKey EventKey::of(IZoAlarm&);
template EventKey EventKey::of(IZoMessage&);

void EventKeySet::reserve(std::size_t keys) {
    ids_.reserve(keys);
    texts_with_id_.reserve(keys);
}

void EventKeySet::add(const EventKey& key) {
    if (key.id()) ids_.insert(*key.id());
    (key.id() ? texts_with_id_ : texts_without_id_).insert(key.text());
}

bool EventKeySet::contains(const EventKey& key) const {
    if (texts_without_id_.contains(key.text())) return true;
    return key.id() ? ids_.contains(*key.id()) : texts_with_id_.contains(key.text());
}

AlarmKey AlarmKey::of(IZoAlarm& alarm) {
    AlarmKey key;
    key.id = unique_id_of(alarm);
    key.raised = raised_nanoseconds(alarm);
    return key;
}

bool operator<(const AlarmKey& a, const AlarmKey& b) {
    if (a.id.has_value() != b.id.has_value()) return b.id.has_value();
    if (a.id.value() != b.id.value()) return a.id.value() < b.id.value();
    return a.raised < b.raised;
}

} // namespace ZoHmiEventLogger
