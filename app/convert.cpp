#include "app/convert.h"

#include <filesystem>
#include <ostream>
#include <system_error>

#include "app/overwrite.h"
#include "app/packer.h"
#include "formats/shared/placing.h"
#include "library/utilities/paths.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

std::string Failure(const std::string& path, int error) {
    if (error == 0) return {};
    return "cannot write '" + Visible(path) + "': " + std::generic_category().message(error);
}

constexpr const char* standardOutput = "standard output";
int standardOutputError = 0;

int WriteOut(const WriteFunction& write) {
    const int error = WriteToDescriptor(system::StandardOutput, write);
    if (standardOutputError == 0) standardOutputError = error;
    return error;
}

}  // namespace

int StandardOutputError() { return standardOutputError; }

std::optional<FileIdentity> InputIdentity(const std::string& file) {
    return file == "-" ? IdentityOf(system::StandardInput) : IdentityOf(file);
}

std::optional<FileIdentity> OutputIdentity(const std::string& output) {
    return output == "-" ? IdentityOf(system::StandardOutput) : IdentityOf(output);
}

std::string Convert(const ImportResult& result, const InputFile& file, const Options& options,
                    Console& console) {
    const Writer& writer = *options.writer;
    if (result.net == nullptr && !writer.withoutNet) return {};
    const std::string output = OutputFor(options, file);
    const std::optional<FileIdentity> written = OutputIdentity(output);
    if (written && written == InputIdentity(result.file) && result.status() >= StatusEN::errors)
        return "'" + Visible(output) + "' is not written over, as it was read with errors";
    if (writer.losses != nullptr && options.layout == LayoutEN::automatic) LayOut(*result.net);
    if (std::string why = WhyNotWrittenOver(output, options); !why.empty()) return why;
    if (options.intoFolder) {
        std::error_code seen;  // when the file cannot be written
        std::filesystem::create_directories(PathOf(output).parent_path(), seen);
    }
    const auto write = [&](std::ostream& out) { writer.write(result, out); };
    const std::string failure = WriteOutput(output, write);
    if (!failure.empty()) return failure;
    if (output != "-") console.done("written to " + Visible(output));
    if (writer.losses == nullptr || options.quiet) return {};
    for (const std::string& note : LossNotes(writer.losses(*result.net), writer.title))
        console.note(note);
    return {};
}

std::string WriteOutput(const std::string& output, const WriteFunction& write) {
    if (output == "-") return WriteStandardOutput(write);
    const bool isPacked = IsNamedPacked(output);
    if (isPacked && WhyNotPacked() != nullptr)
        return "cannot write '" + Visible(output) + "': " + WhyNotPacked();
    return Failure(output,
                   WriteToFile(output, isPacked ? Packed(write) : write, system::RemoveWhenEnded));
}

std::string WriteStandardOutput(const WriteFunction& write) {
    return Failure(standardOutput, WriteOut(write));
}

std::string WriteStandardOutput(const std::string& text) {
    return WriteStandardOutput([&text](std::ostream& out) { out << text; });
}

}  // namespace lumo::app
