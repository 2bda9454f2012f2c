// Problems that are known and let pass: by their numbers, or because a baseline file has them.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "formats/shared/result.h"

namespace lumo::app {

struct Options;

/// What was found in files once. Problems keep their places when a file is edited elsewhere: lines
/// do not count, and a file is named as seen from the baseline's folder.
class Baseline {
public:
    /// How often a problem is there, by number and text.
    using Problems = std::map<std::pair<int, std::string>, long long>;

    explicit Baseline(const std::string& file = {});

    /// Reads the file; what is wrong with it, empty when nothing is.
    std::string read();
    /// Writes the file; empty when it worked, else what went wrong.
    std::string write() const;

    void add(const std::string& file, const ReportRecord& report);
    /// What is said, with the file's place as its name.
    std::string textOf(const std::string& file, const ReportRecord& report) const;
    const Problems& of(const std::string& file) const;  ///< as the user named it

private:
    std::string placeOf(const std::string& file) const;

    std::string file_;
    std::filesystem::path folder_;
    std::map<std::string, Problems> files_;
};

/// Which of one file's reports are let pass.
class Screen {
public:
    explicit Screen(const Options& options) : options_(options) {}

    void begin(const std::string& file);
    bool lets(const ReportRecord& report);

private:
    const Options& options_;
    std::string file_;
    Baseline::Problems known_;  ///< that were not met yet
};

}  // namespace lumo::app
