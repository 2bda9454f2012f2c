#include "export/obstacles.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace lumo {
namespace {

/// Whether the line comes nearer than 1 to the origin.
bool MeetsUnitCircle(Point from, Point to) {
    const Point way{to.x - from.x, to.y - from.y};
    const double length = way.x * way.x + way.y * way.y;
    const double along = length > 0 ? -(from.x * way.x + from.y * way.y) / length : 0;
    const double part = std::clamp(along, 0.0, 1.0);
    const Point nearest{from.x + part * way.x, from.y + part * way.y};
    return nearest.x * nearest.x + nearest.y * nearest.y < 1;
}

/// Whether the line runs through the inside of the convex polygon.
bool MeetsPolygon(const std::vector<Point>& corners, Point from, Point to) {
    double enters = 0, leaves = 1;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Point a = corners[i];
        const Point b = corners[(i + 1) % corners.size()];
        // Corners run clockwise on the screen: inside is where the product is positive.
        const auto inside = [&](Point p) {
            return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
        };
        const double first = inside(from);
        const double last = inside(to);
        if (first <= 0 && last <= 0) return false;
        const double part = first / (first - last);
        if (first < 0) enters = std::max(enters, part);
        if (last < 0) leaves = std::min(leaves, part);
    }
    return enters < leaves;
}

std::vector<Point> Outline(const PictureNode& node, double distance) {
    const double w = node.halfWidth + distance;
    const double h = node.halfHeight + distance;
    const Point at = node.centre;
    if (node.shape == ShapeEN::hexagon) return HexagonCorners(at, w, h);
    return {{at.x - w, at.y - h}, {at.x + w, at.y - h}, {at.x + w, at.y + h}, {at.x - w, at.y + h}};
}

}  // namespace

Obstacles::Obstacles(const std::vector<PictureNode>& nodes) : nodes_(nodes) {
    Point low{1e300, 1e300}, high{-1e300, -1e300};
    for (const PictureNode& node : nodes) {
        low = {std::min(low.x, node.centre.x - node.halfWidth),
               std::min(low.y, node.centre.y - node.halfHeight)};
        high = {std::max(high.x, node.centre.x + node.halfWidth),
                std::max(high.y, node.centre.y + node.halfHeight)};
    }
    if (nodes.empty()) low = high = {};
    // About as many cells as nodes, in a picture of any shape.
    constexpr double smallest = 40;
    const double count = static_cast<double>(nodes.size()) + 1;
    const double width = high.x - low.x;
    const double height = high.y - low.y;
    origin_ = low;
    cell_ = std::max({smallest, std::sqrt(width * height / count), width / count, height / count});
    columns_ = static_cast<std::size_t>(width / cell_) + 1;
    rows_ = static_cast<std::size_t>(height / cell_) + 1;

    // Counts the entries of each cell, which gives their starts, and then puts them in.
    starts_.assign(columns_ * rows_ + 2, 0);
    for (const PictureNode& node : nodes)
        forEachCell(node, [&](std::size_t cell) { ++starts_[cell + 2]; });
    for (std::size_t i = 1; i < starts_.size(); ++i) starts_[i] += starts_[i - 1];
    entries_.resize(starts_.back());
    for (std::size_t i = 0; i < nodes.size(); ++i)
        forEachCell(nodes[i], [&](std::size_t cell) { entries_[starts_[cell + 1]++] = i; });
}

template <class CALL>
void Obstacles::forEachCell(const PictureNode& node, CALL call) const {
    const std::size_t last = column(node.centre.x + node.halfWidth);
    const std::size_t end = row(node.centre.y + node.halfHeight);
    for (std::size_t c = column(node.centre.x - node.halfWidth); c <= last; ++c)
        for (std::size_t r = row(node.centre.y - node.halfHeight); r <= end; ++r)
            call(c * rows_ + r);
}

std::size_t Obstacles::column(double x) const {
    return static_cast<std::size_t>(
        std::clamp((x - origin_.x) / cell_, 0.0, static_cast<double>(columns_ - 1)));
}

std::size_t Obstacles::row(double y) const {
    return static_cast<std::size_t>(
        std::clamp((y - origin_.y) / cell_, 0.0, static_cast<double>(rows_ - 1)));
}

std::pair<double, double> Obstacles::heightsIn(std::size_t c, Point from, Point to,
                                               double distance) const {
    double top = std::min(from.y, to.y);
    double bottom = std::max(from.y, to.y);
    if (from.x != to.x) {
        const double left = origin_.x + static_cast<double>(c) * cell_ - distance;
        const double slope = (to.y - from.y) / (to.x - from.x);
        const double a = from.y + (left - from.x) * slope;
        const double b = from.y + (left + cell_ + 2 * distance - from.x) * slope;
        top = std::max(top, std::min(a, b));
        bottom = std::min(bottom, std::max(a, b));
    }
    return {top - distance, bottom + distance};
}

bool Obstacles::isHit(std::size_t node, Point from, Point to, double distance) const {
    const PictureNode& shape = nodes_[node];
    const double w = shape.halfWidth + distance;
    const double h = shape.halfHeight + distance;
    const Point at = shape.centre;
    if (std::max(from.x, to.x) <= at.x - w || std::min(from.x, to.x) >= at.x + w ||
        std::max(from.y, to.y) <= at.y - h || std::min(from.y, to.y) >= at.y + h)
        return false;
    if (shape.shape != ShapeEN::ellipse) return MeetsPolygon(Outline(shape, distance), from, to);
    const auto scaled = [&](Point p) { return Point{(p.x - at.x) / w, (p.y - at.y) / h}; };
    return MeetsUnitCircle(scaled(from), scaled(to));
}

std::vector<Point> Obstacles::corners(std::size_t node, double distance) const {
    const PictureNode& shape = nodes_[node];
    if (shape.shape != ShapeEN::ellipse) return Outline(shape, distance);
    // An octagon whose sides touch the ellipse.
    constexpr int sides = 8;
    const double out = 1 / std::cos(std::numbers::pi / sides);
    std::vector<Point> corners;
    for (int i = 0; i < sides; ++i) {
        const double angle = (2 * i + 1) * std::numbers::pi / sides;
        corners.push_back({shape.centre.x + out * (shape.halfWidth + distance) * std::cos(angle),
                           shape.centre.y + out * (shape.halfHeight + distance) * std::sin(angle)});
    }
    return corners;
}

}  // namespace lumo
