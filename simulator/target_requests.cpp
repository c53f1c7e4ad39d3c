// The answers of a target to its clients' requests.

#include "platform/link/protocol.h"
#include "simulator/target.h"
#include "simulator/text_answers.h"

#include <algorithm>

namespace zo_sim {

namespace {

using nlohmann::json;
namespace op = zo_link::op;

constexpr std::uint32_t already_confirmed_code = 1;

} // namespace

void Target::on_request(const Request& request) {
    ++requests_[is_operation(request.operation) ? request.operation : "other"];
    // A session that opens during a stall also waits for its end.
    if (stalled_) request.session->stall(true);

    std::optional<std::int32_t> language;
    if (std::int32_t number = 0; zo_link::read_field(request.fields, "language", number)) language = number;
    RequestPlan plan = plans_.take(request.operation, language);
    for (const auto& verb : plan.before)
        execute_planned("during", *verb);
    if (plan.delay == 0) return finish(request, plan);

    const auto timer = std::make_shared<boost::asio::steady_timer>(io_, std::chrono::milliseconds(plan.delay));
    timer->async_wait([this, timer, request, plan](const boost::system::error_code& error) {
        if (!error) finish(request, plan);
    });
}

void Target::finish(const Request& request, const RequestPlan& plan) {
    if (plan.truncate) request.session->truncate_next_reply();
    if (plan.code)
        request.session->reply(request.id, *plan.code);
    else
        answer(request);
    for (const auto& verb : plan.after)
        execute_planned("after", *verb);
}

void Target::answer(const Request& request) {
    const std::string& operation = request.operation;
    if (operation == op::hello) return answer_hello(request);
    if (operation == op::get_active_alarms) return reply_events(request, log_.active_alarms());
    if (operation == op::get_logged_events) return answer_logged_events(request);
    if (operation == op::confirm) return answer_confirm(request);
    if (is_text_operation(operation)) return answer_text_request(request);
    if (operation == op::clear_logged_events) {
        log_.clear_log(1);
        // The answer comes first: a client may disconnect at the notification, and would lose the answer.
        return commit([&] { request.session->reply(request.id, zo_link::code::ok); });
    }
    request.session->reply(request.id, zo_link::code::not_supported);
}

void Target::answer_hello(const Request& request) {
    std::string role;
    if (!zo_link::read_field(request.fields, "role", role)) return request.session->drop();
    if (role != "logger") return request.session->reply(request.id, zo_link::code::not_supported);
    // The session may have ended: a plan may have delayed this answer.
    const auto open = server_->sessions();
    if (std::ranges::find(open, request.session) == open.end()) return;
    json hello = request.fields;
    hello["number"] = request.session->number();
    hello.erase("id");
    hello.erase("op");
    hellos_[request.session->number()] = std::move(hello);
    request.session->accept(request.id, instance_);
}

void Target::answer_logged_events(const Request& request) {
    std::uint32_t count = 0;
    if (!zo_link::read_field(request.fields, "count", count)) return request.session->drop();
    reply_events(request, log_.logged(count));
}

void Target::answer_confirm(const Request& request) {
    std::uint64_t handle = 0;
    if (!zo_link::read_field(request.fields, "handle", handle)) return request.session->drop();
    switch (log_.confirm(handle, file_time_now())) {
    case Outcome::done:
        commit();
        return request.session->reply(request.id, zo_link::code::ok);
    case Outcome::already_confirmed:
        return request.session->reply(request.id, already_confirmed_code);
    case Outcome::no_confirmation_needed:
        return request.session->reply(request.id, zo_link::code::not_supported);
    default:
        return request.session->reply(request.id, zo_link::code::not_found);
    }
}

void Target::answer_text_request(const Request& request) {
    TextAnswer answer = answer_text(scenario_, request.operation, request.fields);
    if (answer.malformed) return request.session->drop();
    if (zo_link::failed(answer.result)) return request.session->reply(request.id, answer.result);
    if (!answer.list) return request.session->reply(request.id, answer.result, answer.body);
    request.session->reply_list(request.id, answer.body.get<std::vector<json>>());
}

void Target::reply_events(const Request& request, const std::vector<zo_link::EventRecord>& records) {
    std::vector<json> items;
    items.reserve(records.size());
    for (const zo_link::EventRecord& record : records)
        items.push_back(offered(record));
    request.session->reply_list(request.id, std::move(items));
}

json Target::offered(zo_link::EventRecord record) const {
    if (!interfaces_.identity) record.uid.reset();
    if (!interfaces_.json) record.json.reset();
    record.extended = interfaces_.extended;
    return zo_link::event_to_json(record);
}

} // namespace zo_sim
