// Links: parents in link order, the lists of children, and a topological order that every new link
// keeps up to date.
//
// The order is a list of the nodes with sparse labels: a node's label is above those of its
// parents. A link that agrees with the order costs nothing. One that does not starts a search from
// both ends, link by link in turn: forward from the child, from the node lowest in the order first,
// and backward from the parent, highest first. Where the two meet there is a cycle. When they have
// passed each other in the order there is none, and what they found changes places.

#include <algorithm>
#include <functional>
#include <limits>
#include <span>

#include "library/model/access.h"
#include "library/model/messages.h"
#include "library/model/netmodel.h"
#include "library/utilities/bounds.h"

namespace lumo {

namespace {

/// Distance of labels where there is room.
constexpr long long LabelStep = 1LL << 24;

/// Steps that those searches may take while a net is read that end at a cycle, or are for a node
/// whose parents were replaced: for each node and link, and for any net. What one costs may be the
/// whole net, and a file can have as many as lines.
constexpr long long StepsEach = 8;
constexpr long long StepsOfAny = 1LL << 20;
/// Steps that a search may take all the same.
constexpr long long FewSteps = 32;

/// The links of a child with at least this many parents are hashed.
constexpr int ManyParents = 32;

std::uint64_t PairKey(int child, int parent) {
    return static_cast<std::uint64_t>(child) << 32 | static_cast<std::uint64_t>(parent);
}

bool SameNodes(const BndList_bn& a, const BndList_bn& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

}  // namespace

/// One side of a search: the nodes found, and of them those whose links are not all followed yet,
/// as a heap in the order of the search.
template <class Before>
class ModelAccess::SearchSide {
public:
    SearchSide(LinkSearchStore& store, Bnode_bn& start, unsigned stamp)
        : found(store.found), open_(store.open), stamp_(stamp) {
        found.clear();
        open_.clear();
        add(start);
    }

    void add(Bnode_bn& node) {
        if (node.mark_ == stamp_) return;
        node.mark_ = stamp_;
        found.push_back(&node);
        open_.push_back(&node);
        std::push_heap(open_.begin(), open_.end(), later);
    }

    bool isDone() const { return open_.empty(); }
    Bnode_bn& next() const { return *open_.front(); }
    void drop() {
        std::pop_heap(open_.begin(), open_.end(), later);
        open_.pop_back();
    }

    std::vector<Bnode_bn*>& found;

private:
    static bool later(const Bnode_bn* a, const Bnode_bn* b) {
        return Before{}(b->order_, a->order_);
    }
    std::vector<Bnode_bn*>& open_;
    unsigned stamp_;
};

/// The search for one link that contradicts the order, and the order's repair.
class ModelAccess::LinkSearch {
public:
    LinkSearch(Bnode_bn& parent, Bnode_bn& child)
        : net_(parent.net()),
          parent_(parent),
          child_(child),
          stamp_(index(net_).stamp += 2),
          forward_(index(net_).forward, child, stamp_),
          backward_(index(net_).backward, parent, stamp_ + 1),
          children_(child) {}

    /// Whether the link may be added: the order allows it then.
    LinkEN find() {
        const long long most = std::max(stepsLeft(net_), FewSteps);
        long long steps = 0;
        // The next node of a side stays the same until its links are followed: those it leads to
        // come later in the search.
        while (!forward_.isDone() && !backward_.isDone() &&
               forward_.next().order_ < backward_.next().order_) {
            if (++steps <= most && !stepForward() && !stepBackward()) continue;
            index(net_).chargedSteps += steps;
            return steps > most ? LinkEN::unknown : LinkEN::cycle;
        }
        if (child_.linksFrom_ > 0) index(net_).chargedSteps += steps;
        repair();
        return LinkEN::added;
    }

    static void place(Bnet_bn& net, std::span<Bnode_bn* const> block, int left);

private:
    bool stepForward() {
        Bnode_bn* node = children_.next();
        if (node == nullptr) {
            forward_.drop();
            if (!forward_.isDone()) children_ = ChildWalk(forward_.next());
            return false;
        }
        if (node->mark_ == stamp_ + 1) return true;
        if (node->order_ < parent_.order_) forward_.add(*node);
        return false;
    }

    bool stepBackward() {
        const BndList_bn& parents = backward_.next().parents;
        if (parentAt_ == parents.N) {
            backward_.drop();
            parentAt_ = 0;
            return false;
        }
        Bnode_bn* node = parents[parentAt_++];
        if (node->mark_ == stamp_) return true;
        if (node->order_ > child_.order_) backward_.add(*node);
        return false;
    }

    /// Puts what was found on the forward side below the place where the searches passed each other
    /// behind what was found on the backward side above it.
    void repair() {
        const bool wholeForward = forward_.isDone();
        Bnode_bn& border = wholeForward ? parent_ : forward_.next();
        std::vector<Bnode_bn*>& block = backward_.found;
        std::vector<Bnode_bn*>& lower = forward_.found;
        std::erase_if(block, [&](Bnode_bn* node) { return node->order_ <= border.order_; });
        std::erase_if(lower, [&](Bnode_bn* node) { return node->order_ >= border.order_; });
        takeOut(block);
        takeOut(lower);
        block.insert(block.end(), lower.begin(), lower.end());
        place(net_, block, wholeForward ? border.index_ : border.orderPrev_);
    }

    /// Takes the nodes out of the list and sorts them into their present order.
    void takeOut(std::vector<Bnode_bn*>& block) {
        std::sort(block.begin(), block.end(),
                  [](const Bnode_bn* a, const Bnode_bn* b) { return a->order_ < b->order_; });
        for (const Bnode_bn* node : block) connect(net_, node->orderPrev_, node->orderNext_);
    }

    static void connect(Bnet_bn& net, int left, int right) {
        (left < 0 ? index(net).orderFirst : net.nodes[left]->orderNext_) = right;
        (right < 0 ? index(net).orderLast : net.nodes[right]->orderPrev_) = left;
    }

    static void label(Bnet_bn& net, long long count, int left, int first, int right);

    Bnet_bn& net_;
    Bnode_bn& parent_;
    Bnode_bn& child_;
    unsigned stamp_;  // marks what the forward side found, and stamp_ + 1 the other side
    SearchSide<std::less<>> forward_;
    SearchSide<std::greater<>> backward_;
    ChildWalk children_;  // of the forward side's next node
    int parentAt_ = 0;    // among the parents of the backward side's next node
};

/// Puts the nodes, which are in no list, behind the one at `left` (-1: in front of all).
void ModelAccess::LinkSearch::place(Bnet_bn& net, std::span<Bnode_bn* const> block, int left) {
    const int right = left < 0 ? index(net).orderFirst : net.nodes[left]->orderNext_;
    int last = left;
    for (const Bnode_bn* node : block) {
        connect(net, last, node->index_);
        last = node->index_;
    }
    connect(net, last, right);
    label(net, static_cast<long long>(block.size()), left, block.front()->index_, right);
}

/// Labels the `count` nodes from `first` on, which stand between `left` and `right`. When there is
/// no room, nodes that follow are labelled anew with them: so many that the room is the square of
/// their number, which makes a label cost logarithmic time on average.
void ModelAccess::LinkSearch::label(Bnet_bn& net, long long count, int left, int first, int right) {
    BndList_bn& nodes = net.nodes;
    const long long low = left >= 0    ? nodes[left]->order_
                          : right >= 0 ? nodes[right]->order_ - (count + 1) * LabelStep
                                       : 0;
    const auto room = [&] { return nodes[right]->order_ - low; };
    if (right >= 0 && room() <= count) {
        while (right >= 0 && room() <= count * count) {
            right = nodes[right]->orderNext_;
            ++count;
        }
    }
    const long long step = right < 0 ? LabelStep : room() / (count + 1);
    long long at = low;
    for (int node = first; node != right; node = nodes[node]->orderNext_) {
        nodes[node]->order_ = at += step;
    }
}

void ModelAccess::appendToOrder(Bnode_bn& node) {
    Bnode_bn* const alone[] = {&node};
    LinkSearch::place(node.net(), alone, index(node).orderLast);
}

// ---- Links ---------------------------------------------------------------------------------

bool ModelAccess::isParent(const Bnode_bn& parent, const Bnode_bn& child) {
    const BndList_bn& parents = child.parents;
    if (parents.N >= ManyParents) {
        return index(child).pairs.contains(PairKey(child.index_, parent.index_));
    }
    return std::find(parents.begin(), parents.end(), &parent) != parents.end();
}

/// Makes parents the part of family behind the node itself.
void ModelAccess::fitParents(Bnode_bn& node) {
    BndList_bn& parents = node.parents;
    parents.N = node.family.N - 1;
    parents.capacity = parents.N == 0 ? 0 : node.family.capacity - 1;
    parents.array = parents.N == 0 ? nullptr : node.family.array + 1;
}

/// Makes room for that many members of the family, which may move in the arena.
void ModelAccess::reserveFamily(Bnode_bn& node, int count) {
    BndList_bn& family = node.family;
    const int missing = count - family.capacity;
    if (missing <= 0) return;
    Arena& arena = index(node).arena;
    if (family.array == nullptr ||
        !arena.extend(family.array + family.capacity,
                      static_cast<std::size_t>(missing) * sizeof(Bnode_bn*))) {
        auto** const members = arena.take<Bnode_bn*>(static_cast<std::size_t>(count));
        std::copy(family.begin(), family.end(), members);
        family.array = members;
    }
    family.capacity = count;
}

/// Remembers the child in the lists of its parents, which do not have it.
void ModelAccess::recordLinks(Bnode_bn& child) {
    Bnet_bn::Index& at = index(child);
    const bool isHashed = child.parents.N >= ManyParents;
    for (Bnode_bn* parent : child.parents) {
        recordLink(*parent, child);
        if (isHashed) at.pairs.insert(PairKey(child.index_, parent->index_));
    }
}

void ModelAccess::recordLink(Bnode_bn& parent, const Bnode_bn& child) {
    auto& links = index(child).links;
    links.push_back({child.index_, parent.firstChild_});
    parent.firstChild_ = static_cast<int>(links.size()) - 1;
}

/// Appends the parent. Small families fit exactly, as most of a large net's are small.
void ModelAccess::appendParent(Bnode_bn& parent, Bnode_bn& child) {
    constexpr int exactFit = 4;
    BndList_bn& family = child.family;
    if (family.N == family.capacity)
        reserveFamily(child, family.N < exactFit ? family.N + 1 : family.N + family.N / 2);
    family.append(&parent);
    fitParents(child);

    auto& pairs = index(child).pairs;
    const int count = child.parents.N;
    if (count > ManyParents) pairs.insert(PairKey(child.index_, parent.index_));
    if (count == ManyParents) {
        for (const Bnode_bn* each : child.parents) {
            pairs.insert(PairKey(child.index_, each->index_));
        }
    }
}

ModelAccess::LinkEN ModelAccess::link(Bnode_bn& parent, Bnode_bn& child) {
    if (&parent == &child) return LinkEN::self;
    if (isParent(parent, child)) return LinkEN::again;
    const Bnet_bn::Index::Below& below = index(child).below;
    if (below.child == &child && below.nodes.contains(&parent)) return LinkEN::cycle;
    if (parent.order_ > child.order_) {
        const LinkEN found = LinkSearch(parent, child).find();
        if (found == LinkEN::cycle) rememberCycle(child);
        if (found != LinkEN::added) return found;
    }
    appendParent(parent, child);
    recordLink(parent, child);
    return LinkEN::added;
}

long long ModelAccess::stepsLeft(Bnet_bn& net) {
    if (!MemoryBound::holds()) return std::numeric_limits<long long>::max();
    const Bnet_bn::Index& at = index(net);
    return StepsOfAny + StepsEach * (net.nodes.N + std::ssize(at.links)) - at.chargedSteps;
}

void ModelAccess::rememberCycle(Bnode_bn& child) {
    Bnet_bn::Index::Below& below = index(child).below;
    const bool isSecond = below.child == &child && stepsLeft(child.net()) > 0;
    below.child = &child;
    below.nodes = isSecond ? descendants(child) : std::unordered_set<const Bnode_bn*>();
    index(child).chargedSteps += std::ssize(below.nodes);
}

void ModelAccess::unlinkParents(Bnode_bn& child) {
    Bnet_bn::Index& at = index(child);
    // A way down from a node does not lead through its own parents.
    if (child.parents.N > 0 && at.below.child != &child && at.below.nodes.contains(&child))
        at.below = {};
    if (child.parents.N >= ManyParents) {
        for (const Bnode_bn* parent : child.parents) {
            at.pairs.erase(PairKey(child.index_, parent->index_));
        }
    }
    if (child.parents.N > 0) child.linksFrom_ = static_cast<int>(at.links.size());
    child.family.N = 1;
    fitParents(child);
}

std::unordered_set<const Bnode_bn*> ModelAccess::descendants(Bnode_bn& node) {
    std::unordered_set<const Bnode_bn*> found;
    std::vector<Bnode_bn*> open = {&node};
    while (!open.empty()) {
        ChildWalk children(*open.back());
        open.pop_back();
        while (Bnode_bn* child = children.next()) {
            if (found.insert(child).second) open.push_back(child);
        }
    }
    return found;
}

namespace {

using LinkEN = ModelAccess::LinkEN;

void WarnParentAgain(const Bnode_bn& parent, const Bnode_bn& child) {
    NewReport(msg::model.parentAgain, parent.name(), child.name());
}

/// The report on a link that was not added, for that reason.
rept_kt* Refuse(LinkEN why, const Bnode_bn& parent, const Bnode_bn& child, const char* others) {
    const auto& message = why == LinkEN::self    ? msg::model.selfLink
                          : why == LinkEN::cycle ? msg::model.cycle
                                                 : msg::model.unknownCycle;
    return NewReport(message, parent.name(), child.name(), others);
}

/// Gives the child its parents, one after the other, and remembers which were refused.
class Linking {
public:
    explicit Linking(Bnode_bn& child) : child_(child) {}

    void add(Bnode_bn& parent) {
        const LinkEN link = ModelAccess::link(parent, child_);
        if (link == LinkEN::added) return;
        if (link == LinkEN::again) return WarnParentAgain(parent, child_);
        if (refusals_++ > 0) return;
        refused_ = &parent;
        why_ = link;
    }

    /// One report for all that was refused.
    rept_kt* report() const {
        if (refusals_ == 0) return Okay_rept_kt;
        std::string others;
        if (refusals_ > 1)
            others = Format(" (%d further %s refused)", refusals_ - 1,
                            refusals_ == 2 ? "parent is" : "parents are");
        return Refuse(why_, *refused_, child_, others.c_str());
    }

private:
    Bnode_bn& child_;
    const Bnode_bn* refused_ = nullptr;  // the first one
    LinkEN why_ = LinkEN::added;
    int refusals_ = 0;
};

}  // namespace

rept_kt* AddLink_ibn(Bnode_bn& parent, Bnode_bn& child) {
    const LinkEN link = ModelAccess::link(parent, child);
    if (link == LinkEN::again) {
        WarnParentAgain(parent, child);
        return Okay_rept_kt;
    }
    if (link != LinkEN::added) return Refuse(link, parent, child, "");
    child.relation.clear();
    ModelAccess::changed(child);
    return Okay_rept_kt;
}

rept_kt* Bnode_bn::changePreds(const BndList_bn& list, vect_kt<int>*, bool, int, int, bool) {
    if (SameNodes(list, parents)) return Okay_rept_kt;
    const BndList_bn before = parents;
    ModelAccess::unlinkParents(*this);
    ModelAccess::reserveFamily(*this, list.N + 1);
    Linking linking(*this);
    for (Bnode_bn* parent : list) linking.add(*parent);
    if (!SameNodes(before, parents)) {
        relation.clear();
        ModelAccess::changed(*this);
    }
    return linking.report();
}

}  // namespace lumo
