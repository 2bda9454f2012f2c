#include "formats/import.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <system_error>
#include <vector>

#include "formats/archive.h"
#include "formats/detect.h"
#include "formats/othertexts.h"
#include "formats/packing.h"
#include "formats/reading.h"
#include "formats/reportpage.h"
#include "formats/shared/messages.h"
#include "formats/utf16.h"
#include "library/utilities/loading.h"
#include "library/utilities/system.h"

namespace lumo {
namespace {

constexpr long long lineBefore = 100;  // bytes of the file's line in front of a report's place
constexpr long long lineAfter = 60;

bool IsContinuation(char c) { return (c & '\xC0') == '\x80'; }

/// The part of the offset's line around it, tabs made blanks and characters that the window's ends
/// cut left out; caret is the offset's place in it.
std::string LineAround(std::string_view text, long long offset, std::size_t& caret) {
    const long long from = std::clamp<long long>(offset - lineBefore, 0, std::ssize(text));
    const long long length = offset - from + lineAfter;
    std::string window(
        text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(length)));
    caret = std::min(static_cast<std::size_t>(offset - from), window.size());
    const std::size_t end = window.find_first_of("\r\n", caret);
    std::size_t start = std::string_view(window).substr(0, caret).find_last_of("\r\n") + 1;
    if (start == 0 && from > 0)
        while (start < caret && IsContinuation(window[start])) ++start;
    if (end != std::string::npos) {
        window.resize(end);
    } else if (std::ssize(window) == length) {
        while (window.size() > caret && IsContinuation(window.back())) window.pop_back();
        if (window.size() > caret && (window.back() & '\x80') != 0) window.pop_back();
    }
    window.erase(0, start);
    caret -= start;
    std::ranges::replace(window, '\t', ' ');
    return window;
}

/// Keeps what one import reports, and passes it on to the watcher.
class Collector : public ReportHandler {
public:
    Collector(ImportResult& result, const ImportOptions& options)
        : result_(result),
          sourceLines_(options.sourceLines),
          watcher_(options.watcher != nullptr ? *options.watcher : nobody_) {}

    void show(const rept_kt& report) override {
        ReportRecord& record = result_.reports.emplace_back(report);
        if (record.file.empty()) record.file = result_.file;
        if (sourceLines_ && report.line > 0 && report.offset >= 0)
            record.sourceLine = LineAround(text_, report.offset, record.sourceCaret);
        if (!watcher_.report(record)) result_.reports.pop_back();
    }
    void print(const char* text) override {
        std::string& note = result_.notes.emplace_back(text);
        note.erase(note.find_last_not_of('\n') + 1);
        watcher_.note(note);
    }
    bool ask(int, const char* question) override { return watcher_.ask(question); }
    void waitBegin(const char* text) override { watcher_.begin(text); }
    void waitEnd(const char*) override { watcher_.end(); }
    void progress(long long done, long long total) override { watcher_.progress(done, total); }
    bool cancelled() override { return watcher_.cancelled(); }
    void unknownWord(const char* word, int, long long count) override {
        result_.skipped.push_back({word, count});
    }

    /// The text that the places of reports are in, from now on.
    void setText(std::string_view text) { text_ = text; }
    /// What was done.
    void tell(const std::string& what) {
        CallHandler([&](ReportHandler&) { watcher_.done(what); });
    }

private:
    ImportWatcher nobody_;
    ImportResult& result_;
    const bool sourceLines_;
    ImportWatcher& watcher_;
    std::string_view text_;
};

std::string SizeText(long long bytes) {
    constexpr long long mega = 1 << 20;
    return bytes >= mega ? std::to_string(bytes / mega) + " MB"
                         : std::to_string(bytes / 1024) + " KB";
}

/// Leaves noisy-max nodes their parameters alone, where the reader made the full table too.
void CondenseNoisyMax(Bnet_bn& net) {
    for (Bnode_bn* node : net.nodes) {
        const Reln_bn& relation = node->relation;
        if (relation.kind != RelnKindEN::noisyMax || relation.probs == nullptr) continue;
        ShowReport(node->makeIntoNoisyMax(relation.params, relation.order, true));
    }
}

// ---- What cannot be opened -----------------------------------------------------------------

/// What a path that leads to nothing may be.
std::string WhyNothing(const std::string& path, int error) {
    const auto starts = [&path](const char* scheme) { return path.starts_with(scheme); };
    if (starts("http://") || starts("https://") || starts("ftp://"))
        return "it is an address of the web; download the file and read that";
    const std::string why = std::generic_category().message(error);
    if (error == ENOENT && path.find_first_of("*?[") != std::string::npos)
        return why + "; no name matches the pattern";
    return why;
}

[[noreturn]] void ThrowNotOpened(ImportResult& result, int error) {
    result.error = error;
    throw NewReport(msg::import.notOpened, WhyNothing(result.file, error).c_str());
}

/// Gives the bytes, which outlive it, and removes them.
ByteSource SourceOf(std::string_view& bytes) {
    return [&bytes](char* out, std::size_t most) {
        const std::size_t count = bytes.copy(out, most);
        bytes.remove_prefix(count);
        return count;
    };
}

// ---- The steps of one import ---------------------------------------------------------------

class OneImport {
public:
    OneImport(const ImportSource& source, const ImportOptions& options, ImportResult& result,
              Collector& collector)
        : source_(source),
          options_(options),
          result_(result),
          collector_(collector),
          asked_(options.format),
          name_(result.file.c_str()) {}

    OwnedNet run() {
        if (source_.bytes) return fromBytes(*source_.bytes);
        if (source_.descriptor >= 0)
            return fromInput(system::InputFile(source_.descriptor), system::PathKindEN::other);
        return fromPath();
    }

private:
    OwnedNet fromBytes(std::string_view bytes);
    OwnedNet fromPath();
    OwnedNet fromArchive(const ArchivePath& path);
    OwnedNet fromUnpacked(GrowingText& text, const Unpacking& unpacking);
    OwnedNet fromInput(const system::InputFile& input, system::PathKindEN kind);
    OwnedNet unpack(const Packing& packing, const ByteSource& source);
    OwnedNet fromText(GrowingText& text);
    bool holdsOther(std::string_view start) const;
    void takeOther(GrowingText& text);
    void findFormat(std::string_view start);
    OwnedNet read(GrowingText& text);
    ReadOptions reading() const;

    const ImportSource& source_;
    const ImportOptions& options_;
    ImportResult& result_;
    Collector& collector_;
    const FormatInfo* asked_;  // for
    const char* name_;
    const FormatInfo* format_ = nullptr;
    bool foundByContent_ = false;  // and the name does not say the same
    std::string folder_;
    XArray<char> whole_;  // the text, as long as reports may be shown
};

OwnedNet OneImport::fromPath() {
    const system::PathKindEN kind = system::StatusOf(name_).kind;
    if (kind == system::PathKindEN::folder) {
        result_.error = EISDIR;
        const std::string why = std::generic_category().message(EISDIR);
        throw NewReport(msg::import.unusableFolder, (why + "; -r reads the files in it").c_str());
    }
    using system::InputFile;
    const bool isPipe = kind == system::PathKindEN::other;
    const InputFile input(name_, isPipe ? InputFile::PipeEN::wait : InputFile::PipeEN::open);
    if (!input.isOpen()) {
        const int error = errno;
        if (const std::optional<ArchivePath> path = InArchive(name_)) return fromArchive(*path);
        ThrowNotOpened(result_, error);
    }
    if (Archive::isOne(name_, input)) {
        result_.error = EISDIR;
        throw NewReport(msg::import.unusableFolder,
                        "it is a zip archive; -r reads the files in it");
    }
    folder_ = FolderOf(name_);
    return fromInput(input, kind);
}

OwnedNet OneImport::fromArchive(const ArchivePath& path) {
    const ArchiveEntry* const entry = path.archive->find(path.name);
    if (entry == nullptr) ThrowNotOpened(result_, ENOENT);
    GrowingText text(name_, 0, options_.mostMemory);
    const Unpacking unpacking = path.archive->read(*entry, text);
    if (const Packing* const packing = PackingOf(text.text())) {
        std::string_view bytes = text.text();
        return unpack(*packing, SourceOf(bytes));
    }
    return fromUnpacked(text, unpacking);
}

OwnedNet OneImport::fromInput(const system::InputFile& input, system::PathKindEN kind) {
    constexpr auto window = static_cast<long long>(DetectionWindow);
    const long long size = kind == system::PathKindEN::file ? input.size() : 0;
    GrowingText text(name_, std::min(size, options_.mostMemory), options_.mostMemory);
    if (!ReadUpTo(input, text, window)) ThrowNotOpened(result_, errno);
    if (const Packing* const packing = PackingOf(text.text())) {
        std::string_view start = text.text();
        bool failed = false;
        const ByteSource packed = [&](char* out, std::size_t most) -> std::size_t {
            if (!start.empty()) {
                const std::size_t count = start.copy(out, most);
                start.remove_prefix(count);
                return count;
            }
            const long long got = input.read(out, static_cast<long long>(most));
            if (got < 0) failed = true, result_.error = errno;
            return static_cast<std::size_t>(std::max(got, 0LL));
        };
        OwnedNet net = unpack(*packing, packed);
        if (failed) ThrowNotOpened(result_, result_.error);
        return net;
    }
    // What is no net is not read to its end.
    if (!holdsOther(text.text())) findFormat(text.text());
    if (!ReadUpTo(input, text)) ThrowNotOpened(result_, errno);
    if (std::ssize(text.text()) == options_.mostMemory) {
        char more = 0;
        if (input.read(&more, 1) > 0)
            throw NewReport(msg::import.tooMuchMemory, name_,
                            SizeText(options_.mostMemory).c_str());
    }
    return fromText(text);
}

OwnedNet OneImport::fromBytes(std::string_view bytes) {
    if (const Packing* const packing = PackingOf(bytes)) {
        return unpack(*packing, SourceOf(bytes));
    }
    GrowingText text(name_, std::ssize(bytes));
    text.append(bytes);
    return fromText(text);
}

/// Reads the text of compressed bytes.
OwnedNet OneImport::unpack(const Packing& packing, const ByteSource& source) {
    GrowingText text(name_, 0, options_.mostMemory);
    return fromUnpacked(text, Unpack(packing, source, text));
}

OwnedNet OneImport::fromUnpacked(GrowingText& text, const Unpacking& unpacking) {
    using enum Unpacking::Outcome;
    if (unpacking.outcome == refused)
        throw NewReport(msg::import.refusedPacking, name_, unpacking.problem.c_str());
    if (unpacking.outcome == damaged) {
        rept_kt* const report =
            NewReport(msg::import.damagedPacking, name_, unpacking.problem.c_str());
        if (text.text().empty()) throw report;
        ShowReport(report);
    }
    if (unpacking.trailing > 0) NewReport(msg::import.bytesAfterPacking, name_, unpacking.trailing);
    collector_.tell("unpacked: " + std::to_string(unpacking.packed) + " bytes to " +
                    std::to_string(text.text().size()));
    return fromText(text);
}

/// Whether what is read leniently is not the text itself but another that it holds.
bool OneImport::holdsOther(std::string_view start) const {
    return !options_.strict && (IsUtf16(start) || IsReportPage(start));
}

/// Such a text's other one takes its place.
void OneImport::takeOther(GrowingText& text) {
    const bool isUtf16 = IsUtf16(text.text());
    const std::string_view net = isUtf16 ? "" : NetOfReportPage(text.text()).value_or("");
    if (!isUtf16 && net.empty()) return;
    const std::string other = isUtf16 ? FromUtf16(text.text()) : std::string(net);
    text = GrowingText(name_, std::ssize(other));
    text.append(other);
    if (!isUtf16) asked_ = nullptr;  // the format is that of all pages
    NewReport(isUtf16 ? msg::import.readAsUtf16 : msg::import.readFromReport, name_);
}

OwnedNet OneImport::fromText(GrowingText& text) {
    if (holdsOther(text.text())) takeOther(text);
    if (format_ == nullptr) findFormat(text.text().substr(0, DetectionWindow));
    return read(text);
}

/// Sets the format; throws when there is none.
void OneImport::findFormat(std::string_view start) {
    const FormatInfo* format = asked_;
    if (format == nullptr) format = CertainFormat(start);
    const bool isCertain = format != nullptr;
    const std::string other = isCertain ? std::string() : OtherText(start, name_);
    if (!isCertain && other.empty()) format = DetectFormat(start, name_);
    if (format == nullptr && !other.empty())
        throw NewReport(msg::import.notANet, name_, other.c_str());
    if (format == nullptr) throw NewReport(msg::import.unknownFormat, name_, options_.formatOption);
    format_ = format;
    result_.format = format->name;
    result_.formatCode = format->code;
    foundByContent_ = asked_ == nullptr && FormatOfExtension(name_) != format;
    const bool byContent = isCertain || DetectFormat(start, "") == format;
    collector_.tell(std::string("read as ") + format->title + ", by " +
                    (asked_ != nullptr ? options_.formatOption
                     : byContent       ? "its content"
                                       : "its extension"));
}

OwnedNet OneImport::read(GrowingText& text) {
    const long long length = std::ssize(text.text());
    whole_ = text.finish();
    const std::string_view all(whole_.get(), static_cast<std::size_t>(length));
    collector_.setText(all);
    const std::size_t zero = all.find('\0');
    if (zero != std::string_view::npos && !Is16Bit_kt(whole_.get()))
        WarnZeroByte(name_, static_cast<long long>(zero));
    OwnedNet net =
        ReadLoadedText(all.substr(0, zero), name_, format_->code, reading(), TurnsEN::free);
    if (net != nullptr && options_.condense == true) CondenseNoisyMax(*net);
    if (foundByContent_ && IsBare(net.get())) throw NewReport(msg::import.nothingOfANet, name_);
    return net;
}

ReadOptions OneImport::reading() const {
    ReadOptions reading;
    reading.lenient = !options_.strict;
    reading.normalize = options_.normalize;
    reading.exact = options_.exact;
    reading.createStateNamesDsc = reading.createStateNamesXMLBIF = options_.createStateNames;
    reading.condense = options_.condense;
    if (!reading.condense && options_.watcher == nullptr) reading.condense = false;
    reading.className = options_.className;
    reading.folder = folder_;
    reading.mostMemory = options_.mostMemory;
    return reading;
}

}  // namespace

std::string ReadStart(const std::string& path) {
    constexpr auto window = static_cast<long long>(DetectionWindow);
    GrowingText text(path.c_str(), window, window);
    const system::InputFile input(path.c_str());
    if (input.isOpen()) {
        ReadUpTo(input, text, window);
    } else if (const std::optional<ArchivePath> inside = InArchive(path)) {
        const ArchiveEntry* const entry = inside->archive->find(inside->name);
        if (entry != nullptr) inside->archive->read(*entry, text, window);
    }
    return PackingOf(text.text()) == nullptr ? std::string(text.text())
                                             : UnpackStart(text.text(), DetectionWindow);
}

ImportResult Import(const ImportSource& source, const ImportOptions& options) {
    ImportResult result;
    result.file = source.name;
    Collector collector(result, options);
    const HandlerScope handler(collector);
    OneImport import(source, options, result, collector);
    result.net.reset(RunImport(source.name.c_str(), [&import] { return import.run(); }));
    result.dropFailedNet();
    return result;
}

}  // namespace lumo
