// Rows of tables, for the files of the model that compute with them. Private to the model.
#pragma once

#include <cstddef>

#include "library/model/netmodel.h"
#include "library/utilities/exact.h"

namespace lumo {

/// How far from 1 the sum of a distribution may be.
inline constexpr double SumTolerance = 1e-3;

inline int Rows(const Bnode_bn& node) { return NumProduct(node.parents); }

template <class T>
void Free(T*& block) {
    if (block == nullptr) return;
    xfree_kt(block);
    block = nullptr;
}

/// Calls with every row and its sum. Four rows are summed side by side, in half the time: within a
/// row each addition waits for the one before.
template <class FLOAT, class CALL>
void ForEachRow(FLOAT* table, int states, int rows, CALL call) {
    constexpr int together = 4;
    for (; rows >= together; rows -= together, table += std::ptrdiff_t{together} * states) {
        double sums[together] = {};
        for (int s = 0; s < states; ++s)
            for (int r = 0; r < together; ++r)
                sums[r] += static_cast<double>(table[std::ptrdiff_t{r} * states + s]);
        for (int r = 0; r < together; ++r) call(table + std::ptrdiff_t{r} * states, sums[r]);
    }
    for (; rows > 0; --rows, table += states) call(table, SumOf(table, states));
}

void WarnZeroRow(const Bnode_bn& node, int row);
rept_kt* NoMemory(const Bnode_bn& node, double bytes);

}  // namespace lumo
