// JSON of the schema "lumo-import/1" (docs/json.md).
#pragma once

#include <iosfwd>
#include <string>

#include "formats/shared/result.h"

namespace lumo {

/// Writes the import as one JSON document, a node and a report a line. Linear in time; its memory
/// does not grow with the tables.
void WriteJson(const ImportResult& result, std::ostream& out);

class JsonOut;
/// The document's keys but for the reports, into an open object.
void WriteNetDocument(JsonOut& json, const ImportResult& result);
/// The keys that say which file it was and how its import went, from "file" to "status", into an
/// open object.
void WriteResultHead(JsonOut& json, const ImportResult& result);
/// The keys that every JSON of a node begins with, from "name" to "discrete", into an open object.
void WriteNodeHead(JsonOut& json, const Bnode_bn& node);

/// The keys of a report, from "number" to "fieldName", into an open object.
void WriteReportFields(JsonOut& json, const ReportRecord& report);

/// One report as a JSON object on one line, with its file first: the form of --diagnostics json.
std::string ReportToJson(const ReportRecord& report);

}  // namespace lumo
