#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <boost/asio/ip/tcp.hpp>

namespace zo_link {

// A look-up of a host's name that can be given up at any time. Whoever asks a name server waits for as long as that
// takes, so a thread does it that may be left behind. Inside platform/link only. [one thread]
class Lookup {
public:
    // Throws std::system_error.
    explicit Lookup(const std::string& host);
    // Gives up: a library with a thread of it left behind stays loaded for good.
    ~Lookup();
    Lookup(const Lookup&) = delete;
    Lookup& operator=(const Lookup&) = delete;

    bool done() const;
    // The host's addresses, none when it was not found. Only when done.
    std::vector<boost::asio::ip::tcp::endpoint> endpoints(std::uint16_t port) const;

private:
    struct Found;
    std::shared_ptr<Found> found_;
    std::thread thread_;
};

} // namespace zo_link
