// Nets, their nodes as a sequence, and writing them.
#include <pybind11/stl/filesystem.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "export/json.h"
#include "export/reduce.h"
#include "export/writers.h"
#include "formats/shared/describe.h"
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

int Net::placeOf(const Bnode_bn* node) {
    if (places_.empty())
        for (const Bnode_bn* each : net->nodes)
            places_.emplace(each, static_cast<int>(places_.size()));
    return places_.at(node);
}

bool Net::has(const Bnode_bn* node) {
    if (places_.empty() && net->nodes.N > 0) placeOf(net->nodes[0]);
    return places_.contains(node);
}

namespace {

namespace fs = std::filesystem;

/// The nodes of a net as a sequence.
struct Nodes {
    SharedNet net;

    const BndList_bn& list() const { return net->net->nodes; }
    py::object iterate() const { return py::iter(NodeTuple(net, list())); }
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

/// Whether it is a node of the net, or the name of one.
bool Contains(Net& net, const py::object& key) {
    if (py::isinstance<Node>(key))
        return key.cast<Node>().net.get() == &net && net.has(key.cast<Node>().node);
    return FindNode(net, key) != nullptr;
}

/// The key, with the name that is most like it.
py::object Missing(const Net& net, const py::object& key) {
    constexpr int most = 10'000;  // names that are looked through
    if (PyUnicode_Check(key.ptr()) == 0 || net.net->nodes.N > most) return key;
    const py::str wanted = key.attr("casefold")();
    py::dict names;
    for (const Bnode_bn* node : net.net->nodes)
        names[py::str(node->name()).attr("casefold")()] = py::str(node->name());
    const py::list close =
        py::module_::import("difflib").attr("get_close_matches")(wanted, names, 1);
    if (close.empty()) return key;
    return py::str("{!r}; is it {!r}?").format(key, names[close[0]]);
}

Node NodeNamed(const SharedNet& net, const py::object& key) {
    const Bnode_bn* const node = FindNode(*net, key);
    if (node != nullptr) return {net, node};
    PyErr_SetObject(PyExc_KeyError, Missing(*net, key).ptr());
    throw py::error_already_set();
}

}  // namespace

Node NodeOf(const SharedNet& net, const py::object& key) {
    if (py::isinstance<Node>(key) && Contains(*net, key)) return key.cast<Node>();
    return NodeNamed(net, key);
}

namespace {

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

py::object ToJson(const Net& net) {
    std::ostringstream out;
    {
        const py::gil_scoped_release release;
        WriteJson(net, out);
    }
    return py::module_::import("json").attr("loads")(out.str());
}

/// None for a net that is too large to look at in a notebook.
OptionalText Picture(const Net& net) {
    constexpr int mostNodes = 500;
    if (net.net->nodes.N > mostNodes) return std::nullopt;
    std::ostringstream out;
    const py::gil_scoped_release release;
    FindWriter("svg")->write(net, out);
    return out.str();
}

std::string Summary(const Net& net) {
    long long links = 0;
    for (const Bnode_bn* node : net.net->nodes) links += node->parents.N;
    return ToUtf8(net.net->name) + ": " + Counted(net.net->nodes.N, "node") + ", " +
           Counted(links, "link") + (net.format.empty() ? "" : ", " + net.format) + ", " +
           StatusName(net.status());
}

/// The first names, and how many more there are.
std::string FirstNames(const BndList_bn& nodes) {
    strin_kt names;
    NodeNamesToStr(nodes, ", ", 60, names);
    return std::to_string(nodes.N) + (nodes.N > 0 ? ": " : "") + std::string(names.view());
}

/// As in the JSON.
py::dict Drawing(const Net& net) {
    using py::literals::operator""_a;
    const Vnet_kt& drawing = *net.net->vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    const auto has = [&](int flag) { return (font.styleFlags & flag) != 0; };
    return py::dict("extent"_a = std::vector{drawing.extent().x, drawing.extent().y},
                    "drawStyle"_a = drawing.drawStyle, "labelStyle"_a = drawing.labelStyle,
                    "zoom"_a = drawing.zoomFactor,
                    "font"_a = py::dict("face"_a = ToUtf8(font.face), "size"_a = font.size,
                                        "bold"_a = has(fontspec_kt::Bold),
                                        "italic"_a = has(fontspec_kt::Italic)),
                    "grid"_a = py::dict("x"_a = drawing.grid.x, "y"_a = drawing.grid.y,
                                        "show"_a = drawing.showGrid, "snap"_a = drawing.snapToGrid),
                    "laidOut"_a = drawing.laidOut);
}

void WarnInPlace(const fs::path& path) {
    const std::string text =
        "'" + ToUtf8(path.string()) +
        "' is written where it stands, not in one step: its folder takes no new file";
    if (PyErr_WarnEx(PyExc_RuntimeWarning, text.c_str(), 1) != 0) throw py::error_already_set();
}

/// Returns what the format does not keep, a line each.
std::vector<std::string> WriteFile(const SharedNet& given, const fs::path& path,
                                   const OptionalText& format, bool force, bool plain,
                                   bool onlyNature) {
    const Net& net = *given;
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
    WrittenFile file;
    const SharedNet written = plain || onlyNature ? CopyOf(*given) : given;
    std::vector<std::string> lost;
    {
        const py::gil_scoped_release release;
        if (written != given) lost = Reduce(*written->net, {plain, onlyNature});
        file = WriteToFile(path, [&](std::ostream& out) { writer->write(*written, out); },
                           {.replacesReadOnly = force});
        if (writer->losses != nullptr)
            std::ranges::copy(LossNotes(writer->losses(*written->net), writer->title),
                              std::back_inserter(lost));
    }
    if (file.error != 0) RaiseOSError(file.error, path);
    if (file.isInPlace) WarnInPlace(path);
    return lost;
}

}  // namespace

void DefineNet(py::module_& module) {
    using py::literals::operator""_a;
    py::class_<Group>(module, "Group", PlainClass(),
                      "A named set of nodes with its colour, \"#rrggbb\".")
        .def_readonly("name", &Group::name, "Its name.")
        .def_readonly("color", &Group::color, "Its display colour, \"#rrggbb\".")
        .def_readonly("nodes", &Group::nodes, "A tuple of Node, in the order of joining.")
        .def_static("_of",
                    [](const std::string& name, const std::string& color, const py::tuple& nodes) {
                        return Group{name, color, nodes};
                    })
        .def("__repr__", [](const Group& group) {
            return "<lumo.Group " + group.name + ": " +
                   Counted(static_cast<long long>(group.nodes.size()), "node") + ">";
        });

    py::class_<Nodes>(
        module, "Nodes", PlainClass(),
        "The nodes of a net as a sequence, in its order: nodes[0], nodes[-1], nodes[2:5] (a "
        "tuple), nodes[\"name\"]. An IndexError or KeyError where there is none.")
        .def("__len__", [](const Nodes& nodes) { return nodes.list().N; })
        .def("__iter__", &Nodes::iterate)
        .def("__contains__",
             [](const Nodes& nodes, const py::object& key) { return Contains(*nodes.net, key); })
        .def("__getitem__", &Nodes::at)
        .def("__getitem__", &Nodes::slice)
        .def("__getitem__",
             [](const Nodes& nodes, const py::str& name) { return NodeNamed(nodes.net, name); })
        .def_property_readonly("_net", [](const Nodes& nodes) { return nodes.net; })
        .def("__repr__",
             [](const Nodes& nodes) { return "<lumo.Nodes " + FirstNames(nodes.list()) + ">"; });

    py::class_<Net, SharedNet>(
        module, "Net", PlainClass(),
        "A net that was read, and how that went. net[\"name\"] is a node, by the text that the "
        "file names it by, then by its name (KeyError); iterating gives the nodes, len() their "
        "number, and `in` tells whether a node, or one of that name, is in the net. Nothing "
        "changes a net.")
        .def_property_readonly(
            "name", [](const Net& n) { return ToUtf8(n.net->name); },
            "A letter, then letters, digits and underscores.")
        .def_property_readonly(
            "title", [](const Net& n) { return TextOrNone(n.net->title); },
            "A text for people, or None.")
        .def_property_readonly(
            "comment", [](const Net& n) { return TextOrNone(n.net->comment); },
            "A longer text, or None.")
        .def_property_readonly(
            "file", [](const Net& n) { return ToUtf8(n.file); },
            "The file as it was named to lumo.read, or the `name` given to lumo.reads.")
        .def_property_readonly(
            "format", [](const Net& n) { return n.format; }, "A key of lumo.formats.")
        .def_property_readonly(
            "status", [](const Net& n) { return StatusName(n.status()); },
            "\"ok\", \"warnings\", or \"errors\": then the net is what could be read.")
        .def_property_readonly(
            "nodes", [](const SharedNet& n) { return Nodes{n}; }, "The nodes as a sequence.")
        .def_property_readonly("groups", Groups, "The named sets of nodes: a tuple of Group.")
        .def_property_readonly("drawing", Drawing,
                               "Settings of the drawing: extent, styles of nodes and labels, "
                               "zoom, font, grid; as in the JSON.")
        .def_property_readonly("reports", Reports,
                               "The problems in the order they were met: a tuple of Report.")
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
        .def("__contains__", Contains)
        .def("__iter__", [](const SharedNet& n) { return Nodes{n}.iterate(); })
        .def("__len__", [](const Net& n) { return n.net->nodes.N; })
        .def(
            "to_json", ToJson,
            "The net and its reports as the JSON document of the command line, in dicts and lists.")
        .def(
            "write", WriteFile, "path"_a, "format"_a = py::none(), py::kw_only(), "force"_a = false,
            "plain"_a = false, "only_nature"_a = false,
            "Writes the net in the format, or in that of the path's extension (keys and values "
            "of lumo.writers); returns what the format does not keep, a line each. What was "
            "there stays when it fails.\n\nplain: names, states, links and tables alone, for "
            "programs that refuse more. only_nature: without decisions, utilities and what depends "
            "on them. The net itself stays as it is.\n\nRaises ValueError for a format that is not "
            "written, "
            "FileExistsError for the file that the net was read from unless force is true and "
            "it was read without an error, and OSError when the file cannot be written.")
        .def("save", WriteFile, "path"_a, "format"_a = py::none(), py::kw_only(), "force"_a = false,
             "plain"_a = false, "only_nature"_a = false, "The same as write().")
        .def("_repr_svg_", Picture, "The picture of the net for notebooks; None above 500 nodes.")
        .def("__repr__", [](const Net& n) { return "<lumo.Net " + Summary(n) + ">"; });
}

}  // namespace lumo::python
