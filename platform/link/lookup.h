#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio/ip/tcp.hpp>

namespace zo_link {

/// A look-up of a host's name that can be cancelled at any time. A name server may not answer for long, so a thread of
/// its own waits for it and may outlive this object. Inside platform/link only. [one thread]
class Lookup {
public:
    /// Throws std::system_error if there is no thread.
    explicit Lookup(const std::string& host);
    /// Cancels. A library whose thread still waits stays loaded for good.
    ~Lookup();
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    bool done() const;
    /// Returns the host's addresses, none if it was not found. Requires done().
    std::vector<boost::asio::ip::tcp::endpoint> endpoints(std::uint16_t port) const;

private:
    struct Found;
    std::shared_ptr<Found> found_;
    std::thread thread_;
};

} // namespace zo_link
