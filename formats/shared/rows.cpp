#include "formats/shared/rows.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace lumo {
namespace {

constexpr int largestExpansion = 1 << 20;      // numbers of one table
constexpr long long mostExpanded = 1LL << 24;  // numbers of all expanded tables

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

namespace {

/// The float that many steps further on; both positive.
float Step(float value, int steps) {
    return std::bit_cast<float>(std::bit_cast<std::int32_t>(value) + steps);
}

double Middle(float a, float b) { return (static_cast<double>(a) + static_cast<double>(b)) / 2; }

/// Zeros at the end of the number.
int Zeros(std::int64_t number) {
    int zeros = 0;
    for (; number != 0 && number % 10 == 0; number /= 10) ++zeros;
    return zeros;
}

/// Whether a part of a sum is read as the number.
bool IsCloseTo(float number, float part, double sum) {
    return sum == 0 || AreClose(static_cast<float>(static_cast<double>(part) / sum), number);
}

/// One with that many places, as a whole number.
std::int64_t OneWith(int places) { return PowersOf10[static_cast<std::size_t>(places)]; }

}  // namespace

bool AreClose(float a, float b) { return a == b || std::nextafter(a, b) == b; }

/// The numbers of at most 7 digits that read back to a float up to `ulps` steps away, none when low
/// is above high. What is less than 1 stays so.
RowNumbers::Window RowNumbers::windowOf(float number, int ulps) {
    if (number == 0) return {};
    if (number == 1) return {0, 1, 1, 1};
    if (!(number > Step(0.0F, 2) && number < 1)) return {0, 1, 0, 1};
    const double exact = static_cast<double>(number);
    Window window{7, 0, 0, 0};
    while (window.places < MostPlaces && exact * static_cast<double>(OneWith(window.places)) < 1e6)
        ++window.places;
    const auto scale = static_cast<double>(OneWith(window.places));
    const double least = Middle(Step(number, -ulps), Step(number, -ulps - 1)) * scale;
    const double most = Middle(Step(number, ulps), Step(number, ulps + 1)) * scale;
    window.low = static_cast<std::int64_t>(least) + 1;
    window.high = std::min(static_cast<std::int64_t>(most), OneWith(window.places) - 1);
    window.chosen = window.low;
    for (std::int64_t other = window.low + 1; other <= window.high; ++other)
        if (Zeros(other) > Zeros(window.chosen)) window.chosen = other;
    return window;
}

/// Takes the numbers with the fewest digits, and of others as many as the sum needs.
bool RowNumbers::chooseDecimals(const float* row, int ulps) {
    const std::int64_t one = OneWith(MostPlaces);
    std::int64_t rest = one;
    decimals_.clear();
    for (std::size_t i = 0; i < floats_.size(); ++i) {
        const Window& window = decimals_.emplace_back(windowOf(row[i], ulps));
        rest -= window.chosen * OneWith(MostPlaces - window.places);
        if (window.low > window.high || rest < -one) return false;
    }
    for (Window& window : decimals_) {
        if (rest == 0) break;
        const std::int64_t unit = OneWith(MostPlaces - window.places);
        const std::int64_t move =
            std::clamp(rest / unit, window.low - window.chosen, window.high - window.chosen);
        window.chosen += move;
        rest -= move * unit;
    }
    return rest == 0;
}

/// Counts are written as such; false when not all are whole numbers.
bool RowNumbers::chooseCounts() {
    constexpr double tolerance = 0x1p-23;
    bool all = true;
    for (float& number : floats_) {
        const double exact = static_cast<double>(number), whole = std::round(exact);
        const bool isWhole = std::fabs(exact - whole) <= tolerance * exact;
        if (isWhole) number = static_cast<float>(whole);
        all = all && isWhole;
    }
    return all;
}

void RowNumbers::choose(const float* row, int count, float weight) {
    constexpr double mostTimes = 9000;  // what the whole numbers of decimals have room for
    weight_ = weight;
    times_ = 0;
    const double scale = ScaleFor(weight);
    floats_.resize(static_cast<std::size_t>(count));
    std::transform(row, row + count, floats_.begin(), [scale](float number) {
        return static_cast<float>(static_cast<double>(number) * scale);
    });
    if (weight != 1 && chooseCounts()) return;
    if (scale != std::round(scale) || scale > mostTimes) return;
    const bool exact = chooseDecimals(row, 0);
    if (exact || chooseDecimals(row, 1)) times_ = static_cast<std::int64_t>(scale);
    if (!exact && !keepsRow(row)) times_ = 0;
}

void RowNumbers::write(TextOut& out, std::string_view separator) const {
    char text[MostDigits];
    for (std::size_t i = 0; i < floats_.size(); ++i) {
        if (i > 0) out << separator;
        out << std::string_view(text, static_cast<std::size_t>(writeOne(text, i) - text));
    }
}

char* RowNumbers::writeOne(char* to, std::size_t i) const {
    return times_ == 0 ? WriteDigits(to, floats_[i])
                       : WriteDecimal(to, decimals_[i].chosen * times_, decimals_[i].places);
}

float RowNumbers::asRead(std::size_t i) const {
    if (times_ == 0) return floats_[i];
    return static_cast<float>(static_cast<double>(decimals_[i].chosen * times_) /
                              static_cast<double>(OneWith(decimals_[i].places)));
}

double RowNumbers::sum() const {
    double sum = 0;
    for (std::size_t i = 0; i < floats_.size(); ++i) sum += static_cast<double>(asRead(i));
    return sum;
}

bool RowNumbers::keepsRow(const float* row) const {
    const double sum = this->sum();
    for (std::size_t i = 0; i < floats_.size(); ++i)
        if (!IsCloseTo(row[i], asRead(i), sum)) return false;
    return true;
}

bool KeepsRows(const float* table, const Bnode_bn& node) {
    const int states = node.numStates();
    for (int rows = NumProduct(node.parents); rows > 0; --rows, table += states) {
        double sum = 0;
        for (int i = 0; i < states; ++i) sum += static_cast<double>(table[i]);
        for (int i = 0; i < states; ++i)
            if (!IsCloseTo(table[i], table[i], sum)) return false;
    }
    return true;
}

bool RowNumbers::keepsWeight() const {
    const double sum = this->sum();
    return AreClose(sum == 0 ? 1 : ExperienceOf(sum), weight_);
}

}  // namespace lumo
