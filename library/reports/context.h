// The state that making and showing reports share, one a thread; not for users of the reports.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/reports/reports.h"
#include "library/utilities/Utils.h"

namespace lumo {

/// The report for when no other can be made: nothing in it needs to be allocated.
class SpareReport {
public:
    SpareReport() {
        report_.severity = SeverityFatal;
        report_.message = text_;
        report_.shown = true;  // it says nothing yet
    }
    ~SpareReport() { report_.message = nullptr; }
    SpareReport(const SpareReport&) = delete;
    SpareReport& operator=(const SpareReport&) = delete;

    rept_kt* renew(int number, const char* text) {
        report_.number = number;
        report_.line = report_.column = 0;
        report_.offset = -1;
        report_.file.clear();
        report_.structKind.clear();
        report_.structName.clear();
        report_.fieldName.clear();
        report_.shown = false;
        report_.waits = false;
        SPrintf(text_, size, "%s", text);
        return &report_;
    }
    rept_kt* get() { return &report_; }
    static constexpr int size = 512;

private:
    rept_kt report_;
    char text_[size] = "";
};

// ---- Unknown words -------------------------------------------------------------------------

// Looked up by view, so that a word that was met before costs no allocation.

struct UnknownView {
    int number;
    std::string_view word;
};

struct UnknownWord {
    int number;
    std::string word;
    operator UnknownView() const { return {number, word}; }
};

struct UnknownHash {
    using is_transparent = void;
    std::size_t operator()(UnknownView v) const {
        return std::hash<std::string_view>()(v.word) + static_cast<std::size_t>(v.number);
    }
};

struct UnknownEqual {
    using is_transparent = void;
    bool operator()(UnknownView a, UnknownView b) const {
        return a.number == b.number && a.word == b.word;
    }
};

using UnknownCounts = std::unordered_map<UnknownWord, long long, UnknownHash, UnknownEqual>;

// ---- The thread's state --------------------------------------------------------------------

// Reports made outside any scope have no end to be released at: so many are kept, the latest.
inline constexpr std::size_t MaxKeptOutside = 256;

/// What one scope counts.
struct ReportBudget {
    std::size_t firstOfScope = 0;  ///< reports before it were made outside the scope
    std::size_t messageBytes = 0;  ///< of the reports of the scope
    int errors = 0;                ///< shown
    int warnings = 0;              ///< shown, notices included
    long long hiddenWarnings = 0;  ///< not shown because the budget was spent
    long long notes = 0;           ///< printed, or not because there were too many
    bool failShown = false;        ///< Fail_rept_kt, which is shared by all threads
    UnknownCounts unknown;
};

/// Fills Okay_rept_kt and Fail_rept_kt, once.
void MakePermanentReports();

struct Context : ReportBudget {
    // Not inlined into what every report of an error so far asks for.
    LUMO_NOINLINE Context() { MakePermanentReports(); }

    int depth = 0;  ///< of scopes
    std::deque<rept_kt> reports;
    ReportHandler* handler = nullptr;
    PlaceSource* place = nullptr;
    SpareReport spare;

    bool inScope() const { return depth > 0; }
    bool warningsSpent() const { return inScope() && warnings >= MaxShownWarnings; }

    rept_kt& addReport() {
        if (!inScope() && reports.size() >= MaxKeptOutside) reports.pop_front();
        return reports.emplace_back();
    }
};

Context& Here();

/// The reports made in the present scope so far, in their order.
std::vector<const rept_kt*> ReportsOfScope();

/// Formats like printf, with the markers ">-" of the format left out.
std::string FormatMessage(const char* format, va_list arguments);
/// The message of a report of that kind.
std::string FormatRow(const struct MessageRow* row, ...);

/// Gives the report the place of the innermost source, when it has none.
void FillPlace(rept_kt& report);

/// A new report, at its place. Throws std::bad_alloc.
rept_kt* AddReport(int number, int severity, std::string_view text);

/// Shows whatever the budgets say.
void ShowNow(rept_kt* report);

}  // namespace lumo
