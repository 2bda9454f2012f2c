// The command check: what it tells of a file, its exit code, and what comes after the last file.
#pragma once

#include <array>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "app/baseline.h"
#include "app/options.h"
#include "formats/shared/result.h"

namespace lumo::app {

/// A file's problems, as they travel from the process that read it.
struct CheckedFile {
    std::string file;  ///< as the user named it
    int exitCode = ExitNothing;
    std::string format, status;
    std::vector<ReportRecord> reports;
    long long allowed = 0;  ///< reports that were let pass

    std::string packed() const;
    /// Of nothing it becomes a file whose reading broke down.
    static CheckedFile unpacked(const InputFile& file, int exitCode, const std::string& text);
};

/// A form of output for programs. Both functions give text for standard output.
class CheckForm {
public:
    virtual ~CheckForm() = default;
    virtual std::string add(const CheckedFile& file) = 0;
    virtual std::string end(int /*exitCode*/) { return {}; }
};

/// Null for the form that people read, which the console shows.
std::unique_ptr<CheckForm> MakeCheckForm(CheckFormEN form);

/// 0 when nothing in the file is as bad as what fails; a file of which nothing could be read fails
/// unless what was said of it is let pass.
int CheckExitCode(const ImportResult& result, long long allowed, const Options& options);

/// Gathers what is told of the files.
class Checker {
public:
    explicit Checker(const Options& options);

    void add(CheckedFile file);
    /// Writes what comes at the end: totals, documents, the baseline. Returns the exit code.
    int end(int exitCode);

private:
    void write(const std::string& text);
    std::string total() const;
    std::string mostFrequent() const;

    const Options& options_;
    const std::unique_ptr<CheckForm> form_;
    Baseline found_;
    std::string failure_;
    long long files_ = 0, notRead_ = 0, allowed_ = 0;
    std::array<long long, 4> problems_{};  ///< fatal ones, errors, warnings, notices
    std::map<int, long long> numbers_;
};

}  // namespace lumo::app
