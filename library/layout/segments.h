// Automatic layout: straight links and where they meet (private to the library).
#pragma once

#include "library/layout/diagram.h"

namespace lumo::layout {

struct Segment {
    Point upper, lower;
};

/// On which side of the line through the segment the point lies: the sign, 0 on the line.
inline int Side(const Segment& s, const Point& p) {
    const double cross =
        (s.lower.x - s.upper.x) * (p.y - s.upper.y) - (s.lower.y - s.upper.y) * (p.x - s.upper.x);
    return (cross > 0) - (cross < 0);
}

/// True when the segments meet in one point that is an end of neither.
inline bool ProperlyCross(const Segment& a, const Segment& b) {
    if (a.upper.y >= b.lower.y || b.upper.y >= a.lower.y) return false;
    return Side(a, b.upper) * Side(a, b.lower) < 0 && Side(b, a.upper) * Side(b, a.lower) < 0;
}

/// Where the segment, which must not be level, passes the height.
inline double PlaceAt(const Segment& s, double y) {
    const double part = (y - s.upper.y) / (s.lower.y - s.upper.y);
    return s.upper.x + part * (s.lower.x - s.upper.x);
}

}  // namespace lumo::layout
