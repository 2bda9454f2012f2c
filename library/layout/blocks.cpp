// Automatic layout: ordering whole blocks instead of single vertices.
//
// One order of all blocks gives the order in every row. A block is tried at every place of that
// order by passing its neighbours one by one; each step changes only the crossings of the two
// blocks' own links, so that the best place is found without counting anything again. Places are
// kept doubled, which leaves room for the moving block between any two others.

#include "library/layout/blocks.h"

#include <algorithm>
#include <numeric>

namespace lumo::layout {

namespace {

using Pairs = std::vector<std::pair<int, int>>;

}  // namespace

BlockOrder::BlockOrder(const Layered& graph) : graph_(graph) {
    std::vector<int> blockOf(graph.layer.size());
    for (int v = 0; v < graph.size(); ++v) {
        const bool continues =
            v > graph.nodes && graph.wayOf[index(v) - index(graph.nodes)] ==
                                   graph.wayOf[index(v) - index(graph.nodes) - 1];
        const int layer = graph.layer[index(v)];
        if (continues) {
            blocks_.back().bottom = layer;
            blocks_.back().last = v;
        } else {
            blocks_.push_back({layer, layer, v, v});
        }
        blockOf[index(v)] = static_cast<int>(blocks_.size()) - 1;
    }
    // Links within a block are left out: they run straight down.
    Pairs down;
    for (int v = 0; v < graph.size(); ++v) {
        for (const int other : graph.down.of(v)) {
            if (blockOf[index(v)] != blockOf[index(other)])
                down.emplace_back(blockOf[index(v)], blockOf[index(other)]);
        }
    }
    const int count = static_cast<int>(blocks_.size());
    down_ = Adjacency(count, down);
    for (auto& pair : down) std::swap(pair.first, pair.second);
    up_ = Adjacency(count, down);
    order_.resize(blocks_.size());
    std::iota(order_.begin(), order_.end(), 0);
    place_.resize(blocks_.size());
}

void BlockOrder::readRows(const std::vector<std::vector<int>>& rows) {
    // A block goes where its vertices stand on the average, rows taken as equally wide.
    std::vector<double> at(graph_.layer.size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            at[index(row[i])] = (static_cast<double>(i) + 0.5) / static_cast<double>(row.size());
        }
    }
    std::vector<double> mean(blocks_.size());
    for (std::size_t b = 0; b < blocks_.size(); ++b) {
        const Block& block = blocks_[b];
        double sum = 0;
        for (int v = block.first; v <= block.last; ++v) sum += at[index(v)];
        mean[b] = sum / (block.last - block.first + 1);
    }
    std::ranges::stable_sort(order_, {}, [&](int b) { return mean[index(b)]; });
}

std::pair<int, int> BlockOrder::ends(const Block& block) const {
    if (block.first < graph_.nodes) return {block.first, block.first};
    const Link& link = graph_.wayOf[index(block.first) - index(graph_.nodes)];
    return {link.parent, link.child};
}

BlockOrder::Places BlockOrder::places() const {
    Places places;
    for (std::size_t i = 0; i < order_.size(); ++i)
        places.emplace(ends(blocks_[index(order_[i])]), static_cast<double>(i));
    return places;
}

void BlockOrder::readPlaces(const Places& places) {
    std::vector<double> at;
    for (const Block& block : blocks_) {
        const auto [parent, child] = ends(block);
        const auto found = places.find({parent, child});
        at.push_back(found != places.end()
                         ? found->second
                         : (places.at({parent, parent}) + places.at({child, child})) / 2);
    }
    std::ranges::stable_sort(order_, {}, [&](int b) { return at[index(b)]; });
}

std::vector<std::vector<int>> BlockOrder::rows() const {
    std::vector<std::vector<int>> rows(graph_.rows.size());
    for (const int b : order_) {
        const Block& block = blocks_[index(b)];
        for (int v = block.first; v <= block.last; ++v)
            rows[index(graph_.layer[index(v)])].push_back(v);
    }
    return rows;
}

void BlockOrder::disturb(Dice& dice) {
    const int count = static_cast<int>(order_.size());
    const int moves = 1 + dice.below(2 + std::min(count / 10, 12));
    for (int i = 0; i < moves; ++i) {
        const int from = dice.below(count);
        const int to = dice.below(count);
        std::swap(order_[index(from)], order_[index(to)]);
    }
}

long long BlockOrder::improve(long long& work) {
    for (std::size_t i = 0; i < order_.size(); ++i) place(order_[i]) = 2 * static_cast<int>(i);
    for (std::size_t b = 0; b < blocks_.size(); ++b) sortNeighbours(static_cast<int>(b));
    long long change = 0;
    bool moved = true;
    while (moved && work > 0) {
        moved = false;
        const std::vector<int> turns(order_);
        for (const int b : turns) {
            if (work <= 0) break;
            const long long gain = moveToBestPlace(b, work);
            change += gain;
            moved |= gain < 0;
        }
    }
    return change;
}

void BlockOrder::sortNeighbours(int b) {
    const auto byPlace = [&](int x, int y) { return place(x) < place(y); };
    std::ranges::sort(up_.of(b), byPlace);
    std::ranges::sort(down_.of(b), byPlace);
}

long long BlockOrder::moveToBestPlace(int b, long long& work) {
    const int from = place(b) / 2;
    long long least = 0;
    int to = from;
    for (const int step : {-1, 1}) {
        long long change = 0;
        for (int i = from + step; i >= 0 && i < static_cast<int>(order_.size()); i += step) {
            const int other = order_[index(i)];
            --work;
            // Blocks without a common row have no order between them.
            if (blocks_[index(b)].top > blocks_[index(other)].bottom) continue;
            if (blocks_[index(other)].top > blocks_[index(b)].bottom) continue;
            change += step > 0 ? exchangeChange(b, other, work) : exchangeChange(other, b, work);
            place(b) = 2 * i + step;
            if (change < least) {
                least = change;
                to = i;
            }
        }
        place(b) = 2 * from;
    }
    if (to != from) carryOut(b, from, to);
    return least;
}

void BlockOrder::carryOut(int b, int from, int to) {
    const auto at = order_.begin() + from;
    if (to > from) std::rotate(at, at + 1, order_.begin() + to + 1);
    if (to < from) std::rotate(order_.begin() + to, at, at + 1);
    for (int i = std::min(from, to); i <= std::max(from, to); ++i) place(order_[index(i)]) = 2 * i;
    // Only lists with the block in them are out of order now.
    const auto byPlace = [&](int x, int y) { return place(x) < place(y); };
    for (const int other : std::as_const(up_).of(b)) std::ranges::sort(down_.of(other), byPlace);
    for (const int other : std::as_const(down_).of(b)) std::ranges::sort(up_.of(other), byPlace);
}

long long BlockOrder::exchangeChange(int a, int b, long long& work) const {
    // Within the rows that both pass through they run side by side: only where one of them ends are
    // there links to cross.
    const Block& left = blocks_[index(a)];
    const Block& right = blocks_[index(b)];
    const int top = std::max(left.top, right.top);
    const int bottom = std::min(left.bottom, right.bottom);
    const auto side = [&](const Adjacency& links, const int& block, bool ends) {
        return ends ? links.of(block) : std::span<const int>(&block, 1);
    };
    return listsChange(side(up_, a, left.top == top), side(up_, b, right.top == top), work) +
           listsChange(side(down_, a, left.bottom == bottom),
                       side(down_, b, right.bottom == bottom), work);
}

long long BlockOrder::listsChange(std::span<const int> a, std::span<const int> b,
                                  long long& work) const {
    work -= static_cast<long long>(a.size() + b.size()) / 4;
    long long change = 0;
    std::size_t less = 0;     // of b, left of the present one of a
    std::size_t notMore = 0;  // the same, that one included
    for (const int block : a) {
        const int at = place(block);
        while (less < b.size() && place(b[less]) < at) ++less;
        notMore = std::max(notMore, less);
        while (notMore < b.size() && place(b[notMore]) == at) ++notMore;
        change += static_cast<long long>(b.size() - notMore) - static_cast<long long>(less);
    }
    return change;
}

}  // namespace lumo::layout
