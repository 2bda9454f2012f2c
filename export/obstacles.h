// The nodes of a picture as obstacles for links.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "export/picture.h"

namespace lumo {

/// Finds the nodes that lines run through, by a grid over the picture. Keeps to the nodes that it
/// was made for, which must stay.
class Obstacles {
public:
    explicit Obstacles(const std::vector<PictureNode>& nodes);

    /// Whether the straight line comes within the distance of the node's shape. Shapes are taken as
    /// stretched by the distance to every side.
    bool isHit(std::size_t node, Point from, Point to, double distance) const;

    /// Whether the point lies within the node's shape.
    bool covers(std::size_t node, Point at) const { return nodes_[node].reach(at) < 1; }

    /// Calls with every node that may be near the line, some more than once, until the call returns
    /// true; returns whether one did.
    template <class CALL>
    bool anyNear(Point from, Point to, double distance, CALL call) const {
        const double left = std::min(from.x, to.x) - distance;
        const double right = std::max(from.x, to.x) + distance;
        for (std::size_t c = column(left), last = column(right); c <= last; ++c) {
            const auto [top, bottom] = heightsIn(c, from, to, distance);
            for (std::size_t r = row(top), end = row(bottom); r <= end; ++r) {
                ++looked_;
                for (std::size_t i = starts_[c * rows_ + r]; i < starts_[c * rows_ + r + 1]; ++i)
                    if (call(entries_[i])) return true;
            }
        }
        return false;
    }

    /// Corners of a polygon around the node that keeps the distance from its shape.
    std::vector<Point> corners(std::size_t node, double distance) const;

    std::size_t size() const { return nodes_.size(); }
    /// Cells looked into so far.
    long long looked() const { return looked_; }

private:
    /// Calls with every cell that the node's box reaches into.
    template <class CALL>
    void forEachCell(const PictureNode& node, CALL call) const;
    std::size_t column(double x) const;
    std::size_t row(double y) const;
    /// Least and greatest height of the line within the column of cells, and the distance.
    std::pair<double, double> heightsIn(std::size_t c, Point from, Point to, double distance) const;

    const std::vector<PictureNode>& nodes_;
    Point origin_;
    double cell_ = 1;
    std::size_t columns_ = 1, rows_ = 1;
    std::vector<std::size_t> starts_;   ///< of every cell, column by column, in the entries
    std::vector<std::size_t> entries_;  ///< nodes
    mutable long long looked_ = 0;
};

}  // namespace lumo
