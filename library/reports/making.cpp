// Making reports. Never without one: when memory is out, a spare one serves.
#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "library/reports/context.h"
#include "library/reports/messages.h"
#include "library/reports/plural.h"
#include "library/utilities/Utils.h"
#include "library/utilities/bounds.h"
#include "library/utilities/text.h"

namespace lumo {

namespace {

// In bytes. Once the messages of a scope come to MaxLongMessages, later ones are kept short, so
// that a long name in a file cannot fill the memory by being complained about often.
constexpr std::size_t MaxMessage = 64 * 1024;
constexpr std::size_t MaxShortMessage = 1024;
constexpr std::size_t MaxLongMessages = 16 * 1024 * 1024;

/// A new[] copy of the text, cut to `most` bytes at the start of a character.
char* NewMessage(std::string_view text, std::size_t most) {
    constexpr std::string_view cutMark = "...";
    if (text.size() <= most) return DupStr_kt(text);
    return DupStr_kt(std::string(WithinBytes(text, most - cutMark.size())).append(cutMark));
}

/// A printf format with every marker ">-" removed; without allocating. The marker belongs to the
/// formats, so what an argument holds keeps its own.
class PlainFormat {
public:
    explicit PlainFormat(const char* format) : text_(format) {
        const std::size_t length = std::strlen(format);
        if (std::strstr(format, marker) == nullptr || length >= sizeof buffer_) return;
        char* out = buffer_;
        for (const char* p = format; *p != '\0';) {
            if (std::strncmp(p, marker, 2) == 0)
                p += 2;
            else
                *out++ = *p++;
        }
        *out = '\0';
        text_ = buffer_;
    }
    PlainFormat(const PlainFormat&) = delete;
    PlainFormat& operator=(const PlainFormat&) = delete;
    operator const char*() const { return text_; }

private:
    static constexpr const char* marker = ">-";
    const char* text_;
    char buffer_[512];
};

/// A report that lives as long as the process. Its place is there before any code runs, its content
/// from the first use of the reports on.
union Permanent {
    constexpr Permanent() : empty() {}
    ~Permanent() {}  // NOLINT(modernize-use-equals-default): leaves the report alone
    char empty;
    rept_kt report;
};
constinit Permanent okay;
constinit Permanent fail;

void Fill(Permanent& permanent, int severity, const char* message) {
    rept_kt* const report = new (&permanent.report) rept_kt;
    report->severity = severity;
    report->message = DupStr_kt(message);
}

rept_kt* UseSpareReport(int number, const char* text) {
    rept_kt* const report = Here().spare.renew(number, text);
    FillPlace(*report);
    return report;
}

}  // namespace

rept_kt::~rept_kt() { delete[] message; }

constinit rept_kt* const Okay_rept_kt = &okay.report;
constinit rept_kt* const Fail_rept_kt = &fail.report;

void MakePermanentReports() {
    static const bool made = [] {
        Fill(okay, SeverityOkay, "no problem");
        Fill(fail, SeverityError, "the operation failed");
        return true;
    }();
    static_cast<void>(made);
}

namespace {
[[maybe_unused]] const bool madeBeforeMain = (MakePermanentReports(), true);
}

std::string FormatMessage(const char* format, va_list arguments) {
    return VFormat(PlainFormat(format), arguments);
}

void FillPlace(rept_kt& report) {
    if (report.line != 0 || Here().place == nullptr) return;
    try {
        Here().place->describePlace(report);
    } catch (const std::bad_alloc&) {
        // The report is worth more than its place.
    }
}

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

rept_kt* VMakeReport(int number, int severity, const char* format, va_list arguments) {
    Context& here = Here();
    if (severity <= SeverityWarning && here.warningsSpent()) {
        ++here.hiddenWarnings;
        return Okay_rept_kt;
    }
    try {
        return AddReport(number, severity, FormatMessage(format, arguments));
    } catch (const std::bad_alloc&) {
        return UseSpareReport(msg::reports.outOfMemory.number, msg::reports.outOfMemory.text);
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

namespace {

rept_kt* VMakeMemoryReport(int number, int severity, double bytes, const char* format,
                           va_list arguments) {
    // Formatted without allocating, so that the text survives when even the report cannot be had.
    char text[SpareReport::size];
    const long long allowed = MemoryBound::thatRefused();
    const int length =
        bytes > 0 && allowed > 0
            ? SPrintf(text, sizeof text, "out of memory (%.0f bytes wanted, %lld allowed in all) ",
                      bytes, allowed)
        : bytes > 0 ? SPrintf(text, sizeof text, "out of memory (%.0f bytes wanted) ", bytes)
                    : SPrintf(text, sizeof text, "out of memory ");
    VSPrintf(text + length, sizeof text - static_cast<std::size_t>(length), PlainFormat(format),
             arguments);
    try {
        return AddReport(number, severity, text);
    } catch (const std::bad_alloc&) {
        return UseSpareReport(number, text);
    }
}

}  // namespace

rept_kt* newerr_mem_kt(int number, double bytes, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeMemoryReport(number, SeverityFatal, bytes, format, arguments);
    va_end(arguments);
    return report;
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

namespace {

constexpr bool IsWhole(char conversion) {
    return conversion == 'd' || conversion == 'i' || conversion == 'c';
}

/// The text of a row with the words that go with its whole numbers. Without allocating.
class NumberedText {
public:
    NumberedText(const char* text, va_list arguments) : text_(text) {
        const std::string_view all(text);
        if (all.find('[') == all.npos || all.size() >= sizeof buffer_) return;
        take(all, arguments);
        write(all);
        text_ = buffer_;
    }
    NumberedText(const NumberedText&) = delete;
    NumberedText& operator=(const NumberedText&) = delete;
    operator const char*() const { return text_; }

private:
    static constexpr std::size_t most = 8;

    /// Takes the whole numbers out of the arguments, whose types are those of TakesArguments.
    void take(std::string_view text, va_list arguments) {
        va_list rest;
        va_copy(rest, arguments);
        for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at)) {
            const std::size_t end = text.find_first_of("cdigesf%", ++at);
            const std::string_view flags = text.substr(at, end - at);
            at = end + 1;
            if (flags.find('*') != flags.npos) static_cast<void>(va_arg(rest, int));
            if (text[end] == '%') continue;
            if (text[end] == 's') {
                static_cast<void>(va_arg(rest, const char*));
            } else if (!IsWhole(text[end])) {
                static_cast<void>(va_arg(rest, double));
            } else {
                const long long number =
                    flags.ends_with("ll") ? va_arg(rest, long long) : va_arg(rest, int);
                if (count_ < most) numbers_[count_++] = number;
            }
        }
        va_end(rest);
    }

    void write(std::string_view text) {
        char* out = buffer_;
        std::size_t before = 0;  // whole numbers
        while (!text.empty()) {
            const NumberedWords words = NumberedWordsAt(text);
            std::string_view piece = text.substr(0, 1);
            if (words.length > 0) {
                const std::size_t place = words.number > 0 ? words.number : before;
                piece = place > 0 && numbers_[place - 1] == 1 ? words.one : words.many;
            } else if (piece == "%") {
                piece = text.substr(0, text.find_first_of("cdigesf%", 1) + 1);
                before += IsWhole(piece.back()) ? 1 : 0;
            }
            out = std::copy(piece.begin(), piece.end(), out);
            text.remove_prefix(words.length > 0 ? words.length : piece.size());
        }
        *out = '\0';
    }

    const char* text_;
    long long numbers_[most] = {};
    std::size_t count_ = 0;
    char buffer_[512];
};

}  // namespace

std::string FormatRow(const MessageRow* row, ...) {
    va_list arguments;
    va_start(arguments, row);
    std::string text = FormatMessage(NumberedText(row->text, arguments), arguments);
    va_end(arguments);
    return text;
}

rept_kt* VMakeRowReport(const MessageRow& row, va_list arguments) {
    rept_kt* const report =
        VMakeReport(row.number, SeverityOf(row.kind), NumberedText(row.text, arguments), arguments);
    if (report != Okay_rept_kt) report->waits = row.kind == MessageKind::waitingError;
    return report;
}

rept_kt* NewRowReport(const MessageRow* row, ...) {
    va_list arguments;
    va_start(arguments, row);
    rept_kt* const report = VMakeRowReport(*row, arguments);
    va_end(arguments);
    return IsError(report) ? report : Shown(report);
}

rept_kt* NewMemoryRowReport(const MessageRow* row, double bytes, ...) {
    va_list arguments;
    va_start(arguments, bytes);
    rept_kt* const report =
        VMakeMemoryReport(row->number, SeverityOf(row->kind), bytes, row->text, arguments);
    va_end(arguments);
    return report;
}

rept_kt* MakeUnicodeError_kt(int number, const char*, const char*) {
    static_assert(TakesArguments<>(msg::reports.sixteenBits.text));
    return newerr_kt(number, "%s", msg::reports.sixteenBits.text);
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
            text += FormatMessage(format + at + 2, arguments);
        }
        report = AddReport(inner.number, severity, text);
    } catch (const std::bad_alloc&) {
        return UseSpareReport(msg::reports.outOfMemory.number, msg::reports.outOfMemory.text);
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
    {BelVecTwice, "are these decimal commas?"},
    {BelVecNotANumber, "something is no number"},
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

}  // namespace lumo
