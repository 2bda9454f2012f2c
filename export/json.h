// JSON of the schema "lumo-import/1" (docs/json.md).
#pragma once

#include <iosfwd>
#include <string>

#include "export/result.h"

namespace lumo {

/// Writes the import as one JSON document, a node and a report a line. Linear in time; its memory
/// does not grow with the tables.
void WriteJson(const ImportResult& result, std::ostream& out);

/// One report as a JSON object on one line, with its file first: the form of --diagnostics json.
std::string ReportToJson(const ReportRecord& report);

}  // namespace lumo
