// Nodes, their states and tables.
#include <pybind11/numpy.h>
#include <algorithm>

#include "formats/shared/describe.h"
#include "library/utilities/exact.h"
#include "python/lumo_python.h"

namespace lumo::python {
namespace {

bool HasValues(const Varbl_bn& variable) {
    return variable.levels != nullptr && variable.numLevels == variable.numStates;
}

}  // namespace

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
    const coord_kt at = node->vns.hasSome() ? node->vns[0]->position() : coord_kt();
    return {at.x, at.y};
}

namespace {

/// A read-only array of the net's own memory, which keeps the net alive; None without values.
template <class T>
py::object View(const Node& node, const T* values, const std::vector<py::ssize_t>& shape) {
    if (values == nullptr) return py::none();
    node.net->view(node.node);
    py::array_t<T> array(shape, values, py::cast(node.net));
    array.attr("setflags")(py::arg("write") = false);
    return array;
}

}  // namespace

std::vector<py::ssize_t> TableShape(const Node& node, int last) {
    constexpr int mostDimensions = 32;
    std::vector<py::ssize_t> shape;
    if (node->parents.N < mostDimensions)
        for (const Bnode_bn* parent : node->parents) shape.push_back(parent->numStates());
    else
        shape.push_back(NumProduct(node->parents));
    if (last > 0) shape.push_back(last);
    return shape;
}

namespace {

py::object Table(const Node& node) {
    const Reln_bn& relation = node->relation;
    const float* values = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    return View(node, values, TableShape(node, node->numStates()));
}

py::object Probabilities(const Node& node) {
    const Reln_bn& relation = node->relation;
    const float* values = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    if (values == nullptr) return py::none();
    py::array_t<double> array(TableShape(node, node->numStates()));
    if (relation.exact != nullptr)
        std::copy_n(relation.exact, array.size(), array.mutable_data());
    else
        ShortestDoubles(values, array.size(), array.mutable_data());
    return array;
}

py::object Levels(const Node& node) {
    const Varbl_bn& variable = node->variable;
    return View(node, HasValues(variable) ? nullptr : variable.levels, {variable.numLevels});
}

}  // namespace

void DefineNode(py::module_& module) {
    using Fields =
        std::tuple<OptionalText, OptionalText, OptionalText, std::optional<double>, std::string>;
    py::class_<State>(
        module, "State", PlainClass(),
        "A state of a node. str() gives what people call it: its title, else its name, value or "
        "interval, else \"#k\".")
        .def_readonly("name", &State::name, "A legal name, distinct within the node, or None.")
        .def_readonly("title", &State::title, "A text for people, or None.")
        .def_readonly("comment", &State::comment, "A longer text, or None.")
        .def_readonly("value", &State::value,
                      "The number that a numeric state stands for, or None.")
        .def("_fields",
             [](const State& s) { return Fields(s.name, s.title, s.comment, s.value, s.label); })
        .def_static("_of", [](const Fields& f) { return std::make_from_tuple<State>(f); })
        .def("__str__", [](const State& state) { return state.label; })
        .def("__repr__", [](const State& state) { return "<lumo.State " + state.label + ">"; });

    const auto text = [](auto get) { return [get](const Node& n) { return TextOrNone(get(n)); }; };
    py::class_<Node>(
        module, "Node", PlainClass(),
        "A node of a net, which it keeps alive. Two are equal when they are the same node of the "
        "same net.")
        .def_property_readonly(
            "net", [](const Node& n) { return n.net; }, "The net that it belongs to.")
        .def_property_readonly(
            "name", [](const Node& n) { return n->name(); },
            "A letter, then letters, digits and underscores; unique in the net.")
        .def_property_readonly("title", text([](const Node& n) { return n->title; }),
                               "A text for people, or None.")
        .def_property_readonly("comment", text([](const Node& n) { return n->comment; }),
                               "A longer text, or None.")
        .def_property_readonly(
            "kind", [](const Node& n) { return KindName(n->kind); },
            "\"nature\", \"decision\" or \"utility\".")
        .def_property_readonly(
            "discrete", [](const Node& n) { return n->variable.discrete; },
            "False for a continuous variable, also for one cut into intervals.")
        .def_property_readonly("states", States,
                               "A tuple of State, empty for a variable without states.")
        .def_property_readonly(
            "levels", Levels,
            "The bounds of a variable cut into intervals, one more than it has states: a "
            "read-only float64 array, or None.")
        .def_property_readonly(
            "parents", [](const Node& n) { return NodeTuple(n.net, n->parents); },
            "A tuple of Node, in the order of the table's dimensions.")
        .def_property_readonly(
            "children", [](const Node& n) { return NodeTuple(n.net, n.net->childrenOf(n.node)); },
            "A tuple of Node, in the order of the net.")
        .def_property_readonly("position", Position,
                               "(x, y) on the drawing, in its units, y downwards; placed by the "
                               "automatic layout where the file has no positions.")
        .def_property_readonly("groups", GroupNames, "The names of the groups that it is in.")
        .def_property_readonly("user_fields", UserFields,
                               "Further fields of the file: a dict of texts by name.")
        .def_property_readonly(
            "relation", [](const Node& n) { return RelationName(n->relation.kind); },
            "\"none\", \"table\", \"deterministic\", \"noisy-max\" or \"real\".")
        .def_property_readonly("table", Table,
                               "The probabilities, or the values of a utility node: a read-only "
                               "float32 array of the net's own memory with a dimension for each "
                               "parent, in order, and a last one for the node's own states, if "
                               "it has some. With more than 31 parents all of them share the "
                               "first. None for a node without a table and for a condensed "
                               "noisy-max node.")
        .def_property_readonly("probabilities", Probabilities,
                               "The table as a new float64 array, with the numbers as the file "
                               "has them: 0.1 is 0.1. None where `table` is None.")
        .def_property_readonly(
            "experience",
            [](const Node& n) { return View(n, n->relation.exper, TableShape(n, 0)); },
            "The number of cases behind each row: a read-only float32 array with a dimension for "
            "each parent, or None.")
        .def_property_readonly(
            "parameters",
            [](const Node& n) { return View(n, n->relation.params, {NumCIParams(*n.node)}); },
            "The parameters of a noisy-max node, or None: a read-only float64 array of states x "
            "(1 + the sum over parents of (their states - 1)); each parent's states from 1 up, a "
            "distribution each, then the leak distribution. States are counted in parameter_order.")
        .def_property_readonly(
            "parameter_order",
            [](const Node& n) -> py::object {
                const int* at = n->relation.order;
                if (at == nullptr) return py::none();
                py::list order;
                for (const Bnode_bn* member : n->family) {
                    order.append(py::cast(std::vector<int>(at, at + member->numStates())));
                    at += member->numStates();
                }
                return py::tuple(order);
            },
            "The places of the node's states, then of each parent's, from the weakest up, where "
            "the parameters of a noisy-max node count states in another order than theirs; else "
            "None.")
        .def(
            "__eq__",
            [](const Node& n, const py::object& other) {
                return py::isinstance<Node>(other) && n == other.cast<Node>();
            },
            py::is_operator())
        .def("__hash__", [](const Node& n) { return std::hash<const Bnode_bn*>()(n.node); })
        .def("__repr__", [](const Node& n) {
            return "<lumo.Node " + std::string(n->name()) + ": " + KindName(n->kind) + ", " +
                   Counted(n->numStates(), "state") + ", " + Counted(n->parents.N, "parent") + ">";
        });
}

}  // namespace lumo::python
