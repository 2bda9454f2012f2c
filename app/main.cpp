// lumo-import: summarises, checks and converts the files of other Bayes-net programs.
#include <charconv>
#include <csignal>
#include <exception>
#include <iostream>

#include "app/batch.h"
#include "app/console.h"
#include "app/convert.h"
#include "app/formats.h"
#include "app/options.h"
#include "app/read.h"
#include "app/summary.h"
#include "export/explain.h"
#include "export/text.h"
#include "import/detect.h"

namespace lumo::app {
namespace {

/// Writes what the command wants of the result; empty, or what went wrong.
std::string Write(const ImportResult& result, const Options& options, Console& console) {
    switch (options.command) {
        case CommandEN::check:
            return {};
        case CommandEN::convert:
            return Convert(result, options, console);
        default:
            return WriteStandardOutput(options.files.size() > 1 ? SummaryLine(result)
                                                                : Summary(result));
    }
}

int WorkOnFile(const std::string& file, const Options& options, Console& console) {
    try {
        ImportResult result = ReadOne(file, options, console);
        result.layout = options.layout;
        const std::string failure = Write(result, options, console);
        if (failure.empty()) return ExitCodeOf(result);
        std::cerr << "lumo-import: " + failure + "\n";
        return ExitWriteFailed;
    } catch (const std::exception& e) {
        std::cerr << "lumo-import: " + Visible(file) + ": " + e.what() + "\n";
        return ExitNothing;
    }
}

int ExplainAll(const std::vector<std::string>& numbers) {
    int exitCode = ExitRead;
    for (const std::string& number : numbers) {
        int value = 0;
        const char* const last = number.data() + number.size();
        const bool isNumber = std::from_chars(number.data(), last, value).ptr == last;
        const std::string text = isNumber ? Explain(value, FormatTitles) : std::string();
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
    // A closed pipe and a file that may not grow are failed writes like any other.
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
    Options options;
    if (const std::optional<int> exitCode = ParseArguments(argc, argv, options)) return *exitCode;
    if (options.command == CommandEN::explain) return ExplainAll(options.files);
    if (options.command == CommandEN::formats) return ShowFormats();
    if (options.files.size() > 1) return RunBatch(options, WorkOnFile);
    Console console(options);
    return WorkOnFile(options.files.front(), options, console);
}

}  // namespace
}  // namespace lumo::app

int main(int argc, char** argv) { return lumo::app::Run(argc, argv); }
