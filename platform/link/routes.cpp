#include "platform/link/routes.h"

#include "platform/link/regular_file.h"

#include <nlohmann/json.hpp>

#include <dlfcn.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace zo_link {

namespace {

constexpr std::size_t largest_file = 1024 * 1024;

std::optional<std::string> read_file(const std::string& path) {
    try {
        return read_regular_file(path, largest_file);
    } catch (const FileError&) {
        return std::nullopt;
    }
}

} // namespace

std::optional<Routes> read_routes(const std::string& path) {
    const auto content = read_file(path);
    if (!content) return std::nullopt;
    const auto document = nlohmann::json::parse(*content, nullptr, false);
    if (!document.is_object()) return std::nullopt;

    Routes result;
    if (const auto local = document.find("local"); local != document.end() && local->is_string())
        result.local = normalise_net_id(local->get_ref<const std::string&>());
    if (const auto routes = document.find("routes"); routes != document.end() && routes->is_object()) {
        for (const auto& [net_id, address] : routes->items()) {
            if (address.is_string()) result.routes[normalise_net_id(net_id)] = address.get<std::string>();
        }
    }
    return result;
}

std::string default_routes_path(const void* symbol_in_library) {
    if (const char* path = std::getenv("ZO_ROUTES"); path != nullptr && *path != '\0') return path;
    Dl_info info{};
    if (dladdr(symbol_in_library, &info) == 0 || info.dli_fname == nullptr) return "routes.json";
    const std::string_view file = info.dli_fname;
    const auto slash = file.rfind('/');
    if (slash == std::string_view::npos) return "routes.json";
    return std::string(file.substr(0, slash + 1)) + "routes.json";
}

std::string normalise_net_id(std::string_view net_id) {
    std::string result(net_id);
    if (std::ranges::count(net_id, '.') == 3) result += ".1.1";
    return result;
}

std::optional<std::array<std::uint8_t, 6>> parse_net_id(std::string_view net_id) {
    std::array<std::uint8_t, 6> bytes{};
    const char* at = net_id.data();
    const char* const end = at + net_id.size();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i != 0 && (at == end || *at++ != '.')) return std::nullopt;
        const auto [next, error] = std::from_chars(at, end, bytes[i]);
        if (error != std::errc()) return std::nullopt;
        at = next;
    }
    if (at != end) return std::nullopt;
    return bytes;
}

} // namespace zo_link
