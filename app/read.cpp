#include "app/read.h"

#include <algorithm>

#include "formats/detect.h"
#include "formats/packing.h"
#include "formats/shared/messages.h"
#include "library/utilities/system.h"

namespace lumo::app {
namespace {

bool HasNoisyMax(const ImportResult& result) {
    return result.net != nullptr &&
           std::any_of(result.net->nodes.begin(), result.net->nodes.end(), [](Bnode_bn* node) {
               return node->relation.kind == RelnKindEN::noisyMax;
           });
}

}  // namespace

std::string ReadStart(const std::string& file) {
    std::string start(DetectionWindow, '\0');
    const system::InputFile input(file.c_str());
    const long long got = input.isOpen() ? input.read(start.data(), std::ssize(start)) : 0;
    start.resize(static_cast<std::size_t>(std::max(got, 0LL)));
    return PackingOf(start) == nullptr ? start : UnpackStart(start, DetectionWindow);
}

ImportResult ReadOne(const std::string& file, const Options& options, Console& console) {
    ImportOptions importing = options.import;
    importing.watcher = &console;
    const bool isStandard = file == "-";
    console.startFile(isStandard ? "stdin" : file);
    ImportResult result =
        Import(isStandard ? FromDescriptor(system::StandardInput, "stdin") : FromFile(file),
               importing);
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
