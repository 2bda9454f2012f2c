// Noisy-max relations. A node is the maximum of independent draws: one for each parent that is not
// in its neutral state 0, and the leak.

#include <algorithm>
#include <cmath>
#include <vector>

#include "library/model/access.h"
#include "library/model/messages.h"
#include "library/model/netmodel.h"
#include "library/model/rows.h"
#include "library/utilities/exact.h"

namespace lumo {

namespace {

/// Distributions of the node: one for each parent state but the neutral ones, and the leak.
double Distributions(const Bnode_bn& node) {
    double count = 1;
    for (const Bnode_bn* parent : node.parents) count += std::max(parent->numStates() - 1, 0);
    return count;
}

/// The distribution as probabilities of at most each state. Sums to 1 exactly.
std::vector<double> Cumulative(const double* distribution, int states) {
    std::vector<double> result(static_cast<std::size_t>(states));
    double sum = 0;
    for (int s = 0; s < states; ++s) result[static_cast<std::size_t>(s)] = sum += distribution[s];
    for (double& p : result) p = sum > 0 ? p / sum : 1;
    return result;
}

/// Walks the rows of the table, keeping products of cumulative distributions: the product over the
/// first k parents is made anew only when one of them changes its state.
class Expansion {
public:
    /// Parameters count states in the order, rows and numbers of the table in the net's.
    Expansion(const Bnode_bn& node, const double* params, const int* order)
        : states_(node.numStates()), order_(order) {
        const int* ofParent = order == nullptr ? nullptr : order + states_;
        for (const Bnode_bn* parent : node.parents) {
            const int count = parent->numStates();
            rows_ *= count;
            if (count > 1) {  // else always neutral
                auto& draws = factors_.emplace_back().draws;
                draws.assign(static_cast<std::size_t>(count),
                             std::vector<double>(static_cast<std::size_t>(states_), 1.0));
                for (int k = 1; k < count; ++k, params += states_)
                    draws[ranked(ofParent, k)] = Cumulative(params, states_);
            }
            if (ofParent != nullptr) ofParent += count;
        }
        products_.resize(factors_.size() + 1);
        products_[0] = Cumulative(params, states_);
        multiplyFrom(0);
    }

    void writeTo(double* out) {
        for (long long row = 0; row < rows_; ++row, out += states_) {
            double below = 0;
            for (int s = 0; s < states_; ++s) {
                const double upTo = products_.back()[static_cast<std::size_t>(s)];
                out[ranked(order_, s)] = Tidied(std::max(upTo - below, 0.0));
                below = upTo;
            }
            advance();
        }
    }

private:
    /// The state that has the rank; without an order that is its number.
    static std::size_t ranked(const int* order, int rank) {
        return static_cast<std::size_t>(order == nullptr ? rank : order[rank]);
    }

    struct Factor {
        std::vector<std::vector<double>> draws;  // by the parent's state
        std::size_t state = 0;
    };

    void advance() {
        std::size_t at = factors_.size();
        while (at > 0) {
            Factor& factor = factors_[--at];
            if (++factor.state < factor.draws.size()) break;
            factor.state = 0;
        }
        multiplyFrom(at);
    }

    void multiplyFrom(std::size_t at) {
        for (; at < factors_.size(); ++at) {
            const std::vector<double>& draw = factors_[at].draws[factors_[at].state];
            products_[at + 1].resize(draw.size());
            std::transform(draw.begin(), draw.end(), products_[at].begin(),
                           products_[at + 1].begin(), std::multiplies<>());
        }
    }

    int states_;
    const int* order_;
    long long rows_ = 1;
    std::vector<Factor> factors_;
    std::vector<std::vector<double>> products_;
};

rept_kt* CheckParameters(const Bnode_bn& node, const double* params, int count) {
    const int states = node.numStates();
    for (int i = 0; i < count; i += states) {
        double sum = 0;
        for (int s = 0; s < states; ++s) {
            const double value = params[i + s];
            if (!(value >= 0 && value <= 1)) {
                return NewReport(msg::model.badParameter, i + s + 1, node.name(), value);
            }
            sum += value;
        }
        if (std::abs(sum - 1) > SumTolerance) {
            return NewReport(msg::model.badParameters, i + 1, i + states, node.name(), sum);
        }
    }
    return Okay_rept_kt;
}

}  // namespace

int NumCIParams(const Bnode_bn& node) {
    return static_cast<int>(std::min<double>(node.numStates() * Distributions(node), INT_MAX));
}

int NumFamilyStates(const Bnode_bn& node) {
    int count = 0;
    for (const Bnode_bn* member : node.family) count += member->numStates();
    return count;
}

bool IsFamilyOrder(const Bnode_bn& node, std::span<const int> order) {
    if (std::ssize(order) != NumFamilyStates(node)) return false;
    for (const Bnode_bn* member : node.family) {
        const auto states = static_cast<std::size_t>(member->numStates());
        std::vector<bool> seen(states, false);
        for (const int state : order.first(states)) {
            if (state < 0 || state >= member->numStates()) return false;
            if (seen[static_cast<std::size_t>(state)]) return false;
            seen[static_cast<std::size_t>(state)] = true;
        }
        order = order.subspan(states);
    }
    return true;
}

void ExpandNoisyMax(const Bnode_bn& node, const double* params, const int* order, double* out) {
    Expansion(node, params, order).writeTo(out);
}

rept_kt* Bnode_bn::makeIntoNoisyMax(const double* params, bool condense) {
    return makeIntoNoisyMax(params, nullptr, condense);
}

rept_kt* Bnode_bn::makeIntoNoisyMax(const double* params, const int* order, bool condense) {
    const int count = NumCIParams(*this);
    rept_kt* report = CheckParameters(*this, params, count);
    if (IsError(report)) return report;
    if (numStates() == 0) {  // nothing to tell, as for a table without entries
        relation.clear();
        ModelAccess::changed(*this);
        return Okay_rept_kt;
    }
    XArray<double> kept = NewXArray<double>(count);
    XArray<int> keptOrder;
    if (order != nullptr) keptOrder = NewXArray<int>(NumFamilyStates(*this));
    if (kept == nullptr || (order != nullptr && keptOrder == nullptr)) {
        return NewMemoryReport(msg::model.outOfMemoryForParameters, 8.0 * count, name());
    }
    std::copy(params, params + count, kept.get());
    if (order != nullptr) std::copy_n(order, NumFamilyStates(*this), keptOrder.get());
    XArray<float> table;
    XArray<double> exact;
    int entries = 0;
    if (!condense) {
        report = ModelAccess::checkTableSize(*this, entries);
        if (!IsError(report)) report = ModelAccess::chargeFilled(*this, entries);
        if (IsError(report)) return report;
        exact = NewXArray<double>(entries);
        table = NewXArray<float>(entries);
        if (exact == nullptr || table == nullptr) {
            return NewMemoryReport(msg::model.outOfMemoryForTable, 12.0 * entries, name());
        }
        ExpandNoisyMax(*this, params, order, exact.get());
        std::copy_n(exact.get(), entries, table.get());
        if (AreHeldByFloats(exact.get(), table.get(), entries)) exact.reset();
    }
    relation.clear();
    relation.kind = RelnKindEN::noisyMax;
    relation.params = kept.release();
    relation.order = keptOrder.release();
    if (table != nullptr) ModelAccess::installProbs(*this, std::move(table), entries);
    ModelAccess::installExact(*this, std::move(exact), entries);
    relation.rowsNormalized = relation.probs != nullptr;
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

}  // namespace lumo
