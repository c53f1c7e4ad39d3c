#pragma once

#include "extension/host/export.h"
#include "extension/host/string_holder.h"
#include "extension/host/timestamp.h"
#include "extension/host/value.h"

#include <cstdint>

namespace ZoHmiSrv {

/// The severity of a message or an alarm. The extension's own diagnostics use -1 and 3, targets 0 to 4.
enum class Severity : std::int32_t {};

/// The server defines the numbers. Only the state of an alarm that could not be decoded has a name here.
enum class AlarmState : std::int32_t { Invalid = 4 };

/// The logger sends 1 to 4; all other numbers become 0.
enum class AlarmConfirmationState : std::int32_t {};

/// The common base of Message and Alarm. The order of the operations is part of the interface.
class ZOHMISRV_API EventPayload {
public:
    virtual ~EventPayload();

    virtual void set_name(const char* name) = 0;
    virtual const char* name() const noexcept = 0;
    virtual const char* domain() const noexcept = 0;
    /// A Map, unless a caller changes its type.
    virtual Value& parameters() = 0;
    /// `ValueType::Message` or `ValueType::Alarm`.
    virtual ValueType type() const noexcept = 0;

protected:
    EventPayload() = default;
    EventPayload(const EventPayload&) = default;
    EventPayload(EventPayload&&) = default;
    EventPayload& operator=(const EventPayload&) = default;
    EventPayload& operator=(EventPayload&&) = default;
};

/// A single incident: a diagnostic message of the extension, or a message of a target.
class ZOHMISRV_API Message final : public EventPayload {
public:
    /// Not set: no name, no domain, severity 0, no time; the parameters are an empty Map.
    Message();
    Message(const Message& other);
    Message(Message&& other) noexcept;
    Message& operator=(const Message& other);
    Message& operator=(Message&& other) noexcept;
    ~Message() override;
    void swap(Message& other) noexcept;

    /// True if the message has a name.
    bool isset() const noexcept { return *name_.name() != '\0'; }

    void set_name(const char* name) override;
    const char* name() const noexcept override;
    const char* domain() const noexcept override;
    void set_domain(const char* domain);
    void set_severity(Severity severity) noexcept { severity_ = severity; }
    Timestamp time_raised() const noexcept { return time_raised_; }
    void set_time_raised(const Timestamp& time) noexcept { time_raised_ = time; }
    /// The names of a diagnostic message's parameters are "0", "1", "2" and so on.
    Value& parameters() override;
    ValueType type() const noexcept override;

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    Severity severity() const noexcept {
        return severity_;
    }
    const Value& parameters() const noexcept {
        return parameters_;
    }
    friend ZOHMISRV_API bool operator==(const Message& left, const Message& right);
    /// The conversion of the Value would replace its content.
    friend bool operator==(const Value& left, const Message& right) = delete;
#endif

private:
    friend struct ValueAccess;

    String name_;
    String domain_;
    Severity severity_{};
    Timestamp time_raised_;
    Value parameters_;
};

/// A condition of a target that is raised, then cleared; it may be confirmed in between.
class ZOHMISRV_API Alarm final : public EventPayload {
public:
    /// All numbers and times are 0; the parameters are an empty Map.
    Alarm();
    Alarm(const Alarm& other);
    Alarm(Alarm&& other) noexcept;
    Alarm& operator=(const Alarm& other);
    Alarm& operator=(Alarm&& other) noexcept;
    ~Alarm() override;

    void set_name(const char* name) override;
    const char* name() const noexcept override;
    const char* domain() const noexcept override;
    void set_domain(const char* domain);
    Value& parameters() override;
    ValueType type() const noexcept override;

    int id() const noexcept { return id_; }
    void set_id(int id) noexcept { id_ = id; }
    void set_severity(Severity severity) noexcept { severity_ = severity; }
    AlarmState alarm_state() const noexcept { return alarm_state_; }
    void set_alarm_state(AlarmState state) noexcept { alarm_state_ = state; }
    AlarmConfirmationState confirmation_state() const noexcept { return confirmation_state_; }
    void set_confirmation_state(AlarmConfirmationState state) noexcept { confirmation_state_ = state; }
    /// Raised, not cleared, and not invalid.
    bool is_active() const noexcept {
        return time_raised_ != Timestamp() && time_cleared_ == Timestamp() && alarm_state_ != AlarmState::Invalid;
    }
    Timestamp time_raised() const noexcept { return time_raised_; }
    void set_time_raised(const Timestamp& time) noexcept { time_raised_ = time; }
    Timestamp time_cleared() const noexcept { return time_cleared_; }
    void set_time_cleared(const Timestamp& time) noexcept { time_cleared_ = time; }
    Timestamp time_confirmed() const noexcept { return time_confirmed_; }
    void set_time_confirmed(const Timestamp& time) noexcept { time_confirmed_ = time; }

#ifndef ZOHMISRV_WITHOUT_EXTRAS
    void swap(Alarm& other) noexcept;
    const Value& parameters() const noexcept {
        return parameters_;
    }
    Severity severity() const noexcept {
        return severity_;
    }
    friend ZOHMISRV_API bool operator==(const Alarm& left, const Alarm& right);
    /// As for a Message.
    friend bool operator==(const Value& left, const Alarm& right) = delete;
#endif

private:
    friend struct ValueAccess;

    String name_;
    String domain_;
    int id_ = 0;
    Severity severity_{};
    AlarmState alarm_state_{};
    AlarmConfirmationState confirmation_state_{};
    Timestamp time_raised_;
    Timestamp time_cleared_;
    Timestamp time_confirmed_;
    Value parameters_;
};

} // namespace ZoHmiSrv
