#include "app/overwrite.h"

#include <iostream>

#include "app/convert.h"
#include "app/terminal.h"
#include "export/facts.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

bool IsThere(const std::string& output) {
    return output != "-" && OutputIdentity(output).has_value();
}

bool IsPersonThere() {
    return IsTerminal(system::StandardInput) && IsTerminal(system::StandardError);
}

}  // namespace

std::string AskToWriteOver(const Options& options) {
    if (options.force || options.noClobber || !IsPersonThere()) return {};
    std::string first;
    long long count = 0;
    for (const InputFile& file : options.files) {
        const std::string output = OutputFor(options, file);
        if (IsThere(output) && count++ == 0) first = "'" + Visible(output) + "'";
    }
    if (count == 0) return {};
    std::cerr << (count == 1 ? first + " is there already. Write over it?"
                             : Count(count, "file") + " to write are there already, the first is " +
                                   first + ". Write over them?") +
                     " [y/N] "
              << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    if (answer.starts_with('y') || answer.starts_with('Y')) return {};
    return "nothing is written; --force writes over what is there";
}

std::string WhyNotWrittenOver(const std::string& output, const Options& options) {
    if (options.force || !IsThere(output)) return {};
    const std::string name = "'" + Visible(output) + "'";
    if (options.noClobber) return name + " is there already, and is not written over";
    return system::IsWritable(output.c_str()) ? "" : name + " is read-only; --force replaces it";
}

}  // namespace lumo::app
