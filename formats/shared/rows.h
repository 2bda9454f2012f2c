// Probability tables for files: the rows of every relation that has some, and their numbers.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "formats/shared/textout.h"
#include "library/model/netmodel.h"
#include "library/utilities/exact.h"

namespace LUMO_API lumo {

/// A table as it is held: in single precision, and in double precision where that says more.
struct HeldTable {
    const float* floats = nullptr;
    const double* exact = nullptr;

    explicit operator bool() const { return floats != nullptr || exact != nullptr; }
    /// The number at a place: what the file said, of floats their shortest decimal.
    double operator[](std::ptrdiff_t i) const {
        return exact != nullptr ? exact[i] : ShortestDouble(floats[i]);
    }
    HeldTable from(std::ptrdiff_t i) const {
        return {floats != nullptr ? floats + i : nullptr, exact != nullptr ? exact + i : nullptr};
    }
};

/// The real table of a relation, and its experience.
inline HeldTable RealTable(const Reln_bn& relation) { return {relation.reals, relation.exact}; }
inline HeldTable Experience(const Reln_bn& relation) {
    return {relation.exper, relation.exactExper};
}

/// The probability tables of a net, those of condensed noisy-max relations expanded as long as
/// they are not too large to be worth writing out.
class Tables {
public:
    explicit Tables(const Bnet_bn& net);

    /// The node's table, valid until the next call; none when it has none.
    HeldTable of(const Bnode_bn& node) const;
    /// Whether there is something to write of a node's relation: its table is not left out.
    bool has(const Bnode_bn& node) const;

private:
    std::unordered_set<const Bnode_bn*> leftOut_;
    mutable std::vector<double> expanded_;
};

/// The numbers to write for a row of probabilities: what the file said, digit for digit, or counts
/// that are that often as much.
class RowNumbers {
public:
    /// Takes the numbers of a row. They sum to the weight: counts, as far as it is not 1.
    void choose(HeldTable row, int count, double weight = 1);
    /// Writes the numbers, valid until the next choice.
    void write(TextOut& out, std::string_view separator) const;
    /// Writes one of them into MostDigits bytes, and returns its end.
    char* writeOne(char* to, std::size_t i) const;
    std::span<const double> numbers() const { return numbers_; }

    /// Whether a reader that divides the numbers by their sum, where that is not 1, gets the row,
    /// and whether it gets the weight as the sum.
    bool keepsRow(HeldTable row) const;
    bool keepsWeight() const;

private:
    std::vector<double> numbers_;
    double weight_ = 1;
};

/// Hands every row of the node's table and its numbers to use(row, numbers) as long as that is
/// true, and returns whether it was. Rows sum to their experience, when that is given.
template <class USE>
bool AllRows(HeldTable table, const Bnode_bn& node, HeldTable experience, USE use) {
    const int states = node.numStates();
    RowNumbers numbers;
    for (int rows = NumProduct(node.parents), row = 0; row < rows; ++row) {
        const HeldTable own = table.from(std::ptrdiff_t{row} * states);
        numbers.choose(own, states, experience ? experience[row] : 1.0);
        if (!use(own, numbers)) return false;
    }
    return true;
}

/// Whether a reader that makes the rows of a table sum to 1 gets its numbers.
bool KeepsRows(HeldTable table, const Bnode_bn& node);

/// Whether the values are equal but for one unit in the last place.
bool AreClose(float a, float b);
/// Whether they are but for the rounding of a product and a quotient.
bool AreClose(double a, double b);

}  // namespace lumo
