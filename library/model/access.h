// What the model's own files share: the inside of a net and of its nodes. Private to the library.
#pragma once

#include <cstdlib>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "library/model/arena.h"
#include "library/model/nameindex.h"
#include "library/model/netmodel.h"
#include "library/utilities/names.h"

namespace lumo {

/// Entries that tables of one net may get without being in the file number by number: rows set by
/// wildcards, rows left out, noisy-max expansions. A short file cannot buy more than that.
inline constexpr long long MaxFilledEntries = 4LL * MaxTableEntries;

/// Arrays of state texts and tables of up to this many entries lie in the net's arena; larger ones
/// have blocks of their own, since the file may replace them often.
inline constexpr int FewEntries = 64;

/// What few nodes have.
struct Bnode_bn::Extras {
    std::vector<UserField> fields;
    std::unordered_map<std::string, std::size_t> fieldPlaces;  // used once there are many
    std::vector<nodeset_bn*> nodesets;
    const char* identity = nullptr;  // when it is not the name; in the net's arena
};

/// A link, as a member of the list of the parent's links.
struct ChildLink {
    int child;
    int next;
};

/// Working storage of one side of a search for a cycle.
struct LinkSearchStore {
    std::vector<Bnode_bn*> found, open;
};

struct Bnet_bn::Index {
    explicit Index(const BndList_bn& nodes);

    Arena arena;

    // Names.
    NodeIndex names;
    NodeIndex identities;  // of the nodes whose identity is not their name
    std::unordered_map<std::string, long long> nextSuffix;
    int lastMadeUp = 0;
    bool likeMadeUp = false;                 // some name that was not made up looks so
    const Bnode_bn* stateNamesOf = nullptr;  // the node whose state names are in stateNames
    std::unique_ptr<UniqueNames_kt> stateNames;

    // Links. Only appended to: a link that is older than its child's linksFrom_ counts no more.
    std::deque<ChildLink, ArenaAllocator<ChildLink>> links{ArenaAllocator<ChildLink>(arena)};
    std::unordered_set<std::uint64_t> pairs;  // links of children with many parents
    int orderFirst = -1, orderLast = -1;
    unsigned stamp = 0;
    LinkSearchStore forward, backward;
    /// What is below the child whose link was refused last, once a second one is: links that are
    /// refused again and again cost one search.
    struct Below {
        const Bnode_bn* child = nullptr;
        std::unordered_set<const Bnode_bn*> nodes;
    } below;
    long long chargedSteps = 0;  // of the searches that are bounded

    // Node sets.
    std::vector<OwnedNodeset> nodesets;
    std::unordered_map<std::string_view, nodeset_bn*> nodesetsByName;

    std::vector<Bnode_bn*> removed;  // in no list any more; they live as long as the net

    long long filledEntries = 0;
    long long states = 0;  ///< of all nodes
};

struct LUMO_HIDDEN ModelAccess {
    static Bnet_bn::Index& index(const Bnet_bn& net) { return *net.index_; }
    static Bnet_bn::Index& index(const Bnode_bn& node) { return index(node.net()); }
    static Bnode_bn::Extras& extras(Bnode_bn& node);
    static void changed(const Bnode_bn& node) { ++node.net().changeMarker; }

    // Names (netmodel.cpp).
    static const char* nameOf(const Bnode_bn& node) { return node.variable.name; }
    static const char* identityOf(const Bnode_bn& node) { return node.extras_->identity; }
    static Bnode_bn* identified(const Bnet_bn& net, const HashedText& text);
    static bool nameIsFree(Bnet_bn& net, const HashedText& name);
    static std::string madeUpName(Bnet_bn& net);
    static std::string uniqueName(Bnet_bn& net, std::string_view text);
    static void setName(Bnode_bn& node, const HashedText& name);
    static void dropName(Bnode_bn& node);
    static void setIdentity(Bnode_bn& node, const char* text);
    static void nameNode(Bnode_bn& node, const HashedText& text);
    static void makeUpName(Bnode_bn& node);
    static void addVisualNode(Bnode_bn& node, Vnet_kt& vnet, coord_kt position);
    /// Whether a node may have so many states instead of those it has; counts them when it may.
    static rept_kt* takeStates(const Bnet_bn& net, const Bnode_bn* node, int count);
    static Bnode_bn& appendNode(int states, Bnet_bn& net);
    static void placeNode(Bnode_bn& node, coord_kt position);
    static rept_kt* newNode(const char* name, int states, Bnet_bn& net, coord_kt position,
                            Bnode_bn*& out);
    static Bnode_bn* newLabeledNode(std::string_view label, int states, Bnet_bn& net,
                                    coord_kt position);
    static rept_kt* setLabel(Bnode_bn& node, char* label);
    static nodeset_bn* newNodeset(Bnet_bn& net, std::string name);

    // Nodes (node.cpp).
    static char** newTexts(const Bnode_bn& node, int count, std::size_t bytes = 0);
    static char** storeTexts(const Bnode_bn& node, char** texts, int count);
    static void replaceStates(Bnode_bn& node, int count, char** names);
    static UniqueNames_kt& stateNames(Bnode_bn& node);
    static bool isFreeAmongFew(const Bnode_bn& node, int state, const char* name);
    static void forgetStateNames(Bnode_bn& node);
    static void dropTables(Bnode_bn& node);

    // Links (links.cpp).
    enum class LinkEN {
        added,
        again,
        self,
        cycle,
        unknown,  ///< whether it would close a cycle: searches have cost too much
    };
    class ChildWalk;
    template <class Before>
    class SearchSide;
    class LinkSearch;
    static void appendToOrder(Bnode_bn& node);
    static bool isParent(const Bnode_bn& parent, const Bnode_bn& child);
    static void fitParents(Bnode_bn& node);
    static void reserveFamily(Bnode_bn& node, int count);
    static void appendParent(Bnode_bn& parent, Bnode_bn& child);
    static LinkEN link(Bnode_bn& parent, Bnode_bn& child);
    static void unlinkParents(Bnode_bn& child);
    static std::unordered_set<const Bnode_bn*> descendants(Bnode_bn& node);
    static void rememberCycle(Bnode_bn& child);
    static long long stepsLeft(Bnet_bn& net);
    static void recordLinks(Bnode_bn& child);
    static void recordLink(Bnode_bn& parent, const Bnode_bn& child);

    // Removal (removal.cpp).
    static void dropParents(Bnode_bn& node, const std::unordered_set<const Bnode_bn*>& going);
    static void forget(Bnode_bn& node);
    static void renumber(Bnet_bn& net, const BndList_bn& staying);
    static void undraw(Vnet_kt& vnet, const std::unordered_set<const Bnode_bn*>& going);

    // Tables (relation.cpp).
    static rept_kt* checkTableSize(const Bnode_bn& node, int& entries);
    static void installProbs(Bnode_bn& node, XArray<float> table, int entries);
    static rept_kt* chargeFilled(const Bnode_bn& node, long long entries);
    static void installExact(Bnode_bn& node, XArray<double> exact, int entries);
};

/// Walks a node's children, cutting out links that were replaced meanwhile.
class ModelAccess::ChildWalk {
public:
    explicit ChildWalk(Bnode_bn& parent) : net_(&parent.net()), place_(&parent.firstChild_) {}

    /// The next child, null after the last.
    Bnode_bn* next() {
        auto& links = index(*net_).links;
        while (*place_ >= 0) {
            const int id = *place_;
            ChildLink& at = links[static_cast<std::size_t>(id)];
            Bnode_bn* child = net_->nodes[at.child];
            if (id >= child->linksFrom_) {
                place_ = &at.next;
                return child;
            }
            *place_ = at.next;
        }
        return nullptr;
    }

private:
    Bnet_bn* net_;
    int* place_;  // where the number of the next link stands
};

/// Entries of the node's full table: rows times states; not bounded.
double TableEntries(const Bnode_bn& node);

/// The row in words, "A=yes, B=no"; empty for a node without parents.
std::string RowText(const Bnode_bn& node, int row);

}  // namespace lumo
