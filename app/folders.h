// Folders as input.
#pragma once

#include <string>
#include <vector>

#include "app/options.h"

namespace lumo::app {

/// Fills in the files to read. With --recursive a folder gives way to the files below it that have
/// a format's extension or certainly are of a format, in the order of their names; links to folders
/// and hidden files are passed over. A folder of which nothing is to be read stays, so that it is
/// reported.
void GatherFiles(const std::vector<std::string>& arguments, Options& options);

/// Whether it is a folder ("-" is standard input).
bool IsFolder(const std::string& path);

}  // namespace lumo::app
