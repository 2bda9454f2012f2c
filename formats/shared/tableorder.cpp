#include "formats/shared/tableorder.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "formats/shared/messages.h"
#include "library/utilities/memory.h"

namespace lumo {

namespace {

/// Whether each row sums to 1 in that order of the numbers.
bool RowsSumToOne(const float* numbers, int count, int states, bool stateSlowest) {
    const int rows = count / states;
    const std::ptrdiff_t nextRow = stateSlowest ? 1 : states;
    const std::ptrdiff_t nextState = stateSlowest ? rows : 1;
    for (int r = 0; r < rows; ++r) {
        double sum = 0;
        for (int s = 0; s < states; ++s)
            sum += static_cast<double>(numbers[r * nextRow + s * nextState]);
        if (!(std::abs(sum - 1) <= 1e-3)) return false;
    }
    return true;
}

/// The rows of a table, read again in the other order than that in which they were.
template <class T>
XArray<T> OtherOrder(const T* table, int states, int count, bool wasSlowest) {
    XArray<T> other = NewXArray<T>(count);
    if (other == nullptr || table == nullptr) return {};
    const int rows = count / states;
    // To turn it back is to turn a table of as many states as there are rows.
    TurnTable(table, wasSlowest ? rows : states, count, other.get());
    return other;
}

}  // namespace

bool TableOrder::isTurned(Parser_CString_kt& in, const Bnode_bn& node, const float* numbers,
                          int count, bool slowest) {
    const int states = node.numStates();
    if (node.kind != NatureNode || states < 2 || count <= states) return false;
    const bool asDeclared = RowsSumToOne(numbers, count, states, slowest);
    const bool otherwise = RowsSumToOne(numbers, count, states, !slowest);
    if (asDeclared == otherwise) {
        if (asDeclared)
            unclear_.push_back({node.net().nodes[node.place()], in.tokenStart(), slowest});
        return false;
    }
    ++(otherwise ? turned_ : straight_);
    if (otherwise) in.report(msg::import.tableTurned, node.name(), slowest ? "fastest" : "slowest");
    return otherwise;
}

void TableOrder::finish(Parser_CString_kt& in) {
    if (turned_ == 0) return;
    if (straight_ > 0) return in.report(msg::import.tablesMixed, turned_, straight_), void();
    constexpr int mostNames = 20;
    int count = 0;
    std::string names;
    for (const Unclear& unclear : unclear_) {
        Bnode_bn& node = *unclear.node;
        const int entries = NumProduct(node.family), states = node.numStates();
        const Reln_bn& relation = node.relation;
        if (relation.probs == nullptr || states < 2) continue;
        XArray<float> table = OtherOrder(relation.probs, states, entries, unclear.slowest);
        if (table == nullptr || std::equal(table.get(), table.get() + entries, relation.probs))
            continue;
        XArray<double> exact = relation.exact == nullptr
                                   ? XArray<double>()
                                   : OtherOrder(relation.exact, states, entries, unclear.slowest);
        in.setTokenStart(unclear.place);
        in.setError(node.setTable(std::move(table), std::move(exact)));
        if (++count <= mostNames) (names += names.empty() ? "" : ", ") += node.name();
        if (count == mostNames) names += " ...";
    }
    if (count > 0) in.report(msg::import.tablesFollow, count, names.c_str());
}

}  // namespace lumo
