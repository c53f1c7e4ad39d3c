#include "platform/link/session.h"

#include "platform/link/event_record.h"

#include <utility>

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <fcntl.h>

namespace zo_link {

namespace {

using boost::system::error_code;
using nlohmann::json;

std::vector<std::uint8_t> encode_answer(std::uint32_t id, std::uint32_t result, const json& fields) {
    json map = fields.is_object() && !failed(result) ? fields : json::object();
    map["id"] = id;
    map["code"] = result;
    auto frame = encode_frame(map);
    if (frame.empty()) frame = encode_frame({{"id", id}, {"code", code::too_large}});
    return frame;
}

} // namespace

Session::Session(std::shared_ptr<boost::asio::io_context> io, boost::asio::ip::tcp::socket socket, std::uint64_t number,
                 Request request, Ended ended, std::chrono::milliseconds longest_silence)
    : io_(std::move(io)), socket_(std::move(socket)), number_(number), longest_silence_(longest_silence),
      request_(std::move(request)), ended_(std::move(ended)), greeting_(*io_) {
}

Session::Bytes Session::encode_notification(const char* kind, const json& fields) {
    json map = fields.is_object() ? fields : json::object();
    map["note"] = kind;
    auto frame = encode_frame(map);
    return frame.empty() ? nullptr : std::make_shared<const std::vector<std::uint8_t>>(std::move(frame));
}

void Session::start() {
    ::fcntl(socket_.native_handle(), F_SETFD, FD_CLOEXEC);
    error_code ignored;
    socket_.set_option(boost::asio::ip::tcp::no_delay(true), ignored);
    // A client without a hello takes up a place that others need.
    greeting_.expires_after(longest_silence_);
    greeting_.async_wait([self = shared_from_this()](const error_code& error) {
        if (!error && self->hello_.is_null()) self->end();
    });
    read();
}

void Session::end() {
    {
        const std::lock_guard lock(mutex_);
        if (closed_) return;
        closed_ = true;
        unanswered_.clear();
    }
    error_code ignored;
    socket_.close(ignored);
    greeting_.cancel();
    request_ = nullptr;
    const auto ended = std::exchange(ended_, nullptr);
    try {
        if (ended) ended(shared_from_this());
    } catch (...) {
        // A function of the owner failed; the session has ended.
    }
}

std::optional<std::chrono::steady_clock::time_point> Session::last_heard() {
    const std::lock_guard lock(mutex_);
    // The server does not read from a stalled session, so its client only seems silent.
    if (stalled_ || hello_.is_null()) return std::nullopt;
    return last_heard_;
}

void Session::read() {
    if (reading_) return;
    reading_ = true;
    socket_.async_read_some(boost::asio::buffer(chunk_),
                            [self = shared_from_this()](const error_code& error, std::size_t size) {
                                self->reading_ = false;
                                if (error) return self->end();
                                try {
                                    self->frames_.append({self->chunk_.data(), size});
                                    self->process();
                                } catch (...) {
                                    self->end(); // out of memory for its frame
                                }
                            });
}

/// Handles the received frames and continues to read, unless the session is stalled or ended.
void Session::process() {
    json map;
    std::size_t size = 0;
    for (;;) {
        {
            const std::lock_guard lock(mutex_);
            if (stalled_ || closed_) return;
        }
        if (!frames_.next(map, size)) break;
        last_heard_ = std::chrono::steady_clock::now();
        try {
            handle(map);
        } catch (...) {
            return end();
        }
    }
    if (frames_.error() != FrameError::none) return end();
    read();
}

void Session::handle(const json& map) {
    std::uint32_t id = 0;
    std::string operation;
    if (!read_field(map, "id", id) || !read_field(map, "op", operation)) return end();
    const bool is_hello = operation == op::hello;
    if (is_hello != hello_.is_null()) return end(); // the hello comes first, and only once
    if (operation == op::ping) {
        const std::lock_guard lock(mutex_);
        return push_locked(encode_answer(id, code::ok, json()));
    }
    if (!expect(id, is_hello)) return end();
    if (is_hello) {
        hello_ = map;
        greeting_.cancel();
        std::uint32_t version = 0;
        if (!read_field(map, "version", version) || version != protocol_version) return reply(id, code::incompatible);
    }
    if (request_)
        request_(shared_from_this(), id, operation, map);
    else
        reply(id, code::not_supported);
}

/// Records a request that needs an answer. Returns false if the request is not allowed now.
bool Session::expect(std::uint32_t id, bool is_hello) {
    const std::lock_guard lock(mutex_);
    if (is_hello) hello_id_ = id;
    return accepted_ != is_hello && unanswered_.size() < max_outstanding_requests && unanswered_.insert(id).second;
}

void Session::write() {
    const std::lock_guard lock(mutex_);
    if (writing_ || stalled_ || closed_ || unsent_.empty()) return;
    writing_ = true;
    const Unsent& next = unsent_.front();
    boost::asio::async_write(
        socket_, boost::asio::buffer(*next.bytes),
        [self = shared_from_this(), bytes = next.bytes, last = next.last](const error_code& error, std::size_t) {
            if (error || last) return self->end();
            {
                const std::lock_guard relock(self->mutex_);
                self->writing_ = false;
                self->unsent_bytes_ -= bytes->size();
                self->unsent_.pop_front();
            }
            self->write();
        });
}

void Session::push_locked(std::vector<std::uint8_t> frame, bool last) {
    push_locked(std::make_shared<const std::vector<std::uint8_t>>(std::move(frame)), last);
}

void Session::push_locked(Bytes frame, bool last) {
    if (closed_) return;
    // A client that does not read is dropped.
    const bool full = unsent_bytes_ + frame->size() > max_unsent_bytes;
    if (full) {
        boost::asio::post(*io_, [self = shared_from_this()] { self->end(); });
        return;
    }
    unsent_bytes_ += frame->size();
    unsent_.push_back({std::move(frame), last});
    if (unsent_.size() == 1) boost::asio::post(*io_, [self = shared_from_this()] { self->write(); });
}

/// Sends an answer in its parts. Each request gets only one answer.
void Session::answer_locked(std::uint32_t id, std::vector<std::vector<std::uint8_t>> frames, bool last) {
    if (unanswered_.erase(id) == 0) return;
    for (auto& frame : frames) {
        if (std::exchange(truncate_, false)) {
            frame.resize(frame.size() / 2);
            return push_locked(std::move(frame), true);
        }
        push_locked(std::move(frame), last);
    }
}

void Session::reply(std::uint32_t id, std::uint32_t result, const json& fields) {
    std::vector<std::vector<std::uint8_t>> frames;
    frames.push_back(encode_answer(id, result, fields));
    const std::lock_guard lock(mutex_);
    // After a refused hello, the connection ends.
    answer_locked(id, std::move(frames), id == hello_id_ && !accepted_ && failed(result));
}

void Session::reply(std::uint32_t id, std::uint32_t result) {
    reply(id, result, json());
}

void Session::reply_list(std::uint32_t id, std::vector<json> items) {
    auto frames = encode_list(id, items);
    if (frames.empty()) return reply(id, code::too_large);
    const std::lock_guard lock(mutex_);
    answer_locked(id, std::move(frames), false);
}

void Session::accept(std::uint32_t id, std::uint64_t instance) {
    std::vector<std::vector<std::uint8_t>> frames;
    frames.push_back(encode_answer(id, code::ok, {{"version", protocol_version}, {"instance", instance}}));
    const std::lock_guard lock(mutex_);
    if (id != hello_id_ || accepted_) return;
    answer_locked(id, std::move(frames), false);
    accepted_ = true;
    // The hello was read before the caller got its request.
    std::string role;
    notified_ = !read_field(hello_, "role", role) || role != "device";
}

void Session::notify(const char* kind, const json& fields) {
    notify(encode_notification(kind, fields));
}

void Session::notify(const Bytes& frame) {
    if (!frame) return;
    const std::lock_guard lock(mutex_);
    if (accepted_ && notified_) push_locked(frame, false);
}

void Session::drop() {
    const std::lock_guard lock(mutex_);
    if (!closed_) boost::asio::post(*io_, [self = shared_from_this()] { self->end(); });
}

void Session::stall(bool on) {
    const std::lock_guard lock(mutex_);
    stalled_ = on;
    if (on || closed_) return;
    boost::asio::post(*io_, [self = shared_from_this()] {
        self->last_heard_ = std::chrono::steady_clock::now(); // its frames are still unread
        self->write();
        if (!self->reading_) self->process();
    });
}

void Session::truncate_next_reply() {
    const std::lock_guard lock(mutex_);
    truncate_ = true;
}

void Session::send_raw(std::vector<std::uint8_t> bytes) {
    const std::lock_guard lock(mutex_);
    push_locked(std::move(bytes), false);
}

} // namespace zo_link
