// Showing reports: handlers, the one that is built in, notes, questions and wait notices.
#include <atomic>
#include <cstdio>
#include <string>
#include <utility>

#include "library/reports/context.h"
#include "library/utilities/Utils.h"

namespace lumo {

namespace {

std::atomic<ReportHandler*> defaultHandler{nullptr};

ReportHandler& BuiltInHandler() {
    static ReportHandler handler;
    return handler;
}

/// For a terminal: control characters are written in hexadecimal.
std::string Printable(std::string_view text) {
    std::string plain;
    for (const char c : text) {
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
    const Context& here = Here();
    if (here.handler != nullptr) return *here.handler;
    ReportHandler* const handler = defaultHandler;
    return handler != nullptr ? *handler : BuiltInHandler();
}

HandlerScope::HandlerScope(ReportHandler& handler)
    : previous_(std::exchange(Here().handler, &handler)) {}

HandlerScope::~HandlerScope() { Here().handler = previous_; }

/// Shows whatever the budgets say.
void ShowNow(rept_kt* report) {
    report->shown = true;
    CallHandler([report](ReportHandler& handler) { handler.show(*report); });
}

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
    CallHandler([report](ReportHandler& handler) { handler.show(*report); });
}

// ---- The user ------------------------------------------------------------------------------

void Printf_kt(const char* format, ...) {
    Context& here = Here();
    if (here.inScope() && ++here.notes > MaxShownWarnings) return;
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatMessage(format, arguments);
    va_end(arguments);
    while (text.ends_with('\n')) text.pop_back();
    CallHandler([&](ReportHandler& handler) { handler.print(text.c_str()); });
}

bool AskYesOrNoC_kt(int number, int, bool3 defaultAnswer, bool*, const char* format, ...) {
    if (&CurrentReportHandler() == &BuiltInHandler()) return defaultAnswer == 1;
    va_list arguments;
    va_start(arguments, format);
    const std::string question = FormatMessage(format, arguments);
    va_end(arguments);
    return CallHandler(
        [&](ReportHandler& handler) { return handler.ask(number, question.c_str()); });
}

userwait_kt::userwait_kt(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    text_ = FormatMessage(format, arguments);
    va_end(arguments);
    CallHandler([this](ReportHandler& handler) { handler.waitBegin(text_.c_str()); });
}

userwait_kt::~userwait_kt() {
    try {
        CurrentReportHandler().waitEnd(text_.c_str());
    } catch (...) {
        // The import is over either way.
    }
}

}  // namespace lumo
