// Every report that an import can make, with its cause and cure: what documentation and
// `lumo-import explain` tell.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "formats/shared/format.h"

namespace LUMO_API lumo {

/// All rows, format by format, then what formats share. Rows of one number follow each other.
std::span<const MessageRow> ReportCatalogue();

/// The rows of that number (negative, as in the reports); empty when there is none.
std::vector<const MessageRow*> FindReport(int number);

/// The row's text for people, its memory prefix included; what differs from report to report is
/// three dots.
std::string MessageOf(const MessageRow& row);
/// The texts of several rows on one line, each once.
std::string MessagesOf(std::span<const MessageRow* const> rows);

/// Whether the format's reader makes the report, which not every reader does.
bool IsOf(const MessageRow& row, const FormatInfo& format);

/// The titles of the formats whose readers make one of the reports: "DSC, BIF" or "any format".
std::string FormatTitles(std::span<const MessageRow* const> rows);

/// The rows that a format does not share with all others, or those that all share (null), as people
/// read them: rows of one kind and one cure together.
std::vector<std::vector<const MessageRow*>> GroupedReports(const FormatInfo* format);

}  // namespace lumo
