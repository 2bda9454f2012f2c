#include "app/read.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "import/ForeignFile.h"
#include "import/messages.h"

namespace lumo::app {
namespace {

/// A descriptor that closes itself, standard input excepted.
class Input {
public:
    explicit Input(const std::string& file)
        : descriptor_(file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~Input() {
        if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
    }
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Appends at most that many bytes; false on a read error.
    bool read(std::string& text, std::size_t most) const {
        constexpr std::size_t step = 64 * 1024;
        while (most > 0) {
            const std::size_t have = text.size();
            text.resize(have + std::min(step, most));
            const ssize_t got = ::read(descriptor_, text.data() + have, text.size() - have);
            text.resize(have + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
            if (got == 0) return true;
            if (got < 0 && errno != EINTR) return false;
            most -= text.size() - have;
        }
        return true;
    }

private:
    int descriptor_;
};

bool IsPipe(const std::string& file) {
    if (file == "-") return true;
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) &&
           !S_ISDIR(status.st_mode);
}

/// Shows the report of an import that did not begin.
Bnet_bn* Refused(rept_kt* report) {
    const ReportScope scope;
    ShowReport(report);
    return nullptr;
}

Bnet_bn* Unrecognised(const std::string& file) {
    return Refused(NewReport(msg::import.unknownFormat, file.c_str(), "--from"));
}

/// Finds the format when it was not given; null after an error was shown.
const FormatInfo* FormatOf(const std::string& start, const std::string& file,
                           const Options& options, ImportResult& result) {
    const FormatInfo* format =
        options.format != nullptr ? options.format : DetectFormat(start, file);
    if (format != nullptr) {
        result.format = format->name;
        result.formatCode = format->code;
    }
    return format;
}

bool HasNoisyMax(const Bnet_bn* net) {
    return net != nullptr && std::any_of(net->nodes.begin(), net->nodes.end(), [](Bnode_bn* node) {
               return node->relation.kind == RelnKindEN::noisyMax;
           });
}

Bnet_bn* ReadPipe(const std::string& file, const Options& options, Console& console,
                  ImportResult& result) {
    const std::string name = file == "-" ? "stdin" : file;
    std::string text;
    const bool complete = Input(file).read(text, std::string::npos);
    const int error = errno;
    console.begin(name, text);
    if (!complete) {
        return Refused(NewReport(msg::import.pipeFailed, name.c_str(),
                                 std::generic_category().message(error).c_str()));
    }
    const FormatInfo* format = FormatOf(text, name, options, result);
    if (format == nullptr) return Unrecognised(name);
    return ReadForeignNetText(text, name.c_str(), format->code, options.reading);
}

Bnet_bn* ReadFile(const std::string& file, const Options& options, Console& console,
                  ImportResult& result) {
    std::string start;
    const bool readable = Input(file).read(start, DetectionWindow);
    console.begin(file);
    const FormatInfo* format = FormatOf(start, file, options, result);
    if (format == nullptr && readable) return Unrecognised(file);
    // The library says why a file cannot be read before it looks at the format.
    return ReadForeignNetFile(file.c_str(), format == nullptr ? 0 : format->code, options.reading);
}

}  // namespace

ImportResult ReadOne(const std::string& file, const Options& options, Console& console) {
    ImportResult result;
    result.file = file;
    const HandlerScope handler(console);
    Bnet_bn* net = IsPipe(file) ? ReadPipe(file, options, console, result)
                                : ReadFile(file, options, console, result);
    result.net.reset(net);
    result.reports = console.takeReports();
    result.skipped = console.takeSkipped();
    result.dropFailedNet();
    if (!options.condense && !console.canAsk() && HasNoisyMax(result.net.get()))
        console.print("noisy-max tables are kept in full too; --condense yes or no says whether");
    return result;
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
