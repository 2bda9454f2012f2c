// The steps of the automatic layout (private to the library; netmodel.h holds Layout itself).
//
// A net is cut into its connected parts. Each part is layered (AssignLayers), its long links are
// threaded through the rows between by slim way-points (MakeLayered), the rows are ordered for few
// crossings (OrderRows), made into coordinates (PlaceRows) and, in small parts, improved by what
// the straight links of the picture really do (Polish). Nothing recurses, nothing is random: the
// same links give the same picture.
#pragma once

#include <span>
#include <utility>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

/// Pairs of links whose straight segments between node centres properly cross. Exact up to a few
/// thousand links; beyond, crossings exactly on a node's height are passed over and the count ends
/// at a bound on the work.
long long CountCrossings(const VnodeList_kt& vnodes);

namespace layout {

struct Link {
    int parent, child;
    bool operator==(const Link&) const = default;
};

/// A connected part of the net: its nodes are 0, 1, ...
struct Part {
    std::vector<double> widths;  ///< of the nodes' boxes
    std::vector<Link> links;
    int size() const { return static_cast<int>(widths.size()); }
};

/// Measures of the picture.
struct Metrics {
    double gap;        ///< between boxes of a row
    double pitch;      ///< from row to row
    double boxHeight;  ///< of every box
    double width;      ///< wanted width of the part; it gets wider only when its rows are
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

/// A part with every link cut into steps from one row to the next by way-points, which are the
/// vertices from `nodes` on.
struct Layered {
    int nodes = 0;
    std::vector<int> layer;   ///< of every vertex
    std::vector<Link> wayOf;  ///< of every way-point: the ends of its link
    Rows rows;
    Adjacency up, down;
    long long steps = 0;  ///< links between neighbouring rows
    int size() const { return static_cast<int>(layer.size()); }
};

/// Where a part's nodes stand; the left edge of the leftmost box is 0.
struct Placement {
    std::vector<double> x;  ///< centres
    Rows rows;
    double width = 0;
};

/// Layers with every parent above its children: longest paths, then every node moved to where its
/// links are short. A link that closes a cycle is taken out of the part.
std::vector<int> AssignLayers(Part& part);

/// Cuts the links into steps; when that takes more way-points than is sensible for the part's size,
/// the longest links are left out.
Layered MakeLayered(const Part& part, std::vector<int> layers);

/// Orders of the rows with few crossings of the steps; the first has the fewest, but straight links
/// may like another one better.
std::vector<Rows> OrderRows(Layered& graph);

/// Gives the nodes of the ordered rows their places. Rows far too wide are folded into several.
Placement PlaceRows(const Part& part, const Layered& graph, const Metrics& metrics);

/// True for parts small enough to look at the straight links of the picture.
bool IsPolished(const Part& part);

/// What a placement loses by crossings, links through boxes and long links.
double PictureCost(const Part& part, const Metrics& metrics, Placement& placement);

/// Moves single nodes while that rids the drawing of crossings and of links through boxes. Does
/// nothing in large parts.
void Polish(const Part& part, const Metrics& metrics, Placement& placement);

/// Moves the values, which are wanted centres of boxes in a row, as little as possible (least
/// weighted squares) so that neighbours are at least `distance[i]` (from i - 1 to i) apart and all
/// lie within low (first) and high (last).
void Separate(std::vector<double>& centres, const std::vector<double>& distance,
              const std::vector<double>& weights, double low, double high);

}  // namespace layout
}  // namespace lumo
