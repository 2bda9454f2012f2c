// Automatic layout: the order of the vertices in the rows.

#include <algorithm>
#include <climits>

#include "library/layout/blocks.h"

namespace lumo::layout {

namespace {

/// Work spent on one part, in visits of links: many attempts for a small part, few for a huge one.
constexpr long long SmallWork = 30'000'000;
constexpr long long WorkPerVertex = 10;
constexpr int PatientRounds = 4;  ///< rounds without gain before an attempt ends
constexpr int MaxRounds = 40;
/// Parts whose blocks are ordered too: their steps at most, and the work on it.
constexpr long long BlockSteps = 4000;
constexpr long long BlockWork = 8'000'000;
constexpr int BlockAttempts = 200;
/// Work on moving nodes to other rows.
constexpr long long RowWork = 3'000'000;
/// In a part with fewer vertices a vertex may move anywhere in its row in one step, else so far.
constexpr int AnywhereVertices = 300;
constexpr int ShortReach = 2;

/// Counts how many numbers added before are larger than a number.
class LargerCounter {
public:
    void reset(std::size_t size) {
        sums_.assign(size + 1, 0);
        total_ = 0;
    }
    void add(int number) {
        ++total_;
        for (auto i = static_cast<std::size_t>(number) + 1; i < sums_.size(); i += i & (~i + 1))
            ++sums_[i];
    }
    long long larger(int number) const {
        int upTo = 0;
        for (auto i = static_cast<std::size_t>(number) + 1; i > 0; i -= i & (~i + 1))
            upTo += sums_[i];
        return total_ - upTo;
    }

private:
    std::vector<int> sums_;
    int total_ = 0;
};

/// The present order of the rows, which the steps below improve.
struct RowOrder {
    explicit RowOrder(Layered& layered)
        : graph(layered),
          positions(layered.layer.size()),
          work(layered.share(SmallWork) + WorkPerVertex * (layered.size() + layered.steps)) {}

    int position(int v) const { return positions[static_cast<std::size_t>(v)]; }
    void number(const std::vector<int>& row) {
        int next = 0;
        for (const int v : row) positions[static_cast<std::size_t>(v)] = next++;
    }
    void setRows(Rows rows) {
        graph.rows = std::move(rows);
        for (const auto& row : graph.rows) number(row);
    }
    auto byPosition() const {
        return [this](int a, int b) { return position(a) < position(b); };
    }

    Layered& graph;
    std::vector<int> positions;  ///< of every vertex in its row
    long long work;              ///< left
};

// ---- Search: a first order -----------------------------------------------------------------

/// Puts the vertices into their rows in the order in which a depth-first search meets them that
/// goes down, up, or both ways.
Rows SearchOrder(const Layered& graph, bool down, bool up) {
    Rows rows(graph.rows.size());
    std::vector<bool> seen(graph.layer.size());
    std::vector<int> stack;
    const auto push = [&](std::span<const int> vertices) {
        for (auto v = vertices.rbegin(); v != vertices.rend(); ++v) {
            if (!seen[static_cast<std::size_t>(*v)]) stack.push_back(*v);
        }
    };
    for (std::size_t i = 0; i < rows.size(); ++i) {
        push(graph.rows[down ? i : rows.size() - 1 - i]);
        while (!stack.empty()) {
            const auto v = static_cast<std::size_t>(stack.back());
            stack.pop_back();
            if (seen[v]) continue;
            seen[v] = true;
            rows[static_cast<std::size_t>(graph.layer[v])].push_back(static_cast<int>(v));
            if (up) push(graph.up.of(static_cast<int>(v)));
            if (down) push(graph.down.of(static_cast<int>(v)));
        }
    }
    return rows;
}

// ---- Sweeps: every vertex goes to the mean of its neighbours in the row before --------------

double MeanPosition(const RowOrder& order, std::span<const int> vertices) {
    double sum = 0;
    for (const int v : vertices) sum += order.position(v);
    return sum / static_cast<double>(vertices.size());
}

/// Sorts a row by the means of the fixed neighbours; vertices without any stay in their places.
void SortRow(RowOrder& order, std::vector<int>& row, const Adjacency& fixed, bool leftFirst) {
    std::vector<std::pair<double, int>> moving;
    for (const int v : row) {
        order.work -= fixed.degree(v) + 4;
        if (fixed.degree(v) > 0) moving.emplace_back(MeanPosition(order, fixed.of(v)), v);
    }
    if (!leftFirst) std::ranges::reverse(moving);
    std::ranges::stable_sort(moving, {}, &std::pair<double, int>::first);
    auto next = moving.begin();
    for (int& v : row) {
        if (fixed.degree(v) > 0) v = (next++)->second;
    }
    order.number(row);
}

void Sweep(RowOrder& order, int round) {
    Layered& graph = order.graph;
    const bool leftFirst = round % 4 < 2;
    if (round % 2 == 0) {
        for (std::size_t i = 1; i < graph.rows.size(); ++i)
            SortRow(order, graph.rows[i], graph.up, leftFirst);
    } else {
        for (std::size_t i = graph.rows.size() - 1; i-- > 0;)
            SortRow(order, graph.rows[i], graph.down, leftFirst);
    }
}

// ---- Exchanges: a vertex goes to the place in its row where it crosses least ----------------

/// Crossings of steps to two sorted lists of neighbours: with the first list's vertex on the left,
/// less those with it on the right.
long long ExcessCrossings(RowOrder& order, std::span<const int> a, std::span<const int> b) {
    order.work -= static_cast<long long>(a.size() + b.size()) / 2 + 1;
    long long excess = 0;
    std::size_t less = 0;     // neighbours of b left of the present one of a
    std::size_t notMore = 0;  // the same, that one included
    for (const int v : a) {
        const int at = order.position(v);
        while (less < b.size() && order.position(b[less]) < at) ++less;
        notMore = std::max(notMore, less);
        while (notMore < b.size() && order.position(b[notMore]) == at) ++notMore;
        excess += static_cast<long long>(less) - static_cast<long long>(b.size() - notMore);
    }
    return excess;
}

/// What the crossings change by when a, left of b, and b change places.
long long ExchangeChange(RowOrder& order, int a, int b) {
    const Layered& graph = order.graph;
    return -ExcessCrossings(order, graph.up.of(a), graph.up.of(b)) -
           ExcessCrossings(order, graph.down.of(a), graph.down.of(b));
}

bool MoveToBestPlace(RowOrder& order, std::vector<int>& row, int v) {
    const int from = order.position(v);
    const int reach = order.graph.size() < AnywhereVertices ? INT_MAX : ShortReach;
    long long least = 0;
    int to = from;
    for (const int step : {-1, 1}) {
        long long change = 0;
        for (int i = from + step, n = 0; i >= 0 && i < static_cast<int>(row.size()) && n < reach;
             i += step, ++n) {
            const int other = row[static_cast<std::size_t>(i)];
            change += step > 0 ? ExchangeChange(order, v, other) : ExchangeChange(order, other, v);
            if (change < least) {
                least = change;
                to = i;
            }
        }
    }
    if (to == from) return false;
    const auto at = row.begin() + from;
    if (to > from) std::rotate(at, at + 1, row.begin() + to + 1);
    if (to < from) std::rotate(row.begin() + to, at, at + 1);
    for (int i = std::min(from, to); i <= std::max(from, to); ++i)
        order.positions[static_cast<std::size_t>(row[static_cast<std::size_t>(i)])] = i;
    return true;
}

bool ExchangeInRow(RowOrder& order, std::vector<int>& row) {
    Layered& graph = order.graph;
    for (const int v : row) {
        std::ranges::sort(graph.up.of(v), order.byPosition());
        std::ranges::sort(graph.down.of(v), order.byPosition());
        order.work -= 2 * (graph.up.degree(v) + graph.down.degree(v));
    }
    bool moved = false;
    const std::vector<int> vertices(row);
    for (const int v : vertices) moved |= order.work > 0 && MoveToBestPlace(order, row, v);
    return moved;
}

void Exchange(RowOrder& order) {
    const int passes = order.graph.size() < 50'000 ? 8 : 1;
    bool moved = true;
    for (int pass = 0; moved && pass < passes && order.work > 0; ++pass) {
        moved = false;
        for (auto& row : order.graph.rows) moved |= ExchangeInRow(order, row);
    }
}

// ---- The whole -----------------------------------------------------------------------------

/// The order with the fewest crossings so far.
struct Best {
    Rows rows;
    long long count = LLONG_MAX;

    /// Looks at the present order; returns its crossings.
    long long record(RowOrder& order) {
        const long long now = CountStepCrossings(order.graph);
        order.work -= 6 * order.graph.steps;
        if (now < count) {
            rows = order.graph.rows;
            count = now;
        }
        return now;
    }
};

/// Improves the rows until they get no better.
void Attempt(RowOrder& order, Rows rows, Best& best) {
    order.setRows(std::move(rows));
    Exchange(order);
    best.record(order);
    long long reached = LLONG_MAX;
    int patience = PatientRounds;
    for (int round = 0; round < MaxRounds && patience > 0 && order.work > 0; ++round) {
        Sweep(order, round);
        Exchange(order);
        const long long count = best.record(order);
        patience = count < reached ? PatientRounds : patience - 1;
        reached = std::min(reached, count);
        if (count == 0) break;
    }
}

/// Orders blocks, from the best rows so far and again and again from a disturbed best order.
void OrderBlocks(RowOrder& order, Best& best) {
    BlockOrder blocks(order.graph);
    const auto record = [&] {
        order.setRows(blocks.rows());
        return best.record(order);
    };
    Dice dice;
    blocks.readRows(best.rows);
    long long work = order.graph.share(BlockWork);
    blocks.improve(work);
    long long count = record();
    std::vector<int> reachedOrder = blocks.order();
    const long long attempts = order.graph.share(BlockAttempts);
    for (long long i = 0; i < attempts && work > 0 && best.count > 0; ++i) {
        blocks.setOrder(reachedOrder);
        blocks.disturb(dice);
        blocks.improve(work);
        const long long reached = record();
        if (reached > count) continue;
        count = reached;
        reachedOrder = blocks.order();
    }
    Attempt(order, best.rows, best);
}

// ---- Nodes in other rows --------------------------------------------------------------------

/// Moves nodes of a small part, one by one, to other rows where that makes the crossings fewer.
class RowMover {
public:
    RowMover(const Part& part, Layered start)
        : part_(part),
          best_(std::move(start)),
          crossings_(CountStepCrossings(best_)),
          work_(best_.share(RowWork)) {
        BlockOrder blocks(best_);
        blocks.readRows(best_.rows);
        places_ = blocks.places();
    }

    Layered run() {
        long long before = 0;
        do {
            before = crossings_;
            for (int v = 0; v < part_.size(); ++v) moveNode(v);
        } while (crossings_ < before && crossings_ > 0 && work_ > 0);
        return std::move(best_);
    }

private:
    int& layer(int v) { return best_.layer[static_cast<std::size_t>(v)]; }

    void moveNode(int v) {
        // Every row keeps a node.
        const auto last = best_.layer.begin() + best_.nodes;
        if (std::count(best_.layer.begin(), last, layer(v)) == 1) return;
        int high = 0;
        int low = static_cast<int>(best_.rows.size()) - 1;
        for (const Link& link : part_.links) {
            if (link.child == v) high = std::max(high, layer(link.parent) + 1);
            if (link.parent == v) low = std::min(low, layer(link.child) - 1);
        }
        for (int row = high; row <= low && work_ > 0; ++row)
            if (row != layer(v)) tryRow(v, row);
    }

    void tryRow(int v, int row) {
        std::vector<int> layers(best_.layer.begin(), best_.layer.begin() + best_.nodes);
        layers[static_cast<std::size_t>(v)] = row;
        Layered graph = MakeLayered(part_, std::move(layers));
        BlockOrder blocks(graph);
        blocks.readPlaces(places_);
        blocks.improve(work_);
        graph.rows = blocks.rows();
        const long long count = CountStepCrossings(graph);
        if (count >= crossings_) return;
        crossings_ = count;
        places_ = blocks.places();
        best_ = std::move(graph);
    }

    const Part& part_;
    Layered best_;
    long long crossings_;
    BlockOrder::Places places_;
    long long work_;
};

}  // namespace

long long CountStepCrossings(const Layered& graph) {
    std::vector<int> position(graph.layer.size());
    for (const auto& row : graph.rows) {
        int next = 0;
        for (const int v : row) position[static_cast<std::size_t>(v)] = next++;
    }
    LargerCounter counter;
    long long count = 0;
    for (std::size_t i = 1; i < graph.rows.size(); ++i) {
        counter.reset(graph.rows[i].size());
        for (const int v : graph.rows[i - 1]) {
            const auto below = graph.down.of(v);
            for (const int other : below)
                count += counter.larger(position[static_cast<std::size_t>(other)]);
            for (const int other : below) counter.add(position[static_cast<std::size_t>(other)]);
        }
    }
    return count;
}

Rows OrderRows(Layered& graph) {
    if (graph.rows.size() < 2) return graph.rows;
    RowOrder order(graph);
    Best best;
    best.record(order);
    constexpr std::pair<bool, bool> searches[] = {{true, false}, {true, true}, {false, true}};
    for (const auto& [down, up] : searches) {
        if (best.count == 0 || order.work < 0) break;
        Attempt(order, SearchOrder(graph, down, up), best);
    }
    if (best.count > 0 && graph.steps <= BlockSteps) OrderBlocks(order, best);
    return best.rows;
}

Layered MoveBetweenRows(const Part& part, Layered start) {
    return RowMover(part, std::move(start)).run();
}

}  // namespace lumo::layout
