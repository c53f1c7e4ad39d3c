#include "platform/link/dialer.h"

#include "platform/link/protocol.h"

#include <charconv>
#include <chrono>
#include <utility>

#include <boost/asio/connect.hpp>

#include <fcntl.h>

namespace zo_link {

namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds lookup_period{5};

std::uint32_t connect_code(const error_code& error) {
    if (error == boost::asio::error::connection_refused) return code::refused;
    if (error == boost::asio::error::timed_out) return code::timeout;
    return code::host_unreachable;
}

} // namespace

void Dialer::dial(const std::string& host, const std::string& port, Done done) {
    done_ = std::move(done);
    std::uint16_t number = 0;
    const auto [end, result] = std::from_chars(port.data(), port.data() + port.size(), number);
    if (result != std::errc() || end != port.data() + port.size()) return done_(code::host_unreachable);
    error_code error;
    const auto address = boost::asio::ip::make_address(host, error);
    if (!error) {
        socket_.async_connect(tcp::endpoint(address, number), [this](const error_code& outcome) { finish(outcome); });
        return;
    }
    lookup_.emplace(host);
    await_lookup(number);
}

void Dialer::await_lookup(std::uint16_t port) {
    if (!lookup_->done()) {
        timer_.expires_after(lookup_period);
        timer_.async_wait([this, port](const error_code& error) {
            if (!error) await_lookup(port);
        });
        return;
    }
    const auto endpoints = lookup_->endpoints(port);
    lookup_.reset();
    if (endpoints.empty()) return done_(code::host_unreachable);
    boost::asio::async_connect(socket_, endpoints,
                               [this](const error_code& outcome, const tcp::endpoint&) { finish(outcome); });
}

void Dialer::finish(const error_code& error) {
    if (error) return done_(connect_code(error));
    ::fcntl(socket_.native_handle(), F_SETFD, FD_CLOEXEC); // programs that the host starts must not inherit the link
    error_code ignored;
    socket_.set_option(tcp::no_delay(true), ignored);
    done_(code::ok);
}

} // namespace zo_link
