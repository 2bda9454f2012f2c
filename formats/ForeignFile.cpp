// The entry: loads the file, makes channel and net, runs the format's reader, decides the net's
// fate.
#include "formats/ForeignFile.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <exception>
#include <functional>
#include <new>
#include <numeric>
#include <optional>
#include <string>

#include "formats/ending.h"
#include "formats/formats.h"
#include "formats/reading.h"
#include "formats/shared/messages.h"
#include "formats/shared/placing.h"
#include "library/text/parser.h"
#include "library/utilities/bounds.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {

constexpr int wholeDrawing = 16383;  // extent while a reader runs, before it is sized to fit

/// An empty net named after the bare file name, with the path as its file name, its extension the
/// native one.
OwnedNet NewNamedNet(const char* fileName) {
    std::string path(PlainName(fileName));
    path.resize(path.size() + std::strlen(LumoFileExtension_sy) + 2);  // room for the extension
    RemoveExtension_kt(path.data());
    OwnedStr name(DupStr_kt(FileNamePtr_kt(path.data())));
    ToLegalName_kt(name.get());
    OwnedNet net(NewVBNet(name.release()));
    AddExtension_kt(path.data(), LumoFileExtension_sy);
    delete[] net->fileName;
    net->fileName = DupStr_kt(path.c_str());
    net->savedChangeMarker = net->changeMarker;
    return net;
}

/// Scales the rows of nature nodes whose sum differs from 1 by more than the rounding of numbers,
/// and says how many they were.
void NormalizeRows(Bnet_bn& net) {
    int rowsScaled = 0, nodesScaled = 0;
    for (Bnode_bn* node : net.nodes) {
        const int scaled = node->kind == NatureNode ? node->relation.scaleRows() : 0;
        rowsScaled += scaled;
        nodesScaled += scaled > 0 ? 1 : 0;
    }
    if (rowsScaled > 0) NewReport(msg::import.rowsScaled, rowsScaled, nodesScaled);
}

/// Keeps what has a probability possible in single precision too, and says of how many numbers.
void KeepPossible(Bnet_bn& net) {
    int kept = 0, nodes = 0;
    const Bnode_bn* first = nullptr;
    for (Bnode_bn* node : net.nodes) {
        const int numbers = node->relation.keepPossible();
        if (numbers > 0 && nodes++ == 0) first = node;
        kept += numbers;
    }
    if (kept > 0) NewReport(msg::import.tooSmall, kept, nodes, first->name());
}

/// The formats whose imports through the published entry take turns.
bool TakesTurns(int format) { return format >= FormatHugin && format <= FormatErgo; }

/// Shows the last report of an import that fails; a handler that throws again is not asked.
void ShowLast(rept_kt* report) {
    try {
        ShowReport(report);
    } catch (...) {
        // Nothing is left to tell it to.
    }
}

/// Copies the text and two zeros, and returns where its first zero is. A block at a time, which is
/// then at hand: the time of large texts is that of fetching them.
std::size_t CopyToZero(std::string_view text, char* to) {
    constexpr std::size_t block = 64 << 10;
    std::size_t zero = text.size();
    for (std::size_t at = 0; at < text.size(); at += block) {
        const std::string_view part = text.substr(at, block);
        if (const std::size_t found = part.find('\0'); found != part.npos)
            zero = std::min(zero, at + found);
        std::copy(part.begin(), part.end(), to + at);
    }
    std::fill_n(to + text.size(), 2, '\0');
    return zero;
}

}  // namespace

std::string FolderOf(const char* fileName) {
    const char* const separator = system::LastSeparator(fileName);
    return separator == nullptr ? "." : std::string(fileName, separator + 1);
}

OwnedNet ReadLoadedText(std::string_view text, const char* fileName, int format,
                        const ReadOptions& options, TurnsEN turns) {
    const auto channel = std::make_unique<InChannel_CString_kt>(text.data(), fileName);
    channel->end = text.data() + text.size();
    OwnedNet net = NewNamedNet(fileName);
    Vnet_kt& drawing = *net->vnets[0];
    drawing.setExtent({wholeDrawing, wholeDrawing});

    const FormatInfo* const found = FindFormat(format);
    if (found == nullptr) throw NewReport(msg::import.unknownFormatCode, format);
    rept_kt* report = nullptr;
    const MemoryBound bound(std::max(options.mostMemory - std::ssize(text), 0LL));
    {
        std::optional<CritSecHold> turn;
        if (turns == TurnsEN::published && TakesTurns(format)) turn.emplace(Mut_ReadForeignFile);
        report = found->read(*channel, *net, drawing, options);
    }
    if (report == nullptr) report = Okay_rept_kt;
    if (report->number == msg::reports.importCancelled.number) throw report;
    // The generic failure says nothing that an error before it has not said.
    if (report != Fail_rept_kt || ErrorsSoFar() == 0) ShowReport(report);
    if (options.lenient) TellEnd(text);
    if (IsError(report) && net->nodes.N == 0) return nullptr;
    if (options.normalize) NormalizeRows(*net);
    if (options.lenient) KeepPossible(*net);
    if (!options.exact)
        for (Bnode_bn* node : net->nodes) node->relation.dropExact();
    drawing.adjustDrawingSizeToFit(FitMargin(drawing));
    return net;
}

Bnet_bn* RunImport(const char* fileName, const std::function<OwnedNet()>& work) {
    const OwnPlaces places;
    ReportScope scope;
    try {
        OwnedNet net;
        {
            const userwait_kt wait("reading file %s", fileName);
            net = work();
        }
        scope.end();
        return net.release();
    } catch (rept_kt* report) {
        ShowLast(report);
    } catch (const std::bad_alloc&) {
        ShowLast(NewMemoryReport(msg::import.outOfMemoryReading, 0, fileName));
    } catch (const std::exception& e) {
        ShowLast(NewReport(msg::reports.internalError, e.what()));
    } catch (...) {
        ShowLast(NewReport(msg::reports.internalError, "an exception of unknown type"));
    }
    return nullptr;
}

Bnet_bn* ReadForeignNetFile_kt(const char* fileName, int format, bool) {
    return ReadForeignNetFile(fileName, format, {});
}

Bnet_bn* ReadForeignNetText_kt(std::string_view text, const char* fileName, int format) {
    return ReadForeignNetText(text, fileName, format, {});
}

Bnet_bn* ReadForeignNetFile(const char* fileName, int format, const ReadOptions& options) {
    if (fileName == nullptr) fileName = "";
    const auto work = [&] {
        const XArray<char> text(FileToStringThrows_kt(fileName, -1, nullptr));
        if (text == nullptr) throw NewReport(msg::import.couldNotRead, fileName);
        ReadOptions here = options;
        const std::string folder = FolderOf(fileName);
        if (here.folder.empty()) here.folder = folder;
        return ReadLoadedText(text.get(), fileName, format, here, TurnsEN::published);
    };
    return RunImport(fileName, std::cref(work));  // which takes no memory
}

Bnet_bn* ReadForeignNetText(std::string_view text, const char* fileName, int format,
                            const ReadOptions& options) {
    if (fileName == nullptr) fileName = "";
    const auto work = [&] {
        const XArray<char> copy = NewXArray<char>(std::ssize(text) + 2);  // ends 16-bit text too
        if (copy == nullptr) throw std::bad_alloc();
        const std::size_t length = CopyToZero(text, copy.get());
        if (length < text.size()) WarnZeroByte(fileName, static_cast<long long>(length));
        return ReadLoadedText({copy.get(), length}, fileName, format, options, TurnsEN::published);
    };
    return RunImport(fileName, std::cref(work));  // which takes no memory
}

}  // namespace lumo
