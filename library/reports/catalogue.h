// Every report that an import can make, with its cause and cure: what documentation and
// `lumo-import explain` tell, and what the tests hold every report against.
#pragma once

#include <array>
#include <span>
#include <string>

namespace lumo {

/// One kind of problem, under the numbers of all the places that report it.
struct ReportInfo {
    std::array<int, 8> numbers;  ///< zeros fill it up
    /// Formats whose readers make it, a letter each: h(ugin), d(sc), x (dxpress), e(rgo), b
    /// (xmlbif); "*" where the file's format does not matter.
    const char* formats;
    int severity;
    const char* message;  ///< printf formats without the marker; a line each when it has several
    const char* cure;     ///< what it means and what to do, as Markdown
};

/// In the order in which a person would read them: format by format, then what formats share.
std::span<const ReportInfo> ReportCatalogue();

/// The entry with that number (negative, as in the reports); null when there is none.
const ReportInfo* FindReport(int number);

/// Its messages on one line; what differs from report to report is three dots.
std::string MessageOf(const ReportInfo& info);

/// What keeps a report of that number, severity and message (without the marker) from being one of
/// the catalogue; empty when nothing does.
std::string CatalogueFault(int number, int severity, const char* message);

}  // namespace lumo
