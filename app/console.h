// The console's side of an import: shows reports, asks, shows progress, and keeps what it saw.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "app/options.h"
#include "formats/import.h"

namespace lumo::app {

/// A progress line on standard error, as wide as that has room, shown once the work has taken a
/// second.
class ProgressLine {
public:
    explicit ProgressLine(bool enabled) : enabled_(enabled) {}
    ~ProgressLine() { clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void start();
    void update(const std::string& what, long long done, long long total);
    void clear();  ///< before anything else is written to the terminal

private:
    bool enabled_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point begun_;
};

/// The number of the most severe report that has one, the first of equals.
struct WorstReport {
    int severity = 0;
    int number = 0;  ///< 0: there is none

    void add(const WorstReport& other) {
        if (other.number != 0 && other.severity > severity) *this = other;
    }
};

/// "file:line:column: ", or what of it is known.
std::string PlaceText(const ReportRecord& report);
/// The message with what was being read, and the number.
std::string MessageText(const ReportRecord& report);

/// Writes to standard error.
void Say(const std::string& text);
/// The errno of the first that could not be written; 0 when all was, or nobody listens.
int StandardErrorError();

/// Whether what is written to that descriptor shall have colors.
bool WantsColors(ColorEN choice, int descriptor);

/// Tells a person, after all else, how to learn more of the worst report.
void ShowHint(const WorstReport& worst, const Options& options);

class Console : public ImportWatcher {
public:
    /// interactive: may ask and show progress; else it only writes what comes.
    explicit Console(const Options& options, bool interactive = true);

    ~Console() override { finish(); }

    void startFile(const std::string& file);
    /// The file's reports have come to their end. Where they are held until then, on a terminal and
    /// by check, those of one number are shown a few times, and a file with several is a heading.
    void finish();
    /// The worst of what was shown of all files.
    const WorstReport& worst() const { return worst_; }
    bool canAsk() const;  ///< a person is there to answer
    /// Reports of the file that were let pass.
    long long allowed() const { return allowed_; }

    bool report(const ReportRecord& report) override;
    void note(const std::string& text) override;
    void done(const std::string& what) override;  ///< said to those who want to know
    bool ask(const char* question) override;
    void begin(const std::string& wait) override;
    void progress(long long done, long long total) override;
    void end() override;

private:
    void give(const ReportRecord& report);
    std::string lineOf(const ReportRecord& report, bool isBelow) const;
    bool isHeading() const;
    std::string sourceLines(const ReportRecord& report, const std::string& indent) const;
    std::string paint(const char* code, const std::string& text) const;

    const Options& options_;
    const bool terminal_;
    const bool interactive_;
    const bool colors_;
    const bool silent_;  ///< a form for programs has it all
    std::string file_;
    std::string wait_;
    ProgressLine progress_;
    const bool holds_;                ///< reports, until the file's end
    bool holding_ = false;            ///< now
    bool headed_ = false;             ///< the file's name stands above its reports
    std::vector<ReportRecord> held_;  ///< and notes, which have no number
    WorstReport worst_;
    Screen screen_;
    long long allowed_ = 0;
};

}  // namespace lumo::app
