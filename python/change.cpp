// Making nets and changing them. Arrays that were handed out stay what they were: before the model
// frees the memory of one, the net keeps it and gives the model a copy.
#include <pybind11/numpy.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "formats/shared/describe.h"
#include "library/utilities/exact.h"
#include "python/lumo_python.h"

namespace lumo::python {

namespace {

template <class T>
using Values = py::array_t<T, py::array::c_style | py::array::forcecast>;

/// Keeps the block as long as the net, and puts a copy in its place.
template <class T>
void Retire(std::vector<std::shared_ptr<void>>& kept, T*& block, long long count) {
    if (block == nullptr) return;
    XArray<T> copy = NewXArray<T>(count);
    if (copy == nullptr) throw std::bad_alloc();
    std::copy_n(block, count, copy.get());
    kept.emplace_back(std::exchange(block, copy.release()), [](void* old) { xfree_kt(old); });
}

void RetireLevels(std::vector<std::shared_ptr<void>>& kept, Varbl_bn& variable) {
    if (variable.levels == nullptr) return;
    auto copy = std::make_unique<double[]>(static_cast<std::size_t>(variable.numLevels));
    std::copy_n(variable.levels, variable.numLevels, copy.get());
    kept.emplace_back(std::exchange(variable.levels, copy.release()),
                      [](double* old) { delete[] old; });
}

}  // namespace

void Net::keepViews(Bnode_bn& node) {
    if (viewed_.erase(&node) == 0) return;
    Reln_bn& relation = node.relation;
    const long long rows = NumProduct(node.parents);
    const long long entries = rows * std::max(node.numStates(), 1);
    if (!relation.probsInArena) Retire(kept_, relation.probs, entries);
    Retire(kept_, relation.reals, entries);
    Retire(kept_, relation.exper, rows);
    Retire(kept_, relation.params, NumCIParams(node));
    RetireLevels(kept_, node.variable);
}

void Net::changed() {
    haveChildren_ = false;
    children_.clear();
    places_.clear();
}

namespace {

/// One change: what the model refuses is a ValueError.
class Change {
public:
    explicit Change(const SharedNet& net) : net_(*net) {}
    ~Change() { net_.changed(); }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

    Bnet_bn& net() { return *net_.net; }
    /// The node, whose arrays stay what they were.
    Bnode_bn& of(const Node& node) {
        if (!net_.has(node.node))
            throw py::value_error("node '" + std::string(node->name()) +
                                  "' was removed from its net");
        Bnode_bn& changed = *net().nodes[net_.placeOf(node.node)];
        net_.keepViews(changed);
        return changed;
    }
    void keepViews(Bnode_bn& node) { net_.keepViews(node); }
    static void check(rept_kt* report) {
        if (IsError(report)) throw py::value_error(ToUtf8(ReportRecord(*report).message));
    }

private:
    Net& net_;
    SilentHandler silent_;
    HandlerScope handler_{silent_};
    ReportScope scope_;
};

/// Texts of Python for the model; a zero byte would end them.
char* NewText(const OptionalText& text) {
    if (!text) return nullptr;
    if (text->find('\0') != text->npos) throw py::value_error("a text cannot hold a zero byte");
    return DupStr_kt(std::string_view(*text));
}

/// A text is a list of letters to Python, and never meant as one here.
void CheckList(const py::object& given, const char* wanted) {
    if (PyUnicode_Check(given.ptr()) != 0)
        throw py::type_error(std::string(wanted) + ", not one text");
    if (!py::isinstance<py::iterable>(given))
        throw py::type_error(std::string(wanted) + ", not " + Py_TYPE(given.ptr())->tp_name);
}

/// The nodes that nodes or names of the net stand for.
std::vector<Bnode_bn*> NodesOf(const SharedNet& net, const py::object& keys) {
    CheckList(keys, "parents are a list of nodes, or of their names");
    std::vector<Bnode_bn*> nodes;
    for (const py::handle& key : keys) {
        const Node node = NodeOf(net, py::reinterpret_borrow<py::object>(key));
        nodes.push_back(net->net->nodes[net->placeOf(node.node)]);
    }
    return nodes;
}

BndList_bn ListOf(const std::vector<Bnode_bn*>& nodes) {
    BndList_bn list;
    for (Bnode_bn* node : nodes) list.append(node);
    return list;
}

// ---- Nodes ---------------------------------------------------------------------------------

void SetName(const Node& node, const std::string& name) {
    Change change(node.net);
    Bnode_bn& changed = change.of(node);
    if (name == changed.name()) return;
    if (!IsLegalName_kt(name))
        throw py::value_error("'" + name +
                              "' is no name: a letter, then letters, digits and underscores");
    if (change.net().findNodeLabeled(std::string_view(name)) != nullptr)
        throw py::value_error("there is a node '" + name + "' already");
    OwnedStr title(NewText(TextOrNone(changed.title)));
    Change::check(SetNodeLabel(changed, NewText(name)));
    changed.setTitle(title.release());
}

void SetTitle(const Node& node, const OptionalText& title) {
    Change(node.net).of(node).setTitle(NewText(title));
}

void SetComment(const Node& node, const OptionalText& comment) {
    Change(node.net).of(node).setComment(NewText(comment));
}

coord_kt PlaceOf(const py::object& position) {
    try {
        const auto [x, y] = position.cast<std::pair<int, int>>();
        return {x, y};
    } catch (const py::cast_error&) {
        throw py::value_error("a position is two whole numbers (x, y), not " +
                              py::repr(position).cast<std::string>());
    }
}

void SetPosition(const Node& node, const py::object& position) {
    const coord_kt place = PlaceOf(position);
    Change change(node.net);
    SetNodeVisPosition_ibn(change.of(node), place, nullptr);
}

NodeKindEN KindNamed(const std::string& name) {
    for (const NodeKindEN kind : {NatureNode, DecisionNode, UtilityNode})
        if (name == KindName(kind)) return kind;
    throw py::value_error("no kind '" + name + "'; there are nature, decision, utility");
}

void SetKind(const Node& node, const std::string& name) {
    const NodeKindEN kind = KindNamed(name);
    Change change(node.net);
    Bnode_bn& changed = change.of(node);
    if (changed.kind == kind) return;
    changed.relation.clear();  // of another meaning
    Change::check(changed.setKind(kind));
}

struct StateList {
    std::vector<State> states;
    bool labels = true;  ///< all are texts, not State objects

    OwnedStrs texts(OptionalText State::*which) const {
        const auto isThere = [&](const State& state) { return (state.*which).has_value(); };
        if (std::ranges::none_of(states, isThere)) return {};
        OwnedStrs array(
            new char* [states.size()] {}, static_cast<int>(states.size()));
        for (std::size_t i = 0; i < states.size(); ++i) array.get()[i] = NewText(states[i].*which);
        return array;
    }
};

StateList StatesOf(const py::object& given) {
    CheckList(given, "states are a list of texts, or of lumo.State");
    StateList list;
    for (const py::handle& item : given) {
        if (py::isinstance<State>(item)) {
            list.states.push_back(item.cast<State>());
            list.labels = false;
        } else if (PyUnicode_Check(item.ptr()) != 0) {
            list.states.push_back({item.cast<std::string>(), {}, {}, {}, {}});
        } else {
            throw py::type_error("a state is a text or a lumo.State");
        }
    }
    return list;
}

/// The bounds of the intervals that the states of a variable are, which outlive new names.
class Bounds {
public:
    Bounds(Bnode_bn& node, int count) : variable_(node.variable) {
        if (variable_.levels != nullptr && count == variable_.numStates &&
            variable_.numLevels == count + 1)
            bounds_.assign(variable_.levels, variable_.levels + variable_.numLevels);
    }
    ~Bounds() {
        if (bounds_.empty() || variable_.levels != nullptr) return;
        variable_.levels = new double[bounds_.size()];
        std::ranges::copy(bounds_, variable_.levels);
        variable_.numLevels = static_cast<int>(bounds_.size());
    }
    Bounds(const Bounds&) = delete;
    Bounds& operator=(const Bounds&) = delete;

private:
    Varbl_bn& variable_;
    std::vector<double> bounds_;
};

void SetStates(Change& change, Bnode_bn& node, const StateList& list) {
    const int count = static_cast<int>(list.states.size());
    const Bounds bounds(node, count);
    for (Bnode_bn* other : change.net().nodes)
        if (std::ranges::find(other->parents, &node) != other->parents.end())
            change.keepViews(*other);
    if (list.labels) {
        OwnedStrs labels = list.texts(&State::name);
        const auto same = [&](const State& a) {
            return std::ranges::count(list.states, a.name, &State::name) > 1;
        };
        if (const auto twice = std::ranges::find_if(list.states, same); twice != list.states.end())
            throw py::value_error("two states are '" + *twice->name + "'");
        return Change::check(SetStatesToLabels(node, labels.release(), count, false));
    }
    Change::check(node.setStates(count, list.texts(&State::name).release()));
    if (OwnedStrs titles = list.texts(&State::title); titles.get() != nullptr)
        node.setStateTitles(titles.release());
    for (int i = 0; i < count; ++i)
        if (const State& state = list.states[static_cast<std::size_t>(i)]; state.comment)
            Change::check(node.setStateComment(i, NewText(state.comment)));
    if (count == 0 ||
        !std::ranges::all_of(list.states, [](const State& s) { return s.value.has_value(); }))
        return;
    auto levels = std::make_unique<double[]>(list.states.size());
    std::ranges::transform(list.states, levels.get(), [](const State& s) { return *s.value; });
    node.variable.levels = levels.release();
    node.variable.numLevels = count;
}

void SetParents(Change& change, Bnode_bn& node, const std::vector<Bnode_bn*>& parents) {
    for (std::size_t i = 0; i < parents.size(); ++i)
        if (std::find(parents.begin(), parents.begin() + static_cast<std::ptrdiff_t>(i),
                      parents[i]) != parents.begin() + static_cast<std::ptrdiff_t>(i))
            throw py::value_error("node '" + std::string(parents[i]->name()) +
                                  "' is named twice as a parent");
    change.keepViews(node);
    const BndList_bn before = node.parents;
    rept_kt* const report = node.changePreds(ListOf(parents));
    if (!IsError(report)) return;
    node.changePreds(before);
    Change::check(report);
}

std::string ShapeText(const std::vector<py::ssize_t>& shape) {
    return py::str(py::tuple(py::cast(shape))).cast<std::string>();
}

/// Numbers as the model takes them.
struct Numbers {
    XArray<float> floats;
    XArray<double> exact;  // null where the floats hold them
};

/// The numbers, when they have the shape. One that is a float's is what the float stands for: 0.1,
/// not 0.10000000149.
Numbers NumbersOf(const Node& node, const Values<double>& given,
                  const std::vector<py::ssize_t>& shape) {
    if (!std::equal(shape.begin(), shape.end(), given.shape(), given.shape() + given.ndim()))
        throw py::value_error("node '" + std::string(node->name()) +
                              "' needs an array of the shape " + ShapeText(shape) + ", not " +
                              ShapeText({given.shape(), given.shape() + given.ndim()}));
    const auto count = given.size();
    Numbers numbers{NewXArray<float>(count), NewXArray<double>(count)};
    if (numbers.floats == nullptr || numbers.exact == nullptr) throw std::bad_alloc();
    for (py::ssize_t i = 0; i < count; ++i) {
        const double number = given.data()[i];
        const auto at = static_cast<std::size_t>(i);
        numbers.floats[at] = static_cast<float>(number);
        const bool isFloat = static_cast<double>(numbers.floats[at]) == number;
        numbers.exact[at] = isFloat ? ShortestDouble(numbers.floats[at]) : number;
    }
    if (AreHeldByFloats(numbers.exact.get(), numbers.floats.get(), count)) numbers.exact.reset();
    return numbers;
}

/// What is given as numbers.
Values<double> ArrayOf(const Node& node, const py::object& given,
                       const std::vector<py::ssize_t>& shape) {
    Values<double> array = Values<double>::ensure(given);
    if (!array)
        throw py::value_error("node '" + std::string(node->name()) +
                              "' needs an array of numbers of the shape " + ShapeText(shape));
    return array;
}

/// A Python warning about the first row that does not sum to 1.
void WarnOfSums(const Bnode_bn& node, const Values<double>& table) {
    const int states = node.numStates();
    if (node.kind != NatureNode || states == 0) return;
    const double* row = table.data();
    for (py::ssize_t at = 0; at < table.size(); at += states, row += states) {
        const double sum = std::accumulate(row, row + states, 0.0);
        if (std::abs(sum - 1) <= 1e-3) continue;
        const std::string text = "row " + std::to_string(at / states) + " of node '" + node.name() +
                                 "' sums to " + py::str(py::float_(sum)).cast<std::string>() +
                                 ", not 1";
        if (PyErr_WarnEx(PyExc_UserWarning, text.c_str(), 1) != 0) throw py::error_already_set();
        return;
    }
}

void SetTable(const Node& node, const py::object& given) {
    Change change(node.net);
    Bnode_bn& changed = change.of(node);
    if (given.is_none()) return changed.relation.clear();
    const auto shape = TableShape(node, node->numStates());
    const Values<double> table = ArrayOf(node, given, shape);
    Numbers numbers = NumbersOf(node, table, shape);
    if (table.size() == 0)
        throw py::value_error("node '" + std::string(changed.name()) +
                              "' or a parent has no states, and so no table");
    Change::check(changed.setTable(std::move(numbers.floats), std::move(numbers.exact)));
    changed.relation.keepPossible();
    WarnOfSums(changed, table);
}

void SetExperience(const Node& node, const py::object& given) {
    Change change(node.net);
    Bnode_bn& changed = change.of(node);
    if (given.is_none()) return changed.relation.setExperTable(nullptr);
    if (changed.relation.kind == RelnKindEN::none)
        throw py::value_error("node '" + std::string(changed.name()) + "' has no table");
    const auto shape = TableShape(node, 0);
    const Values<double> experience = ArrayOf(node, given, shape);
    Numbers numbers = NumbersOf(node, experience, shape);
    const bool usable = std::all_of(numbers.floats.get(), numbers.floats.get() + experience.size(),
                                    [](float n) { return n >= 0 && std::isfinite(n); });
    if (!usable) throw py::value_error("experience is finite and not negative");
    changed.relation.setExperTable(numbers.floats.release(), numbers.exact.release());
}

// ---- Nets ----------------------------------------------------------------------------------

SharedNet NewNet(const std::string& name, const OptionalText& title) {
    auto net = std::make_shared<Net>();
    const std::string legal = LegalName(name);
    net->net.reset(NewVBNet(DupStr_kt(std::string_view(legal))));
    net->net->fileName = DupStr_kt(std::string_view());
    SetNetLabel(*net->net, NewText(title ? title : legal == name ? OptionalText() : name));
    return net;
}

/// Where a node stands of which that is not said: below the others, where they have places.
coord_kt FreePlace(const Bnet_bn& net) {
    rect_kt extent;
    net.vnets[0]->findExtent(extent);
    constexpr int distance = 80;
    const bool none = extent.left == extent.right && extent.top == extent.bottom;
    return none ? coord_kt{extent.left, extent.top}
                : coord_kt{extent.left, extent.bottom + distance};
}

Node AddNode(const SharedNet& net, const std::string& name, const py::object& states,
             const py::object& parents, const py::object& table, const std::string& kind,
             const OptionalText& title, const OptionalText& comment, const py::object& position) {
    const StateList list = StatesOf(states);
    const std::vector<Bnode_bn*> above = NodesOf(net, parents);
    const NodeKindEN wanted = KindNamed(kind);
    if (net->net->findNodeLabeled(std::string_view(name)) != nullptr)
        throw py::value_error("there is a node '" + name + "' already");
    const coord_kt at = position.is_none() ? FreePlace(*net->net) : PlaceOf(position);
    Change change(net);
    Bnode_bn* const made = NewNode_ibn(nullptr, 0, *net->net, at);
    if (made == nullptr) throw py::value_error("the net has no room for another node");
    try {
        Change::check(SetNodeLabel(*made, NewText(name)));
        if (title) made->setTitle(NewText(title));
        made->setComment(NewText(comment));
        made->kind = wanted;
        SetStates(change, *made, list);
        SetParents(change, *made, above);
        net->changed();
        if (!table.is_none()) SetTable({net, made}, table);
    } catch (...) {
        RemoveNodes_ibn(*net->net, ListOf({made}));
        throw;
    }
    return {net, made};
}

void Remove(const SharedNet& net, const py::args& keys) {
    const std::vector<Bnode_bn*> going = NodesOf(net, keys);
    Change change(net);
    for (Bnode_bn* node : going) change.keepViews(*node);
    for (Bnode_bn* child : net->net->nodes)
        if (std::ranges::any_of(child->parents, [&](const Bnode_bn* parent) {
                return std::ranges::find(going, parent) != going.end();
            }))
            change.keepViews(*child);
    RemoveNodes_ibn(*net->net, ListOf(going));
}

void SetNetName(const SharedNet& net, const std::string& name) {
    if (!IsLegalName_kt(name))
        throw py::value_error("'" + name +
                              "' is no name: a letter, then letters, digits and underscores");
    delete[] std::exchange(net->net->name, DupStr_kt(std::string_view(name)));
    ++net->net->changeMarker;
}

/// Makes a property that was read alone one that can be set.
void AddSetter(const py::object& type, const char* name, auto set) {
    const py::cpp_function setter(set, py::name(name), py::is_method(type));
    type.attr(name) = type.attr(name).attr("setter")(setter);
}

/// Makes calling the class call the function, so that no object is ever there that was not made
/// whole.
void MakeCallable(const py::object& type, const py::object& function) {
    static PyObject* const make = function.inc_ref().ptr();
    static PyTypeObject* const made = reinterpret_cast<PyTypeObject*>(type.ptr());
    made->tp_new = [](PyTypeObject* wanted, PyObject* args, PyObject* named) -> PyObject* {
        if (wanted == made) return PyObject_Call(make, args, named);
        PyErr_Format(PyExc_TypeError, "%s has no classes derived from it", made->tp_name);
        return nullptr;
    };
    type.attr("__init__") = py::cpp_function(
        [](const py::object&, const py::args&, const py::kwargs&) {}, py::is_method(type));
    PyType_Modified(made);
}

}  // namespace

void DefineChanging(py::module_& module) {
    using py::literals::operator""_a;
    const py::object node = module.attr("Node");
    AddSetter(node, "name", SetName);
    AddSetter(node, "title", SetTitle);
    AddSetter(node, "comment", SetComment);
    AddSetter(node, "kind", SetKind);
    AddSetter(node, "position", SetPosition);
    AddSetter(node, "table", SetTable);
    AddSetter(node, "experience", SetExperience);
    AddSetter(node, "states", [](const Node& n, const py::object& states) {
        const StateList list = StatesOf(states);
        Change change(n.net);
        SetStates(change, change.of(n), list);
    });
    AddSetter(node, "parents", [](const Node& n, const py::object& parents) {
        const std::vector<Bnode_bn*> list = NodesOf(n.net, parents);
        Change change(n.net);
        SetParents(change, change.of(n), list);
    });

    py::class_<Net, SharedNet> net(module.attr("Net"));
    AddSetter(net, "name", SetNetName);
    AddSetter(net, "title", [](const SharedNet& n, const OptionalText& title) {
        SetNetLabel(*n->net, NewText(title));
    });
    AddSetter(net, "comment", [](const SharedNet& n, const OptionalText& comment) {
        n->net->setComment(NewText(comment));
    });
    module.def("new_net", NewNet, "name"_a = "net", "title"_a = py::none(),
               "An empty net. A name that is no legal one becomes the title.");
    MakeCallable(net, module.attr("new_net"));
    net.def("add_node", AddNode, "name"_a, "states"_a = py::tuple(), "parents"_a = py::tuple(),
            "table"_a = py::none(), py::kw_only(), "kind"_a = "nature", "title"_a = py::none(),
            "comment"_a = py::none(), "position"_a = py::none(),
            "Adds a node at the end and returns it. A name that is no legal one becomes the title, "
            "and the name is made of it. states: texts, or lumo.State; none for a utility node or "
            "a continuous variable. parents: nodes, or their names, in the order of the table's "
            "dimensions. table: as Node.table is.\n\nRaises ValueError, and adds nothing, for a "
            "name that is taken, equal states, parents that would close a cycle, and a table of "
            "another shape or with negative or infinite numbers; KeyError for a parent that is "
            "not there.");
    net.def("remove", Remove,
            "Takes the nodes, or those of the names, out of the net. Their children keep their "
            "other parents and lose their tables.");
}

}  // namespace lumo::python
