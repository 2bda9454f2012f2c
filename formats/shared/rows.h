// Probability tables for files: the rows of every relation that has some, and their numbers.
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "formats/shared/textout.h"
#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// The probability tables of a net, those of condensed noisy-max relations expanded as long as
/// they are not too large to be worth writing out.
class Tables {
public:
    explicit Tables(const Bnet_bn& net);

    /// The node's table, valid until the next call; null when it has none.
    const float* of(const Bnode_bn& node) const;
    /// Whether there is something to write of a node's relation: its table is not left out.
    bool has(const Bnode_bn& node) const;

private:
    std::unordered_set<const Bnode_bn*> leftOut_;
    mutable std::vector<float> expanded_;
};

/// The numbers to write for a row of probabilities: with the fewest digits that read back to the
/// floats of the row, or, when numbers of at most 7 digits within one unit in the last place of the
/// floats sum to exactly 1, those. They are what people wrote (0.59 0.4067 0.0033), and rounding in
/// single precision loses.
class RowNumbers {
public:
    /// Chooses the numbers for a row. They sum to the weight: counts, as far as it is not 1.
    void choose(const float* row, int count, float weight = 1);
    /// Writes the numbers chosen, valid until the next choice.
    void write(TextOut& out, std::string_view separator) const;
    /// Writes one of them into MostDigits bytes, and returns its end.
    char* writeOne(char* to, std::size_t i) const;

    /// Whether a reader that divides the numbers by their sum gets every float of the row, but for
    /// one unit in the last place, and whether it gets the weight as the sum.
    bool keepsRow(const float* row) const;
    bool keepsWeight() const;

private:
    /// Numbers with that many decimal places to choose from.
    struct Window {
        int places = 0;
        std::int64_t low = 0, high = 0, chosen = 0;
    };
    static Window windowOf(float number, int ulps);
    bool chooseDecimals(const float* row, int ulps);
    bool chooseCounts();
    float asRead(std::size_t i) const;
    double sum() const;

    std::vector<float> floats_;     // to be written as they are, or else
    std::vector<Window> decimals_;  // those chosen, times
    std::int64_t times_ = 0;        // 0: the floats are written
    float weight_ = 1;
};

/// Hands every row of the node's table and its numbers to use(row, numbers) as long as that is
/// true, and returns whether it was. Rows sum to their experience, when that is given.
template <class USE>
bool AllRows(const float* table, const Bnode_bn& node, const float* experience, USE use) {
    const int states = node.numStates();
    RowNumbers numbers;
    for (int rows = NumProduct(node.parents); rows > 0; --rows, table += states) {
        numbers.choose(table, states, experience != nullptr ? *experience++ : 1.0F);
        if (!use(table, numbers)) return false;
    }
    return true;
}

/// Whether a reader that makes the rows of a table sum to 1 gets its floats, but for one unit in
/// the last place, from what RowNumbers chooses.
bool KeepsRows(const float* table, const Bnode_bn& node);

/// Whether the values are equal but for one unit in the last place.
bool AreClose(float a, float b);

}  // namespace lumo
