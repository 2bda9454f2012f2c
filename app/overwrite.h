// Files that are there already where convert is to write.
#pragma once

#include <string>

#include "app/options.h"

namespace lumo::app {

/// Asks a person at the terminal, once for all files, before anything is read. Empty when there is
/// nothing to ask or the answer is yes, else what is to be said.
std::string AskToWriteOver(const Options& options);

/// Why that file is not written over; empty when it may be, or is not there.
std::string WhyNotWrittenOver(const std::string& output, const Options& options);

}  // namespace lumo::app
