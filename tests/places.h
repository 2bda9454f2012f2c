// Where the tests find things: in one object of its own, so that the suites are the same objects in
// every checkout.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lumo::test {

std::string Docs();     ///< the folder of the documentation
std::string Samples();  ///< the folder of the samples
std::string Binary();   ///< the program lumo-import

/// The files in the folder and below, in order, but for those that say what is expected of others.
std::vector<std::filesystem::path> FilesIn(const std::filesystem::path& folder);

}  // namespace lumo::test
