// Numbers that single precision does not hold, beside the floats that they are read into.
#pragma once

#include <cstddef>
#include <cstdint>

#include "library/utilities/memory.h"

namespace LUMO_API lumo {

/// The double that is the shortest decimal which reads back to the float: of 0.1F it is 0.1.
double ShortestDouble(float value);

/// The shortest decimals of so many floats.
void ShortestDoubles(const float* floats, long long count, double* out);

/// Whether the floats say all that the doubles do.
bool AreHeldByFloats(const double* exact, const float* floats, long long count);

/// Without the noise at the end of a number that was computed: a decimal of twelve places that
/// stands within the rounding of sums about 1, else the number.
double Tidied(double value);

/// The sum, also where terms cancel or are many.
double ExactSum(const double* values, int count);

/// The sum of floats in double precision. Of long rows four sums are taken side by side: each
/// addition waits for the one before.
inline double SumOf(const float* row, int states) {
    constexpr int lanes = 4;
    double sum = 0;
    int s = 0;
    if (states >= 4 * lanes) {
        double sums[lanes] = {};
        for (; states - s >= lanes; s += lanes)
            for (int lane = 0; lane < lanes; ++lane)
                sums[lane] += static_cast<double>(row[s + lane]);
        for (const double part : sums) sum += part;
    }
    for (; s < states; ++s) sum += static_cast<double>(row[s]);
    return sum;
}

/// The doubles beside an array of floats that is being filled. They are there from the first number
/// on that its float does not hold; until then nothing is allocated.
class ExactNumbers {
public:
    /// Begins anew, beside so many floats; what is set for others is passed over.
    void over(const float* floats, long long size) {
        floats_ = floats;
        size_ = size;
        any_ = false;
        next_ = 0;
    }
    /// The floats, in their order, have moved to a longer array.
    void moved(const float* floats, long long size);
    /// The number at a place of the array.
    void set(const float* place, double number) {
        const auto at = reinterpret_cast<std::uintptr_t>(place) -
                        reinterpret_cast<std::uintptr_t>(floats_);  // huge in front of them
        const auto index = static_cast<long long>(at / sizeof(float));
        if (index >= size_) return;
        if (!any_ && !start()) return;
        if (index > next_) [[unlikely]]
            passTo(index);
        values_[static_cast<std::size_t>(index)] = number;
        next_ += index == next_ ? 1 : 0;
    }

    /// Whether a number was set that its float does not hold.
    bool any() const { return any_; }
    /// The doubles of the first so many floats; null when floats hold them all. They live until
    /// this begins anew.
    double* complete(long long count) { return any_ ? completed(count) : nullptr; }
    /// The same, handed over; this stands beside nothing.
    XArray<double> take(long long count) {
        XArray<double> taken = any_ ? handedOver(count) : XArray<double>();
        over(nullptr, 0);
        return taken;
    }
    /// Sets all anew.
    void give(XArray<double> values, long long count);

private:
    bool reserve(long long size);
    bool start();
    void passTo(long long index);
    double* completed(long long count);
    XArray<double> handedOver(long long count);

    const float* floats_ = nullptr;
    long long size_ = 0;
    XArray<double> values_;
    long long capacity_ = 0;
    long long next_ = 0;  ///< values that are set
    bool any_ = false;
};

}  // namespace lumo
