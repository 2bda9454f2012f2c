#include "app/diff.h"

#include <iostream>
#include <ostream>

#include "app/console.h"
#include "app/convert.h"
#include "app/read.h"
#include "app/terminal.h"
#include "export/diff.h"
#include "formats/detect.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

enum DiffExitEN : int { ExitSame = 0, ExitDifferent = 1, ExitTrouble = 2 };

const char* ColorOf(char sign) {
    switch (sign) {
        case '-':
            return "\x1b[31m";
        case '+':
            return "\x1b[32m";
        case '@':
            return "\x1b[36m";
        default:
            return "";
    }
}

std::string Head(const ImportResult& result) {
    return Visible(result.file) + " (" + FindFormat(result.formatCode)->title + ")";
}

/// As a diff of texts: what is of the first net after a minus, what is of the second after a plus.
void WriteText(const NetDiff& diff, const Options& options, std::ostream& out) {
    const bool colors =
        options.output.empty() && WantsColors(options.color, system::StandardOutput);
    const auto line = [&](char sign, const std::string& text) {
        const std::string_view color = colors ? ColorOf(sign) : "";
        out << color << text << (color.empty() ? "" : endOfColor) << '\n';
    };
    if (!diff.found.isSame()) {
        line('-', "--- " + Head(diff.before));
        line('+', "+++ " + Head(diff.after));
    }
    for (const DiffLine& each : DiffLines(diff, options.verbose)) {
        if (each.sign == '@')
            line('@', "@@ " + each.text + " @@");
        else
            line(each.sign, each.sign + std::string(" ") + each.text);
    }
    if (!options.quiet) out << DiffSummary(diff) << '\n';
}

std::string Write(const NetDiff& diff, const Options& options) {
    const auto write = [&](std::ostream& out) {
        if (options.json)
            WriteDiffJson(diff, out);
        else if (options.html)
            WriteDiffPage(diff, out);
        else
            WriteText(diff, options, out);
    };
    return WriteOutput(options.output.empty() ? "-" : options.output, write);
}

}  // namespace

int RunDiff(const Options& options) {
    Console console(options);
    const ImportResult before = ReadOne(options.files[0].path, options, console);
    const ImportResult after = ReadOne(options.files[1].path, options, console);
    ShowHint(console.worst(), options);
    if (before.net == nullptr || after.net == nullptr) return ExitTrouble;
    const Comparison found = CompareNets(*before.net, *after.net, {.tolerance = options.tolerance});
    const std::string failure = Write({before, after, found}, options);
    if (!failure.empty()) {
        std::cerr << "lumo-import: " + failure + "\n";
        return ExitTrouble;
    }
    return found.isSame() ? ExitSame : ExitDifferent;
}

}  // namespace lumo::app
