// A folder includes only from folders below it.
#include "tests/test_headers.h"

namespace {

namespace fs = std::filesystem;

struct Folder {
    std::string name;
    std::vector<std::string> below; ///< folders with all their rooms, or single headers
};

const std::vector<Folder> folders = {
    {"extension/host", {}},
    {"support", {"extension/host"}},
    {"device/code", {"extension/host", "support"}},
    {"device/net", {"extension/host", "support"}},
    {"device/path", {"extension/host", "support", "device/code", "device/net"}},
    {"device/type", {"extension/host", "support", "device/code", "device/net", "device/path"}},
    {"device/request", {"extension/host", "support", "device/code", "device/net", "device/path", "device/type"}},
    {"device/runtime",
     {"extension/host", "support", "device/code", "device/net", "device/path", "device/type", "device/request"}},
    {"binding", {"extension/host", "support", "device"}},
    {"targets", {"extension/host", "support", "device", "binding"}},
    {"extension", {"extension/host", "support", "device", "binding", "targets"}},
    {"server", {"extension/host", "support/error_text.h", "support/guid.h", "support/numeric.h", "support/utf8.h"}},
    {"simulator", {"platform/link", "support/guid.h", "support/numeric.h", "support/utf8.h"}},
    {"platform/link", {"support/guid.h", "support/numeric.h", "support/utf8.h"}},
    {"platform/server_api", {"extension/host"}},
    {"platform/logger_proxy", {"platform/link", "binding", "support/guid.h"}},
    {"platform/device_client", {"platform/link", "device/net/fdx_client.h"}},
};

/// Folders without a floor: they may include everything.
const std::vector<std::string> without_floor = {"bench", "build", "fuzz", "tests"};

bool is_source(const fs::path& file) {
    return file.extension() == ".h" || file.extension() == ".cpp";
}

/// Returns the text between the delimiters of each include line of a file.
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

bool lies_in(const std::string& path, const std::string& folder) {
    return path.starts_with(folder + "/");
}

/// Returns the innermost folder around a file that has a row.
const Folder* folder_of(const std::string& file) {
    const Folder* innermost = nullptr;
    for (const Folder& folder : folders)
        if (lies_in(file, folder.name) && (!innermost || folder.name.size() > innermost->name.size()))
            innermost = &folder;
    return innermost;
}

/// Returns true for headers in a `detail` folder that is not installed. Values are inlined, so the host's is.
bool is_private(const std::string& header) {
    return header.find("/detail/") != std::string::npos && !lies_in(header, "extension/host");
}

bool may_include(const Folder& folder, const std::string& header) {
    const Folder* const other = folder_of(header);
    if (other == &folder) return true;
    return other && !is_private(header) && std::ranges::any_of(folder.below, [&](const auto& below) {
               return below == header || below == other->name || lies_in(other->name, below);
           });
}

bool is_product(const Folder& folder) {
    return !folder.name.starts_with("platform/") && folder.name != "server" && folder.name != "simulator";
}

std::vector<std::string> sources_below(const fs::path& root, const std::string& folder) {
    std::vector<std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(root / folder))
        if (is_source(entry.path())) found.push_back(fs::relative(entry.path(), root).string());
    return found;
}

TEST(Layering, FolderIncludesOnlyFromBelow) {
    const fs::path root(ZO_SOURCE_DIR);
    for (const Folder& folder : folders) {
        std::size_t files = 0;
        for (const std::string& file : sources_below(root, folder.name)) {
            if (folder_of(file) != &folder) continue;
            ++files;
            for (const std::string& header : includes(root / file, '"', '"')) {
                EXPECT_TRUE(may_include(folder, header)) << file << " includes " << header;
                EXPECT_TRUE(fs::exists(root / header)) << file << " includes " << header;
            }
            if (!is_product(folder)) continue;
            for (const std::string& header : includes(root / file, '<', '>')) {
                EXPECT_FALSE(header.starts_with("nlohmann/")) << file;
                EXPECT_TRUE(!header.starts_with("boost/") || folder.name == "support") << file;
            }
        }
        EXPECT_GT(files, 1u) << folder.name;
    }
}

TEST(Layering, EveryFolderHasARow) {
    const fs::path root(ZO_SOURCE_DIR);
    for (const auto& entry : fs::directory_iterator(root)) {
        const std::string name = entry.path().filename().string();
        if (!entry.is_directory() || name.starts_with('.') || std::ranges::count(without_floor, name) != 0) continue;
        for (const std::string& file : sources_below(root, name))
            EXPECT_NE(folder_of(file), nullptr) << file;
    }
}

// Private headers are not installed.
TEST(Layering, PublicHeaderIncludesNoPrivateHeader) {
    const fs::path root(ZO_SOURCE_DIR);
    for (const char* tree : {"extension/host", "support", "device"})
        for (const std::string& file : sources_below(root, tree)) {
            if (!file.ends_with(".h") || file.find("/detail/") != std::string::npos) continue;
            for (const std::string& header : includes(root / file, '"', '"'))
                EXPECT_FALSE(is_private(header)) << file << " includes " << header;
        }
}

} // namespace
