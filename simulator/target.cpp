#include "simulator/target.h"

#include "platform/link/protocol.h"
#include "simulator/record_text.h"

#include <boost/asio/post.hpp>

#include <random>

namespace zo_sim {

namespace {

using nlohmann::json;

// The state file is rewritten when it has so many lines more than the log.
constexpr std::size_t spare_lines = 10000;
// Events of a flood that are stored and sent together.
constexpr std::uint64_t flood_batch = 1000;

std::string to_line(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void check_outcome(Outcome outcome) {
    switch (outcome) {
    case Outcome::done:
        return;
    case Outcome::unknown_alarm:
        throw VerbError("no such active alarm");
    case Outcome::already_raised:
        throw VerbError("the alarm is raised already");
    case Outcome::not_raised:
        throw VerbError("the alarm is not raised");
    case Outcome::no_confirmation_needed:
        throw VerbError("the alarm needs no confirmation");
    case Outcome::already_confirmed:
        throw VerbError("the alarm is confirmed already");
    }
}

} // namespace

Target::Target(boost::asio::io_context& io, Scenario scenario, const TargetOptions& options, Output output)
    : io_(io), scenario_(std::move(scenario)), output_(std::move(output)), interfaces_(scenario_.interfaces),
      log_(scenario_.max_log), schedule_timer_(io), stall_timer_(io) {
    read_schedule();
    restore(options.state_file);
    zo_link::ServerEvents events;
    events.request = [this](const Session& session, std::uint32_t id, const std::string& operation,
                            const json& fields) {
        boost::asio::post(io_, [this, request = Request{session, id, operation, fields}] { on_request(request); });
    };
    events.closed = [this](const Session& session) {
        boost::asio::post(io_, [this, number = session->number()] { hellos_.erase(number); });
    };
    server_ = std::make_unique<zo_link::LinkServer>(options.bind, options.port, std::move(events));
    await_schedule();
}

Target::~Target() {
    server_->stop();
}

void Target::restore(const std::string& state_file) {
    std::optional<State> state;
    if (!state_file.empty()) {
        state_file_ = std::make_unique<StateFile>(state_file);
        state = load_state(state_file);
    }
    if (state) {
        instance_ = state->instance;
        log_.restore(std::move(state->occurrences), state->next_number);
    } else {
        std::random_device random;
        instance_ = (std::uint64_t{random()} << 32) | random();
        play_history();
    }
    if (state_file_) state_file_->rewrite(instance_, log_);
}

void Target::play_history() {
    constexpr double ticks_per_second = 1e7;
    const FileTime now = file_time_now();
    for (const HistoryItem& item : scenario_.history) {
        try {
            const Verb verb = parse_verb(item.verb, scenario_);
            if (!is_logger_verb(verb)) throw VerbError("the verb is not one of the logger");
            change_log(verb, now - static_cast<FileTime>(item.ago * ticks_per_second));
        } catch (const VerbError& error) {
            throw ScenarioError("history: '" + item.verb + "': " + error.what());
        }
    }
    (void)log_.take_changes(); // there are no clients yet
}

void Target::read_schedule() {
    for (const ScheduleItem& item : scenario_.schedule) {
        try {
            due_.emplace(start_ + std::chrono::milliseconds(item.at), schedule_.size());
            schedule_.emplace_back(parse_verb(item.verb, scenario_), std::chrono::milliseconds(item.every));
        } catch (const VerbError& error) {
            throw ScenarioError("schedule: '" + item.verb + "': " + error.what());
        }
    }
}

void Target::await_schedule() {
    if (due_.empty()) return;
    schedule_timer_.expires_at(due_.begin()->first);
    schedule_timer_.async_wait([this](const boost::system::error_code& error) {
        if (!error) run_schedule();
    });
}

void Target::run_schedule() {
    const Clock::time_point now = Clock::now();
    while (!due_.empty() && due_.begin()->first <= now) {
        auto [time, index] = *due_.begin();
        due_.erase(due_.begin());
        const auto& [verb, period] = schedule_[index];
        execute_planned("schedule", verb);
        if (period.count() == 0) continue;
        // A process that stood still skips the missed times.
        time += period;
        if (time <= now) time += (now - time) / period * period + period;
        due_.emplace(time, index);
    }
    await_schedule();
}

void Target::input(const std::string& line) {
    try {
        if (line.size() > longest_line) throw VerbError("the line is too long");
        execute(parse_verb(line, scenario_));
        output_.print("ok");
    } catch (const VerbError& error) {
        output_.print(std::string("error ") + error.what());
    }
}

void Target::execute_planned(const char* origin, const Verb& verb) {
    try {
        execute(verb);
    } catch (const VerbError& error) {
        output_.error(std::string(origin) + ": '" + verb.text + "': " + error.what());
    }
}

void Target::execute(const Verb& verb) {
    switch (verb.kind) {
    case VerbKind::raise:
    case VerbKind::clear:
    case VerbKind::confirm:
    case VerbKind::reset:
    case VerbKind::message:
    case VerbKind::flood:
        change_log(verb, file_time_now());
        commit();
        break;
    case VerbKind::clear_log:
        log_.clear_log(1);
        commit();
        break;
    case VerbKind::database_changed:
        server_->notify_all(zo_link::note::database_changed, {{"reason", verb.reason}});
        break;
    case VerbKind::set:
        interfaces_.*verb.interface = verb.on;
        break;
    case VerbKind::drop:
        for (const Session& session : server_->sessions())
            session->drop();
        break;
    case VerbKind::stall:
        stall(verb.milliseconds);
        break;
    case VerbKind::resume:
        resume();
        break;
    case VerbKind::fail:
    case VerbKind::slow:
    case VerbKind::truncate:
    case VerbKind::during:
    case VerbKind::after:
    case VerbKind::normal:
        plans_.add(verb);
        break;
    case VerbKind::list:
        output_.print(to_line(list_json()));
        break;
    case VerbKind::sessions:
        output_.print(to_line(sessions_json()));
        break;
    case VerbKind::requests:
        output_.print(to_line(json(requests_)));
        break;
    case VerbKind::quit:
        io_.stop();
        break;
    }
}

void Target::change_log(const Verb& verb, FileTime now) {
    switch (verb.kind) {
    case VerbKind::raise:
        return check_outcome(log_.raise(verb.event, now));
    case VerbKind::message:
        return log_.send(verb.event, now);
    case VerbKind::flood:
        return flood(verb, now);
    default:
        break;
    }
    const std::uint64_t handle = verb.handle != 0 ? verb.handle : log_.find_active(verb.event);
    if (verb.kind == VerbKind::clear)
        check_outcome(log_.clear(handle, now));
    else if (verb.kind == VerbKind::confirm)
        check_outcome(log_.confirm(handle, now));
    else
        check_outcome(log_.reset(handle, now));
}

void Target::flood(const Verb& verb, FileTime now) {
    const bool live = server_ != nullptr; // false while the history is played
    for (std::uint64_t i = 1; i <= verb.count; ++i) {
        if (verb.alarm) {
            check_outcome(log_.raise(verb.event, now));
            check_outcome(log_.reset(log_.find_active(verb.event), now));
        } else {
            log_.send(verb.event, now);
        }
        if (i % flood_batch != 0) continue;
        if (live)
            commit();
        else
            (void)log_.take_changes();
    }
}

void Target::stall(std::int64_t milliseconds) {
    stalled_ = true;
    for (const Session& session : server_->sessions())
        session->stall(true);
    stall_timer_.cancel();
    if (milliseconds == 0) return;
    stall_timer_.expires_after(std::chrono::milliseconds(milliseconds));
    stall_timer_.async_wait([this](const boost::system::error_code& error) {
        if (!error) resume();
    });
}

void Target::resume() {
    stalled_ = false;
    stall_timer_.cancel();
    for (const Session& session : server_->sessions())
        session->stall(false);
}

void Target::commit(const std::function<void()>& answer) {
    const std::vector<Change> changes = log_.take_changes();
    if (state_file_ && !changes.empty()) {
        if (state_file_->appended() > log_.size() + spare_lines)
            state_file_->rewrite(instance_, log_);
        else
            state_file_->append(changes);
    }
    if (answer) answer();
    for (const Change& change : changes)
        notify(change);
}

void Target::notify(const Change& change) {
    const auto event = [&] { return json{{"event", offered(change.occurrence.record)}}; };
    const auto event_with_removed = [&] {
        return json{{"event", offered(change.occurrence.record)}, {"removed", !change.occurrence.listed}};
    };
    switch (change.kind) {
    case ChangeKind::message:
        return server_->notify_all(zo_link::note::message, event());
    case ChangeKind::raised:
        return server_->notify_all(zo_link::note::alarm_raised, event());
    case ChangeKind::cleared:
        return server_->notify_all(zo_link::note::alarm_cleared, event_with_removed());
    case ChangeKind::confirmed:
        return server_->notify_all(zo_link::note::alarm_confirmed, event_with_removed());
    case ChangeKind::database:
        return server_->notify_all(zo_link::note::database_changed, {{"reason", change.reason}});
    }
}

json Target::list_json() const {
    json list = {{"instance", instance_}, {"log", json::array()}, {"alarms", json::array()}};
    for (const zo_link::EventRecord& record : log_.logged(log_.size()))
        list["log"].push_back(record_to_text_json(record));
    for (const zo_link::EventRecord& record : log_.active_alarms())
        list["alarms"].push_back(record_to_text_json(record));
    return list;
}

json Target::sessions_json() const {
    json list = json::array();
    for (const auto& [number, hello] : hellos_)
        list.push_back(hello);
    return list;
}

} // namespace zo_sim
