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

// ---- Connected parts -----------------------------------------------------------------------

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

/// For every node the first node of its connected part.
std::vector<int> FirstOfPart(int nodes, const std::vector<Link>& links) {
    std::vector<int> first(static_cast<std::size_t>(nodes));
    std::iota(first.begin(), first.end(), 0);
    const auto find = [&](int v) {
        auto at = static_cast<std::size_t>(v);
        while (first[at] != static_cast<int>(at)) {
            first[at] = first[static_cast<std::size_t>(first[at])];
            at = static_cast<std::size_t>(first[at]);
        }
        return static_cast<int>(at);
    };
    for (const Link& link : links) {
        const int a = find(link.parent);
        const int b = find(link.child);
        first[static_cast<std::size_t>(std::max(a, b))] = std::min(a, b);
    }
    for (int v = 0; v < nodes; ++v) first[static_cast<std::size_t>(v)] = find(v);
    return first;
}

/// A part with the places of its nodes in the list.
struct ListedPart {
    Part part;
    std::vector<int> members;
    Placement placement;
    double width = 0, height = 0;  ///< of the placed boxes together
    double left = 0, top = 0;      ///< of them in the whole drawing
};

std::vector<ListedPart> SplitIntoParts(const VnodeList_kt& vnodes) {
    const std::vector<Link> links = ReadLinks(vnodes);
    const std::vector<int> first = FirstOfPart(vnodes.N, links);
    std::vector<ListedPart> parts;
    std::vector<std::size_t> partOf(first.size());
    std::vector<int> local(first.size());
    for (std::size_t v = 0; v < first.size(); ++v) {
        const auto head = static_cast<std::size_t>(first[v]);
        if (head == v) {
            partOf[v] = parts.size();
            parts.emplace_back();
        }
        partOf[v] = partOf[head];
        ListedPart& listed = parts[partOf[v]];
        const Bnode_bn* node = vnodes[static_cast<int>(v)]->node;
        local[v] = listed.part.size();
        listed.members.push_back(static_cast<int>(v));
        listed.part.widths.push_back(NodeSize(node == nullptr ? 0 : LabelLength(*node)).x);
    }
    for (const Link& link : links) {
        const auto parent = static_cast<std::size_t>(link.parent);
        const auto child = static_cast<std::size_t>(link.child);
        parts[partOf[parent]].part.links.push_back({local[parent], local[child]});
    }
    return parts;
}

// ---- Placing -------------------------------------------------------------------------------

/// Measures the boxes of a placed part and moves them so that their left edge is 0.
void MeasurePart(const Metrics& metrics, ListedPart& listed) {
    double left = 1e300;
    double right = -1e300;
    const std::vector<double>& widths = listed.part.widths;
    std::vector<double>& x = listed.placement.x;
    for (std::size_t v = 0; v < x.size(); ++v) {
        left = std::min(left, x[v] - widths[v] / 2);
        right = std::max(right, x[v] + widths[v] / 2);
    }
    for (double& place : x) place -= left;
    listed.width = right - left;
    const auto rows = static_cast<double>(listed.placement.rows.size());
    listed.height = (rows - 1) * metrics.pitch + metrics.boxHeight;
}

Placement BestPlacement(const Part& part, const Metrics& metrics, layout::Layered& graph) {
    std::vector<layout::Rows> orders = layout::OrderRows(graph);
    if (!layout::IsPolished(part)) orders.resize(1);
    Placement best;
    double least = 0;
    for (layout::Rows& order : orders) {
        graph.rows = std::move(order);
        Placement placement = layout::PlaceRows(part, graph, metrics);
        const double cost = orders.size() == 1 ? 0 : layout::PictureCost(part, metrics, placement);
        if (!best.x.empty() && cost >= least) continue;
        least = cost;
        best = std::move(placement);
    }
    return best;
}

void PlacePart(const Metrics& metrics, ListedPart& listed) {
    Part& part = listed.part;
    if (part.size() == 1) {
        listed.placement = {{0}, {{0}}};
    } else {
        std::vector<int> layers = layout::AssignLayers(part);
        layout::Layered graph = layout::MakeLayered(part, std::move(layers));
        listed.placement = BestPlacement(part, metrics, graph);
        layout::Polish(part, metrics, listed.placement);
    }
    MeasurePart(metrics, listed);
}

struct Size {
    double width, height;
};

/// Packs the parts on shelves of the width, tall ones first; lower ones stand on top of each other
/// within a shelf. Returns the size of it all.
Size PackParts(std::vector<ListedPart>& parts, double width, const Size& gap) {
    std::vector<ListedPart*> order;
    order.reserve(parts.size());
    for (ListedPart& part : parts) order.push_back(&part);
    std::ranges::stable_sort(order, [](const ListedPart* a, const ListedPart* b) {
        return std::pair(a->height, a->width) > std::pair(b->height, b->width);
    });
    Size all = {0, 0};
    double shelfTop = 0, shelfHeight = 0;
    double columnLeft = 0, columnWidth = 0, columnFill = 0;
    for (ListedPart* part : order) {
        const bool stacks = columnFill + part->height <= shelfHeight && part->width <= columnWidth;
        if (!stacks) {
            if (columnWidth > 0) columnLeft += columnWidth + gap.width;
            if (columnLeft + part->width > width || shelfHeight == 0) {
                shelfTop = all.height > 0 ? all.height + gap.height : 0;
                shelfHeight = part->height;
                columnLeft = 0;
            }
            columnWidth = part->width;
            columnFill = 0;
        }
        part->left = columnLeft;
        part->top = shelfTop + columnFill;
        columnFill += part->height + gap.height;
        all.width = std::max(all.width, part->left + part->width);
        all.height = std::max(all.height, part->top + part->height);
    }
    return all;
}

/// The width to pack the parts into: that of the area, or of a drawing twice as wide as high when
/// the parts need more room.
double PackingWidth(const std::vector<ListedPart>& parts, double areaWidth, const Size& gap) {
    double space = 0;
    double width = areaWidth;
    for (const ListedPart& part : parts) {
        space += (part.width + gap.width) * (part.height + gap.height);
        width = std::max(width, part.width);
    }
    return std::max(width, std::sqrt(2 * space));
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
    if (!vnodes.hasSome()) return;
    const double loose = std::isfinite(spacing) ? std::clamp(spacing, 0.3, 100.0) : 1;
    const double boxHeight = NodeSize(0).y;
    const double areaWidth = std::max(static_cast<double>(area.right) - area.left,
                                      LeastWidth * std::sqrt(static_cast<double>(vnodes.N)));
    const Metrics metrics = {RowGap * loose, boxHeight + PitchGap * loose, boxHeight, areaWidth};

    std::vector<ListedPart> parts = SplitIntoParts(vnodes);
    for (ListedPart& part : parts) {
        Metrics own = metrics;
        own.width *= std::sqrt(static_cast<double>(part.part.size()) / vnodes.N);
        PlacePart(own, part);
    }
    const Size gap = {2 * metrics.gap, metrics.pitch - boxHeight};
    const Size all = PackParts(parts, PackingWidth(parts, areaWidth, gap), gap);

    const double tightest = (boxHeight + TightestPitchGap * loose) / metrics.pitch;
    const Axis across = FitAxis(area.left, area.right, all.width, 0, 1, WidestStretch);
    const Axis down =
        FitAxis(area.top, area.bottom, all.height, boxHeight / 2, tightest, TallestStretch);
    for (const ListedPart& part : parts) {
        for (std::size_t r = 0; r < part.placement.rows.size(); ++r) {
            const double y = part.top + static_cast<double>(r) * metrics.pitch + boxHeight / 2;
            for (const int v : part.placement.rows[r]) {
                const double x = part.left + part.placement.x[static_cast<std::size_t>(v)];
                vnodes[part.members[static_cast<std::size_t>(v)]]->position = {across.place(x),
                                                                               down.place(y)};
            }
        }
    }
}

}  // namespace lumo
