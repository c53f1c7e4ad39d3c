#include "support/file.h"

#include <filesystem>
#include <system_error>

namespace ZoHmiSrv::File {

std::string current_directory() {
    std::error_code error;
    return std::filesystem::current_path(error).string();
}

} // namespace ZoHmiSrv::File
