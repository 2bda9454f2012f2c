// The net as Python sees it, shared by the parts of the module.
//
// A net is shared by the Python objects made from it: nodes and arrays keep it alive. The
// interpreter's lock is held while a net is changed, and released while a file is read or written.
#pragma once

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <filesystem>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "export/output.h"
#include "formats/shared/result.h"
#include "library/utilities/text.h"

namespace lumo::python {

namespace py = pybind11;
using OptionalText = std::optional<std::string>;

inline OptionalText TextOrNone(const char* text) {
    return text == nullptr ? OptionalText() : ToUtf8(text);
}
inline OptionalText TextOrNone(const std::string& text) {
    return text.empty() ? OptionalText() : ToUtf8(text);
}

/// "a, b", of the formats or the writers.
template <class LIST>
std::string Names(const LIST& list) {
    std::string names;
    for (const auto& item : list) names += (names.empty() ? "" : ", ") + std::string(item.name);
    return names;
}

/// "1 node", "2 nodes".
inline std::string Counted(long long count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

struct Net : ImportResult {
    std::optional<FileIdentity> source;  ///< the file that was read, if it was one

    /// The children of each node that has some; made when first wanted.
    const std::vector<const Bnode_bn*>& childrenOf(const Bnode_bn* node);

    /// The node's place in the net, which has it.
    int placeOf(const Bnode_bn* node);
    /// Whether it was not removed.
    bool has(const Bnode_bn* node);

    /// An array of the node's own memory is handed out.
    void view(const Bnode_bn* node) { viewed_.insert(node); }
    /// Lets the arrays of the node that were handed out stay what they are, whatever happens to it.
    void keepViews(Bnode_bn& node);
    /// Nodes or links have changed.
    void changed();

private:
    std::unordered_set<const Bnode_bn*> viewed_;
    std::vector<std::shared_ptr<void>> kept_;
    bool haveChildren_ = false;
    std::unordered_map<const Bnode_bn*, int> places_;
    std::unordered_map<const Bnode_bn*, std::vector<const Bnode_bn*>> children_;
};
using SharedNet = std::shared_ptr<Net>;

struct Node {
    SharedNet net;
    const Bnode_bn* node;

    bool operator==(const Node&) const = default;
    const Bnode_bn* operator->() const { return node; }
};

/// A state as Python has it.
struct State {
    OptionalText name, title, comment;
    std::optional<double> value;
    std::string label;
};

/// A net of its own with all that the net has.
SharedNet CopyOf(Net& net);

/// The node that the key is, or names; a KeyError when the net has none.
Node NodeOf(const SharedNet& net, const py::object& key);

/// The dimensions of a table: one for each parent, then `last` unless that is 0; more than NumPy
/// has: all parents in one.
std::vector<py::ssize_t> TableShape(const Node& node, int last);

/// Hears what the model says where nobody wants to know it.
class SilentHandler : public ReportHandler {
public:
    void show(const rept_kt&) override {}
    void print(const char*) override {}
    bool ask(int, const char*) override { return false; }
};

template <class LIST>
py::tuple NodeTuple(const SharedNet& net, const LIST& list) {
    std::vector<Node> nodes;
    nodes.reserve(static_cast<std::size_t>(std::distance(list.begin(), list.end())));
    for (const Bnode_bn* node : list) nodes.push_back({net, node});
    return py::tuple(py::cast(nodes));
}

py::tuple States(const Node& node);
py::dict UserFields(const Node& node);
std::vector<std::string> GroupNames(const Node& node);
std::pair<int, int> Position(const Node& node);  ///< x, y

/// The reports of the import as Python objects.
py::tuple Reports(const Net& net);

/// "file:line:column: error: message (in what) [number]".
std::string ReportLine(const ReportRecord& report);

/// Raises the OSError of that errno, as Python does for the path.
[[noreturn]] void RaiseOSError(int error, const std::filesystem::path& path);

/// Classes are plain ones for Python's tools, not of pybind11's own kind.
inline py::metaclass PlainClass() {
    return py::metaclass(py::handle(reinterpret_cast<PyObject*>(&PyType_Type)));
}

/// Objects of the class come from reading alone: making one in Python is a TypeError.
void ForbidMaking(const py::object& type);

// Each part defines its classes and functions in the module.
void DefineReport(py::module_& module);
void DefineNode(py::module_& module);
void DefineNet(py::module_& module);
void DefineReading(py::module_& module);
void DefineState(py::module_& module);
void DefineDiff(py::module_& module);
void DefineChanging(py::module_& module);  ///< of what DefineNode and DefineNet made

}  // namespace lumo::python
