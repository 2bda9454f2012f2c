// Automatic layout: the rows' order as one order of blocks (private to the library). A block is a
// node or all the way-points of a link, so that a long link moves as a whole and stays straight.
#pragma once

#include <map>

#include "library/layout/layout.h"

namespace lumo::layout {

/// A small generator of numbers, so that attempts differ and runs do not.
class Dice {
public:
    int below(int n) {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<int>((state_ >> 33) % static_cast<unsigned long long>(n));
    }

private:
    unsigned long long state_ = 0x9E3779B97F4A7C15ULL;
};

class BlockOrder {
public:
    explicit BlockOrder(const Layered& graph);

    /// Takes the order of the blocks from rows of vertices; gives such rows.
    void readRows(const std::vector<std::vector<int>>& rows);
    std::vector<std::vector<int>> rows() const;

    /// Places from left to right of nodes, under (node, node), and of long links, under their ends;
    /// they tell another layering of the part how to start. Its links that become long start midway
    /// between their ends.
    using Places = std::map<std::pair<int, int>, double>;
    Places places() const;
    void readPlaces(const Places& places);

    const std::vector<int>& order() const { return order_; }
    void setOrder(const std::vector<int>& order) { order_ = order; }

    /// Exchanges a few blocks.
    void disturb(Dice& dice);

    /// Moves every block to its best place until none gains or the work is used up; returns the
    /// change of the number of crossings.
    long long improve(long long& work);

private:
    struct Block {
        int top, bottom;  ///< layers
        int first, last;  ///< vertices
    };

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    int& place(int b) { return place_[index(b)]; }
    int place(int b) const { return place_[index(b)]; }
    std::pair<int, int> ends(const Block& block) const;
    void sortNeighbours(int b);
    long long moveToBestPlace(int b, long long& work);
    void carryOut(int b, int from, int to);
    /// Change of the crossings when a, left of b, and b change places.
    long long exchangeChange(int a, int b, long long& work) const;
    long long listsChange(std::span<const int> a, std::span<const int> b, long long& work) const;

    const Layered& graph_;
    std::vector<Block> blocks_;
    Adjacency up_, down_;     ///< between blocks, sorted by place
    std::vector<int> order_;  ///< blocks from left to right
    std::vector<int> place_;  ///< of every block, twice its place in the order
};

}  // namespace lumo::layout
