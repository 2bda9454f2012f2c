// The command line's arguments.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "export/writers.h"
#include "import/ForeignFile.h"
#include "import/detect.h"

namespace lumo::app {

/// Exit codes; of many files the highest counts.
enum ExitEN : int {
    ExitRead = 0,
    ExitErrors = 1,   ///< read with errors; what could be read was written
    ExitNothing = 2,  ///< nothing could be read
    ExitUsage = 64,
    ExitWriteFailed = 74,  ///< the output could not be written
};

enum class CommandEN : unsigned char { summary, check, convert, explain, formats };
enum class ColorEN : unsigned char { automatic, always, never };

struct Options {
    Options() = default;
    Options(const Options&) = delete;  // `reading` refers to it
    Options& operator=(const Options&) = delete;

    CommandEN command = CommandEN::summary;
    std::vector<std::string> files;      ///< "-" is standard input; explain: report numbers
    std::string output;                  ///< convert: a file, a folder for many files, "-"
    const Writer* writer = nullptr;      ///< convert
    bool force = false;                  ///< convert: write over the input
    const FormatInfo* format = nullptr;  ///< null: detect
    std::optional<bool> condense;        ///< answer to the noisy-max question
    LayoutEN layout = LayoutEN::best;    ///< of the nodes in what is written
    std::string className;               ///< of a Hugin file with several classes
    ReadOptions reading;                 ///< refers to className
    bool quiet = false;
    bool jsonDiagnostics = false;
    ColorEN color = ColorEN::automatic;
    int jobs = 1;
};

/// Reads the arguments. Returns the exit code when there is nothing more to do: help or version was
/// shown, or the usage is wrong, which standard error was told.
std::optional<int> ParseArguments(int argc, char** argv, Options& options);

/// Where convert writes the file: the output itself, or in its folder under the file's own name.
std::string OutputFor(const Options& options, const std::string& file);

}  // namespace lumo::app
