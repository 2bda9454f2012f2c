// The command line's arguments.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/baseline.h"
#include "export/part.h"
#include "export/reduce.h"
#include "export/writers.h"
#include "formats/import.h"

namespace lumo::app {

/// Exit codes; of many files the highest counts.
enum ExitEN : int {
    ExitRead = 0,
    ExitErrors = 1,   ///< read with errors; what could be read was written
    ExitNothing = 2,  ///< nothing could be read
    ExitUsage = 64,
    ExitNoNet = -1,        ///< of a file that is only counted, for a folder holds it
    ExitWriteFailed = 74,  ///< the output could not be written
};

enum class CommandEN : unsigned char {
    summary,
    check,
    nodes,
    table,
    convert,
    explain,
    formats,
    diff,
    list
};
/// What check writes.
enum class CheckFormEN : unsigned char { text, json, sarif, github, junit };
enum class ColorEN : unsigned char { automatic, always, never };

/// A file to read. One found below a folder is written to the same place below the output's.
struct InputFile {
    std::string path;             ///< "-" is standard input
    std::string below;            ///< its folder, seen from the one that was named
    bool keepsExtension = false;  ///< in the name of the file that is written
};

/// A column of the list, an order and a number or text, as in "nodes > 100".
struct ListCondition {
    std::size_t column = 0;
    std::string order;  ///< "<", "<=", "=", "!=", ">=", ">"
    std::string value;
};

/// What is wished of a picture.
struct PictureOptions {
    std::vector<std::string> only;      ///< nodes
    const Around* around = nullptr;     ///< what else is drawn of the net; null: the nodes alone
    bool beliefs = false;               ///< bars in the nodes
    std::vector<std::string> evidence;  ///< "smoke=yes"
    double width = 0, letters = 0;      ///< millimetres, points; 0: as they come
    bool grey = false;

    bool areThere() const { return !only.empty() || beliefs || width > 0 || letters > 0 || grey; }
};

struct Options {
    CommandEN command = CommandEN::summary;
    std::vector<InputFile> files;
    bool recursive = false;  ///< folders are read
    bool walked = false;     ///< one was
    int noNets = 0;          ///< files in folders that are certainly no nets
    std::vector<std::pair<std::string, const char*>> passedOver;  ///< verbose: in folders, and why
    std::vector<std::string> numbers;                             ///< explain: of reports
    std::vector<std::string> nodes;                               ///< table
    bool allNodes = false;                                        ///< table
    bool csv = false;                                             ///< table
    CheckFormEN form = CheckFormEN::text;                         ///< check
    int failFrom = SeverityError;           ///< check: the mildest severity that fails
    std::set<int> allowed;                  ///< check: numbers of reports that are let pass
    Baseline baseline;                      ///< check: problems that are let pass
    std::string newBaseline;                ///< check: the file to write; empty for none
    std::string output;                     ///< convert: a file, a folder for many files, "-"
    bool intoFolder = false;                ///< convert: the output is a folder, or becomes one
    const Writer* writer = nullptr;         ///< convert
    bool force = false;                     ///< convert: write over what is there
    bool noClobber = false;                 ///< convert: leave what is there
    bool verify = false;                    ///< convert: read what was written, and compare
    Reduction reduction;                    ///< convert: what is left out of what is written
    LayoutEN layout = LayoutEN::best;       ///< of the nodes in what is written
    PictureOptions picture;                 ///< convert
    ImportOptions import;                   ///< how files are read
    bool quiet = false;                     ///< errors only
    bool verbose = false;                   ///< what was done as well
    bool json = false;                      ///< summary, diff
    bool html = false;                      ///< diff
    std::vector<ListCondition> conditions;  ///< list: all of them hold
    std::string sorting;                    ///< list: a column, after '-' from the most
    std::optional<double> tolerance;        ///< diff: of numbers
    bool jsonDiagnostics = false;
    ColorEN color = ColorEN::automatic;
    int jobs = 1;

    bool many() const { return files.size() > 1 || walked; }
};

/// Reads the arguments, the program's name first. Returns the exit code when there is nothing more
/// to do: help or version was shown, or the usage is wrong, which standard error was told.
std::optional<int> ParseArguments(const std::vector<std::string>& arguments, Options& options);

/// Where convert writes the file: the output itself, or in its folder under the file's own name.
std::string OutputFor(const Options& options, const InputFile& file);

}  // namespace lumo::app
