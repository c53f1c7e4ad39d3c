#include "server/routes_check.h"

#include "server/read_file.h"

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace server {

namespace {

constexpr std::size_t max_file_size = std::size_t{1} << 20;

} // namespace

std::string routes_problem(const std::filesystem::path& extension) {
    const char* const named = std::getenv("ZO_ROUTES");
    const bool by_variable = named != nullptr && *named != '\0';
    const std::filesystem::path file =
        by_variable ? named : std::filesystem::absolute(extension).parent_path() / "routes.json";
    const std::string remedy = by_variable ? "; no target can be reached; ZO_ROUTES must name a routes file"
                                           : "; simulated targets cannot be reached; ZO_ROUTES can name a routes file";
    try {
        const auto routes = nlohmann::json::parse(read_file(file, max_file_size), nullptr, false);
        if (!routes.is_object()) return file.string() + " is not a JSON object" + remedy;
        const auto table = routes.find("routes");
        if (table == routes.end() || !table->is_object()) return file.string() + " has no object \"routes\"" + remedy;
        return {};
    } catch (const std::runtime_error& error) {
        return error.what() + remedy;
    }
}

} // namespace server
