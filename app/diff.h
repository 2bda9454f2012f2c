// The command diff: how two nets differ.
#pragma once

#include "app/options.h"

namespace lumo::app {

/// Reads the two files and tells how their nets differ. Returns the exit code: 0 they are the same,
/// 1 they differ, 2 one of them could not be read.
int RunDiff(const Options& options);

}  // namespace lumo::app
