#include "app/read.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "app/gzip.h"
#include "formats/ForeignFile.h"
#include "formats/othertexts.h"
#include "formats/shared/messages.h"
#include "formats/utf16.h"
#include "library/utilities/paths.h"
#include "library/utilities/system.h"

namespace lumo::app {
namespace {

/// A file, or standard input.
class Input {
public:
    explicit Input(const std::string& file) {
        if (file == "-")
            input_.emplace(system::StandardInput);
        else
            input_.emplace(file.c_str(), system::InputFile::PipeEN::wait);
    }

    /// Appends at most that many bytes; false on a read error.
    bool read(std::string& text, std::size_t most) const {
        constexpr std::size_t step = 64 * 1024;
        while (most > 0) {
            const std::size_t have = text.size();
            text.resize(have + std::min(step, most));
            const auto room = static_cast<long long>(text.size() - have);
            const long long got = input_->read(text.data() + have, room);
            text.resize(have + static_cast<std::size_t>(std::max(got, 0LL)));
            if (got <= 0) return got == 0;
            most -= text.size() - have;
        }
        return true;
    }

private:
    std::optional<system::InputFile> input_;
};

enum class InputEN : unsigned char { file, folder, pipe };

InputEN KindOf(const std::string& file) {
    if (file == "-") return InputEN::pipe;
    switch (system::StatusOf(file.c_str()).kind) {
        case system::PathKindEN::folder:
            return InputEN::folder;
        case system::PathKindEN::other:
            return InputEN::pipe;
        default:
            return InputEN::file;
    }
}

/// Shows the report of an import that did not begin.
Bnet_bn* Refused(rept_kt* report) {
    const ReportScope scope;
    ShowReport(report);
    return nullptr;
}

Bnet_bn* Unrecognised(std::string_view start, const std::string& file) {
    if (const std::string other = OtherText(start, file); !other.empty())
        return Refused(NewReport(msg::import.notANet, file.c_str(), other.c_str()));
    return Refused(NewReport(msg::import.unknownFormat, file.c_str(), "--from"));
}

/// Finds the format when it was not given; null after an error was shown.
const FormatInfo* FormatOf(std::string_view start, const std::string& file, const Options& options,
                           ImportResult& result, Console& console) {
    const FormatInfo* format = options.format;
    if (format == nullptr) format = CertainFormat(start);
    if (format == nullptr && OtherText(start, file).empty()) format = DetectFormat(start, file);
    if (format == nullptr) return nullptr;
    result.format = format->name;
    result.formatCode = format->code;
    if (options.verbose) {
        const char* const told = options.format != nullptr           ? "--from"
                                 : DetectFormat(start, "") == format ? "its content"
                                                                     : "its extension";
        console.note(std::string("read as ") + format->title + ", by " + told);
    }
    return format;
}

bool HasNoisyMax(const Bnet_bn* net) {
    return net != nullptr && std::any_of(net->nodes.begin(), net->nodes.end(), [](Bnode_bn* node) {
               return node->relation.kind == RelnKindEN::noisyMax;
           });
}

/// Puts the text of compressed bytes in their place; false when there is none, which was told.
bool UnpackHere(std::string& bytes, const std::string& name, Console& console) {
    Unpacked unpacked = Unpack(bytes);
    const ReportScope scope;
    if (unpacked.outcome == Unpacked::Outcome::refused) {
        ShowReport(NewReport(msg::import.refusedPacking, name.c_str(), unpacked.problem.c_str()));
        return false;
    }
    if (unpacked.outcome == Unpacked::Outcome::damaged)
        ShowReport(NewReport(msg::import.damagedPacking, name.c_str(), unpacked.problem.c_str()));
    if (unpacked.trailing > 0)
        NewReport(msg::import.bytesAfterPacking, name.c_str(),
                  static_cast<long long>(unpacked.trailing));
    console.note("unpacked: " + std::to_string(bytes.size()) + " bytes to " +
                 std::to_string(unpacked.text.size()));
    bytes = std::move(unpacked.text);
    return unpacked.outcome == Unpacked::Outcome::whole || !bytes.empty();
}

/// Reads a text in memory, which may be compressed.
Bnet_bn* ReadBytes(std::string bytes, const std::string& name, const Options& options,
                   Console& console, ImportResult& result) {
    console.begin(name);
    if (IsPacked(bytes) && !UnpackHere(bytes, name, console)) return nullptr;
    if (options.reading.lenient && IsUtf16(bytes)) {
        const ReportScope scope;
        bytes = FromUtf16(bytes);
        NewReport(msg::import.readAsUtf16, name.c_str());
    }
    console.setText(bytes);
    const FormatInfo* format = FormatOf(bytes, name, options, result, console);
    if (format == nullptr) return Unrecognised(bytes, name);
    return ReadForeignNetText(bytes, name.c_str(), format->code, options.reading);
}

Bnet_bn* NotRead(const std::string& name, int error) {
    return Refused(NewReport(msg::import.pipeFailed, name.c_str(),
                             std::generic_category().message(error).c_str()));
}

Bnet_bn* ReadPipe(const std::string& file, const Options& options, Console& console,
                  ImportResult& result) {
    const std::string name = file == "-" ? "stdin" : file;
    std::string bytes;
    console.begin(name);
    if (!Input(file).read(bytes, std::string::npos)) return NotRead(name, errno);
    return ReadBytes(std::move(bytes), name, options, console, result);
}

Bnet_bn* ReadFile(const std::string& file, const Options& options, Console& console,
                  ImportResult& result) {
    std::string start;
    const Input input(file);
    const bool readable = input.read(start, DetectionWindow);
    console.begin(file);
    if (IsPacked(start) || (options.reading.lenient && IsUtf16(start))) {
        if (!input.read(start, std::string::npos)) return NotRead(file, errno);
        return ReadBytes(std::move(start), file, options, console, result);
    }
    const FormatInfo* format = FormatOf(start, file, options, result, console);
    if (format == nullptr && readable) return Unrecognised(start, file);
    // The library says why a file cannot be read before it looks at the format.
    return ReadForeignNetFile(file.c_str(), format == nullptr ? 0 : format->code, options.reading);
}

/// A folder that is not walked, or in which the walk found nothing.
Bnet_bn* RefuseFolder(const std::string& folder, const Options& options, Console& console) {
    console.begin(folder);
    std::error_code failed;
    const std::filesystem::directory_iterator opened(PathOf(folder), failed);
    const std::string why = !options.recursive ? "-r reads the files in it"
                            : failed           ? failed.message()
                                               : "no file in it is of a known format";
    return Refused(NewReport(msg::import.unusableFolder, folder.c_str(), why.c_str()));
}

Bnet_bn* Read(const std::string& file, const Options& options, Console& console,
              ImportResult& result) {
    switch (KindOf(file)) {
        case InputEN::pipe:
            return ReadPipe(file, options, console, result);
        case InputEN::folder:
            return RefuseFolder(file, options, console);
        default:
            return ReadFile(file, options, console, result);
    }
}

/// Whether the file's name does not say that format.
bool IsFoundByContent(const ImportResult& result) {
    const FormatInfo* const named = FormatOfExtension(result.file);
    return named == nullptr || named->code != result.formatCode;
}

}  // namespace

std::string ReadStart(const std::string& file) {
    std::string start;
    if (!Input(file).read(start, DetectionWindow)) return {};
    return IsPacked(start) ? Unpack(start, DetectionWindow).text : start;
}

ImportResult ReadOne(const std::string& file, const Options& options, Console& console) {
    ImportResult result;
    result.file = file;
    const HandlerScope handler(console);
    result.net.reset(Read(file, options, console, result));
    if (options.format == nullptr && result.formatCode != 0 && IsFoundByContent(result) &&
        IsBare(result.net.get()))
        result.net.reset(Refused(NewReport(msg::import.nothingOfANet, file.c_str())));
    result.reports = console.takeReports();
    result.skipped = console.takeSkipped();
    result.dropFailedNet();
    if (!options.condense && !console.canAsk() && HasNoisyMax(result.net.get()))
        console.print("noisy-max tables are kept in full too; --condense yes or no says whether");
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
