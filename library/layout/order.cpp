// Automatic layout: the order of the vertices in the rows.

#include <algorithm>
#include <numeric>

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
constexpr std::size_t MostOrders = 16;

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

class Ordering {
public:
    explicit Ordering(Layered& graph)
        : graph_(graph),
          position_(graph.layer.size()),
          key_(graph.layer.size()),
          work_(SmallWork + WorkPerVertex * (graph.size() + graph.steps)) {}

    std::vector<Rows> run() {
        best_ = graph_.rows;
        constexpr std::pair<bool, bool> searches[] = {{true, false}, {true, true}, {false, true}};
        for (const auto& [down, up] : searches) {
            if (bestCount_ == 0 || work_ < 0) break;
            searchOrder(down, up);
            attempt();
        }
        if (bestCount_ > 0 && graph_.steps <= BlockSteps) orderBlocks();
        orders_.push_back(std::move(best_));
        std::ranges::reverse(orders_);
        return std::move(orders_);
    }

private:
    int& position(int v) { return position_[static_cast<std::size_t>(v)]; }
    double& key(int v) { return key_[static_cast<std::size_t>(v)]; }

    void number(const std::vector<int>& row) {
        int next = 0;
        for (const int v : row) position(v) = next++;
    }

    /// Puts the vertices into their rows in the order in which a depth-first search meets them that
    /// goes down, up, or both ways.
    void searchOrder(bool down, bool up) {
        Rows rows(graph_.rows.size());
        std::vector<bool> seen(position_.size());
        std::vector<int> stack;
        const auto push = [&](std::span<const int> vertices) {
            for (auto v = vertices.rbegin(); v != vertices.rend(); ++v) {
                if (!seen[static_cast<std::size_t>(*v)]) stack.push_back(*v);
            }
        };
        for (std::size_t i = 0; i < rows.size(); ++i) {
            push(graph_.rows[down ? i : rows.size() - 1 - i]);
            while (!stack.empty()) {
                const int v = stack.back();
                stack.pop_back();
                if (seen[static_cast<std::size_t>(v)]) continue;
                seen[static_cast<std::size_t>(v)] = true;
                rows[static_cast<std::size_t>(graph_.layer[static_cast<std::size_t>(v)])].push_back(
                    v);
                if (up) push(std::as_const(graph_.up).of(v));
                if (down) push(std::as_const(graph_.down).of(v));
            }
        }
        graph_.rows = std::move(rows);
    }

    /// Orders blocks, from the best rows so far and again and again from a disturbed best order.
    void orderBlocks() {
        orders_.push_back(best_);
        BlockOrder blocks(graph_);
        Dice dice;
        blocks.readRows(best_);
        long long work = BlockWork;
        blocks.improve(work);
        long long count = record(blocks.rows());
        orders_.push_back(graph_.rows);
        std::vector<int> order = blocks.order();
        for (int i = 0; i < BlockAttempts && work > 0 && bestCount_ > 0; ++i) {
            blocks.setOrder(order);
            blocks.disturb(dice);
            blocks.improve(work);
            const long long reached = record(blocks.rows());
            if (reached > count) continue;
            if (reached < count || i % 4 == 0) orders_.push_back(graph_.rows);
            count = reached;
            order = blocks.order();
        }
        graph_.rows = best_;
        attempt();
    }

    /// Makes the rows the present ones, and the best when they are; returns their crossings.
    long long record(Rows rows) {
        graph_.rows = std::move(rows);
        for (const auto& row : graph_.rows) number(row);
        return record();
    }

    long long record() {
        const long long count = countCrossings();
        if (count < bestCount_) {
            best_ = graph_.rows;
            bestCount_ = count;
        }
        return count;
    }

    /// Improves the present order until it gets no better, and keeps the best one seen.
    void attempt() {
        for (const auto& row : graph_.rows) number(row);
        long long reached = LLONG_MAX;
        int patience = PatientRounds;
        exchange();
        record();
        for (int round = 0; round < MaxRounds && patience > 0 && work_ > 0; ++round) {
            sweep(round);
            exchange();
            const long long count = record();
            if (count < reached) {
                patience = PatientRounds;
            } else {
                --patience;
            }
            reached = std::min(reached, count);
            if (count == 0) break;
        }
    }

    // -- Sweeps: every vertex goes to the mean of its neighbours in the row before --

    void sweep(int round) {
        const bool leftFirst = round % 4 < 2;
        if (round % 2 == 0) {
            for (std::size_t i = 1; i < graph_.rows.size(); ++i)
                sortRow(graph_.rows[i], graph_.up, leftFirst);
        } else {
            for (std::size_t i = graph_.rows.size() - 1; i-- > 0;) {
                sortRow(graph_.rows[i], graph_.down, leftFirst);
            }
        }
    }

    /// Sorts a row by its vertices' keys; those without neighbours stay in their places.
    void sortRow(std::vector<int>& row, const Adjacency& fixed, bool leftFirst) {
        moving_.clear();
        for (const int v : row) {
            work_ -= fixed.degree(v) + 4;
            if (fixed.degree(v) == 0) continue;
            key(v) = meanPosition(fixed.of(v));
            moving_.push_back(v);
        }
        if (!leftFirst) std::reverse(moving_.begin(), moving_.end());
        std::stable_sort(moving_.begin(), moving_.end(),
                         [&](int a, int b) { return key(a) < key(b); });
        auto next = moving_.begin();
        for (int& v : row) {
            if (fixed.degree(v) > 0) v = *next++;
        }
        number(row);
    }

    double meanPosition(std::span<const int> vertices) {
        double sum = 0;
        for (const int v : vertices) sum += position(v);
        return sum / static_cast<double>(vertices.size());
    }

    // -- Exchanges: a vertex goes to the place in its row where it crosses least --

    void exchange() {
        const int passes = graph_.size() < 50'000 ? 8 : 1;
        for (int pass = 0; pass < passes && work_ > 0; ++pass) {
            bool moved = false;
            for (std::size_t i = 0; i < graph_.rows.size(); ++i)
                moved |= exchangeRow(graph_.rows[i]);
            if (!moved) return;
        }
    }

    bool exchangeRow(std::vector<int>& row) {
        const auto byPosition = [&](int a, int b) { return position(a) < position(b); };
        for (const int v : row) {
            std::ranges::sort(graph_.up.of(v), byPosition);
            std::ranges::sort(graph_.down.of(v), byPosition);
            work_ -= 2 * (graph_.up.degree(v) + graph_.down.degree(v));
        }
        bool moved = false;
        const std::vector<int> vertices(row);
        for (const int v : vertices) moved |= work_ > 0 && moveToBestPlace(row, v);
        return moved;
    }

    /// How far a vertex may move in one step: anywhere in a small part.
    int reach() const { return graph_.size() < 300 ? INT_MAX : 2; }

    bool moveToBestPlace(std::vector<int>& row, int v) {
        const int from = position(v);
        const int limit = reach();
        long long least = 0;
        int to = from;
        for (const int step : {-1, 1}) {
            long long change = 0;
            for (int i = from + step, n = 0;
                 i >= 0 && i < static_cast<int>(row.size()) && n < limit; i += step, ++n) {
                const int other = row[static_cast<std::size_t>(i)];
                const auto [before, after] = step > 0 ? crossings(v, other) : crossings(other, v);
                change += after - before;
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
            position(row[static_cast<std::size_t>(i)]) = i;
        return true;
    }

    /// Crossings of the steps of two vertices of a row: with a left of b, and with b left of a.
    std::pair<long long, long long> crossings(int a, int b) {
        const auto ups = pairCrossings(graph_.up.of(a), graph_.up.of(b));
        const auto downs = pairCrossings(graph_.down.of(a), graph_.down.of(b));
        return {ups.first + downs.first, ups.second + downs.second};
    }

    std::pair<long long, long long> pairCrossings(std::span<const int> a, std::span<const int> b) {
        // Both are sorted by position: merge them.
        work_ -= static_cast<long long>(a.size() + b.size()) / 2 + 1;
        long long aLeft = 0;
        long long bLeft = 0;
        std::size_t less = 0;     // neighbours of b left of the present one of a
        std::size_t notMore = 0;  // the same, that one included
        for (const int v : a) {
            const int at = position(v);
            while (less < b.size() && position(b[less]) < at) ++less;
            notMore = std::max(notMore, less);
            while (notMore < b.size() && position(b[notMore]) == at) ++notMore;
            aLeft += static_cast<long long>(less);
            bLeft += static_cast<long long>(b.size() - notMore);
        }
        return {aLeft, bLeft};
    }

    // -- Counting --

    long long countCrossings() {
        long long count = 0;
        for (std::size_t i = 1; i < graph_.rows.size(); ++i) {
            counter_.reset(graph_.rows[i].size());
            for (const int v : graph_.rows[i - 1]) {
                for (const int other : graph_.down.of(v)) count += counter_.larger(position(other));
                for (const int other : graph_.down.of(v)) counter_.add(position(other));
            }
        }
        work_ -= 6 * graph_.steps;
        return count;
    }

    Layered& graph_;
    std::vector<int> position_;
    std::vector<double> key_;
    std::vector<int> moving_;
    LargerCounter counter_;
    std::vector<Rows> orders_;  ///< worth trying besides the best one
    Rows best_;
    long long bestCount_ = LLONG_MAX;
    long long work_;
};

}  // namespace

std::vector<Rows> OrderRows(Layered& graph) {
    if (graph.rows.size() < 2) return {graph.rows};
    std::vector<Rows> orders = Ordering(graph).run();
    if (orders.size() > MostOrders) orders.resize(MostOrders);
    return orders;
}

}  // namespace lumo::layout
