// Automatic layout: from a net's visual nodes to a diagram, and from its drawing to the area.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <unordered_map>

#include "library/layout/diagram.h"
#include "library/model/netmodel.h"

namespace lumo {

namespace {

using layout::Link;

/// Spacing of a diagram at spacing 1.
constexpr double SpacingOfDiagrams = 0.6;
constexpr double RowGap = 20;         ///< between rows at spacing 1, at least,
constexpr double TightestRowGap = 7;  ///< and where that makes the drawing fit
/// A drawing of n nodes may be that times the root of n wide, however narrow its area.
constexpr double LeastWidth = 120;
/// Wider than pictures: others draw the links straight, which cross where rows are split.
constexpr double WidestShape = 40;
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

std::vector<layout::Point> BoxSizes(const VnodeList_kt& vnodes) {
    std::vector<layout::Point> sizes;
    sizes.reserve(static_cast<std::size_t>(vnodes.N));
    for (const Vnode_kt* vnode : vnodes) {
        const coord_kt size = NodeSize(vnode->node == nullptr ? 0 : LabelLength(*vnode->node));
        sizes.push_back({static_cast<double>(size.x), static_cast<double>(size.y)});
    }
    return sizes;
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
    layout::Diagram diagram{BoxSizes(vnodes), ReadLinks(vnodes)};
    diagram.spacing = SpacingOfDiagrams * loose;
    diagram.widestShape = WidestShape;
    diagram.mayTurn = false;
    diagram.leastWidth = std::max(static_cast<double>(area.right) - area.left,
                                  LeastWidth * std::sqrt(static_cast<double>(vnodes.N)));
    const std::vector<layout::Point> centres = layout::Draw(diagram).centres;
    layout::Point size;
    for (std::size_t i = 0; i < centres.size(); ++i) {
        size.x = std::max(size.x, centres[i].x + diagram.sizes[i].x / 2);
        size.y = std::max(size.y, centres[i].y + diagram.sizes[i].y / 2);
    }
    const double boxHeight = diagram.sizes[0].y;
    const double tightest = (boxHeight + TightestRowGap * loose) / (boxHeight + RowGap * loose);
    const Axis across = FitAxis(area.left, area.right, size.x, 0, 1, WidestStretch);
    const Axis down =
        FitAxis(area.top, area.bottom, size.y, boxHeight / 2, tightest, TallestStretch);
    std::ranges::transform(centres, places.begin(), [&](layout::Point at) {
        return coord_kt{across.place(at.x), down.place(at.y)};
    });
    return places;
}

}  // namespace lumo
