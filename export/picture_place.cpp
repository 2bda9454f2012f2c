// Where the nodes of a picture stand.
//
// The positions of a file come in any unit, and its program may have drawn smaller labels than we
// do. So the file's drawing is scaled as a whole until its shapes stop touching, and what still
// touches then is moved apart. Positions that cannot become a picture that way are no drawing.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <tuple>

#include "export/picture.h"

namespace lumo {
namespace {

constexpr double gap = 14;  ///< between shapes: room for an arrow head
constexpr double scaleStep = 1.12;
constexpr double largestScale = 6;
constexpr double touchingAllowed = 0.04;  ///< share of the nodes, moved apart afterwards
constexpr double touchingHopeless = 0.3;  ///< share that no scaling parted: no drawing
// Measures of a drawing, as so many times the root of what its shapes cover, and some more that
// matters with few shapes.
constexpr double roomyRoots = 5, roomyMore = 500;  ///< one wider or higher is scaled down
constexpr double vastRoots = 10, vastMore = 600;   ///< root of the area of what is no drawing
constexpr double longestRoots = 40;                ///< nor is one that is longer
constexpr std::size_t neighboursLooked = 32;       ///< of a cell, so that work stays linear

/// The nodes by the cells of a grid, in which shapes that touch are in the same cell or in
/// neighbouring ones.
class Grid {
public:
    explicit Grid(const std::vector<PictureNode>& nodes) {
        double width = 1, height = 1;
        for (const PictureNode& node : nodes) {
            width = std::max(width, 2 * node.halfWidth + gap);
            height = std::max(height, 2 * node.halfHeight + gap);
        }
        entries_.reserve(nodes.size());
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Point at = nodes[i].centre;
            entries_.push_back({static_cast<std::int64_t>(std::floor(at.x / width)),
                                static_cast<std::int64_t>(std::floor(at.y / height)), i});
        }
        std::sort(entries_.begin(), entries_.end());
    }

    /// Calls with every two nodes in the same or in neighbouring cells, once.
    template <class CALL>
    void forEachPair(CALL call) const {
        // Where the neighbouring cells begin; they come in the order of the entries too.
        std::size_t below = 0, right[3] = {};
        for (std::size_t i = 0; i < entries_.size(); ++i) {
            const Entry& entry = entries_[i];
            // The rest of its cell and the cell below follow it; the column to the right comes
            // later.
            visit(entry, i + 1, entry.column, entry.row, call);
            advance(below, entry.column, entry.row + 1);
            visit(entry, below, entry.column, entry.row + 1, call);
            for (const int down : {-1, 0, 1}) {
                advance(right[down + 1], entry.column + 1, entry.row + down);
                visit(entry, right[down + 1], entry.column + 1, entry.row + down, call);
            }
        }
    }

private:
    struct Entry {
        std::int64_t column, row;
        std::size_t node;
        bool operator<(const Entry& other) const {
            return std::tie(column, row, node) < std::tie(other.column, other.row, other.node);
        }
    };

    /// Goes on to where the cell begins, or would.
    void advance(std::size_t& at, std::int64_t column, std::int64_t row) const {
        const Entry first{column, row, 0};
        while (at < entries_.size() && entries_[at] < first) ++at;
    }
    template <class CALL>
    void visit(const Entry& entry, std::size_t from, std::int64_t column, std::int64_t row,
               CALL& call) const {
        const std::size_t end = std::min(entries_.size(), from + neighboursLooked);
        for (std::size_t i = from; i < end; ++i) {
            if (entries_[i].column != column || entries_[i].row != row) return;
            call(entry.node, entries_[i].node);
        }
    }

    std::vector<Entry> entries_;
};

/// How far the shapes and the gap between them reach into each other, across and down; both are
/// positive when they touch.
Point Overlap(const PictureNode& a, const PictureNode& b) {
    return {a.halfWidth + b.halfWidth + gap - std::abs(a.centre.x - b.centre.x),
            a.halfHeight + b.halfHeight + gap - std::abs(a.centre.y - b.centre.y)};
}

bool Touch(const PictureNode& a, const PictureNode& b) {
    constexpr double tolerance = 1e-6;
    const Point overlap = Overlap(a, b);
    return overlap.x > tolerance && overlap.y > tolerance;
}

/// The share of the nodes that touch another.
double TouchingShare(const std::vector<PictureNode>& nodes) {
    std::vector<char> touching(nodes.size(), 0);
    Grid(nodes).forEachPair([&](std::size_t a, std::size_t b) {
        if (Touch(nodes[a], nodes[b])) touching[a] = touching[b] = 1;
    });
    const auto count = std::count(touching.begin(), touching.end(), 1);
    return static_cast<double>(count) / static_cast<double>(std::max<std::size_t>(nodes.size(), 1));
}

/// Moves every two nodes that touch half way apart each, in the direction that takes less.
void MoveApart(std::vector<PictureNode>& nodes) {
    const int rounds = nodes.size() > 20'000 ? 10 : 60;
    bool moved = true;
    for (int round = 0; round < rounds && moved; ++round) {
        moved = false;
        Grid(nodes).forEachPair([&](std::size_t a, std::size_t b) {
            PictureNode& one = nodes[a];
            PictureNode& other = nodes[b];
            if (!Touch(one, other)) return;
            const Point overlap = Overlap(one, other);
            double Point::*const axis = overlap.x < overlap.y ? &Point::x : &Point::y;
            const double way = overlap.*axis / 2 + 0.01;
            const bool before = one.centre.*axis < other.centre.*axis ||
                                (one.centre.*axis == other.centre.*axis && a < b);
            one.centre.*axis += before ? -way : way;
            other.centre.*axis += before ? way : -way;
            moved = true;
        });
    }
}

/// Rectangle of the centres.
Point Span(const std::vector<Point>& places) {
    Point low{1e300, 1e300}, high{-1e300, -1e300};
    for (const Point at : places) {
        low = {std::min(low.x, at.x), std::min(low.y, at.y)};
        high = {std::max(high.x, at.x), std::max(high.y, at.y)};
    }
    return {high.x - low.x, high.y - low.y};
}

void Put(std::vector<PictureNode>& nodes, const std::vector<Point>& places, double scale) {
    for (std::size_t i = 0; i < nodes.size(); ++i)
        nodes[i].centre = {places[i].x * scale, places[i].y * scale};
}

double RootOfCovered(const std::vector<PictureNode>& nodes) {
    double covered = 0;
    for (const PictureNode& node : nodes)
        covered += (2 * node.halfWidth + gap) * (2 * node.halfHeight + gap);
    return std::sqrt(covered);
}

bool IsVast(Point span, double root) {
    return std::sqrt(span.x * span.y) > vastRoots * root + vastMore ||
           std::max(span.x, span.y) > longestRoots * root + vastMore;
}

/// Puts the nodes at the places times a scale, the smallest from `scale` up at which few of them
/// touch. Returns that scale, and 0 when they make no picture at any.
double PutScaled(std::vector<PictureNode>& nodes, const std::vector<Point>& places, double scale) {
    Put(nodes, places, std::max(scale, largestScale));
    const double leastShare = TouchingShare(nodes);
    if (leastShare > touchingHopeless) return 0;
    const double allowed = std::max(leastShare, touchingAllowed);
    Put(nodes, places, scale);
    while (scale < largestScale && TouchingShare(nodes) > allowed) {
        scale *= scaleStep;
        Put(nodes, places, scale);
    }
    return scale;
}

std::vector<Point> NetPlaces(const std::vector<PictureNode>& nodes) {
    std::vector<Point> places;
    places.reserve(nodes.size());
    for (const PictureNode& drawn : nodes) {
        const VisualNodes_bn& visual = drawn.node->vns;
        const coord_kt at = visual.hasSome() ? visual[0]->position() : coord_kt();
        places.push_back({static_cast<double>(at.x), static_cast<double>(at.y)});
    }
    return places;
}

}  // namespace

double PlaceAsInNet(bool force, double room, Picture& picture) {
    std::vector<PictureNode>& nodes = picture.nodes;
    if (nodes.empty()) return 1;
    const std::vector<Point> places = NetPlaces(nodes);
    const double root = RootOfCovered(nodes);
    const Point span = Span(places);
    const double roomy =
        std::min(1.0, room * (roomyRoots * root + roomyMore) / std::max({span.x, span.y, 1.0}));
    double scale = PutScaled(nodes, places, roomy);
    if (IsVast({span.x * scale, span.y * scale}, root)) scale = 0;
    if (scale == 0) {
        if (!force) return 0;
        scale = roomy;
        Put(nodes, places, scale);
    }
    MoveApart(nodes);
    return scale;
}

}  // namespace lumo
