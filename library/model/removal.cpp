// Taking nodes, or node sets, out of a net. What a net knows of its nodes by their place is made
// anew once for all that go, so that removing many costs as much as removing one.
#include <algorithm>

#include "library/model/access.h"
#include "library/model/netmodel.h"

namespace lumo {

namespace {

void EraseFrom(auto& list, const auto& isGone) {
    const auto end = std::remove_if(list.begin(), list.end(), isGone);
    list.N = static_cast<int>(end - list.begin());
}

}  // namespace

/// Leaves the node the parents that stay; its table goes with one that does not.
void ModelAccess::dropParents(Bnode_bn& node, const std::unordered_set<const Bnode_bn*>& going) {
    BndList_bn staying;
    for (Bnode_bn* parent : node.parents)
        if (!going.contains(parent)) staying.append(parent);
    node.changePreds(staying);
}

/// Takes the node out of all that has it but the lists of nodes, and cuts its links to parents.
void ModelAccess::forget(Bnode_bn& node) {
    Bnet_bn::Index& at = index(node);
    node.relation.clear();
    unlinkParents(node);
    const auto isIt = [&](const Bnode_bn* other) { return other == &node; };
    if (node.extras_ != nullptr) {
        for (nodeset_bn* set : node.extras_->nodesets) EraseFrom(set->nodes_, isIt);
        node.extras_->nodesets.clear();
    }
    (node.orderPrev_ < 0 ? at.orderFirst : node.net().nodes[node.orderPrev_]->orderNext_) =
        node.orderNext_;
    (node.orderNext_ < 0 ? at.orderLast : node.net().nodes[node.orderNext_]->orderPrev_) =
        node.orderPrev_;
    at.states -= node.numStates();
    forgetStateNames(node);
    at.removed.push_back(&node);
}

/// Gives the nodes that stay their places, and makes anew what refers to places.
void ModelAccess::renumber(Bnet_bn& net, const BndList_bn& staying) {
    Bnet_bn::Index& at = index(net);
    at.below = {};
    at.chargedSteps = 0;
    std::vector<int> places(static_cast<std::size_t>(net.nodes.N), -1);
    for (int i = 0; i < staying.N; ++i) places[static_cast<std::size_t>(staying[i]->index_)] = i;
    const auto moved = [&](int& place) {
        if (place >= 0) place = places[static_cast<std::size_t>(place)];
    };
    moved(at.orderFirst);
    moved(at.orderLast);
    for (Bnode_bn* node : staying) {
        moved(node->index_);
        moved(node->orderPrev_);
        moved(node->orderNext_);
        node->firstChild_ = -1;
        node->linksFrom_ = 0;
    }
    net.nodes.N = 0;
    for (Bnode_bn* node : staying) net.nodes.append(node);
    at.names.clear();
    at.identities.clear();
    at.links.clear();
    at.pairs.clear();
    for (Bnode_bn* node : staying) {
        at.names.add(node->index_, HashedText(node->variable.name));
        if (node->identity_ == Bnode_bn::IdentityEN::text)
            at.identities.add(node->index_, HashedText(node->extras_->identity));
        recordLinks(*node);
    }
}

/// A layout that somebody has seen stays; one that is yet to come has no place for the nodes.
void ModelAccess::undraw(Vnet_kt& vnet, const std::unordered_set<const Bnode_bn*>& going) {
    if (vnet.arePlacesKnown()) vnet.settle();
    const auto isGone = [&](const Vnode_kt* v) { return going.contains(v->node); };
    for (Vnode_kt* vnode : vnet.vnodes)
        if (isGone(vnode)) vnode->node->vns.N = 0;
    EraseFrom(vnet.vnodes, isGone);
}

void RemoveNodes_ibn(Bnet_bn& net, const BndList_bn& list) {
    const std::unordered_set<const Bnode_bn*> going(list.begin(), list.end());
    BndList_bn staying, gone;
    for (Bnode_bn* node : net.nodes) (going.contains(node) ? gone : staying).append(node);
    for (Bnode_bn* node : staying) ModelAccess::dropParents(*node, going);
    for (Bnode_bn* node : gone) ModelAccess::forget(*node);
    for (Vnet_kt* vnet : net.vnets) ModelAccess::undraw(*vnet, going);
    ModelAccess::renumber(net, staying);
    ++net.changeMarker;
}

void RemoveNodesets_ibn(Bnet_bn& net) {
    for (Bnode_bn* node : net.nodes)
        if (!node->nodesets().empty()) ModelAccess::extras(*node).nodesets.clear();
    ModelAccess::index(net).nodesetsByName.clear();
    ModelAccess::index(net).nodesets.clear();
    for (Vnet_kt* vnet : net.vnets) vnet->nodesetStyles.N = 0;
    ++net.changeMarker;
}

}  // namespace lumo
