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

/// Nodes of a net whose report has both the file's and the automatic layout at most.
inline constexpr std::size_t MostNodesLaidOutTwice = 3000;

/// The file's name without the folders that it lay in.
std::string FileTitle(const ImportResult& result);

/// Writes what the page shows as one JSON object (see report/ for what reads it).
void WriteReportData(const ImportResult& result, JsonOut& json);

/// The page around the title and the data, made from report/ when the project is built.
struct ReportPage {
    const char* beforeTitle;
    const char* beforeData;
    const char* afterData;
};
extern const ReportPage TheReportPage;

}  // namespace lumo
