// Many files: one after the other in this process, or several at a time in processes of their own.
#pragma once

#include "app/console.h"
#include "app/options.h"

namespace lumo::app {

/// What is done with one file; returns its exit code and never throws.
using FileWork = int (*)(const InputFile& file, const Options& options, Console& console);

/// Does the work for every file, in order as far as anyone can see, and shows how many went well.
/// Returns the highest exit code.
int RunBatch(const Options& options, FileWork work);

}  // namespace lumo::app
