// Nets and reports as bytes and back, for pickling and copying: all that can be seen of them, texts
// byte by byte and numbers bit by bit. (The JSON has neither the bytes of texts that are not UTF-8,
// nor the texts that nodes are looked up by, nor negative zeros.)
//
// A net is put into plain structs, whose fields are listed once for both directions, and made of
// them again through the model's own operations, which is where bytes of another origin are found
// out.
#include <algorithm>
#include <cmath>
#include <span>
#include <unordered_set>

#include "formats/detect.h"
#include "library/reports/reports.h"
#include "python/archive.h"

namespace lumo::python {

// ---- What there is of a net ----------------------------------------------------------------

using Text = std::optional<std::string>;

struct NodeState {
    std::string name;
    Text identity, title, comment;
    coord_kt position{};
    NodeKindEN kind = NatureNode;
    int groupIndex = -1, states = 0;
    bool discrete = true, titlesAreIds = false;
    std::optional<std::vector<Text>> stateNames, stateTitles, stateComments;
    std::vector<double> levels;
    std::vector<std::pair<std::string, std::string>> userFields;
};

struct RelationState {
    std::vector<int> parents;
    RelnKindEN kind = RelnKindEN::none;
    bool saidDeterministic = false, experFromCounts = false;
    std::vector<float> probs, reals, exper;
    std::vector<double> exact, exactExper, params;
    std::vector<int> order;
};

struct SetState {
    std::string name;
    std::vector<int> nodes;
};

struct StyleState {
    NodesetStyle style;
    std::string name;
};

struct DrawingState {
    fontspec_kt font;
    coord_kt extent{};
    int drawStyle = 0, labelStyle = 0;
    coord_kt margin{};
    double zoom = 1;
    dcoord_kt grid{};
    bool showGrid = false, snapToGrid = false, laidOut = false;
    bool isAwaited = false;  ///< the layout, which has not run
    AwaitedLayout awaited;
    std::vector<StyleState> styles;
};

struct NetState {
    std::string name, fileName;
    Text title, comment;
    bool autoUpdate = false;
    std::vector<NodeState> nodes;
    std::vector<RelationState> relations;
    std::vector<SetState> sets;
    std::vector<std::vector<int>> setsOfNodes;
    DrawingState drawing;
};

// The same for constant objects, which are put, and others, which are taken.
template <class T, class OBJECT>
concept Of = std::is_same_v<std::remove_const_t<T>, OBJECT>;

void EachField(Of<coord_kt> auto& at, auto& archive) { archive(at.x, at.y); }
void EachField(Of<dcoord_kt> auto& at, auto& archive) { archive(at.x, at.y); }
void EachField(Of<AwaitedLayout> auto& a, auto& archive) {
    archive(a.area.left, a.area.top, a.area.right, a.area.bottom, a.spacing, a.margin);
}
void EachField(Of<FileIdentity> auto& file, auto& archive) { archive(file.device, file.number); }
void EachField(Of<SkippedWord> auto& skipped, auto& archive) {
    archive(skipped.word, skipped.count);
}
void EachField(Of<fontspec_kt> auto& font, auto& archive) {
    archive(font.face, font.size, font.styleFlags);
}
void EachField(Of<ReportRecord> auto& r, auto& archive) {
    archive(r.number, r.severity, r.message, r.file, r.line, r.column, r.structKind, r.structName,
            r.fieldName, r.sourceLine, r.sourceCaret);
}
void EachField(Of<NodeState> auto& n, auto& archive) {
    archive(n.name, n.identity, n.title, n.comment, n.position, n.kind, n.groupIndex, n.states,
            n.discrete, n.titlesAreIds, n.stateNames, n.stateTitles, n.stateComments, n.levels,
            n.userFields);
}
void EachField(Of<RelationState> auto& r, auto& archive) {
    archive(r.parents, r.kind, r.saidDeterministic, r.experFromCounts, r.probs, r.reals, r.exper,
            r.exact, r.exactExper, r.params, r.order);
}
void EachField(Of<SetState> auto& set, auto& archive) { archive(set.name, set.nodes); }
void EachField(Of<StyleState> auto& s, auto& archive) {
    archive(s.style.red, s.style.green, s.style.blue, s.style.colorTag, s.style.colorPad,
            s.style.flags, s.name);
}
void EachField(Of<DrawingState> auto& d, auto& archive) {
    archive(d.font, d.extent, d.drawStyle, d.labelStyle, d.margin, d.zoom, d.grid, d.showGrid,
            d.snapToGrid, d.laidOut, d.isAwaited, d.awaited, d.styles);
}
void EachField(Of<NetState> auto& n, auto& archive) {
    archive(n.name, n.fileName, n.title, n.comment, n.autoUpdate, n.nodes, n.relations, n.sets,
            n.setsOfNodes, n.drawing);
}
void EachField(Of<Net> auto& net, auto& archive) {
    archive(net.file, net.format, net.formatCode, net.source, net.reports, net.skipped, net.notes);
}

namespace {

constexpr auto require = ArchiveIn::require;

Text TextOf(const char* text) { return text == nullptr ? Text() : Text(text); }
char* CopyText(const Text& text) { return text ? DupStr_kt(std::string_view(*text)) : nullptr; }

// ---- From a net ----------------------------------------------------------------------------

std::optional<std::vector<Text>> TextsOf(char* const* texts, int count) {
    if (texts == nullptr) return std::nullopt;
    std::vector<Text> all;
    for (int i = 0; i < count; ++i) all.push_back(TextOf(texts[i]));
    return all;
}

template <class T>
std::vector<T> NumbersOf(const T* numbers, long long count) {
    return numbers == nullptr ? std::vector<T>() : std::vector<T>(numbers, numbers + count);
}

/// Whether positions that wait for the automatic layout are asked for.
enum class AskEN : unsigned char { no, yes };

const AwaitedLayout* Awaited(const Vnet_kt& drawing, AskEN ask) {
    return ask == AskEN::yes ? nullptr : drawing.awaited();
}

coord_kt PositionOf(const Bnode_bn& node, AskEN ask) {
    const bool isKnown = node.vns.hasSome() && Awaited(*node.net().vnets[0], ask) == nullptr;
    return isKnown ? node.vns[0]->position() : coord_kt();
}

NodeState StateOf(const Bnode_bn& node, AskEN ask) {
    const Varbl_bn& v = node.variable;
    NodeState state{node.name(),
                    TextOf(node.identity()),
                    TextOf(node.title),
                    TextOf(node.comment),
                    PositionOf(node, ask),
                    node.kind,
                    node.groupIndex,
                    v.numStates,
                    v.discrete,
                    v.titlesAreIds,
                    TextsOf(v.stateNames, v.numStates),
                    TextsOf(v.stateTitles, v.numStates),
                    TextsOf(v.stateComments, v.numStates),
                    NumbersOf(v.levels, v.numLevels),
                    {}};
    for (const UserField& field : node.userFields())
        state.userFields.emplace_back(field.name, field.data);
    return state;
}

/// The lengths of a relation's tables.
struct TableSizes {
    long long rows, entries;
    explicit TableSizes(const Bnode_bn& node)
        : rows(NumProduct(node.parents)), entries(rows * std::max(node.numStates(), 1)) {}
};

RelationState RelationOf(Net& net, const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    const TableSizes sizes(node);
    RelationState state;
    for (const Bnode_bn* parent : node.parents) state.parents.push_back(net.placeOf(parent));
    state.kind = relation.kind;
    state.probs = NumbersOf(relation.probs, sizes.entries);
    state.reals = NumbersOf(relation.reals, sizes.entries);
    state.exper = NumbersOf(relation.exper, sizes.rows);
    state.exact = NumbersOf(relation.exact, sizes.entries);
    state.exactExper = NumbersOf(relation.exactExper, sizes.rows);
    state.saidDeterministic = relation.saidDeterministic;
    state.experFromCounts = relation.experFromCounts;
    state.params = NumbersOf(relation.params, NumCIParams(node));
    state.order = NumbersOf(relation.order, NumFamilyStates(node));
    return state;
}

DrawingState StateOf(const Vnet_kt& drawing, AskEN ask) {
    const AwaitedLayout* const awaited = Awaited(drawing, ask);
    DrawingState state{drawing.font->spec(),
                       awaited == nullptr ? drawing.extent() : coord_kt{},
                       drawing.drawStyle,
                       drawing.labelStyle,
                       drawing.marginUnit,
                       drawing.zoomFactor,
                       drawing.grid,
                       drawing.showGrid,
                       drawing.snapToGrid,
                       drawing.laidOut,
                       awaited != nullptr,
                       awaited == nullptr ? AwaitedLayout{} : *awaited,
                       {}};
    for (const NodesetStyle& style : drawing.nodesetStyles)
        state.styles.push_back({style, style.name});
    return state;
}

NetState StateOf(Net& net, AskEN ask = AskEN::no) {
    const Bnet_bn& bnet = *net.net;
    NetState state;
    state.name = bnet.name;
    state.fileName = bnet.fileName == nullptr ? "" : bnet.fileName;
    state.title = TextOf(bnet.title);
    state.comment = TextOf(bnet.comment);
    state.autoUpdate = bnet.autoUpdate;
    std::unordered_map<const nodeset_bn*, int> places;
    for (const OwnedNodeset& set : bnet.nodesets()) {
        places.emplace(set.get(), static_cast<int>(places.size()));
        state.sets.push_back({set->name(), {}});
        for (const Bnode_bn* node : set->nodes())
            state.sets.back().nodes.push_back(net.placeOf(node));
    }
    for (const Bnode_bn* node : bnet.nodes) {
        state.nodes.push_back(StateOf(*node, ask));
        state.relations.push_back(RelationOf(net, *node));
        state.setsOfNodes.emplace_back();
        for (const nodeset_bn* set : node->nodesets())
            state.setsOfNodes.back().push_back(places.at(set));
    }
    state.drawing = StateOf(*bnet.vnets[0], ask);
    return state;
}

// ---- A net again ---------------------------------------------------------------------------

void Check(rept_kt* report) { require(!IsError(report)); }

/// An array for the model, null for none.
OwnedStrs CopyTexts(const std::optional<std::vector<Text>>& texts, int count) {
    if (!texts) return {};
    require(std::ssize(*texts) == count);
    OwnedStrs array(
        new char* [texts->size()] {}, count);
    for (int i = 0; i < count; ++i)
        array.get()[i] = CopyText((*texts)[static_cast<std::size_t>(i)]);
    return array;
}

void MakeStates(Bnode_bn& node, const NodeState& state) {
    if (!state.discrete) Check(node.setDiscrete(ContinuousVar));
    const int count = state.states;
    const bool hasLevels = !state.levels.empty();
    const auto levels = std::ssize(state.levels);
    require(!hasLevels || levels == (state.discrete ? count : count + 1));
    require(std::ranges::none_of(state.levels, [](double level) { return std::isnan(level); }));
    auto numbers = std::make_unique<double[]>(state.levels.size());
    std::ranges::copy(state.levels, numbers.get());
    OwnedStrs names = CopyTexts(state.stateNames, count);
    Check(node.setStates(count, names.release(), hasLevels ? numbers.release() : nullptr));
    node.setStateTitles(CopyTexts(state.stateTitles, count).release());
    node.variable.titlesAreIds = state.titlesAreIds;
    const OwnedStrs comments = CopyTexts(state.stateComments, count);
    for (int i = 0; state.stateComments && i < count; ++i)
        if (const Text& text = (*state.stateComments)[static_cast<std::size_t>(i)])
            Check(node.setStateComment(i, CopyText(text)));
}

void MakeNode(Bnet_bn& net, const NodeState& state,
              std::unordered_set<std::string_view>& identities) {
    require(state.kind == NatureNode || state.kind == DecisionNode || state.kind == UtilityNode);
    Bnode_bn* const node = NewNode_ibn(state.name.c_str(), 0, net, state.position);
    require(node != nullptr && state.name == node->name());
    if (state.identity) {
        require(identities.insert(*state.identity).second);
        SetNodeIdentity(*node, state.identity->c_str());
    }
    if (state.title) node->setTitle(CopyText(state.title));
    node->setComment(CopyText(state.comment));
    node->kind = state.kind;
    node->groupIndex = state.groupIndex;
    MakeStates(*node, state);
    for (const auto& [name, data] : state.userFields)
        node->setUserField(name.c_str(), data.data(), static_cast<int>(data.size()));
}

template <class T>
T* NewNumbers(const std::vector<T>& numbers, long long count) {
    if (numbers.empty()) return nullptr;
    require(std::ssize(numbers) == count);
    require(std::ranges::all_of(numbers, [](T number) { return std::isfinite(number); }));
    XArray<T> array = NewXArray<T>(count);
    if (array == nullptr) throw std::bad_alloc();
    std::ranges::copy(numbers, array.get());
    return array.release();
}

/// Whether a relation of that kind has these tables.
bool Fits(const RelationState& state) {
    const bool probs = !state.probs.empty(), reals = !state.reals.empty();
    if (!state.exact.empty() && !probs && !reals) return false;
    if (!state.exactExper.empty() && state.exper.empty()) return false;
    switch (state.kind) {
        case RelnKindEN::none:
            return !probs && !reals && state.params.empty();
        case RelnKindEN::table:
        case RelnKindEN::deterministic:
            return probs && !reals && state.params.empty();
        case RelnKindEN::noisyMax:
            return !state.params.empty() && !reals;
        case RelnKindEN::real:
            return reals && !probs && state.params.empty();
    }
    return false;
}

void MakeRelation(Bnode_bn& node, const RelationState& state) {
    const BndList_bn& nodes = node.net().nodes;
    BndList_bn parents;
    for (const int place : state.parents) {
        require(place >= 0 && place < nodes.N);
        parents.append(nodes[place]);
    }
    Check(node.changePreds(parents));
    require(node.parents.N == parents.N && Fits(state));
    Reln_bn& relation = node.relation;
    const TableSizes sizes(node);
    relation.kind = state.kind;
    relation.probs = NewNumbers(state.probs, sizes.entries);
    relation.reals = NewNumbers(state.reals, sizes.entries);
    relation.exper = NewNumbers(state.exper, sizes.rows);
    relation.exact = NewNumbers(state.exact, sizes.entries);
    relation.exactExper = NewNumbers(state.exactExper, sizes.rows);
    relation.saidDeterministic = state.saidDeterministic;
    relation.experFromCounts = state.experFromCounts;
    relation.params = NewNumbers(state.params, NumCIParams(node));
    require(state.order.empty() ||
            (relation.kind == RelnKindEN::noisyMax && IsFamilyOrder(node, state.order)));
    relation.order = NewNumbers(state.order, NumFamilyStates(node));
}

/// One side of the membership of nodes in sets: the others in their order.
class Side {
public:
    explicit Side(const std::vector<int>& others, std::size_t limit) : others_(others) {
        for (const int other : others)
            require(other >= 0 && static_cast<std::size_t>(other) < limit);
    }
    bool isDone() const { return next_ == others_.size(); }
    int next() const { return others_[next_]; }
    bool nextIs(int other) const { return !isDone() && next() == other; }
    void advance() { ++next_; }

private:
    std::span<const int> others_;
    std::size_t next_ = 0;
};

/// Joins nodes and sets so that both have their order again: a node joins its next set when it is
/// that set's next node.
void MakeSets(Bnet_bn& net, const NetState& state) {
    std::vector<Side> sets, nodes;
    for (const SetState& set : state.sets) {
        require(net.findNodeset(set.name) == nullptr);
        require(net.newNodeset(set.name.c_str()) != nullptr);
        sets.emplace_back(set.nodes, state.nodes.size());
    }
    require(state.setsOfNodes.size() == state.nodes.size());
    std::vector<int> waiting;
    for (const std::vector<int>& joined : state.setsOfNodes) {
        waiting.push_back(static_cast<int>(nodes.size()));
        nodes.emplace_back(joined, sets.size());
    }
    while (!waiting.empty()) {
        const int place = waiting.back();
        waiting.pop_back();
        Side& node = nodes[static_cast<std::size_t>(place)];
        for (; !node.isDone(); node.advance()) {
            const auto joined = static_cast<std::size_t>(node.next());
            Side& set = sets[joined];
            if (!set.nextIs(place)) break;
            BndList_bn alone;
            alone.append(net.nodes[place]);
            net.nodesets()[joined]->addNodes(alone);
            set.advance();
            if (!set.isDone()) waiting.push_back(set.next());
        }
    }
    for (const std::vector<Side>* sides : {&sets, &nodes})
        require(std::ranges::all_of(*sides, &Side::isDone));
}

void MakeDrawing(Vnet_kt& drawing, const DrawingState& state) {
    require(std::isfinite(state.zoom) && std::isfinite(state.grid.x) &&
            std::isfinite(state.grid.y));
    drawing.setExtent(state.extent);
    drawing.drawStyle = state.drawStyle;
    drawing.labelStyle = state.labelStyle;
    drawing.marginUnit = state.margin;
    drawing.zoomFactor = state.zoom;
    drawing.grid = state.grid;
    drawing.showGrid = state.showGrid;
    drawing.snapToGrid = state.snapToGrid;
    drawing.laidOut = state.laidOut;
    require(std::isfinite(state.awaited.spacing));
    if (state.isAwaited) {
        drawing.awaitLayout(state.awaited);
        drawing.adjustDrawingSizeToFit(state.awaited.margin);
    }
    FreeFont_fc(std::exchange(drawing.font, NewFont_fc(nullptr, -1, &state.font)));
    for (const StyleState& each : state.styles) {
        NodesetStyle style = each.style;
        style.setName(each.name.c_str());
        drawing.nodesetStyles.append(style);
    }
}

std::unique_ptr<Bnet_bn> NetOf(const NetState& state) {
    require(IsLegalName_kt(state.name));
    std::unique_ptr<Bnet_bn> net(NewVBNet(DupStr_kt(std::string_view(state.name))));
    SetNetLabel(*net, CopyText(state.title));
    net->setComment(CopyText(state.comment));
    net->fileName = DupStr_kt(std::string_view(state.fileName));
    net->autoUpdate = state.autoUpdate;
    std::unordered_set<std::string_view> identities;
    for (const NodeState& node : state.nodes) MakeNode(*net, node, identities);
    require(state.relations.size() == state.nodes.size());
    for (int i = 0; i < net->nodes.N; ++i)
        MakeRelation(*net->nodes[i], state.relations[static_cast<std::size_t>(i)]);
    MakeSets(*net, state);
    MakeDrawing(*net->vnets[0], state.drawing);
    return net;
}

void CheckReport(const ReportRecord& report) {
    require(report.sourceCaret <= report.sourceLine.size());
}

std::string BytesOf(Net& net) {
    ArchiveOut out;
    out(net, StateOf(net));
    return out.take();
}

/// What makes two nets the same, whatever files they are from.
std::string BytesOfContent(Net& net, AskEN ask) {
    NetState state = StateOf(net, ask);
    state.fileName.clear();
    state.drawing.laidOut = false;
    state.drawing.extent = {};  // follows from the places of the nodes
    for (NodeState& node : state.nodes) {
        node.identity.reset();
        node.groupIndex = -1;
    }
    ArchiveOut out;
    out(state);
    return out.take();
}

SharedNet NetOfBytes(std::string_view bytes) {
    ArchiveIn in(bytes);
    auto net = std::make_shared<Net>();
    NetState state;
    in(*net, state);
    in.end();
    const FormatInfo* const format = FindFormat(net->formatCode);
    require(net->format == (format == nullptr ? "" : format->name));
    std::ranges::for_each(net->reports, CheckReport);
    SilentHandler silent;
    const HandlerScope handler(silent);
    const ReportScope scope;
    net->net = NetOf(state);
    return net;
}

}  // namespace

SharedNet CopyOf(Net& net) { return NetOfBytes(BytesOf(net)); }

void DefineState(py::module_& module) {
    module.def("net_state", [](const SharedNet& net) { return py::bytes(BytesOf(*net)); });
    module.def("net_of",
               [](const py::bytes& state) { return NetOfBytes(std::string_view(state)); });
    // For the tests: whether nothing was laid out yet.
    module.def("awaits_layout",
               [](const SharedNet& net) { return !net->net->vnets[0]->arePlacesKnown(); });
    module.def("same_net", [](const SharedNet& one, const SharedNet& two) {
        // Two nets that wait for the layout do not meet in what it would do.
        const auto awaits = [](const SharedNet& net) {
            return net->net->vnets[0]->awaited() != nullptr;
        };
        const AskEN ask = awaits(one) && awaits(two) ? AskEN::no : AskEN::yes;
        return BytesOfContent(*one, ask) == BytesOfContent(*two, ask);
    });
    module.def("report_state", [](const ReportRecord& report) {
        ArchiveOut out;
        out(report);
        return py::bytes(out.take());
    });
    module.def("report_of", [](const py::bytes& state) {
        ArchiveIn in{std::string_view(state)};
        ReportRecord report;
        in(report);
        in.end();
        CheckReport(report);
        return report;
    });
    module.def("place_of", [](const Node& node) { return node.net->placeOf(node.node); });
}

}  // namespace lumo::python
