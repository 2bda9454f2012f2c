// Reading: lumo.read, lumo.reads and lumo.ReadError.
#include <pybind11/stl/filesystem.h>

#include "formats/import.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

namespace fs = std::filesystem;

/// Whether this is the thread that Python's signal handlers run in.
bool IsMainThread() {
    static const py::handle mainThread =
        py::object(py::module_::import("threading").attr("main_thread")).release();
    return mainThread().attr("ident").cast<unsigned long>() == PyThread_get_thread_ident();
}

/// Ends an import when a signal handler of Python raises. Such a handler may read files itself. The
/// other threads do not wait for Python's lock meanwhile.
class SignalWatcher : public ImportWatcher {
public:
    void progress(long long, long long) override {
        if (!isMainThread_) return;
        const py::gil_scoped_acquire python;
        interrupted_ = interrupted_ || PyErr_CheckSignals() != 0;
    }
    bool cancelled() override { return interrupted_; }
    bool interrupted() const { return interrupted_; }

private:
    const bool isMainThread_ = IsMainThread();
    bool interrupted_ = false;
};

/// How to read, as Python says it.
struct Reading {
    OptionalText format;
    bool condense = false, strict = false, normalize = false;
    OptionalText className;
    bool createStateNames = false;
    std::optional<long long> mostMemory;

    ImportOptions options() const;
};

py::handle readError;  // the class lumo.ReadError

/// Its text is the worst report, then the others; its place that of the worst.
[[noreturn]] void RaiseReadError(const Net& net) {
    constexpr std::size_t mostLines = 10;
    const auto worst = std::ranges::max_element(net.reports, {}, &ReportRecord::severity);
    std::string text = worst == net.reports.end() ? "nothing was read" : ReportLine(*worst);
    std::size_t lines = 1;
    for (auto report = net.reports.begin(); report != net.reports.end(); ++report)
        if (report != worst && ++lines <= mostLines) text.append("\n").append(ReportLine(*report));
    if (lines > mostLines) text += Format("\nand %zu more", lines - mostLines);
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

ImportOptions Reading::options() const {
    ImportOptions options;
    options.format = FormatNamed(format);
    options.condense = condense;
    options.strict = strict;
    options.normalize = normalize;
    options.createStateNames = createStateNames;
    if (className) options.className = *className;
    if (mostMemory) options.mostMemory = *mostMemory;
    options.formatOption = "format=";
    return options;
}

/// What cannot be opened is the OSError that open() has for it.
SharedNet Read(const ImportSource& source, const Reading& reading) {
    ImportOptions options = reading.options();
    SignalWatcher watcher;
    options.watcher = &watcher;
    auto net = std::make_shared<Net>();
    {
        const py::gil_scoped_release release;
        if (!source.bytes) net->source = IdentityOf(source.name);
        static_cast<ImportResult&>(*net) = Import(source, options);
    }
    if (watcher.interrupted()) throw py::error_already_set();
    if (net->error != 0) RaiseOSError(net->error, source.name);
    if (net->net == nullptr) RaiseReadError(*net);
    return net;
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
        .def(py::init<OptionalText, bool, bool, bool, OptionalText, bool,
                      std::optional<long long>>(),
             "format"_a, "condense"_a, "strict"_a, "normalize"_a, "class_name"_a,
             "create_state_names"_a, "max_memory"_a);
    module.def("read", [](const fs::path& path, const Reading& reading) {
        return Read(FromFile(path.string()), reading);
    });
    module.def("reads", [](std::string_view text, const fs::path& name, const Reading& reading) {
        return Read(FromBytes(text, name.string()), reading);
    });
}

}  // namespace lumo::python
