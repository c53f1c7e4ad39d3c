#pragma once

#include <filesystem>
#include <string>

namespace server {

/// Returns why no target can be reached with the routes file at hand, or "". Simulated targets are found through the
/// file that ZO_ROUTES names, else through routes.json beside the extension. The stand-ins for the platform's libraries
/// report a fault in this file only as a failed connection.
[[nodiscard]] std::string routes_problem(const std::filesystem::path& extension);

} // namespace server
