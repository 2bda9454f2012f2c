// Reports: every problem becomes a rept_kt, made here, shown once to the application's handler.
//
// Ownership: reports belong to the library. They live until the outermost ReportScope of the thread
// ends; an application that wants to keep one copies what it needs in ReportHandler::show.
#pragma once

#include "library/utilities/language.h"

#include <cstdarg>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

namespace LUMO_API lumo {

/// How bad a report is. Up to warning is success, error and above is failure.
enum SeverityEN : int {
    SeverityOkay = 0,
    SeverityNotice = 2,
    SeverityWarning = 4,
    SeverityError = 6,
    SeverityFatal = 8,  ///< out of memory, internal
};

/// A report.
struct rept_kt {
    int number = 0;           ///< the message site, negative (0: none of its own)
    int severity = 0;         ///< SeverityEN
    char* message = nullptr;  ///< formatted, owned by the report

    // The place, when the report was made against a tokenizer; line 0 means no place.
    std::string file;        ///< its name as the importer was given it; may be empty
    int line = 0;            ///< from 1
    int column = 0;          ///< from 1, in bytes
    long long offset = -1;   ///< in bytes from the start of the text
    std::string structKind;  ///< what was being read ("node block", "NETWORK"); may be empty
    std::string structName;  ///< the name of that object; may be empty
    std::string fieldName;   ///< the field being read; may be empty

    bool waits = false;  ///< asks for the user's acknowledgement (newerrwait_kt)
    bool shown = false;  ///< has reached the handler, or is part of a report that has

    rept_kt() = default;
    rept_kt(const rept_kt&) = delete;
    rept_kt& operator=(const rept_kt&) = delete;
    ~rept_kt();
};

/// No problem. Lives as long as the process.
extern rept_kt* const Okay_rept_kt;
/// The generic failure, an error without words. Lives as long as the process.
extern rept_kt* const Fail_rept_kt;

/// The test that every use of a report makes: success is Okay_rept_kt, null, or severity 4 or less.
inline bool IsError(const rept_kt* report) {
    return report != nullptr && report != Okay_rept_kt && report->severity > SeverityWarning;
}

// ---- The application's side ----------------------------------------------------------------

/// What an application installs to see reports and answer questions. The default writes to standard
/// error and answers no. Methods are called on the importing thread, possibly with the import lock
/// held; they must not import, and an exception they throw, whatever its type, ends the import with
/// the fatal report -5005, which tells its text.
class ReportHandler {
public:
    virtual ~ReportHandler() = default;
    virtual void show(const rept_kt& report);            ///< once per report
    virtual void print(const char* text);                ///< a note, one line
    virtual bool ask(int number, const char* question);  ///< true for yes
    virtual void waitBegin(const char* text);            ///< a wait notice starts, "reading file x"
    virtual void waitEnd(const char* text);              ///< that notice ends
    virtual void progress(long long done, long long total);  ///< bytes; about 100 times an import
    virtual bool cancelled();  ///< true stops reading at the next check
    /// When an import ends, once for each unknown word, the most frequent first: the number of its
    /// warning and how often it occurred.
    virtual void unknownWord(const char* word, int number, long long count);
};

/// Installs the process-wide default handler, null for the built-in one; returns the previous one.
/// The caller keeps it alive while it is installed.
ReportHandler* SetDefaultReportHandler(ReportHandler* handler);

/// The handler of this thread: the innermost HandlerScope's, else the process default.
ReportHandler& CurrentReportHandler();

/// Calls the handler of this thread: call(handler). What readers would take for their own, a thrown
/// report or a lack of memory, goes on as a std::runtime_error.
template <class CALL>
auto CallHandler(CALL call) {
    try {
        return call(CurrentReportHandler());
    } catch (rept_kt* report) {
        throw std::runtime_error(report != nullptr ? report->message : "a handler threw no report");
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("a handler ran out of memory");
    }
}

/// Makes a handler this thread's for a scope.
class HandlerScope {
public:
    /// The caller keeps the handler alive for the scope.
    explicit HandlerScope(ReportHandler& handler);
    ~HandlerScope();
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;

private:
    ReportHandler* previous_;
};

// ---- Scope, budgets, places ----------------------------------------------------------------

inline constexpr int MaxErrors = 1000;          ///< errors an import before reading stops
inline constexpr int MaxShownWarnings = 10000;  ///< warnings and notices an import shows

struct ReportBudget;

/// One import, or one test: it has budgets and unknown-word counts of its own. When it ends it
/// shows what was never shown, the count of warnings that were not shown and one summary of
/// repeated unknown words; the end of the outermost of the thread releases every report made in it.
class ReportScope {
public:
    ReportScope();
    ~ReportScope();  ///< an exception that a handler throws meanwhile is dropped
    ReportScope(const ReportScope&) = delete;
    ReportScope& operator=(const ReportScope&) = delete;

    /// Shows now what the end would show, and lets the handler's exceptions pass.
    void end();

private:
    ReportBudget* outer_ = nullptr;  ///< owned: what the scope around this one has counted
    bool ended_ = false;
};

/// Where reports get their place from. A tokenizer registers itself while it lives; the innermost
/// of the thread gives its place to every report made meanwhile, model reports included.
class PlaceSource {
public:
    PlaceSource(const PlaceSource&) = delete;
    PlaceSource& operator=(const PlaceSource&) = delete;
    /// Fills file, line, column, offset and the context names.
    virtual void describePlace(rept_kt& report) const = 0;

protected:
    PlaceSource();
    ~PlaceSource();

private:
    PlaceSource* outer_;
};
/// For an import that a handler of another begins: the tokenizers of that one are no place for its
/// reports.
class OwnPlaces {
public:
    OwnPlaces();
    ~OwnPlaces();
    OwnPlaces(const OwnPlaces&) = delete;
    OwnPlaces& operator=(const OwnPlaces&) = delete;

private:
    PlaceSource* outer_;
};
PlaceSource* InnermostPlaceSource();  ///< null when no tokenizer lives on this thread

/// Shows the report to the handler unless it was shown before (the place is filled in first when it
/// has none and there is a source). Counts errors against the budget. Null and Okay_rept_kt:
/// nothing.
void ShowReport(rept_kt* report);

/// Errors shown in the present scope.
int ErrorsSoFar();

/// True once the error budget is used up; the reader's tokenizer then jumps to the end of its
/// input.
bool ErrorBudgetSpent();

// ---- Making reports ------------------------------------------------------------------------
// printf formats; the number first. The marker ">-" that stands before some nouns of the formats is
// no part of the message. Never null: without memory they return Fail_rept_kt or the
// preallocated out-of-memory report. A report made while a tokenizer lives has its place.

/// An error, not shown yet: it is shown when it is recorded (setError), or by the import entry.
rept_kt* newerr_kt(int number, const char* format, ...) LUMO_PRINTF(2);
/// The same, asking for the user's acknowledgement.
rept_kt* newerrwait_kt(int number, const char* format, ...) LUMO_PRINTF(2);
/// A fatal out-of-memory error; bytes is what could not be obtained (0: unknown). The message is
/// "out of memory (8 bytes wanted) " and the formatted text, such as "for a table".
rept_kt* newerr_mem_kt(int number, double bytes, const char* format, ...) LUMO_PRINTF(3);
/// A warning: made and shown at once, against the warning budget.
rept_kt* newwarn_kt(int number, const char* format, ...) LUMO_PRINTF(2);
/// Likewise.
rept_kt* newnotice_kt(int number, const char* format, ...) LUMO_PRINTF(2);
/// The error for a text in a 16-bit encoding.
rept_kt* MakeUnicodeError_kt(int number, const char* text, const char* = nullptr);

/// The general maker under all of the above; the place is taken from the innermost source. Shows
/// nothing. A warning or notice beyond the budget is counted and not made: Okay_rept_kt.
rept_kt* VMakeReport(int number, int severity, const char* format, va_list arguments);

/// An error that passes an existing report on: the format's first %s receives the inner report's
/// message, the arguments are for the rest. It keeps the worse severity and the inner number and
/// place, and counts the inner report as shown. Not shown itself yet.
rept_kt* WrapReport(rept_kt& inner, const char* format, va_list arguments);

/// A warning about an unknown word: shown once per number and word in a scope, then only counted.
/// Returns the report, shown, or Okay_rept_kt when it was suppressed.
rept_kt* VMakeUnknown(std::string_view word, int number, const char* format, va_list arguments);

/// Problem bits of ParseBelVec. Those in BelVecWarnMask deserve a warning.
enum BelVecProblemEN : int {
    BelVecCommas = 0x0002,         ///< (no problem) numbers were separated by commas
    BelVecTooFew = 0x0001,         ///< fewer numbers than states, the rest are 0
    BelVecTooMany = 0x0020,        ///< more numbers than states, the rest passed over
    BelVecNotANumber = 0x0040,     ///< a token that is no number
    BelVecNegative = 0x0200,       ///< a negative number, taken as 0
    BelVecDontNormalize = 0x0100,  ///< (no problem by itself) do not normalise
    BelVecZeroSum = 0x0400,        ///< the numbers sum to zero
    BelVecTwice = 0x1000,          ///< exactly twice the numbers: perhaps decimal commas
    BelVecNotOne = 0x0800,         ///< the numbers do not sum to 1 (nor are counts)
    BelVecCounts = 0x4000,         ///< (no problem) whole numbers that are counts
};
/// The problems among them that are told.
inline constexpr unsigned BelVecWarnMask = 0xFFFFBE61U;

/// Writes a message describing the problem bits (BelVecProblemEN) of a probability vector into
/// buffer (256 bytes) in words, joined by "; ", and returns it. The bool is true: name the values.
const char* CheckBelvecMesg_kt(int problems, bool, char* buffer);

/// Prints a line for the user; at most MaxShownWarnings an import, the rest are counted.
void Printf_kt(const char* format, ...) LUMO_PRINTF(1);

using bool3 = signed char;  ///< 1 yes, 0 no, -1 neither

/// Asks the user a yes/no question. The int is 0 and the bool* null; when no handler can ask, the
/// default answer counts, and -1 (no default) is no.
bool AskYesOrNoC_kt(int number, int, bool3 defaultAnswer, bool*, const char* format, ...)
    LUMO_PRINTF(5);

/// A wait notice shown from construction to destruction.
class userwait_kt {
public:
    /// Begins the notice, whose text is made as printf does.
    explicit userwait_kt(const char* format, ...) LUMO_PRINTF(2);
    ~userwait_kt();
    userwait_kt(const userwait_kt&) = delete;
    userwait_kt& operator=(const userwait_kt&) = delete;

private:
    std::string text_;
};

}  // namespace lumo
