// In which order the tables of a file run: some programs take the other one than their format has.
#pragma once

#include <vector>

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace lumo {

/// Judges the order of each table by the sums of its rows, and that of the tables which sum to 1 in
/// both orders by the others: a file has one order.
class TableOrder {
public:
    /// Whether the numbers, declared with the child's state slowest or fastest, sum to 1 only in
    /// the other order, with a warning then. A node whose table does not show it is remembered, as
    /// its table stands at the tokenizer's place.
    bool isTurned(Parser_CString_kt& in, const Bnode_bn& node, const float* numbers, int count,
                  bool slowest);

    /// Turns the tables that do not show their order, where all others were turned.
    void finish(Parser_CString_kt& in);

private:
    struct Unclear {
        Bnode_bn* node;
        ParserPos_kt place;
        bool slowest;
    };
    int straight_ = 0;  // tables that sum to 1 in the declared order alone
    int turned_ = 0;
    std::vector<Unclear> unclear_;
};

/// Puts numbers with the child's state slowest into rows.
template <class T>
void TurnTable(const T* numbers, int states, int count, T* table) {
    const int rows = states == 0 ? 0 : count / states;
    for (int state = 0; state < states; ++state)
        for (int row = 0; row < rows; ++row)
            table[static_cast<std::ptrdiff_t>(row) * states + state] = *numbers++;
}

}  // namespace lumo
