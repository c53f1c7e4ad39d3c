#include "platform/link/link_server.h"

#include "platform/link/frame.h"
#include "platform/link/session.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <nlohmann/json.hpp>

#include <fcntl.h>

namespace zo_link {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

// The delay after a failed accept, for example when no descriptor is free.
constexpr std::chrono::milliseconds accept_pause{50};

} // namespace

/// Sessions share the io_context, so a session stays usable if its owner keeps it longer than the server.
struct LinkServer::Impl : std::enable_shared_from_this<Impl> {
    Impl(ServerEvents owner, ServerLimits allowed)
        : io(std::make_shared<boost::asio::io_context>(1)), events(std::move(owner)), limits(allowed) {}

    void listen(const std::string& host, std::uint16_t wanted_port);
    void accept();
    bool make_room();
    void add(tcp::socket socket);
    void run();

    const std::shared_ptr<boost::asio::io_context> io;
    const ServerEvents events;
    const ServerLimits limits;
    tcp::acceptor acceptor{*io};
    boost::asio::steady_timer retry{*io};
    std::uint16_t port = 0;
    std::uint64_t last_number = 0; // used only by the server thread

    std::mutex mutex; // guards the sessions
    std::map<std::uint64_t, std::shared_ptr<Session>> sessions;

    std::mutex join_mutex;
    std::thread thread;
};

void LinkServer::Impl::listen(const std::string& host, std::uint16_t wanted_port) {
    error_code error;
    const tcp::endpoint endpoint(boost::asio::ip::make_address(host, error), wanted_port);
    if (!error) acceptor.open(endpoint.protocol(), error);
    if (!error) ::fcntl(acceptor.native_handle(), F_SETFD, FD_CLOEXEC);
    if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
    if (!error) acceptor.bind(endpoint, error);
    if (!error) acceptor.listen(boost::asio::socket_base::max_listen_connections, error);
    if (!error) port = acceptor.local_endpoint(error).port();
    if (error)
        throw std::runtime_error("cannot listen on " + host + ":" + std::to_string(wanted_port) + ": " +
                                 error.message());
}

void LinkServer::Impl::accept() {
    acceptor.async_accept([this](const error_code& error, tcp::socket socket) {
        if (!acceptor.is_open()) return;
        if (error) {
            retry.expires_after(accept_pause);
            retry.async_wait([this](const error_code& cancelled) {
                if (!cancelled && acceptor.is_open()) accept();
            });
            return;
        }
        try {
            if (make_room()) add(std::move(socket));
        } catch (...) {
            // Out of memory: this client is refused; the next one may succeed.
        }
        accept();
    });
}

/// Returns whether there is room for one more session. In a full table, ends the session that has been silent longest.
bool LinkServer::Impl::make_room() {
    std::shared_ptr<Session> longest_silent;
    {
        const std::lock_guard lock(mutex);
        if (sessions.size() < limits.sessions) return true;
        auto last = std::chrono::steady_clock::now() - limits.silence;
        for (const auto& [number, session] : sessions) {
            const auto heard = session->last_heard();
            if (!heard || *heard > last) continue;
            last = *heard;
            longest_silent = session;
        }
    }
    if (!longest_silent) return false;
    longest_silent->end(); // locks the mutex to remove itself from the table
    return true;
}

void LinkServer::Impl::add(tcp::socket socket) {
    const std::lock_guard lock(mutex);
    const std::uint64_t number = ++last_number;
    const auto ended = [weak = weak_from_this()](const std::shared_ptr<Session>& session) {
        const auto self = weak.lock();
        if (!self) return;
        {
            const std::lock_guard relock(self->mutex);
            self->sessions.erase(session->number());
        }
        if (self->events.closed) self->events.closed(session);
    };
    auto session = std::make_shared<Session>(io, std::move(socket), number, events.request, ended, limits.silence);
    sessions.emplace(number, session);
    session->start();
}

void LinkServer::Impl::run() {
    for (;;) {
        try {
            io->run();
            return;
        } catch (...) {
            // A handler ran out of memory. Its session ends by its own heartbeat or by stop.
        }
    }
}

LinkServer::LinkServer(const std::string& host, std::uint16_t port, ServerEvents events, ServerLimits limits)
    : impl_(std::make_shared<Impl>(std::move(events), limits)) {
    impl_->listen(host, port);
    impl_->accept();
    impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

LinkServer::~LinkServer() {
    stop();
}

std::uint16_t LinkServer::port() const {
    return impl_->port;
}

std::vector<std::shared_ptr<LinkSession>> LinkServer::sessions() const {
    const std::lock_guard lock(impl_->mutex);
    std::vector<std::shared_ptr<LinkSession>> result;
    for (const auto& [number, session] : impl_->sessions)
        result.push_back(session);
    return result;
}

void LinkServer::notify_all(const char* kind, const nlohmann::json& fields) {
    const auto frame = Session::encode_notification(kind, fields);
    const std::lock_guard lock(impl_->mutex);
    for (const auto& [number, session] : impl_->sessions)
        session->notify(frame);
}

void LinkServer::stop() {
    const std::lock_guard join_lock(impl_->join_mutex);
    if (!impl_->thread.joinable()) return;
    // After everything is closed, the thread runs out of work. No remaining handler keeps a session alive.
    boost::asio::post(*impl_->io, [impl = impl_.get()] {
        error_code ignored;
        impl->acceptor.close(ignored);
        impl->retry.cancel();
        std::vector<std::shared_ptr<Session>> open;
        {
            const std::lock_guard lock(impl->mutex);
            for (const auto& [number, session] : impl->sessions)
                open.push_back(session);
        }
        for (const auto& session : open)
            session->end();
    });
    impl_->thread.join();
}

} // namespace zo_link
