// Reading: lumo.read, lumo.reads and lumo.ReadError.
#include <pybind11/stl/filesystem.h>

#include <fstream>

#include "formats/ForeignFile.h"
#include "formats/detect.h"
#include "formats/shared/messages.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

namespace fs = std::filesystem;

/// Keeps the reports of one import, and ends it when a signal handler of Python raises.
class Collector : public ReportHandler {
public:
    Collector(Net& result, bool condense) : result_(result), condense_(condense) {}

    void show(const rept_kt& report) override { result_.reports.emplace_back(report); }
    void print(const char* text) override {
        const std::string note = ToUtf8(text);
        result_.notes.push_back(note.substr(0, note.find_last_not_of('\n') + 1));
    }
    bool ask(int, const char*) override { return condense_; }
    void waitBegin(const char*) override {}
    void waitEnd(const char*) override {}
    void progress(long long, long long) override {
        const py::gil_scoped_acquire python;
        interrupted_ = interrupted_ || PyErr_CheckSignals() != 0;
    }
    bool cancelled() override { return interrupted_; }
    void unknownWord(const char* word, int, long long count) override {
        result_.skipped.push_back({word, count});
    }
    bool interrupted() const { return interrupted_; }

private:
    Net& result_;
    bool condense_;
    bool interrupted_ = false;
};

/// The reader asks once a process whether to condense; here each call says what it wants.
void CondenseNoisyMax(Bnet_bn& net, bool condense) {
    for (Bnode_bn* node : net.nodes) {
        const Reln_bn& relation = node->relation;
        if (relation.kind != RelnKindEN::noisyMax || condense == (relation.probs == nullptr))
            continue;
        const std::vector<double> params(relation.params, relation.params + NumCIParams(*node));
        ShowReport(node->makeIntoNoisyMax(params.data(), condense));
    }
}

std::string StartOf(const std::string& file, std::size_t most) {
    std::ifstream in(file, std::ios::binary);
    std::string start(most, '\0');
    in.read(start.data(), static_cast<std::streamsize>(most));
    start.resize(static_cast<std::size_t>(in.gcount()));
    return start;
}

/// How to read, as Python says it.
struct Reading {
    OptionalText format;
    bool condense = false, strict = false, normalize = false;
    OptionalText className;
    bool createStateNames = false;

    ReadOptions options() const {
        ReadOptions options;
        options.lenient = !strict;
        options.normalize = normalize;
        if (className) options.className = *className;
        options.createStateNamesDsc = options.createStateNamesXMLBIF = createStateNames;
        return options;
    }
};

Bnet_bn* Import(Net& result, const FormatInfo* format, const std::string_view* text,
                const ReadOptions& options) {
    const std::string start =
        text == nullptr ? StartOf(result.file, DetectionWindow) : std::string();
    if (format == nullptr) format = DetectFormat(text == nullptr ? start : *text, result.file);
    if (format != nullptr) {
        result.format = format->name;
        result.formatCode = format->code;
    } else if (text != nullptr || !start.empty()) {
        ShowReport(NewReport(msg::import.unknownFormat, result.file.c_str(), "format="));
        return nullptr;
    }
    // The library says why a file cannot be read before it looks at the format.
    return text == nullptr
               ? ReadForeignNetFile(result.file.c_str(), result.formatCode, options)
               : ReadForeignNetText(*text, result.file.c_str(), result.formatCode, options);
}

py::handle readError;  // the class lumo.ReadError

/// Its text is the worst report, then the others; its place that of the worst.
[[noreturn]] void RaiseReadError(const Net& net) {
    constexpr std::size_t mostLines = 10;
    const auto worst = std::ranges::max_element(net.reports, {}, &ReportRecord::severity);
    std::string text = worst == net.reports.end() ? "nothing was read" : ReportLine(*worst);
    std::size_t lines = 1;
    for (auto report = net.reports.begin(); report != net.reports.end(); ++report)
        if (report != worst && ++lines <= mostLines) text += "\n" + ReportLine(*report);
    if (lines > mostLines) text += "\nand " + std::to_string(lines - mostLines) + " more";
    const py::object error = readError(text);
    error.attr("reports") = Reports(net);
    error.attr("filename") = ToUtf8(net.file);
    const bool placed = worst != net.reports.end() && worst->line > 0;
    error.attr("lineno") = placed ? std::optional(worst->line) : std::nullopt;
    PyErr_SetObject(readError.ptr(), error.ptr());
    throw py::error_already_set();
}

const FormatInfo* FormatNamed(const OptionalText& name) {
    if (!name) return nullptr;
    const FormatInfo* format = FindFormat(std::string_view(*name));
    if (format == nullptr)
        throw py::value_error("unknown format '" + *name + "'; there are " + Names(Formats()));
    return format;
}

/// One read at a time in a thread: a signal handler runs while a file is read, and would wait for
/// itself.
class OnlyRead {
public:
    OnlyRead() {
        if (std::exchange(reading_, true))
            throw std::runtime_error("a signal handler cannot read while its thread reads");
    }
    ~OnlyRead() { reading_ = false; }
    OnlyRead(const OnlyRead&) = delete;
    OnlyRead& operator=(const OnlyRead&) = delete;

private:
    static thread_local bool reading_;
};
thread_local bool OnlyRead::reading_ = false;

/// Reads the text, or the file when there is none.
SharedNet Read(const std::string& name, const std::string_view* text, const Reading& reading) {
    const FormatInfo* const info = FormatNamed(reading.format);
    const OnlyRead only;
    auto net = std::make_shared<Net>();
    net->file = name;
    if (text == nullptr) net->source = IdentityOf(name);
    Collector collector(*net, reading.condense);
    {
        const py::gil_scoped_release release;
        const HandlerScope handler(collector);
        const ReportScope scope;
        net->net.reset(Import(*net, info, text, reading.options()));
        if (net->net != nullptr) CondenseNoisyMax(*net->net, reading.condense);
    }
    net->dropFailedNet();
    if (collector.interrupted()) throw py::error_already_set();
    if (net->net == nullptr) RaiseReadError(*net);
    return net;
}

/// What cannot be opened is the OSError that open() has for it.
SharedNet ReadFile(const fs::path& path, const Reading& reading) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) RaiseOSError(error ? error.value() : ENOENT, path);
    if (fs::is_directory(status)) RaiseOSError(EISDIR, path);
    std::string content;
    int failed = 0;
    {
        const py::gil_scoped_release release;
        errno = 0;
        std::ifstream in(path, std::ios::binary);
        if (!in) failed = errno;
        // A pipe can be read only once; a file is read below.
        if (in && !fs::is_regular_file(status))
            content.assign(std::istreambuf_iterator<char>(in), {});
    }
    if (failed != 0) RaiseOSError(failed, path);
    if (fs::is_regular_file(status)) return Read(path, nullptr, reading);
    const std::string_view text = content;
    return Read(path, &text, reading);
}

}  // namespace

void DefineReading(py::module_& module) {
    using py::literals::operator""_a;
    readError = PyErr_NewExceptionWithDoc("lumo.ReadError",
                                          "Nothing could be read: `reports` says why; `filename` "
                                          "and `lineno` (or None) are the place of the worst "
                                          "report.",
                                          PyExc_Exception, nullptr);
    module.attr("ReadError") = readError;
    // lumo/_read.py gives these their defaults and documentation.
    py::class_<Reading>(module, "Reading")
        .def(py::init<OptionalText, bool, bool, bool, OptionalText, bool>(), "format"_a,
             "condense"_a, "strict"_a, "normalize"_a, "class_name"_a, "create_state_names"_a);
    module.def("read", ReadFile);
    module.def("reads", [](std::string_view text, const fs::path& name, const Reading& reading) {
        return Read(name, &text, reading);
    });
}

}  // namespace lumo::python
