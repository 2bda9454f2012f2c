// The way round is a shortest one over corners around the nodes in the way. It starts with the
// nodes that the straight line hits; a way that hits further ones is sought again with them.

#include "export/detour.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <utility>

#include "export/obstacles.h"

namespace lumo {
namespace {

/// Distances kept from nodes: the first that leaves a way is taken.
constexpr double distances[] = {6, 3, 1.2};
constexpr double slack = 0.5;  ///< that a line may come nearer than its corners
constexpr std::size_t mostInTheWay = 48;
constexpr double bendCost = 12;      ///< length that a bend may save
constexpr double crossingCost = 90;  ///< length that it may take not to cross a link
/// Pictures whose ways are compared by what they cross, and the work on them and on others, in
/// tests of a line with a node or a link.
constexpr std::size_t mostLinksCompared = 2000;
constexpr long long workOnSmall = 60'000'000;
constexpr long long workOnLarge = 10'000'000;
constexpr long long workPerLink = 10;

int Side(Point from, Point to, Point at) {
    const double area = (to.x - from.x) * (at.y - from.y) - (to.y - from.y) * (at.x - from.x);
    return (area > 0) - (area < 0);
}

/// Whether the lines meet in a point that is an end of neither.
bool Cross(Point a, Point b, Point c, Point d) {
    return Side(a, b, c) * Side(a, b, d) < 0 && Side(c, d, a) * Side(c, d, b) < 0;
}

class Detours {
public:
    explicit Detours(const Picture& picture) : obstacles_(picture.nodes), work_(workOnSmall) {
        simpleWork_ = workOnLarge + workPerLink * static_cast<long long>(picture.links.size());
        if (picture.links.size() > mostLinksCompared) {
            work_ = std::exchange(simpleWork_, 0);
            return;
        }
        for (const PictureLink& link : picture.links)
            drawn_.push_back(Clipped(link.course, picture.parentOf(link), picture.childOf(link)));
    }

    void bend(PictureLink& link, std::size_t number) {
        parent_ = static_cast<std::size_t>(link.parent);
        child_ = static_cast<std::size_t>(link.child);
        link_ = number;
        const Point from = link.from();
        const Point to = link.to();
        std::set<std::size_t> hit;
        addHit(from, to, 0, hit);
        if (hit.empty()) return;
        for (const double distance : distances) {
            std::set<std::size_t> inTheWay = hit;
            const std::vector<Point> line = wayRound(from, to, distance, inTheWay);
            if (line.empty()) continue;
            link.course = smooth(line);
            if (!drawn_.empty()) drawn_[number] = line;
            return;
        }
    }

    bool hasWorkLeft() const { return work_ > obstacles_.looked(); }

    /// Goes on with less work a link, without looking at what links cross; false when that was
    /// done.
    bool simplify() {
        work_ = obstacles_.looked() + simpleWork_;
        drawn_.clear();
        return std::exchange(simpleWork_, 0) > 0;
    }

private:
    bool isEnd(std::size_t node) const { return node == parent_ || node == child_; }

    /// Adds the nodes that the line comes nearer to; false when there were none to add.
    bool addHit(Point from, Point to, double distance, std::set<std::size_t>& nodes) const {
        const std::size_t before = nodes.size();
        obstacles_.anyNear(from, to, distance, [&](std::size_t node) {
            if (!isEnd(node) && obstacles_.isHit(node, from, to, distance)) nodes.insert(node);
            return false;
        });
        return nodes.size() > before;
    }

    /// A line that keeps the distance from all nodes; empty when none is found.
    std::vector<Point> wayRound(Point from, Point to, double distance,
                                std::set<std::size_t>& inTheWay) {
        while (inTheWay.size() <= mostInTheWay && hasWorkLeft()) {
            std::vector<Point> line = shortest(from, to, distance, inTheWay);
            bool isFree = true;
            for (std::size_t i = 1; i < line.size(); ++i)
                isFree &= !addHit(line[i - 1], line[i], distance - slack, inTheWay);
            if (isFree) return line;
        }
        return {};
    }

    /// The shortest line over the corners of the nodes in the way that does not hit those nodes:
    /// the search goes on at the place from which the way may become the shortest.
    std::vector<Point> shortest(Point from, Point to, double distance,
                                const std::set<std::size_t>& inTheWay) {
        struct Place {
            Point at;
            double way = 1e300;  ///< from the start
            std::size_t before = 0;
            bool done = false;
        };
        std::vector<Place> places = {{from, 0}, {to}};
        for (const std::size_t node : inTheWay)
            for (const Point corner : obstacles_.corners(node, distance))
                places.push_back({corner});
        const auto isFree = [&](Point a, Point b) {
            work_ -= static_cast<long long>(inTheWay.size());
            return std::ranges::none_of(inTheWay, [&](std::size_t node) {
                return obstacles_.isHit(node, a, b, distance - slack);
            });
        };
        while (!places[1].done) {
            std::size_t next = places.size();
            double least = 1e299;
            for (std::size_t i = 0; i < places.size(); ++i) {
                const double guess = places[i].way + Distance(places[i].at, to);
                if (places[i].done || guess >= least) continue;
                least = guess;
                next = i;
            }
            if (next == places.size()) return {};
            places[next].done = true;
            work_ -= static_cast<long long>(places.size());
            for (Place& place : places) {
                double way = places[next].way + Distance(places[next].at, place.at) + bendCost;
                if (place.done || way >= place.way || !isFree(places[next].at, place.at)) continue;
                way += crossingCost * crossings(places[next].at, place.at);
                if (way >= place.way) continue;
                place.way = way;
                place.before = next;
            }
        }
        std::vector<Point> line;
        for (std::size_t i = 1; i != 0; i = places[i].before) line.push_back(places[i].at);
        line.push_back(from);
        std::ranges::reverse(line);
        return line;
    }

    /// Other links that the line crosses.
    int crossings(Point from, Point to) {
        int count = 0;
        for (std::size_t i = 0; i < drawn_.size(); ++i) {
            for (std::size_t n = 1; i != link_ && n < drawn_[i].size(); ++n)
                count += Cross(from, to, drawn_[i][n - 1], drawn_[i][n]);
        }
        work_ -= static_cast<long long>(drawn_.size());
        return count;
    }

    /// A course through the points of the line, as round as the nodes let it be.
    std::vector<Point> smooth(const std::vector<Point>& line) {
        for (const double reach : {60.0, 37.0, 23.0, 14.0, 9.0, 6.0, 3.5}) {
            std::vector<Point> course = Rounded(line, reach);
            if (isFree(course)) return course;
        }
        return Rounded(line, 0);
    }

    bool isFree(const std::vector<Point>& course) const {
        constexpr int pieces = 16;
        Point before = course.front();
        for (std::size_t i = 0; i + 3 < course.size(); i += 3) {
            for (int n = 1; n <= pieces; ++n) {
                const double t = static_cast<double>(n) / pieces;
                const Point at = PointOn(&course[i], t);
                const bool hit = obstacles_.anyNear(before, at, 0, [&](std::size_t node) {
                    return !isEnd(node) && obstacles_.isHit(node, before, at, slack);
                });
                if (hit) return false;
                before = at;
            }
        }
        return true;
    }

    static Point PointOn(const Point* segment, double t) {
        const double u = 1 - t;
        const double weights[] = {u * u * u, 3 * u * u * t, 3 * u * t * t, t * t * t};
        Point at;
        for (int i = 0; i < 4; ++i)
            at = {at.x + weights[i] * segment[i].x, at.y + weights[i] * segment[i].y};
        return at;
    }

    Obstacles obstacles_;
    std::vector<std::vector<Point>> drawn_;  ///< the links, of which few are to be crossed
    std::size_t link_ = 0, parent_ = 0, child_ = 0;
    long long work_;
    long long simpleWork_ = 0;  ///< when that is used up
};

}  // namespace

void BendRoundNodes(Picture& picture) {
    Detours detours(picture);
    for (std::size_t i = 0; i < picture.links.size(); ++i) {
        if (detours.hasWorkLeft()) detours.bend(picture.links[i], i);
        if (detours.hasWorkLeft()) continue;
        if (!detours.simplify()) return;
        if (picture.links[i].isStraight()) detours.bend(picture.links[i], i);  // was left as it was
    }
}

}  // namespace lumo
