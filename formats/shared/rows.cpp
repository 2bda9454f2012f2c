#include "formats/shared/rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace lumo {
namespace {

constexpr int largestExpansion = 1 << 20;      // numbers of one table
constexpr long long mostExpanded = 1LL << 24;  // numbers of all expanded tables

/// Some readers take the sums of rows, near whole numbers made whole, for experience.
double ExperienceOf(double sum) {
    constexpr double tolerance = 0.004;
    const double nearest = std::round(sum);
    return std::fabs(sum - nearest) <= tolerance ? nearest + 0.0 : sum;
}

/// What a row is to sum to. Less than the tolerance is read as no experience at all.
double ScaleFor(double weight) {
    if (weight == 0) return 0x1p-10;
    return weight > 0 && std::isfinite(weight) ? weight : 1;
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

HeldTable Tables::of(const Bnode_bn& node) const {
    if (!IsCondensed(node)) return {node.relation.probs, node.relation.exact};
    if (!has(node)) return {};
    expanded_.resize(static_cast<std::size_t>(NumProduct(node.family)));
    ExpandNoisyMax(node, node.relation.params, node.relation.order, expanded_.data());
    return {nullptr, expanded_.data()};
}

// ---- Rows ----------------------------------------------------------------------------------

bool AreClose(float a, float b) { return a == b || std::nextafter(a, b) == b; }

bool AreClose(double a, double b) {
    constexpr double rounding = 4 * std::numeric_limits<double>::epsilon();
    return a == b || std::fabs(a - b) <= rounding * std::max(std::fabs(a), std::fabs(b));
}

void RowNumbers::choose(HeldTable row, int count, double weight) {
    weight_ = weight;
    numbers_.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) numbers_[static_cast<std::size_t>(i)] = row[i];
    if (weight == 1) return;
    for (double& number : numbers_) number = Tidied(number * ScaleFor(weight));
}

void RowNumbers::write(TextOut& out, std::string_view separator) const {
    char text[MostDigits];
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        if (i > 0) out << separator;
        out << std::string_view(text, static_cast<std::size_t>(writeOne(text, i) - text));
    }
}

char* RowNumbers::writeOne(char* to, std::size_t i) const { return WriteDigits(to, numbers_[i]); }

bool RowNumbers::keepsRow(HeldTable row) const {
    std::vector<double> read(numbers_);
    ScaleToOne(read.data(), static_cast<int>(read.size()));
    for (std::size_t i = 0; i < read.size(); ++i)
        if (!AreClose(row[static_cast<std::ptrdiff_t>(i)], read[i])) return false;
    return true;
}

bool KeepsRows(HeldTable table, const Bnode_bn& node) {
    return AllRows(table, node, {},
                   [](HeldTable row, const RowNumbers& numbers) { return numbers.keepsRow(row); });
}

bool RowNumbers::keepsWeight() const {
    const double sum = Tidied(ExactSum(numbers_.data(), static_cast<int>(numbers_.size())));
    return AreClose(sum == 0 ? 1 : ExperienceOf(sum), weight_);
}

}  // namespace lumo
