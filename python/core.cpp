// The compiled part of the Python package lumo: reading, and the net as Python sees it.
//
// A net is shared by the Python objects made from it: nodes and arrays keep it alive, and nothing
// changes it. The interpreter's lock is released while a file is read or written.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unordered_map>

#include "export/describe.h"
#include "export/json.h"
#include "export/text.h"
#include "export/writers.h"
#include "import/ForeignFile.h"
#include "import/detect.h"

namespace lumo {
namespace {

namespace py = pybind11;
namespace fs = std::filesystem;
using OptionalText = std::optional<std::string>;

OptionalText TextOrNone(const char* text) {
    return text == nullptr ? OptionalText() : ToUtf8(text);
}
OptionalText TextOrNone(const std::string& text) {
    return text.empty() ? OptionalText() : ToUtf8(text);
}

// ---- Reading -------------------------------------------------------------------------------

struct Net : ImportResult {
    std::vector<std::string> notes;  ///< what the readers print, such as renamed nodes

    /// The children of each node that has some; made when first wanted.
    const std::vector<const Bnode_bn*>& childrenOf(const Bnode_bn* node) {
        if (!haveChildren_) {
            for (const Bnode_bn* child : net->nodes)
                for (const Bnode_bn* parent : child->parents) children_[parent].push_back(child);
            haveChildren_ = true;
        }
        static const std::vector<const Bnode_bn*> none;
        const auto found = children_.find(node);
        return found == children_.end() ? none : found->second;
    }

private:
    bool haveChildren_ = false;
    std::unordered_map<const Bnode_bn*, std::vector<const Bnode_bn*>> children_;
};
using SharedNet = std::shared_ptr<Net>;

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
        ShowReport(
            newerr_kt(num::unknownFormatCode,
                      "cannot tell the format of '%s'; name it with format=", result.file.c_str()));
        return nullptr;
    }
    // The library says why a file cannot be read before it looks at the format.
    return text == nullptr
               ? ReadForeignNetFile(result.file.c_str(), result.formatCode, options)
               : ReadForeignNetText(*text, result.file.c_str(), result.formatCode, options);
}

py::tuple Reports(const Net& result) {
    py::tuple reports(result.reports.size());
    for (std::size_t i = 0; i < reports.size(); ++i) reports[i] = py::cast(result.reports[i]);
    return reports;
}

/// "file:line:column: error: message [number]".
std::string ReportLine(const ReportRecord& report) {
    std::string text = report.file.empty() ? "" : report.file + ":";
    if (report.line > 0)
        text += std::to_string(report.line) + ":" + std::to_string(report.column) + ":";
    if (!text.empty()) text += ' ';
    text += std::string(SeverityName(report.severity)) + ": " + report.message;
    return ToUtf8(text) + " [" + std::to_string(report.number) + "]";
}

py::handle readError;  // the class lumo.ReadError

[[noreturn]] void RaiseReadError(const Net& net) {
    const ReportRecord* worst = nullptr;
    for (const ReportRecord& report : net.reports)
        if (worst == nullptr || report.severity > worst->severity) worst = &report;
    const py::object error = readError(worst == nullptr ? "nothing was read" : ReportLine(*worst));
    error.attr("reports") = Reports(net);
    PyErr_SetObject(readError.ptr(), error.ptr());
    throw py::error_already_set();
}

template <class LIST>
std::string Names(const LIST& list) {
    std::string names;
    for (const auto& item : list) names += (names.empty() ? "" : ", ") + std::string(item.name);
    return names;
}

const FormatInfo* FormatNamed(const OptionalText& name) {
    if (!name) return nullptr;
    const FormatInfo* format = FindFormat(std::string_view(*name));
    if (format == nullptr)
        throw py::value_error("unknown format '" + *name + "'; there are " + Names(Formats()));
    return format;
}

/// Reads the text, or the file when there is none.
SharedNet Read(const std::string& name, const std::string_view* text, const Reading& reading) {
    const FormatInfo* const info = FormatNamed(reading.format);
    auto net = std::make_shared<Net>();
    net->file = name;
    Collector collector(*net, reading.condense);
    {
        const py::gil_scoped_release release;
        const HandlerScope handler(collector);
        const ReportScope scope;
        net->net.reset(Import(*net, info, text, reading.options()));
        if (net->net != nullptr) CondenseNoisyMax(*net->net, reading.condense);
    }
    if (collector.interrupted()) throw py::error_already_set();
    if (net->net == nullptr) RaiseReadError(*net);
    return net;
}

SharedNet ReadFile(const fs::path& path, const Reading& reading) {
    std::error_code unknown;
    const fs::file_status status = fs::status(path, unknown);
    if (!fs::exists(status) || fs::is_regular_file(status) || fs::is_directory(status))
        return Read(path, nullptr, reading);
    std::string content;  // a pipe can be read only once
    {
        const py::gil_scoped_release release;
        std::ifstream in(path, std::ios::binary);
        content.assign(std::istreambuf_iterator<char>(in), {});
    }
    const std::string_view text = content;
    return Read(path, &text, reading);
}

// ---- Nodes ---------------------------------------------------------------------------------

struct Node {
    SharedNet net;
    const Bnode_bn* node;

    bool operator==(const Node&) const = default;
    const Bnode_bn* operator->() const { return node; }
};

template <class LIST>
py::tuple NodeTuple(const SharedNet& net, const LIST& list) {
    std::vector<Node> nodes;
    nodes.reserve(static_cast<std::size_t>(std::distance(list.begin(), list.end())));
    for (const Bnode_bn* node : list) nodes.push_back({net, node});
    return py::tuple(py::cast(nodes));
}

struct State {
    OptionalText name, title, comment;
    std::optional<double> value;
    std::string label;
};

bool HasValues(const Varbl_bn& variable) {
    return variable.levels != nullptr && variable.numLevels == variable.numStates;
}

py::tuple States(const Node& node) {
    const Varbl_bn& variable = node->variable;
    const auto entry = [](char** texts, int i) {
        return texts == nullptr ? OptionalText() : TextOrNone(texts[i]);
    };
    std::vector<State> states;
    for (int i = 0; i < variable.numStates; ++i) {
        states.push_back({entry(variable.stateNames, i), entry(variable.stateTitles, i),
                          entry(variable.stateComments, i), std::nullopt,
                          ToUtf8(StateLabel(variable, i))});
        if (HasValues(variable)) states.back().value = variable.levels[i];
    }
    return py::tuple(py::cast(states));
}

/// A read-only array of the net's own memory, which keeps the net alive; None without values.
template <class T>
py::object View(const Node& node, const T* values, const std::vector<py::ssize_t>& shape) {
    if (values == nullptr) return py::none();
    py::array_t<T> array(shape, values, py::cast(node.net));
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

/// One dimension a parent, then `last` unless that is 0; more dimensions than NumPy has: all
/// parents in one.
std::vector<py::ssize_t> Shape(const Node& node, int last) {
    constexpr int mostDimensions = 32;
    std::vector<py::ssize_t> shape;
    if (node->parents.N < mostDimensions)
        for (const Bnode_bn* parent : node->parents) shape.push_back(parent->numStates());
    else
        shape.push_back(NumProduct(node->parents));
    if (last > 0) shape.push_back(last);
    return shape;
}

py::object Table(const Node& node) {
    const Reln_bn& relation = node->relation;
    const float* values = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    return View(node, values, Shape(node, node->numStates()));
}

py::object Levels(const Node& node) {
    const Varbl_bn& variable = node->variable;
    return View(node, HasValues(variable) ? nullptr : variable.levels, {variable.numLevels});
}

py::dict UserFields(const Node& node) {
    py::dict fields;
    for (const UserField& field : node->userFields())
        fields[py::str(ToUtf8(field.name))] = ToUtf8(FieldText(field));
    return fields;
}

std::vector<std::string> GroupNames(const Node& node) {
    std::vector<std::string> names;
    for (const nodeset_bn* set : node->nodesets()) names.push_back(ToUtf8(set->name()));
    return names;
}

std::pair<int, int> Position(const Node& node) {
    const coord_kt at = node->vns.hasSome() ? node->vns[0]->position : coord_kt();
    return {at.x, at.y};
}

// ---- Nets ----------------------------------------------------------------------------------

/// The nodes of a net as a sequence.
struct Nodes {
    SharedNet net;

    const BndList_bn& list() const { return net->net->nodes; }
    Node at(long long i) const {
        if (i < 0) i += list().N;
        if (i < 0 || i >= list().N) throw py::index_error("the net has no such node");
        return {net, list()[static_cast<int>(i)]};
    }
    py::tuple slice(const py::slice& which) const {
        py::ssize_t start = 0, stop = 0, step = 0, count = 0;
        if (!which.compute(list().N, &start, &stop, &step, &count)) throw py::error_already_set();
        std::vector<const Bnode_bn*> chosen;
        for (; count > 0; --count, start += step) chosen.push_back(list()[static_cast<int>(start)]);
        return NodeTuple(net, chosen);
    }
};

Node NodeNamed(const SharedNet& net, const std::string& name) {
    const Bnode_bn* node = net->net->findNodeLabeled(name.c_str());
    if (node == nullptr) throw py::key_error(name);
    return {net, node};
}

struct Group {
    std::string name, color;
    py::tuple nodes;
};

py::tuple Groups(const SharedNet& net) {
    const std::vector<RGB> colors = NodesetColors(*net->net);
    std::vector<Group> groups;
    for (const OwnedNodeset& set : net->net->nodesets())
        groups.push_back(
            {ToUtf8(set->name()), ColorText(colors[groups.size()]), NodeTuple(net, set->nodes())});
    return py::tuple(py::cast(groups));
}

/// As in the JSON.
py::dict Drawing(const Net& net) {
    using py::literals::operator""_a;
    const Vnet_kt& drawing = *net.net->vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    const auto has = [&](int flag) { return (font.styleFlags & flag) != 0; };
    return py::dict(
        "extent"_a = std::vector{drawing.extentWidth, drawing.extentHeight},
        "drawStyle"_a = drawing.drawStyle, "labelStyle"_a = drawing.labelStyle,
        "zoom"_a = drawing.zoomFactor,
        "font"_a =
            py::dict("face"_a = ToUtf8(font.face), "size"_a = font.size,
                     "bold"_a = has(fontspec_kt::Bold), "italic"_a = has(fontspec_kt::Italic)),
        "grid"_a = py::dict("x"_a = drawing.grid.x, "y"_a = drawing.grid.y,
                            "show"_a = drawing.showGrid, "snap"_a = drawing.snapToGrid));
}

py::object ToJson(const Net& net) {
    std::ostringstream out;
    {
        const py::gil_scoped_release release;
        WriteJson(net, out);
    }
    return py::module_::import("json").attr("loads")(out.str());
}

py::object ToNetworkx(const SharedNet& net) {
    py::module_ networkx;
    try {
        networkx = py::module_::import("networkx");
    } catch (py::error_already_set& error) {
        py::raise_from(error, PyExc_ImportError, "to_networkx() needs the package networkx");
        throw py::error_already_set();
    }
    py::object graph = networkx.attr("DiGraph")(py::arg("name") = ToUtf8(net->net->name),
                                                py::arg("title") = TextOrNone(net->net->title));
    for (const Bnode_bn* bnode : net->net->nodes) {
        const Node node{net, bnode};
        py::list states;
        for (const py::handle state : States(node)) states.append(py::str(state));
        graph.attr("add_node")(
            bnode->name(), py::arg("title") = TextOrNone(bnode->title),
            py::arg("kind") = KindName(bnode->kind), py::arg("discrete") = bnode->variable.discrete,
            py::arg("states") = states, py::arg("pos") = Position(node),
            py::arg("groups") = GroupNames(node), py::arg("user_fields") = UserFields(node),
            py::arg("relation") = RelationName(bnode->relation.kind));
    }
    for (const Bnode_bn* child : net->net->nodes) {
        int place = 0;
        for (const Bnode_bn* parent : child->parents)
            graph.attr("add_edge")(parent->name(), child->name(), py::arg("place") = place++);
    }
    return graph;
}

[[noreturn]] void RaiseOSError(int error, const fs::path& path) {
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, py::cast(path).ptr());
    throw py::error_already_set();
}

/// Writes to the path; returns 0 or the error.
int WriteStream(const Net& net, const Writer& writer, const fs::path& path) {
    errno = 0;
    std::ofstream out(path, std::ios::binary);
    if (out) writer.write(net, out);
    out.close();
    return out ? 0 : std::max(errno, 1);
}

/// Removes a file that a failure left.
struct Leftover {
    fs::path path;
    ~Leftover() {
        std::error_code none;
        fs::remove(path, none);
    }
};

/// Writes beside the path and renames, so that a failure leaves what was there.
int WriteReplacing(const Net& net, const Writer& writer, const fs::path& path) {
    std::error_code failure;
    const fs::path real = fs::canonical(path, failure);
    const fs::path target = failure ? path : real;
    const fs::path beside =
        target.parent_path() / (".lumo-" + std::to_string(::getpid()) + "-" +
                                std::to_string(reinterpret_cast<std::uintptr_t>(&failure)));
    const Leftover leftover{beside};
    const int error = WriteStream(net, writer, beside);
    if (error != 0) return error;
    fs::rename(beside, target, failure);
    return failure.value();
}

/// Returns what the format does not keep, a line each.
std::vector<std::string> WriteFile(const Net& net, const fs::path& path,
                                   const OptionalText& format) {
    const Writer* writer = format ? FindWriter(*format) : FindWriterForFile(path.string());
    if (writer == nullptr)
        throw py::value_error("no format to write '" + ToUtf8(format.value_or(path.string())) +
                              "'; there are " + Names(Writers()));
    if (writer->unavailable != nullptr && writer->unavailable() != nullptr)
        throw py::value_error(writer->unavailable());
    int error = 0;
    std::vector<std::string> lost;
    {
        const py::gil_scoped_release release;
        std::error_code unknown;
        const fs::file_status status = fs::status(path, unknown);
        const bool direct = fs::exists(status) && !fs::is_regular_file(status);
        error = direct ? WriteStream(net, *writer, path) : WriteReplacing(net, *writer, path);
        if (writer->losses != nullptr) lost = LossNotes(writer->losses(*net.net), writer->title);
    }
    if (error != 0) RaiseOSError(error, path);
    return lost;
}

// ---- The module ----------------------------------------------------------------------------

py::dict FormatExtensions() {
    py::dict formats;
    for (const FormatInfo& format : Formats()) {
        const py::str extensions(std::string(format.extensions));
        formats[format.name] = py::tuple(extensions.attr("split")());
    }
    return formats;
}

py::dict WriterExtensions() {
    py::dict writers;
    for (const Writer& writer : Writers()) writers[writer.name] = writer.extension;
    return writers;
}

void DefineParts(py::module_& module) {
    py::class_<ReportRecord>(module, "Report", "A problem that was met while a file was read.")
        .def_readonly("number", &ReportRecord::number)
        .def_readonly("severity", &ReportRecord::severity)
        .def_property_readonly("kind",
                               [](const ReportRecord& r) { return SeverityName(r.severity); })
        .def_property_readonly("message", [](const ReportRecord& r) { return ToUtf8(r.message); })
        .def_property_readonly("file", [](const ReportRecord& r) { return ToUtf8(r.file); })
        .def_property_readonly(
            "line",
            [](const ReportRecord& r) { return r.line > 0 ? std::optional(r.line) : std::nullopt; })
        .def_property_readonly("column",
                               [](const ReportRecord& r) {
                                   return r.line > 0 ? std::optional(r.column) : std::nullopt;
                               })
        .def_property_readonly(
            "context",
            [](const ReportRecord& r) {
                return py::make_tuple(TextOrNone(r.structKind), TextOrNone(r.structName),
                                      TextOrNone(r.fieldName));
            },
            "What was being read: kind of structure, its name, the field.")
        .def("__str__", ReportLine)
        .def("__repr__",
             [](const ReportRecord& r) { return "<lumo.Report " + ReportLine(r) + ">"; });

    py::class_<State>(module, "State", "A state of a node; str() gives what people call it.")
        .def_readonly("name", &State::name)
        .def_readonly("title", &State::title)
        .def_readonly("comment", &State::comment)
        .def_readonly("value", &State::value)
        .def("__str__", [](const State& state) { return state.label; })
        .def("__repr__", [](const State& state) { return "<lumo.State " + state.label + ">"; });

    py::class_<Group>(module, "Group", "A named set of nodes with its colour, \"#rrggbb\".")
        .def_readonly("name", &Group::name)
        .def_readonly("color", &Group::color)
        .def_readonly("nodes", &Group::nodes)
        .def("__repr__", [](const Group& group) { return "<lumo.Group " + group.name + ">"; });
}

void DefineNode(py::module_& module) {
    const auto text = [](auto get) { return [get](const Node& n) { return TextOrNone(get(n)); }; };
    py::class_<Node>(module, "Node", "A node of a net.")
        .def_property_readonly("name", [](const Node& n) { return n->name(); })
        .def_property_readonly("title", text([](const Node& n) { return n->title; }))
        .def_property_readonly("comment", text([](const Node& n) { return n->comment; }))
        .def_property_readonly(
            "kind", [](const Node& n) { return KindName(n->kind); },
            "\"nature\", \"decision\" or \"utility\".")
        .def_property_readonly("discrete", [](const Node& n) { return n->variable.discrete; })
        .def_property_readonly("states", States)
        .def_property_readonly("levels", Levels, "Bounds of the intervals of a continuous node.")
        .def_property_readonly("parents",
                               [](const Node& n) { return NodeTuple(n.net, n->parents); })
        .def_property_readonly(
            "children", [](const Node& n) { return NodeTuple(n.net, n.net->childrenOf(n.node)); })
        .def_property_readonly("position", Position)
        .def_property_readonly("groups", GroupNames)
        .def_property_readonly("user_fields", UserFields)
        .def_property_readonly(
            "relation", [](const Node& n) { return RelationName(n->relation.kind); },
            "\"none\", \"table\", \"deterministic\", \"noisy-max\" or \"real\".")
        .def_property_readonly(
            "table", Table,
            "Read-only float32 array of the net's memory: a dimension a parent, then the states.")
        .def_property_readonly(
            "experience", [](const Node& n) { return View(n, n->relation.exper, Shape(n, 0)); })
        .def_property_readonly(
            "parameters",
            [](const Node& n) { return View(n, n->relation.params, {NumCIParams(*n.node)}); },
            "The parameters of a noisy-max node.")
        .def(
            "__eq__",
            [](const Node& n, const py::object& other) {
                return py::isinstance<Node>(other) && n == other.cast<Node>();
            },
            py::is_operator())
        .def("__hash__", [](const Node& n) { return std::hash<const Bnode_bn*>()(n.node); })
        .def("__repr__",
             [](const Node& n) { return "<lumo.Node " + std::string(n->name()) + ">"; });

    py::class_<Nodes>(module, "Nodes", "The nodes of a net, in its order.")
        .def("__len__", [](const Nodes& nodes) { return nodes.list().N; })
        .def("__getitem__", &Nodes::at)
        .def("__getitem__", &Nodes::slice)
        .def("__repr__", [](const Nodes& nodes) {
            return "<lumo.Nodes, " + std::to_string(nodes.list().N) + ">";
        });
}

void DefineNet(py::module_& module) {
    using py::literals::operator""_a;
    py::class_<Net, SharedNet>(module, "Net", "A net that was read, and how that went.")
        .def_property_readonly("name", [](const Net& n) { return ToUtf8(n.net->name); })
        .def_property_readonly("title", [](const Net& n) { return TextOrNone(n.net->title); })
        .def_property_readonly("comment", [](const Net& n) { return TextOrNone(n.net->comment); })
        .def_property_readonly("file", [](const Net& n) { return ToUtf8(n.file); })
        .def_property_readonly("format", [](const Net& n) { return n.format; })
        .def_property_readonly(
            "status", [](const Net& n) { return StatusName(n.status()); },
            "\"ok\", \"warnings\" or \"errors\".")
        .def_property_readonly("nodes", [](const SharedNet& n) { return Nodes{n}; })
        .def_property_readonly("groups", Groups)
        .def_property_readonly("drawing", Drawing)
        .def_property_readonly("reports", Reports)
        .def_property_readonly(
            "skipped",
            [](const Net& n) {
                py::list skipped;
                for (const SkippedWord& s : n.skipped)
                    skipped.append(py::make_tuple(ToUtf8(s.word), s.count));
                return py::tuple(skipped);
            },
            "Unknown words of the file and how often each occurred.")
        .def_property_readonly(
            "notes", [](const Net& n) { return py::tuple(py::cast(n.notes)); },
            "Lines for the user that are no problems, such as which nodes were renamed.")
        .def("__getitem__", NodeNamed)
        .def("__contains__",
             [](const Net& n, const std::string& name) {
                 return n.net->findNodeLabeled(name.c_str()) != nullptr;
             })
        .def("to_json", ToJson, "The net and its reports as the JSON of the command line.")
        .def("to_networkx", ToNetworkx, "The net as a networkx.DiGraph; tables stay here.")
        .def("write", WriteFile, "path"_a, "format"_a = py::none(),
             "Writes the net in the format, or in that of the path's extension; returns what the "
             "format does not keep, a line each.")
        .def("__repr__", [](const Net& n) { return "<lumo.Net " + ToUtf8(n.net->name) + ">"; });
}

}  // namespace

PYBIND11_MODULE(_core, module) {
    using py::literals::operator""_a;
    DefineParts(module);
    DefineNode(module);
    DefineNet(module);
    module.attr("__version__") = LUMO_VERSION;
    module.attr("formats") = FormatExtensions();
    module.attr("writers") = WriterExtensions();
    readError = PyErr_NewExceptionWithDoc(
        "lumo.ReadError", "Nothing could be read; `reports` says why.", PyExc_Exception, nullptr);
    module.attr("ReadError") = readError;
    module.def(
        "read",
        [](const fs::path& path, const OptionalText& format, bool condense, bool strict,
           bool normalize, const OptionalText& className, bool createStateNames) {
            return ReadFile(path,
                            {format, condense, strict, normalize, className, createStateNames});
        },
        "path"_a, "format"_a = py::none(), "condense"_a = false, py::kw_only(), "strict"_a = false,
        "normalize"_a = false, "class_name"_a = py::none(), "create_state_names"_a = false,
        "Reads a file. condense: noisy-max nodes keep their parameters alone.");
    module.def(
        "reads",
        [](std::string_view text, const OptionalText& format, const std::string& name,
           bool condense, bool strict, bool normalize, const OptionalText& className,
           bool createStateNames) {
            return Read(name, &text,
                        {format, condense, strict, normalize, className, createStateNames});
        },
        "data"_a, "format"_a = py::none(), "name"_a = "text", "condense"_a = false, py::kw_only(),
        "strict"_a = false, "normalize"_a = false, "class_name"_a = py::none(),
        "create_state_names"_a = false,
        "Reads a text; reports and the net are named after `name`.");
    for (const char* name : {"Report", "State", "Group", "Node", "Nodes", "Net"})
        module.attr(name).attr("__module__") = "lumo";
}

}  // namespace lumo
