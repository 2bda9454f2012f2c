// The automatic picture of a directed graph: where its nodes stand and how its links run.
#pragma once

#include <vector>

#include "library/utilities/language.h"

namespace lumo::layout {

struct Point {
    double x = 0;
    double y = 0;
    bool operator==(const Point&) const = default;
};

struct Link {
    int parent, child;
    bool operator==(const Link&) const = default;
};

/// The nodes' boxes and the links between them, which are places in the list of boxes. Lengths are
/// pixels, y grows downwards.
struct Diagram {
    std::vector<Point> sizes;  ///< widths and heights
    std::vector<Link> links;
    double spacing = 1;      ///< times the usual gaps
    double widestShape = 4;  ///< times as wide as high, of a drawing of more than 30 boxes
    bool mayTurn = true;     ///< to the right where that makes the drawing less wide
    double leastWidth = 0;   ///< that parts may be packed into beside each other
    double mostWidth = 0;    ///< that is kept to where rows can be split for it; 0: any
};

struct Drawing {
    std::vector<Point> centres;  ///< of the boxes
    /// Of every link, from centre to centre: two points of a straight line, or cubic Bezier
    /// segments end to end (1 + 3 n points).
    std::vector<std::vector<Point>> courses;
};

/// Draws the diagram in layers, parents before children: downwards, or to the right where that is
/// needed to keep a drawing from being too wide.
/// Links run between the boxes that are not their ends; in graphs of many thousands of boxes the
/// longest of them are straight lines. No boxes overlap; the corner of it all is the origin. The
/// same diagram gives the same drawing. A link that closes a cycle is drawn straight. About n log
/// n.
LUMO_API Drawing Draw(const Diagram& diagram);

}  // namespace lumo::layout
