// Automatic layout: moving single nodes to be rid of crossings of straight links and of links that
// run through boxes.

#include <algorithm>
#include <cmath>

#include "library/layout/blocks.h"
#include "library/layout/segments.h"

namespace lumo::layout {

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

/// The straight-line drawing of a placement.
struct Sketch {
    Sketch(const Part& drawn, const Metrics& measures, Placement& placement)
        : part(drawn),
          metrics(measures),
          xs(placement.x),
          rows(placement.rows),
          rowOf(xs.size()),
          incident(xs.size()),
          lines(part.links.size()) {
        for (std::size_t i = 0; i < part.links.size(); ++i) {
            for (const int end : {part.links[i].parent, part.links[i].child})
                incident[static_cast<std::size_t>(end)].push_back(i);
        }
        readRows();
    }

    /// Follows the rows and places, which were set.
    void readRows() {
        for (std::size_t r = 0; r < rows.size(); ++r) {
            for (const int v : rows[r]) row(v) = static_cast<int>(r);
        }
        for (std::size_t i = 0; i < lines.size(); ++i) drawLine(i);
    }
    void drawLine(std::size_t i) {
        const Link& link = part.links[i];
        lines[i] = {{x(link.parent), height(row(link.parent))},
                    {x(link.child), height(row(link.child))}};
    }

    int& row(int v) { return rowOf[static_cast<std::size_t>(v)]; }
    int row(int v) const { return rowOf[static_cast<std::size_t>(v)]; }
    double& x(int v) { return xs[static_cast<std::size_t>(v)]; }
    double x(int v) const { return xs[static_cast<std::size_t>(v)]; }
    double width(int v) const { return part.widths[static_cast<std::size_t>(v)]; }
    double height(int r) const { return r * metrics.pitch; }
    Rows::reference members(int r) { return rows[static_cast<std::size_t>(r)]; }
    Rows::const_reference members(int r) const { return rows[static_cast<std::size_t>(r)]; }
    const std::vector<std::size_t>& linksOf(int v) const {
        return incident[static_cast<std::size_t>(v)];
    }
    bool isEnd(std::size_t i, int v) const {
        return v == part.links[i].parent || v == part.links[i].child;
    }

    const Part& part;
    const Metrics& metrics;
    std::vector<double>& xs;
    Rows& rows;
    std::vector<int> rowOf;
    std::vector<std::vector<std::size_t>> incident;  ///< links of every node
    std::vector<Segment> lines;                      ///< the links as drawn
};

// ---- Moves: a node goes to a place, which its row makes room for -----------------------------

struct Move {
    int node = 0;
    int from = 0, to = 0;             ///< rows
    std::vector<int> members;         ///< of the row moved to, with the node
    std::vector<double> centres;      ///< of the members
    std::vector<int> fromRow, toRow;  ///< the rows as they become
};

Move MakeMove(const Sketch& sketch, int v, int r, double place) {
    Move move{v, sketch.row(v), r, {}, {}, {}, {}};
    std::vector<double> distances, weights;
    const auto add = [&](int u, double at, double weight) {
        const double apart =
            move.members.empty()
                ? 0
                : (sketch.width(move.members.back()) + sketch.width(u)) / 2 + sketch.metrics.gap;
        distances.push_back(apart);
        weights.push_back(weight);
        move.members.push_back(u);
        move.centres.push_back(at);
    };
    bool placed = false;
    for (const int u : sketch.members(r)) {
        if (u == v) continue;
        if (!placed && sketch.x(u) > place) {
            add(v, place, MovedWeight);
            placed = true;
        }
        add(u, sketch.x(u), 1);
    }
    if (!placed) add(v, place, MovedWeight);
    Separate(move.centres, distances, weights, -1e9, 1e9);
    move.toRow = move.members;
    if (move.from != r) {
        move.fromRow = sketch.members(move.from);
        std::erase(move.fromRow, v);
    }
    return move;
}

/// Carries out the move; the move then is the one back.
void Exchange(Sketch& sketch, Move& move) {
    sketch.row(move.node) = move.to;
    if (move.from != move.to) sketch.members(move.from).swap(move.fromRow);
    sketch.members(move.to).swap(move.toRow);
    std::swap(move.from, move.to);
    for (std::size_t i = 0; i < move.members.size(); ++i)
        std::swap(sketch.x(move.members[i]), move.centres[i]);
    if (move.from != move.to) move.fromRow.swap(move.toRow);
    for (const int v : move.members) {
        for (const std::size_t i : sketch.linksOf(v)) sketch.drawLine(i);
    }
}

// ---- Costs -----------------------------------------------------------------------------------

/// What a link loses by a box; nothing by those of its own ends.
double BoxCost(const Sketch& sketch, std::size_t i, int v) {
    const Segment& line = sketch.lines[i];
    const double y = sketch.height(sketch.row(v));
    if (y < line.upper.y || y > line.lower.y || sketch.isEnd(i, v)) return 0;
    const double half = sketch.metrics.boxHeight / 2;
    const double top = PlaceAt(line, std::max(line.upper.y, y - half));
    const double bottom = PlaceAt(line, std::min(line.lower.y, y + half));
    const double side = sketch.width(v) / 2 + 2;
    const double x = sketch.x(v);
    if (std::max(top, bottom) < x - side || std::min(top, bottom) > x + side) return 0;
    return y == line.upper.y || y == line.lower.y ? GrazeCost : ThroughBoxCost;
}

/// Costs of moves, compared over what a move touches and not over the whole drawing.
class Costs {
public:
    explicit Costs(Sketch& sketch) : sketch_(sketch), linkChanged_(sketch.lines.size()) {}

    double total() {
        double sum = 0;
        linkChanged_.assign(linkChanged_.size(), true);
        for (std::size_t i = 0; i < linkChanged_.size(); ++i) sum += linkCost(i);
        linkChanged_.assign(linkChanged_.size(), false);
        return sum;
    }

    double change(Move& move) {
        collectChanged(move);
        const double before = costOfChanged();
        Exchange(sketch_, move);
        const double change = costOfChanged() - before;
        Exchange(sketch_, move);
        for (const std::size_t i : changedLinks_) linkChanged_[i] = false;
        return change;
    }

    long long work = PolishWork;  ///< left

private:
    void collectChanged(const Move& move) {
        changedNodes_.clear();
        changedLinks_.clear();
        for (std::size_t i = 0; i < move.members.size(); ++i) {
            const int u = move.members[i];
            if (u == move.node || std::abs(sketch_.x(u) - move.centres[i]) > 1e-3)
                changedNodes_.push_back(u);
        }
        for (const int u : changedNodes_) {
            for (const std::size_t i : sketch_.linksOf(u)) {
                if (linkChanged_[i]) continue;
                linkChanged_[i] = true;
                changedLinks_.push_back(i);
            }
        }
    }

    /// The cost of all that the changed nodes and links take part in.
    double costOfChanged() {
        const std::size_t links = sketch_.lines.size();
        double sum = 0;
        for (const std::size_t i : changedLinks_) sum += linkCost(i);
        for (const int v : changedNodes_) {
            for (std::size_t i = 0; i < links; ++i)
                if (!linkChanged_[i]) sum += BoxCost(sketch_, i, v);
        }
        work -= static_cast<long long>(changedNodes_.size() * links);
        return sum;
    }

    /// A link's own cost and that of its meeting links that did not change or come after it.
    double linkCost(std::size_t i) {
        const Segment line = sketch_.lines[i];
        const int first = sketch_.row(sketch_.part.links[i].parent);
        const int last = sketch_.row(sketch_.part.links[i].child);
        double sum = LengthCost * std::abs(line.upper.x - line.lower.x) / sketch_.metrics.pitch +
                     SpanCost * (last - first);
        for (std::size_t j = 0; j < sketch_.lines.size(); ++j) {
            if (linkChanged_[j] && j <= i) continue;
            if (ProperlyCross(line, sketch_.lines[j])) sum += CrossingCost;
        }
        for (int r = first; r <= last; ++r) {
            for (const int v : sketch_.members(r)) sum += BoxCost(sketch_, i, v);
            work -= static_cast<long long>(sketch_.members(r).size());
        }
        work -= static_cast<long long>(sketch_.lines.size());
        return sum;
    }

    Sketch& sketch_;
    std::vector<char> linkChanged_;
    std::vector<int> changedNodes_;
    std::vector<std::size_t> changedLinks_;
};

// ---- The search for moves --------------------------------------------------------------------

/// The rows that lie between the node's parents and children, near its own.
std::pair<int, int> RowsFor(const Sketch& sketch, int v) {
    const int own = sketch.row(v);
    int first = std::max(0, own - RowsTried);
    int last = std::min(static_cast<int>(sketch.rows.size()) - 1, own + RowsTried);
    for (const std::size_t i : sketch.linksOf(v)) {
        const Link& link = sketch.part.links[i];
        if (link.child == v) first = std::max(first, sketch.row(link.parent) + 1);
        if (link.parent == v) last = std::min(last, sketch.row(link.child) - 1);
    }
    return {std::min(first, own), std::max(last, own)};
}

double NeighbourMean(const Sketch& sketch, int v) {
    const auto& links = sketch.linksOf(v);
    double sum = 0;
    for (const std::size_t i : links) {
        const Link& link = sketch.part.links[i];
        sum += sketch.x(link.parent == v ? link.child : link.parent);
    }
    return links.empty() ? sketch.x(v) : sum / static_cast<double>(links.size());
}

/// Places worth trying: near the neighbours, between the row's nodes, beside passing links.
std::vector<double> PlacesFor(const Sketch& sketch, int v, int r) {
    const double mean = NeighbourMean(sketch, v);
    const double side = sketch.width(v) / 2 + sketch.metrics.gap / 2;
    std::vector<double> places = {mean};
    for (const int other : sketch.members(r)) {
        if (other == v) continue;
        const double reach = side + sketch.width(other) / 2 + sketch.metrics.gap / 2;
        places.insert(places.end(), {sketch.x(other) - reach, sketch.x(other) + reach});
    }
    const double y = sketch.height(r);
    for (std::size_t i = 0; i < sketch.lines.size(); ++i) {
        const Segment& passing = sketch.lines[i];
        if (passing.upper.y >= y || passing.lower.y <= y || sketch.isEnd(i, v)) continue;
        const double line = PlaceAt(passing, y);
        places.insert(places.end(), {line - side, line + side});
    }
    std::ranges::sort(places, {}, [&](double p) { return std::abs(p - mean); });
    places.erase(std::unique(places.begin(), places.end()), places.end());
    if (places.size() > PlacesTried) places.resize(PlacesTried);
    return places;
}

/// Carries out the node's best move, if any helps.
bool Improve(Sketch& sketch, Costs& costs, int v) {
    double best = -1e-6;
    Move bestMove;
    const auto [first, last] = RowsFor(sketch, v);
    for (int r = first; r <= last; ++r) {
        const std::vector<double> places = PlacesFor(sketch, v, r);
        costs.work -= static_cast<long long>(sketch.lines.size());
        for (const double place : places) {
            if (costs.work < 0) break;
            Move move = MakeMove(sketch, v, r, place);
            const double change = costs.change(move);
            if (change >= best) continue;
            best = change;
            bestMove = std::move(move);
        }
    }
    if (bestMove.members.empty()) return false;
    Exchange(sketch, bestMove);
    return true;
}

void Settle(Sketch& sketch, Costs& costs) {
    bool improved = true;
    for (int pass = 0; improved && pass < PolishPasses; ++pass) {
        improved = false;
        for (int v = 0; v < sketch.part.size() && costs.work > 0; ++v)
            improved |= Improve(sketch, costs, v);
    }
}

/// Moves one or two nodes to some place.
void Disturb(Sketch& sketch, Dice& dice) {
    for (int i = dice.below(2); i >= 0; --i) {
        const int v = dice.below(sketch.part.size());
        const auto [first, last] = RowsFor(sketch, v);
        const int r = first + dice.below(last - first + 1);
        const double left = sketch.x(dice.below(sketch.part.size()));
        const double place = left + (dice.below(3) - 1) * sketch.width(v);
        Move move = MakeMove(sketch, v, r, place);
        Exchange(sketch, move);
    }
}

}  // namespace

bool IsPolished(const Part& part) {
    return part.size() <= PolishedNodes && part.links.size() <= PolishedLinks;
}

double PictureCost(const Part& part, const Metrics& metrics, Placement& placement) {
    Sketch sketch(part, metrics, placement);
    return Costs(sketch).total();
}

void Polish(const Part& part, const Metrics& metrics, Placement& placement) {
    if (part.size() < 3 || placement.rows.size() < 2 || !IsPolished(part)) return;
    Sketch sketch(part, metrics, placement);
    Costs costs(sketch);
    Dice dice;
    Settle(sketch, costs);
    // Again from slightly disturbed placements while faults are left.
    double reached = costs.total();
    int patience = Disturbances;
    while (reached >= CrossingCost && costs.work > 0 && patience-- > 0) {
        const Placement before = placement;
        Disturb(sketch, dice);
        Settle(sketch, costs);
        const double now = costs.total();
        if (now < reached - LeastGain) patience = Disturbances;
        if (now <= reached) {
            reached = now;
        } else {
            placement.x = before.x;
            placement.rows = before.rows;
            sketch.readRows();
        }
    }
    std::erase_if(placement.rows, [](const auto& row) { return row.empty(); });
}

}  // namespace lumo::layout
