// Rows of a table that are counts, and those that only their sum makes so.
#pragma once

#include <cmath>

namespace lumo::hugin {

/// How near to a whole number a count, or to 1 the sum of probabilities, is taken to be it.
constexpr double CountTolerance = 0.004;

/// Whether a row of that sum is rather one of probabilities with a slip than one of counts.
inline bool LooksLikeSlip(double sum) {
    constexpr double nearOne = 0.2 + 1e-6;  // the sum may be a float
    return sum > 0 && sum <= 1 + nearOne && std::abs(sum - 1) > CountTolerance;
}

}  // namespace lumo::hugin
