// Hugin files: potentials, which link a node to its parents and give its table.
#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "formats/hugin/counts.h"
#include "formats/hugin/instances.h"
#include "formats/hugin/messages.h"
#include "formats/hugin/nodetable.h"
#include "formats/hugin/state.h"
#include "formats/shared/readers.h"
#include "library/model/access.h"
#include "library/utilities/exact.h"

namespace lumo::hugin {

namespace {

// ---- Tables --------------------------------------------------------------------------------

using PotentialHandler = void(Parser_CString_kt& in, Bnode_bn& node);
PotentialHandler parse_potential_data, ParsePotentialExperience, ParsePotentialModel;

constexpr Field<Bnode_bn> PotentialFields[] = {{"data", parse_potential_data}};

/// Those that are read leniently alone.
constexpr Field<Bnode_bn> LenientPotentialFields[] = {
    {"experience", ParsePotentialExperience},
    {"model_nodes", ParsePotentialModel},
    {"model_data", ParsePotentialModel},
};

// ---- Header --------------------------------------------------------------------------------

/// Reads the parents up to the ')' and links them to the child. Null, the input back before what is
/// wrong, when the list fails or a link is refused.
Bnode_bn* ReadParents(Parser_CString_kt& in, Bnet_bn& net, Bnode_bn& child) {
    bool refused = false;
    for (;;) {
        const char punc = in.readPunc();
        const ParserPos_kt here = in.tokenStart();
        if (punc != 0) {
            if (punc == ')') return refused ? nullptr : &child;
            in.report(msg::hugin.strayAmongParents, CharName(punc));
            in.setPos(here);
            return nullptr;
        }
        const std::string_view name = ReadName(in);
        if (name.empty()) {
            in.report(msg::text.unexpectedEnd);
            return &child;
        }
        Bnode_bn* const parent = ReadsInstances(in) ? net.findNodeLabeled(LabelOf(in, name).c_str())
                                                    : net.findNodeLabeled(name);
        if (parent == nullptr) {
            if (IsPassedOver(in, name))
                ListNode(in, msg::hugin.tablesWithoutParent, child.name());
            else
                in.report(msg::hugin.unknownParent, std::string(name).c_str());
            in.setPos(here);
            return nullptr;
        }
        rept_kt* const report = AddLink_ibn(*parent, child);
        in.setError(report);
        refused = refused || IsError(report);
    }
}

}  // namespace

Bnode_bn* read_potential_header(Parser_CString_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    StateOf(in).potential = {};
    RepeatNodes(in, net);
    const ParserPos_kt start = in.getPos();
    if (in.readPunc() != '(') {
        in.report(msg::hugin.missingNodeList);
        in.setPos(start);
        return nullptr;
    }
    const std::string_view name = ReadName(in);
    if (IsBoundChild(in, name)) return nullptr;
    Bnode_bn* const child = ReadsInstances(in)
                                ? net.findNodeLabeled(LabelOf(in, name).c_str())
                                : net.findNodeLabeled(name, StateOf(in).lastChild + 1);
    if (child == nullptr) {
        if (IsPassedOver(in, name))
            ListNode(in, msg::hugin.tablesWithoutNode, name);
        else
            in.report(msg::hugin.unknownChild, std::string(name).c_str());
        return nullptr;
    }
    StateOf(in).lastChild = child->place();
    in.structName = child->name();
    const ParserPos_kt here = in.getPos();
    const char punc = in.readPunc();
    if (punc == ')') return child;
    if (punc == '|') {
        const bool hadTable = child->relation.kind != RelnKindEN::none;
        Bnode_bn* const read = ReadParents(in, net, *child);
        if (hadTable && child->relation.kind == RelnKindEN::none)
            in.report(msg::import.tableAgain, child->name());
        return read;
    }
    in.report(msg::hugin.strayBehindChild, CharName(punc));
    in.setPos(here);
    return nullptr;
}

FieldHandler<Bnode_bn> read_potential_func(Parser_CString_kt& in, const char* name) {
    if (const FieldHandler<Bnode_bn> handler = FindField(PotentialFields, name)) return handler;
    return StateOf(in).lenient ? FindField(LenientPotentialFields, name) : nullptr;
}

namespace {

/// Keeps the field's value as a user field of the node.
void KeepText(Parser_CString_kt& in, Bnode_bn& node, const char* name) {
    const std::string text = ReadText(in);
    if (!text.empty()) node.setUserField(name, text.data(), static_cast<int>(text.size()));
}

void ParsePotentialModel(Parser_CString_kt& in, Bnode_bn& node) {
    StateOf(in).potential.modelPlace = in.tokenStart();
    KeepText(in, node, in.fieldName);
}

// ---- Potential data ------------------------------------------------------------------------

/// Whether a table of the nodes would be one of distributions.
bool AnyContinuous(const BndList_bn& nodes) {
    return std::ranges::any_of(nodes, [](const Bnode_bn* node) {
        return node->kind == NatureNode && !node->variable.discrete && node->numStates() == 0;
    });
}

/// Experience values are counts: all but whole numbers become whole, and without any information
/// left they go.
void TidyExperience(Reln_bn& relation) {
    if (relation.exper == nullptr) return;
    const int rows = NumProduct(relation.node->parents);
    relation.snapExperience(CountTolerance);
    for (int i = 0; i < rows; ++i) {
        if (relation.exper[i] != 1.0F) return;
    }
    relation.setExperTable(nullptr);
}

/// Warns of the node's first row that looks so. The rows were scaled: what is their experience now
/// was their sum.
void JudgeCounts(Parser_CString_kt& in, const Bnode_bn& node, ParserPos_kt place) {
    const float* const sums = node.relation.exper;
    const float* const end = sums + NumProduct(node.parents);
    const float* const slip = std::find_if(sums, end, LooksLikeSlip);
    if (slip == end) return;
    const std::string row = RowText(node, static_cast<int>(slip - sums));
    in.setTokenStart(place);
    in.report(msg::hugin.doubtfulCounts, row.c_str(), row.empty() ? "" : " ", node.name(),
              ShortestDouble(*slip));
}

void parse_potential_data(Parser_CString_kt& in, Bnode_bn& node) {
    StateOf(in).potential.hasData = true;
    if (AnyContinuous(node.family)) return KeepText(in, node, "data");
    if (node.relation.kind != RelnKindEN::none) in.report(msg::import.tableAgain, node.name());
    const bool hasStates = node.numStates() != 0;
    const ParserPos_kt place = in.getPos();
    unsigned char* bytes = nullptr;
    ParseNodeTable(in, &bytes, 10, hasStates, node, nullptr, 0, false, 14, StateOf(in).lenient);
    XArray<float> table(reinterpret_cast<float*>(bytes));
    XArray<double> exact;
    if (in.exact.any()) exact = in.exact.take(NumProduct(hasStates ? node.family : node.parents));
    Reln_bn& relation = node.relation;
    if (!hasStates) {
        in.setError(relation.setReals(std::move(table), std::move(exact)));
        return;
    }
    in.setError(node.setTable(std::move(table), std::move(exact)));
    if (!relation.rowsNormalized && relation.probs != nullptr) relation.normalize_(CountTolerance);
    if (StateOf(in).lenient && node.kind == NatureNode && relation.experFromCounts)
        JudgeCounts(in, node, place);
    TidyExperience(relation);
    relation.makeDeterminFromProbs();
}

// ---- Experience ----------------------------------------------------------------------------

void ParsePotentialExperience(Parser_CString_kt& in, Bnode_bn& node) {
    if (AnyContinuous(node.family)) {
        in.reportUnknown(in.fieldName, msg::hugin.unknownField);
        return SkipField(in, in.getPos());
    }
    StateOf(in).potential.experiencePlace = in.getPos();
    unsigned char* bytes = nullptr;
    ParseNodeTable(in, &bytes, 10, false, node, nullptr, 0, false, 14, StateOf(in).lenient);
    StateOf(in).potential.experience.reset(reinterpret_cast<float*>(bytes));
    StateOf(in).potential.exactExperience = in.exact.take(NumProduct(node.parents));
}

/// Gives the node the experience of its potential, behind all else that may change its relation.
void SetExperience(Parser_CString_kt& in, Bnode_bn& node) {
    Reln_bn& relation = node.relation;
    const float* const values = StateOf(in).potential.experience.get();
    const float* const end = values + NumProduct(node.parents);
    const float* const bad = std::find_if_not(values, end, [](float value) { return value >= 0; });
    in.setTokenStart(StateOf(in).potential.experiencePlace);
    if (bad != end) {
        in.report(msg::hugin.badExperience, node.name(), *bad);
    } else if (relation.probs == nullptr) {
        in.reportUnknown("experience", msg::hugin.unknownField);
    } else if (relation.exper != nullptr) {
        in.report(msg::hugin.experienceFromCounts, node.name());
    } else {
        relation.setExperTable(StateOf(in).potential.experience.release(),
                               StateOf(in).potential.exactExperience.release());
        ListNode(in, msg::hugin.experienceRead, node.name());
    }
}

}  // namespace

void FinishPotential(Parser_CString_kt& in, Bnode_bn& node) {
    if (StateOf(in).potential.experience != nullptr) SetExperience(in, node);
    if (StateOf(in).potential.modelPlace != nullptr) {
        in.setTokenStart(StateOf(in).potential.modelPlace);
        ListNode(
            in,
            StateOf(in).potential.hasData ? msg::hugin.expressionsKept : msg::hugin.expressionsOnly,
            node.name());
    }
    StateOf(in).potential = {};
}

}  // namespace lumo::hugin
