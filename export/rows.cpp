#include "export/rows.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr int largestExpansion = 1 << 20;      // numbers of one table
constexpr long long mostExpanded = 1LL << 24;  // numbers of all expanded tables

constexpr RowFitter::Scales fineScales = {-64, 64, 0x1p-28};  // parts of a step of a float
constexpr RowFitter::Scales wideScales = {1, 512, 0x1p-24};

/// Whether the numbers sum to 1 but for their rounding; other rows come out changed whatever is
/// tried.
bool IsRounded(const float* row, std::size_t count) {
    constexpr double roundings = 1e-5;
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) sum += static_cast<double>(row[i]);
    return std::fabs(sum - 1) < roundings;
}

/// Some readers take the sums of rows, near whole numbers made whole, for experience.
float ExperienceOf(double sum) {
    constexpr double tolerance = 0.004;
    const auto read = static_cast<float>(sum);
    const double nearest = std::round(static_cast<double>(read));
    return std::fabs(static_cast<double>(read) - nearest) <= tolerance
               ? static_cast<float>(nearest + 0.0)
               : read;
}

/// What a row is to sum to. Less than the tolerance is read as no experience at all.
double ScaleFor(float weight) {
    if (weight == 0) return 0x1p-10;
    return weight > 0 && std::isfinite(weight) ? static_cast<double>(weight) : 1;
}

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

double RowFitter::sum() const {
    double sum = 0;
    const auto add = [&sum](float number) { sum += static_cast<double>(number); };
    if (normalizing_ == NormalizingEN::divide) {
        std::for_each(fitted_.begin(), fitted_.end(), add);
    } else {
        std::for_each(fitted_.rbegin(), fitted_.rend(), add);
    }
    return sum;
}

/// What reading the numbers gives.
RowFitter::Fit RowFitter::check(const float* row) const {
    const double sum = this->sum();
    const bool divides = normalizing_ == NormalizingEN::divide;
    const bool weighs = !divides || (sum == 0 ? 1 : ExperienceOf(sum)) == weight_;
    if (sum == 0 || sum == 1) return {std::equal(fitted_.begin(), fitted_.end(), row), weighs};
    const double factor = 1.0 / sum;
    const auto same = [&](float number, float wanted) {
        const double exact = static_cast<double>(number);
        return static_cast<float>(divides ? exact / sum : exact * factor) == wanted;
    };
    return {std::equal(fitted_.begin(), fitted_.end(), row, same), weighs};
}

RowFitter::Fit RowFitter::tryScale(const float* row, double scale) {
    for (std::size_t i = 0; i < fitted_.size(); ++i)
        fitted_[i] = static_cast<float>(static_cast<double>(row[i]) * scale);
    return check(row);
}

/// Counts are written as such.
RowFitter::Fit RowFitter::tryWhole(const float* row) {
    constexpr double tolerance = 1e-6;
    for (float& number : fitted_) {
        const double exact = static_cast<double>(number);
        const double whole = std::round(exact);
        if (std::fabs(exact - whole) <= tolerance * exact) number = static_cast<float>(whole);
    }
    return check(row);
}

/// Numbers of a few digits, which the program that wrote the row first may have known.
RowFitter::Fit RowFitter::tryDigits(const float* row, double scale, int digits) {
    for (std::size_t i = 0; i < fitted_.size(); ++i) {
        char text[32];
        const double exact = static_cast<double>(row[i]) * scale;
        const auto written = std::to_chars(text, text + sizeof text, exact,
                                           std::chars_format::scientific, digits - 1);
        double rounded = 0;
        std::from_chars(text, written.ptr, rounded);
        fitted_[i] = static_cast<float>(rounded);
    }
    return check(row);
}

/// Moves numbers by a step each, where they read the same, as long as it brings their sum nearer to
/// the scale, from which it is `rest` away.
void RowFitter::nudge(const float* row, double scale, double rest) {
    for (std::size_t i = 0; i < fitted_.size(); ++i) {
        const float other = std::nextafter(fitted_[i], rest > 0 ? HUGE_VALF : 0.0F);
        const double change = static_cast<double>(other) - static_cast<double>(fitted_[i]);
        const double read = static_cast<double>(other) / scale;
        if (std::fabs(rest - change) >= std::fabs(rest) || static_cast<float>(read) != row[i])
            continue;
        fitted_[i] = other;
        rest -= change;
    }
}

/// Slightly other numbers round differently, and among some such roundings there is one with the
/// right sum.
bool RowFitter::search(const float* row, double weight, const Scales& scales) {
    for (int k = scales.first; k <= scales.last; ++k) {
        const double scale = weight * (1 + k * scales.step);
        double total = 0;
        for (std::size_t i = 0; i < fitted_.size(); ++i) {
            fitted_[i] = static_cast<float>(static_cast<double>(row[i]) * scale);
            total += static_cast<double>(fitted_[i]);
        }
        nudge(row, scale, scale - total);
        const Fit got = check(row);
        if (got.row && got.weight) return true;
    }
    return false;
}

RowFitter::Fit RowFitter::fit(const float* row, float weight) {
    weight_ = weight;
    const double scale = ScaleFor(weight);
    const Fit plain = tryScale(row, scale);
    const bool done = plain.row && plain.weight;
    if (done && weight == 1) return plain;
    if (weight != 1) {
        const Fit whole = tryWhole(row);
        if (whole.row && whole.weight) return whole;
    }
    if (done || !IsRounded(row, fitted_.size())) return tryScale(row, scale);
    for (const int digits : {6, 7}) {
        const Fit decimals = tryDigits(row, scale, digits);
        if (decimals.row && decimals.weight) return decimals;
    }
    // A weight that is no whole number leaves little room.
    const bool roomy = weight == std::round(weight);
    if (search(row, scale, fineScales) || (roomy && search(row, scale, wideScales)))
        return {true, true};
    return tryScale(row, scale);
}

}  // namespace lumo
