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
    Expansion(const double* params, int childStates, const int* parentStates, int parents)
        : states_(childStates) {
        for (int p = 0; p < parents; ++p) {
            const int count = parentStates[p];
            rows_ *= count;
            if (count < 2) continue;  // always neutral
            factors_.emplace_back();
            factors_.back().draws.emplace_back(static_cast<std::size_t>(states_), 1.0);
            for (int k = 1; k < count; ++k, params += states_) {
                factors_.back().draws.push_back(Cumulative(params, states_));
            }
        }
        products_.resize(factors_.size() + 1);
        products_[0] = Cumulative(params, states_);
        multiplyFrom(0);
    }

    template <class T>
    void writeTo(T* out) {
        for (long long row = 0; row < rows_; ++row, out += states_) {
            double below = 0;
            for (int s = 0; s < states_; ++s) {
                const double upTo = products_.back()[static_cast<std::size_t>(s)];
                out[s] = static_cast<T>(Tidied(std::max(upTo - below, 0.0)));
                below = upTo;
            }
            advance();
        }
    }

private:
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

XArray<double> Expanded(const Bnode_bn& node, const double* params, int entries) {
    XArray<double> table = NewXArray<double>(entries);
    if (table == nullptr) return table;
    std::vector<int> parentStates;
    for (const Bnode_bn* parent : node.parents) parentStates.push_back(parent->numStates());
    ExpandNoisyMax(params, node.numStates(), parentStates.data(), node.parents.N, table.get());
    return table;
}

}  // namespace

int NumCIParams(const Bnode_bn& node) {
    return static_cast<int>(std::min<double>(node.numStates() * Distributions(node), INT_MAX));
}

void ExpandNoisyMax(const double* params, int childStates, const int* parentStates, int parents,
                    float* out) {
    Expansion(params, childStates, parentStates, parents).writeTo(out);
}

void ExpandNoisyMax(const double* params, int childStates, const int* parentStates, int parents,
                    double* out) {
    Expansion(params, childStates, parentStates, parents).writeTo(out);
}

rept_kt* Bnode_bn::makeIntoNoisyMax(const double* params, bool condense) {
    const int count = NumCIParams(*this);
    rept_kt* report = CheckParameters(*this, params, count);
    if (IsError(report)) return report;
    if (numStates() == 0) {  // nothing to tell, as for a table without entries
        relation.clear();
        ModelAccess::changed(*this);
        return Okay_rept_kt;
    }
    XArray<double> kept = NewXArray<double>(count);
    if (kept == nullptr) {
        return NewMemoryReport(msg::model.outOfMemoryForParameters, 8.0 * count, name());
    }
    std::copy(params, params + count, kept.get());
    XArray<float> table;
    XArray<double> exact;
    int entries = 0;
    if (!condense) {
        report = ModelAccess::checkTableSize(*this, entries);
        if (!IsError(report)) report = ModelAccess::chargeFilled(*this, entries);
        if (IsError(report)) return report;
        exact = Expanded(*this, params, entries);
        table = NewXArray<float>(entries);
        if (exact == nullptr || table == nullptr) {
            return NewMemoryReport(msg::model.outOfMemoryForTable, 12.0 * entries, name());
        }
        std::copy_n(exact.get(), entries, table.get());
        if (AreHeldByFloats(exact.get(), table.get(), entries)) exact.reset();
    }
    relation.clear();
    relation.kind = RelnKindEN::noisyMax;
    relation.params = kept.release();
    if (table != nullptr) ModelAccess::installProbs(*this, std::move(table), entries);
    ModelAccess::installExact(*this, std::move(exact), entries);
    relation.rowsNormalized = relation.probs != nullptr;
    ModelAccess::changed(*this);
    return Okay_rept_kt;
}

}  // namespace lumo
