// Automatic layout: from a net's visual nodes to connected parts, and from placed parts to the
// area.

#include "library/layout/layout.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>
#include <unordered_map>

namespace lumo {

namespace {

using layout::Link;
using layout::Metrics;
using layout::Part;
using layout::Placement;

// Gaps at spacing 1.
constexpr double RowGap = 10;           ///< between boxes of a row
constexpr double PitchGap = 20;         ///< between rows
constexpr double TightestPitchGap = 7;  ///< the same where that makes the drawing fit
/// A drawing of n nodes may be that times the root of n wide, however narrow its area.
constexpr double LeastWidth = 120;
constexpr double FoldFrom = 10;  ///< a row this many times wider than wanted has rows folded,
constexpr double FoldTo = 2;     ///< down to this many times
// A drawing smaller than its area is pulled out that much at most.
constexpr double WidestStretch = 1.6;
constexpr double TallestStretch = 2.2;

int TextLength(const char* text) {
    if (Printable(text) == nullptr) return 0;
    const auto startsCharacter = [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    };
    const std::string_view bytes(text);
    return static_cast<int>(std::ranges::count_if(bytes.substr(0, 1000), startsCharacter));
}

/// Characters of the label that the drawing shows.
int LabelLength(const Bnode_bn& node) {
    const vect_kt<Vnet_kt*>& vnets = node.net().vnets;
    const int style = vnets.hasSome() ? vnets[0]->labelStyle : 1;
    const int nameLength = TextLength(node.name());
    const int titleLength = TextLength(node.title);
    if (style == 0 || titleLength == 0) return nameLength;
    return style == 3 ? nameLength + 2 + titleLength : titleLength;
}

// ---- The net --------------------------------------------------------------------------------

/// The visual nodes' links, as places in the list.
std::vector<Link> ReadLinks(const VnodeList_kt& vnodes) {
    std::unordered_map<const Bnode_bn*, int> places;
    places.reserve(static_cast<std::size_t>(vnodes.N));
    for (int i = 0; i < vnodes.N; ++i) places.emplace(vnodes[i]->node, i);
    std::vector<Link> links;
    for (int i = 0; i < vnodes.N; ++i) {
        if (vnodes[i]->node == nullptr) continue;
        for (const Bnode_bn* parent : vnodes[i]->node->parents) {
            const auto found = places.find(parent);
            if (found != places.end() && found->second != i) links.push_back({found->second, i});
        }
    }
    return links;
}

std::vector<double> BoxWidths(const VnodeList_kt& vnodes) {
    std::vector<double> widths;
    widths.reserve(static_cast<std::size_t>(vnodes.N));
    for (const Vnode_kt* vnode : vnodes)
        widths.push_back(NodeSize(vnode->node == nullptr ? 0 : LabelLength(*vnode->node)).x);
    return widths;
}

// ---- Placing -------------------------------------------------------------------------------

/// Measures the boxes of a placed part and moves them so that their left edge is 0.
layout::Box MeasurePart(const Part& part, const Metrics& metrics, Placement& placement) {
    double left = 1e300;
    double right = -1e300;
    std::vector<double>& x = placement.x;
    for (std::size_t v = 0; v < x.size(); ++v) {
        left = std::min(left, x[v] - part.widths[v] / 2);
        right = std::max(right, x[v] + part.widths[v] / 2);
    }
    for (double& place : x) place -= left;
    const auto rows = static_cast<double>(placement.rows.size());
    return {right - left, (rows - 1) * metrics.pitch + metrics.boxHeight};
}

Placement BestPlacement(const Part& part, const Metrics& metrics, layout::Layered& graph) {
    std::vector<layout::Rows> orders = layout::OrderRows(graph);
    if (!layout::IsPolished(part)) orders.resize(1);
    Placement best;
    double least = 0;
    for (layout::Rows& order : orders) {
        graph.rows = std::move(order);
        Placement placement = layout::PlaceRows(part, graph, metrics);
        layout::DropWayPoints(part, placement);
        const double cost = orders.size() == 1 ? 0 : layout::PictureCost(part, metrics, placement);
        if (!best.x.empty() && cost >= least) continue;
        least = cost;
        best = std::move(placement);
    }
    return best;
}

Placement PlacePart(const Metrics& metrics, Part& part) {
    if (part.size() == 1) return {{0}, {{0}}};
    std::vector<int> layers = layout::AssignLayers(part);
    layout::Layered graph = layout::MakeLayered(part, std::move(layers));
    Placement placement = BestPlacement(part, metrics, graph);
    layout::Polish(part, metrics, placement);
    return placement;
}

// ---- Filling the area ----------------------------------------------------------------------

/// One axis of the drawing, from its own measure to the area's: spread when there is room.
struct Axis {
    double scale = 1, origin = 0;
    int place(double centre) const {
        return static_cast<int>(std::clamp(std::round(origin + centre * scale), -2e9, 2e9));
    }
};

/// `edge` is the part of the drawing at each end that does not scale. A drawing that does not even
/// fit at the tightest scale keeps its own.
Axis FitAxis(int from, int to, double extent, double edge, double tightest, double widest) {
    const double room = static_cast<double>(to) - from;
    const double flexible = extent - 2 * edge;
    Axis axis;
    if (flexible > 0) axis.scale = std::clamp((room - 2 * edge) / flexible, tightest, widest);
    const bool fits = flexible * axis.scale + 2 * edge < room + 0.5;
    if (axis.scale < 1 && !fits) axis.scale = 1;
    const double rest = std::max(0.0, room - (flexible * axis.scale + 2 * edge));
    axis.origin = from + rest / 2 + edge * (1 - axis.scale);
    return axis;
}

}  // namespace

void Layout(VnodeList_kt& vnodes, const rect_kt& area, bool, bool, bool, double spacing) {
    const std::vector<coord_kt> places = LayoutPlaces(vnodes, area, spacing);
    for (int i = 0; i < vnodes.N; ++i) vnodes[i]->moveTo(places[static_cast<std::size_t>(i)]);
}

std::vector<coord_kt> LayoutPlaces(const VnodeList_kt& vnodes, const rect_kt& area,
                                   double spacing) {
    std::vector<coord_kt> places(static_cast<std::size_t>(vnodes.N));
    if (places.empty()) return places;
    const double loose = std::isfinite(spacing) ? std::clamp(spacing, 0.3, 100.0) : 1;
    const double boxHeight = NodeSize(0).y;
    const double areaWidth = std::max(static_cast<double>(area.right) - area.left,
                                      LeastWidth * std::sqrt(static_cast<double>(vnodes.N)));
    Metrics metrics = {RowGap * loose, boxHeight + PitchGap * loose, boxHeight, 0, 0, 0};

    std::vector<Part> parts = layout::SplitIntoParts(BoxWidths(vnodes), ReadLinks(vnodes));
    std::vector<Placement> placements;
    std::vector<layout::Box> boxes;
    for (Part& part : parts) {
        metrics.width = areaWidth * std::sqrt(static_cast<double>(part.size()) / vnodes.N);
        metrics.foldFrom = FoldFrom * metrics.width;
        metrics.foldTo = FoldTo * metrics.width;
        placements.push_back(PlacePart(metrics, part));
        boxes.push_back(MeasurePart(part, metrics, placements.back()));
    }
    const layout::Point gap = {2 * metrics.gap, metrics.pitch - boxHeight};
    const layout::Box all =
        layout::PackBoxes(boxes, layout::PackingWidth(boxes, areaWidth, gap), gap);

    const double tightest = (boxHeight + TightestPitchGap * loose) / metrics.pitch;
    const Axis across = FitAxis(area.left, area.right, all.width, 0, 1, WidestStretch);
    const Axis down =
        FitAxis(area.top, area.bottom, all.height, boxHeight / 2, tightest, TallestStretch);
    for (std::size_t i = 0; i < parts.size(); ++i) {
        for (std::size_t r = 0; r < placements[i].rows.size(); ++r) {
            const double y = boxes[i].top + static_cast<double>(r) * metrics.pitch + boxHeight / 2;
            for (const int v : placements[i].rows[r]) {
                const auto member = static_cast<std::size_t>(v);
                const double x = boxes[i].left + placements[i].x[member];
                places[static_cast<std::size_t>(parts[i].members[member])] = {across.place(x),
                                                                              down.place(y)};
            }
        }
    }
    return places;
}

}  // namespace lumo
