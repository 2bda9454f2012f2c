// Nets and reports as bytes and back, for pickling and copying: all that can be seen of them, texts
// byte by byte and numbers bit by bit. (The JSON has neither the bytes of texts that are not UTF-8,
// nor the texts that nodes are looked up by, nor negative zeros.)
#include <span>

#include "library/reports/reports.h"
#include "python/archive.h"

namespace lumo::python {
namespace {

// ---- Reports -------------------------------------------------------------------------------

template <class T>
void Put(ArchiveOut& out, const T& value) {
    out.value(value);
}
void Put(ArchiveOut& out, const std::string& text) { out.text(text); }
template <class T>
void Take(ArchiveIn& in, T& value) {
    in.value(value);
}
void Take(ArchiveIn& in, std::string& text) { text = in.string(); }

/// Calls the function with each field.
void EachReportField(auto& report, auto call) {
    call(report.number);
    call(report.severity);
    call(report.message);
    call(report.file);
    call(report.line);
    call(report.column);
    call(report.structKind);
    call(report.structName);
    call(report.fieldName);
    call(report.sourceLine);
    call(report.sourceCaret);
}

void PutReport(ArchiveOut& out, const ReportRecord& report) {
    EachReportField(report, [&](const auto& field) { Put(out, field); });
}

ReportRecord TakeReport(ArchiveIn& in) {
    ReportRecord report;
    EachReportField(report, [&](auto& field) { Take(in, field); });
    return report;
}

// ---- Nodes ---------------------------------------------------------------------------------

void PutTexts(ArchiveOut& out, char* const* texts, int count) {
    out.value(texts != nullptr);
    for (int i = 0; texts != nullptr && i < count; ++i) out.text(texts[i]);
}

OwnedStrs TakeTexts(ArchiveIn& in, int count) {
    if (!in.value<bool>()) return {};
    OwnedStrs texts(
        new char* [static_cast<std::size_t>(count)] {}, count);
    for (int i = 0; i < count; ++i) texts.get()[i] = in.text();
    return texts;
}

void PutNode(ArchiveOut& out, const Bnode_bn& node) {
    const Varbl_bn& variable = node.variable;
    for (const char* text : {node.name(), node.identity(), const_cast<const char*>(node.title),
                             const_cast<const char*>(node.comment)})
        out.text(text);
    out.value(node.vns.hasSome() ? node.vns[0]->position : coord_kt());
    out.value(node.kind);
    out.value(node.groupIndex);
    out.value(variable.discrete);
    out.value(variable.numStates);
    for (char* const* texts : {variable.stateNames, variable.stateTitles, variable.stateComments})
        PutTexts(out, texts, variable.numStates);
    out.value(variable.numLevels);
    out.array(variable.levels, variable.numLevels);
    out.list(node.userFields(), [&](const UserField& field) {
        out.text(field.name);
        out.text(field.data);
    });
}

void TakeStates(ArchiveIn& in, Bnode_bn& node) {
    const bool discrete = in.value<bool>();
    if (!discrete) node.setDiscrete(ContinuousVar, false, CheckFull);
    const int count = in.index(MaxStates + 1);
    OwnedStrs names = TakeTexts(in, count);
    if (IsError(node.setStates(count, names.release(), nullptr, nullptr, nullptr, CheckFull)))
        ArchiveIn::refuse();
    node.setStateTitles(TakeTexts(in, count).release());
    const OwnedStrs comments = TakeTexts(in, count);
    for (int i = 0; comments.get() != nullptr && i < count; ++i)
        if (comments.get()[i] != nullptr)
            node.setStateComment(i, DupStr_kt(std::string_view(comments.get()[i])));
    Varbl_bn& variable = node.variable;
    variable.numLevels = in.index(MaxStates + 2);
    if (const XArray<double> levels = in.array<double>(variable.numLevels); levels != nullptr) {
        variable.levels = new double[static_cast<std::size_t>(variable.numLevels)];
        std::copy_n(levels.get(), variable.numLevels, variable.levels);
    }
}

void TakeNode(ArchiveIn& in, Bnet_bn& net) {
    const std::string name = in.string();
    const OwnedStr identity(in.text()), title(in.text());
    OwnedStr comment(in.text());
    const auto position = in.value<coord_kt>();
    Bnode_bn* const node = NewNode_ibn(name.c_str(), 0, net, position);
    if (node == nullptr || name != node->name()) ArchiveIn::refuse();
    if (identity != nullptr) SetNodeIdentity(*node, identity.get());
    if (title != nullptr) node->setTitle(DupStr_kt(std::string_view(title.get())));
    node->setComment(comment.release());
    in.value(node->kind);
    in.value(node->groupIndex);
    TakeStates(in, *node);
    in.list([&] {
        const std::string field = in.string(), data = in.string();
        node->setUserField(field.c_str(), data.data(), static_cast<int>(data.size()));
    });
}

// ---- Links and relations -------------------------------------------------------------------

/// The lengths of a relation's tables.
struct TableSizes {
    long long rows, entries;
    explicit TableSizes(const Bnode_bn& node)
        : rows(NumProduct(node.parents)), entries(rows * std::max(node.numStates(), 1)) {}
};

void PutRelation(ArchiveOut& out, Net& net, const Bnode_bn& node) {
    out.list(node.parents, [&](const Bnode_bn* parent) { out.value(net.placeOf(parent)); });
    const Reln_bn& relation = node.relation;
    const TableSizes sizes(node);
    out.value(relation.kind);
    out.array(relation.probs, sizes.entries);
    out.array(relation.reals, sizes.entries);
    out.array(relation.exper, sizes.rows);
    out.array(relation.params, NumCIParams(node));
}

void TakeRelation(ArchiveIn& in, Bnode_bn& node) {
    const BndList_bn& nodes = node.net().nodes;
    BndList_bn parents;
    in.list([&] { parents.append(nodes[in.index(nodes.N)]); });
    if (IsError(node.changePreds(parents, nullptr, true, 1, 1, false))) ArchiveIn::refuse();
    Reln_bn& relation = node.relation;
    const TableSizes sizes(node);
    in.value(relation.kind);
    relation.probs = in.array<float>(sizes.entries).release();
    relation.reals = in.array<float>(sizes.entries).release();
    relation.exper = in.array<float>(sizes.rows).release();
    relation.params = in.array<double>(NumCIParams(node)).release();
}

// ---- Node sets and drawing -----------------------------------------------------------------

void PutSets(ArchiveOut& out, Net& net) {
    std::unordered_map<const nodeset_bn*, int> places;
    out.list(net.net->nodesets(), [&](const OwnedNodeset& set) {
        places.emplace(set.get(), static_cast<int>(places.size()));
        out.text(set->name());
        out.list(set->nodes(), [&](const Bnode_bn* node) { out.value(net.placeOf(node)); });
    });
    out.list(net.net->nodes, [&](const Bnode_bn* node) {
        out.list(node->nodesets(), [&](const nodeset_bn* set) { out.value(places.at(set)); });
    });
}

/// Joins nodes and sets so that both have their order again: a node joins its next set when it is
/// that set's next node.
void TakeSets(ArchiveIn& in, Bnet_bn& net) {
    struct Side {
        std::vector<int> others;
        std::size_t next = 0;
        bool nextIs(int other) const { return next < others.size() && others[next] == other; }
    };
    std::vector<Side> sets, nodes;
    const auto take = [&](std::vector<Side>& sides, int limit) {
        in.list([&] { sides.back().others.push_back(in.index(limit)); });
    };
    in.list([&] {
        if (net.newNodeset(in.string().c_str(), nullptr, nullptr) == nullptr) ArchiveIn::refuse();
        sets.emplace_back();
        take(sets, net.nodes.N);
    });
    const auto setCount = static_cast<int>(sets.size());
    if (net.nodesets().size() != sets.size()) ArchiveIn::refuse();
    std::vector<int> waiting;
    in.list([&] {
        waiting.push_back(static_cast<int>(nodes.size()));
        nodes.emplace_back();
        take(nodes, setCount);
    });
    if (std::ssize(nodes) != net.nodes.N) ArchiveIn::refuse();
    while (!waiting.empty()) {
        const int place = waiting.back();
        waiting.pop_back();
        Side& node = nodes[static_cast<std::size_t>(place)];
        for (; node.next < node.others.size(); ++node.next) {
            const auto joined = static_cast<std::size_t>(node.others[node.next]);
            Side& set = sets[joined];
            if (!set.nextIs(place)) break;
            BndList_bn alone;
            alone.append(net.nodes[place]);
            net.nodesets()[joined]->addNodes(alone, true);
            if (++set.next < set.others.size()) waiting.push_back(set.others[set.next]);
        }
    }
}

/// Calls the function with each plain value.
void EachDrawingField(auto& drawing, auto call) {
    call(drawing.extentWidth);
    call(drawing.extentHeight);
    call(drawing.marginUnit);
    call(drawing.drawStyle);
    call(drawing.labelStyle);
    call(drawing.zoomFactor);
    call(drawing.grid);
    call(drawing.showGrid);
    call(drawing.snapToGrid);
    call(drawing.laidOut);
}

void PutDrawing(ArchiveOut& out, const Vnet_kt& drawing) {
    EachDrawingField(drawing, [&](const auto& field) { Put(out, field); });
    const fontspec_kt& font = drawing.font->spec();
    out.text(font.face);
    out.value(font.size);
    out.value(font.styleFlags);
    out.list(drawing.nodesetStyles, [&](const NodesetStyle& style) { out.value(style); });
}

void TakeDrawing(ArchiveIn& in, Vnet_kt& drawing) {
    EachDrawingField(drawing, [&](auto& field) { Take(in, field); });
    fontspec_kt font;
    font.face = in.string();
    in.value(font.size);
    in.value(font.styleFlags);
    FreeFont_fc(std::exchange(drawing.font, NewFont_fc(nullptr, -1, &font)));
    in.list([&] { drawing.nodesetStyles.append(in.value<NodesetStyle>()); });
}

// ---- Nets ----------------------------------------------------------------------------------

void PutNet(ArchiveOut& out, Net& net) {
    const Bnet_bn& bnet = *net.net;
    for (const char* text : {bnet.name, bnet.title, bnet.comment, bnet.fileName}) out.text(text);
    out.value(bnet.autoUpdate);
    out.list(bnet.nodes, [&](const Bnode_bn* node) { PutNode(out, *node); });
    for (const Bnode_bn* node : bnet.nodes) PutRelation(out, net, *node);
    PutSets(out, net);
    PutDrawing(out, *bnet.vnets[0]);
}

std::unique_ptr<Bnet_bn> TakeNet(ArchiveIn& in) {
    std::unique_ptr<Bnet_bn> net(NewVBNet(in.text(), false));
    SetNetLabel(*net, in.text());
    net->setComment(in.text());
    net->fileName = in.text();
    in.value(net->autoUpdate);
    in.list([&] { TakeNode(in, *net); });
    for (Bnode_bn* node : net->nodes) TakeRelation(in, *node);
    TakeSets(in, *net);
    TakeDrawing(in, *net->vnets[0]);
    return net;
}

std::string StateOfNet(Net& net) {
    ArchiveOut out;
    out.text(net.file);
    out.text(net.format);
    out.value(net.formatCode);
    out.value(net.source.has_value());
    out.value(net.source.value_or(FileIdentity{}));
    out.list(net.reports, [&](const ReportRecord& report) { PutReport(out, report); });
    out.list(net.skipped, [&](const SkippedWord& skipped) {
        out.text(skipped.word);
        out.value(skipped.count);
    });
    out.list(net.notes, [&](const std::string& note) { out.text(note); });
    PutNet(out, net);
    return out.take();
}

SharedNet NetOfState(std::string_view state) {
    ArchiveIn in(state);
    auto net = std::make_shared<Net>();
    net->file = in.string();
    net->format = in.string();
    in.value(net->formatCode);
    const bool hasSource = in.value<bool>();
    const auto source = in.value<FileIdentity>();
    if (hasSource) net->source = source;
    in.list([&] { net->reports.push_back(TakeReport(in)); });
    in.list([&] {
        std::string word = in.string();
        net->skipped.push_back({std::move(word), in.value<long long>()});
    });
    in.list([&] { net->notes.push_back(in.string()); });
    const ReportScope scope;  // errors that bytes of another origin give are released
    net->net = TakeNet(in);
    return net;
}

}  // namespace

void DefineState(py::module_& module) {
    module.def("net_state", [](const SharedNet& net) { return py::bytes(StateOfNet(*net)); });
    module.def("net_of",
               [](const py::bytes& state) { return NetOfState(std::string_view(state)); });
    module.def("report_state", [](const ReportRecord& report) {
        ArchiveOut out;
        PutReport(out, report);
        return py::bytes(out.take());
    });
    module.def("report_of", [](const py::bytes& state) {
        ArchiveIn in{std::string_view(state)};
        return TakeReport(in);
    });
    module.def("place_of", [](const Node& node) { return node.net->placeOf(node.node); });
}

}  // namespace lumo::python
