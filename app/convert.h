// Writing an imported net to a file, whole or not at all.
#pragma once

#include <string>

#include "export/writers.h"

namespace lumo::app {

/// Writes the result to the path ("-": standard output). A file is written beside its place and
/// renamed when it is complete; a device or pipe is written directly. Empty when it worked, else
/// what went wrong.
std::string WriteOutput(const ImportResult& result, const Writer& writer, const std::string& path);

/// Writes text to standard output; likewise.
std::string WriteStandardOutput(const std::string& text);

}  // namespace lumo::app
