// Automatic layout: the courses of links.
//
// A link runs from row to row, so its course is a function of the height. Between the rows it is
// free; through a row it keeps to a gap: the one that the row's order gives to its way-point, which
// keeps the crossings those of the order. The shortest line through the gaps of a link is found
// first. Its bends then become a smooth function that keeps to the gaps as well.

#include <algorithm>
#include <cmath>

#include "library/layout/layout.h"

namespace lumo::layout {

namespace {

// Room between rows, as multiples of the least.
constexpr double MostRoom = 3.5;
constexpr double RoomPerSideways = 0.12;  ///< of the mean way to the side, in pixels
constexpr double Clearance = 5;           ///< between a link and a box, at most a third of the gap
/// A course may leave a box within this share of the way to its neighbour as it likes; links that
/// want to go farther to the side are fanned out over the rest.
constexpr double FreeShare = 0.5;
/// Rows that links without way-points are led through: some, and some a link.
constexpr long long FreeRows = 20'000;
constexpr double RowsPerLink = 4;
constexpr double RowsPerLinkOfLargeParts = 0.5;
/// How far bends reach, beside boxes on the way and beside the ends: about so much to the side, but
/// so much along the link at least.
struct Corners {
    double width, endWidth, least;
};
/// Of few links, up to so many steps, which look smooth; of many, of which those from one box then
/// do not cross.
constexpr long long UncrowdedSteps = 120;
constexpr Corners RoundCorners{40, 14, 5};
constexpr Corners SharpCorners{40, 2, 1.5};
constexpr int KnotRounds = 8;

std::size_t index(int i) { return static_cast<std::size_t>(i); }

/// Where a course may pass a height.
struct Gate {
    double y, low, high;
    bool lets(double x) const { return x >= low && x <= high; }
};

struct Interval {
    double low, high;
};

/// The rows with what is free in them.
class Gaps {
public:
    Gaps(const Part& part, const Placement& placement, double gap)
        : part_(part),
          placement_(placement),
          clearance_(std::min(Clearance, gap / 3)),
          row_(placement.x.size()),
          place_(placement.x.size()) {
        for (std::size_t r = 0; r < placement.rows.size(); ++r) {
            for (std::size_t i = 0; i < placement.rows[r].size(); ++i) {
                row_[index(placement.rows[r][i])] = static_cast<int>(r);
                place_[index(placement.rows[r][i])] = i;
            }
        }
    }

    bool holds(int v) const { return index(v) < row_.size(); }
    int row(int v) const { return row_[index(v)]; }
    const std::vector<int>& rows() const { return row_; }
    double x(int v) const { return placement_.x[index(v)]; }

    /// From the neighbour on the left to that on the right.
    Interval around(int v) const {
        const std::vector<int>& members = placement_.rows[index(row(v))];
        const std::size_t at = place_[index(v)];
        Interval free{x(v) - Far, x(v) + Far};
        if (at > 0) free.low = std::min(x(v), between(members[at - 1], v, 1));
        if (at + 1 < members.size()) free.high = std::max(x(v), between(members[at + 1], v, -1));
        return free;
    }

    /// The gap of the row that is nearest to the place.
    Interval nearest(int r, double place) const {
        const std::vector<int>& members = placement_.rows[index(r)];
        const auto right =
            std::ranges::lower_bound(members, place, {}, [&](int v) { return x(v); });
        Interval free{place - Far, place + Far};
        if (right != members.begin()) free.low = edge(right[-1], 1) + clearance_;
        if (right != members.end()) free.high = edge(*right, -1) - clearance_;
        if (free.low > free.high) free.low = free.high = (free.low + free.high) / 2;
        return free;
    }

private:
    static constexpr double Far = 1e7;

    bool isNode(int v) const { return v < part_.size(); }
    /// The right edge for side 1, the left one for -1.
    double edge(int v, double side) const {
        return x(v) + (isNode(v) ? side * part_.widths[index(v)] / 2 : 0);
    }
    /// Up to where the room of v goes towards a neighbour, whose side that is.
    double between(int neighbour, int v, double side) const {
        const double border = edge(neighbour, side);
        return isNode(neighbour) ? border + side * clearance_ : (border + edge(v, -side)) / 2;
    }

    const Part& part_;
    const Placement& placement_;
    double clearance_;
    std::vector<int> row_;
    std::vector<std::size_t> place_;
};

// ---- The shortest line ---------------------------------------------------------------------

double Slope(Point from, Point to) { return (to.x - from.x) / (to.y - from.y); }

/// One side of the funnel of shortest lines from the apex to the last gate: a chain of bends around
/// ends of gates. `side` is 1 for the side with the greater x.
struct Chain {
    double side;
    std::vector<Point> bends;
    std::size_t first = 0;  ///< bends before it are passed

    bool empty() const { return first == bends.size(); }
    Point last(Point apex) const { return empty() ? apex : bends.back(); }
};

/// Adds an end of the next gate to its chain. Where the funnel closes, the other chain's bends are
/// passed: they become part of the line.
void Extend(Chain& chain, Chain& other, std::vector<Point>& line, Point end) {
    const auto isBent = [&](Point from, Point over) {
        return chain.side * (Slope(over, end) - Slope(from, over)) <= 0;
    };
    while (!chain.empty()) {
        const bool single = chain.first + 1 == chain.bends.size();
        const Point before = single ? line.back() : chain.bends[chain.bends.size() - 2];
        if (!isBent(before, chain.bends.back())) break;
        chain.bends.pop_back();
    }
    while (chain.empty() && !other.empty()) {
        const Point bend = other.bends[other.first];
        if (chain.side * (Slope(line.back(), end) - Slope(line.back(), bend)) > 0) break;
        line.push_back(bend);
        ++other.first;
    }
    chain.bends.push_back(end);
}

/// The shortest line through the gates, which lie one below the other.
std::vector<Point> ShortestLine(Point from, const std::vector<Gate>& gates, Point to) {
    std::vector<Point> line = {from};
    Chain low{-1, {}}, high{1, {}};
    for (const Gate& gate : gates) {
        Extend(low, high, line, {gate.low, gate.y});
        Extend(high, low, line, {gate.high, gate.y});
    }
    Extend(low, high, line, to);
    line.insert(line.end(), low.bends.begin() + static_cast<std::ptrdiff_t>(low.first),
                low.bends.end());
    return line;
}

// ---- The smooth course ---------------------------------------------------------------------

/// The line with knots on its long pieces near their bends, so that pieces that go far to the side
/// stay straight between: links side by side keep their order there, however they bend at the ends.
std::vector<Point> WithCorners(const std::vector<Point>& line, const std::vector<Gate>& gates,
                               const Corners& corners) {
    std::vector<Point> knots = {line.front()};
    for (std::size_t i = 1; i < line.size(); ++i) {
        const Point from = line[i - 1];
        const Point to = line[i];
        const double slope = Slope(from, to);
        const auto corner = [&](Point bend) {
            const bool atEnd = bend.y == gates.front().y || bend.y == gates.back().y;
            return std::max(corners.least,
                            (atEnd ? corners.endWidth : corners.width) / std::abs(slope));
        };
        const auto add = [&](double y) { knots.push_back({from.x + (y - from.y) * slope, y}); };
        const double first = i > 1 ? corner(from) : 0;
        const double last = i + 1 < line.size() ? corner(to) : 0;
        if (to.y - from.y > 1.5 * (first + last)) {
            if (first > 0) add(from.y + first);
            if (last > 0) add(to.y - last);
        }
        knots.push_back(to);
    }
    return knots;
}

/// Slopes at the knots with which cubic pieces between them go no farther to the side than the
/// knots do: harmonic means of the slopes of the straight pieces, weighted by their lengths.
std::vector<double> Slopes(const std::vector<Point>& knots) {
    std::vector<double> slopes(knots.size());
    for (std::size_t i = 1; i + 1 < knots.size(); ++i) {
        const double before = Slope(knots[i - 1], knots[i]);
        const double after = Slope(knots[i], knots[i + 1]);
        if (before * after <= 0) continue;
        const double up = knots[i].y - knots[i - 1].y;
        const double down = knots[i + 1].y - knots[i].y;
        slopes[i] = 3 * (up + down) / ((2 * down + up) / before + (down + 2 * up) / after);
    }
    slopes.front() = Slope(knots[0], knots[1]);
    slopes.back() = Slope(knots.end()[-2], knots.back());
    return slopes;
}

double PlaceOnPiece(Point from, double slope, Point to, double slopeTo, double y) {
    const double height = to.y - from.y;
    const double t = (y - from.y) / height;
    const double u = 1 - t;
    return u * u * (1 + 2 * t) * from.x + t * t * (3 - 2 * t) * to.x +
           t * u * height * (u * slope - t * slopeTo);
}

/// Adds knots on the line at the gates that the smooth course would miss; false when there are
/// none.
bool AddKnots(std::vector<Point>& knots, const std::vector<Gate>& gates) {
    constexpr double tolerance = 0.5;
    const std::vector<double> slopes = Slopes(knots);
    std::vector<Point> more = {knots.front()};
    auto gate = gates.begin();
    for (std::size_t i = 1; i < knots.size(); ++i) {
        const Point from = knots[i - 1];
        const Point to = knots[i];
        for (; gate != gates.end() && gate->y < to.y; ++gate) {
            if (gate->y <= from.y) continue;
            const double x = PlaceOnPiece(from, slopes[i - 1], to, slopes[i], gate->y);
            if (x >= gate->low - tolerance && x <= gate->high + tolerance) continue;
            more.push_back({from.x + (gate->y - from.y) * Slope(from, to), gate->y});
        }
        more.push_back(to);
    }
    const bool added = more.size() > knots.size();
    knots = std::move(more);
    return added;
}

/// The knots with their slopes as cubic Bezier segments.
std::vector<Point> Segments(const std::vector<Point>& knots) {
    if (knots.size() == 2) return knots;
    const std::vector<double> slopes = Slopes(knots);
    std::vector<Point> course = {knots.front()};
    course.reserve(3 * knots.size() - 2);
    for (std::size_t i = 1; i < knots.size(); ++i) {
        const double third = (knots[i].y - knots[i - 1].y) / 3;
        course.push_back({knots[i - 1].x + slopes[i - 1] * third, knots[i - 1].y + third});
        course.push_back({knots[i].x - slopes[i] * third, knots[i].y - third});
        course.push_back(knots[i]);
    }
    return course;
}

// ---- Routing -------------------------------------------------------------------------------

class Router {
public:
    Router(const Part& part, const Layered& graph, const Placement& placement,
           const RowDepths& depths, double gap)
        : part_(part),
          graph_(graph),
          depths_(depths),
          gaps_(part, placement, gap),
          longest_(LongestSpan(part.links, gaps_.rows(), room(part, graph))) {}

    std::vector<Point> course(std::size_t i) {
        const Link& link = part_.links[i];
        const Point from{gaps_.x(link.parent), middle(gaps_.row(link.parent))};
        const Point to{gaps_.x(link.child), middle(gaps_.row(link.child))};
        if (!findGates(i, from, to)) return {from, to};
        const double slope = Slope(from, to);
        const bool straight = std::ranges::all_of(gates_, [&](const Gate& gate) {
            return gate.lets(from.x + (gate.y - from.y) * slope);
        });
        if (straight) return {from, to};
        std::vector<Point> knots = WithCorners(ShortestLine(from, gates_, to), gates_,
                                               isCrowded() ? SharpCorners : RoundCorners);
        for (int round = 0; round < KnotRounds && AddKnots(knots, gates_); ++round) continue;
        return Segments(knots);
    }

private:
    static long long room(const Part& part, const Layered& graph) {
        const double each = graph.isLarge() ? RowsPerLinkOfLargeParts : RowsPerLink;
        return FreeRows + std::llround(each * static_cast<double>(part.links.size()));
    }

    bool isCrowded() const { return graph_.steps > UncrowdedSteps; }
    double middle(int r) const { return depths_.middle[index(r)]; }
    double half(int r) const { return depths_.half[index(r)]; }

    /// The gates of the link; false when it goes through too many rows to be led.
    bool findGates(std::size_t i, Point from, Point to) {
        const Link& link = part_.links[i];
        const int first = gaps_.row(link.parent);
        const int last = gaps_.row(link.child);
        const int way = graph_.firstWay[i];
        const bool hasWays = way >= 0 && gaps_.holds(way + last - first - 2);
        gates_.clear();
        if (!hasWays && last - first > longest_) return false;
        const double slope = Slope(from, to);
        gates_.push_back({});  // that of the parent
        for (int r = first + 1; r < last; ++r) {
            const Interval gap = hasWays ? gaps_.around(way + r - first - 1)
                                         : gaps_.nearest(r, from.x + (middle(r) - from.y) * slope);
            gates_.push_back({middle(r) - half(r), gap.low, gap.high});
            gates_.push_back({middle(r) + half(r), gap.low, gap.high});
        }
        // What the course aims at, as seen from either end, at the edge of the row next to it.
        const Gate below = gates_.size() > 1 ? gates_[1] : Gate{to.y - half(last), to.x, to.x};
        const Gate above =
            gates_.size() > 1 ? gates_.back() : Gate{from.y + half(first), from.x, from.x};
        gates_.front() = fanned(link.parent, from, half(first), to, below);
        gates_.push_back(fanned(link.child, to, -half(last), from, above));
        return true;
    }

    /// The gate at the edge of a row, by `edge` from the middle, for a link that starts or ends in
    /// it, goes to the other end, and comes through the next gate first.
    Gate fanned(int v, Point at, double edge, Point otherEnd, const Gate& next) {
        const double aim =
            std::clamp(at.x + (next.y - at.y) * Slope(at, otherEnd), next.low, next.high);
        const double aside = std::abs(edge * (aim - at.x) / (next.y - at.y));
        const Interval free = gaps_.around(v);
        const double room = aim > at.x ? free.high - at.x : at.x - free.low;
        Gate gate{at.y + edge, free.low, free.high};
        if (aside <= FreeShare * room) return gate;
        const double over = room > 0 ? aside / room - FreeShare : 0;
        const double most = room * (1 - (1 - FreeShare) * std::exp(-over));
        (aim > at.x ? gate.high : gate.low) = at.x + (aim > at.x ? most : -most);
        return gate;
    }

    const Part& part_;
    const Layered& graph_;
    const RowDepths& depths_;
    Gaps gaps_;
    int longest_;  ///< rows down that links without way-points are led
    std::vector<Gate> gates_;
};

}  // namespace

RowDepths StackRows(const Part& part, const std::vector<double>& depths, const Placement& placement,
                    double gap) {
    const std::size_t rows = placement.rows.size();
    RowDepths stack{std::vector<double>(rows), std::vector<double>(rows)};
    std::vector<std::size_t> rowOf(part.widths.size());
    for (std::size_t r = 0; r < rows; ++r) {
        for (const int v : placement.rows[r]) {
            if (v >= part.size()) continue;
            rowOf[index(v)] = r;
            stack.half[r] = std::max(stack.half[r], depths[index(v)] / 2);
        }
    }
    // What links go to the side a row, above every row.
    std::vector<double> sum(rows), count(rows);
    for (const Link& link : part.links) {
        const std::size_t from = rowOf[index(link.parent)];
        const std::size_t to = rowOf[index(link.child)];
        const double way =
            std::abs(placement.x[index(link.parent)] - placement.x[index(link.child)]) /
            static_cast<double>(to - from);
        for (const std::size_t r : {from + 1, to}) {
            sum[r] += way;
            ++count[r];
        }
    }
    double y = 0;
    for (std::size_t r = 0; r < rows; ++r) {
        const double mean = count[r] > 0 ? sum[r] / count[r] : 0;
        if (r > 0) y += std::min(gap + RoomPerSideways * mean, MostRoom * gap);
        stack.middle[r] = y + stack.half[r];
        y += 2 * stack.half[r];
    }
    stack.depth = y;
    return stack;
}

std::vector<std::vector<Point>> RouteLinks(const Part& part, const Layered& graph,
                                           const Placement& placement, const RowDepths& depths,
                                           double gap) {
    Router router(part, graph, placement, depths, gap);
    std::vector<std::vector<Point>> courses;
    courses.reserve(part.links.size());
    for (std::size_t i = 0; i < part.links.size(); ++i) courses.push_back(router.course(i));
    return courses;
}

}  // namespace lumo::layout
