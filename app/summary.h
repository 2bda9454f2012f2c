// What a person wants to know of an imported net.
#pragma once

#include <string>

#include "export/result.h"

namespace lumo::app {

/// Several lines about one file.
std::string Summary(const ImportResult& result);

/// One line about one file of many.
std::string SummaryLine(const ImportResult& result);

}  // namespace lumo::app
