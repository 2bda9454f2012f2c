#include "tests/places.h"

#include <algorithm>

namespace lumo::test {

std::string Docs() { return DOCS; }
std::string Samples() { return SAMPLES; }
std::string Binary() { return BINARY; }

std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && entry.path().extension() != ".expected")
            files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

}  // namespace lumo::test
