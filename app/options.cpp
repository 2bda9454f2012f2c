#include "app/options.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <iostream>
#include <map>

#include "app/convert.h"
#include "export/text.h"
#include "library/utilities/Utils.h"

namespace lumo::app {
namespace {

constexpr const char* helpText =
    R"(Reads Bayes nets and decision networks from the files of other programs.

Examples:
  lumo-import asia.net                          what is in the file
  lumo-import check *.dsc                       problems only
  lumo-import convert asia.net -o asia.json     the whole net as JSON
  lumo-import convert asia.net --to json -o -   the same on standard output
  lumo-import explain 4022                      what a report means, and its cure
  lumo-import convert -j 4 nets/*.xml --to json -o out/

Usage:
  lumo-import [OPTIONS] FILE...
  lumo-import check [OPTIONS] FILE...
  lumo-import convert [OPTIONS] FILE... -o OUT [--to FORMAT]
  lumo-import explain NUMBER...
  lumo-import formats

A FILE named - is standard input. With many files OUT is a folder.

Options:
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

std::string Help() {
    return Format(helpText, Listed(Names(Writers())).c_str(), Listed(Names(Formats())).c_str());
}

/// The arguments as CLI11 fills them, where they need a second look.
struct Raw {
    std::string format, writer, condense, layout, diagnostics, color = "auto";
    bool strict = false, createStateNames = false;
};

void AddOptions(CLI::App& app, Options& options, Raw& raw) {
    const auto choice = [&](const char* name, std::string& value, std::vector<std::string> among) {
        app.add_option(name, value)->check(CLI::IsMember(std::move(among)));
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
    app.add_flag("-q,--quiet", options.quiet);
    app.add_option("-j,--jobs", options.jobs)->check(CLI::Range(1, 256));
}

bool IsFolder(const std::string& path) {
    std::error_code unknown;
    return path != "-" && std::filesystem::is_directory(path, unknown);
}

/// Whether two files would be written to one place, or one over an input; empty when not.
std::string CheckOutputs(const Options& options) {
    using Place = std::pair<std::optional<FileIdentity>, std::string>;  // the path of a new file
    std::map<FileIdentity, std::string> inputs;
    for (const std::string& file : options.files)
        if (const auto input = InputIdentity(file)) inputs.emplace(*input, file);
    std::map<Place, std::string> sources;
    for (const std::string& file : options.files) {
        const std::string output = OutputFor(options, file);
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
                   : "--to: no format '" + raw.writer + "' among " + Listed(Names(Writers()));
    }
    const auto unavailable = options.writer->unavailable;
    if (unavailable != nullptr && unavailable() != nullptr)
        return std::string("convert: ") + unavailable();
    if (options.files.size() > 1 && !IsFolder(options.output))
        return "convert: '" + options.output + "' is not a folder, which many files need";
    return CheckOutputs(options);
}

std::string Check(Options& options, const Raw& raw) {
    if (options.files.empty()) return "no files given";
    if (std::ranges::count(options.files, "-") > 1) return "standard input is given twice";
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
    app.add_option("FILE", options.files);

    // Subcommands inherit help and fallthrough.
    CLI::App* check = app.add_subcommand("check");
    check->add_option("FILE", options.files);
    CLI::App* convert = app.add_subcommand("convert");
    convert->add_option("FILE", options.files);
    convert->add_option("-o,--output", options.output)->required();
    convert->add_option("--to", raw.writer);
    convert->add_flag("--force", options.force);
    CLI::App* explain = app.add_subcommand("explain");
    explain->add_option("NUMBER", options.files)->required();
    const CLI::App* formats = app.add_subcommand("formats");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            app.exit(e);  // help or version
            return ExitRead;
        }
        return UsageError(e.what());
    }
    if (check->parsed()) options.command = CommandEN::check;
    if (convert->parsed()) options.command = CommandEN::convert;
    if (explain->parsed()) options.command = CommandEN::explain;
    if (formats->parsed()) options.command = CommandEN::formats;
    if (explain->parsed() || formats->parsed()) return std::nullopt;
    const std::string mistake = Check(options, raw);
    return mistake.empty() ? std::nullopt : std::optional(UsageError(mistake));
}

std::string OutputFor(const Options& options, const std::string& file) {
    if (!IsFolder(options.output)) return options.output;
    const std::string name = file == "-" ? "stdin" : std::filesystem::path(file).stem().string();
    return (std::filesystem::path(options.output) / (name + options.writer->extension)).string();
}

}  // namespace lumo::app
