#include "platform/link/lookup.h"

#include <atomic>
#include <cstring>

#include <dlfcn.h>
#include <netdb.h>

namespace zo_link {

using boost::asio::ip::tcp;

struct Lookup::Found {
    Found() = default;
    ~Found() {
        if (first != nullptr) ::freeaddrinfo(first);
    }
    Found(const Found&) = delete;
    Found& operator=(const Found&) = delete;

    std::atomic<bool> done = false;
    addrinfo* first = nullptr; // used only by the thread until `done`
};

namespace {

/// Keeps the library of this code loaded. A program always stays loaded, and dlopen fails for it.
void keep_loaded() {
    static const char here = 0;
    Dl_info library{};
    if (::dladdr(&here, &library) != 0) (void)::dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

} // namespace

Lookup::Lookup(const std::string& host)
    : found_(std::make_shared<Found>()), thread_([found = found_, host] {
          addrinfo hints{};
          hints.ai_socktype = SOCK_STREAM;
          addrinfo* first = nullptr;
          if (::getaddrinfo(host.c_str(), nullptr, &hints, &first) == 0) found->first = first;
          found->done = true;
      }) {
}

Lookup::~Lookup() {
    if (done()) {
        thread_.join();
    } else {
        keep_loaded();
        thread_.detach();
    }
}

bool Lookup::done() const {
    return found_->done;
}

std::vector<tcp::endpoint> Lookup::endpoints(std::uint16_t port) const {
    std::vector<tcp::endpoint> endpoints;
    for (const addrinfo* entry = found_->first; entry != nullptr; entry = entry->ai_next) {
        tcp::endpoint endpoint;
        if (entry->ai_addrlen > endpoint.capacity()) continue;
        endpoint.resize(entry->ai_addrlen);
        std::memcpy(endpoint.data(), entry->ai_addr, entry->ai_addrlen);
        endpoint.port(port);
        endpoints.push_back(endpoint);
    }
    return endpoints;
}

} // namespace zo_link
