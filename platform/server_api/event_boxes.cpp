// Events, Messages and Alarms inside Values. Each has a block of its own.
#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "platform/server_api/value_access.h"

#include <compare>
#include <memory>
#include <new>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace ZoHmiSrv {

namespace {

template <class T>
struct BoxKind;
template <>
struct BoxKind<Event> {
    static constexpr auto kind = Layout::EventBox;
    static constexpr auto type = ValueType::Event;
};
template <>
struct BoxKind<Message> {
    static constexpr auto kind = Layout::MessageBox;
    static constexpr auto type = ValueType::Message;
};
template <>
struct BoxKind<Alarm> {
    static constexpr auto kind = Layout::AlarmBox;
    static constexpr auto type = ValueType::Alarm;
};

template <class T>
T& object(Block* box) noexcept {
    static_assert(alignof(T) <= alignof(Block));
    return *reinterpret_cast<T*>(box + 1);
}

template <class T>
Block* new_box() {
    Block* block = Layout::allocate(BoxKind<T>::kind, 1, sizeof(T));
    try {
        new (block + 1) T();
    } catch (...) {
        Layout::deallocate(block);
        throw;
    }
    block->size = 1;
    return block;
}

/// Calls an operation with the object of a box.
template <class Operation>
decltype(auto) visit(Block* box, Operation operation) {
    switch (box->kind) {
    case Layout::EventBox:
        return operation(object<Event>(box));
    case Layout::MessageBox:
        return operation(object<Message>(box));
    default:
        return operation(object<Alarm>(box));
    }
}

auto shell(const Event& event) noexcept {
    return std::tuple(std::string_view(event.name()), std::string_view(event.domain()),
                      std::string_view(event.session().id()), event.time_received());
}
auto shell(const Message& message) noexcept {
    return std::tuple(std::string_view(message.name()), std::string_view(message.domain()), message.severity(),
                      message.time_raised());
}
auto shell(const Alarm& alarm) noexcept {
    return std::tuple(alarm.id(), std::string_view(alarm.name()), std::string_view(alarm.domain()), alarm.severity(),
                      alarm.alarm_state(), alarm.confirmation_state(), alarm.time_raised(), alarm.time_cleared(),
                      alarm.time_confirmed());
}

void copy_fields(const Event& from, Event& to) {
    to.set_name(from.name());
    to.set_domain(from.domain());
    to.set_session(from.session());
    to.set_time_received(from.time_received());
}
void copy_fields(const Message& from, Message& to) {
    to.set_name(from.name());
    to.set_domain(from.domain());
    to.set_severity(from.severity());
    to.set_time_raised(from.time_raised());
}
void copy_fields(const Alarm& from, Alarm& to) {
    to.set_name(from.name());
    to.set_domain(from.domain());
    to.set_id(from.id());
    to.set_severity(from.severity());
    to.set_alarm_state(from.alarm_state());
    to.set_confirmation_state(from.confirmation_state());
    to.set_time_raised(from.time_raised());
    to.set_time_cleared(from.time_cleared());
    to.set_time_confirmed(from.time_confirmed());
}

Value& inside(Event& event) noexcept {
    return event.payload();
}
Value& inside(Message& message) noexcept {
    return message.parameters();
}
Value& inside(Alarm& alarm) noexcept {
    return alarm.parameters();
}

} // namespace

template <class T>
T& ValueAccess::make_box(Value& value) {
    Block* box = new_box<T>();
    value.clear();
    attach(value, BoxKind<T>::type, box);
    return object<T>(box);
}

template Event& ValueAccess::make_box<Event>(Value&);
template Message& ValueAccess::make_box<Message>(Value&);
template Alarm& ValueAccess::make_box<Alarm>(Value&);

Value& ValueAccess::inner(Block* box) noexcept {
    return visit(box, [](auto& object) -> Value& { return inside(object); });
}

int ValueAccess::compare_shell(Block* left, Block* right) noexcept {
    return visit(left, [right](auto& object_left) {
        using T = std::remove_reference_t<decltype(object_left)>;
        const auto order = shell(object_left) <=> shell(object<T>(right));
        return order < 0 ? -1 : static_cast<int>(order > 0);
    });
}

Block* ValueAccess::copy_shell(Block* box) {
    return visit(box, [](auto& from) {
        using T = std::remove_reference_t<decltype(from)>;
        Block* copied = new_box<T>();
        try {
            copy_fields(from, object<T>(copied));
        } catch (...) {
            destroy_shell(copied);
            Layout::deallocate(copied);
            throw;
        }
        return copied;
    });
}

void ValueAccess::destroy_shell(Block* box) noexcept {
    visit(box, [](auto& object) { std::destroy_at(&object); });
}

bool operator==(const Message& left, const Message& right) {
    return shell(left) == shell(right) && left.parameters_ == right.parameters_;
}

bool operator==(const Alarm& left, const Alarm& right) {
    return shell(left) == shell(right) && left.parameters_ == right.parameters_;
}

} // namespace ZoHmiSrv
