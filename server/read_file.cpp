#include "server/read_file.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace server {

namespace {

struct Descriptor {
    explicit Descriptor(int file) : number(file) {}
    ~Descriptor() {
        if (number >= 0) close(number);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    const int number;
};

std::string size_text(std::size_t bytes) {
    return bytes >> 20 != 0 ? std::to_string(bytes >> 20) + " MiB" : std::to_string(bytes >> 10) + " KiB";
}

bool is_stream(int file, const struct stat& status) {
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || isatty(file) == 1;
}

} // namespace

std::string read_file(const std::filesystem::path& file, std::size_t max_size, FileKind kind) {
    const auto fail = [&](const std::string& reason) { throw std::runtime_error(file.string() + " " + reason); };
    const auto fail_with = [&](int error) {
        throw std::runtime_error("cannot read " + file.string() + ": " + std::strerror(error));
    };
    const bool streams = kind == FileKind::regular_or_stream;
    // Without O_NONBLOCK the open of a pipe blocks until a writer comes.
    const Descriptor in(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | (streams ? 0 : O_NONBLOCK)));
    struct stat status {};
    if (in.number < 0 || fstat(in.number, &status) != 0) fail_with(errno);
    if (S_ISDIR(status.st_mode)) fail_with(EISDIR);
    if (!S_ISREG(status.st_mode) && !(streams && is_stream(in.number, status))) {
        fail(streams ? "is not a regular file or a pipe" : "is not a regular file");
    }

    std::string text;
    std::array<char, 65536> chunk{};
    while (true) {
        const ssize_t count = read(in.number, chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) fail_with(errno);
        if (count == 0) return text;
        text.append(chunk.data(), static_cast<std::size_t>(count));
        if (text.size() > max_size) fail("is larger than " + size_text(max_size));
    }
}

} // namespace server
