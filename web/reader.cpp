// The page's side of the library: reads a file in memory, tells what is in it, and writes its net.
// One file at a time; the net of the last one stays for what is written of it.
#include <emscripten/emscripten.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

#include "export/jsonout.h"
#include "export/writers.h"
#include "formats/catalogue.h"
#include "formats/detect.h"
#include "formats/import.h"
#include "formats/shared/describe.h"

// The functions that the page's worker sets.
EM_JS(void, TellProgress, (double done, double total), { Module["progress"](done, total); })
EM_JS(void, GiveBytes, (const char* bytes, int count),
      { Module["take"](HEAPU8.slice(bytes >>> 0, (bytes >>> 0) + count)); })

namespace lumo::web {
namespace {

constexpr std::size_t MostProblems = 2000;  // that the page lists

/// Bytes on their way to the page, in pieces.
class PageBuffer : public std::streambuf {
public:
    PageBuffer() { reset(); }
    ~PageBuffer() override { sync(); }

protected:
    int sync() override {
        if (pptr() > pbase()) GiveBytes(pbase(), static_cast<int>(pptr() - pbase()));
        reset();
        return 0;
    }
    int_type overflow(int_type c) override {
        sync();
        if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
        return sputc(traits_type::to_char_type(c));
    }

private:
    static constexpr std::size_t size = 1 << 20;
    void reset() { setp(buffer_.get(), buffer_.get() + size); }
    std::unique_ptr<char[]> buffer_{new char[size]};
};

/// Tells the page how far an import is.
class PageWatcher : public ImportWatcher {
public:
    void progress(long long done, long long total) override {
        TellProgress(static_cast<double>(done), static_cast<double>(total));
    }
};

ImportResult last;
std::string answer;  // the text that the page fetches

const char* Answer(JsonOut& json) {
    answer = json.take();
    return answer.c_str();
}

void WriteProblem(JsonOut& json, const ReportRecord& report) {
    json.open('{');
    json.key("severity").text(SeverityName(report.severity));
    json.key("message").text(report.message + ContextText(report));
    json.key("number").number(report.number);
    json.key("line").number(report.line);
    json.key("column").number(report.column);
    const std::string_view line = report.sourceLine;
    json.key("before").text(line.substr(0, report.sourceCaret));
    json.key("behind").text(line.substr(report.sourceCaret));
    const std::vector<const MessageRow*> rows = FindReport(report.number);
    json.key("cure").text(rows.empty() ? "" : rows.front()->cure);
    json.close('}');
}

void WriteFormats(JsonOut& json) {
    json.key("read").open('[');
    for (const FormatInfo& format : Formats()) {
        json.open('{');
        json.key("name").text(format.name);
        json.key("title").text(format.title);
        json.key("extensions").text(format.extensions);
        json.close('}');
    }
    json.close(']');
    json.key("written").open('[');
    for (const Writer& writer : Writers()) {
        if (writer.unavailable != nullptr && writer.unavailable() != nullptr) continue;
        json.open('{');
        json.key("name").text(writer.name);
        json.key("title").text(writer.title);
        json.key("extension").text(writer.extension);
        json.key("withoutNet").boolean(writer.withoutNet);
        json.close('}');
    }
    json.close(']');
}

}  // namespace

extern "C" {

/// What is read and written, as JSON; what the page asks first.
EMSCRIPTEN_KEEPALIVE const char* LumoFormats() {
    JsonOut json;
    json.open('{');
    WriteFormats(json);
    json.close('}');
    return Answer(json);
}

EMSCRIPTEN_KEEPALIVE void* LumoRoom(int bytes) {
    return std::malloc(static_cast<std::size_t>(bytes));
}

/// Whether the start of a text, which it frees, is certainly in a format that is read.
EMSCRIPTEN_KEEPALIVE int LumoIsCertain(char* bytes, int count) {
    const bool is = CertainFormat({bytes, static_cast<std::size_t>(count)}) != nullptr;
    std::free(bytes);
    return is ? 1 : 0;
}

/// Reads the bytes, which it frees, and tells what came of it as JSON.
EMSCRIPTEN_KEEPALIVE const char* LumoRead(char* bytes, int count, const char* name,
                                          const char* format, int lenient, int normalize) {
    PageWatcher watcher;
    ImportOptions options;
    options.format = FindFormat(std::string_view(format));
    options.strict = lenient == 0;
    options.normalize = normalize != 0;
    options.sourceLines = true;
    options.formatOption = "the list above";
    options.watcher = &watcher;
    last = ImportResult();  // before there are two
    last = Import(FromBytes({bytes, static_cast<std::size_t>(count)}, name), options);
    std::free(bytes);
    JsonOut json;
    json.open('{');
    json.key("status").text(StatusName(last.status()));
    json.key("format").text(last.format);
    json.key("nodes");
    last.net == nullptr ? json.null() : json.number(static_cast<long long>(last.net->nodes.N));
    json.key("count").number(static_cast<long long>(last.reports.size()));
    json.key("problems").open('[');
    for (std::size_t i = 0; i < std::min(last.reports.size(), MostProblems); ++i)
        WriteProblem(json, last.reports[i]);
    json.close(']').close('}');
    return Answer(json);
}

/// Gives the page what was read last in that writer's format, and tells what was lost as JSON, or
/// an error.
EMSCRIPTEN_KEEPALIVE const char* LumoWrite(const char* name) {
    JsonOut json;
    json.open('{');
    const Writer* const writer = FindWriter(name);
    if (last.net == nullptr && !writer->withoutNet) {
        json.key("error").text("there is no net to write");
    } else {
        PageBuffer buffer;
        std::ostream out(&buffer);
        writer->write(last, out);
        json.key("notes").open('[');
        if (writer->losses != nullptr && last.net != nullptr)
            for (const std::string& note : LossNotes(writer->losses(*last.net), writer->title))
                json.text(note);
        json.close(']');
    }
    json.close('}');
    return Answer(json);
}

}  // extern "C"

}  // namespace lumo::web
