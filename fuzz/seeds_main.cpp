// Runs a fuzz target over the files of a folder, without a fuzzer.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FOLDER\n";
        return 2;
    }
    std::vector<std::filesystem::path> seeds;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1], error)) {
        if (entry.is_regular_file()) seeds.push_back(entry.path());
    }
    if (error || seeds.empty()) {
        std::cerr << "no seeds in " << argv[1] << '\n';
        return 1;
    }
    std::sort(seeds.begin(), seeds.end());
    for (const auto& seed : seeds) {
        std::ifstream file(seed, std::ios::binary);
        std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
        if (!file.is_open() || file.bad()) {
            std::cerr << "cannot read " << seed << '\n';
            return 1;
        }
        bytes.shrink_to_fit(); // so that a sanitizer sees a read behind the end
        // A target traps at a fault: the last printed name is the seed.
        std::cout << seed.filename().string() << std::endl;
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
}
