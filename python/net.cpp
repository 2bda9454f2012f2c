// Nets, their nodes as a sequence, and writing them.
#include <pybind11/stl/filesystem.h>

#include <cerrno>
#include <ostream>

#include "export/describe.h"
#include "export/writers.h"
#include "python/lumo_python.h"

namespace lumo::python {

const std::vector<const Bnode_bn*>& Net::childrenOf(const Bnode_bn* node) {
    if (!haveChildren_) {
        for (const Bnode_bn* child : net->nodes)
            for (const Bnode_bn* parent : child->parents) children_[parent].push_back(child);
        haveChildren_ = true;
    }
    static const std::vector<const Bnode_bn*> none;
    const auto found = children_.find(node);
    return found == children_.end() ? none : found->second;
}

namespace {

namespace fs = std::filesystem;

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

/// The bytes of a text that a file has in Windows-1252; none for a text that cannot be in it.
OptionalText InWindows1252(std::string_view utf8) {
    static const auto bytes = [] {
        std::unordered_map<std::string, char> map;
        for (int byte = 0; byte < 256; ++byte) {
            const char c = static_cast<char>(byte);
            map.emplace(ToUtf8({&c, 1}), c);
        }
        return map;
    }();
    std::string text;
    while (!utf8.empty()) {
        const auto length = static_cast<std::size_t>(Utf8Length(utf8));
        const auto found = bytes.find(std::string(utf8.substr(0, length)));
        if (found == bytes.end()) return std::nullopt;
        text += found->second;
        utf8.remove_prefix(length);
    }
    return text;
}

/// The node that the key names; null for one that is no text, or that no node has.
const Bnode_bn* FindNode(const Net& net, const py::object& key) {
    Py_ssize_t size = 0;
    const char* const text =
        PyUnicode_Check(key.ptr()) ? PyUnicode_AsUTF8AndSize(key.ptr(), &size) : nullptr;
    PyErr_Clear();  // a lone surrogate is in no file
    const std::string_view utf8(text == nullptr ? "" : text, static_cast<std::size_t>(size));
    if (text == nullptr || utf8.find('\0') != utf8.npos) return nullptr;
    const Bnode_bn* node = net.net->findNodeLabeled(text);
    if (node != nullptr) return node;
    const OptionalText other = InWindows1252(utf8);
    return other && *other != utf8 ? net.net->findNodeLabeled(other->c_str()) : nullptr;
}

Node NodeNamed(const SharedNet& net, const py::object& key) {
    const Bnode_bn* const node = FindNode(*net, key);
    if (node != nullptr) return {net, node};
    PyErr_SetObject(PyExc_KeyError, key.ptr());
    throw py::error_already_set();
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

[[noreturn]] void RaiseOSError(int error, const fs::path& path) {
    errno = error;
    PyErr_SetFromErrnoWithFilenameObject(PyExc_OSError, py::cast(path).ptr());
    throw py::error_already_set();
}

/// Returns what the format does not keep, a line each.
std::vector<std::string> WriteFile(const Net& net, const fs::path& path, const OptionalText& format,
                                   bool force) {
    const Writer* writer = format ? FindWriter(*format) : FindWriterForFile(path.string());
    if (writer == nullptr)
        throw py::value_error("no format to write '" + ToUtf8(format.value_or(path.string())) +
                              "'; there are " + Names(Writers()));
    if (writer->unavailable != nullptr && writer->unavailable() != nullptr)
        throw py::value_error(writer->unavailable());
    const bool over = net.source && IdentityOf(path.string()) == net.source;
    if (over && (!force || net.status() >= StatusEN::errors)) {
        const std::string text = "the net was read from '" + ToUtf8(path.string()) + "'" +
                                 (force ? ", with errors" : "; force=True writes over it");
        PyErr_SetString(PyExc_FileExistsError, text.c_str());
        throw py::error_already_set();
    }
    int error = 0;
    std::vector<std::string> lost;
    {
        const py::gil_scoped_release release;
        error = WriteToFile(path, [&](std::ostream& out) { writer->write(net, out); });
        if (writer->losses != nullptr) lost = LossNotes(writer->losses(*net.net), writer->title);
    }
    if (error != 0) RaiseOSError(error, path);
    return lost;
}

}  // namespace

void DefineNet(py::module_& module) {
    using py::literals::operator""_a;
    py::class_<Group>(module, "Group", "A named set of nodes with its colour, \"#rrggbb\".")
        .def_readonly("name", &Group::name)
        .def_readonly("color", &Group::color)
        .def_readonly("nodes", &Group::nodes)
        .def("__repr__", [](const Group& group) { return "<lumo.Group " + group.name + ">"; });

    py::class_<Nodes>(module, "Nodes", "The nodes of a net, in its order.")
        .def("__len__", [](const Nodes& nodes) { return nodes.list().N; })
        .def("__getitem__", &Nodes::at)
        .def("__getitem__", &Nodes::slice)
        .def("__repr__", [](const Nodes& nodes) {
            return "<lumo.Nodes, " + std::to_string(nodes.list().N) + ">";
        });

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
             [](const Net& n, const py::object& key) { return FindNode(n, key) != nullptr; })
        .def("to_json", ToJson, "The net and its reports as the JSON of the command line.")
        .def("to_networkx", ToNetworkx, "The net as a networkx.DiGraph; tables stay here.")
        .def("write", WriteFile, "path"_a, "format"_a = py::none(), py::kw_only(),
             "force"_a = false,
             "Writes the net in the format, or in that of the path's extension; returns what the "
             "format does not keep, a line each.")
        .def("__repr__", [](const Net& n) { return "<lumo.Net " + ToUtf8(n.net->name) + ">"; });
}

}  // namespace lumo::python
