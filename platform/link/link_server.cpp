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

constexpr std::size_t max_sessions = 256;
// After a failed accept, for instance without free descriptors.
constexpr std::chrono::milliseconds accept_pause{50};

} // namespace

// Sessions hold the io_context, so that one that an owner still holds stays usable when the server is gone.
struct LinkServer::Impl : std::enable_shared_from_this<Impl> {
    explicit Impl(ServerEvents owner) : io(std::make_shared<boost::asio::io_context>(1)), events(std::move(owner)) {}

    void listen(const std::string& host, std::uint16_t wanted_port);
    void accept();
    void add(tcp::socket socket);
    void run();

    const std::shared_ptr<boost::asio::io_context> io;
    const ServerEvents events;
    tcp::acceptor acceptor{*io};
    boost::asio::steady_timer retry{*io};
    std::uint16_t port = 0;
    std::uint64_t last_number = 0; // of the server thread

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
            add(std::move(socket));
        } catch (...) {
            // Without memory for it the client is turned away; the next one may fare better.
        }
        accept();
    });
}

void LinkServer::Impl::add(tcp::socket socket) {
    const std::lock_guard lock(mutex);
    if (sessions.size() >= max_sessions) return;
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
    auto session = std::make_shared<Session>(io, std::move(socket), number, events.request, ended);
    sessions.emplace(number, session);
    session->start();
}

void LinkServer::Impl::run() {
    for (;;) {
        try {
            io->run();
            return;
        } catch (...) {
            // A handler without memory; its session ends by its own heartbeat or by stop.
        }
    }
}

LinkServer::LinkServer(const std::string& host, std::uint16_t port, ServerEvents events)
    : impl_(std::make_shared<Impl>(std::move(events))) {
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
    // Everything is closed and the thread runs dry: then no handler is left that would keep a session for ever.
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
