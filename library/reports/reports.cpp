// Making reports and showing each of them once: budgets, unknown words, places, handlers. All state
// is the thread's own, but for the default handler.
#include "library/reports/reports.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <deque>
#include <new>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "library/utilities/Utils.h"

namespace lumo {

namespace {

// In bytes. Once the messages of a scope come to MaxLongMessages, later ones are kept short, so
// that a long name in a file cannot fill the memory by being complained about often.
constexpr std::size_t MaxMessage = 64 * 1024;
constexpr std::size_t MaxShortMessage = 1024;
constexpr std::size_t MaxLongMessages = 16 * 1024 * 1024;
constexpr std::size_t MaxSummary = 400;  // of words in the summary of unknown ones

// Reports made outside any scope have no end to be released at: so many are kept, the latest.
constexpr std::size_t MaxKeptOutside = 256;

/// A new[] copy of the text, cut to `most` bytes at the start of a character.
char* NewMessage(std::string_view text, std::size_t most) {
    constexpr std::string_view cutMark = "...";
    if (text.size() <= most) return DupStr_kt(text);
    std::size_t kept = most - cutMark.size();
    const std::size_t least = kept - 3;  // the bytes that can follow the first of a character
    while (kept > least && (static_cast<unsigned char>(text[kept]) & 0xC0) == 0x80) --kept;
    return DupStr_kt(std::string(text.substr(0, kept)).append(cutMark));
}

/// Lives as long as the process.
rept_kt* NewPermanentReport(int severity, const char* message) {
    rept_kt* const report = new rept_kt;
    report->severity = severity;
    report->message = DupStr_kt(message);
    return report;
}

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

using UnknownList = std::vector<std::pair<UnknownWord, long long>>;

/// The words with the most frequent first.
UnknownList ByFrequency(const UnknownCounts& counts) {
    UnknownList words(counts.begin(), counts.end());
    std::ranges::sort(words, [](const auto& a, const auto& b) {
        return std::tie(b.second, a.first.word, a.first.number) <
               std::tie(a.second, b.first.word, b.first.number);
    });
    return words;
}

/// "'HR_X' 12 times, 'HR_Y' 2 times"; empty when no word occurred again.
std::string UnknownSummary(const UnknownList& words) {
    const auto once =
        std::ranges::find_if(words, [](const auto& entry) { return entry.second < 2; });
    std::string text;
    auto next = words.begin();
    for (; next != once && text.size() < MaxSummary; ++next) {
        text += Format("%s'%.60s' %lld times", text.empty() ? "" : ", ", next->first.word.c_str(),
                       next->second);
    }
    if (next != once) text += Format(", and %td more", once - next);
    return text;
}

// ---- The thread's state --------------------------------------------------------------------

struct Context {
    int depth = 0;  ///< of scopes
    std::deque<rept_kt> reports;
    std::size_t firstOfScope = 0;  ///< reports before it were made outside the scope
    std::size_t messageBytes = 0;  ///< of the reports of the scope
    int errors = 0;                ///< shown
    int warnings = 0;              ///< shown, notices included
    long long hiddenWarnings = 0;  ///< not shown because the budget was spent
    long long notes = 0;           ///< printed, or not because there were too many
    bool failShown = false;        ///< Fail_rept_kt, which is shared by all threads
    UnknownCounts unknown;
    ReportHandler* handler = nullptr;
    PlaceSource* place = nullptr;
    SpareReport spare;

    bool inScope() const { return depth > 0; }
    bool warningsSpent() const { return inScope() && warnings >= MaxShownWarnings; }

    void startScope() {
        firstOfScope = reports.size();
        messageBytes = 0;
        errors = warnings = 0;
        hiddenWarnings = notes = 0;
        failShown = false;
    }

    rept_kt& addReport() {
        if (!inScope() && reports.size() >= MaxKeptOutside) reports.pop_front();
        return reports.emplace_back();
    }
};

Context& Here() {
    static thread_local Context context;
    return context;
}

void FillPlace(rept_kt& report) {
    if (report.line != 0 || Here().place == nullptr) return;
    try {
        Here().place->describePlace(report);
    } catch (const std::bad_alloc&) {
        // The report is worth more than its place.
    }
}

/// A new report, at its place. Throws std::bad_alloc.
rept_kt* AddReport(int number, int severity, std::string_view text) {
    Context& here = Here();
    const bool many = here.inScope() && here.messageBytes > MaxLongMessages;
    OwnedStr message(NewMessage(text, many ? MaxShortMessage : MaxMessage));
    rept_kt& report = here.addReport();
    report.number = number;
    report.severity = severity;
    report.message = message.release();
    here.messageBytes += std::strlen(report.message);
    FillPlace(report);
    return &report;
}

rept_kt* UseSpareReport(int number, const char* text) {
    rept_kt* const report = Here().spare.renew(number, text);
    FillPlace(*report);
    return report;
}

/// Shows whatever the budgets say.
void ShowNow(rept_kt* report) {
    report->shown = true;
    CurrentReportHandler().show(*report);
}

/// What the outermost scope still has to say when it ends.
void ShowClosingReports(Context& here) {
    // By index: the handler may make reports meanwhile.
    for (std::size_t i = here.firstOfScope; i < here.reports.size(); ++i) {
        ShowReport(&here.reports[i]);
    }
    ShowReport(here.spare.get());
    if (here.hiddenWarnings > 0) {
        ShowNow(AddReport(
            num::moreWarnings, SeverityNotice,
            Format("%lld further warnings and notices are not shown", here.hiddenWarnings)));
    }
    if (here.notes > MaxShownWarnings) {
        ShowNow(
            AddReport(num::moreWarnings, SeverityNotice,
                      Format("%lld further notes are not shown", here.notes - MaxShownWarnings)));
    }
    const UnknownList words = ByFrequency(here.unknown);
    if (const std::string summary = UnknownSummary(words); !summary.empty()) {
        ShowNow(AddReport(num::unknownSummary, SeverityNotice,
                          "unknown words that occur again: " + summary));
    }
    for (const auto& [unknown, count] : words) {
        CurrentReportHandler().unknownWord(unknown.word.c_str(), unknown.number, count);
    }
}

}  // namespace

rept_kt::~rept_kt() { delete[] message; }

rept_kt* const Okay_rept_kt = NewPermanentReport(SeverityOkay, "no problem");
rept_kt* const Fail_rept_kt = NewPermanentReport(SeverityError, "the operation failed");

std::string WithoutMarker(std::string_view text) {
    constexpr std::string_view marker = ">-";
    std::string plain;
    for (std::size_t at = text.find(marker); at != text.npos; at = text.find(marker)) {
        plain += text.substr(0, at);
        text.remove_prefix(at + marker.size());
    }
    return plain += text;
}

// ---- Scopes --------------------------------------------------------------------------------

ReportScope::ReportScope() {
    Context& here = Here();
    if (++here.depth == 1) here.startScope();
}

ReportScope::~ReportScope() {
    Context& here = Here();
    if (here.depth == 1) {
        try {
            ShowClosingReports(here);
        } catch (...) {
            // A handler that throws ends the import, which ends here.
        }
        here.reports.clear();
        here.unknown.clear();
    }
    --here.depth;
}

PlaceSource::PlaceSource() : outer_(Here().place) { Here().place = this; }

PlaceSource::~PlaceSource() {
    // Mostly the innermost one, but tokenizers need not end in order.
    PlaceSource** link = &Here().place;
    while (*link != nullptr && *link != this) link = &(*link)->outer_;
    if (*link == this) *link = outer_;
}

PlaceSource* InnermostPlaceSource() { return Here().place; }

int ErrorsSoFar() { return Here().inScope() ? Here().errors : 0; }

bool ErrorBudgetSpent() { return ErrorsSoFar() >= MaxErrors; }

// ---- Handlers ------------------------------------------------------------------------------

namespace {

std::atomic<ReportHandler*> defaultHandler{nullptr};

ReportHandler& BuiltInHandler() {
    static ReportHandler handler;
    return handler;
}

/// For a terminal: control characters are written in hexadecimal.
std::string Printable(std::string_view text) {
    std::string plain;
    for (const char c : WithoutMarker(text)) {
        const bool control = (c >= 0 && c < ' ' && c != '\t') || c == 0x7F;
        plain += control ? Format("\\x%02X", static_cast<unsigned>(c)) : std::string(1, c);
    }
    return plain;
}

const char* SeverityWord(int severity) {
    if (severity >= SeverityFatal) return "fatal error";
    if (severity > SeverityWarning) return "error";
    return severity > SeverityNotice ? "warning" : "notice";
}

/// In one piece, so that the lines of several threads do not mix.
void WriteLine(std::string line) {
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void ReportHandler::show(const rept_kt& report) {
    std::string line = Printable(report.file);
    if (report.line != 0) line += Format(":%d:%d", report.line, report.column);
    if (!line.empty()) line += ": ";
    line += Format("%s: %s", SeverityWord(report.severity), Printable(report.message).c_str());
    if (report.number != 0) line += Format(" [%d]", report.number);
    WriteLine(std::move(line));
}

void ReportHandler::print(const char* text) { WriteLine(Printable(text)); }
bool ReportHandler::ask(int, const char*) { return false; }
void ReportHandler::waitBegin(const char* text) { WriteLine(Printable(text)); }
void ReportHandler::waitEnd(const char*) {}
void ReportHandler::progress(long long, long long) {}
bool ReportHandler::cancelled() { return false; }
void ReportHandler::unknownWord(const char*, int, long long) {}

ReportHandler* SetDefaultReportHandler(ReportHandler* handler) {
    return defaultHandler.exchange(handler);
}

ReportHandler& CurrentReportHandler() {
    if (Here().handler != nullptr) return *Here().handler;
    ReportHandler* const handler = defaultHandler;
    return handler != nullptr ? *handler : BuiltInHandler();
}

HandlerScope::HandlerScope(ReportHandler& handler)
    : previous_(std::exchange(Here().handler, &handler)) {}

HandlerScope::~HandlerScope() { Here().handler = previous_; }

void ShowReport(rept_kt* report) {
    if (report == nullptr || report == Okay_rept_kt) return;
    Context& here = Here();
    // Shared by all threads, so it keeps no note itself; outside a scope it is shown each time.
    const bool shared = report == Fail_rept_kt;
    bool& shown = shared ? here.failShown : report->shown;
    if (std::exchange(shown, here.inScope() || !shared)) return;
    if (!shared) FillPlace(*report);
    if (report->severity > SeverityWarning) {
        ++here.errors;
    } else if (here.warningsSpent()) {
        ++here.hiddenWarnings;
        return;
    } else {
        ++here.warnings;
    }
    CurrentReportHandler().show(*report);
}

// ---- Making reports ------------------------------------------------------------------------

rept_kt* VMakeReport(int number, int severity, const char* format, va_list arguments) {
    Context& here = Here();
    if (severity <= SeverityWarning && here.warningsSpent()) {
        ++here.hiddenWarnings;
        return Okay_rept_kt;
    }
    try {
        return AddReport(number, severity, VFormat(format, arguments));
    } catch (const std::bad_alloc&) {
        return UseSpareReport(num::outOfMemory, "out of memory");
    }
}

namespace {

rept_kt* Shown(rept_kt* report) {
    ShowReport(report);
    return report;
}

}  // namespace

rept_kt* newerr_kt(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeReport(number, SeverityError, format, arguments);
    va_end(arguments);
    return report;
}

rept_kt* newerrwait_kt(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeReport(number, SeverityError, format, arguments);
    va_end(arguments);
    report->waits = true;
    return report;
}

rept_kt* newerr_mem_kt(int number, double bytes, const char* format, ...) {
    // Formatted without allocating, so that the text survives when even the report cannot be had.
    char text[SpareReport::size];
    const int length = bytes > 0
                           ? SPrintf(text, sizeof text, "out of memory (%.0f bytes wanted) ", bytes)
                           : SPrintf(text, sizeof text, "out of memory ");
    va_list arguments;
    va_start(arguments, format);
    VSPrintf(text + length, sizeof text - static_cast<std::size_t>(length), format, arguments);
    va_end(arguments);
    try {
        return AddReport(number, SeverityFatal, text);
    } catch (const std::bad_alloc&) {
        return UseSpareReport(number, text);
    }
}

rept_kt* newwarn_kt(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeReport(number, SeverityWarning, format, arguments);
    va_end(arguments);
    return Shown(report);
}

rept_kt* newnotice_kt(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeReport(number, SeverityNotice, format, arguments);
    va_end(arguments);
    return Shown(report);
}

rept_kt* MakeUnicodeError_kt(int number, const char*, const char*) {
    return newerr_kt(number,
                     "the text is in a 16-bit Unicode encoding, which cannot be read; save it as "
                     "UTF-8 or plain text");
}

rept_kt* WrapReport(rept_kt& inner, const char* format, va_list arguments) {
    const int severity = std::max<int>(inner.severity, SeverityError);
    rept_kt* report = nullptr;
    try {
        // A va_list cannot be given another first argument: the format is split at its first %s.
        const std::string_view whole(format);
        const std::size_t at = whole.find("%s");
        std::string text(whole.substr(0, at));
        if (at != whole.npos) {
            text += inner.message != nullptr ? inner.message : "";
            text += VFormat(format + at + 2, arguments);
        }
        report = AddReport(inner.number, severity, text);
    } catch (const std::bad_alloc&) {
        return UseSpareReport(num::outOfMemory, "out of memory");
    }
    report->waits = inner.waits;
    if (&inner == Fail_rept_kt) {
        Here().failShown = true;
    } else if (&inner != Okay_rept_kt) {
        inner.shown = true;
    }
    return report;
}

rept_kt* VMakeUnknown(std::string_view word, int number, const char* format, va_list arguments) {
    Context& here = Here();
    if (here.inScope()) {
        const auto known = here.unknown.find(UnknownView{number, word});
        if (known != here.unknown.end()) {
            ++known->second;
            return Okay_rept_kt;
        }
    }
    rept_kt* const report = VMakeReport(number, SeverityWarning, format, arguments);
    // Words beyond the budget of warnings are not remembered, which bounds the memory for them.
    if (here.inScope() && report->severity == SeverityWarning) {
        try {
            here.unknown.emplace(UnknownWord{number, std::string(word)}, 1);
        } catch (const std::bad_alloc&) {
            // Then the word is shown again.
        }
    }
    return Shown(report);
}

// ---- Messages of the readers ---------------------------------------------------------------

namespace {

struct BelVecProblem {
    int bit;
    const char* text;
};

constexpr BelVecProblem belVecProblems[] = {
    {BelVecTooFew, "fewer numbers than states, the missing ones are 0"},
    {BelVecTooMany, "more numbers than states, the rest is passed over"},
    {BelVecNotANumber, "something that is no number is taken as 0"},
    {BelVecNegative, "a negative number is taken as 0"},
    {BelVecZeroSum, "the numbers sum to 0"},
    {BelVecNotOne, "the numbers do not sum to 1"},
};
constexpr int belVecHarmless = BelVecCommas | BelVecDontNormalize | BelVecCounts;

}  // namespace

const char* CheckBelvecMesg_kt(int problems, bool, char* buffer) {
    constexpr std::size_t bufferSize = 256;
    std::string text;
    const auto add = [&text](const std::string& problem) {
        text += (text.empty() ? "" : "; ") + problem;
    };
    int rest = problems & ~belVecHarmless;
    for (const auto& [bit, words] : belVecProblems) {
        if ((rest & bit) != 0) add(words);
        rest &= ~bit;
    }
    if (rest != 0) add(Format("problem 0x%X", static_cast<unsigned>(rest)));
    if (text.empty()) text = "no problem";
    SPrintf(buffer, bufferSize, "%s", text.c_str());
    return buffer;
}

// ---- The user ------------------------------------------------------------------------------

void Printf_kt(const char* format, ...) {
    Context& here = Here();
    if (here.inScope() && ++here.notes > MaxShownWarnings) return;
    va_list arguments;
    va_start(arguments, format);
    std::string text = WithoutMarker(VFormat(format, arguments));
    va_end(arguments);
    while (text.ends_with('\n')) text.pop_back();
    CurrentReportHandler().print(text.c_str());
}

bool AskYesOrNoC_kt(int number, int, bool3 defaultAnswer, bool*, const char* format, ...) {
    ReportHandler& handler = CurrentReportHandler();
    if (&handler == &BuiltInHandler()) return defaultAnswer == 1;
    va_list arguments;
    va_start(arguments, format);
    const std::string question = WithoutMarker(VFormat(format, arguments));
    va_end(arguments);
    return handler.ask(number, question.c_str());
}

userwait_kt::userwait_kt(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    text_ = WithoutMarker(VFormat(format, arguments));
    va_end(arguments);
    CurrentReportHandler().waitBegin(text_.c_str());
}

userwait_kt::~userwait_kt() {
    try {
        CurrentReportHandler().waitEnd(text_.c_str());
    } catch (...) {
        // The import is over either way.
    }
}

}  // namespace lumo
