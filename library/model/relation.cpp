// Relations: probability tables, real tables, experience, and the checks made on them.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <type_traits>

#include "library/model/access.h"
#include "library/model/messages.h"
#include "library/model/netmodel.h"
#include "library/model/rows.h"
#include "library/utilities/exact.h"

namespace lumo {

namespace {

/// Messages name no more of a row than this.
constexpr std::size_t MaxRowText = 200;

/// How a row was given while rows are set one by one.
enum RowMark : unsigned char {
    RowMissing,
    RowOfZeros,  // of a table that was there before
    RowByDefault,
    RowSingle
};

template <class T>
XArray<T> NewZeroed(long long count) {
    XArray<T> array = NewXArray<T>(count);
    if (array != nullptr) std::fill_n(array.get(), count, T{});
    return array;
}

rept_kt* TooLarge(const Bnode_bn& node, double entries) {
    return NewReport(msg::model.tableTooLarge, node.name(), entries, MaxTableEntries);
}

/// Whether all are seen at once to be finite and not negative: by their bits, many at a time.
template <class FLOAT>
bool AreProbabilities(const FLOAT* values, std::size_t count) {
    using Bits = std::conditional_t<sizeof(FLOAT) == 4, std::uint32_t, std::uint64_t>;
    constexpr Bits leastExponent = Bits{1} << (std::numeric_limits<FLOAT>::digits - 1);
    Bits any = 0;  // its first one is set by a sign, and by the greatest exponent with one more
    for (std::size_t i = 0; i < count; ++i) {
        const auto bits = std::bit_cast<Bits>(values[i]);
        any |= bits | (bits + leastExponent);
    }
    return any >> (std::numeric_limits<Bits>::digits - 1) == 0;
}

/// The first entry that is no probability, -1 when there is none. Rounding noise becomes 0.
int FirstBadProbability(float* values, int count, bool& noise) {
    if (AreProbabilities(values, static_cast<std::size_t>(count))) return -1;
    for (int i = 0; i < count; ++i) {
        if (IsRoundingNoise(values[i])) {
            values[i] = 0;
            noise = true;
        }
        if (!(values[i] >= 0) || std::isinf(values[i])) return i;
    }
    return -1;
}

/// Negative numbers of which the floats are 0, or became so, are rounding noise too.
void DropNoise(double* values, int count, bool& noise) {
    if (AreProbabilities(values, static_cast<std::size_t>(count))) return;
    for (double* value = values; value != values + count; ++value) {
        if (*value >= 0) continue;
        *value = 0;
        noise = true;
    }
}

rept_kt* BadEntry(const Bnode_bn& node, int row, int state, float value) {
    std::string place = RowText(node, row);
    if (!place.empty()) place = ", row " + place;
    char text[StateTextSize];
    return NewReport(msg::model.badTableEntry, node.name(), static_cast<double>(value),
                     statetostr1(state, node.variable, text), place.c_str());
}

void WarnNoise(Bnode_bn& node) {
    if (std::exchange(node.relation.noiseTold, true)) return;
    NewReport(msg::model.roundingNoise, node.name());
}

}  // namespace

void WarnZeroRow(const Bnode_bn& node, int row) {
    const std::string text = RowText(node, row);
    NewReport(msg::model.zeroRow, node.name(), text.empty() ? "" : ": ", text.c_str());
}

rept_kt* NoMemory(const Bnode_bn& node, double bytes) {
    return NewMemoryReport(msg::model.outOfMemoryForTable, bytes, node.name());
}

// ---- Sizes and rows ------------------------------------------------------------------------

double TableEntries(const Bnode_bn& node) {
    double entries = node.numStates();
    for (const Bnode_bn* parent : node.parents) {
        if (parent->numStates() == 0) return 0;
        entries *= parent->numStates();
    }
    return entries;
}

rept_kt* ModelAccess::checkTableSize(const Bnode_bn& node, int& entries) {
    entries = NumProduct(node.family);
    return entries <= MaxTableEntries ? Okay_rept_kt : TooLarge(node, TableEntries(node));
}

/// Gives the relation, which is clear, its table; a small one is copied into the arena.
void ModelAccess::installProbs(Bnode_bn& node, XArray<float> table, int entries) {
    float* const inArena =
        entries > FewEntries ? nullptr
                             : index(node).arena.tryTake<float>(static_cast<std::size_t>(entries));
    if (inArena != nullptr) std::copy_n(table.get(), entries, inArena);
    node.relation.probsInArena = inArena != nullptr;
    node.relation.probs = inArena != nullptr ? inArena : table.release();
}

rept_kt* ModelAccess::chargeFilled(const Bnode_bn& node, long long entries) {
    long long& filled = index(node).filledEntries;
    if (filled + entries <= MaxFilledEntries) {
        filled += entries;
        return Okay_rept_kt;
    }
    return NewReport(msg::model.defaultsTooLarge, node.name(), filled + entries, MaxFilledEntries);
}

std::string RowText(const Bnode_bn& node, int row) {
    const BndList_bn& parents = node.parents;
    std::vector<int> states(static_cast<std::size_t>(parents.N));
    for (int i = parents.N - 1; i >= 0; --i) {
        const int count = std::max(parents[i]->numStates(), 1);
        states[static_cast<std::size_t>(i)] = row % count;
        row /= count;
    }
    std::string text;
    char buffer[StateTextSize];
    for (int i = 0; i < parents.N; ++i) {
        if (text.size() > MaxRowText) return text + ", ...";
        if (i > 0) text += ", ";
        text += parents[i]->name();
        text += '=';
        text += statetostr1(states[static_cast<std::size_t>(i)], parents[i]->variable, buffer);
    }
    return text;
}

void SnapToInteger_kt(float* values, int count, double tolerance) {
    if (values == nullptr) return;
    for (int i = 0; i < count; ++i) {
        if (values[i] == 1.0F) continue;  // nearly all
        const double nearest = std::round(static_cast<double>(values[i]));
        if (std::abs(static_cast<double>(values[i]) - nearest) <= tolerance) {
            values[i] = static_cast<float>(nearest + 0.0);  // no negative zero
        }
    }
}

// ---- Relations -----------------------------------------------------------------------------

Reln_bn::~Reln_bn() { clear(); }

void Reln_bn::clear() {
    if (kind == RelnKindEN::none && exper == nullptr && rowMarks == nullptr) return;
    if (probsInArena) probs = nullptr;
    if (exactInArena) exact = nullptr;
    for (float** table : {&probs, &exper, &reals}) Free(*table);
    for (double** table : {&exact, &exactExper, &params}) Free(*table);
    Free(order);
    Free(rowMarks);
    kind = RelnKindEN::none;
    rowsNormalized = rowAgainTold = noiseTold = probsInArena = exactInArena = false;
    experFromCounts = saidDeterministic = false;
}

rept_kt* Reln_bn::setRealTable(float* table, Reln_bn*) {
    return setReals(XArray<float>(table), nullptr);
}

rept_kt* Reln_bn::setReals(XArray<float> owned, XArray<double> ownedExact) {
    const float* const table = owned.get();
    const double wanted =
        node->numStates() > 0 ? TableEntries(*node) : static_cast<double>(Rows(*node));
    if (wanted > MaxTableEntries) return TooLarge(*node, wanted);
    const int entries = static_cast<int>(wanted);
    if (table != nullptr) {
        const auto bad =
            std::find_if_not(table, table + entries, [](float v) { return std::isfinite(v); });
        const int states = std::max(node->numStates(), 1);
        const int place = static_cast<int>(bad - table);
        if (place < entries) return BadEntry(*node, place / states, place % states, *bad);
    }
    clear();
    if (table != nullptr && entries > 0) {
        reals = owned.release();
        kind = RelnKindEN::real;
        ModelAccess::installExact(*node, std::move(ownedExact), entries);
    }
    ModelAccess::changed(*node);
    return Okay_rept_kt;
}

bool Reln_bn::makeDeterminFromProbs(bool) {
    if (probs == nullptr || kind == RelnKindEN::noisyMax) return false;
    const int states = node->numStates();
    const float* row = probs;
    for (int rows = Rows(*node); rows > 0; --rows, row += states) {
        const auto ones = std::count(row, row + states, 1.0F);
        const auto zeros = std::count(row, row + states, 0.0F);
        if (ones != 1 || ones + zeros != states) return false;
    }
    kind = RelnKindEN::deterministic;
    return true;
}

// ---- Whole tables --------------------------------------------------------------------------

namespace {

/// The first row that sums to zero, -1 when there is none.
int FirstZeroRow(const Bnode_bn& node) {
    const int rows = Rows(node), states = node.numStates();
    const float* row = node.relation.probs;
    for (int r = 0; r < rows; ++r, row += states) {
        if (std::all_of(row, row + states, [](float p) { return p == 0; })) return r;
    }
    return -1;
}

}  // namespace

rept_kt* Bnode_bn::setProbsTable(float* table, bool normalized, CheckEN) {
    return setTable(XArray<float>(table), nullptr, normalized);
}

rept_kt* Bnode_bn::setTable(XArray<float> owned, XArray<double> ownedExact, bool normalized) {
    if (kind == UtilityNode) return relation.setReals(std::move(owned), std::move(ownedExact));
    float* const table = owned.get();
    double* const wide = ownedExact.get();
    int entries = 0;
    if (rept_kt* report = ModelAccess::checkTableSize(*this, entries); IsError(report)) {
        return report;
    }
    bool noise = false;
    if (table != nullptr) {
        const int bad = FirstBadProbability(table, entries, noise);
        if (bad >= 0) return BadEntry(*this, bad / numStates(), bad % numStates(), table[bad]);
        if (wide != nullptr) DropNoise(wide, entries, noise);
    }
    relation.clear();
    ModelAccess::changed(*this);
    if (table == nullptr || entries == 0) return Okay_rept_kt;
    ModelAccess::installProbs(*this, std::move(owned), entries);
    if (wide != nullptr) ModelAccess::installExact(*this, std::move(ownedExact), entries);
    relation.kind = RelnKindEN::table;
    relation.rowsNormalized = normalized;
    if (noise) WarnNoise(*this);
    if (normalized) {
        if (const int row = FirstZeroRow(*this); row >= 0) WarnZeroRow(*this, row);
    }
    return Okay_rept_kt;
}

// ---- Rows set one by one -------------------------------------------------------------------

namespace {

/// The rows that a list of parent states matches, some of which may be AnyParentState.
class RowPattern {
public:
    /// Reads the states. An error names one that its parent does not have. (Where a parent has no
    /// states there are no rows: numbers that do not fit an int then do not matter, and are
    /// bounded.)
    rept_kt* read(const Bnode_bn& node, const int* states) {
        const BndList_bn& parents = node.parents;
        long long stride = 1;
        for (int i = parents.N - 1; i >= 0; --i) {
            const int count = parents[i]->numStates();
            const int state = states[i];
            if (state == AnyParentState) {
                if (count != 1) wild_.push_back({count, stride, 0});
                matches_ = std::min<long long>(matches_ * count, INT_MAX);
            } else if (state >= 0 && state < count) {
                row_ += state * stride;
            } else {
                return NewReport(msg::model.badParentState, state, parents[i]->name(), node.name(),
                                 count);
            }
            single_ = single_ && state != AnyParentState;
            stride = std::min<long long>(stride * count, INT_MAX);
        }
        return Okay_rept_kt;
    }

    bool single() const { return single_; }                     ///< no state was AnyParentState
    int matches() const { return static_cast<int>(matches_); }  ///< rows that match
    int row() const { return static_cast<int>(row_); }          ///< the present row, a match

    /// Goes on to the next matching row.
    void advance() {
        for (Wild& wild : wild_) {
            row_ += wild.stride;
            if (++wild.state < wild.count) return;
            row_ -= wild.count * wild.stride;
            wild.state = 0;
        }
    }

private:
    struct Wild {
        int count;
        long long stride;
        int state;
    };
    std::vector<Wild> wild_;  // the parent that varies fastest first
    long long row_ = 0;
    long long matches_ = 1;
    bool single_ = true;
};

/// Marks the rows of a table that is there already: those of zeros may yet be given.
void MarkRows(Bnode_bn& node) {
    const int states = node.numStates();
    const float* row = node.relation.probs;
    for (int r = 0; r < Rows(node); ++r, row += states) {
        const bool zeros = std::all_of(row, row + states, [](float p) { return p == 0; });
        node.relation.rowMarks[r] = zeros ? RowOfZeros : RowSingle;
    }
}

/// Makes the table and the marks of its rows, as far as they are missing. A table that is about to
/// be set whole is not cleared first.
rept_kt* PrepareRows(Bnode_bn& node, int entries, bool setWhole) {
    Reln_bn& relation = node.relation;
    const int rows = Rows(node);
    if (relation.probs != nullptr && relation.kind != RelnKindEN::noisyMax) {
        if (relation.rowMarks != nullptr) return Okay_rept_kt;
        relation.rowMarks = NewXArray<unsigned char>(rows).release();
        if (relation.rowMarks == nullptr) return NoMemory(node, rows);
        MarkRows(node);
        return Okay_rept_kt;
    }
    if (rept_kt* report = ModelAccess::chargeFilled(node, entries); IsError(report)) return report;
    XArray<float> probs = setWhole ? NewXArray<float>(entries) : NewZeroed<float>(entries);
    XArray<unsigned char> marks = NewZeroed<unsigned char>(rows);
    if (probs == nullptr || marks == nullptr) return NoMemory(node, 4.0 * entries + rows);
    relation.clear();
    ModelAccess::installProbs(node, std::move(probs), entries);
    relation.rowMarks = marks.release();
    return Okay_rept_kt;
}

void WarnRowAgain(Bnode_bn& node, int row) {
    if (std::exchange(node.relation.rowAgainTold, true)) return;
    const std::string text = RowText(node, row);
    NewReport(msg::model.rowAgain, node.name(), text.empty() ? "" : ": ", text.c_str());
}

/// Fills the block with copies of its first `filled` elements.
template <class T>
void Repeat(T* block, std::size_t filled, std::size_t size) {
    while (filled < size) {
        const std::size_t more = std::min(filled, size - filled);
        std::memcpy(block + filled, block, more * sizeof(T));
        filled += more;
    }
}

/// The place of a row in the table of double precision, which is there when it or the row says more
/// than floats; else null, also without memory.
double* ExactRow(Bnode_bn& node, std::size_t row, const double* values) {
    Reln_bn& relation = node.relation;
    if (relation.exact == nullptr && values != nullptr) {
        const int entries = NumProduct(node.family);
        XArray<double> exact = NewXArray<double>(entries);
        const auto isMissing = [](unsigned char mark) { return mark == RowMissing; };
        if (exact != nullptr &&
            std::all_of(relation.rowMarks, relation.rowMarks + Rows(node), isMissing))
            std::fill_n(exact.get(), entries, 0.0);
        else if (exact != nullptr)
            ShortestDoubles(relation.probs, entries, exact.get());
        ModelAccess::installExact(node, std::move(exact), entries);
    }
    return relation.exact == nullptr
               ? nullptr
               : relation.exact + row * static_cast<std::size_t>(node.numStates());
}

/// Sets a row of it to the values; null: to what the floats say.
void SetExactRow(Bnode_bn& node, std::size_t row, const float* probs, const double* values) {
    double* const to = ExactRow(node, row, values);
    if (to == nullptr) return;
    if (values != nullptr)
        std::copy_n(values, node.numStates(), to);
    else
        ShortestDoubles(probs, node.numStates(), to);
}

void WriteRows(Bnode_bn& node, RowPattern& pattern, const std::vector<float>& values,
               const double* exact) {
    Reln_bn& relation = node.relation;
    if (!pattern.single() && pattern.matches() == Rows(node)) {
        const auto rows = static_cast<std::size_t>(pattern.matches());
        const auto* given = std::find_if(relation.rowMarks, relation.rowMarks + rows,
                                         [](unsigned char m) { return m >= RowByDefault; });
        if (given != relation.rowMarks + rows)
            WarnRowAgain(node, static_cast<int>(given - relation.rowMarks));
        std::copy(values.begin(), values.end(), relation.probs);
        Repeat(relation.probs, values.size(), rows * values.size());
        SetExactRow(node, 0, values.data(), exact);
        if (relation.exact != nullptr) Repeat(relation.exact, values.size(), rows * values.size());
        std::fill_n(relation.rowMarks, rows, RowByDefault);
        return;
    }
    const unsigned char mark = pattern.single() ? RowSingle : RowByDefault;
    for (int n = pattern.matches(); n > 0; --n, pattern.advance()) {
        const auto row = static_cast<std::size_t>(pattern.row());
        if (relation.rowMarks[row] == RowSingle) WarnRowAgain(node, pattern.row());
        std::copy(values.begin(), values.end(), relation.probs + row * values.size());
        if (exact != nullptr || relation.exact != nullptr)
            SetExactRow(node, row, values.data(), exact);
        relation.rowMarks[row] = mark;
    }
}

}  // namespace

namespace {

/// Sets a row of a table that was prepared for the row before, the usual case. False when there is
/// more to do or something to say.
bool SetNextRow(Bnode_bn& node, const int* parentStates, const float* probs, const double* exact) {
    Reln_bn& relation = node.relation;
    if (relation.rowMarks == nullptr || relation.kind != RelnKindEN::table) return false;
    std::size_t row = 0;
    for (const Bnode_bn* parent : node.parents) {
        const auto count = static_cast<std::size_t>(parent->numStates());
        const auto state = static_cast<std::size_t>(*parentStates++);  // huge when negative
        if (state >= count) return false;
        row = row * count + state;
    }
    const auto states = static_cast<std::size_t>(node.numStates());
    if (relation.rowMarks[row] != RowMissing || !AreProbabilities(probs, states)) return false;
    if (exact != nullptr && !AreProbabilities(exact, states)) return false;
    std::copy_n(probs, states, relation.probs + row * states);
    if (exact != nullptr || relation.exact != nullptr) SetExactRow(node, row, probs, exact);
    relation.rowMarks[row] = RowSingle;
    ModelAccess::changed(node);
    return true;
}

}  // namespace

rept_kt* Bnode_bn::setProbsEntry2(const int* parentStates, const float* probs, bool, CheckEN) {
    return setRow(parentStates, probs, nullptr);
}

rept_kt* Bnode_bn::setRow(const int* parentStates, const float* probs, const double* exact) {
    if (SetNextRow(*this, parentStates, probs, exact)) return Okay_rept_kt;
    int entries = 0;
    rept_kt* report = ModelAccess::checkTableSize(*this, entries);
    if (IsError(report)) return report;
    RowPattern pattern;
    report = pattern.read(*this, parentStates);
    if (IsError(report) || entries == 0) return report;

    std::vector<float> values(probs, probs + numStates());
    bool noise = false;
    const int bad = FirstBadProbability(values.data(), numStates(), noise);
    if (bad >= 0) return BadEntry(*this, pattern.row(), bad, values[static_cast<std::size_t>(bad)]);

    const bool whole = pattern.matches() == Rows(*this);
    report = PrepareRows(*this, entries, whole);
    if (IsError(report)) return report;
    if (!pattern.single()) {
        report = ModelAccess::chargeFilled(*this, 1LL * pattern.matches() * numStates());
        if (IsError(report)) return report;
    }
    if (noise) WarnNoise(*this);
    std::vector<double> tidied(exact, exact + (exact != nullptr ? numStates() : 0));
    DropNoise(tidied.data(), static_cast<int>(tidied.size()), noise);  // told of the floats
    WriteRows(*this, pattern, values, exact != nullptr ? tidied.data() : nullptr);
    relation.kind = RelnKindEN::table;
    relation.rowsNormalized = false;
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

void Bnode_bn::finishRows() {
    if (relation.rowMarks == nullptr) return;
    const int rows = Rows(*this);
    const auto missing = std::count(relation.rowMarks, relation.rowMarks + rows, RowMissing);
    Free(relation.rowMarks);
    if (missing == 0) return;
    NewReport(msg::model.rowsMissing, static_cast<int>(missing), rows, name());
}

// ---- Checks --------------------------------------------------------------------------------

namespace {

bool IsOne(double sum) { return std::abs(sum - 1) <= SumTolerance; }

/// Whether every row sums to 1 when the table is read with the child's state slowest.
bool SumsToOneStateSlowest(const float* table, int states, int rows) {
    for (int r = 0; r < rows; ++r) {
        double sum = 0;
        for (int s = 0; s < states; ++s) {
            sum += static_cast<double>(table[static_cast<std::ptrdiff_t>(s) * rows + r]);
        }
        if (!IsOne(sum)) return false;
    }
    return true;
}

}  // namespace

void Bnode_bn::checkRowSums() const {
    if (kind != NatureNode || relation.kind != RelnKindEN::table || relation.probs == nullptr)
        return;
    const int rows = Rows(*this), states = numStates();
    int bad = -1, zero = -1, r = 0;
    double badSum = 0;
    ForEachRow(relation.probs, states, rows, [&](const float*, double sum) {
        if (sum == 0) {
            if (zero < 0) zero = r;
        } else if (bad < 0 && !IsOne(sum)) {
            bad = r;
            badSum = sum;
        }
        ++r;
    });
    if (zero >= 0) WarnZeroRow(*this, zero);
    if (bad < 0) return;
    const std::string row = RowText(*this, bad);
    const bool turned = SumsToOneStateSlowest(relation.probs, states, rows);
    NewReport(msg::model.rowSum, row.c_str(), row.empty() ? "" : " ", name(), badSum,
              turned ? "; all would sum to 1 if the table were read with the state of the node "
                       "varying slowest"
                     : "");
}

}  // namespace lumo
