#include "app/help.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "app/packer.h"
#include "export/part.h"
#include "export/writers.h"
#include "formats/detect.h"
#include "formats/packing.h"
#include "library/utilities/Utils.h"

namespace lumo::app {
namespace {

template <class... COMMANDS>
constexpr unsigned Of(COMMANDS... commands) {
    return ((1U << static_cast<unsigned>(commands)) | ...);
}

using enum CommandEN;
constexpr unsigned ofMany = Of(summary, check, convert);               // files
constexpr unsigned ofReaders = ofMany | Of(table, nodes, diff, list);  // of nets
constexpr unsigned ofAll = ~0U;

constexpr CommandInfo commands[] = {
    {summary, "", "FILE...", "What is in the files.",
     "  lumo-import asia.net                          what is in the file\n"
     "  lumo-import -r nets/                          a line for each file below\n"},
    {check, "check", "FILE...", "The problems of the files, and nothing else.",
     "  lumo-import check -r nets/                    problems only, of all files below\n"
     "  lumo-import check --fail-on warning -r nets/  and the exit code is 1 for a warning\n"
     "  lumo-import check --format sarif -r nets/ >nets.sarif\n"},
    {nodes, "nodes", "FILE", "The nodes of a net, with their states and parents.",
     "  lumo-import nodes asia.net                    its nodes, with states and parents\n"},
    {table, "table", "FILE NODE...", "The tables of nodes, given by their names or titles.",
     "  lumo-import table asia.net dysp               one node's table\n"
     "  lumo-import table asia.net --all --csv        all tables, for spreadsheets\n"},
    {convert, "convert", "FILE... -o OUT", "Writes the nets in another format.",
     "  lumo-import convert asia.net -o asia.json     the whole net as JSON\n"
     "  lumo-import convert asia.net --to json -o -   the same on standard output\n"
     "  lumo-import convert asia.net -o dysp.pdf --only dysp --around blanket --width 85mm\n"
     "  lumo-import convert asia.net -o asia.svg --beliefs --evidence smoke=yes\n"
     "  lumo-import convert -j 4 nets/*.xml --to json -o out/\n"},
    {diff, "diff", "FILE FILE", "How two nets differ, in any two formats.",
     "  lumo-import diff asia.net asia.xml            how two nets differ\n"
     "  lumo-import diff old.net new.net --html -o changes.html\n"},
    {list, "list", "FILE|DIR...", "A table of nets, with their sizes and problems.",
     "  lumo-import list nets/ --where 'nodes > 100'  a table of the nets in a folder\n"
     "  lumo-import list nets/ --sort -clique --csv   for spreadsheets\n"},
    {explain, "explain", "NUMBER...", "What reports mean, and their cures.",
     "  lumo-import explain 4022                      what a report means, and its cure\n"},
    {formats, "formats", "", "The formats that are read and written.", ""},
};

/// An option as a line of the help.
struct OptionInfo {
    std::string_view names;  ///< "-j, --jobs"
    std::string_view argument;
    std::string_view text;  ///< %s stands for the words it takes
    unsigned of;            ///< commands
    std::string (*words)() = nullptr;
};

template <class LIST>
std::string Listed(const LIST& list) {
    std::string text;
    for (const auto& item : list) text += (text.empty() ? "" : ", ") + std::string(item.name);
    return text;
}

constexpr OptionInfo options[] = {
    {"-r, --recursive", "", "read the files in folders, and below them", ofMany},
    {"    --json", "", "for programs: an object a line for each file, or all that differs",
     Of(summary, check, diff, list)},
    {"    --format", "FORM", "what is written: text, json, sarif, github, junit", Of(check)},
    {"    --max-severity", "KIND", "the worst that is no failure: none, notice, warning, error",
     Of(check)},
    {"    --fail-on", "KIND", "the mildest that is one: notice, warning, error, fatal", Of(check)},
    {"    --allow", "NUMBER", "let reports of that number pass, or of several: 3028,4022",
     Of(check)},
    {"    --ignore", "NUMBER", "the same", Of(check)},
    {"    --baseline", "FILE", "let pass what the file has", Of(check)},
    {"    --write-baseline", "FILE", "write what is found into the file, to let it pass",
     Of(check)},
    {"    --all", "", "the tables of all nodes", Of(table)},
    {"    --csv", "", "for spreadsheets", Of(table, list)},
    {"-o, --output", "OUT", "the file, folder or - to write to", Of(convert, diff)},
    {"    --html", "", "a page with both nets side by side", Of(diff)},
    {"    --tolerance", "X", "numbers are the same that differ by no more", Of(diff)},
    {"    --where", "TEST", "only nets of which it holds: 'nodes > 100', 'format = bif'", Of(list)},
    {"    --sort", "COLUMN", "in the order of a column; from the most: -COLUMN", Of(list)},
    {"    --to", "FORMAT", "format or extension to write, instead of OUT's: %s", Of(convert),
     [] { return Listed(Writers()); }},
    {"    --force", "",
     "write over what is there, without asking, and over what is read-only; over the input, if it "
     "was read without error",
     Of(convert)},
    {"    --no-clobber", "", "leave files that are there as they are", Of(convert)},
    {"    --verify", "", "read what was written, and compare it with the net", Of(convert)},
    {"    --plain", "", "write names, states and tables alone, which more programs read",
     Of(convert)},
    {"    --only-nature", "", "leave out decisions, utilities and what depends on them",
     Of(convert)},
    {"    --only", "NODE", "a picture of the node alone; several times, of several", Of(convert)},
    {"    --around", "WHAT", "and of what is around it: %s", Of(convert),
     [] { return Listed(Arounds()); }},
    {"    --beliefs", "", "a picture with the nodes' distributions", Of(convert)},
    {"    --evidence", "FACT", "the distributions when that is known: NODE=STATE", Of(convert)},
    {"    --width", "SIZE", "of the picture on paper: 85mm, 3.3in ...", Of(convert)},
    {"    --font-size", "SIZE", "of its letters on paper, in points", Of(convert)},
    {"    --grey", "", "a picture without colours", Of(convert)},
    {"    --layout", "auto|file", "where nodes are drawn, instead of the file where it says so",
     Of(convert)},
    {"    --from", "FORMAT", "format of the files, instead of detecting it: %s", ofReaders,
     [] { return Listed(Formats()); }},
    {"    --condense", "yes|no", "keep noisy-max tables as parameters, without asking", ofReaders},
    {"    --normalize", "", "scale rows of nature nodes that do not sum to 1", ofReaders},
    {"    --max-memory", "SIZE", "of a file's text and its net's tables: 2G, or 500M ...",
     ofReaders},
    {"    --class", "NAME", "the class to read of a file that has several (hugin)", ofReaders},
    {"    --strict", "", "read by the letter of the format, which loses more", ofReaders},
    {"    --create-state-names", "",
     "make state names of titles that are no legal names (dsc, xmlbif)", ofReaders},
    {"    --diagnostics", "FORM", "form of the diagnostics on standard error: text, json",
     ofReaders},
    {"    --color", "WHEN", "colored diagnostics: auto, always, never", ofReaders},
    {"-q, --quiet", "", "show errors only", ofReaders},
    {"-v, --verbose", "", "show also what was done, and lists as long as they are", ofReaders},
    {"-j, --jobs", "N", "read N files at the same time", ofMany | Of(list)},
    {"    --version", "", "show the version", ofAll},
    {"-h, --help", "", "show this help, or after a command that command's", ofAll},
};

constexpr std::string_view exitCodes = R"(
Exit codes:
  0   read                   1   read with errors; what could be read is written
  2   nothing could be read  64  wrong usage       74  output could not be written
)";

constexpr std::string_view exitCodesOfDiff = R"(
Exit codes:
  0   the nets are the same  1   they differ       2   trouble: one could not be read
)";

std::string LineOf(const OptionInfo& option) {
    std::string line = "  " + std::string(option.names);
    if (!option.argument.empty()) line += " " + std::string(option.argument);
    const std::string text(option.text);
    return Format("%-28s ", line.c_str()) +
           (option.words == nullptr ? text : Format(text.c_str(), option.words().c_str())) + "\n";
}

std::string UsageOf(const CommandInfo& info) {
    std::string line = "  lumo-import";
    if (!info.name.empty()) line += " " + std::string(info.name);
    if ((ofReaders & Of(info.command)) != 0) line += " [OPTIONS]";
    if (!info.arguments.empty()) line += " " + std::string(info.arguments);
    return line + "\n";
}

/// The options that the predicate wants, under the heading; nothing when there are none.
template <class WANTED>
std::string Section(const std::string& heading, WANTED wanted) {
    std::string text;
    for (const OptionInfo& option : options)
        if (wanted(option)) text += LineOf(option);
    return text.empty() ? text : "\n" + heading + ":\n" + text;
}

constexpr std::string_view aboutFiles =
    "\nA FILE named - is standard input; it may be compressed (gz, bz2, xz, zst).";
constexpr std::string_view aboutOutput =
    " With many files OUT\nis a folder, which is made; an OUT that ends in .gz is compressed.";

std::string HelpOfProgram() {
    std::string text = "Reads Bayes nets and decision networks from the files of other programs.\n";
    text += "\nExamples:\n";
    for (const CommandInfo& info : commands) text += info.examples;
    text += "\nUsage:\n";
    for (const CommandInfo& info : commands) text += UsageOf(info);
    text.append(aboutFiles).append(aboutOutput) += "\n";
    const auto isOfOne = [](const OptionInfo& option) { return std::has_single_bit(option.of); };
    text += Section("Options", [&](const OptionInfo& option) { return !isOfOne(option); });
    for (const CommandInfo& info : commands)
        text += Section(info.name.empty() ? "Options without a command"
                                          : "Options of " + std::string(info.name),
                        [&](const OptionInfo& option) { return option.of == Of(info.command); });
    return text.append(exitCodes);
}

std::string HelpOfCommand(const CommandInfo& info) {
    std::string text(info.does);
    text += "\n\n";
    if (!info.examples.empty()) text += "Examples:\n" + std::string(info.examples) + "\n";
    text += "Usage:\n" + UsageOf(info);
    const bool isReader = (ofReaders & Of(info.command)) != 0;
    if (isReader) text.append(aboutFiles);
    if (info.command == convert) text += aboutOutput;
    if (isReader) text += "\n";
    const unsigned own = Of(info.command);
    text += Section("Options", [&](const OptionInfo& option) { return (option.of & own) != 0; });
    if (info.command == diff) return text.append(exitCodesOfDiff);
    return isReader ? text.append(exitCodes) : text;
}

}  // namespace

std::span<const CommandInfo> Commands() { return commands; }

std::string Help(std::string_view command) {
    const auto info = std::ranges::find(commands, command, &CommandInfo::name);
    return command.empty() || info == std::end(commands) ? HelpOfProgram() : HelpOfCommand(*info);
}

std::string VersionText() {
    std::string text = "lumo-import " LUMO_VERSION "\nreads   " + Listed(Formats()) + "\nwrites  ";
    std::string lacking;
    const char* comma = "";
    for (const Writer& writer : Writers()) {
        const char* const why = writer.unavailable == nullptr ? nullptr : writer.unavailable();
        if (why != nullptr) lacking += std::string("no ") + writer.name + ": " + why + "\n";
        if (why == nullptr) text += std::exchange(comma, ", ") + std::string(writer.name);
    }
    text += "\n";
    if (const std::string packings = PackingsRead(); !packings.empty())
        text += "unpacks " + packings + "\n";
    if (WhyNotPacked() == nullptr)
        text += "packs   gzip\n";
    else
        lacking += std::string("no gzip: ") + WhyNotPacked() + "\n";
    return text + lacking;
}

std::string_view ArgumentOf(std::string_view option) {
    for (const OptionInfo& info : options) {
        const std::size_t comma = info.names.find(',');
        const std::string_view name = info.names.substr(info.names.find("--"));
        if (name == option || (comma != info.names.npos && info.names.substr(0, comma) == option))
            return info.argument;
    }
    return {};
}

}  // namespace lumo::app
