#include "app/read.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "app/folders.h"
#include "formats/detect.h"
#include "formats/shared/messages.h"
#include "library/utilities/paths.h"
#include "library/utilities/system.h"

namespace lumo::app {
namespace {

bool HasNoisyMax(const ImportResult& result) {
    return result.net != nullptr &&
           std::any_of(result.net->nodes.begin(), result.net->nodes.end(),
                       [](Bnode_bn* node) { return node->relation.kind == RelnKindEN::noisyMax; });
}

/// A folder in which the walk found nothing.
ImportResult RefuseFolder(const std::string& folder, Console& console) {
    std::error_code failed;
    const std::filesystem::directory_iterator opened(PathOf(folder), failed);
    ReportRecord report;
    report.number = msg::import.unusableFolder.number;
    report.severity = SeverityError;
    report.file = folder;
    report.message = failed ? failed.message() : "no file in it is of a known format";
    console.startFile(folder);
    console.report(report);
    console.finish();
    ImportResult result;
    result.file = folder;
    result.error = EISDIR;
    result.reports.push_back(std::move(report));
    return result;
}

}  // namespace

ImportResult ReadOne(const std::string& file, const Options& options, Console& console) {
    if (options.recursive && IsFolder(file)) return RefuseFolder(file, console);
    ImportOptions importing = options.import;
    importing.watcher = &console;
    const bool isStandard = file == "-";
    console.startFile(isStandard ? "stdin" : file);
    ImportResult result = Import(
        isStandard ? FromDescriptor(system::StandardInput, "stdin") : FromFile(file), importing);
    result.file = file;
    if (!options.import.condense && !console.canAsk() && HasNoisyMax(result))
        console.note("noisy-max tables are kept in full too; --condense yes or no says whether");
    console.finish();
    return result;
}

bool IsNoNet(const ImportResult& result) {
    return std::ranges::any_of(result.reports, [](const ReportRecord& report) {
        return report.number == msg::import.notANet.number;
    });
}

int ExitCodeOf(const ImportResult& result) {
    switch (result.status()) {
        case StatusEN::failed:
            return ExitNothing;
        case StatusEN::errors:
            return ExitErrors;
        default:
            return ExitRead;
    }
}

}  // namespace lumo::app
