#include "platform/link/regular_file.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zo_link {

namespace {

FileError last_error() {
    return {std::strerror(errno), errno};
}

/// Closes a descriptor at the end of its block.
struct Descriptor {
    ~Descriptor() { ::close(number); }
    int number;
};

std::string size_text(std::size_t bytes) {
    return std::to_string(bytes >> 20) + " MiB";
}

} // namespace

int open_regular_file(const std::string& path, int flags) {
    constexpr mode_t all_may_read = 0644;
    const int file = ::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, all_may_read);
    // Opening a pipe for writing fails if the pipe has no reader.
    if (file < 0 && errno == ENXIO) throw FileError("is not a regular file", ENXIO);
    if (file < 0) throw last_error();
    struct stat found {};
    if (::fstat(file, &found) == 0 && S_ISREG(found.st_mode)) return file;
    ::close(file);
    throw FileError("is not a regular file", 0);
}

std::string read_regular_file(const std::string& path, std::size_t max_size) {
    const Descriptor file{open_regular_file(path, O_RDONLY)};
    std::string content;
    char chunk[65536];
    for (;;) {
        const ssize_t count = ::read(file.number, chunk, sizeof chunk);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw last_error();
        if (count == 0) return content;
        content.append(chunk, static_cast<std::size_t>(count));
        if (content.size() > max_size) throw FileError("is larger than " + size_text(max_size), EFBIG);
    }
}

} // namespace zo_link
