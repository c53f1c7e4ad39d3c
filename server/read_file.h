#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace server {

/// Files that `read_file` takes. A pipe or a terminal may block for ever, a device may never end.
enum class FileKind { regular, regular_or_stream };

/// Returns the content of a file. Throws std::runtime_error with the file and the reason: the file cannot be opened, is
/// of the wrong kind, or has more than `max_size` bytes. With `regular_or_stream` pipes and the terminal pass, too.
/// [any thread]
[[nodiscard]] std::string read_file(const std::filesystem::path& file, std::size_t max_size,
                                    FileKind kind = FileKind::regular);

} // namespace server
