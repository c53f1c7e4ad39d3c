#include "platform/link/connection.h"

#include "platform/link/dialer.h"
#include "platform/link/event_record.h"
#include "platform/link/frame.h"
#include "platform/link/request_table.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <nlohmann/json.hpp>

namespace zo_link {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds shortest_heartbeat{20};
constexpr milliseconds longest_heartbeat{5000};
// A deadline that far away counts as none. This prevents an overflow of the clock.
constexpr milliseconds longest_timeout{std::chrono::hours(24 * 365)};

Clock::time_point deadline_of(milliseconds timeout) {
    return Clock::now() + std::clamp(timeout, milliseconds(0), longest_timeout);
}

enum class State : std::uint8_t { idle, opening, open, ended };

} // namespace

struct Connection::Impl {
    explicit Impl(std::shared_ptr<ConnectionEvents> owner) : events(std::move(owner)) {}

    // [reader thread]
    void connected(std::uint32_t result);
    void read();
    void received(std::size_t size);
    bool handle(json& map, std::size_t size);
    bool handle_answer(json& map, std::size_t size);
    bool handle_pong(std::uint32_t result);
    void write();
    void beat();
    void arm_heartbeat();
    void fail(std::uint32_t result);
    void run();

    // [mutex held]
    bool open_by(std::uint32_t result, const json& hello);
    bool send_locked(std::vector<std::uint8_t> frame);
    void end_locked(std::uint32_t result);

    const std::shared_ptr<ConnectionEvents> events;
    boost::asio::io_context io{1};
    tcp::socket socket{io};
    boost::asio::steady_timer heartbeat{io};
    Dialer dialer{io, socket};

    mutable std::mutex mutex;              // guards the members down to the blank line
    std::atomic<State> state{State::idle}; // written under the mutex
    RequestTable requests;
    std::deque<std::vector<std::uint8_t>> unsent; // while `writing`, the first one is being written
    std::size_t unsent_bytes = 0;
    std::uint32_t hello_id = 0;
    std::vector<std::uint8_t> hello_frame;
    bool writing = false;

    // Used only by the reader thread.
    FrameReader frames;
    std::array<std::uint8_t, std::size_t{64} << 10> chunk{};
    std::uint32_t ping_id = 0; // 0: no ping waits for its answer
    Clock::time_point ping_sent;

    std::atomic<std::int64_t> timeout_ms{5000};
    std::mutex join_mutex;
    std::thread thread;
};

void Connection::Impl::run() {
    for (;;) {
        try {
            io.run();
            return;
        } catch (...) {
            // Memory ran out, or a function of the owner failed: the link cannot continue.
            fail(code::bad_answer);
        }
    }
}

void Connection::Impl::connected(std::uint32_t result) {
    if (failed(result)) return fail(result);
    {
        const std::lock_guard lock(mutex);
        if (state != State::opening) return;
        send_locked(std::move(hello_frame));
    }
    read();
}

void Connection::Impl::read() {
    socket.async_read_some(boost::asio::buffer(chunk), [this](const error_code& error, std::size_t size) {
        if (error) return fail(code::not_connected);
        received(size);
    });
}

void Connection::Impl::received(std::size_t size) {
    frames.append({chunk.data(), size});
    json map;
    std::size_t frame_size = 0;
    while (frames.next(map, frame_size)) {
        if (!handle(map, frame_size)) return;
    }
    if (frames.error() != FrameError::none) return fail(code::bad_answer);
    read();
}

/// Returns false if the connection has ended.
bool Connection::Impl::handle(json& map, std::size_t size) {
    std::uint32_t result = code::bad_answer;
    if (map.contains("note")) {
        if (state == State::open) result = events->on_notification(map, size);
        if (!failed(result)) return true;
    } else if (handle_answer(map, size)) {
        return state != State::ended;
    }
    fail(result);
    return false;
}

/// Returns false if the answer breaks the protocol.
bool Connection::Impl::handle_answer(json& map, std::size_t size) {
    std::uint32_t id = 0;
    std::uint32_t result = 0;
    if (!read_field(map, "id", id) || id == 0 || !read_field(map, "code", result)) return false;
    if (id == ping_id) return handle_pong(result);

    const std::uint64_t mark = events->on_answer();
    const std::lock_guard lock(mutex);
    if (id == hello_id && !open_by(result, map)) return false;
    return requests.take(id, result, map, size, mark);
}

/// Opens the link after the answer to the hello. Returns false if the answer breaks the protocol. After a refusal,
/// open() closes the connection.
bool Connection::Impl::open_by(std::uint32_t result, const json& hello) {
    if (failed(result) || state != State::opening) return true;
    std::uint32_t version = 0;
    std::uint64_t instance = 0;
    if (!read_field(hello, "version", version) || version != protocol_version ||
        !read_field(hello, "instance", instance) || hello.contains("more"))
        return false;
    events->on_open(instance);
    state = State::open;
    arm_heartbeat();
    return true;
}

bool Connection::Impl::handle_pong(std::uint32_t result) {
    if (failed(result)) return false;
    ping_id = 0;
    return true;
}

/// Queues a frame for the writer. Returns false if too many bytes are waiting.
bool Connection::Impl::send_locked(std::vector<std::uint8_t> frame) {
    if (unsent_bytes + frame.size() > max_unsent_bytes) return false;
    unsent_bytes += frame.size();
    unsent.push_back(std::move(frame));
    if (unsent.size() == 1) boost::asio::post(io, [this] { write(); });
    return true;
}

void Connection::Impl::write() {
    const std::lock_guard lock(mutex);
    if (writing || unsent.empty() || state == State::ended) return;
    writing = true;
    boost::asio::async_write(socket, boost::asio::buffer(unsent.front()), [this](const error_code& error, std::size_t) {
        if (error) return fail(code::not_connected);
        {
            const std::lock_guard relock(mutex);
            writing = false;
            if (unsent.empty()) return;
            unsent_bytes -= unsent.front().size();
            unsent.pop_front();
        }
        write();
    });
}

void Connection::Impl::arm_heartbeat() {
    const milliseconds timeout(timeout_ms.load());
    Clock::time_point next = Clock::now() + std::clamp(timeout / 4, shortest_heartbeat, longest_heartbeat);
    if (ping_id != 0) next = std::min(next, std::max(ping_sent + timeout, Clock::now() + shortest_heartbeat));
    heartbeat.expires_at(next);
    heartbeat.async_wait([this](const error_code& error) {
        if (!error) beat();
    });
}

void Connection::Impl::beat() {
    if (state != State::open) return;
    if (ping_id != 0) {
        // Unread bytes mean that this thread is late. The answer may be among them.
        error_code ignored;
        const int patience = socket.available(ignored) != 0 ? 2 : 1;
        if (Clock::now() >= ping_sent + patience * milliseconds(timeout_ms.load())) return fail(code::timeout);
    }
    if (ping_id == 0) {
        const std::lock_guard lock(mutex);
        ping_id = requests.next_id();
        ping_sent = Clock::now();
        // If the queue is full, this ping is dropped, and the connection is lost later.
        send_locked(encode_frame({{"id", ping_id}, {"op", op::ping}}));
    }
    arm_heartbeat();
}

/// Ends all requests. The caller closes the reader thread's own objects.
void Connection::Impl::end_locked(std::uint32_t result) {
    state = State::ended;
    requests.end(result);
}

void Connection::Impl::fail(std::uint32_t result) {
    bool was_open = false;
    {
        const std::lock_guard lock(mutex);
        if (state == State::ended) return;
        was_open = state == State::open;
        end_locked(result);
    }
    error_code ignored;
    socket.close(ignored);
    dialer.cancel();
    heartbeat.cancel();
    if (was_open) events->on_lost(result);
}

Connection::Connection(std::shared_ptr<ConnectionEvents> events) : impl_(std::make_unique<Impl>(std::move(events))) {
}

Connection::~Connection() {
    close();
}

Reply Connection::open(const std::string& host, const std::string& port, const json& hello, milliseconds timeout) {
    const auto deadline = deadline_of(timeout);
    set_timeout(timeout);
    Reply reply;
    {
        std::unique_lock lock(impl_->mutex);
        if (impl_->state != State::idle) {
            reply.result = code::aborted;
            return reply;
        }
        json fields = hello;
        impl_->hello_id = impl_->requests.next_id();
        fields.update({{"id", impl_->hello_id}, {"op", op::hello}, {"version", protocol_version}});
        impl_->hello_frame = encode_frame(fields);
        if (impl_->hello_frame.empty()) {
            reply.result = code::too_large;
            return reply;
        }
        impl_->requests.add(impl_->hello_id);
        impl_->state = State::opening;
        boost::asio::post(impl_->io, [impl = impl_.get(), host, port] {
            impl->dialer.dial(host, port, [impl](std::uint32_t result) { impl->connected(result); });
        });
        impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
        reply = impl_->requests.wait(lock, impl_->hello_id, deadline);
    }
    if (failed(reply.result)) close();
    return reply;
}

Reply Connection::request(const char* operation, const json& fields, milliseconds timeout) {
    const auto deadline = deadline_of(timeout);
    Reply reply;
    std::uint32_t id = 0;
    {
        const std::lock_guard lock(impl_->mutex);
        if (impl_->state != State::open) return reply;
        id = impl_->requests.next_id();
    }
    json map = fields.is_object() ? fields : json::object();
    map["id"] = id;
    map["op"] = operation;
    std::vector<std::uint8_t> frame = encode_frame(map);
    if (frame.empty()) {
        reply.result = code::too_large;
        return reply;
    }
    std::unique_lock lock(impl_->mutex);
    if (impl_->state != State::open) return reply;
    if (impl_->requests.full() || !impl_->send_locked(std::move(frame))) {
        reply.result = code::busy;
        return reply;
    }
    impl_->requests.add(id);
    reply = impl_->requests.wait(lock, id, deadline);
    // The target still counts abandoned requests and would drop the link at the next one. So the link counts as lost.
    if (reply.result == code::timeout && impl_->requests.exhausted())
        boost::asio::post(impl_->io, [impl = impl_.get()] { impl->fail(code::timeout); });
    return reply;
}

void Connection::set_timeout(milliseconds timeout) {
    impl_->timeout_ms = std::clamp(timeout, milliseconds(0), longest_timeout).count();
}

bool Connection::is_open() const {
    return impl_->state == State::open;
}

void Connection::close() {
    {
        const std::lock_guard lock(impl_->mutex);
        if (impl_->state != State::ended)
            impl_->end_locked(impl_->state == State::opening ? code::aborted : code::not_connected);
    }
    const std::lock_guard join_lock(impl_->join_mutex);
    impl_->io.stop();
    if (!impl_->thread.joinable()) return;
    impl_->thread.join();
    error_code ignored;
    impl_->socket.close(ignored);
}

} // namespace zo_link
