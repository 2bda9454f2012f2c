// Many files: one after the other in this process, or several at a time in processes of their own.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "app/console.h"
#include "app/options.h"

namespace lumo::app {

/// What is done with one file; returns its exit code and never throws. What it leaves in told is
/// told of the file when its turn has come.
using FileWork = int (*)(const InputFile& file, const Options& options, Console& console,
                         std::string& told);
using TellFunction =
    std::function<void(const InputFile& file, int exitCode, const std::string& told)>;

/// How many files ended with each exit code, and the worst report of all.
struct Totals {
    std::map<int, int> files;
    WorstReport worst;
    bool stopped = false;  ///< for its output could not be written, which was told

    int exitCode() const;      ///< the highest
    std::string text() const;  ///< "3 files: 2 read, 1 not read", without the end of the line
};

/// Does the work for every file, in order as far as anyone can see, and tells of each. Files that
/// were counted only are among the totals. A closed pipe ends the process, as the shell expects it;
/// another failure of the output stops the work.
Totals RunBatch(const Options& options, FileWork work, const TellFunction& tell);

}  // namespace lumo::app
