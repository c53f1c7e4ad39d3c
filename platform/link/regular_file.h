#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace zo_link {

/// The text gives a short reason, without the path.
struct FileError : std::runtime_error {
    /// `number` is an errno value, or 0.
    FileError(const std::string& text, int number) : std::runtime_error(text), error(number) {}
    int error;
};

/// Opens a file with these flags of open(2) and returns its descriptor. Throws FileError for a pipe, a device or a
/// folder. Does not block, even for a pipe without a writer. [any thread]
int open_regular_file(const std::string& path, int flags);

/// Returns the content of a file. Throws FileError, also if the file is larger than `max_size` bytes. [any thread]
std::string read_regular_file(const std::string& path, std::size_t max_size);

} // namespace zo_link
