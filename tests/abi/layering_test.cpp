// A folder includes only from the folders below it.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Folder {
    std::string name;
    std::vector<std::string> below; // a folder, or a single header where only that is allowed
};

const std::vector<Folder> folders = {
    {"extension/host", {}},
    {"support", {"extension/host"}},
    {"device", {"extension/host", "support"}},
    {"binding", {"extension/host", "support", "device"}},
    {"targets", {"extension/host", "support", "device", "binding"}},
    {"extension", {"extension/host", "support", "device", "binding", "targets"}},
    {"server", {"extension/host"}},
    {"simulator", {"platform/link"}},
    {"platform/link", {}},
    {"platform/server_api", {"extension/host"}},
    {"platform/logger_proxy", {"platform/link", "binding", "support/guid.h"}},
    {"platform/device_client", {"platform/link", "device/fdx_client.h"}},
};

bool is_source(const fs::path& file) {
    return file.extension() == ".h" || file.extension() == ".cpp";
}

// The text between the delimiters of each include line of a file.
std::vector<std::string> includes(const fs::path& file, char open, char close) {
    std::vector<std::string> found;
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        line.erase(std::remove_if(line.begin(), line.end(), [](char c) { return c == ' ' || c == '\t'; }), line.end());
        const std::string start = std::string("#include") + open;
        if (!line.starts_with(start)) continue;
        found.push_back(line.substr(start.size(), line.find(close, start.size()) - start.size()));
    }
    return found;
}

bool may_include(const Folder& folder, const std::string& header) {
    const std::string from = fs::path(header).parent_path().string();
    return from == folder.name ||
           std::ranges::any_of(folder.below, [&](const auto& below) { return below == from || below == header; });
}

bool is_product(const Folder& folder) {
    return !folder.name.starts_with("platform/") && folder.name != "server" && folder.name != "simulator";
}

TEST(Layering, AFolderIncludesOnlyFromFoldersBelowIt) {
    const fs::path root(ZO_SOURCE_DIR);
    for (const Folder& folder : folders) {
        std::size_t files = 0;
        for (const auto& entry : fs::directory_iterator(root / folder.name)) {
            if (!is_source(entry.path())) continue;
            ++files;
            for (const std::string& header : includes(entry.path(), '"', '"')) {
                EXPECT_TRUE(may_include(folder, header)) << entry.path() << " includes " << header;
                EXPECT_TRUE(fs::exists(root / header)) << entry.path() << " includes " << header;
            }
            if (!is_product(folder)) continue;
            for (const std::string& header : includes(entry.path(), '<', '>')) {
                EXPECT_FALSE(header.starts_with("nlohmann/")) << entry.path();
                EXPECT_TRUE(!header.starts_with("boost/") || folder.name == "support") << entry.path();
            }
        }
        EXPECT_GT(files, 1u) << folder.name;
    }
}

} // namespace
