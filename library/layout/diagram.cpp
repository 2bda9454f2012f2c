// Automatic layout: pictures with their links.

#include "library/layout/diagram.h"

#include <algorithm>
#include <cmath>

#include "library/layout/layout.h"

namespace lumo::layout {

namespace {

// Gaps between boxes side by side, boxes above each other in a column, and rows at least.
constexpr double SideGap = 18;
constexpr double StackGap = 12;
constexpr double RowGap = 34;
constexpr double PartGap = 40;
/// Drawings of more boxes are kept from being wide.
constexpr std::size_t SmallDrawing = 30;
/// Times as high as wide, of a drawing turned to be less wide.
constexpr double TallestTurned = 2.5;
constexpr int Tries = 5;
/// Parts that get the work on a part each, by their links; more of them share it.
constexpr double FullEfforts = 64;
/// Steps from row to row up to which nodes are tried in other rows.
constexpr long long FewSteps = 500;

/// A part as drawn: the corner of its boxes and courses is the origin.
struct PartDrawing {
    std::vector<Point> centres;               ///< of its nodes
    std::vector<std::vector<Point>> courses;  ///< of its links
    double width = 0, height = 0;
};

/// How a part is drawn: its rows run across, or down when it is turned.
struct Style {
    bool turned = false;
    double longestRow = 0;  ///< 0: as long as it comes
};

Point Turned(Point p) { return {p.y, p.x}; }

class PartDrawer {
public:
    PartDrawer(const Diagram& diagram, Part& part)
        : part_(part),
          spacing_(diagram.spacing),
          widestShape_(diagram.widestShape),
          mostWidth_(diagram.mostWidth),
          mayTurn_(diagram.mayTurn) {
        for (const int v : part.members)
            sizes_.push_back(diagram.sizes[static_cast<std::size_t>(v)]);
    }

    PartDrawing draw(bool mayBeWide) {
        setStyle({});
        const Layered plain = ordered(AssignLayers(part_));
        if (plain.isLarge()) return drawn(plain, {false, foldedRow(plain)});
        PartDrawing drawing = drawn(plain, {});
        if (mostWidth_ > 0) return withinWidth(plain, std::move(drawing));
        if (mayBeWide || !isWide(drawing))
            return withOtherLayers(plain, {std::move(drawing), CountStepCrossings(plain)},
                                   mayBeWide);
        Candidate upright = narrowed(plain, false, drawing);
        if (!mayTurn_) return upright.drawing;
        Candidate turned = narrowed(plain, true, drawing);
        return turned.crossings < upright.crossings ? turned.drawing : upright.drawing;
    }

private:
    struct Candidate {
        PartDrawing drawing;
        long long crossings = 0;
    };

    Layered ordered(std::vector<int> layers) const {
        Layered graph = MakeLayered(part_, std::move(layers));
        graph.rows = OrderRows(graph);
        return graph;
    }

    /// The drawing, or one with other layers whose links cross less.
    PartDrawing withOtherLayers(Layered graph, Candidate best, bool mayBeWide) {
        const auto take = [&](const Layered& layered) {
            const long long crossings = CountStepCrossings(layered);
            if (crossings >= best.crossings) return;
            PartDrawing drawing = drawn(layered, {});
            if (mayBeWide || !isWide(drawing)) best = {std::move(drawing), crossings};
        };
        for (const LayeringEN how : {LayeringEN::tight, LayeringEN::high, LayeringEN::low}) {
            if (best.crossings == 0) break;
            if (how != LayeringEN::tight) graph = ordered(AssignLayers(part_, how));
            take(graph);
            if (graph.steps <= FewSteps) take(MoveBetweenRows(part_, std::move(graph)));
        }
        return std::move(best.drawing);
    }

    bool isWide(const PartDrawing& drawing) const {
        return drawing.width > widestShape_ * drawing.height;
    }

    void setStyle(Style style) {
        style_ = style;
        depths_.clear();
        for (std::size_t v = 0; v < sizes_.size(); ++v) {
            const Point size = style.turned ? Turned(sizes_[v]) : sizes_[v];
            part_.widths[v] = size.x;
            depths_.push_back(size.y);
        }
    }

    double gap() const { return spacing_ * (style_.turned ? StackGap : SideGap); }
    double rowGap() const { return spacing_ * RowGap; }

    PartDrawing drawn(const Layered& graph, Style style) {
        setStyle(style);
        const double fold = style.longestRow > 0 ? style.longestRow : 1e300;
        const Placement placement = PlaceRows(part_, graph, gap(), fold);
        const RowDepths stack = StackRows(part_, depths_, placement, rowGap());
        PartDrawing drawing;
        drawing.courses = RouteLinks(part_, graph, placement, stack, gap());
        drawing.centres.resize(sizes_.size());
        for (std::size_t r = 0; r < placement.rows.size(); ++r) {
            for (const int v : placement.rows[r]) {
                const auto node = static_cast<std::size_t>(v);
                if (node < sizes_.size())
                    drawing.centres[node] = {placement.x[node], stack.middle[r]};
            }
        }
        return framed(std::move(drawing));
    }

    /// Turns the drawing when it is to be turned, and moves its corner to the origin.
    PartDrawing framed(PartDrawing drawing) const {
        Point low{1e300, 1e300}, high{-1e300, -1e300};
        const auto take = [&](Point at, Point half) {
            low = {std::min(low.x, at.x - half.x), std::min(low.y, at.y - half.y)};
            high = {std::max(high.x, at.x + half.x), std::max(high.y, at.y + half.y)};
        };
        for (std::size_t v = 0; v < sizes_.size(); ++v) {
            Point& centre = drawing.centres[v];
            if (style_.turned) centre = Turned(centre);
            take(centre, {sizes_[v].x / 2, sizes_[v].y / 2});
        }
        for (auto& course : drawing.courses) {
            for (Point& at : course) {
                if (style_.turned) at = Turned(at);
                take(at, {});
            }
        }
        const auto move = [&](Point& at) { at = {at.x - low.x, at.y - low.y}; };
        std::ranges::for_each(drawing.centres, move);
        for (auto& course : drawing.courses) std::ranges::for_each(course, move);
        drawing.width = high.x - low.x;
        drawing.height = high.y - low.y;
        return drawing;
    }

    /// Splits the rows until the drawing is neither too wide nor, turned, too tall.
    Candidate narrowed(const Layered& plain, bool turned, const PartDrawing& wide) {
        Candidate candidate{drawn(plain, {turned, 0}), CountStepCrossings(plain)};
        double row = turned ? candidate.drawing.height : wide.width;
        for (int i = 0; i < Tries; ++i) {
            const PartDrawing& now = candidate.drawing;
            const double excess = turned ? now.height / (TallestTurned * now.width)
                                         : now.width / (widestShape_ * now.height);
            if (excess <= 1) break;
            row *= 0.9 / std::sqrt(excess);
            const Layered graph = ordered(SplitLayers(part_, plain, gap(), row));
            candidate = {drawn(graph, {turned, 0}), CountStepCrossings(graph)};
        }
        return candidate;
    }

    /// The drawing where it is not too wide, else the least wide of itself, turned, or with its
    /// rows split.
    PartDrawing withinWidth(const Layered& plain, PartDrawing best) {
        const auto take = [&](PartDrawing other) {
            if (best.width > mostWidth_ && other.width < best.width) best = std::move(other);
        };
        if (best.width > mostWidth_ && mayTurn_) take(drawn(plain, {true, 0}));
        double row = mostWidth_;
        for (int i = 0; i < Tries && best.width > mostWidth_; ++i, row *= 0.8) {
            setStyle({});
            take(drawn(ordered(SplitLayers(part_, plain, gap(), row)), {}));
        }
        return best;
    }

    /// The length down to which the rows of a large part are folded, estimated from what its nodes
    /// take.
    double foldedRow(const Layered& plain) const {
        std::vector<double> lengths;
        double longest = 0, depth = 0;
        for (const auto& row : plain.rows) {
            double length = 0;
            for (const int v : row)
                if (v < part_.size()) length += part_.widths[static_cast<std::size_t>(v)] + gap();
            lengths.push_back(length);
            longest = std::max(longest, length);
        }
        for (const double own : depths_) depth = std::max(depth, own);
        const auto isWide = [&](double row) {
            double rows = 0;
            for (const double length : lengths) rows += std::ceil(length / row);
            return row > 0.8 * widestShape_ * rows * (depth + rowGap());
        };
        double row = longest;
        while (isWide(row)) row *= 0.9;
        return row;
    }

    Part& part_;
    std::vector<Point> sizes_;
    std::vector<double> depths_;
    double spacing_;
    double widestShape_;
    double mostWidth_;
    bool mayTurn_;
    Style style_;
};

PartDrawing DrawPart(const Diagram& diagram, Part& part, bool mayBeWide) {
    if (part.size() > 1) return PartDrawer(diagram, part).draw(mayBeWide);
    const Point size = diagram.sizes[static_cast<std::size_t>(part.members.front())];
    return {{{size.x / 2, size.y / 2}}, {}, size.x, size.y};
}

}  // namespace

Drawing Draw(const Diagram& diagram) {
    std::vector<double> widths;
    for (const Point size : diagram.sizes) widths.push_back(size.x);
    std::vector<Part> parts = SplitIntoParts(widths, diagram.links);
    std::vector<PartDrawing> drawings;
    std::vector<Box> boxes;
    for (Part& part : parts) {
        part.effort = std::min(1.0, FullEfforts * static_cast<double>(part.links.size()) /
                                        static_cast<double>(diagram.links.size() + 1));
        drawings.push_back(DrawPart(diagram, part, diagram.sizes.size() <= SmallDrawing));
        boxes.push_back({drawings.back().width, drawings.back().height});
    }
    const Point gap{diagram.spacing * PartGap, diagram.spacing * RowGap};
    PackBoxes(boxes, PackingWidth(boxes, std::max(diagram.leastWidth, diagram.mostWidth), gap),
              gap);

    Drawing all;
    all.centres.resize(diagram.sizes.size());
    all.courses.resize(diagram.links.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto moved = [&](Point at) {
            return Point{at.x + boxes[i].left, at.y + boxes[i].top};
        };
        for (std::size_t v = 0; v < drawings[i].centres.size(); ++v)
            all.centres[static_cast<std::size_t>(parts[i].members[v])] =
                moved(drawings[i].centres[v]);
        for (std::size_t l = 0; l < drawings[i].courses.size(); ++l) {
            auto& course = all.courses[static_cast<std::size_t>(parts[i].linkIds[l])];
            course = std::move(drawings[i].courses[l]);
            std::ranges::transform(course, course.begin(), moved);
        }
    }
    for (std::size_t i = 0; i < diagram.links.size(); ++i) {
        if (!all.courses[i].empty()) continue;
        const Link& link = diagram.links[i];
        all.courses[i] = {all.centres[static_cast<std::size_t>(link.parent)],
                          all.centres[static_cast<std::size_t>(link.child)]};
    }
    return all;
}

}  // namespace lumo::layout
