// Each fan is laid out as one box, in which its leaves find their places afterwards.

#include "export/fans.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <span>
#include <vector>

#include "export/picture.h"

namespace lumo {
namespace {

using layout::Diagram;
using layout::Drawing;

constexpr std::size_t leastFan = 8;  ///< leaves of a fan that is wide
constexpr double sideGap = 18;       ///< between leaves side by side, for a link
constexpr double rowGap = 24;        ///< between the rows of leaves, for arrow heads
constexpr double linkGap = 8;        ///< between links
constexpr double leastWay = 16;      ///< of links between the parent's row and the fan's
constexpr double roundness = 5;      ///< of their bends
constexpr double clearance = 5;      ///< between them and their parent's neighbours

/// Leaves in two rows, which take turns from left to right.
struct Fan {
    int parent = 0;
    std::vector<std::size_t> leaves;
    std::vector<double> across;  ///< middles of the leaves, from the fan's left edge
    Point size;

    static bool isUpper(std::size_t i) { return i % 2 == 0; }

    /// Gives the leaves their places, those of the upper row beside the links to the lower.
    void arrange(const std::vector<Point>& sizes) {
        double depth = 0;
        for (std::size_t i = 0; i < leaves.size(); ++i) {
            const Point own = sizes[leaves[i]];
            const auto behind = [&](std::size_t other) {
                return across[other] + (sizes[leaves[other]].x + own.x) / 2 + sideGap;
            };
            double at = own.x / 2;
            if (i > 0) {
                const double wide = isUpper(i) ? own.x : sizes[leaves[i - 1]].x;
                at = std::max(at, across[i - 1] + (wide + sideGap) / 2);
            }
            if (i > 1) at = std::max(at, behind(i - 2));
            across.push_back(at);
            size.x = std::max(size.x, at + own.x / 2);
            depth = std::max(depth, own.y);
        }
        size.y = 2 * depth + rowGap;
    }

    /// Of the leaf, from the middle of the fan.
    Point place(std::size_t i) const {
        const double down = (size.y + rowGap) / 4;
        return {across[i] - size.x / 2, isUpper(i) ? -down : down};
    }

    /// How far from above the leaf its link may come into the fan, to the side.
    double freeAbove(std::size_t i, bool toTheRight) const {
        if (!isUpper(i)) return 0;
        const std::size_t next = toTheRight ? i + 1 : i - 1;
        const double edge = toTheRight ? size.x : 0;
        const double way = (next < leaves.size() ? across[next] : edge) - across[i];
        return std::abs(way) - linkGap;
    }
};

std::vector<Fan> WideFans(const Diagram& diagram) {
    std::vector<int> parents(diagram.sizes.size()), children(diagram.sizes.size());
    for (const layout::Link& link : diagram.links) {
        ++parents[static_cast<std::size_t>(link.child)];
        ++children[static_cast<std::size_t>(link.parent)];
    }
    std::map<int, Fan> fans;
    for (const layout::Link& link : diagram.links) {
        const auto child = static_cast<std::size_t>(link.child);
        if (parents[child] != 1 || children[child] != 0) continue;
        Fan& fan = fans[link.parent];
        fan.parent = link.parent;
        fan.leaves.push_back(child);
    }
    std::vector<Fan> wide;
    for (auto& [parent, fan] : fans) {
        if (fan.leaves.size() < leastFan) continue;
        fan.arrange(diagram.sizes);
        wide.push_back(std::move(fan));
    }
    return wide;
}

/// What is kept of a way to the side where so much is free: what goes far is fanned out over half
/// of it.
double Fanned(double aside, double free) {
    if (aside <= free / 2) return aside;
    return free > 0 ? free * (1 - std::exp(0.5 - aside / free) / 2) : 0;
}

/// The diagram with a box for each fan, behind those of the nodes that are in none.
class Folded {
public:
    Folded(const Diagram& diagram, const std::vector<Fan>& fans)
        : whole_(diagram), fans_(fans), diagram_(diagram), boxes_(diagram.sizes.size()) {
        for (const Fan& fan : fans)
            for (const std::size_t leaf : fan.leaves) boxes_[leaf] = inFan;
        diagram_.mayTurn = false;
        diagram_.sizes.clear();
        diagram_.links.clear();
        for (std::size_t i = 0; i < boxes_.size(); ++i)
            if (boxes_[i] != inFan) boxes_[i] = add(diagram.sizes[i]);
        for (const layout::Link& link : diagram.links)
            if (box(link.child) != inFan)
                diagram_.links.push_back({box(link.parent), box(link.child)});
        // A link for every leaf, so that the fan weighs as much as they do.
        for (const Fan& fan : fans)
            diagram_.links.insert(diagram_.links.end(), fan.leaves.size(),
                                  {box(fan.parent), add(fan.size)});
    }

    std::optional<Drawing> drawn() {
        small_ = layout::Draw(diagram_);
        for (std::size_t i = 0; i < small_.centres.size(); ++i) {
            Row& row = rows_[small_.centres[i].y];
            row.half = std::max(row.half, diagram_.sizes[i].y / 2);
            row.nodes.push_back(i);
        }
        for (auto& [middle, row] : rows_)
            std::ranges::sort(row.nodes, {}, [&](std::size_t i) { return small_.centres[i].x; });
        Drawing all;
        all.centres.resize(boxes_.size());
        for (std::size_t i = 0; i < boxes_.size(); ++i)
            if (boxes_[i] != inFan)
                all.centres[i] = small_.centres[static_cast<std::size_t>(boxes_[i])];
        std::map<std::size_t, std::vector<Point>> toLeaves;
        const std::size_t first = small_.centres.size() - fans_.size();
        for (std::size_t f = 0; f < fans_.size(); ++f) {
            const auto parent = static_cast<std::size_t>(box(fans_[f].parent));
            if (!isNextTo(parent, first + f)) return std::nullopt;
            const Point middle = small_.centres[first + f];
            const double rooms[] = {room(parent, false), room(parent, true)};
            for (std::size_t i = 0; i < fans_[f].leaves.size(); ++i) {
                const Point place = fans_[f].place(i);
                Point& leaf = all.centres[fans_[f].leaves[i]];
                leaf = {middle.x + place.x, middle.y + place.y};
                toLeaves[fans_[f].leaves[i]] =
                    course(small_.centres[parent], leaf, middle.y - half(middle.y),
                           fans_[f].freeAbove(i, small_.centres[parent].x > leaf.x), rooms);
            }
        }
        auto next = small_.courses.begin();
        for (const layout::Link& link : whole_.links) {
            const bool isKept = box(link.child) != inFan;
            all.courses.push_back(
                std::move(isKept ? *next++ : toLeaves[static_cast<std::size_t>(link.child)]));
        }
        return all;
    }

private:
    static constexpr int inFan = -1;

    int box(int node) const { return boxes_[static_cast<std::size_t>(node)]; }
    int add(Point size) {
        diagram_.sizes.push_back(size);
        return static_cast<int>(diagram_.sizes.size()) - 1;
    }
    /// Of the row that has its middle there.
    double half(double middle) const { return rows_.at(middle).half; }
    double leftEdge(std::size_t i) const { return small_.centres[i].x - diagram_.sizes[i].x / 2; }
    double rightEdge(std::size_t i) const { return small_.centres[i].x + diagram_.sizes[i].x / 2; }

    /// Whether nothing stands between the node and the fan, which is below it.
    bool isNextTo(std::size_t parent, std::size_t fan) const {
        const Point from = small_.centres[parent], to = small_.centres[fan];
        if (to.y - half(to.y) < from.y + half(from.y) + leastWay) return false;
        const double left = std::min(from.x, leftEdge(fan));
        const double right = std::max(from.x, rightEdge(fan));
        for (auto row = rows_.upper_bound(from.y); row->first < to.y; ++row) {
            const auto& nodes = row->second.nodes;
            const auto next = std::ranges::partition_point(
                nodes, [&](std::size_t i) { return rightEdge(i) <= left; });
            if (next != nodes.end() && leftEdge(*next) < right) return false;
        }
        return true;
    }

    /// What is free beside the node in its row.
    double room(std::size_t node, bool toTheRight) const {
        const Point from = small_.centres[node];
        const auto& nodes = rows_.at(from.y).nodes;
        const auto own = std::ranges::lower_bound(
            nodes, from.x, {}, [&](std::size_t i) { return small_.centres[i].x; });
        if (toTheRight) return own + 1 == nodes.end() ? 1e6 : leftEdge(own[1]) - from.x - clearance;
        return own == nodes.begin() ? 1e6 : from.x - rightEdge(own[-1]) - clearance;
    }

    /// Out of the parent's row, within what is free to its left and right, to the leaf's place at
    /// the edge of the fan, and to the leaf.
    std::vector<Point> course(Point from, Point leaf, double top, double freeAbove,
                              std::span<const double, 2> roomBeside) const {
        const auto towards = [](double start, double end, double way) {
            return start + std::copysign(way, end - start);
        };
        const double aside = std::abs(leaf.x - from.x) / (leaf.y - from.y);
        const double last = Fanned(aside * (leaf.y - top), freeAbove);
        const Point edge{towards(leaf.x, from.x, last), top};
        const double depth = half(from.y);
        const double way = std::abs(edge.x - from.x) * depth / (edge.y - from.y);
        const double first = Fanned(way, roomBeside[edge.x > from.x ? 1 : 0]);
        std::vector<Point> line = {from, edge, leaf};
        if (first < way)
            line.insert(line.begin() + 1, {towards(from.x, edge.x, first), from.y + depth});
        return Rounded(line, roundness);
    }

    const Diagram& whole_;
    const std::vector<Fan>& fans_;
    Diagram diagram_;
    std::vector<int> boxes_;  ///< of every node of the whole
    Drawing small_;
    struct Row {
        double half = 0;                 ///< of its depth
        std::vector<std::size_t> nodes;  ///< from left to right
    };
    std::map<double, Row> rows_;  ///< by their middles
};

}  // namespace

std::optional<Drawing> DrawFansInRows(const Diagram& diagram) {
    const std::vector<Fan> fans = WideFans(diagram);
    if (fans.empty()) return std::nullopt;
    return Folded(diagram, fans).drawn();
}

}  // namespace lumo
