// Tables in double precision beside those of floats, and what is computed of both: rows that are
// made to sum to 1, and their experience.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <vector>

#include "library/model/access.h"
#include "library/model/netmodel.h"
#include "library/model/rows.h"
#include "library/utilities/exact.h"

namespace lumo {

namespace {

/// How far from 1 the sum of floats may be that are the roundings of numbers that sum to 1, and how
/// far that of doubles.
constexpr double FloatNoise = 0.51 * FLT_EPSILON;
constexpr double DoubleNoise = 1e-12;

bool IsOne(double sum, double noise) { return std::abs(sum - 1) <= noise; }

/// Makes the row, which has that sum, sum to 1.
void ScaleRow(double* row, int states, double sum) {
    if (sum == 0 || IsOne(sum, DoubleNoise)) return;
    // A row that floats hold is a row of floats, also beside others.
    double floatSum = 0;
    bool held = true;
    for (int s = 0; s < states && held; ++s) {
        const auto value = static_cast<float>(row[s]);
        held = ShortestDouble(value) == row[s];
        floatSum += static_cast<double>(value);
    }
    if (held && IsOne(floatSum, FloatNoise)) return;
    const double divisor = Tidied(sum);
    std::transform(row, row + states, row, [divisor](double p) { return Tidied(p / divisor); });
}

/// Scales the rows of a table that is held in one precision or two.
class RowScaling {
public:
    RowScaling(float* probs, double* exact, int states, int rows)
        : probs_(probs),
          exact_(exact),
          given_(exact != nullptr),
          states_(states),
          entries_(std::ptrdiff_t{1} * states * rows) {}

    /// Scales a row of which that is the sum of the floats, and returns that of the numbers.
    double scale(float* row, double sum) {
        if (!given_) return IsOne(sum, FloatNoise) ? sum : scaleFloats(row, sum);
        double* const exact = exact_ + (row - probs_);
        const double exactSum = ExactSum(exact, states_);
        ScaleRow(exact, states_, exactSum);
        if (sum != 0 && !IsOne(sum, FloatNoise)) divide(row, sum);
        return Tidied(exactSum);
    }

    /// The table of double precision, when one had to be made.
    XArray<double> made() { return std::move(made_); }

private:
    /// The floats hold what the file says. Whether they hold it scaled, shows.
    double scaleFloats(float* row, double sum) {
        if (sum == 0) return sum;
        const bool isMade = exact_ != nullptr;
        if (!isMade) decimals_.resize(static_cast<std::size_t>(states_));
        double* const numbers = isMade ? exact_ + (row - probs_) : decimals_.data();
        if (!isMade) ShortestDoubles(row, states_, numbers);
        const double exactSum = Tidied(ExactSum(numbers, states_));
        divide(numbers, exactSum);
        divide(row, sum);
        if (!isMade && !AreHeldByFloats(numbers, row, states_)) make(row);
        return exactSum;
    }

    /// Makes the table: of the row these decimals, of the others those of their floats. Without
    /// memory for it single precision has to do.
    void make(const float* row) {
        made_ = NewXArray<double>(entries_);
        if (made_ == nullptr) return;
        exact_ = made_.get();
        ShortestDoubles(probs_, entries_, exact_);
        std::copy(decimals_.begin(), decimals_.end(), exact_ + (row - probs_));
    }

    void divide(double* row, double sum) const {
        std::transform(row, row + states_, row, [sum](double p) { return Tidied(p / sum); });
    }
    void divide(float* row, double sum) const {
        std::transform(row, row + states_, row,
                       [sum](float p) { return static_cast<float>(static_cast<double>(p) / sum); });
    }

    float* probs_;
    double* exact_;
    bool given_;
    int states_;
    std::ptrdiff_t entries_;
    std::vector<double> decimals_;  // of a row
    XArray<double> made_;
};

}  // namespace

/// Gives the relation, whose floats are set, the table beside them, where it says more; a small one
/// is copied into the arena.
void ModelAccess::installExact(Bnode_bn& node, XArray<double> exact, int entries) {
    Reln_bn& relation = node.relation;
    if (!relation.exactInArena) Free(relation.exact);
    relation.exact = nullptr;
    relation.exactInArena = false;
    const float* const floats = relation.probs != nullptr ? relation.probs : relation.reals;
    if (exact == nullptr || floats == nullptr) return;
    double* const inArena =
        entries > FewEntries ? nullptr
                             : index(node).arena.tryTake<double>(static_cast<std::size_t>(entries));
    if (inArena != nullptr) std::copy_n(exact.get(), entries, inArena);
    relation.exactInArena = inArena != nullptr;
    relation.exact = inArena != nullptr ? inArena : exact.release();
}

void ScaleToOne(double* row, int states) { ScaleRow(row, states, ExactSum(row, states)); }

void NormalizeRow(float* row, double* exact, int states) {
    RowScaling(row, exact, states, 1).scale(row, SumOf(row, states));
}

int NormalizeBelvecTable(float* table, int states, int rows, XArray<double>* exact) {
    const bool isExact = exact != nullptr && *exact != nullptr;
    // The usual row of readers that scale one at a time.
    if (rows == 1 && !isExact && IsOne(SumOf(table, states), FloatNoise)) return 0;
    int zeroRows = 0;
    RowScaling scaling(table, isExact ? exact->get() : nullptr, states, rows);
    ForEachRow(table, states, rows, [&](float* row, double sum) {
        zeroRows += sum == 0 ? 1 : 0;
        scaling.scale(row, sum);
    });
    if (XArray<double> made = scaling.made(); exact != nullptr && made != nullptr)
        *exact = std::move(made);
    return zeroRows;
}

void Reln_bn::normalize_(double tolerance) {
    if (probs == nullptr) return;
    const int rows = Rows(*node), states = node->numStates();
    int row = 0, zeroRow = -1;
    bool memory = true;
    RowScaling scaling(probs, exact, states, rows);
    ForEachRow(probs, states, rows, [&](float* values, double sum) {
        const double exactSum = scaling.scale(values, sum);
        if (sum == 0) {
            if (zeroRow < 0) zeroRow = row;
        } else if (std::abs(sum - 1) > tolerance && memory) {
            memory = scaleExperience(row, rows, sum, exactSum);
        }
        ++row;
    });
    if (XArray<double> made = scaling.made(); made != nullptr)
        ModelAccess::installExact(*node, std::move(made), rows * states);
    if (!memory) return ShowReport(NoMemory(*node, 4.0 * rows));
    rowsNormalized = true;
    ModelAccess::changed(*node);
    if (zeroRow >= 0) WarnZeroRow(*node, zeroRow);
}

int Reln_bn::scaleRows(double most) {
    if (probs == nullptr) return 0;
    const int rows = Rows(*node), states = node->numStates();
    int scaled = 0;
    RowScaling scaling(probs, exact, states, rows);
    const bool isExact = exact != nullptr;
    ForEachRow(probs, states, rows, [&](float* values, double sum) {
        if (std::abs(sum - 1) > most) return;
        const double exactSum = scaling.scale(values, sum);
        if (sum != 0 && !(isExact ? IsOne(exactSum, DoubleNoise) : IsOne(sum, FloatNoise)))
            ++scaled;
    });
    if (XArray<double> made = scaling.made(); made != nullptr)
        ModelAccess::installExact(*node, std::move(made), rows * states);
    if (scaled > 0) ModelAccess::changed(*node);
    return scaled;
}

// ---- Experience ----------------------------------------------------------------------------

void Reln_bn::setExperTable(float* table, double* wide) {
    Free(exper);
    Free(exactExper);
    exper = table;
    exactExper = wide;
    experFromCounts = false;
    ModelAccess::changed(*node);
}

/// Multiplies the experience of a row, one of so many, by its former sum. False without memory.
bool Reln_bn::scaleExperience(int row, int rows, double sum, double exactSum) {
    if (exper == nullptr) {
        exper = NewXArray<float>(rows).release();
        if (exper == nullptr) return false;
        std::fill_n(exper, rows, 1.0F);
        experFromCounts = true;
    }
    const double former = exactExper != nullptr ? exactExper[row] : ShortestDouble(exper[row]);
    exper[row] = static_cast<float>(static_cast<double>(exper[row]) * sum);
    const double scaled = former * exactSum;
    if (exactExper == nullptr && ShortestDouble(exper[row]) != scaled) {
        exactExper = NewXArray<double>(rows).release();
        if (exactExper != nullptr) ShortestDoubles(exper, rows, exactExper);
    }
    if (exactExper != nullptr) exactExper[row] = scaled;
    return true;
}

void Reln_bn::snapExperience(double tolerance) {
    if (exper == nullptr) return;
    const int rows = Rows(*node);
    SnapToInteger_kt(exper, rows, tolerance);
    if (exactExper == nullptr) return;
    for (int row = 0; row < rows; ++row) {
        const double whole = std::round(exactExper[row]);
        if (std::abs(exactExper[row] - whole) <= tolerance) exactExper[row] = whole + 0.0;
    }
    if (AreHeldByFloats(exactExper, exper, rows)) Free(exactExper);
}

// ---- Both precisions -----------------------------------------------------------------------

void Reln_bn::dropExact() {
    ModelAccess::installExact(*node, {}, 0);
    Free(exactExper);
}

int Reln_bn::keepPossible() {
    if (probs == nullptr || exact == nullptr) return 0;
    const int entries = NumProduct(node->family);
    const bool anyZero = std::count(probs, probs + entries, 0.0F) > 0;  // many at a time
    if (!anyZero && kind != RelnKindEN::deterministic) return 0;
    int kept = 0;
    bool zeroOne = true;
    for (int i = 0; i < entries; ++i) {
        zeroOne = zeroOne && (exact[i] == 0 || exact[i] == 1);
        if (probs[i] != 0 || !(exact[i] > 0)) continue;
        probs[i] = std::max(static_cast<float>(exact[i]), FLT_TRUE_MIN);
        ++kept;
    }
    if (kind == RelnKindEN::deterministic && !zeroOne) kind = RelnKindEN::table;
    return kept;
}

}  // namespace lumo
