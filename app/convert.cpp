#include "app/convert.h"

#include <filesystem>
#include <ostream>
#include <system_error>

#include "app/overwrite.h"
#include "app/packer.h"
#include "export/diff.h"
#include "formats/import.h"
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

/// Reads what was written, by the letter of its format but for what only lenient reading keeps, and
/// compares it. Empty when the nets are the same but for what the writer announced.
std::string Verify(const ImportResult& result, const std::string& output, const Options& options) {
    const FormatInfo* const format = FindFormat(std::string_view(options.writer->name));
    if (format == nullptr) return "'" + Visible(output) + "' cannot be read back";
    ImportOptions reading;
    reading.format = format;
    reading.condense = true;
    const ImportResult read = Import(FromFile(output), reading);
    if (read.net == nullptr || read.status() >= StatusEN::errors)
        return "'" + Visible(output) + "' was written, but cannot be read back without an error";
    const auto lossesOf = options.writer->losses;
    const Losses losses = lossesOf == nullptr ? Losses() : lossesOf(*result.net);
    const Comparison found =
        CompareNets(*result.net, *read.net, {.losses = lossesOf == nullptr ? nullptr : &losses});
    if (found.isSame()) return {};
    std::string text = "'" + Visible(output) + "' is not the net that was read:";
    for (const DiffLine& line : DiffLines({result, read, found}, options.verbose))
        text += std::string("\n") + line.sign + " " + line.text;
    return text;
}

void TellLosses(const ImportResult& result, const Options& options, Console& console) {
    const Writer& writer = *options.writer;
    if (writer.losses == nullptr || options.quiet) return;
    for (const std::string& note : LossNotes(writer.losses(*result.net), writer.title))
        console.note(note);
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
    TellLosses(result, options, console);
    return options.verify && result.net != nullptr ? Verify(result, output, options)
                                                   : std::string();
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
