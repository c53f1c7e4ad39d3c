#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio/ip/tcp.hpp>

namespace zo_link {

/// A look-up of a host's name that can be cancelled at any time. A name server may take long to answer. So the look-up
/// has its own thread, which may outlive this object. Inside platform/link only. [one thread]
class Lookup {
public:
    /// Throws std::system_error if no thread can be created.
    explicit Lookup(const std::string& host);
    /// Cancels the look-up. If its thread is still waiting, the library stays loaded until the process ends.
    ~Lookup();
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    bool done() const;
    /// Returns the host's addresses; none if the host was not found. Requires done().
    std::vector<boost::asio::ip::tcp::endpoint> endpoints(std::uint16_t port) const;

private:
    struct Found;
    std::shared_ptr<Found> found_;
    std::thread thread_;
};

} // namespace zo_link
