#include "export/reduce.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "formats/shared/describe.h"
#include "formats/shared/placing.h"
#include "library/reports/reports.h"
#include "library/utilities/Utils.h"

namespace lumo {
namespace {

constexpr double rounding = 1e-3;  // of the sum of a row; readers warn of more

std::string Counted(long long count, const char* what) {
    return Format("%lld %s%s", count, what, count == 1 ? "" : "s");
}

// ---- Nature nodes alone --------------------------------------------------------------------

/// Decisions, utilities and all that is below them: tables that depend on a decision mean nothing
/// without it.
BndList_bn AllButNature(const Bnet_bn& net, std::vector<std::string>& told) {
    std::unordered_set<const Bnode_bn*> going;
    int counts[UtilityNode + 1] = {};
    // Parents come before their children in a list of the net only by chance.
    std::unordered_map<const Bnode_bn*, std::vector<Bnode_bn*>> children;
    BndList_bn list;
    const auto take = [&](Bnode_bn* node) {
        if (!going.insert(node).second) return;
        list.append(node);
        ++counts[node->kind];
    };
    for (Bnode_bn* node : net.nodes) {
        for (const Bnode_bn* parent : node->parents) children[parent].push_back(node);
        if (node->kind != NatureNode) take(node);
    }
    for (int i = 0; i < list.N; ++i)
        for (Bnode_bn* child : children[list[i]]) take(child);
    if (list.N == 0) return list;
    const std::pair<NodeKindEN, const char*> nouns[] = {
        {DecisionNode, "decision node"},
        {UtilityNode, "utility node"},
        {NatureNode, "nature node"},
    };
    std::string text;
    int left = list.N;
    for (const auto& [kind, noun] : nouns) {
        if (counts[kind] == 0) continue;
        left -= counts[kind];
        const char* const separator = text.empty() ? "" : left > 0 ? ", " : " and ";
        text += separator + Counted(counts[kind], noun);
    }
    if (counts[NatureNode] > 0)
        text += counts[NatureNode] == 1 ? " that depends on them" : " that depend on them";
    told.push_back(text + (list.N == 1 ? " is left out" : " are left out"));
    return list;
}

// ---- Plain nets ----------------------------------------------------------------------------

void MakePlain(Varbl_bn& variable, Bnode_bn& node) {
    bool named = variable.stateNames != nullptr;
    for (int i = 0; named && i < variable.numStates; ++i) named = HasText(variable.stateNames[i]);
    if (named) {
        node.setStateTitles(nullptr);
        variable.titlesAreIds = false;
    }
    for (int i = 0; variable.stateComments != nullptr && i < variable.numStates; ++i)
        node.setStateComment(i, nullptr);
}

/// Leaves the table alone; noisy-max parameters become one, unless it would be too large.
void MakePlain(Reln_bn& relation) {
    relation.setExperTable(nullptr);
    relation.saidDeterministic = false;
    if (relation.kind == RelnKindEN::deterministic) relation.kind = RelnKindEN::table;
    if (relation.kind != RelnKindEN::noisyMax) return;
    if (relation.probs == nullptr &&
        IsError(relation.node->makeIntoNoisyMax(relation.params, relation.order, false)))
        return;
    xfree_kt(std::exchange(relation.params, nullptr));
    xfree_kt(std::exchange(relation.order, nullptr));
    relation.kind = RelnKindEN::table;
}

void MakePlain(Vnet_kt& drawing) {
    LeaveToLayout(drawing);
    FreeFont_fc(std::exchange(drawing.font, NewFont_fc(nullptr, -1, nullptr)));
    drawing.labelStyle = 1;
    drawing.zoomFactor = 1;
    drawing.grid = {10, 10};
    drawing.showGrid = drawing.snapToGrid = false;
}

void MakePlain(Bnet_bn& net, std::vector<std::string>& told) {
    if (HasText(net.title)) {  // it calls the net, as far as it can
        delete[] std::exchange(net.name, DupStr_kt(net.title));
        ToLegalName_kt(net.name);
        SetNetLabel(net, nullptr);
    }
    net.setComment(nullptr);
    net.setAutoUpdate(false, true);
    RemoveNodesets_ibn(net);
    MakePlain(*net.vnets[0]);
    int scaled = 0;
    for (Bnode_bn* node : net.nodes) {
        node->setTitle(nullptr);
        node->setComment(nullptr);
        node->removeUserFields();
        MakePlain(node->variable, *node);
        MakePlain(node->relation);
        if (node->kind == NatureNode && node->relation.scaleRows(rounding) > 0) ++scaled;
    }
    if (scaled > 0)
        told.push_back("rows of " + Counted(scaled, "node") + " are scaled to sum to 1");
}

}  // namespace

std::vector<std::string> Reduce(Bnet_bn& net, const Reduction& what) {
    const ReportScope scope;
    std::vector<std::string> told;
    if (what.onlyNature)
        if (const BndList_bn list = AllButNature(net, told); list.N > 0) RemoveNodes_ibn(net, list);
    if (what.plain) MakePlain(net, told);
    return told;
}

}  // namespace lumo
