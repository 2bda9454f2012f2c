// What one import gave: the net and the reports made meanwhile, as the writers take it.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// A copy of a report that outlives its import; texts are without the marker.
struct ReportRecord {
    int number = 0;               ///< the message site, negative, as `explain` knows it
    int severity = 0;             ///< SeverityEN
    std::string message;          ///< one line; bytes as in the file
    std::string file;             ///< its name as the importer was given it; may be empty
    int line = 0;                 ///< from 1; 0: no place
    int column = 0;               ///< from 1, in bytes
    std::string structKind;       ///< what was being read ("node block"); may be empty
    std::string structName;       ///< the name of that object; may be empty
    std::string fieldName;        ///< the field being read; may be empty
    std::string sourceLine;       ///< the file's line, cut around the place; empty when not known
    std::size_t sourceCaret = 0;  ///< the place in it, in bytes

    ReportRecord() = default;
    /// A copy; sourceLine stays empty.
    explicit ReportRecord(const rept_kt& report)
        : number(report.number),
          severity(report.severity),
          message(report.message == nullptr ? "" : report.message),
          file(report.file),
          line(report.line),
          column(report.column),
          structKind(report.structKind),
          structName(report.structName),
          fieldName(report.fieldName) {}
};

/// A word of the file that has no meaning here: it was passed over with what belongs to it.
struct SkippedWord {
    std::string word;     ///< bytes as in the file
    long long count = 0;  ///< how often it occurred
};

/// Where the places of the nodes in what is written come from.
enum class LayoutEN : unsigned char {
    best,       ///< the file, where it says where the nodes are
    automatic,  ///< the automatic layout
    file,       ///< the file, whatever it says
};

/// How an import went: the worst report counts, a missing net above all.
enum class StatusEN : unsigned char { ok, warnings, errors, failed };

/// What an import gave; move it, as the net is its own.
struct ImportResult {
    std::string file;                   ///< as the user named it
    std::string format;                 ///< "hugin" ...; empty when it was not recognised
    int formatCode = 0;                 ///< 0 likewise
    std::unique_ptr<Bnet_bn> net;       ///< null when nothing was read
    std::vector<ReportRecord> reports;  ///< in the order they were made
    std::vector<SkippedWord> skipped;   ///< unknown words, the most frequent first
    std::vector<std::string> notes;     ///< what the readers print, such as renamed nodes
    int error = 0;                      ///< errno, when the file could not be opened or read
    LayoutEN layout = LayoutEN::best;   ///< what was asked for

    /// How it went, from the reports and the net as they are now.
    StatusEN status() const {
        int worst = SeverityOkay;
        for (const ReportRecord& report : reports) worst = std::max(worst, report.severity);
        // A net without a node that ended with an error is a text that ends before a net begins.
        const bool nothing = net == nullptr || (net->nodes.N == 0 && worst > SeverityWarning);
        if (nothing) return StatusEN::failed;
        if (worst > SeverityWarning) return StatusEN::errors;
        return worst > SeverityNotice ? StatusEN::warnings : StatusEN::ok;
    }

    /// Drops the net of an import that failed: it holds nothing of the file.
    void dropFailedNet() {
        if (status() == StatusEN::failed) net.reset();
    }
};

/// "notice", "warning", "error" or "fatal".
constexpr const char* SeverityName(int severity) {
    if (severity >= SeverityFatal) return "fatal";
    if (severity > SeverityWarning) return "error";
    return severity > SeverityNotice ? "warning" : "notice";
}

}  // namespace lumo
