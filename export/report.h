// The HTML report: one file that shows the picture, every node with its table, and all problems.
#pragma once

#include <iosfwd>
#include <string>

#include "export/jsonout.h"
#include "formats/shared/result.h"

namespace lumo {

/// Numbers of tables that a page holds at most; tables beyond are named as left out.
inline constexpr long long MostReportNumbers = 4'000'000;

/// Writes the report, also when nothing was read. The page needs no network and works from a file;
/// its content security policy allows its own script and style alone. Linear in time; its memory
/// does not grow with the tables.
void WriteReport(const ImportResult& result, std::ostream& out);

/// The file's name without the folders that it lay in.
std::string FileTitle(const ImportResult& result);

/// Whether the page has room for all numbers of the net; it carries the net's JSON document then.
bool CarriesNet(const ImportResult& result);

/// Writes what the page shows as one JSON object (see report/ for what reads it), without the
/// numbers of a net that the page carries.
void WriteReportData(const ImportResult& result, JsonOut& json);

/// A page around the title and the data, made from report/ when the project is built.
struct ReportPage {
    const char* beforeTitle;
    const char* beforeData;
    const char* afterData;
};
extern const ReportPage TheReportPage;
extern const ReportPage TheDiffPage;  ///< likewise of two nets that differ, from diff/

}  // namespace lumo
