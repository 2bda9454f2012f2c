// What holds for every net that an import returns, whatever the file was.
#pragma once

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/model/netmodel.h"
#include "library/reports/messages.h"

namespace lumo::test {

/// Reports that speak of the whole import, not of a place in it.
inline bool IsClosing(int number) {
    return number == msg::reports.unknownSummary.number ||
           number == msg::reports.moreWarnings.number;
}

/// Reads all the numbers, so that a sanitizer sees a table that is too short; false when one is not
/// finite.
template <class T>
bool AllFinite(const T* numbers, long long count) {
    if (numbers == nullptr) return true;
    bool finite = true;
    for (long long i = 0; i < count; ++i) finite &= std::isfinite(static_cast<double>(numbers[i]));
    return finite;
}

inline std::string StateFault(const Varbl_bn& variable) {
    if (variable.numStates < 0 || variable.numStates > MaxStates) return "number of states";
    const bool bounds = variable.levels != nullptr && variable.numLevels > variable.numStates;
    if (bounds ? !AllFinite(variable.levels + 1, variable.numLevels - 2)  // the others may be open
               : !AllFinite(variable.levels, variable.numLevels))
        return "level that is not finite";
    if (variable.levels != nullptr && variable.numLevels != variable.numStates &&
        variable.numLevels != variable.numStates + 1)
        return "number of levels";
    std::set<std::string_view> names;
    for (int i = 0; variable.stateNames != nullptr && i < variable.numStates; ++i) {
        const char* name = variable.stateNames[i];
        if (name == nullptr) continue;
        if (!IsLegalName_kt(name)) return "state name that is not legal";
        if (!names.insert(name).second) return "two states of one name";
    }
    return "";
}

inline std::string TableFault(const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    const bool any = relation.probs != nullptr || relation.reals != nullptr ||
                     relation.params != nullptr || relation.exper != nullptr;
    if (relation.kind == RelnKindEN::none) return any ? "table of no kind" : "";
    const long long rows = NumProduct(node.parents);
    const long long entries = rows * std::max(node.numStates(), 1);
    const bool full = relation.probs != nullptr || relation.reals != nullptr;
    if (full && entries > MaxTableEntries) return "table beyond the limit";
    if (!full && relation.params == nullptr) return "no table of its kind";
    if (!AllFinite(relation.probs, entries) || !AllFinite(relation.reals, entries) ||
        !AllFinite(relation.params, NumCIParams(node)) || !AllFinite(relation.exper, rows))
        return "number that is not finite";
    for (long long i = 0; relation.probs != nullptr && i < entries; ++i)
        if (relation.probs[i] < 0) return "negative probability";
    return "";
}

/// The parents come before their children in some order of the nodes: there is no cycle.
inline bool IsAcyclic(const Bnet_bn& net) {
    std::vector<const Bnode_bn*> ready;
    std::unordered_map<const Bnode_bn*, int> waits;
    std::unordered_map<const Bnode_bn*, std::vector<const Bnode_bn*>> children;
    for (const Bnode_bn* node : net.nodes) {
        if (node->parents.N == 0) ready.push_back(node);
        waits[node] = node->parents.N;
        for (const Bnode_bn* parent : node->parents) children[parent].push_back(node);
    }
    std::size_t done = 0;
    for (; done < ready.size(); ++done)
        for (const Bnode_bn* child : children[ready[done]])
            if (--waits[child] == 0) ready.push_back(child);
    return done == static_cast<std::size_t>(net.nodes.N);
}

inline std::string NodeFault(const Bnode_bn& node) {
    if (!IsLegalName_kt(node.name())) return "name that is not legal";
    if (node.family.N != node.parents.N + 1 || node.family[0] != &node) return "family";
    for (int i = 0; i < node.parents.N; ++i)
        if (node.family[i + 1] != node.parents[i]) return "parents and family differ";
    if (node.vns.N != 1 || node.vns[0]->node != &node) return "visual node";
    for (const nodeset_bn* set : node.nodesets())
        if (std::ranges::count(set->nodes(), &node) != 1) return "set without its node";
    if (const std::string fault = StateFault(node.variable); !fault.empty()) return fault;
    return TableFault(node);
}

/// The first fault of the net, "node 'x': ..."; empty when it is sound.
inline std::string FaultOf(const Bnet_bn& net) {
    std::set<std::string_view> names;
    for (const Bnode_bn* node : net.nodes) {
        std::string fault = NodeFault(*node);
        if (fault.empty() && !names.insert(node->name()).second) fault = "name of two nodes";
        if (fault.empty() && &node->net() != &net) fault = "node of another net";
        if (!fault.empty()) return "node '" + std::string(node->name()) + "': " + fault;
    }
    if (!IsLegalName_kt(net.name)) return "net name that is not legal";
    if (net.vnets.N != 1 || net.vnets[0]->vnodes.N != net.nodes.N) return "drawing side";
    const Vnet_kt& drawing = *net.vnets[0];
    if (drawing.extent().x < 0 || drawing.extent().y < 0) return "negative extent";
    if (!std::isfinite(drawing.zoomFactor) || drawing.zoomFactor <= 0) return "zoom";
    return IsAcyclic(net) ? "" : "cycle of links";
}

}  // namespace lumo::test
