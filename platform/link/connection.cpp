#include "platform/link/connection.h"

#include "platform/link/event_record.h"
#include "platform/link/frame.h"
#include "platform/link/lookup.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <nlohmann/json.hpp>

#include <fcntl.h>

namespace zo_link {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds shortest_heartbeat{20};
constexpr milliseconds longest_heartbeat{5000};
constexpr milliseconds lookup_period{5};
// A deadline this far away is none, and keeps the clock from overflowing.
constexpr milliseconds longest_timeout{std::chrono::hours(24 * 365)};

Clock::time_point deadline_of(milliseconds timeout) {
    return Clock::now() + std::clamp(timeout, milliseconds(0), longest_timeout);
}

std::uint32_t connect_code(const error_code& error) {
    if (error == boost::asio::error::connection_refused) return code::refused;
    if (error == boost::asio::error::timed_out) return code::timeout;
    return code::host_unreachable;
}

enum class State : std::uint8_t { idle, opening, open, ended };

// A request that waits for its answer.
struct Pending {
    bool done = false;
    bool abandoned = false; // its caller gave up; the target may still answer it, and counts it until then
    Reply reply;
    std::vector<json> items; // of the parts so far
    std::size_t bytes = 0;   // their frames
};

} // namespace

struct Connection::Impl {
    explicit Impl(std::shared_ptr<ConnectionEvents> owner) : events(std::move(owner)) {}

    // All of these run on the reader thread.
    void resolve(const std::string& host, const std::string& port);
    void await_lookup(std::uint16_t port);
    void connected(const error_code& error);
    void read();
    void received(std::size_t size);
    bool handle(json& map, std::size_t size);
    bool handle_answer(json& map, std::size_t size);
    bool handle_pong(const json& map);
    bool open_by(const Pending& hello);
    void write();
    void beat();
    void arm_heartbeat();
    void fail(std::uint32_t result);

    void run();
    bool send_locked(std::vector<std::uint8_t> frame);
    void end_locked(std::uint32_t result);
    Reply wait(std::unique_lock<std::mutex>& lock, std::uint32_t id, Clock::time_point deadline);

    const std::shared_ptr<ConnectionEvents> events;
    boost::asio::io_context io{1};
    tcp::socket socket{io};
    boost::asio::steady_timer heartbeat{io};
    boost::asio::steady_timer lookup_timer{io};

    mutable std::mutex mutex; // guards what follows, to the blank line
    std::condition_variable answered;
    std::atomic<State> state{State::idle}; // written under the mutex
    std::map<std::uint32_t, Pending> pending;
    std::deque<std::vector<std::uint8_t>> unsent; // the first one is being written while `writing`
    std::size_t unsent_bytes = 0;
    std::uint32_t last_id = 0;
    std::uint32_t hello_id = 0;
    std::vector<std::uint8_t> hello_frame;
    bool writing = false;

    // Of the reader thread alone.
    std::optional<Lookup> lookup;
    FrameReader frames;
    std::array<std::uint8_t, std::size_t{64} << 10> chunk{};
    std::uint32_t ping_id = 0; // 0: none is under way
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
            // Out of memory, or a fault of the owner: the link cannot go on.
            fail(code::bad_answer);
        }
    }
}

void Connection::Impl::resolve(const std::string& host, const std::string& port) {
    error_code error;
    const auto address = boost::asio::ip::make_address(host, error);
    std::uint16_t number = 0;
    const auto [end, result] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (result != std::errc() || end != port.data() + port.size()) return fail(code::host_unreachable);
    if (!error) {
        socket.async_connect(tcp::endpoint(address, number), [this](const error_code& outcome) { connected(outcome); });
        return;
    }
    lookup.emplace(host);
    await_lookup(number);
}

void Connection::Impl::await_lookup(std::uint16_t port) {
    if (!lookup->done()) {
        lookup_timer.expires_after(lookup_period);
        lookup_timer.async_wait([this, port](const error_code& error) {
            if (!error) await_lookup(port);
        });
        return;
    }
    const auto endpoints = lookup->endpoints(port);
    lookup.reset();
    if (endpoints.empty()) return fail(code::host_unreachable);
    boost::asio::async_connect(socket, endpoints,
                               [this](const error_code& outcome, const tcp::endpoint&) { connected(outcome); });
}

void Connection::Impl::connected(const error_code& error) {
    if (error) return fail(connect_code(error));
    ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC); // a program that the host starts must not hold the link
    error_code ignored;
    socket.set_option(tcp::no_delay(true), ignored);
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

// False when the connection has ended.
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

// False when the answer breaks the protocol.
bool Connection::Impl::handle_answer(json& map, std::size_t size) {
    std::uint32_t id = 0;
    std::uint32_t result = 0;
    if (!read_field(map, "id", id) || !read_field(map, "code", result)) return false;
    if (id != 0 && id == ping_id) return handle_pong(map);

    const std::uint64_t mark = events->on_answer();
    const std::lock_guard lock(mutex);
    if (id == 0 || id > last_id) return false;
    const auto it = pending.find(id);
    if (it == pending.end()) return false; // answered already
    Pending& request = it->second;
    if (request.done) return false;
    if (request.abandoned) {
        const auto more = map.find("more");
        if (failed(result) || more == map.end() || *more != true) pending.erase(it);
        return true;
    }
    if (failed(result)) {
        request.reply.result = result;
    } else {
        if (const auto items = map.find("items"); items != map.end()) {
            request.bytes += size;
            if (!items->is_array() || request.bytes > max_list_bytes ||
                request.items.size() + items->size() > max_list_items)
                return false;
            std::ranges::move(items->get_ref<json::array_t&>(), std::back_inserter(request.items));
        }
        const auto more = map.find("more");
        if (more != map.end() && !more->is_boolean()) return false;
        if (more != map.end() && more->get<bool>()) return true;
        if (map.contains("items")) map["items"] = std::move(request.items);
        request.reply.result = result;
        request.reply.body = std::make_shared<json>(std::move(map));
    }
    request.reply.mark = mark;
    if (id == hello_id && !open_by(request)) return false;
    request.done = true;
    answered.notify_all();
    return true;
}

// The answer to the hello has come; a refusal leaves the ending to open().
bool Connection::Impl::open_by(const Pending& hello) {
    if (failed(hello.reply.result)) return true;
    std::uint32_t version = 0;
    std::uint64_t instance = 0;
    if (!read_field(*hello.reply.body, "version", version) || version != protocol_version ||
        !read_field(*hello.reply.body, "instance", instance))
        return false;
    if (state != State::opening) return true;
    events->on_open(instance);
    state = State::open;
    arm_heartbeat();
    return true;
}

bool Connection::Impl::handle_pong(const json& map) {
    std::uint32_t result = 0;
    if (!read_field(map, "code", result) || failed(result)) return false;
    ping_id = 0;
    return true;
}

// Hands a frame to the writer; false when too much waits already.
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
        // This thread may have been kept from reading, and the answer lies among what it has not read yet.
        error_code ignored;
        const int patience = socket.available(ignored) != 0 ? 2 : 1;
        if (Clock::now() >= ping_sent + patience * milliseconds(timeout_ms.load())) return fail(code::timeout);
    }
    if (ping_id == 0) {
        const std::lock_guard lock(mutex);
        ping_id = ++last_id;
        ping_sent = Clock::now();
        // A full queue makes this ping late, and so the connection lost.
        send_locked(encode_frame({{"id", ping_id}, {"op", op::ping}}));
    }
    arm_heartbeat();
}

// Ends what waits. The reader thread's own objects are closed by the caller.
void Connection::Impl::end_locked(std::uint32_t result) {
    state = State::ended;
    for (auto& [id, request] : pending) {
        if (request.done || request.abandoned) continue;
        request.done = true;
        request.reply = Reply();
        request.reply.result = result;
    }
    answered.notify_all();
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
    lookup_timer.cancel();
    heartbeat.cancel();
    if (was_open) events->on_lost(result);
}

// Waits for an answer, then forgets the request or, when none came in time, abandons it.
Reply Connection::Impl::wait(std::unique_lock<std::mutex>& lock, std::uint32_t id, Clock::time_point deadline) {
    const auto it = pending.find(id);
    const bool done = answered.wait_until(lock, deadline, [&] { return it->second.done; });
    Reply reply;
    reply.result = code::timeout;
    if (done) {
        reply = std::move(it->second.reply);
        pending.erase(it);
    } else {
        it->second = Pending();
        it->second.abandoned = true;
    }
    return reply;
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
        impl_->hello_id = ++impl_->last_id;
        fields.update({{"id", impl_->hello_id}, {"op", op::hello}, {"version", protocol_version}});
        impl_->hello_frame = encode_frame(fields);
        if (impl_->hello_frame.empty()) {
            reply.result = code::too_large;
            return reply;
        }
        impl_->pending[impl_->hello_id];
        impl_->state = State::opening;
        boost::asio::post(impl_->io, [impl = impl_.get(), host, port] { impl->resolve(host, port); });
        impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
        reply = impl_->wait(lock, impl_->hello_id, deadline);
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
        id = ++impl_->last_id;
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
    if (impl_->pending.size() >= max_outstanding_requests || !impl_->send_locked(std::move(frame))) {
        reply.result = code::busy;
        return reply;
    }
    impl_->pending[id];
    return impl_->wait(lock, id, deadline);
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
