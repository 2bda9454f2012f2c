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

Point Along(Point from, Point direction, double way) {
    return {from.x + direction.x * way, from.y + direction.y * way};
}

Point Direction(Point from, Point to) {
    const double length = std::max(Distance(from, to), 1e-9);
    return {(to.x - from.x) / length, (to.y - from.y) / length};
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

/// A piece of a link's course.
struct Piece {
    Point upper, lower;
    std::size_t link;
};

constexpr int piecesOfSegment = 8;
constexpr long long mostCompared = 30'000'000;

std::vector<Piece> PiecesOf(const Picture& picture) {
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < picture.links.size(); ++i) {
        const std::vector<Point>& course = picture.links[i].course;
        Point before = course.front();
        const auto add = [&](Point at) {
            const bool isDown = before.y <= at.y;
            pieces.push_back({isDown ? before : at, isDown ? at : before, i});
            before = at;
        };
        if (course.size() == 2) add(course[1]);
        for (std::size_t first = 0; first + 3 < course.size(); first += 3) {
            const Segment segment = {course[first], course[first + 1], course[first + 2],
                                     course[first + 3]};
            for (int n = 1; n <= piecesOfSegment; ++n)
                add(From(segment, static_cast<double>(n) / piecesOfSegment)[0]);
        }
    }
    std::ranges::sort(pieces, {}, [](const Piece& piece) { return piece.upper.y; });
    return pieces;
}

bool AreCrossed(const Piece& a, const Piece& b) {
    const auto side = [](const Piece& line, Point p) {
        const double area = (line.lower.x - line.upper.x) * (p.y - line.upper.y) -
                            (line.lower.y - line.upper.y) * (p.x - line.upper.x);
        return (area > 0) - (area < 0);
    };
    return a.link != b.link && side(a, b.upper) * side(a, b.lower) < 0 &&
           side(b, a.upper) * side(b, a.lower) < 0;
}

}  // namespace

long long CountCrossings(const Picture& picture, long long most) {
    const std::vector<Piece> pieces = PiecesOf(picture);
    long long count = 0, left = mostCompared;
    for (std::size_t a = 0; a < pieces.size() && left > 0; ++a) {
        for (std::size_t b = a + 1; b < pieces.size() && pieces[b].upper.y <= pieces[a].lower.y;
             ++b, --left)
            count += AreCrossed(pieces[a], pieces[b]) ? 1 : 0;
        if (count > most) return count;
    }
    return count;
}

std::vector<Point> Clipped(std::vector<Point> course, const PictureNode& parent,
                           const PictureNode& child) {
    LeaveNode(course, parent);
    if (course.empty()) return course;
    std::ranges::reverse(course);
    LeaveNode(course, child);
    std::ranges::reverse(course);
    return course;
}

std::vector<Point> Rounded(const std::vector<Point>& line, double reach) {
    std::vector<Point> course = {line.front()};
    const auto tangent = [&](std::size_t i) {
        return Direction(line[i == 0 ? 0 : i - 1], line[std::min(i + 1, line.size() - 1)]);
    };
    for (std::size_t i = 1; i < line.size(); ++i) {
        const double third = Distance(line[i - 1], line[i]) / 3;
        const double way = reach > 0 ? std::min(third, reach) : third;
        const Point straight = Direction(line[i - 1], line[i]);
        const Point leaving = reach > 0 ? tangent(i - 1) : straight;
        const Point arriving = reach > 0 ? tangent(i) : straight;
        course.push_back(Along(line[i - 1], leaving, way));
        course.push_back(Along(line[i], arriving, -way));
        course.push_back(line[i]);
    }
    return course;
}

}  // namespace lumo
