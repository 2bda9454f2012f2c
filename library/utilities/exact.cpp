#include "library/utilities/exact.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

#include "library/utilities/numbers.h"

namespace lumo {

namespace {

/// A number that fits an int rounded to the nearest whole one. (std::round is a call.)
double Rounded(double number) {
    return static_cast<double>(static_cast<std::int64_t>(number + 0.5));
}

/// The decimal as writers write it: whole numbers in full.
double WrittenDouble(float value) {
    constexpr double least = 1e-15, most = 1e15;  // that are written without an exponent
    const double exact = static_cast<double>(value), size = std::fabs(exact);
    const auto format =
        size >= least && size < most ? std::chars_format::fixed : std::chars_format::scientific;
    char text[64];
    const char* end = std::to_chars(text, std::end(text), value, format).ptr;
    double decimal = exact;
    ParseNumber(text, end, decimal, end);
    return decimal;
}

}  // namespace

double ShortestDouble(float value) {
    if (value == 0) return static_cast<double>(value);  // as all are of a table not yet filled
    // Rounded to the fewest places with which it reads back; quotients of whole numbers are exact.
    // Near the middle between two decimals the product may stand on the wrong side of it.
    constexpr double fewDigits = 1e7, mostDigits = 1e9, mostPlaces = 1e22, nearMiddle = 1e-6;
    const double exact = static_cast<double>(value), size = std::fabs(exact);
    double limit = fewDigits, places = 1e7;
    while (size * places >= limit && places > 1) places /= 10;
    for (; places < mostPlaces; places *= 10) {
        const double scaled = size * places;
        if (!(scaled < limit)) break;
        const double whole = Rounded(scaled);
        if (scaled > fewDigits && std::fabs(whole - scaled) > 0.5 - nearMiddle) break;
        const double decimal = std::copysign(whole / places, exact);
        if (static_cast<float>(decimal) == value) return decimal;
        limit = mostDigits;
    }
    return std::isfinite(value) ? WrittenDouble(value) : exact;
}

void ShortestDoubles(const float* floats, long long count, double* out) {
    // Tables that are not yet filled are all zeros, for which no call is made.
    std::transform(floats, floats + count, out, [](float value) {
        return value == 0 ? static_cast<double>(value) : ShortestDouble(value);
    });
}

bool AreHeldByFloats(const double* exact, const float* floats, long long count) {
    return std::equal(exact, exact + count, floats,
                      [](double wide, float value) { return ShortestDouble(value) == wide; });
}

double Tidied(double value) {
    constexpr double mostDigits = 1e13;
    const double size = std::fabs(value);
    double places = 1e12;
    while (size * places > mostDigits && places > 1) places /= 10;
    if (!(size < mostDigits)) return value;
    constexpr double noise = 2 * std::numeric_limits<double>::epsilon();
    const double decimal = Rounded(size * places) / places;
    const bool close = std::fabs(decimal - size) <= noise * std::max(size, 1.0);
    return close && decimal != 0 ? std::copysign(decimal, value) : value;
}

double ExactSum(const double* values, int count) {
    // Of long rows so many sums, as each addition waits for the one before.
    constexpr int lanes = 4;
    double sums[lanes] = {}, lost[lanes] = {};
    const auto add = [&](int lane, double value) {
        const double sum = sums[lane], next = sum + value, added = next - sum;
        lost[lane] += (sum - (next - added)) + (value - added);
        sums[lane] = next;
    };
    int i = 0;
    if (count >= 4 * lanes) {
        for (; count - i >= lanes; i += lanes)
            for (int lane = 0; lane < lanes; ++lane) add(lane, values[i + lane]);
        for (int lane = 1; lane < lanes; ++lane) {
            add(0, sums[lane]);
            lost[0] += lost[lane];
        }
    }
    for (; i < count; ++i) add(0, values[i]);
    return sums[0] + lost[0];
}

// ---- ExactNumbers --------------------------------------------------------------------------

void ExactNumbers::moved(const float* floats, long long size) {
    floats_ = floats;
    any_ = any_ && reserve(size);
    size_ = size;
}

/// Room for so many, what is there kept. Without memory for it single precision has to do.
bool ExactNumbers::reserve(long long size) {
    if (size <= capacity_) return true;
    // Only a new block may be one that the thread has kept, or stand on huge pages.
    const bool isFew = next_ <= size / 2;
    XArray<double> more = isFew
                              ? NewXArray<double>(size)
                              : XArray<double>(static_cast<double*>(xreallocf_kt(
                                    values_.get(), size * static_cast<long long>(sizeof(double)))));
    if (more == nullptr) return false;
    if (isFew)
        std::copy_n(values_.get(), next_, more.get());
    else
        static_cast<void>(values_.release());
    values_ = std::move(more);
    capacity_ = size;
    return true;
}

/// Begins with the doubles. False without memory for them.
bool ExactNumbers::start() {
    any_ = reserve(size_);
    return any_;
}

/// The floats hold what is not set in front of the place.
void ExactNumbers::passTo(long long index) {
    if (index <= next_) return;
    ShortestDoubles(floats_ + next_, index - next_, values_.get() + next_);
    next_ = index;
}

double* ExactNumbers::completed(long long count) {
    passTo(count);
    return values_.get();
}

XArray<double> ExactNumbers::handedOver(long long count) {
    completed(count);
    XArray<double> taken = std::move(values_);
    if (capacity_ - count > count / 32) {  // a block a little too long serves the next of its kind
        void* const less =
            xreallocf_kt(taken.get(), count * static_cast<long long>(sizeof(double)));
        if (less != nullptr) {
            static_cast<void>(taken.release());
            taken.reset(static_cast<double*>(less));
        }
    }
    capacity_ = 0;
    return taken;
}

void ExactNumbers::give(XArray<double> values, long long count) {
    values_ = std::move(values);
    capacity_ = next_ = count;
    any_ = values_ != nullptr;
}

}  // namespace lumo
