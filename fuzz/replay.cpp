// Runs a fuzz target over files and folders of inputs, for compilers without a fuzzer.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/properties.h"

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> FilesOf(const fs::path& place) {
    std::vector<fs::path> files;
    if (!fs::is_directory(place)) return {place};
    for (const auto& entry : fs::recursive_directory_iterator(place))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

}  // namespace

int main(int argc, char** argv) {
    int inputs = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& file : FilesOf(argv[i])) {
            std::ifstream in(file, std::ios::binary);
            const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
            std::cerr << file.string() + "\n";  // known before a crash
            LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(bytes.data()),
                                   bytes.size());
            ++inputs;
        }
    }
    std::cout << inputs << " inputs replayed\n";
    return inputs > 0 ? 0 : 1;
}
