// A logger with any counts, times, strings and arguments, through imports, callbacks and reconnects. A byte of the
// input chooses the next step, the bytes behind it the values of that step.

#include "extension/host/event.h"
#include "extension/host/event_payload.h"
#include "extension/host/value.h"
#include "fuzz/require.h"
#include "targets/target_system.h"
#include "tests/fakes/call_log.h"
#include "tests/fakes/fake_listener.h"
#include "tests/fakes/fake_proxy.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

using ZoHmiEventLogger::LockHolder;
using ZoHmiEventLogger::TargetSystem;

namespace {

/// Reads the bytes of the input; zeros behind its end.
class Bytes {
public:
    explicit Bytes(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    bool empty() const { return bytes_.empty(); }
    template <class Number>
    Number number() {
        Number value{};
        const std::size_t size = std::min(sizeof value, bytes_.size());
        if (size != 0) std::memcpy(&value, bytes_.data(), size);
        bytes_ = bytes_.subspan(size);
        return value;
    }
    std::uint8_t byte() { return number<std::uint8_t>(); }
    std::uint8_t below(std::size_t limit) { return static_cast<std::uint8_t>(byte() % limit); }
    std::string text() {
        const std::size_t size = std::min<std::size_t>(byte(), bytes_.size());
        std::string text(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(size));
        bytes_ = bytes_.subspan(size);
        return text;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

/// A time: small ones are often equal, the others are any.
std::int64_t time_of(Bytes& bytes) {
    const std::uint8_t kind = bytes.byte();
    return kind < 0xf0 ? fakes::file_time(kind % 32) : bytes.number<std::int64_t>();
}

fakes::EventFields fields_of(Bytes& bytes) {
    fakes::EventFields fields;
    const auto parts = bytes.number<std::uint16_t>();
    const auto has = [parts](int bit) { return (parts >> bit & 1) != 0; };
    fields.raised = time_of(bytes);
    fields.unique_id = bytes.byte();
    fields.type = bytes.below(3);
    if (has(0)) fields.unique_id.reset();
    if (has(1)) fields.event_class = bytes.number<GUID>();
    if (has(2)) fields.event_id = bytes.number<std::uint32_t>();
    if (has(3)) fields.severity = bytes.number<std::uint32_t>();
    if (has(4)) fields.cleared = time_of(bytes);
    if (has(5)) fields.confirmed = time_of(bytes);
    if (has(6)) fields.with_confirmation = bytes.number<VARIANT_BOOL>();
    if (has(7)) fields.confirmation_state = bytes.number<std::int32_t>();
    if (has(8)) fields.is_active = bytes.number<VARIANT_BOOL>();
    if (has(9)) fields.source_id = bytes.number<std::uint32_t>();
    if (has(10)) fields.source_guid = bytes.number<GUID>();
    if (has(11)) fields.source_name = bytes.text();
    if (has(12)) fields.json = bytes.text();
    if (has(13)) {
        fields.arguments = bytes.number<ZoEventLoggerFdxProxyLib::ArgumentDescriptor>();
        // The product allocates a block of the logger's size. Gigabytes are allowed, and too slow here.
        const std::uint64_t total = std::uint64_t{fields.arguments.types_size} + fields.arguments.data_size;
        if (total <= std::uint64_t{0x7fffffff}) {
            fields.arguments.types_size %= 4096;
            fields.arguments.data_size %= 4096;
        }
        const std::string block = bytes.text();
        fields.block.assign(block.begin(), block.end());
    }
    if (has(14)) {
        fields.extended = false;
        fields.null_strings = true;
        fields.source_flag = bytes.number<VARIANT_BOOL>();
    }
    fields.moves_block = has(15);
    return fields;
}

class Session {
public:
    explicit Session(Bytes bytes) : bytes_(bytes) {}

    void run() {
        connect();
        while (!bytes_.empty()) {
            step();
            check();
        }
        // Active alarms without identity cannot be distinguished: imports with them fail.
        if (nameless_) return;
        // After any input a logger without faults is imported.
        logger_->plan->clear();
        logger_->reported_active_count.reset();
        logger_->reported_history_count.reset();
        logger_->history = {logger_->make_logged_event({.raised = fakes::file_time(1)})};
        logger_->active.clear();
        logger_->connected = VARIANT_FALSE;
        require(connect());
        require(target_->counters().cached_alarms == 1 && listed().size() == 1);
    }

private:
    bool connect() {
        LockHolder holder;
        try {
            return target_->connect(holder);
        } catch (const ZoAtlCom::CAtlException&) {
            return false;
        }
    }

    ZoHmiSrv::Value listed() {
        ZoHmiSrv::Value list;
        target_->list_events(list);
        return list;
    }

    void step() {
        switch (bytes_.below(13)) {
        case 0:
            logger_->history.push_back(logger_->make_logged_event(fields_of(bytes_)));
            break;
        case 1:
            logger_->active.push_back(make_alarm());
            break;
        case 2:
            logger_->fire_message(logger_->make_message(fields_of(bytes_)));
            break;
        case 3:
            alarms_.push_back(make_alarm());
            logger_->fire_raised(alarms_.back());
            break;
        case 4:
            if (const auto alarm = some_alarm()) logger_->fire_raised(alarm);
            break;
        case 5:
            if (const auto alarm = some_alarm()) logger_->fire_cleared(alarm, bytes_.number<VARIANT_BOOL>());
            break;
        case 6:
            if (const auto alarm = some_alarm()) logger_->fire_confirmed(alarm, bytes_.number<VARIANT_BOOL>());
            break;
        case 7:
            if (const auto alarm = some_alarm()) {
                const auto fields = next_alarm();
                alarm->update([&](fakes::EventFields& old) { old = fields; });
            }
            break;
        case 8:
            logger_->fire_database_changed(bytes_.number<std::int32_t>());
            break;
        case 9:
            (bytes_.below(2) == 0 ? logger_->reported_active_count : logger_->reported_history_count) =
                bytes_.number<std::int32_t>();
            break;
        case 10:
            logger_->plan->answer_any(bytes_.below(2) == 0 ? E_FAIL : S_OK, bytes_.byte());
            break;
        case 11:
            // A callback during the import.
            if (const auto alarm = some_alarm())
                logger_->plan->run("GetActiveAlarms", 1, [this, alarm] { logger_->fire_raised(alarm); });
            logger_->connected = VARIANT_FALSE;
            connect();
            break;
        default: {
            ZoHmiSrv::Alarm alarm;
            alarm.set_id(bytes_.byte());
            target_->confirm_alarm(alarm);
        }
        }
    }

    fakes::EventFields next_alarm() {
        const auto fields = fields_of(bytes_);
        if (!fields.unique_id) nameless_ = true;
        return fields;
    }
    fakes::AlarmPtr make_alarm() { return logger_->make_alarm(next_alarm()); }

    fakes::AlarmPtr some_alarm() {
        const std::uint8_t number = bytes_.byte();
        auto& from = number % 2 == 0 ? alarms_ : logger_->active;
        return from.empty() ? fakes::AlarmPtr() : from[number / 2 % from.size()];
    }

    void check() {
        const auto counters = target_->counters();
        const ZoHmiSrv::Value list = listed();
        require(list.size() == counters.active_alarms + counters.not_live);
        require(counters.cached_alarms + counters.cached_messages <= list.size());
        require(counters.not_live <= limit);
        std::int64_t last = 0;
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::int64_t time = list[i].get_event().time_received().nanoseconds();
            require(i == 0 || last <= time);
            last = time;
        }
        fakes::call_log().clear();
    }

    static constexpr std::uint32_t limit = 4;

    Bytes bytes_;
    bool nameless_ = false;
    fakes::FakeListener listener_;
    const fakes::LoggerPtr logger_ = fakes::FakeProxyLibrary::instance().expect_logger();
    std::vector<fakes::AlarmPtr> alarms_;
    const std::shared_ptr<TargetSystem> target_{
        new TargetSystem("dom", &listener_, "T", "5.1.2.3.1.1", ZoHmiSrv::Timespan(1'000'000'000L), limit,
                         std::make_shared<std::atomic<bool>>(false), std::make_shared<std::atomic<std::uint32_t>>(1)),
        &TargetSystem::destroy};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Session(Bytes({data, size})).run();
    require(fakes::FakeProxyLibrary::instance().reset() == 0); // no reference is lost
    return 0;
}
