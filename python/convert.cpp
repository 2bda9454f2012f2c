// The net as other Python packages know it.
#include <sstream>

#include "export/describe.h"
#include "export/json.h"
#include "python/lumo_python.h"

namespace lumo::python {

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

}  // namespace lumo::python
