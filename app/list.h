// The command list: a table of many files.
#pragma once

#include "app/options.h"

namespace lumo::app {

/// What is wrong with the text as a condition, or as the column to sort by ("nodes", "-nodes");
/// empty when nothing is.
std::string ParseCondition(const std::string& text, ListCondition& condition);
std::string CheckSorting(const std::string& text);

/// Reads the files and writes a line for each. Returns the exit code: 0, or 2 when nothing could be
/// read of any.
int RunList(const Options& options);

}  // namespace lumo::app
