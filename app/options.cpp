#include "app/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <climits>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>

#include "app/convert.h"
#include "app/folders.h"
#include "app/help.h"
#include "app/list.h"
#include "app/packer.h"
#include "app/suggest.h"
#include "export/explain.h"
#include "library/utilities/numbers.h"
#include "library/utilities/paths.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr int mostJobs = 256;

template <class LIST>
std::vector<std::string> Names(const LIST& list) {
    std::vector<std::string> names;
    for (const auto& item : list) names.emplace_back(item.name);
    return names;
}

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string NotAmong(const std::string& word, const std::vector<std::string>& names) {
    return "there is no '" + word + "' among " + Listed(names) + DidYouMean(word, names);
}

/// A number of bytes: "500000", "500M", "2G"; none when it is no such text.
std::optional<long long> BytesOf(std::string text) {
    constexpr std::string_view units = "KMGT";
    if (text.size() > 1 && (text.back() == 'B' || text.back() == 'b')) text.pop_back();
    int shift = 0;
    if (!text.empty()) {
        const auto unit = units.find(static_cast<char>(std::toupper(text.back())));
        if (unit != std::string_view::npos) {
            shift = 10 * (static_cast<int>(unit) + 1);
            text.pop_back();
        }
    }
    long long number = 0;
    const char* const end = text.data() + text.size();
    const auto [read, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc() && read == end && number >= 0;
    if (!isNumber || number > (LLONG_MAX >> shift)) return std::nullopt;
    return number << shift;
}

/// The arguments as CLI11 fills them, where they need a second look.
struct Raw {
    std::vector<std::string> files;
    std::string file;                     // of a command that takes one
    std::vector<std::string> conditions;  // of list
    std::string format, writer, condense, layout, maxMemory, diagnostics, color = "auto";
    std::string form, maxSeverity, failOn, baseline;  // of check
    std::string around, width, letters;               // of pictures
    std::vector<std::string> allowed;
    bool strict = false, createStateNames = false;
};

/// An option that takes one of some words.
void AddChoice(CLI::App& app, const char* name, std::string& value,
               std::vector<std::string> among) {
    app.add_option(name, value)->check([among = std::move(among)](const std::string& word) {
        return std::ranges::find(among, word) == among.end() ? NotAmong(word, among) : "";
    });
}

void AddOptions(CLI::App& app, Options& options, Raw& raw) {
    const auto choice = [&](const char* name, std::string& value, std::vector<std::string> among) {
        AddChoice(app, name, value, std::move(among));
    };
    choice("--from", raw.format, Names(Formats()));
    choice("--condense", raw.condense, {"yes", "no"});
    choice("--layout", raw.layout, {"auto", "file"});
    choice("--diagnostics", raw.diagnostics, {"text", "json"});
    choice("--color", raw.color, {"auto", "always", "never"});
    app.add_flag("--normalize", options.import.normalize);
    app.add_option("--max-memory", raw.maxMemory)->check([](const std::string& text) {
        return BytesOf(text) ? std::string() : "'" + text + "' is no size, such as 500M or 2G";
    });
    app.add_option("--class", options.import.className);
    app.add_flag("--strict", raw.strict);
    app.add_flag("--create-state-names", raw.createStateNames);
    app.add_flag("-r,--recursive", options.recursive);
    app.add_flag("--json", options.json);
    app.add_flag("-q,--quiet", options.quiet)
        ->excludes(app.add_flag("-v,--verbose", options.verbose));
    app.add_option("-j,--jobs", options.jobs)->check([](const std::string& text) {
        int jobs = 0;
        const char* const last = text.data() + text.size();
        const bool isNumber = std::from_chars(text.data(), last, jobs).ptr == last;
        return isNumber && jobs >= 1 && jobs <= mostJobs
                   ? std::string()
                   : "'" + text + "' is no number from 1 to " + std::to_string(mostJobs);
    });
}

/// A positive length in millimetres: "85mm", "3.3in"; none when it is no such text.
std::optional<double> MillimetresOf(const std::string& text) {
    constexpr std::pair<std::string_view, double> units[] = {
        {"", 1}, {"mm", 1}, {"cm", 10}, {"in", 25.4}, {"pt", 25.4 / 72}, {"px", 25.4 / 96}};
    double length = 0;
    const char* end = nullptr;
    const char* const last = text.data() + text.size();
    if (ParseNumber(text.data(), last, length, end) != NumberEN::ok) return std::nullopt;
    for (const auto& [unit, millimetres] : units)
        if (std::string_view(end, last) == unit && length > 0) return length * millimetres;
    return std::nullopt;
}

constexpr double widestPaper = 5000, largestLetters = 500;  // millimetres, points

/// Options of convert that say what a picture is to show, and how.
void AddPictureOptions(CLI::App& convert, Options& options, Raw& raw) {
    PictureOptions& picture = options.picture;
    const auto several = [&](const char* name, std::vector<std::string>& values) {
        convert.add_option(name, values)->allow_extra_args(false);
    };
    const auto length = [&](const char* name, std::string& value, double most, const char* hint) {
        convert.add_option(name, value)->check([most, hint](const std::string& text) {
            const std::optional<double> millimetres = MillimetresOf(text);
            return millimetres && *millimetres <= most
                       ? std::string()
                       : "'" + text + "' is no size, such as " + hint;
        });
    };
    several("--only", picture.only);
    AddChoice(convert, "--around", raw.around, Names(Arounds()));
    convert.add_flag("--beliefs", picture.beliefs);
    several("--evidence", picture.evidence);
    length("--width", raw.width, widestPaper, "85mm");
    length("--font-size", raw.letters, largestLetters, "8");
    convert.add_flag("--grey", picture.grey);
}

/// Takes over what was wished of a picture; the first mistake, empty when there is none.
std::string CheckPicture(Options& options, const Raw& raw) {
    PictureOptions& picture = options.picture;
    picture.beliefs = picture.beliefs || !picture.evidence.empty();
    if (!raw.width.empty()) picture.width = *MillimetresOf(raw.width);
    if (!raw.letters.empty()) {
        const bool hasUnit = std::isalpha(static_cast<unsigned char>(raw.letters.back())) != 0;
        picture.letters = *MillimetresOf(raw.letters) * (hasUnit ? 72 / 25.4 : 1);
    }
    if (!raw.around.empty())
        picture.around = &*std::ranges::find_if(
            Arounds(), [&](const Around& around) { return raw.around == around.name; });
    if (picture.around != nullptr && picture.only.size() < picture.around->nodes)
        return "--around " + raw.around + " takes " +
               (picture.around->nodes > 1 ? "two nodes: --only NODE --only NODE"
                                          : "a node: --only NODE");
    if (!picture.areThere() || options.writer->draw != nullptr) return {};
    std::vector<std::string> pictures;
    for (const Writer& writer : Writers())
        if (writer.draw != nullptr) pictures.emplace_back(writer.name);
    return "--only, --beliefs, --width, --font-size and --grey are of pictures: " +
           Listed(pictures);
}

constexpr const char* forms[] = {"text", "json", "sarif", "github", "junit"};
constexpr const char* severities[] = {"none", "notice", "warning", "error", "fatal"};

using Texts = std::vector<std::string>;

void AddCheckOptions(CLI::App& check, Options& options, Raw& raw) {
    const std::vector<std::string> words(std::begin(severities), std::end(severities));
    AddChoice(check, "--format", raw.form, {std::begin(forms), std::end(forms)});
    AddChoice(check, "--max-severity", raw.maxSeverity, {words.begin(), words.end() - 1});
    AddChoice(check, "--fail-on", raw.failOn, {words.begin() + 1, words.end()});
    check.get_option("--max-severity")->excludes("--fail-on");
    for (const char* name : {"--allow", "--ignore"})  // each is told by its own name
        check
            .add_option_function<Texts>(name,
                                        [&](const Texts& numbers) {
                                            std::ranges::copy(numbers,
                                                              std::back_inserter(raw.allowed));
                                        })
            ->allow_extra_args(false)
            ->delimiter(',')
            ->check([](const std::string& text) {
                return ReportNumber(text) == 0 ? "there is no report '" + text + "'"
                                               : std::string();
            });
    check.add_option("--baseline", raw.baseline);
    check.add_option("--write-baseline", options.newBaseline);
}

/// The place of the word in the list, which has it.
template <std::size_t SIZE>
int PlaceOf(const std::string& word, const char* const (&list)[SIZE]) {
    return static_cast<int>(std::ranges::find(list, word) - list);
}

/// Takes over what check was told; the first mistake, empty when there is none.
std::string CheckCheck(Options& options, const Raw& raw) {
    if (!raw.form.empty()) options.form = static_cast<CheckFormEN>(PlaceOf(raw.form, forms));
    if (options.json) options.form = CheckFormEN::json;
    constexpr int step = SeverityNotice - SeverityOkay;
    if (!raw.failOn.empty()) options.failFrom = step * PlaceOf(raw.failOn, severities);
    if (!raw.maxSeverity.empty())
        options.failFrom = step * (PlaceOf(raw.maxSeverity, severities) + 1);
    for (const std::string& number : raw.allowed) options.allowed.insert(ReportNumber(number));
    if (raw.baseline.empty()) return {};
    options.baseline = Baseline(raw.baseline);
    return options.baseline.read();
}

bool Exists(const std::string& path) {
    std::error_code unknown;
    return std::filesystem::exists(PathOf(path), unknown);
}

/// Whether two files would be written to one place, or one over an input; empty when not.
std::string CheckOutputs(const Options& options) {
    using Place = std::pair<std::optional<FileIdentity>, std::string>;  // the path of a new file
    std::map<FileIdentity, std::string> inputs;
    for (const auto& [file, below, keeps] : options.files)
        if (const auto input = InputIdentity(file)) inputs.emplace(*input, file);
    std::map<Place, std::string> sources;
    for (const InputFile& input : options.files) {
        const std::string& file = input.path;
        const std::string output = OutputFor(options, input);
        const auto written = OutputIdentity(output);
        const auto [other, isNew] = sources.try_emplace({written, written ? "" : output}, file);
        if (!isNew)
            return "convert: '" + other->second + "' and '" + file + "' would both become '" +
                   output + "'";
        const auto over = written ? inputs.find(*written) : inputs.end();
        if (over == inputs.end()) continue;
        const bool own = written == InputIdentity(file);
        if (!own || !options.force)
            return "convert: '" + output + "' is the input '" + over->second + "'" +
                   (own ? ", which --force writes over" : "");
    }
    return {};
}

/// Whether the output is to be a folder that is not there yet.
bool BecomesFolder(const Options& options) {
    const std::string& output = options.output;
    if (output == "-" || Exists(output)) return false;
    return options.walked || output.ends_with('/') ||
           (options.many() && FindWriterForFile(PlainName(output)) == nullptr);
}

/// The first mistake in a convert command, empty when there is none.
std::string CheckConvert(Options& options, const Raw& raw) {
    options.writer =
        raw.writer.empty() ? FindWriterForFile(PlainName(options.output)) : FindWriter(raw.writer);
    if (options.writer == nullptr) {
        return raw.writer.empty()
                   ? "convert: no format for '" + options.output + "': name one with --to"
                   : "--to: " + NotAmong(raw.writer, Names(Writers()));
    }
    if (std::string mistake = CheckPicture(options, raw); !mistake.empty())
        return "convert: " + mistake;
    if (options.verify && options.output == "-")
        return "convert: --verify reads a file, which standard output is not";
    if (options.verify && FindFormat(std::string_view(options.writer->name)) == nullptr)
        return std::string("convert: ") + options.writer->title +
               " cannot be read back to verify it";
    const auto unavailable = options.writer->unavailable;
    if (unavailable != nullptr && unavailable() != nullptr)
        return std::string("convert: ") + unavailable();
    options.intoFolder = IsFolder(options.output) || BecomesFolder(options);
    if (options.many() && !options.intoFolder) {
        const bool isTaken = Exists(options.output);
        return "convert: '" + options.output + "' is no folder, which many files need; " +
               (isTaken ? "another name makes one" : "'" + options.output + "/' makes one");
    }
    const bool isPacked = !options.intoFolder && PlainName(options.output) != options.output;
    if (isPacked && !IsNamedPacked(options.output))
        return "convert: '" + options.output + "' would not be compressed so, only as .gz";
    if (isPacked && WhyNotPacked() != nullptr) return std::string("convert: ") + WhyNotPacked();
    return CheckOutputs(options);
}

std::string CheckList(Options& options, const Raw& raw) {
    for (const std::string& text : raw.conditions) {
        const std::string mistake = ParseCondition(text, options.conditions.emplace_back());
        if (!mistake.empty()) return "--where: " + mistake;
    }
    const std::string mistake = options.sorting.empty() ? "" : CheckSorting(options.sorting);
    return mistake.empty() ? mistake : "--sort: " + mistake;
}

std::string CheckReading(Options& options, const Raw& raw) {
    if (raw.files.empty()) return "no files given";
    if (options.command == CommandEN::convert && options.output.empty())
        return "convert: -o says where to write";
    if (options.command == CommandEN::table && options.nodes.empty() != options.allNodes)
        return options.allNodes ? "table: all nodes, or some of them"
                                : "table: name a node, or --all; 'lumo-import nodes' lists them";
    if (std::ranges::count(raw.files, "-") > 1) return "standard input is given twice";
    const bool isCheck = options.command == CommandEN::check;
    constexpr CommandEN ofJson[] = {CommandEN::summary, CommandEN::check, CommandEN::diff,
                                    CommandEN::list};
    if (options.json && std::ranges::find(ofJson, options.command) == std::end(ofJson))
        return "--json is of the summary, check, diff and list; --diagnostics json and --to json "
               "are its likes";
    options.recursive = options.recursive || options.command == CommandEN::list;
    GatherFiles(raw.files, options);
    const bool isOfOne = options.command == CommandEN::table || options.command == CommandEN::nodes;
    if (isOfOne && options.many()) return "nodes and table take one file, and no folder";
    if (options.command == CommandEN::diff && options.files.size() != 2)
        return "diff: takes two files";
    options.import.format = FindFormat(std::string_view(raw.format));
    if (!raw.maxMemory.empty()) options.import.mostMemory = *BytesOf(raw.maxMemory);
    // Files that are read side by side share it.
    const auto jobs = std::min(static_cast<long long>(options.jobs),
                               static_cast<long long>(options.files.size()));
    options.import.mostMemory /= std::max(jobs, 1LL);
    if (!raw.condense.empty()) options.import.condense = raw.condense == "yes";
    if (!raw.layout.empty())
        options.layout = raw.layout == "auto" ? LayoutEN::automatic : LayoutEN::file;
    options.import.strict = raw.strict;
    options.import.createStateNames = raw.createStateNames;
    options.import.formatOption = "--from";
    options.import.sourceLines = true;
    options.jsonDiagnostics = raw.diagnostics == "json";
    if (raw.color != "auto")
        options.color = raw.color == "always" ? ColorEN::always : ColorEN::never;
    if (isCheck) return CheckCheck(options, raw);
    if (options.command == CommandEN::list) return CheckList(options, raw);
    return options.command == CommandEN::convert ? CheckConvert(options, raw) : std::string();
}

/// The first mistake in the command, empty when there is none.
std::string CheckCommand(Options& options, const Raw& raw) {
    switch (options.command) {
        case CommandEN::explain:
            return options.numbers.empty() ? "explain: name the number of a report" : "";
        case CommandEN::formats:
            return raw.files.empty() ? "" : "formats: takes no argument";
        default:
            return CheckReading(options, raw);
    }
}

int UsageError(const std::string& text) {
    std::cerr << "lumo-import: " << Visible(text) << "\nTry 'lumo-import --help'.\n";
    return ExitUsage;
}

/// The arguments that are neither options nor what these take.
std::vector<std::string> Operands(const std::vector<std::string>& arguments) {
    std::vector<std::string> operands;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        if (argument.size() < 2 || argument[0] != '-')
            operands.emplace_back(argument);
        else if (!ArgumentOf(argument).empty())
            ++i;
    }
    return operands;
}

/// The first operand may be a command with a slip, or one that others have, unless there is such a
/// file.
std::string MistypedCommand(const std::vector<std::string>& arguments) {
    const std::vector<std::string> operands = Operands(arguments);
    if (operands.empty()) return {};
    const std::string& word = operands.front();
    if (word.find_first_of("./-") != std::string::npos) return {};  // no letter of a command
    std::vector<std::string> commands;
    for (const CommandInfo& command : Commands())
        if (!command.name.empty()) commands.emplace_back(command.name);
    if (std::ranges::find(commands, word) != commands.end() || Exists(word)) return {};
    const std::string hint = DidYouMean(word, commands);
    if (hint.empty() && operands.size() == 1) return {};
    return "there is no command or file '" + word + "'" +
           (hint.empty() ? "; the commands: " + Listed(commands) : hint);
}

/// What is to be said of the first option that the command does not have.
std::string MistypedOption(const CLI::App& app, const std::string& otherwise) {
    std::map<std::string, std::string> commands;  // of the options, none for those of all
    const auto add = [&commands](const CLI::App& of, const std::string& command) {
        for (const CLI::Option* option : of.get_options()) {
            for (const auto& name : option->get_lnames())
                commands.try_emplace("--" + name, command);
            for (const auto& name : option->get_snames()) commands.try_emplace("-" + name, command);
        }
    };
    add(app, "");
    for (const CLI::App* command : app.get_subcommands(nullptr)) add(*command, command->get_name());
    for (const std::string& argument : app.remaining(true)) {
        const std::string name = argument.substr(0, argument.find('='));
        if (name.size() < 2 || name[0] != '-') continue;
        const auto known = commands.find(name);
        if (known != commands.end() && !known->second.empty())
            return name + " is an option of " + known->second;
        std::vector<std::string> names;
        for (const auto& [option, command] : commands)
            if (option.starts_with("--")) names.push_back(option);
        return "there is no option " + name + (name[1] == '-' ? DidYouMean(name, names) : "");
    }
    return otherwise;
}

/// What is to be said of an option that the parser refused, which names it first.
std::string MisusedOption(const CLI::ParseError& error) {
    const std::string said = error.what();
    const std::string name = said.substr(0, said.find_first_of(": "));
    const std::string_view argument = ArgumentOf(name);
    if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) return said;
    if (const std::size_t at = said.find(" excludes "); at != said.npos)
        return name + " and " + said.substr(said.rfind(' ') + 1) + " exclude each other";
    if (argument.empty()) return name + " takes no value";
    return name + (said.ends_with("missing") ? " needs a value: " : " takes one value: ") +
           std::string(argument);
}

}  // namespace

std::optional<int> ParseArguments(const std::vector<std::string>& arguments, Options& options) {
    Raw raw;
    CLI::App app("", "lumo-import");
    const auto help = [](const CLI::App* of, const std::string&, CLI::AppFormatMode) {
        return Help(of->get_parent() == nullptr ? "" : of->get_name());
    };
    app.formatter(std::make_shared<CLI::FormatterLambda>(help));
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", VersionText);
    app.fallthrough();
    app.allow_windows_style_options(false);  // a path may begin with a slash
    AddOptions(app, options, raw);
    app.add_option("FILE", raw.files);

    // Subcommands inherit help and fallthrough.
    const auto command = [&](const char* name, CommandEN which) {
        CLI::App* const made = app.add_subcommand(name);
        made->final_callback([&options, which] { options.command = which; });
        return made;
    };
    CLI::App* const check = command("check", CommandEN::check);
    check->add_option("FILE", raw.files);
    AddCheckOptions(*check, options, raw);
    CLI::App* const table = command("table", CommandEN::table);
    table->add_option("FILE", raw.file);
    table->add_option("NODE", options.nodes);
    table->add_flag("--all", options.allNodes);
    table->add_flag("--csv", options.csv);
    command("nodes", CommandEN::nodes)->add_option("FILE", raw.file);
    CLI::App* const convert = command("convert", CommandEN::convert);
    convert->add_option("FILE", raw.files);
    convert->add_option("-o,--output", options.output);
    convert->add_option("--to", raw.writer);
    convert->add_flag("--force", options.force)
        ->excludes(convert->add_flag("--no-clobber", options.noClobber));
    convert->add_flag("--verify", options.verify);
    convert->add_flag("--plain", options.reduction.plain);
    convert->add_flag("--only-nature", options.reduction.onlyNature);
    AddPictureOptions(*convert, options, raw);
    CLI::App* const diff = command("diff", CommandEN::diff);
    diff->add_option("FILE", raw.files);
    diff->add_option("-o,--output", options.output);
    diff->add_option("--tolerance", options.tolerance)->check(CLI::NonNegativeNumber);
    diff->add_flag("--html", options.html);
    CLI::App* const list = command("list", CommandEN::list);
    list->add_option("FILE", raw.files);
    list->add_flag("--csv", options.csv);
    list->add_option("--where", raw.conditions)->allow_extra_args(false)->take_all();
    list->add_option("--sort", options.sorting);
    command("explain", CommandEN::explain)->add_option("NUMBER", options.numbers);
    command("formats", CommandEN::formats);

    if (const std::string mistake = MistypedCommand(arguments); !mistake.empty())
        return UsageError(mistake);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1));  // its order
    } catch (const CLI::ExtrasError& e) {
        return UsageError(MistypedOption(app, e.what()));
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            std::ostringstream text;  // help or version
            app.exit(e, text, text);
            const std::string failure = WriteStandardOutput(text.str());
            if (failure.empty()) return ExitRead;
            std::cerr << "lumo-import: " + failure + "\n";
            return ExitWriteFailed;
        }
        return UsageError(MisusedOption(e));
    }
    if (!raw.file.empty()) raw.files.insert(raw.files.begin(), raw.file);
    const std::string mistake = CheckCommand(options, raw);
    return mistake.empty() ? std::nullopt : std::optional(UsageError(mistake));
}

std::string OutputFor(const Options& options, const InputFile& file) {
    namespace fs = std::filesystem;
    if (!options.intoFolder) return options.output;
    const fs::path name = file.path == "-"      ? "stdin"
                          : file.keepsExtension ? PathOf(file.path).filename()
                                                : PathOf(PlainName(file.path)).stem();
    fs::path path = PathOf(options.output) / PathOf(file.below) / name;
    return Utf8(path += options.writer->extension);
}

}  // namespace lumo::app
