// The steps of the automatic layout (private to the library). diagram.h holds Draw, which makes the
// drawing; netmodel.h holds Layout, which fits its boxes into an area.
//
// A net is cut into its connected parts. Each part is layered (AssignLayers), its long links are
// threaded through the rows between by slim way-points (MakeLayered), the rows are ordered for few
// crossings (OrderRows) and made into coordinates (PlaceRows), and the links run through the places
// of their way-points (RouteLinks). Nothing recurses, nothing is random: the same links give the
// same picture.
#pragma once

#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "library/layout/diagram.h"

namespace lumo::layout {

/// A connected part of the net: its nodes are 0, 1, ...
struct Part {
    std::vector<double> widths;  ///< of the nodes' boxes
    std::vector<Link> links;
    std::vector<int> members;  ///< its nodes in the whole net
    std::vector<int> linkIds;  ///< its links in the whole list, also those that are taken out
    double effort = 1;  ///< the share of the work on a part that it gets, where there are many
    int size() const { return static_cast<int>(widths.size()); }
};

/// The neighbours of every vertex, in one array.
class Adjacency {
public:
    Adjacency() = default;
    /// of(p.first) gets p.second for every pair, in the order of the pairs.
    Adjacency(int vertices, const std::vector<std::pair<int, int>>& pairs);
    std::span<const int> of(int v) const { return {neighbours_.data() + begin(v), size(v)}; }
    std::span<int> of(int v) { return {neighbours_.data() + begin(v), size(v)}; }
    int degree(int v) const { return static_cast<int>(size(v)); }

private:
    std::size_t begin(int v) const { return starts_[static_cast<std::size_t>(v)]; }
    std::size_t size(int v) const { return starts_[static_cast<std::size_t>(v) + 1] - begin(v); }
    std::vector<std::size_t> starts_;
    std::vector<int> neighbours_;
};

/// Vertices of every row, rows from top to bottom, each from left to right.
using Rows = std::vector<std::vector<int>>;

/// Links up to which they are drawn with room for their way-points, in vertices and steps.
constexpr int LargePart = 20'000;

/// A part with every link cut into steps from one row to the next by way-points, which are the
/// vertices from `nodes` on.
struct Layered {
    int nodes = 0;
    std::vector<int> layer;     ///< of every vertex
    std::vector<Link> wayOf;    ///< of every way-point: the ends of its link
    std::vector<int> firstWay;  ///< of every link; those of a link follow each other. -1: left out
    Rows rows;
    Adjacency up, down;
    long long steps = 0;  ///< links between neighbouring rows
    double effort = 1;    ///< as the part's
    /// So much of work that is bounded.
    long long share(long long work) const {
        return std::llround(effort * static_cast<double>(work));
    }
    int size() const { return static_cast<int>(layer.size()); }
    bool isLarge() const { return size() > LargePart || steps > 2 * LargePart; }
};

/// Where a part's vertices stand: its nodes, and way-points where they have got room.
struct Placement {
    std::vector<double> x;  ///< centres
    Rows rows;
};

/// The connected parts of a net, by the first node of each.
std::vector<Part> SplitIntoParts(const std::vector<double>& widths, const std::vector<Link>& links);

/// A box with its place.
struct Box {
    double width, height;
    double left = 0, top = 0;
};

/// Packs the boxes on shelves of the width, tall ones first; lower ones stand on top of each other
/// within a shelf. Returns the size of it all.
Box PackBoxes(std::vector<Box>& boxes, double width, Point gap);

/// A width to pack the boxes into: the least one wanted, or that of a drawing twice as wide as high
/// when the boxes need more room.
double PackingWidth(const std::vector<Box>& boxes, double least, Point gap);

/// Where nodes stand that more than one layer has room for: where their links are short, as high or
/// as low as they may.
enum class LayeringEN : unsigned char { tight, high, low };

/// Layers with every parent above its children: longest paths, then every node moved to where it is
/// wanted. A link that closes a cycle is taken out of the part.
std::vector<int> AssignLayers(Part& part, LayeringEN how = LayeringEN::tight);

/// The most rows down that links may go so that those between their ends, of these links and all
/// shorter ones, are no more than there is room for. At least 1.
int LongestSpan(const std::vector<Link>& links, const std::vector<int>& rowOf, long long room);

/// Cuts the links into steps; when that takes more way-points than is sensible for the part's size,
/// the longest links are left out.
Layered MakeLayered(const Part& part, std::vector<int> layers);

/// An order of the rows with few crossings of the steps.
Rows OrderRows(Layered& graph);

/// The ordered part with nodes in other rows where that makes the crossings of its steps fewer.
Layered MoveBetweenRows(const Part& part, Layered start);

/// Pairs of steps between neighbouring rows that cross.
long long CountStepCrossings(const Layered& graph);

/// Layers in which no row's nodes, with the gap between them, take more than the width; nodes of a
/// wide row, in its order, go to several rows in turn.
std::vector<int> SplitLayers(const Part& part, const Layered& graph, double gap, double width);

/// Gives the vertices of the ordered rows their places, with the gap between nodes. Rows longer
/// than `fold` are folded into several. Way-points get no room in large parts and where rows are
/// folded.
Placement PlaceRows(const Part& part, const Layered& graph, double gap, double fold);

/// How deep rows are and where they stand.
struct RowDepths {
    std::vector<double> middle, half;
    double depth = 0;  ///< of all rows
};

/// Gives the rows their depth by the nodes' (of every node), and room between them: more where
/// links go far to the side.
RowDepths StackRows(const Part& part, const std::vector<double>& depths, const Placement& placement,
                    double gap);

/// The courses of the part's links through the gaps of the rows, from centre to centre.
std::vector<std::vector<Point>> RouteLinks(const Part& part, const Layered& graph,
                                           const Placement& placement, const RowDepths& depths,
                                           double gap);

/// Moves the values, which are wanted centres of boxes in a row, as little as possible (least
/// weighted squares) so that neighbours are at least `distance[i]` (from i - 1 to i) apart and all
/// lie within low (first) and high (last).
void Separate(std::vector<double>& centres, const std::vector<double>& distance,
              const std::vector<double>& weights, double low, double high);

}  // namespace lumo::layout
