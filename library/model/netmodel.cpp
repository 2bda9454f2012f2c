// Nets and what is looked up in them: creation, node names and labels, node sets.

#include "library/model/netmodel.h"
#include "library/model/messages.h"

#include <algorithm>

#include "library/model/access.h"

namespace lumo {

namespace {

/// Frees the old text and takes the new one.
void Replace(char*& place, char* text) {
    delete[] place;
    place = text;
}

constexpr std::string_view MadeUpStart = "Node_";

void DeleteNodeset(nodeset_bn* set) { delete set; }

}  // namespace

// ---- Products and lists --------------------------------------------------------------------

int NumProduct(const BndList_bn& list) {
    long long product = 1;
    for (const Bnode_bn* node : list) {
        if (node->numStates() == 0) return 0;
        product = std::min<long long>(product * node->numStates(), INT_MAX);
    }
    return static_cast<int>(product);
}

void NodeNamesToStr(const BndList_bn& list, const char* separator, int limit, strin_kt& out) {
    std::string text;
    const std::size_t most = static_cast<std::size_t>(std::max(limit, 0));
    for (int i = 0; i < list.N && text.size() <= most; ++i) {
        if (i > 0) text += separator;
        text += list[i]->name();
    }
    if (text.size() > most) {
        text.resize(most < 3 ? 0 : most - 3);
        text.append(std::min<std::size_t>(most, 3), '.');
    }
    out.append(text);
}

// ---- Nets ----------------------------------------------------------------------------------

Bnet_bn::Index::Index(const BndList_bn& nodes)
    : names(nodes, ModelAccess::nameOf), identities(nodes, ModelAccess::identityOf) {}

Bnet_bn::Bnet_bn() : index_(std::make_unique<Index>(nodes)) {
    vnets.realloc_(1);  // first, so that nothing can fail once the drawing side is there
    vnets.append(new Vnet_kt(this));
}

Bnet_bn::~Bnet_bn() {
    for (Vnet_kt* vnet : vnets) delete vnet;
    for (Bnode_bn* node : nodes) node->~Bnode_bn();
    for (Bnode_bn* node : index_->removed) node->~Bnode_bn();
    for (char* text : {name, title, comment, fileName}) delete[] text;
}

Bnet_bn* NewVBNet(char* name, bool) {
    OwnedStr owned(name);
    Bnet_bn* net = new Bnet_bn;
    net->name = owned == nullptr ? DupStr_kt("net") : owned.release();
    return net;
}

void Bnet_bn::setComment(char* text) {
    Replace(comment, text);
    ++changeMarker;
}

void Bnet_bn::setAutoUpdate(bool on, bool) {
    autoUpdate = on;
    ++changeMarker;
}

void SetNetLabel(Bnet_bn& net, char* label) {
    Replace(net.title, label);
    ++net.changeMarker;
}

// ---- Names ---------------------------------------------------------------------------------
// Every node has a name of its own. Readers know a node by its identity: the text that the file
// used for it, which is the name itself when it is a legal one.

Bnode_bn* ModelAccess::identified(const Bnet_bn& net, const HashedText& text) {
    if (Bnode_bn* node = index(net).identities.find(text)) return node;
    Bnode_bn* named = index(net).names.find(text);
    return named != nullptr && named->identity_ == Bnode_bn::IdentityEN::name ? named : nullptr;
}

Bnode_bn* Bnet_bn::findNodeLabeled(std::string_view text) const {
    const HashedText key(text);
    if (Bnode_bn* node = index_->identities.find(key)) return node;
    return index_->names.find(key);
}

Bnode_bn* Bnet_bn::findNodeLabeled(const char* text) const {
    return text == nullptr ? nullptr : findNodeLabeled(std::string_view(text));
}

Bnode_bn* Bnet_bn::findNodeLabeled(std::string_view text, int place) const {
    using IdentityEN = Bnode_bn::IdentityEN;
    Bnode_bn* const node = place >= 0 && place < nodes.N ? nodes[place] : nullptr;
    const bool byName = node != nullptr && node->identity_ == IdentityEN::name;
    return byName && node->variable.name == text ? node : findNodeLabeled(text);
}

/// Whether nobody has the name; a node with a made-up name gives it up.
bool ModelAccess::nameIsFree(Bnet_bn& net, const HashedText& name) {
    Bnode_bn* holder = index(net).names.find(name);
    if (holder == nullptr) return true;
    if (!holder->autoNamed_) return false;
    makeUpName(*holder);
    return true;
}

std::string ModelAccess::madeUpName(Bnet_bn& net) {
    Bnet_bn::Index& at = index(net);
    std::string name;
    do {
        name = MadeUpStart;
        name += std::to_string(++at.lastMadeUp);
    } while (at.likeMadeUp && at.names.find(HashedText(name)) != nullptr);
    return name;
}

std::string ModelAccess::uniqueName(Bnet_bn& net, std::string_view text) {
    std::string legal = LegalName(text);
    if (nameIsFree(net, HashedText(legal))) return legal;
    // For every stem and number of digits the next number to try is remembered, so that many equal
    // texts, cut or not, do not count up each time.
    long long first = 2, limit = 10;
    for (std::size_t digits = 1;; ++digits, first = limit, limit *= 10) {
        const std::string stem = legal.substr(0, std::size_t{MaxNameLength} - digits);
        const std::string key = stem + '#' + std::to_string(digits);
        long long& number = index(net).nextSuffix.try_emplace(key, first).first->second;
        for (; number < limit; ++number) {
            std::string name = stem + std::to_string(number);
            if (index(net).names.find(HashedText(name)) == nullptr) return name;
        }
    }
}

void ModelAccess::setName(Bnode_bn& node, const HashedText& name) {
    dropName(node);
    node.variable.name = index(node).arena.copy(name.text);
    index(node).names.add(node.index_, name);
}

void ModelAccess::dropName(Bnode_bn& node) {
    if (node.variable.name == nullptr) return;
    index(node).names.remove(node.index_, HashedText(node.variable.name));
    node.variable.name = nullptr;
}

/// Makes the text what readers know the node by; null: they know it by nothing but its name.
void ModelAccess::setIdentity(Bnode_bn& node, const char* text) {
    using IdentityEN = Bnode_bn::IdentityEN;
    Bnet_bn::Index& at = index(node);
    if (node.identity_ == IdentityEN::text) {
        at.identities.remove(node.index_, HashedText(node.extras_->identity));
        node.extras_->identity = nullptr;
    }
    node.identity_ = text == nullptr                       ? IdentityEN::none
                     : streql_kt(text, node.variable.name) ? IdentityEN::name
                                                           : IdentityEN::text;
    if (node.identity_ != IdentityEN::text) return;
    extras(node).identity = at.arena.copy(text);
    at.identities.add(node.index_, HashedText(text));
}

const char* Bnode_bn::identity() const {
    return identity_ == IdentityEN::text ? ModelAccess::identityOf(*this) : nullptr;
}

/// Names the node after the text, which may be any.
void ModelAccess::nameNode(Bnode_bn& node, const HashedText& text) {
    const bool usable = IsLegalName_kt(text.text) && nameIsFree(node.net(), text);
    setName(node, usable ? text : HashedText(uniqueName(node.net(), text.text)));
    node.autoNamed_ = false;
    if (std::string_view(node.name()).starts_with(MadeUpStart)) index(node).likeMadeUp = true;
}

void ModelAccess::makeUpName(Bnode_bn& node) {
    setName(node, HashedText(madeUpName(node.net())));
    node.autoNamed_ = true;
}

rept_kt* ModelAccess::setLabel(Bnode_bn& node, char* label) {
    OwnedStr owned(label);
    if (label == nullptr) return Okay_rept_kt;
    Bnet_bn& net = node.net();
    const HashedText key(label);
    const Bnode_bn* known = identified(net, key);
    const bool repeated = known != nullptr && known != &node;
    setIdentity(node, nullptr);
    if (!streql_kt(node.variable.name, label)) {
        dropName(node);  // so that the label may claim the node's own name
        nameNode(node, key);
    }
    node.autoNamed_ = false;
    if (!repeated) setIdentity(node, label);
    const bool usable = streql_kt(node.variable.name, label);
    if (repeated) {
        NewReport(msg::model.labelExists, label, node.name());
    }
    node.setTitle(usable ? nullptr : owned.release());
    return Okay_rept_kt;
}

rept_kt* SetNodeLabel(Bnode_bn& node, char* label) { return ModelAccess::setLabel(node, label); }

void SetNodeIdentity(Bnode_bn& node, const char* text) { ModelAccess::setIdentity(node, text); }

// ---- New nodes -----------------------------------------------------------------------------

void ModelAccess::addVisualNode(Bnode_bn& node, Vnet_kt& vnet, coord_kt position) {
    auto* const vnode = new (index(node).arena.take<Vnode_kt>(1)) Vnode_kt(position, &node);
    vnet.vnodes.append(vnode);
    node.vns.append(vnode);
}

/// A node that has no name, order and place yet.
Bnode_bn& ModelAccess::appendNode(int states, Bnet_bn& net) {
    auto* const node = new (index(net).arena.take<Bnode_bn>(1)) Bnode_bn;
    node->net_ = &net;
    node->index_ = net.nodes.N;
    net.nodes.append(node);
    node->relation.node = node;
    node->variable.numStates = states;
    reserveFamily(*node, 1);
    node->family.append(node);
    return *node;
}

void ModelAccess::placeNode(Bnode_bn& node, coord_kt position) {
    appendToOrder(node);
    for (Vnet_kt* vnet : node.net().vnets) {
        if (vnet->awaited() != nullptr) vnet->settle();
        addVisualNode(node, *vnet, position);
    }
    changed(node);
}

rept_kt* ModelAccess::newNode(const char* name, int states, Bnet_bn& net, coord_kt position,
                              Bnode_bn*& out) {
    const HashedText key(name == nullptr ? "" : name);
    if (name != nullptr && identified(net, key) != nullptr) {
        return NewReport(msg::model.nodeExists, name);
    }
    if (rept_kt* report = takeStates(net, nullptr, states); IsError(report)) return report;
    Bnode_bn& node = appendNode(states, net);
    name == nullptr ? makeUpName(node) : nameNode(node, key);
    setIdentity(node, name);
    placeNode(node, position);
    out = &node;
    return Okay_rept_kt;
}

Bnode_bn* ModelAccess::newLabeledNode(std::string_view label, int states, Bnet_bn& net,
                                      coord_kt position) {
    Bnet_bn::Index& at = index(net);
    if (at.likeMadeUp || label.starts_with(MadeUpStart) || !IsLegalName_kt(label)) return nullptr;
    const HashedText key(label);
    if (at.names.find(key) != nullptr || at.identities.find(key) != nullptr) return nullptr;
    if (states < 0 || states > MaxStates || at.states + states > MaxNetStates) return nullptr;
    at.states += states;
    ++at.lastMadeUp;  // names that are made up later are the same
    Bnode_bn& node = appendNode(states, net);
    setName(node, key);
    node.identity_ = Bnode_bn::IdentityEN::name;
    placeNode(node, position);
    return &node;
}

Bnode_bn* NewNode_ibn(const char* name, int numStates, Bnet_bn& net, coord_kt position,
                      rept_kt** error) {
    Bnode_bn* node = nullptr;
    rept_kt* report = ModelAccess::newNode(name, numStates, net, position, node);
    if (error != nullptr) *error = report;
    return node;
}

Bnode_bn* NewLabeledNode(std::string_view label, int numStates, Bnet_bn& net, coord_kt position) {
    return ModelAccess::newLabeledNode(label, numStates, net, position);
}

// ---- Node sets -----------------------------------------------------------------------------

nodeset_bn* ModelAccess::newNodeset(Bnet_bn& net, std::string name) {
    Bnet_bn::Index& at = index(net);
    if (at.nodesets.size() >= static_cast<std::size_t>(MaxNodesets)) return nullptr;
    OwnedNodeset owned(new nodeset_bn(std::move(name)), DeleteNodeset);
    nodeset_bn* const set = owned.get();
    at.nodesets.push_back(std::move(owned));
    at.nodesetsByName.emplace(set->name_, set);
    ++net.changeMarker;
    return set;
}

nodeset_bn* Bnet_bn::newNodeset(const char* setName, const NodesetStyle*, const nodeset_bn*) {
    const std::string wanted = setName == nullptr ? "" : setName;
    nodeset_bn* existing = findNodeset(wanted);
    return existing != nullptr ? existing : ModelAccess::newNodeset(*this, wanted);
}

nodeset_bn* Bnet_bn::findNodeset(std::string_view setName) const {
    const auto found = index_->nodesetsByName.find(setName);
    return found == index_->nodesetsByName.end() ? nullptr : found->second;
}

const std::vector<OwnedNodeset>& Bnet_bn::nodesets() const { return index_->nodesets; }

void nodeset_bn::addNodes(const BndList_bn& nodes, bool) {
    for (Bnode_bn* node : nodes) {
        std::vector<nodeset_bn*>& joined = ModelAccess::extras(*node).nodesets;
        if (std::find(joined.begin(), joined.end(), this) != joined.end()) continue;
        joined.push_back(this);
        nodes_.append(node);
        ModelAccess::changed(*node);
    }
}

rept_kt* AddNodeToNodeset_ibn(Bnode_bn& node, const char* setName) {
    nodeset_bn* set = node.net().newNodeset(setName);
    if (set == nullptr) {
        return NewReport(msg::model.tooManyGroups, setName, MaxNodesets + 1, MaxNodesets);
    }
    BndList_bn alone;
    alone.append(&node);
    set->addNodes(alone);
    return Okay_rept_kt;
}

}  // namespace lumo
