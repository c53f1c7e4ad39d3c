#pragma once

#include "extension/host/context.h"
#include "extension/host/export.h"
#include "extension/host/string_holder.h"
#include "extension/host/timestamp.h"
#include "extension/host/value.h"

namespace ZoHmiSrv {

/// The envelope of the event store: origin, time, and a Message or an Alarm as the payload.
class ZOHMISRV_API Event {
public:
    Event() noexcept;
    Event(const Event& other);
    Event(Event&& other) noexcept;
    Event& operator=(Event&& other) noexcept;
    ~Event();
    void swap(Event& other) noexcept;

    const char* name() const noexcept { return name_.name(); }
    void set_name(const char* name);
    const char* domain() const noexcept { return domain_.name(); }
    void set_domain(const char* domain);
    const Session& session() const noexcept { return session_; }
    void set_session(const Session& session);
    Timestamp time_received() const noexcept { return time_received_; }
    void set_time_received(const Timestamp& time) noexcept { time_received_ = time; }
    Value& payload() noexcept { return payload_; }
    const Value& payload() const noexcept { return payload_; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    Event& operator=(const Event& other);
    friend bool operator==(const Event& left, const Event& right) = default;
#endif

private:
    friend struct ValueAccess;

    String name_;
    String domain_;
    Session session_;
    Timestamp time_received_;
    Value payload_;
};

} // namespace ZoHmiSrv
