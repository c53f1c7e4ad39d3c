#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

// A file of its own for one test, gone with it.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& text = {}) {
        static std::atomic<int> count{0};
        path_ = std::filesystem::temp_directory_path() /
                ("zo-server-test-" + std::to_string(getpid()) + "-" + std::to_string(count++));
        write(text);
    }
    ~TemporaryFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    void write(const std::string& text) const { std::ofstream(path_, std::ios::binary) << text; }
    [[nodiscard]] std::string read() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};
