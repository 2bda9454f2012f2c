// Probability tables for files: the rows of every relation that has some, and numbers that come
// back unchanged from readers that normalise.
#pragma once

#include <unordered_set>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

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

/// How a reader normalises a row.
enum class NormalizingEN : unsigned char {
    divide,   ///< every number by the sum, taken from the first on
    multiply  ///< every number by the inverse of the sum, taken from the last on
};

/// Finds the numbers to write for rows of probabilities, so that a normalising reader comes to the
/// same floats again. A row whose rounded numbers do not quite sum to 1 may need slightly larger
/// numbers.
class RowFitter {
public:
    RowFitter(NormalizingEN normalizing, int states);

    /// Sums to try: the weight and small steps away from it.
    struct Scales {
        int first, last;
        double step;
    };
    /// What a reader gets back of a row.
    struct Fit {
        bool row;     ///< the row itself
        bool weight;  ///< and, by dividing, the weight for its experience
    };
    /// Fits the row to sum to the weight, as near as it can.
    Fit fit(const float* row, float weight = 1);
    const float* numbers() const { return fitted_.data(); }  ///< of the last row

private:
    Fit tryScale(const float* row, double scale);
    Fit tryWhole(const float* row);
    Fit tryDigits(const float* row, double scale, int digits);
    bool search(const float* row, double weight, const Scales& scales);
    void nudge(const float* row, double scale, double rest);
    Fit check(const float* row) const;
    double sum() const;

    NormalizingEN normalizing_;
    std::vector<float> fitted_;
    float weight_ = 1;
};

}  // namespace lumo
