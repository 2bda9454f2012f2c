// Numbers that single precision does not hold, beside the floats that they are read into.
#pragma once

#include <cstddef>

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

/// The doubles beside an array of floats that is being filled. They are there from the first number
/// on that its float does not hold; until then nothing is allocated.
class ExactNumbers {
public:
    /// Begins anew, beside so many floats; what is set for others is passed over.
    void over(const float* floats, long long size);
    /// The floats, in their order, have moved to a longer array.
    void moved(const float* floats, long long size);
    /// The number at a place of the array.
    void set(const float* place, double number);

    bool any() const { return any_; }
    /// The doubles of the first so many floats; null when floats hold them all. They live until
    /// this begins anew.
    const double* complete(long long count);
    /// The same, handed over.
    XArray<double> take(long long count);
    /// Sets all anew.
    void give(XArray<double> values, long long count);

private:
    bool reserve(long long size);

    const float* floats_ = nullptr;
    long long size_ = 0;
    XArray<double> values_;  // NaN where the float holds the number
    long long capacity_ = 0;
    bool any_ = false;
};

}  // namespace lumo
