// lumo-import: summarises, checks and converts the files of other Bayes-net programs.
#include <exception>
#include <iostream>

#include "app/batch.h"
#include "app/console.h"
#include "app/convert.h"
#include "app/formats.h"
#include "app/nodes.h"
#include "app/options.h"
#include "app/read.h"
#include "app/summary.h"
#include "app/table.h"
#include "export/explain.h"
#include "formats/detect.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

/// What went wrong after reading; nothing when the text is empty.
struct Failure {
    std::string text;
    int exitCode = ExitWriteFailed;
};

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
        case CommandEN::check:
            return {};
        case CommandEN::convert:
            return {Convert(result, file, options, console)};
        case CommandEN::nodes:
            return {result.net == nullptr ? "" : WriteNodes(*result.net)};
        case CommandEN::table:
            return result.net == nullptr ? Failure() : ShowTables(*result.net, options);
        default:
            if (options.json) return {WriteStandardOutput(SummaryJson(result, ExitCodeOf(result)))};
            return {WriteStandardOutput(options.many() ? SummaryLine(result)
                                                       : Summary(result, options.verbose))};
    }
}

int WorkOnFile(const InputFile& file, const Options& options, Console& console) {
    try {
        ImportResult result = ReadOne(file.path, options, console);
        result.layout = options.layout;
        const Failure failure = Write(result, file, options, console);
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

int Run(int argc, char** argv) {
    system::PrepareProcess();
    const std::vector<std::string> arguments = system::Arguments(argc, argv);
    Options options;
    if (const std::optional<int> exitCode = ParseArguments(arguments, options)) return *exitCode;
    if (options.command == CommandEN::explain) return ExplainAll(options.numbers);
    if (options.command == CommandEN::formats) return ShowFormats();
    Console console(options);
    for (const auto& [path, why] : options.passedOver) {
        console.begin(path);
        console.note(std::string("passed over, for ") + why);
        console.finish();
    }
    if (options.many()) return RunBatch(options, WorkOnFile);
    const int exitCode = WorkOnFile(options.files.front(), options, console);
    ShowHint(console.worst(), options);
    return exitCode;
}

}  // namespace
}  // namespace lumo::app

int main(int argc, char** argv) { return lumo::app::Run(argc, argv); }
