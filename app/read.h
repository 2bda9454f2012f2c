// Reading one file of the command line.
#pragma once

#include <string>

#include "app/console.h"
#include "app/options.h"

namespace lumo::app {

/// Imports the file ("-": standard input); problems go to the console and into the result.
ImportResult ReadOne(const std::string& file, const Options& options, Console& console);

/// Whether the file was found to be no net, which was told.
bool IsNoNet(const ImportResult& result);

/// The exit code that the result asks for.
int ExitCodeOf(const ImportResult& result);

}  // namespace lumo::app
