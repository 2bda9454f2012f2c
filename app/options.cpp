#include "app/options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <map>

#include "app/convert.h"
#include "app/folders.h"
#include "app/suggest.h"
#include "library/utilities/Utils.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr const char* helpText =
    R"(Reads Bayes nets and decision networks from the files of other programs.

Examples:
  lumo-import asia.net                          what is in the file
  lumo-import check -r nets/                    problems only, of all files below
  lumo-import table asia.net dysp               one node's table
  lumo-import convert asia.net -o asia.json     the whole net as JSON
  lumo-import convert asia.net --to json -o -   the same on standard output
  lumo-import explain 4022                      what a report means, and its cure
  lumo-import convert -j 4 nets/*.xml --to json -o out/

Usage:
  lumo-import [OPTIONS] FILE...
  lumo-import check [OPTIONS] FILE...
  lumo-import table [OPTIONS] FILE NODE [--csv]
  lumo-import convert [OPTIONS] FILE... -o OUT [--to FORMAT]
  lumo-import explain NUMBER...
  lumo-import formats

A FILE named - is standard input; it may be compressed with gzip. With many files OUT is a folder.

Options:
  -r, --recursive            read the files in folders, and below them
      --json                 the summary for programs: an object a line
      --csv                  table: for spreadsheets
  -o, --output OUT           convert: the file, folder or - to write to
      --to FORMAT            convert: format or extension to write, instead of OUT's: %s
      --from FORMAT          format of the files, instead of detecting it: %s
      --condense yes|no      keep noisy-max tables as parameters, without asking
      --force                convert: write over the input, if it was read without error
      --layout auto|file     convert: where nodes are drawn, instead of the file where it says so
      --normalize            scale rows of nature nodes that do not sum to 1
      --class NAME           the class to read of a file that has several (hugin)
      --strict               read by the letter of the format, which loses more
      --create-state-names   make state names of titles that are no legal names (dsc, xmlbif)
      --diagnostics FORM     form of the diagnostics on standard error: text, json
      --color WHEN           colored diagnostics: auto, always, never
  -q, --quiet                show errors only
  -v, --verbose              show also what was done, and lists as long as they are
  -j, --jobs N               read N files at the same time
      --version              show the version
  -h, --help                 show this help

Exit codes:
  0   read                   1   read with errors; what could be read is written
  2   nothing could be read  64  wrong usage       74  output could not be written
)";

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

std::string Help() {
    return Format(helpText, Listed(Names(Writers())).c_str(), Listed(Names(Formats())).c_str());
}

/// The arguments as CLI11 fills them, where they need a second look.
struct Raw {
    std::vector<std::string> files;
    std::string file;  // of table
    std::string format, writer, condense, layout, diagnostics, color = "auto";
    bool strict = false, createStateNames = false;
};

void AddOptions(CLI::App& app, Options& options, Raw& raw) {
    const auto choice = [&](const char* name, std::string& value, std::vector<std::string> among) {
        app.add_option(name, value)->check([among = std::move(among)](const std::string& word) {
            return std::ranges::find(among, word) == among.end() ? NotAmong(word, among) : "";
        });
    };
    choice("--from", raw.format, Names(Formats()));
    choice("--condense", raw.condense, {"yes", "no"});
    choice("--layout", raw.layout, {"auto", "file"});
    choice("--diagnostics", raw.diagnostics, {"text", "json"});
    choice("--color", raw.color, {"auto", "always", "never"});
    app.add_flag("--normalize", options.reading.normalize);
    app.add_option("--class", options.className);
    app.add_flag("--strict", raw.strict);
    app.add_flag("--create-state-names", raw.createStateNames);
    app.add_flag("-r,--recursive", options.recursive);
    app.add_flag("--json", options.json);
    app.add_flag("-q,--quiet", options.quiet)
        ->excludes(app.add_flag("-v,--verbose", options.verbose));
    app.add_option("-j,--jobs", options.jobs)->check(CLI::Range(1, 256));
}

bool Exists(const std::string& path) {
    std::error_code unknown;
    return std::filesystem::exists(path, unknown);
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

/// The first mistake in a convert command, empty when there is none.
std::string CheckConvert(Options& options, const Raw& raw) {
    options.writer =
        raw.writer.empty() ? FindWriterForFile(options.output) : FindWriter(raw.writer);
    if (options.writer == nullptr) {
        return raw.writer.empty()
                   ? "convert: no format for '" + options.output + "': name one with --to"
                   : "--to: " + NotAmong(raw.writer, Names(Writers()));
    }
    if (PlainName(options.output) != options.output)
        return "convert: '" + options.output + "' would not be compressed; -o - | gzip does that";
    const auto unavailable = options.writer->unavailable;
    if (unavailable != nullptr && unavailable() != nullptr)
        return std::string("convert: ") + unavailable();
    const bool isNew = options.walked && options.output != "-" && !Exists(options.output);
    options.intoFolder = IsFolder(options.output) || isNew;
    if (options.many() && !options.intoFolder)
        return "convert: '" + options.output + "' is not a folder, which many files need";
    return CheckOutputs(options);
}

std::string Check(Options& options, const Raw& raw) {
    if (raw.files.empty()) return "no files given";
    if (std::ranges::count(raw.files, "-") > 1) return "standard input is given twice";
    if (options.json && options.command != CommandEN::summary)
        return "--json is of the summary; --diagnostics json and --to json are its likes";
    GatherFiles(raw.files, options);
    if (options.command == CommandEN::table && options.walked) return "table: takes one file";
    options.format = FindFormat(std::string_view(raw.format));
    if (!raw.condense.empty()) options.condense = raw.condense == "yes";
    if (!raw.layout.empty())
        options.layout = raw.layout == "auto" ? LayoutEN::automatic : LayoutEN::file;
    options.reading.lenient = !raw.strict;
    options.reading.className = options.className;
    options.reading.createStateNamesDsc = raw.createStateNames;
    options.reading.createStateNamesXMLBIF = raw.createStateNames;
    options.jsonDiagnostics = raw.diagnostics == "json";
    if (raw.color != "auto")
        options.color = raw.color == "always" ? ColorEN::always : ColorEN::never;
    return options.command == CommandEN::convert ? CheckConvert(options, raw) : std::string();
}

int UsageError(const std::string& text) {
    std::cerr << "lumo-import: " << Visible(text) << "\nTry 'lumo-import --help'.\n";
    return ExitUsage;
}

/// The first argument may be a command with a slip, unless there is such a file.
std::string MistypedCommand(const CLI::App& app, int argc, char** argv) {
    const std::string word = argc > 1 ? argv[1] : "";
    if (word.find_first_of("./-") != std::string::npos) return {};  // no letter of a command
    std::vector<std::string> commands;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        commands.push_back(command->get_name());
    const std::string hint = DidYouMean(word, commands);
    const bool isCommand = std::ranges::find(commands, word) != commands.end();
    if (hint.empty() || isCommand || Exists(word)) return {};
    return "there is no command or file '" + word + "'" + hint;
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

}  // namespace

std::optional<int> ParseArguments(int argc, char** argv, Options& options) {
    Raw raw;
    CLI::App app("", "lumo-import");
    const auto help = [](const CLI::App*, const std::string&, CLI::AppFormatMode) {
        return Help();
    };
    app.formatter(std::make_shared<CLI::FormatterLambda>(help));
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "lumo-import " LUMO_VERSION);
    app.fallthrough();
    AddOptions(app, options, raw);
    app.add_option("FILE", raw.files);

    // Subcommands inherit help and fallthrough.
    const auto command = [&](const char* name, CommandEN which) {
        CLI::App* const made = app.add_subcommand(name);
        made->final_callback([&options, which] { options.command = which; });
        return made;
    };
    command("check", CommandEN::check)->add_option("FILE", raw.files);
    CLI::App* const table = command("table", CommandEN::table);
    table->add_option("FILE", raw.file)->required();
    table->add_option("NODE", options.node)->required();
    table->add_flag("--csv", options.csv);
    CLI::App* const convert = command("convert", CommandEN::convert);
    convert->add_option("FILE", raw.files);
    convert->add_option("-o,--output", options.output)->required();
    convert->add_option("--to", raw.writer);
    convert->add_flag("--force", options.force);
    command("explain", CommandEN::explain)->add_option("NUMBER", options.numbers)->required();
    command("formats", CommandEN::formats);

    if (const std::string mistake = MistypedCommand(app, argc, argv); !mistake.empty())
        return UsageError(mistake);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ExtrasError& e) {
        return UsageError(MistypedOption(app, e.what()));
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(e);  // help or version
            return ExitRead;
        }
        return UsageError(e.what());
    }
    if (options.command == CommandEN::explain || options.command == CommandEN::formats)
        return std::nullopt;
    if (options.command == CommandEN::table) raw.files = {raw.file};
    const std::string mistake = Check(options, raw);
    return mistake.empty() ? std::nullopt : std::optional(UsageError(mistake));
}

std::string OutputFor(const Options& options, const InputFile& file) {
    namespace fs = std::filesystem;
    if (!options.intoFolder) return options.output;
    const fs::path plain(PlainName(file.path));
    const std::string name = file.path == "-"      ? "stdin"
                             : file.keepsExtension ? fs::path(file.path).filename().native()
                                                   : plain.stem().native();
    return (fs::path(options.output) / file.below / (name + options.writer->extension)).native();
}

}  // namespace lumo::app
