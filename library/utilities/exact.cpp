#include "library/utilities/exact.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>

#include "library/utilities/numbers.h"

namespace lumo {

double ShortestDouble(float value) {
    // Rounded to the fewest places with which it reads back; quotients of whole numbers are exact.
    // Near the middle between two decimals the product may stand on the wrong side of it.
    constexpr double fewDigits = 1e7, mostDigits = 1e9, mostPlaces = 1e22, nearMiddle = 1e-6;
    const double exact = static_cast<double>(value);
    double limit = fewDigits;
    for (double places = 1e6; places < mostPlaces; places *= 10) {
        const double scaled = std::fabs(exact) * places;
        if (!(scaled < limit)) break;
        const double whole = std::floor(scaled + 0.5);
        if (scaled > fewDigits && std::fabs(whole - scaled) > 0.5 - nearMiddle) break;
        const double decimal = std::copysign(whole / places, exact);
        if (static_cast<float>(decimal) == value) return decimal;
        limit = mostDigits;
    }
    if (!std::isfinite(value)) return exact;
    // As writers write it: whole numbers in full.
    char text[64];
    const double size = std::fabs(exact);
    const auto format =
        size >= 1e-15 && size < 1e15 ? std::chars_format::fixed : std::chars_format::scientific;
    const char* end = std::to_chars(text, std::end(text), value, format).ptr;
    double decimal = exact;
    ParseNumber(text, end, decimal, end);
    return decimal;
}

void ShortestDoubles(const float* floats, long long count, double* out) {
    std::transform(floats, floats + count, out, ShortestDouble);
}

bool AreHeldByFloats(const double* exact, const float* floats, long long count) {
    return std::equal(exact, exact + count, floats,
                      [](double wide, float value) { return ShortestDouble(value) == wide; });
}

double Tidied(double value) {
    constexpr double mostDigits = 1e13;
    double places = 1e12;
    while (std::fabs(value) * places > mostDigits && places > 1) places /= 10;
    constexpr double noise = 2 * std::numeric_limits<double>::epsilon();
    const double decimal = std::round(value * places) / places;
    const bool close = std::fabs(decimal - value) <= noise * std::max(std::fabs(value), 1.0);
    return close && decimal != 0 ? decimal : value;
}

double ExactSum(const double* values, int count) {
    double sum = 0, lost = 0;
    for (int i = 0; i < count; ++i) {
        const double next = sum + values[i];
        lost += std::fabs(sum) >= std::fabs(values[i]) ? (sum - next) + values[i]
                                                       : (values[i] - next) + sum;
        sum = next;
    }
    return sum + lost;
}

// ---- ExactNumbers --------------------------------------------------------------------------

namespace {

constexpr double unset = std::numeric_limits<double>::quiet_NaN();

}  // namespace

void ExactNumbers::over(const float* floats, long long size) {
    floats_ = floats;
    size_ = size;
    any_ = false;
}

void ExactNumbers::moved(const float* floats, long long size) {
    floats_ = floats;
    const long long before = size_;
    size_ = size;
    if (!any_ || size <= before) return;
    if (reserve(size))
        std::fill(values_.get() + before, values_.get() + size, unset);
    else
        any_ = false;
}

/// Room for so many, what is there kept. Without memory for it single precision has to do.
bool ExactNumbers::reserve(long long size) {
    if (size <= capacity_) return true;
    const long long bytes = size * static_cast<long long>(sizeof(double));
    void* const block = xreallocf_kt(values_.get(), bytes);
    if (block == nullptr) return false;
    static_cast<void>(values_.release());
    values_.reset(static_cast<double*>(block));
    capacity_ = size;
    return true;
}

void ExactNumbers::set(const float* place, double number) {
    const std::less<> before;
    if (floats_ == nullptr || before(place, floats_) || !before(place, floats_ + size_)) return;
    if (!any_) {
        any_ = reserve(size_);
        if (any_) std::fill_n(values_.get(), size_, unset);
    }
    if (any_) values_[static_cast<std::size_t>(place - floats_)] = number;
}

const double* ExactNumbers::complete(long long count) {
    if (!any_) return nullptr;
    const auto held = [](double wide, float value) {
        return std::isnan(wide) ? ShortestDouble(value) : wide;
    };
    double* const values = values_.get();
    std::transform(values, values + count, floats_, values, held);
    return values;
}

XArray<double> ExactNumbers::take(long long count) {
    XArray<double> taken;
    if (complete(count) != nullptr) {
        taken = std::move(values_);
        if (count < capacity_) {
            void* const less =
                xreallocf_kt(taken.get(), count * static_cast<long long>(sizeof(double)));
            if (less != nullptr) {
                static_cast<void>(taken.release());
                taken.reset(static_cast<double*>(less));
            }
        }
        capacity_ = 0;
    }
    over(nullptr, 0);
    return taken;
}

void ExactNumbers::give(XArray<double> values, long long count) {
    values_ = std::move(values);
    capacity_ = count;
    any_ = values_ != nullptr;
}

}  // namespace lumo
