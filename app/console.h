// The console's side of an import: shows reports, asks, shows progress, and keeps what it saw.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "app/options.h"
#include "export/result.h"
#include "library/reports/reports.h"

namespace lumo::app {

/// A progress line on standard error, shown once the work has taken a second.
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

class Console : public ReportHandler {
public:
    /// interactive: may ask and show progress; else it only writes what comes.
    explicit Console(const Options& options, bool interactive = true);

    /// Starts a file. Its text is given when it was read from a pipe; it must outlive the import.
    void begin(const std::string& file, std::string_view text = {});
    bool canAsk() const;  ///< a person is there to answer
    std::vector<ReportRecord> takeReports() { return std::move(reports_); }
    std::vector<SkippedWord> takeSkipped() { return std::move(skipped_); }

    void show(const rept_kt& report) override;
    void print(const char* text) override;
    bool ask(int number, const char* question) override;
    void waitBegin(const char* text) override;
    void waitEnd(const char* text) override;
    void progress(long long done, long long total) override;
    void unknownWord(const char* word, int number, long long count) override;

private:
    void showText(const ReportRecord& report);
    std::string sourceLines(const ReportRecord& report) const;
    std::string windowAround(long long offset, std::size_t& caret) const;
    std::string paint(const char* code, const std::string& text) const;

    const Options& options_;
    const bool terminal_;
    const bool interactive_;
    const bool colors_;
    std::string file_;
    std::string_view text_;  ///< the text read from a pipe
    std::string wait_;
    ProgressLine progress_;
    std::vector<ReportRecord> reports_;
    std::vector<SkippedWord> skipped_;
};

/// Whether a person is looking at that descriptor.
bool IsTerminal(int descriptor);

}  // namespace lumo::app
