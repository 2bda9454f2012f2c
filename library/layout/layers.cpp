// Automatic layout: layers, and way-points for the links that span several of them.

#include <algorithm>
#include <climits>
#include <cmath>
#include <numeric>

#include "library/layout/layout.h"

namespace lumo::layout {

namespace {

/// Way-points that every part may have; larger parts may have a multiple of their size.
constexpr long long FreeWayPoints = 20'000;
constexpr long long WayPointsPerLink = 4;
/// Work on shortening links, in visits of links.
constexpr long long PullWork = 20'000'000;
constexpr int PullRounds = 50;

using Pairs = std::vector<std::pair<int, int>>;

Pairs ChildPairs(const std::vector<Link>& links) {
    Pairs pairs;
    pairs.reserve(links.size());
    for (const Link& link : links) pairs.emplace_back(link.parent, link.child);
    return pairs;
}

Pairs ParentPairs(const std::vector<Link>& links) {
    Pairs pairs;
    pairs.reserve(links.size());
    for (const Link& link : links) pairs.emplace_back(link.child, link.parent);
    return pairs;
}

/// The nodes, parents before children. Where a cycle leaves no such node, the first one left is
/// taken.
std::vector<int> TopologicalOrder(int nodes, const Adjacency& parents, const Adjacency& children) {
    std::vector<int> missing(static_cast<std::size_t>(nodes));
    std::vector<int> order;
    std::vector<bool> taken(static_cast<std::size_t>(nodes));
    order.reserve(missing.size());
    const auto take = [&](int v) {
        order.push_back(v);
        taken[static_cast<std::size_t>(v)] = true;
    };
    for (int v = 0; v < nodes; ++v) {
        missing[static_cast<std::size_t>(v)] = parents.degree(v);
        if (parents.degree(v) == 0) take(v);
    }
    int candidate = 0;
    for (std::size_t next = 0; static_cast<int>(order.size()) < nodes || next < order.size();) {
        if (next == order.size()) {
            while (taken[static_cast<std::size_t>(candidate)]) ++candidate;
            take(candidate);
        }
        for (const int child : children.of(order[next++])) {
            const auto c = static_cast<std::size_t>(child);
            if (--missing[c] == 0 && !taken[c]) take(child);
        }
    }
    return order;
}

/// The layers of a part while its links are shortened.
class Layering {
public:
    explicit Layering(const Part& part) : layers_(part.widths.size()) {
        Adjacency parents(part.size(), ParentPairs(part.links));
        Adjacency children(part.size(), ChildPairs(part.links));
        order_ = TopologicalOrder(part.size(), parents, children);
        keepForwardLinks(part);
        budget_ = PullWork;
    }

    /// The part's links without those that close a cycle.
    const std::vector<Link>& links() const { return links_; }

    std::vector<int> run(LayeringEN how) {
        for (const int v : order_) at(v) = parents_.degree(v) == 0 ? 0 : above(v) + 1;
        if (how == LayeringEN::low) {
            const int last = *std::max_element(layers_.begin(), layers_.end());
            for (auto v = order_.rbegin(); v != order_.rend(); ++v)
                at(*v) = children_.degree(*v) == 0 ? last : below(*v) - 1;
        }
        bool moved = how == LayeringEN::tight;
        for (int round = 0; moved && round < PullRounds && budget_ > 0; ++round) {
            moved = pull(order_.rbegin(), order_.rend());
            moved |= pull(order_.begin(), order_.end());
            moved |= pullGroups();
        }
        normalize();
        return std::move(layers_);
    }

private:
    int& at(int v) { return layers_[static_cast<std::size_t>(v)]; }

    void keepForwardLinks(const Part& part) {
        std::vector<int> rank(order_.size());
        for (std::size_t i = 0; i < order_.size(); ++i) {
            rank[static_cast<std::size_t>(order_[i])] = static_cast<int>(i);
        }
        for (const Link& link : part.links) {
            const int from = rank[static_cast<std::size_t>(link.parent)];
            if (from < rank[static_cast<std::size_t>(link.child)]) links_.push_back(link);
        }
        parents_ = Adjacency(part.size(), ParentPairs(links_));
        children_ = Adjacency(part.size(), ChildPairs(links_));
    }

    int above(int v) {
        int deepest = INT_MIN;
        for (const int parent : parents_.of(v)) deepest = std::max(deepest, at(parent));
        return deepest;
    }

    int below(int v) {
        int highest = INT_MAX;
        for (const int child : children_.of(v)) highest = std::min(highest, at(child));
        return highest;
    }

    /// Moves every node towards the side where it has more links, as far as its neighbours let it.
    template <class It>
    bool pull(It first, It last) {
        bool moved = false;
        for (; first != last; ++first) {
            const int v = *first;
            const int ups = parents_.degree(v);
            const int downs = children_.degree(v);
            budget_ -= ups + downs + 1;
            if (ups == downs) continue;
            const int wanted = ups > downs ? above(v) + 1 : below(v) - 1;
            moved |= wanted != at(v);
            at(v) = wanted;
        }
        return moved;
    }

    /// Moves groups of nodes that hang together by links of length one, away from a link that could
    /// be shorter. Links of length one that pull the other way hold a group, so every group is
    /// tried by the links that leave it.
    bool pullGroups() {
        bool moved = false;
        for (std::size_t i = 0; i < links_.size() && budget_ > 0; ++i) {
            const Link link = links_[i];
            if (at(link.child) - at(link.parent) <= 1) continue;
            moved |= tryGroup(link.child, -1) || tryGroup(link.parent, 1);
        }
        return moved;
    }

    /// Moves the group around the node by one layer in the direction when that shortens the links.
    bool tryGroup(int start, int direction) {
        // What is next to the group in the direction must move with it.
        const Adjacency& ahead = direction > 0 ? children_ : parents_;
        const Adjacency& behind = direction > 0 ? parents_ : children_;
        ++stamp_;
        if (stamps_.empty()) stamps_.resize(layers_.size());
        std::vector<int> group = {start};
        stamps_[static_cast<std::size_t>(start)] = stamp_;
        long long gain = 0;
        for (std::size_t i = 0; i < group.size(); ++i) {
            if (group.size() > MaxGroup) return false;
            const int v = group[i];
            budget_ -= ahead.degree(v) + behind.degree(v);
            gain += ahead.degree(v) - behind.degree(v);
            for (const int other : ahead.of(v)) {
                auto& stamp = stamps_[static_cast<std::size_t>(other)];
                if (at(other) - at(v) != direction || stamp == stamp_) continue;
                stamp = stamp_;
                group.push_back(other);
            }
        }
        if (gain <= 0) return false;
        for (const int v : group) at(v) += direction;
        return true;
    }

    void normalize() {
        if (layers_.empty()) return;
        // Rows that were emptied by the moves go.
        std::vector<int> used(layers_);
        std::sort(used.begin(), used.end());
        used.erase(std::unique(used.begin(), used.end()), used.end());
        for (int& layer : layers_) {
            layer =
                static_cast<int>(std::lower_bound(used.begin(), used.end(), layer) - used.begin());
        }
    }

    static constexpr std::size_t MaxGroup = 2000;
    std::vector<int> layers_, order_;
    std::vector<Link> links_;
    Adjacency parents_, children_;
    std::vector<int> stamps_;
    int stamp_ = 0;
    long long budget_ = 0;
};

}  // namespace

Adjacency::Adjacency(int vertices, const std::vector<std::pair<int, int>>& pairs)
    : starts_(static_cast<std::size_t>(vertices) + 1), neighbours_(pairs.size()) {
    for (const auto& pair : pairs) ++starts_[static_cast<std::size_t>(pair.first) + 1];
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    std::vector<std::size_t> next(starts_.begin(), starts_.end() - 1);
    for (const auto& [from, to] : pairs) neighbours_[next[static_cast<std::size_t>(from)]++] = to;
}

int LongestSpan(const std::vector<Link>& links, const std::vector<int>& rowOf, long long room) {
    std::vector<long long> count;
    for (const Link& link : links) {
        const auto span = static_cast<std::size_t>(rowOf[static_cast<std::size_t>(link.child)] -
                                                   rowOf[static_cast<std::size_t>(link.parent)]);
        if (count.size() <= span) count.resize(span + 1);
        ++count[span];
    }
    int span = 1;
    while (span + 1 < static_cast<int>(count.size())) {
        room -= count[static_cast<std::size_t>(span) + 1] * span;
        if (room < 0) break;
        ++span;
    }
    return span;
}

std::vector<int> AssignLayers(Part& part, LayeringEN how) {
    Layering layering(part);
    const std::vector<Link>& kept = layering.links();
    std::vector<int> ids;
    for (std::size_t i = 0; i < part.links.size() && ids.size() < kept.size(); ++i)
        if (part.links[i] == kept[ids.size()]) ids.push_back(part.linkIds[i]);
    part.links = kept;
    part.linkIds = std::move(ids);
    return layering.run(how);
}

std::vector<int> SplitLayers(const Part& part, const Layered& graph, double gap, double most) {
    std::vector<int> layers(part.widths.size());
    std::vector<int> balance(part.widths.size());  // parents less children
    for (const Link& link : part.links) {
        ++balance[static_cast<std::size_t>(link.child)];
        --balance[static_cast<std::size_t>(link.parent)];
    }
    int next = 0;
    for (const auto& row : graph.rows) {
        std::vector<std::size_t> nodes;
        double width = 0;
        for (const int v : row) {
            if (v >= part.size()) continue;
            nodes.push_back(static_cast<std::size_t>(v));
            width += part.widths[nodes.back()] + gap;
        }
        const auto rows = std::min(nodes.size(), static_cast<std::size_t>(std::ceil(width / most)));
        for (std::size_t i = 0; i < nodes.size(); i += rows) {
            // Of neighbours, those whose links go up stand in the upper rows.
            const auto first = nodes.begin() + static_cast<std::ptrdiff_t>(i);
            const auto last =
                nodes.begin() + static_cast<std::ptrdiff_t>(std::min(i + rows, nodes.size()));
            std::stable_sort(first, last, [&](auto a, auto b) { return balance[a] > balance[b]; });
            for (auto v = first; v != last; ++v) layers[*v] = next + static_cast<int>(v - first);
        }
        next += static_cast<int>(rows);
    }
    return layers;
}

Layered MakeLayered(const Part& part, std::vector<int> layers) {
    const int longest = LongestSpan(
        part.links, layers,
        std::max(FreeWayPoints, WayPointsPerLink * static_cast<long long>(part.links.size())));
    Layered graph;
    graph.nodes = part.size();
    graph.effort = part.effort;
    Pairs downward;
    for (const Link& link : part.links) {
        const int last = layers[static_cast<std::size_t>(link.child)];
        int at = layers[static_cast<std::size_t>(link.parent)];
        if (last - at > longest) {
            graph.firstWay.push_back(-1);
            continue;
        }
        graph.firstWay.push_back(static_cast<int>(layers.size()));
        int from = link.parent;
        while (++at < last) {
            const int way = static_cast<int>(layers.size());
            layers.push_back(at);
            graph.wayOf.push_back(link);
            downward.emplace_back(from, way);
            from = way;
        }
        downward.emplace_back(from, link.child);
    }
    graph.layer = std::move(layers);
    graph.steps = static_cast<long long>(downward.size());
    graph.down = Adjacency(graph.size(), downward);
    for (auto& pair : downward) std::swap(pair.first, pair.second);
    graph.up = Adjacency(graph.size(), downward);
    for (int v = 0; v < graph.size(); ++v) {
        const auto layer = static_cast<std::size_t>(graph.layer[static_cast<std::size_t>(v)]);
        if (graph.rows.size() <= layer) graph.rows.resize(layer + 1);
        graph.rows[layer].push_back(v);
    }
    return graph;
}

}  // namespace lumo::layout
