// The courses of links: where they meet the shapes of their ends.

#include <algorithm>
#include <array>

#include "export/picture.h"

namespace lumo {
namespace {

constexpr int halvings = 24;

using Segment = std::array<Point, 4>;

Point Between(Point a, Point b, double part) {
    return {a.x + part * (b.x - a.x), a.y + part * (b.y - a.y)};
}

/// The cubic segment from the parameter on.
Segment From(Segment segment, double parameter) {
    for (std::size_t n = 3; n > 0; --n)
        for (std::size_t i = 0; i < n; ++i)
            segment[i] = Between(segment[i], segment[i + 1], parameter);
    return segment;
}

/// The segment behind the place where it leaves the shape that its start is in.
Segment LeavingPart(const Segment& segment, const PictureNode& node) {
    double inside = 0, outside = 1;
    for (int i = 0; i < halvings; ++i) {
        const double middle = (inside + outside) / 2;
        (node.reach(From(segment, middle)[0]) <= 1 ? inside : outside) = middle;
    }
    return From(segment, outside);
}

/// Cuts off what of the course lies within the node, whose centre it starts at; all of it when it
/// does not get out.
void LeaveNode(std::vector<Point>& course, const PictureNode& node) {
    if (node.reach(course.back()) <= 1) return course.clear();
    if (course.size() == 2) {
        course[0] = Between(node.centre, course[1], 1 / node.reach(course[1]));
        return;
    }
    std::size_t first = course.size() - 4;
    while (first > 0 && node.reach(course[first]) > 1) first -= 3;
    const auto begin = course.begin() + static_cast<std::ptrdiff_t>(first);
    Segment segment;
    std::copy_n(begin, 4, segment.begin());
    std::ranges::copy(LeavingPart(segment, node), begin);
    course.erase(course.begin(), begin);
}

}  // namespace

std::vector<Point> Clipped(std::vector<Point> course, const PictureNode& parent,
                           const PictureNode& child) {
    LeaveNode(course, parent);
    if (course.empty()) return course;
    std::ranges::reverse(course);
    LeaveNode(course, child);
    std::ranges::reverse(course);
    return course;
}

}  // namespace lumo
