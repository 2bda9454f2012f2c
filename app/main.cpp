// lumo-import: summarises, checks and converts the files of other Bayes-net programs.
#include <algorithm>
#include <cerrno>
#include <exception>
#include <iostream>

#include "app/batch.h"
#include "app/check.h"
#include "app/console.h"
#include "app/convert.h"
#include "app/diff.h"
#include "app/formats.h"
#include "app/list.h"
#include "app/nodes.h"
#include "app/options.h"
#include "app/overwrite.h"
#include "app/read.h"
#include "app/summary.h"
#include "app/table.h"
#include "export/explain.h"
#include "formats/detect.h"
#include "formats/shared/describe.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

/// All tables that were asked for, or none.
Failure ShowTables(const Bnet_bn& net, const Options& options) {
    std::vector<const Bnode_bn*> nodes;
    if (options.allNodes) nodes.assign(net.nodes.begin(), net.nodes.end());
    for (const std::string& name : options.nodes) {
        std::string mistake;
        nodes.push_back(FindNode(net, name, mistake));
        if (nodes.back() == nullptr) return {mistake, ExitUsage};
    }
    return {WriteTables(nodes, options)};
}

/// Writes what the command wants of the result.
Failure Write(const ImportResult& result, const InputFile& file, const Options& options,
              Console& console) {
    switch (options.command) {
        case CommandEN::convert:
            return Convert(result, file, options, console);
        case CommandEN::nodes:
            return {result.net == nullptr ? "" : WriteNodes(*result.net)};
        case CommandEN::table:
            return result.net == nullptr ? Failure() : ShowTables(*result.net, options);
        default:
            // The one line that says why is all there is to say.
            if (result.error != 0 && !options.json && !options.many()) return {};
            if (options.json) return {WriteStandardOutput(SummaryJson(result, ExitCodeOf(result)))};
            return {WriteStandardOutput(options.many() ? SummaryLine(result)
                                                       : Summary(result, options.verbose))};
    }
}

/// What check tells of the file; its exit code.
int CheckFile(ImportResult& result, const Options& options, const Console& console,
              std::string& told) {
    CheckedFile checked;
    checked.exitCode = options.walked && IsNoNet(result)
                           ? static_cast<int>(ExitNoNet)
                           : CheckExitCode(result, console.allowed(), options);
    checked.format = result.format;
    checked.status = StatusName(result.status());
    checked.allowed = console.allowed();
    checked.reports = std::move(result.reports);
    told = checked.packed();
    return checked.exitCode;
}

int WorkOnFile(const InputFile& file, const Options& options, Console& console, std::string& told) {
    try {
        ImportResult result = ReadOne(file.path, options, console);
        if (options.command == CommandEN::check) return CheckFile(result, options, console, told);
        result.layout = options.layout;
        const Failure failure = Write(result, file, options, console);
        // What the output's closed end means, many files tell together.
        const bool isQuiet = options.many() && StandardOutputError() == EPIPE;
        if (isQuiet) return ExitWriteFailed;
        if (failure.text.empty())
            return options.walked && IsNoNet(result) ? ExitNoNet : ExitCodeOf(result);
        std::cerr << "lumo-import: " + failure.text + "\n";
        return failure.exitCode;
    } catch (const std::exception& e) {
        console.finish();
        std::cerr << "lumo-import: " + Visible(file.path) + ": " + e.what() + "\n";
        if (options.json) WriteStandardOutput(BrokenSummaryJson(file.path));
        return ExitNothing;
    }
}

int ExplainAll(const std::vector<std::string>& numbers) {
    int exitCode = ExitRead;
    for (const std::string& number : numbers) {
        const int value = ReportNumber(number);
        const std::string text = value == 0 ? std::string() : Explain(value);
        if (text.empty()) {
            std::cerr << "lumo-import: there is no report " + Visible(number) + "\n";
            exitCode = ExitUsage;
        } else if (const std::string failure = WriteStandardOutput(text); !failure.empty()) {
            std::cerr << "lumo-import: " + failure + "\n";
            return ExitWriteFailed;
        }
    }
    return exitCode;
}

int ShowFormats() {
    const std::string failure = WriteStandardOutput(FormatTable());
    if (!failure.empty()) std::cerr << "lumo-import: " + failure + "\n";
    return failure.empty() ? ExitRead : ExitWriteFailed;
}

int RunMany(const Options& options) {
    const Totals totals =
        RunBatch(options, WorkOnFile, [](const InputFile&, int, const std::string&) {});
    if (totals.stopped) return totals.exitCode();
    const std::string text = totals.text() + "\n";
    if (options.command == CommandEN::summary && !options.json) {
        if (!WriteStandardOutput(text).empty()) return ExitWriteFailed;
    } else if (options.command == CommandEN::convert && !options.quiet &&
               !options.jsonDiagnostics) {
        std::cerr << text;
    }
    ShowHint(totals.worst, options);
    return totals.exitCode();
}

int RunCheck(const Options& options, Console& console) {
    Checker checker(options);
    const auto tell = [&checker](const InputFile& file, int exitCode, const std::string& told) {
        checker.add(CheckedFile::unpacked(file, exitCode, told));
    };
    if (options.many()) {
        const Totals totals = RunBatch(options, WorkOnFile, tell);
        const int exitCode = checker.end(totals.exitCode());
        ShowHint(totals.worst, options);
        return exitCode;
    }
    std::string told;
    const InputFile& file = options.files.front();
    int exitCode = WorkOnFile(file, options, console, told);
    tell(file, exitCode, told);
    exitCode = checker.end(exitCode);
    ShowHint(console.worst(), options);
    return exitCode;
}

int Run(int argc, char** argv) {
    system::PrepareProcess();
    const std::vector<std::string> arguments = system::Arguments(argc, argv);
    Options options;
    if (const std::optional<int> exitCode = ParseArguments(arguments, options)) return *exitCode;
    if (options.command == CommandEN::explain) return ExplainAll(options.numbers);
    if (options.command == CommandEN::formats) return ShowFormats();
    if (options.command == CommandEN::diff) return RunDiff(options);
    if (options.command == CommandEN::convert) {
        if (const std::string why = AskToWriteOver(options); !why.empty()) {
            std::cerr << "lumo-import: " + why + "\n";
            return ExitWriteFailed;
        }
    }
    if (options.command == CommandEN::list) return RunList(options);
    Console console(options);
    for (const auto& [path, why] : options.passedOver) {
        console.startFile(path);
        console.done(std::string("passed over, for ") + why);
        console.finish();
    }
    if (options.command == CommandEN::check) return RunCheck(options, console);
    if (options.many()) return RunMany(options);
    std::string told;
    const int exitCode = WorkOnFile(options.files.front(), options, console, told);
    ShowHint(console.worst(), options);
    return exitCode;
}

}  // namespace
}  // namespace lumo::app

int main(int argc, char** argv) {
    using namespace lumo::app;
    const int exitCode = Run(argc, argv);
    const int failure = StandardErrorError();  // which cannot be told
    return failure == 0 || failure == EPIPE ? exitCode : std::max<int>(exitCode, ExitWriteFailed);
}
