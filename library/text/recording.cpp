// Reports against a tokenizer's place, and what follows from them.
#include <algorithm>
#include <cmath>
#include <limits>

#include "library/reports/messages.h"
#include "library/text/messages.h"
#include "library/text/parser.h"
#include "library/text/tokens.h"
#include "library/utilities/numbers.h"

namespace lumo {

namespace {

constexpr std::size_t MostShown = 80;

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace

std::string Shown(std::string_view token) {
    std::string out;
    for (const char c : token.substr(0, MostShown)) {
        const bool control = static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
        out += control ? Format("\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)))
                       : std::string(1, c);
    }
    return token.size() > MostShown ? out + "..." : out;
}

std::string NextToken(Parser_kt& in) {
    const std::string_view word = in.peekWord();
    in.setTokenStart(in.getPos());
    if (!word.empty()) return Format("'%s'", Shown(word).c_str());
    if (in.peekChar() == 0) return "the end of the input";
    return CharName_kt(static_cast<unsigned char>(in.peekChar()));
}

bool HasDecimalComma(std::string_view word) {
    std::string number(word);
    const std::size_t comma = number.find(',');
    if (comma == number.npos || comma == 0 || comma + 1 == number.size()) return false;
    number[comma] = '.';
    const char* const last = number.data() + number.size();
    const char* end = nullptr;
    double value = 0;
    return ParseNumber(number.data(), last, value, end) == NumberEN::ok && end == last;
}

rept_kt* MakeNumberError(Parser_kt& in, bool integer) {
    const std::string_view word = in.peekWord();
    in.setTokenStart(in.getPos());
    if (word.empty() && in.isAtEnd()) return in.report(msg::text.unexpectedEnd);
    if (word.empty())
        return in.report(integer ? msg::text.noInteger : msg::text.noNumber,
                         CharName_kt(static_cast<unsigned char>(in.peekChar())));
    const char* const last = word.data() + word.size();
    const char* end = word.data();
    double value = 0;
    int whole = 0;
    const NumberEN kind = integer ? ParseInteger(word.data(), last, whole, end)
                                  : ParseNumber(word.data(), last, value, end);
    // A number that was refused is too large for where it is wanted.
    const bool outOfRange =
        kind == NumberEN::tooLarge ||
        (!integer && kind == NumberEN::ok && std::abs(value) > std::numeric_limits<float>::max());
    const bool tooLarge = outOfRange && (end == last || (!integer && *end == ','));
    if (tooLarge) return in.report(msg::text.numberTooLarge, Shown(word).c_str());
    if (!integer && HasDecimalComma(word))
        return in.report(msg::text.decimalComma, Shown(word).c_str());
    return in.report(integer ? msg::text.notAnInteger : msg::text.notANumber, Shown(word).c_str());
}

// ---- Recording -----------------------------------------------------------------------------

void Parser_kt::record(rept_kt* report) {
    if (report == nullptr || report == Okay_rept_kt) return;
    const bool afterEnd = budgetSaid_ && report->severity == SeverityError;
    if (afterEnd && report != Fail_rept_kt) report->shown = true;  // nothing was read: no news
    if (curReport == nullptr || report->severity >= curReport->severity) curReport = report;
    ShowReport(report);
    stopWhenBudgetSpent();
}

void Parser_kt::setError(rept_kt* report) {
    if (report == nullptr || report == Okay_rept_kt) return;
    if (report->line == 0 && report != Fail_rept_kt) describePlace(*report);
    record(report);
}

rept_kt* Parser_kt::made(rept_kt* report) {
    if (InnermostPlaceSource() != this && report != Okay_rept_kt) describePlace(*report);
    record(report);
    return report;
}

rept_kt* Parser_kt::make(int number, int severity, const char* format, va_list arguments) {
    return made(VMakeReport(number, severity, format, arguments));
}

rept_kt* Parser_kt::reportRow(const MessageRow* row, ...) {
    const int severity = SeverityOf(row->kind);
    // Nothing is read any more: what follows is no news, and must not cost memory.
    if (severity == SeverityError && budgetSaid_ && IsError(curReport)) return curReport;
    va_list arguments;
    va_start(arguments, row);
    rept_kt* const report = made(VMakeRowReport(*row, arguments));
    va_end(arguments);
    return report;
}

rept_kt* Parser_kt::reportUnknownRow(std::string_view word, const MessageRow* row, ...) {
    va_list arguments;
    va_start(arguments, row);
    rept_kt* const report = VMakeUnknown(word, row->number, row->text, arguments);
    va_end(arguments);
    record(report);
    return report;
}

rept_kt* Parser_kt::makeError(int number, const char* format, ...) {
    // Nothing is read any more: what follows is no news, and must not cost memory.
    if (budgetSaid_ && IsError(curReport)) return curReport;
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = make(number, SeverityError, format, arguments);
    va_end(arguments);
    return report;
}

rept_kt* Parser_kt::makeError(rept_kt& inner, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = WrapReport(inner, format, arguments);
    va_end(arguments);
    setError(report);
    return report;
}

rept_kt* Parser_kt::makeWarning(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = make(number, SeverityWarning, format, arguments);
    va_end(arguments);
    return report;
}

rept_kt* Parser_kt::makeNotice(int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = make(number, SeverityNotice, format, arguments);
    va_end(arguments);
    return report;
}

rept_kt* Parser_kt::makeWarningUnknown(const char* word, int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeUnknown(word, number, format, arguments);
    va_end(arguments);
    record(report);
    return report;
}

rept_kt* Parser_kt::makeWarningUnknown(const strin_kt& word, int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeUnknown(word.view(), number, format, arguments);
    va_end(arguments);
    record(report);
    return report;
}

// ---- Going on or not -----------------------------------------------------------------------

void Parser_kt::stopWhenBudgetSpent() {
    if (budgetSaid_ || !ErrorBudgetSpent()) return;
    curReport = NewReport(msg::reports.tooManyErrors, MaxErrors);
    ShowReport(curReport);
    budgetSaid_ = true;
    jumpToEnd();
}

void Parser_kt::tellProgress(ReportHandler& handler) {
    const long long total = bytesTotal();
    const long long done = total - bytesLeft();
    const int step = total > 0 ? static_cast<int>(done * 100 / total) : 100;
    nextProgress_ = total - total * (std::max(step, progressStep_) + 1) / 100;
    if (step <= progressStep_) return;
    progressStep_ = step;
    handler.progress(done, total);
}

void Parser_kt::checkError() {
    if (curReport != nullptr && curReport->severity >= SeverityFatal) throw curReport;
    const bool cancelled = CallHandler([this](ReportHandler& handler) {
        if (bytesLeft() <= nextProgress_) tellProgress(handler);
        return handler.cancelled();
    });
    if (cancelled) {
        rept_kt* const report = NewReport(msg::reports.importCancelled);
        setError(report);
        throw report;
    }
    stopWhenBudgetSpent();
    if (budgetSaid_) jumpToEnd();  // again, should a reader have gone back
}

// ---- Quoted values -------------------------------------------------------------------------

void Parser_kt::readQuoted(char* out, int size) {
    strin_kt text;
    const bool quoted = peekPunc() == '"';
    const ParserPos_kt start = getPos();
    setTokenStart(start);
    std::string_view value;
    if (quoted) {
        readString(text);
        value = text.view();
    } else {
        skipStatement();
        value = Trimmed({start, static_cast<std::size_t>(getPos() - start)});
    }
    const std::size_t most = static_cast<std::size_t>(std::max(size, 0));
    if (value.size() > most)
        report(msg::text.textCut, static_cast<int>(std::min<std::size_t>(value.size(), 0x7FFFFFFF)),
               size);
    value = value.substr(0, most);
    std::copy(value.begin(), value.end(), out);
    out[value.size()] = 0;
}

}  // namespace lumo
