// Reading one file: detection, import, result.
#pragma once

#include <string>

#include "app/console.h"
#include "app/options.h"
#include "formats/shared/result.h"

namespace lumo::app {

/// Imports the file ("-": standard input); problems go to the console and into the result. Regular
/// files are left to the library, of which detection sees the start alone; pipes are read once,
/// into memory.
ImportResult ReadOne(const std::string& file, const Options& options, Console& console);

/// The start of a regular file's text, as much as detection looks at; unpacked.
std::string ReadStart(const std::string& file);

/// Whether the file was found to be no net, which was told.
bool IsNoNet(const ImportResult& result);

/// The exit code that the result asks for.
int ExitCodeOf(const ImportResult& result);

}  // namespace lumo::app
