#include "app/console.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>

#include "app/terminal.h"
#include "export/json.h"
#include "formats/shared/describe.h"
#include "formats/shared/messages.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::size_t shownAlike = 3;  // reports of one number in one file
constexpr auto progressDelay = std::chrono::seconds(1);

constexpr const char* bold = "\x1b[1m";
constexpr const char* red = "\x1b[1;31m";
constexpr const char* magenta = "\x1b[1;35m";
constexpr const char* cyan = "\x1b[1;36m";
constexpr const char* green = "\x1b[1;32m";

const char* ColorOf(int severity) {
    if (severity > SeverityWarning) return red;
    return severity > SeverityNotice ? magenta : cyan;
}

/// The file or folder could not be opened.
bool IsNotOpened(const ReportRecord& report) {
    return report.number == msg::import.notOpened.number ||
           report.number == msg::import.unusableFolder.number;
}

}  // namespace

bool WantsColors(ColorEN choice, int descriptor) {
    if (choice != ColorEN::automatic) return choice == ColorEN::always;
    const char* refused = std::getenv("NO_COLOR");
    if (refused != nullptr && *refused != 0) return false;
    return system::ShowsColors(descriptor);
}

// ---- Progress ------------------------------------------------------------------------------

void ProgressLine::start() { begun_ = std::chrono::steady_clock::now(); }

void ProgressLine::update(const std::string& what, long long done, long long total) {
    if (!enabled_ || total <= 0) return;
    if (std::chrono::steady_clock::now() - begun_ < progressDelay) return;
    const double part = static_cast<double>(done) / static_cast<double>(total);
    // The last column stays free: in it some terminals break the line already.
    const std::string line = ProgressText(what, part, TerminalColumns(system::StandardError) - 1);
    std::fprintf(stderr, "\r\x1b[K%s", line.c_str());
    std::fflush(stderr);
    shown_ = true;
}

void ProgressLine::clear() {
    if (shown_) std::fputs("\r\x1b[K", stderr);
    shown_ = false;
}

std::string PlaceText(const ReportRecord& report) {
    std::string place = Visible(report.file) + ":";
    if (report.line > 0)
        place += std::to_string(report.line) + ":" + std::to_string(report.column) + ":";
    return place + " ";
}

std::string MessageText(const ReportRecord& report) {
    const std::string text = Visible(report.message + ContextText(report));
    return report.number == 0 ? text : text + " [" + std::to_string(report.number) + "]";
}

namespace {

int standardErrorError = 0;

}  // namespace

void Say(const std::string& text) {
    std::cerr << text;
    if (std::cerr.bad() && standardErrorError == 0 && errno != EBADF) standardErrorError = errno;
}

int StandardErrorError() { return standardErrorError; }

void ShowHint(const WorstReport& worst, const Options& options) {
    if (worst.number == 0 || options.jsonDiagnostics || options.form != CheckFormEN::text ||
        !IsTerminal(system::StandardError))
        return;
    const std::string number = std::to_string(std::abs(worst.number));
    std::cerr << "What that means and what to do: lumo-import explain " + number + "\n";
}

// ---- Console -------------------------------------------------------------------------------

Console::Console(const Options& options, bool interactive)
    : options_(options),
      terminal_(IsTerminal(system::StandardError) && !options.jsonDiagnostics),
      interactive_(interactive && terminal_ && !options.quiet),
      colors_(WantsColors(options.color, system::StandardError)),
      silent_(options.form != CheckFormEN::text || options.command == CommandEN::list),
      progress_(interactive_),
      holds_((terminal_ || options.command == CommandEN::check) && !options.verbose &&
             !options.jsonDiagnostics),
      screen_(options) {}

void Console::startFile(const std::string& file) {
    finish();
    holding_ = holds_;
    headed_ = false;
    file_ = file;
    screen_.begin(file);
    allowed_ = 0;
}

bool Console::report(const ReportRecord& report) {
    if (screen_.lets(report)) {
        ++allowed_;
        return false;
    }
    if (options_.quiet && report.severity <= SeverityWarning) return true;
    worst_.add({report.severity, report.number});
    give(report);
    return true;
}

/// Shows it, now or later.
void Console::give(const ReportRecord& report) {
    if (silent_) return;
    if (holding_) {
        held_.push_back(report);
        return;
    }
    progress_.clear();
    Say(options_.jsonDiagnostics ? ReportToJson(report) + '\n' : lineOf(report, headed_));
}

void Console::finish() {
    holding_ = false;
    if (held_.empty()) return;
    std::map<int, std::size_t> left, shown;
    for (const ReportRecord& report : held_) ++left[report.number];
    headed_ = isHeading();
    std::string text = headed_ ? paint(bold, Visible(file_)) + "\n" : "";
    for (const ReportRecord& report : held_) {
        std::size_t& more = left[report.number];
        --more;
        const bool isAlike = report.number != 0;
        if (isAlike && shown[report.number] == shownAlike) continue;
        text += lineOf(report, headed_);
        if (isAlike && ++shown[report.number] == shownAlike && more > 0)
            text += std::string(headed_ ? 4 : 2, ' ') + "and " + std::to_string(more) +
                    " more like this (-v shows all)\n";
    }
    held_.clear();
    progress_.clear();
    Say(text);
}

/// Whether one line above all tells a person where they are. What is read by a program, such as an
/// editor, has the file in every line.
bool Console::isHeading() const {
    return terminal_ && held_.size() > 1 &&
           std::ranges::all_of(held_, [this](const auto& report) { return report.file == file_; });
}

std::string Console::lineOf(const ReportRecord& report, bool isBelow) const {
    std::string place = PlaceText(report);
    // As other programs say it.
    if (IsNotOpened(report))
        return paint(bold, Visible(report.file) + ":") + " " + Visible(report.message) + "\n";
    if (isBelow) place.erase(0, Visible(report.file).size() + 1);
    std::string out = isBelow ? "  " : "";
    if (!place.empty()) out += paint(bold, place.substr(0, place.size() - 1)) + " ";
    out += paint(ColorOf(report.severity), std::string(SeverityName(report.severity)) + ":");
    out += " " + MessageText(report);
    out += '\n';
    if (terminal_ && report.line > 0) out += sourceLines(report, isBelow ? "    " : "  ");
    return out;
}

/// The line of the source, and one with a caret below it.
std::string Console::sourceLines(const ReportRecord& report, const std::string& indent) const {
    if (report.sourceLine.empty()) return {};
    const std::string_view line = report.sourceLine;
    const std::string before = Visible(line.substr(0, report.sourceCaret));
    return indent + before + Visible(line.substr(report.sourceCaret)) + "\n" + indent +
           std::string(DisplayWidth(before), ' ') + paint(green, "^") + "\n";
}

std::string Console::paint(const char* code, const std::string& text) const {
    return colors_ ? code + text + endOfColor : text;
}

void Console::note(const std::string& text) {
    if (options_.quiet) return;
    ReportRecord note;
    note.file = file_;
    note.severity = SeverityNotice;
    note.message = text;
    give(note);
}

void Console::done(const std::string& what) {
    if (options_.verbose) note(what);
}

bool Console::ask(const char* question) {
    if (!canAsk()) return false;
    finish();
    progress_.clear();
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer.starts_with('y') || answer.starts_with('Y');
}

bool Console::canAsk() const { return interactive_ && IsTerminal(system::StandardInput); }

void Console::begin(const std::string& wait) {
    wait_ = Visible(wait);
    progress_.start();
}

void Console::progress(long long done, long long total) { progress_.update(wait_, done, total); }

void Console::end() { progress_.clear(); }

}  // namespace lumo::app
