// Automatic layout: from ordered rows to coordinates.

#include <algorithm>
#include <cmath>
#include <numeric>

#include "library/layout/layout.h"

namespace lumo::layout {

namespace {

constexpr int Sweeps = 12;
constexpr int SweepsOfLargeParts = 4;
constexpr double WayPointWidth = 6;
// Way-points follow their link's straight line and give way to nodes: nothing is drawn there.
constexpr double WayPointWeight = 0.15;

/// Places the vertices of the rows; the vertices are the nodes and, in small parts, way-points.
/// Every vertex wants to stand in the middle of its neighbours; row by row, the wishes are met as
/// well as the order and the boxes' sizes allow. A few sweeps down and up let long-range wishes
/// through.
class Placer {
public:
    Placer(const Part& part, const Layered& graph, double gap, double fold)
        : part_(part), graph_(graph), gap_(gap), fold_(fold), x_(graph.layer.size()) {
        nodesOnly_ = graph.isLarge();
        const bool folds =
            std::ranges::any_of(graph.rows, [&](auto& row) { return isFarTooWide(row); });
        nodesOnly_ |= folds;
        for (const auto& row : graph.rows) addRow(row, folds);
        if (nodesOnly_) readLinks();
    }

    Placement run() {
        double width = 0;
        for (const auto& row : rows_) width = std::max(width, rowWidth(row));
        right_ = width;
        for (const auto& row : rows_) packRow(row);
        const int sweeps = nodesOnly_ ? SweepsOfLargeParts : Sweeps;
        for (int i = 0; i < sweeps; ++i) sweep(i);
        return finish();
    }

private:
    bool isNode(int v) const { return v < graph_.nodes; }
    double& x(int v) { return x_[static_cast<std::size_t>(v)]; }
    double width(int v) const {
        return isNode(v) ? part_.widths[static_cast<std::size_t>(v)] : WayPointWidth;
    }
    double distance(int a, int b) const {
        const double gap = isNode(a) && isNode(b) ? gap_ : gap_ / 2;
        return (width(a) + width(b)) / 2 + gap;
    }

    double rowWidth(const std::vector<int>& row) const {
        double sum = (width(row.front()) + width(row.back())) / 2;
        for (std::size_t i = 1; i < row.size(); ++i) sum += distance(row[i - 1], row[i]);
        return sum;
    }

    /// Takes over a row. In a part with rows far too wide, all wide ones become several;
    /// consecutive vertices go to different rows then, so that each stays near the place that its
    /// order gives it.
    void addRow(std::vector<int> row, bool folds) {
        std::erase_if(row, [&](int v) { return !isNode(v) && nodesOnly_; });
        const double times = rowWidth(row) / fold_;
        if (!folds || times <= 1) return rows_.push_back(std::move(row));
        const auto rows = std::min(row.size(), static_cast<std::size_t>(std::ceil(times)));
        std::vector<std::vector<int>> folded(rows);
        for (std::size_t i = 0; i < row.size(); ++i) folded[i % rows].push_back(row[i]);
        std::ranges::move(folded, std::back_inserter(rows_));
    }

    bool isFarTooWide(const std::vector<int>& row) const {
        double sum = 0;
        for (const int v : row) sum += isNode(v) ? width(v) + gap_ : 0;
        return sum > fold_;
    }

    void readLinks() {
        std::vector<std::pair<int, int>> pairs;
        for (const Link& link : part_.links) pairs.emplace_back(link.child, link.parent);
        up_ = Adjacency(part_.size(), pairs);
        for (auto& pair : pairs) std::swap(pair.first, pair.second);
        down_ = Adjacency(part_.size(), pairs);
    }

    std::span<const int> ups(int v) const { return nodesOnly_ ? up_.of(v) : graph_.up.of(v); }
    std::span<const int> downs(int v) const { return nodesOnly_ ? down_.of(v) : graph_.down.of(v); }

    /// First places: side by side, around the middle.
    void packRow(const std::vector<int>& row) {
        double at = (right_ - rowWidth(row)) / 2 + width(row.front()) / 2;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) at += distance(row[i - 1], row[i]);
            x(row[i]) = at;
        }
    }

    /// Moves all vertices towards their neighbours above, below, or both, row by row.
    void sweep(int round) {
        const bool down = round % 2 == 0;
        const bool both = round >= 2;
        for (std::size_t i = 0; i < rows_.size(); ++i) {
            settle(rows_[down ? i : rows_.size() - 1 - i], both || down, both || !down);
        }
    }

    void settle(const std::vector<int>& row, bool lookUp, bool lookDown) {
        wanted_.clear();
        distances_.clear();
        weights_.clear();
        for (std::size_t i = 0; i < row.size(); ++i) {
            const int v = row[i];
            wanted_.push_back(isNode(v) ? wantedPlace(v, lookUp, lookDown) : placeOnLink(v));
            weights_.push_back(isNode(v) ? 1 : WayPointWeight);
            distances_.push_back(i == 0 ? 0 : distance(row[i - 1], v));
        }
        Separate(wanted_, distances_, weights_, width(row.front()) / 2,
                 right_ - width(row.back()) / 2);
        for (std::size_t i = 0; i < row.size(); ++i) x(row[i]) = wanted_[i];
    }

    /// The mean of the neighbours' places; a vertex without any stays.
    double wantedPlace(int v, bool lookUp, bool lookDown) {
        double sum = 0;
        int count = 0;
        const auto add = [&](std::span<const int> others) {
            for (const int other : others) sum += x(other);
            count += static_cast<int>(others.size());
        };
        if (lookUp) add(ups(v));
        if (lookDown) add(downs(v));
        return count == 0 ? x(v) : sum / count;
    }

    /// Where the straight line of the link passes the way-point's row.
    double placeOnLink(int v) {
        const Link& link = graph_.wayOf[static_cast<std::size_t>(v - graph_.nodes)];
        const auto layer = [&](int u) { return graph_.layer[static_cast<std::size_t>(u)]; };
        const double part = static_cast<double>(layer(v) - layer(link.parent)) /
                            (layer(link.child) - layer(link.parent));
        return x(link.parent) + part * (x(link.child) - x(link.parent));
    }

    Placement finish() {
        if (nodesOnly_) x_.resize(static_cast<std::size_t>(part_.size()));
        std::erase_if(rows_, [](const auto& row) { return row.empty(); });
        return {std::move(x_), std::move(rows_)};
    }

    const Part& part_;
    const Layered& graph_;
    double gap_, fold_;
    bool nodesOnly_ = false;
    std::vector<std::vector<int>> rows_;
    std::vector<double> x_;
    double right_ = 0;
    Adjacency up_, down_;  ///< between nodes, when way-points are left out
    std::vector<double> wanted_, distances_, weights_;
};

}  // namespace

void Separate(std::vector<double>& centres, const std::vector<double>& distance,
              const std::vector<double>& weights, double low, double high) {
    // Without the distances in between, the centres are to be ascending: the least squares of that
    // are the means of blocks, merged while out of order.
    struct Block {
        double sum, weight;
        std::size_t count;
        double mean() const { return sum / weight; }
    };
    std::vector<Block> blocks;
    double offset = 0;
    for (std::size_t i = 0; i < centres.size(); ++i) {
        offset += distance[i];
        blocks.push_back({(centres[i] - offset) * weights[i], weights[i], 1});
        while (blocks.size() > 1 && blocks.end()[-2].mean() >= blocks.back().mean()) {
            const Block last = blocks.back();
            blocks.pop_back();
            blocks.back().sum += last.sum;
            blocks.back().weight += last.weight;
            blocks.back().count += last.count;
        }
    }
    const double most = high - offset;
    offset = 0;
    std::size_t i = 0;
    for (const Block& block : blocks) {
        const double place = std::max(low, std::min(block.mean(), most));
        for (std::size_t n = 0; n < block.count; ++n, ++i) {
            offset += distance[i];
            centres[i] = place + offset;
        }
    }
}

Placement PlaceRows(const Part& part, const Layered& graph, double gap, double fold) {
    return Placer(part, graph, gap, fold).run();
}

}  // namespace lumo::layout
