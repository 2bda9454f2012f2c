// Automatic layout: what the straight links of the picture do: counting their crossings, and moving
// single nodes to be rid of crossings and of links that run through boxes.

#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "library/layout/blocks.h"

namespace lumo {

namespace {

/// Links up to which every pair of them is tested; and the bound on work beyond.
constexpr std::size_t AllPairsLinks = 4000;
constexpr std::size_t StripWork = 50'000'000;

struct Point {
    double x, y;
    bool operator==(const Point&) const = default;
};

struct Segment {
    Point upper, lower;
};

/// On which side of the line through the segment the point lies: the sign, 0 on the line.
int Side(const Segment& s, const Point& p) {
    const double cross =
        (s.lower.x - s.upper.x) * (p.y - s.upper.y) - (s.lower.y - s.upper.y) * (p.x - s.upper.x);
    return (cross > 0) - (cross < 0);
}

/// True when the segments meet in one point that is an end of neither.
bool ProperlyCross(const Segment& a, const Segment& b) {
    if (a.upper.y >= b.lower.y || b.upper.y >= a.lower.y) return false;
    return Side(a, b.upper) * Side(a, b.lower) < 0 && Side(b, a.upper) * Side(b, a.lower) < 0;
}

double PlaceAt(const Segment& s, double y) {
    const double part = (y - s.upper.y) / (s.lower.y - s.upper.y);
    return s.upper.x + part * (s.lower.x - s.upper.x);
}

/// Rounded, so that links on one line stay together.
double RoundedPlaceAt(const Segment& s, double y) { return std::round(PlaceAt(s, y) * 256) / 256; }

std::vector<Segment> ReadSegments(const VnodeList_kt& vnodes) {
    std::unordered_map<const Bnode_bn*, Point> places;
    for (const Vnode_kt* vnode : vnodes) {
        const coord_kt at = vnode->position;
        places.emplace(vnode->node, Point{static_cast<double>(at.x), static_cast<double>(at.y)});
    }
    std::vector<Segment> segments;
    for (const Vnode_kt* vnode : vnodes) {
        if (vnode->node == nullptr) continue;
        for (const Bnode_bn* parent : vnode->node->parents) {
            const auto found = places.find(parent);
            if (found == places.end()) continue;
            Segment segment{found->second, places[vnode->node]};
            if (segment.upper.y > segment.lower.y) std::swap(segment.upper, segment.lower);
            segments.push_back(segment);
        }
    }
    return segments;
}

long long CountAllPairs(const std::vector<Segment>& segments) {
    long long count = 0;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) count += ProperlyCross(segments[i], segments[j]);
    }
    return count;
}

/// Pairs (i, j), i before j, whose second values are in the wrong order; sorts the values.
long long CountInversions(std::vector<double>& values, std::vector<double>& room) {
    long long count = 0;
    room.resize(values.size());
    for (std::size_t width = 1; width < values.size(); width *= 2) {
        for (std::size_t first = 0; first < values.size(); first += 2 * width) {
            const std::size_t middle = std::min(first + width, values.size());
            const std::size_t last = std::min(first + 2 * width, values.size());
            std::size_t left = first;
            std::size_t right = middle;
            for (std::size_t to = first; to < last; ++to) {
                const bool takeLeft =
                    right == last || (left < middle && values[left] <= values[right]);
                if (!takeLeft) count += static_cast<long long>(middle - left);
                room[to] = values[takeLeft ? left++ : right++];
            }
        }
        values.swap(room);
    }
    return count;
}

/// Counts strip by strip between the heights of the nodes: links cross in a strip when they leave
/// it in another order than they entered it.
long long CountByStrips(std::vector<Segment> segments) {
    std::erase_if(segments, [](const Segment& s) { return s.upper.y == s.lower.y; });
    std::ranges::sort(segments, {}, [](const Segment& s) { return s.upper.y; });
    std::vector<double> heights;
    for (const Segment& s : segments) heights.insert(heights.end(), {s.upper.y, s.lower.y});
    std::ranges::sort(heights);
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());

    long long count = 0;
    std::size_t work = 0;
    std::size_t next = 0;
    std::vector<Segment> open;
    std::vector<std::pair<double, double>> passing;
    std::vector<double> leaving, room;
    for (std::size_t i = 1; i < heights.size() && work < StripWork; ++i) {
        const double top = heights[i - 1];
        const double bottom = heights[i];
        std::erase_if(open, [&](const Segment& s) { return s.lower.y <= top; });
        for (; next < segments.size() && segments[next].upper.y <= top; ++next) {
            open.push_back(segments[next]);
        }
        passing.clear();
        for (const Segment& s : open)
            passing.emplace_back(RoundedPlaceAt(s, top), RoundedPlaceAt(s, bottom));
        std::ranges::sort(passing);
        leaving.clear();
        for (const auto& [enters, leaves] : passing) leaving.push_back(leaves);
        count += CountInversions(leaving, room);
        work += open.size();
    }
    return count;
}

}  // namespace

long long CountCrossings(const VnodeList_kt& vnodes) {
    std::vector<Segment> segments = ReadSegments(vnodes);
    return segments.size() <= AllPairsLinks ? CountAllPairs(segments)
                                            : CountByStrips(std::move(segments));
}

namespace layout {

namespace {

/// Parts polished at most, and the work on one, in tests of a link with a link or box.
constexpr int PolishedNodes = 600;
constexpr std::size_t PolishedLinks = 1500;
constexpr long long PolishWork = 25'000'000;
constexpr int PolishPasses = 8;
constexpr int Disturbances = 80;  ///< without gain, before it is given up
constexpr double LeastGain = 0.1;
constexpr int RowsTried = 2;  ///< above and below a node's own
constexpr std::size_t PlacesTried = 24;
constexpr double MovedWeight = 3;  ///< of the moved node's wish against its row's

// What a picture loses by.
constexpr double CrossingCost = 1;
constexpr double ThroughBoxCost = 1.5;  ///< a link through a box that it has nothing to do with
constexpr double GrazeCost = 0.2;       ///< the same beside one of its own ends
constexpr double LengthCost = 0.004;    ///< of a pitch to the side
constexpr double SpanCost = 0.02;       ///< of a row passed

/// Tries for every node the places that may help, each with the room its row must make, and takes
/// the best one. Costs are compared over what a move touches, not over the whole drawing.
class Polisher {
public:
    Polisher(const Part& part, const Metrics& metrics, Placement& placement)
        : part_(part), metrics_(metrics), x_(placement.x), rows_(placement.rows) {
        row_.resize(x_.size());
        incident_.resize(x_.size());
        for (std::size_t i = 0; i < part.links.size(); ++i) {
            incident(part.links[i].parent).push_back(i);
            incident(part.links[i].child).push_back(i);
        }
        linkChanged_.resize(part.links.size());
        lines_.resize(part.links.size());
        readRows();
    }

    /// Improves the placement, and tries again from slightly disturbed ones while faults are left.
    void run() {
        settle();
        double reached = totalCost();
        int patience = Disturbances;
        while (reached >= CrossingCost && work_ > 0 && patience-- > 0) {
            const std::vector<double> oldX = x_;
            const std::vector<std::vector<int>> oldRows = rows_;
            disturb();
            settle();
            const double now = totalCost();
            if (now < reached - LeastGain) patience = Disturbances;
            if (now <= reached) {
                reached = now;
            } else {
                x_ = oldX;
                rows_ = oldRows;
                readRows();
            }
        }
        std::erase_if(rows_, [](const auto& row) { return row.empty(); });
    }

    double totalCost() {
        double sum = 0;
        linkChanged_.assign(lines_.size(), true);
        for (std::size_t i = 0; i < lines_.size(); ++i) sum += linkCost(i);
        linkChanged_.assign(lines_.size(), false);
        return sum;
    }

private:
    int& row(int v) { return row_[static_cast<std::size_t>(v)]; }
    double& x(int v) { return x_[static_cast<std::size_t>(v)]; }
    double width(int v) const { return part_.widths[static_cast<std::size_t>(v)]; }
    std::vector<std::size_t>& incident(int v) { return incident_[static_cast<std::size_t>(v)]; }
    std::vector<int>& rowOf(int r) { return rows_[static_cast<std::size_t>(r)]; }

    void readRows() {
        for (std::size_t r = 0; r < rows_.size(); ++r) {
            for (const int v : rows_[r]) row(v) = static_cast<int>(r);
        }
        for (std::size_t i = 0; i < lines_.size(); ++i) drawLine(i);
    }

    void drawLine(std::size_t i) {
        const Link& link = part_.links[i];
        lines_[i] = {{x(link.parent), row(link.parent) * metrics_.pitch},
                     {x(link.child), row(link.child) * metrics_.pitch}};
    }

    void settle() {
        bool improved = true;
        for (int pass = 0; improved && pass < PolishPasses; ++pass) {
            improved = false;
            for (int v = 0; v < part_.size() && work_ > 0; ++v) improved |= improve(v);
        }
    }

    /// Moves one or two nodes to some place.
    void disturb() {
        for (int i = dice_.below(2); i >= 0; --i) {
            const int v = dice_.below(part_.size());
            const auto [first, last] = rowsFor(v);
            const int r = first + dice_.below(last - first + 1);
            const double left = x(dice_.below(part_.size()));
            const double place = left + (dice_.below(3) - 1) * width(v);
            Move move = makeMove(v, r, place);
            exchange(move);
        }
    }

    // -- A move: a node goes to a place, which its row makes room for --

    struct Move {
        int node = 0;
        int from = 0, to = 0;             ///< rows
        std::vector<int> members;         ///< of the row moved to, with the node
        std::vector<double> centres;      ///< of the members
        std::vector<int> fromRow, toRow;  ///< the rows as they become
    };

    bool improve(int v) {
        double best = -1e-6;
        Move bestMove;
        const auto [first, last] = rowsFor(v);
        for (int r = first; r <= last; ++r) {
            for (const double place : placesFor(v, r)) {
                if (work_ < 0) break;
                Move move = makeMove(v, r, place);
                const double change = costChange(move);
                if (change >= best) continue;
                best = change;
                bestMove = std::move(move);
            }
        }
        if (bestMove.members.empty()) return false;
        exchange(bestMove);
        return true;
    }

    /// The rows that lie between the node's parents and children, near its own.
    std::pair<int, int> rowsFor(int v) {
        int first = std::max(0, row(v) - RowsTried);
        int last = std::min(static_cast<int>(rows_.size()) - 1, row(v) + RowsTried);
        for (const std::size_t i : incident(v)) {
            const Link& link = part_.links[i];
            if (link.child == v) first = std::max(first, row(link.parent) + 1);
            if (link.parent == v) last = std::min(last, row(link.child) - 1);
        }
        return {std::min(first, row(v)), std::max(last, row(v))};
    }

    /// Places worth trying: near the neighbours, between the row's nodes, beside passing links.
    std::vector<double> placesFor(int v, int r) {
        const double mean = neighbourMean(v);
        const double side = width(v) / 2 + metrics_.gap / 2;
        std::vector<double> places = {mean};
        const std::vector<int>& others = rowOf(r);
        for (std::size_t i = 0; i < others.size(); ++i) {
            const int other = others[i];
            if (other == v) continue;
            const double reach = side + width(other) / 2 + metrics_.gap / 2;
            places.insert(places.end(), {x(other) - reach, x(other) + reach});
        }
        const double y = r * metrics_.pitch;
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            if (lines_[i].upper.y >= y || lines_[i].lower.y <= y || isEnd(part_.links[i], v))
                continue;
            const double line = PlaceAt(lines_[i], y);
            places.insert(places.end(), {line - side, line + side});
        }
        work_ -= static_cast<long long>(part_.links.size());
        std::ranges::sort(places, {}, [&](double p) { return std::abs(p - mean); });
        places.erase(std::unique(places.begin(), places.end()), places.end());
        if (places.size() > PlacesTried) places.resize(PlacesTried);
        return places;
    }

    double neighbourMean(int v) {
        double sum = 0;
        for (const std::size_t i : incident(v)) {
            const Link& link = part_.links[i];
            sum += x(link.parent == v ? link.child : link.parent);
        }
        return incident(v).empty() ? x(v) : sum / static_cast<double>(incident(v).size());
    }

    Move makeMove(int v, int r, double place) {
        Move move;
        move.node = v;
        move.from = row(v);
        move.to = r;
        distances_.clear();
        weights_.clear();
        const auto add = [&](int u, double at, double weight) {
            const double apart = move.members.empty()
                                     ? 0
                                     : (width(move.members.back()) + width(u)) / 2 + metrics_.gap;
            distances_.push_back(apart);
            weights_.push_back(weight);
            move.members.push_back(u);
            move.centres.push_back(at);
        };
        bool placed = false;
        for (const int u : rowOf(r)) {
            if (u == v) continue;
            if (!placed && x(u) > place) {
                add(v, place, MovedWeight);
                placed = true;
            }
            add(u, x(u), 1);
        }
        if (!placed) add(v, place, MovedWeight);
        Separate(move.centres, distances_, weights_, -1e9, 1e9);
        move.toRow = move.members;
        if (move.from != r) {
            move.fromRow = rowOf(move.from);
            std::erase(move.fromRow, v);
        }
        return move;
    }

    /// Carries out the move; the move then is the one back.
    void exchange(Move& move) {
        row(move.node) = move.to;
        if (move.from != move.to) rowOf(move.from).swap(move.fromRow);
        rowOf(move.to).swap(move.toRow);
        std::swap(move.from, move.to);
        for (std::size_t i = 0; i < move.members.size(); ++i) {
            std::swap(x(move.members[i]), move.centres[i]);
        }
        if (move.from != move.to) move.fromRow.swap(move.toRow);
        for (const int v : move.members) {
            for (const std::size_t i : incident(v)) drawLine(i);
        }
    }

    static bool isEnd(const Link& link, int v) { return v == link.parent || v == link.child; }

    double costChange(Move& move) {
        changedNodes_.clear();
        changedLinks_.clear();
        for (std::size_t i = 0; i < move.members.size(); ++i) {
            const int u = move.members[i];
            if (u == move.node || std::abs(x(u) - move.centres[i]) > 1e-3)
                changedNodes_.push_back(u);
        }
        for (const int u : changedNodes_) {
            for (const std::size_t i : incident(u)) {
                if (linkChanged_[i]) continue;
                linkChanged_[i] = true;
                changedLinks_.push_back(i);
            }
        }
        const double before = cost();
        exchange(move);
        const double change = cost() - before;
        exchange(move);
        for (const std::size_t i : changedLinks_) linkChanged_[i] = false;
        return change;
    }

    // -- The cost of all that the changed nodes and links take part in --

    double cost() {
        double sum = 0;
        for (const std::size_t i : changedLinks_) sum += linkCost(i);
        for (const int v : changedNodes_) {
            for (std::size_t i = 0; i < lines_.size(); ++i) {
                if (!linkChanged_[i]) sum += boxCost(i, v);
            }
        }
        work_ -= static_cast<long long>(changedNodes_.size() * lines_.size());
        return sum;
    }

    /// A link's own cost and that of its meeting links that did not change or come after it.
    double linkCost(std::size_t i) {
        const Segment line = lines_[i];
        const auto first = static_cast<std::size_t>(row(part_.links[i].parent));
        const auto last = static_cast<std::size_t>(row(part_.links[i].child));
        double sum = LengthCost * std::abs(line.upper.x - line.lower.x) / metrics_.pitch +
                     SpanCost * static_cast<double>(last - first);
        for (std::size_t j = 0; j < lines_.size(); ++j) {
            if (linkChanged_[j] && j <= i) continue;
            if (ProperlyCross(line, lines_[j])) sum += CrossingCost;
        }
        for (std::size_t r = first; r <= last; ++r) {
            for (const int v : rows_[r]) sum += boxCost(i, v);
            work_ -= static_cast<long long>(rows_[r].size());
        }
        work_ -= static_cast<long long>(lines_.size());
        return sum;
    }

    double boxCost(std::size_t i, int v) {
        const Segment& line = lines_[i];
        const double y = row(v) * metrics_.pitch;
        if (y < line.upper.y || y > line.lower.y || isEnd(part_.links[i], v)) return 0;
        const double top = PlaceAt(line, std::max(line.upper.y, y - metrics_.boxHeight / 2));
        const double bottom = PlaceAt(line, std::min(line.lower.y, y + metrics_.boxHeight / 2));
        const double side = width(v) / 2 + 2;
        if (std::max(top, bottom) < x(v) - side || std::min(top, bottom) > x(v) + side) return 0;
        return y == line.upper.y || y == line.lower.y ? GrazeCost : ThroughBoxCost;
    }

    const Part& part_;
    const Metrics& metrics_;
    std::vector<double>& x_;
    std::vector<std::vector<int>>& rows_;
    std::vector<int> row_;
    std::vector<std::vector<std::size_t>> incident_;  ///< links of every node
    std::vector<Segment> lines_;                      ///< the links as drawn
    std::vector<char> linkChanged_;
    std::vector<int> changedNodes_;
    std::vector<std::size_t> changedLinks_;
    std::vector<double> distances_, weights_;
    long long work_ = PolishWork;
    Dice dice_;
};

}  // namespace

bool IsPolished(const Part& part) {
    return part.size() <= PolishedNodes && part.links.size() <= PolishedLinks;
}

double PictureCost(const Part& part, const Metrics& metrics, Placement& placement) {
    return Polisher(part, metrics, placement).totalCost();
}

void Polish(const Part& part, const Metrics& metrics, Placement& placement) {
    if (part.size() < 3 || placement.rows.size() < 2 || !IsPolished(part)) return;
    Polisher(part, metrics, placement).run();
}

}  // namespace layout
}  // namespace lumo
