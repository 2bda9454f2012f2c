#include "export/rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr int largestExpansion = 1 << 20;      // numbers of one table
constexpr long long mostExpanded = 1LL << 24;  // numbers of all expanded tables
constexpr int mostTries = 64;
constexpr double step = 0x1p-22;  // between the scales tried: a few steps of a float

bool IsCondensed(const Bnode_bn& node) {
    return node.relation.params != nullptr && node.relation.probs == nullptr;
}

}  // namespace

// ---- Tables --------------------------------------------------------------------------------

Tables::Tables(const Bnet_bn& net) {
    long long budget = mostExpanded;
    for (const Bnode_bn* node : net.nodes) {
        if (!IsCondensed(*node)) continue;
        const int entries = NumProduct(node->family);
        if (entries <= largestExpansion && entries <= budget) {
            budget -= entries;
        } else {
            leftOut_.insert(node);
        }
    }
}

bool Tables::has(const Bnode_bn& node) const {
    return node.relation.kind != RelnKindEN::none && !leftOut_.contains(&node);
}

const float* Tables::of(const Bnode_bn& node) const {
    if (!IsCondensed(node)) return node.relation.probs;
    if (!has(node)) return nullptr;
    std::vector<int> parentStates;
    for (const Bnode_bn* parent : node.parents) parentStates.push_back(parent->numStates());
    expanded_.resize(static_cast<std::size_t>(NumProduct(node.family)));
    ExpandNoisyMax(node.relation.params, node.numStates(), parentStates.data(), node.parents.N,
                   expanded_.data());
    return expanded_.data();
}

// ---- Rows ----------------------------------------------------------------------------------

RowFitter::RowFitter(NormalizingEN normalizing, int states)
    : normalizing_(normalizing), fitted_(static_cast<std::size_t>(states)) {}

/// Whether reading the numbers gives the row.
bool RowFitter::reads(const float* row) {
    const auto count = static_cast<std::ptrdiff_t>(fitted_.size());
    sum_ = 0;
    if (normalizing_ == NormalizingEN::divide) {
        for (const float number : fitted_) sum_ += static_cast<double>(number);
    } else {
        for (std::ptrdiff_t i = count; i-- > 0;)
            sum_ += static_cast<double>(fitted_[static_cast<std::size_t>(i)]);
    }
    if (sum_ == 0 || sum_ == 1) return std::equal(fitted_.begin(), fitted_.end(), row);
    const double factor = 1.0 / sum_;
    for (std::size_t i = 0; i < fitted_.size(); ++i) {
        const double number = static_cast<double>(fitted_[i]);
        const float read = static_cast<float>(
            normalizing_ == NormalizingEN::divide ? number / sum_ : number * factor);
        if (read != row[i]) return false;
    }
    return true;
}

bool RowFitter::tryScale(const float* row, double scale) {
    for (std::size_t i = 0; i < fitted_.size(); ++i) {
        fitted_[i] = static_cast<float>(static_cast<double>(row[i]) * scale);
        if (fitted_[i] > std::numeric_limits<float>::max()) return false;
    }
    return reads(row);
}

/// Counts are written as such.
bool RowFitter::tryWhole(const float* row) {
    constexpr double tolerance = 1e-6;
    for (float& number : fitted_) {
        const double exact = static_cast<double>(number);
        const double whole = std::round(exact);
        if (std::fabs(exact - whole) <= tolerance * exact) number = static_cast<float>(whole);
    }
    return reads(row);
}

bool RowFitter::fit(const float* row, double weight) {
    const bool asItIs = tryScale(row, weight);
    if (weight != 1 && tryWhole(row)) return true;
    if (asItIs) return tryScale(row, weight);
    // Slightly larger numbers round differently, and among some such roundings there is one with
    // the right sum. A row that does not sum to 1 comes out changed whatever is tried.
    double total = 0;
    for (std::size_t i = 0; i < fitted_.size(); ++i) total += static_cast<double>(row[i]);
    constexpr double roundings = 1e-5;
    if (total > 1 - roundings && total < 1 + roundings) {
        for (int k = 1; k <= mostTries; ++k)
            if (tryScale(row, weight * (1 + k * step))) return true;
    }
    tryScale(row, weight);
    return false;
}

}  // namespace lumo
