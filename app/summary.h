// What a person, or a program, wants to know of an imported net.
#pragma once

#include <string>

#include "formats/shared/result.h"

namespace lumo::app {

/// Several lines about one file; lists of names stand in them with all they have, or cut.
std::string Summary(const ImportResult& result, bool all);

/// One line about one file of many.
std::string SummaryLine(const ImportResult& result);

/// The same for programs: a JSON object on one line (docs/json.md).
std::string SummaryJson(const ImportResult& result, int exitCode);
/// The same of a file whose reading broke down.
std::string BrokenSummaryJson(const std::string& file);

}  // namespace lumo::app
