#include "server/event_list.h"

#include <algorithm>

namespace server {

using ZoHmiSrv::Alarm;
using ZoHmiSrv::Event;
using ZoHmiSrv::Message;
using ZoHmiSrv::Value;
using ZoHmiSrv::ValueType;

namespace {

constexpr std::size_t max_forgotten = 64;

const char* target_of(const Event& event) {
    return parameters_of(event)["targetName"].get_string();
}

bool is_active(const EventRow& row) {
    const Alarm* alarm = alarm_of(row.event);
    return alarm != nullptr && alarm->is_active() && !row.removed;
}

} // namespace

EventList::Outcome EventList::notify_alarm(std::int32_t mode, const Alarm& alarm) {
    return take({Call::Kind::alarm, mode, event_of(alarm)});
}

EventList::Outcome EventList::add_message(const Message& message) {
    return take({Call::Kind::message, 0, event_of(message)});
}

EventList::Outcome EventList::forget(const Event& event) {
    return take({Call::Kind::forget, 0, event});
}

EventList::Outcome EventList::take(Call call) {
    const std::lock_guard lock(mutex_);
    if (call.kind == Call::Kind::message && was_forgotten(call.event)) return {};
    const Outcome outcome = apply(rows_, call);
    if (outcome.done != Outcome::Done::nothing) {
        ++version_;
    } else if (call.kind == Call::Kind::forget && alarm_of(call.event) == nullptr) {
        forgotten_.push_back(call.event);
        if (forgotten_.size() > max_forgotten) forgotten_.pop_front();
    }
    if (call.kind == Call::Kind::message) settled_.emplace(target_of(call.event));
    if (!listings_.empty()) {
        call.row = outcome.row;
        calls_.push_back(std::move(call));
    }
    return outcome;
}

bool EventList::was_forgotten(const Event& event) {
    const auto found = std::find_if(forgotten_.begin(), forgotten_.end(), [&](const Event& forgotten) {
        return forgotten.time_received() == event.time_received() && forgotten.payload() == event.payload();
    });
    if (found == forgotten_.end()) return false;
    forgotten_.erase(found);
    return true;
}

EventList::Outcome EventList::apply(EventRows& rows, Call& call) {
    using Done = Outcome::Done;
    const auto add = [&]() -> Outcome {
        const std::uint64_t number = call.row != 0 ? call.row : next_row_++;
        rows.append({number, call.event, false, false});
        return {Done::added, number};
    };
    switch (call.kind) {
    case Call::Kind::alarm: {
        const auto row = rows.find_alarm(alarm_of(call.event)->id());
        if (row == rows.end()) return call.mode == 0 ? add() : Outcome{};
        row->event = call.event;
        if (call.mode != 1) row->removed = call.mode == 2;
        if (row->number == 0) row->number = call.row;
        return {Done::changed, row->number};
    }
    case Call::Kind::message: {
        auto row = rows.end();
        if (!settled_.contains(target_of(call.event))) {
            row = rows.find_other(call.event, [](const EventRow& equal) { return equal.listed_only; });
        }
        if (row == rows.end()) return add();
        call.absorbed = true;
        row->listed_only = false;
        if (row->number == 0) row->number = call.row;
        return {Done::changed, row->number};
    }
    case Call::Kind::forget: {
        const auto row = rows.find(call.event);
        if (row == rows.end()) return {};
        const std::uint64_t number = row->number;
        rows.erase(row);
        return {Done::removed, number};
    }
    }
    return {};
}

std::size_t EventList::reset(const Listing& listing) {
    const std::uint64_t ticket = begin_listing();
    Value listed;
    try {
        listing(listed);
    } catch (...) {
        finish_listing(ticket, Value());
        throw;
    }
    return finish_listing(ticket, std::move(listed));
}

std::uint64_t EventList::begin_listing() {
    const std::lock_guard lock(mutex_);
    listings_.emplace(++last_ticket_, Start{dropped_calls_ + calls_.size(), next_row_});
    return last_ticket_;
}

std::size_t EventList::finish_listing(std::uint64_t ticket, Value listed) {
    const std::lock_guard lock(mutex_);
    const Start start = listings_.extract(ticket).mapped();
    // Otherwise a listing that began later has already replaced the list.
    if (ticket > shown_ticket_) {
        EventRows fresh = adopt(std::move(listed), start.next_row);
        settled_.clear();
        for (std::size_t i = start.first_call - dropped_calls_; i < calls_.size(); ++i) {
            Call call = calls_[i];
            // The message was in the extension's store before this listing began. The listing decides whether it still
            // exists.
            if (call.absorbed && call.row < start.next_row) continue;
            apply(fresh, call);
        }
        for (EventRow& row : fresh.all()) {
            if (row.number == 0) row.number = next_row_++;
        }
        rows_ = std::move(fresh);
        shown_ticket_ = ticket;
        ++version_;
    }
    drop_old_calls();
    return rows_.all().size();
}

/// Returns rows for the listed events. Events that were in the list before the listing began keep their numbers, the
/// others have the number 0 for now. Their old rows are removed.
EventRows EventList::adopt(Value listed, std::uint64_t next_row) {
    EventRows fresh;
    if (listed.type() != ValueType::Vector) return fresh;
    for (auto item = listed.begin_vector(); item != listed.end_vector(); ++item) {
        if (item->type() != ValueType::Event) continue;
        EventRow row{0, std::move(item->get_event()), false, false};
        if (const Alarm* alarm = alarm_of(row.event)) {
            if (const auto old = rows_.find_alarm(alarm->id()); old != rows_.end()) {
                row.number = old->number;
                row.removed = old->removed;
                rows_.erase(old);
            }
        } else {
            const auto old =
                rows_.find_other(row.event, [&](const EventRow& equal) { return equal.number < next_row; });
            row.listed_only = true;
            if (old != rows_.end()) {
                row.number = old->number;
                row.listed_only = old->listed_only;
                rows_.erase(old);
            }
        }
        fresh.append(std::move(row));
    }
    return fresh;
}

void EventList::drop_old_calls() {
    std::size_t needed = dropped_calls_ + calls_.size();
    for (const auto& [ticket, start] : listings_)
        needed = std::min(needed, start.first_call);
    calls_.erase(calls_.begin(), calls_.begin() + static_cast<std::ptrdiff_t>(needed - dropped_calls_));
    dropped_calls_ = needed;
}

std::vector<EventRow> EventList::rows() const {
    const std::lock_guard lock(mutex_);
    return {rows_.all().begin(), rows_.all().end()};
}

std::vector<EventRow> EventList::top(std::size_t count) const {
    struct Rank {
        bool active;
        std::int64_t time;
        const EventRow* row;
    };
    const std::lock_guard lock(mutex_);
    std::vector<Rank> ranks;
    ranks.reserve(rows_.all().size());
    for (const EventRow& row : rows_.all()) {
        ranks.push_back({is_active(row), row.event.time_received().nanoseconds(), &row});
    }
    count = std::min(count, ranks.size());
    const auto middle = ranks.begin() + static_cast<std::ptrdiff_t>(count);
    std::partial_sort(ranks.begin(), middle, ranks.end(), [](const Rank& left, const Rank& right) {
        if (left.active != right.active) return left.active;
        if (left.time != right.time) return left.time > right.time;
        return left.row->number > right.row->number;
    });
    std::vector<EventRow> rows;
    rows.reserve(count);
    for (auto rank = ranks.begin(); rank != middle; ++rank)
        rows.push_back(*rank->row);
    return rows;
}

EventList::Counts EventList::counts() const {
    const std::lock_guard lock(mutex_);
    Counts counts;
    for (const EventRow& row : rows_.all()) {
        ++counts.rows;
        if (alarm_of(row.event) != nullptr) ++counts.alarms;
        if (is_active(row)) ++counts.active_alarms;
        if (message_of(row.event) != nullptr) ++counts.messages;
    }
    return counts;
}

std::uint64_t EventList::version() const {
    const std::lock_guard lock(mutex_);
    return version_;
}

} // namespace server
