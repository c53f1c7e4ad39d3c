#pragma once

#include "platform/link/lookup.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

namespace zo_link {

/// Looks up a host's name and connects a socket to it. Inside platform/link only. [thread of the io_context]
class Dialer {
public:
    using Done = std::function<void(std::uint32_t result)>;

    /// The caller owns the socket. To cancel a connect, close the socket and call `cancel`.
    Dialer(boost::asio::io_context& io, boost::asio::ip::tcp::socket& socket) : socket_(socket), timer_(io) {}

    /// Calls `done` once, possibly at once; never after `cancel`.
    void dial(const std::string& host, const std::string& port, Done done);
    /// Ends the wait for the look-up.
    void cancel() { timer_.cancel(); }

private:
    void await_lookup(std::uint16_t port);
    void finish(const boost::system::error_code& error);

    boost::asio::ip::tcp::socket& socket_;
    boost::asio::steady_timer timer_;
    std::optional<Lookup> lookup_;
    Done done_;
};

} // namespace zo_link
