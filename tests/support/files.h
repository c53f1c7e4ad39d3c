#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace zo_test {

inline void write_file(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

inline std::string read_file(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

/// A folder that is removed with this object.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "zo-test-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), "mkdtemp");
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// A file that is removed with this object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text = {}) { write(text); }

    void write(const std::string& text) const { write_file(path_, text); }
    [[nodiscard]] std::string read() const { return read_file(path_); }
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    const TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_ / "file";
};

} // namespace zo_test
