#include "export/part.h"

#include <utility>

namespace lumo {
namespace {

using Named = std::span<const Bnode_bn* const>;
using Places = std::vector<std::size_t>;
using Neighbours = std::vector<Places>;  ///< of every node

std::size_t PlaceOf(const Bnode_bn& node) { return static_cast<std::size_t>(node.place()); }

Neighbours ParentsIn(const Bnet_bn& net) {
    Neighbours parents(static_cast<std::size_t>(net.nodes.N));
    for (const Bnode_bn* node : net.nodes)
        for (const Bnode_bn* parent : node->parents)
            parents[PlaceOf(*node)].push_back(PlaceOf(*parent));
    return parents;
}

Neighbours Turned(const Neighbours& neighbours) {
    Neighbours turned(neighbours.size());
    for (std::size_t v = 0; v < neighbours.size(); ++v)
        for (const std::size_t u : neighbours[v]) turned[u].push_back(v);
    return turned;
}

void MarkStep(Named named, const Neighbours& neighbours, std::vector<char>& isIn) {
    for (const Bnode_bn* node : named)
        for (const std::size_t u : neighbours[PlaceOf(*node)]) isIn[u] = 1;
}

/// Distances from the nearest of the nodes in links, -1 where there is no way.
std::vector<int> Distances(Places reached, const Neighbours& neighbours) {
    std::vector<int> distance(neighbours.size(), -1);
    for (const std::size_t from : reached) distance[from] = 0;
    for (std::size_t i = 0; i < reached.size(); ++i) {
        const std::size_t v = reached[i];
        for (const std::size_t u : neighbours[v])
            if (distance[u] < 0) {
                distance[u] = distance[v] + 1;
                reached.push_back(u);
            }
    }
    return distance;
}

void MarkReached(Named named, const Neighbours& neighbours, std::vector<char>& isIn) {
    Places from;
    for (const Bnode_bn* node : named) from.push_back(PlaceOf(*node));
    const std::vector<int> distance = Distances(std::move(from), neighbours);
    for (std::size_t v = 0; v < distance.size(); ++v)
        if (distance[v] >= 0) isIn[v] = 1;
}

/// Marks what lies on directed paths from one node to the other; false when there are none.
bool MarkDirected(std::size_t from, std::size_t to, const Neighbours& parents,
                  const Neighbours& children, std::vector<char>& isIn) {
    const std::vector<int> below = Distances({from}, children), above = Distances({to}, parents);
    for (std::size_t v = 0; v < below.size(); ++v)
        if (below[v] >= 0 && above[v] >= 0) isIn[v] = 1;
    return below[to] >= 0;
}

/// Marks what lies on the shortest ways between the nodes, whichever way links point.
void MarkShortest(std::size_t from, std::size_t to, const Neighbours& parents,
                  const Neighbours& children, std::vector<char>& isIn) {
    Neighbours both = parents;
    for (std::size_t v = 0; v < both.size(); ++v)
        both[v].insert(both[v].end(), children[v].begin(), children[v].end());
    const std::vector<int> there = Distances({from}, both), back = Distances({to}, both);
    for (std::size_t v = 0; v < both.size(); ++v)
        if (there[to] >= 0 && there[v] + back[v] == there[to]) isIn[v] = 1;
}

constexpr Around arounds[] = {
    {"nothing", 1, [](const Bnet_bn&, Named, std::vector<char>&) {}},
    {"parents", 1,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         MarkStep(named, ParentsIn(net), isIn);
     }},
    {"children", 1,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         MarkStep(named, Turned(ParentsIn(net)), isIn);
     }},
    {"blanket", 1,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         const Neighbours parents = ParentsIn(net), children = Turned(parents);
         MarkStep(named, parents, isIn);
         for (const Bnode_bn* node : named)
             for (const std::size_t child : children[PlaceOf(*node)]) {
                 isIn[child] = 1;
                 for (const std::size_t other : parents[child]) isIn[other] = 1;
             }
     }},
    {"ancestors", 1,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         MarkReached(named, ParentsIn(net), isIn);
     }},
    {"descendants", 1,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         MarkReached(named, Turned(ParentsIn(net)), isIn);
     }},
    {"path", 2,
     [](const Bnet_bn& net, Named named, std::vector<char>& isIn) {
         const Neighbours parents = ParentsIn(net), children = Turned(parents);
         for (std::size_t i = 1; i < named.size(); ++i) {
             const std::size_t from = PlaceOf(*named[i - 1]), to = PlaceOf(*named[i]);
             std::vector<char> own(isIn.size(), 0);
             if (!MarkDirected(from, to, parents, children, own) &&
                 !MarkDirected(to, from, parents, children, own))
                 MarkShortest(from, to, parents, children, own);
             for (std::size_t v = 0; v < own.size(); ++v) isIn[v] |= own[v];
         }
     }},
    {"group", 1,
     [](const Bnet_bn&, Named named, std::vector<char>& isIn) {
         for (const Bnode_bn* node : named)
             for (const nodeset_bn* set : node->nodesets())
                 for (const Bnode_bn* member : set->nodes()) isIn[PlaceOf(*member)] = 1;
     }},
};

}  // namespace

std::span<const Around> Arounds() { return arounds; }

std::vector<const Bnode_bn*> PartOf(const Bnet_bn& net, Named named, const Around& around) {
    std::vector<char> isIn(static_cast<std::size_t>(net.nodes.N), 0);
    around.mark(net, named, isIn);
    for (const Bnode_bn* node : named) isIn[PlaceOf(*node)] = 1;
    std::vector<const Bnode_bn*> part;
    for (const Bnode_bn* node : net.nodes)
        if (isIn[PlaceOf(*node)] != 0) part.push_back(node);
    return part;
}

}  // namespace lumo
