// Lists of numbers that become tables without a copy.
#pragma once

#include <utility>

#include "library/text/parser.h"

namespace lumo {

/// A growable array of floats like vect_kt, which can become a table as it stands.
class FloatList {
public:
    XArray<float> array;  ///< the elements
    int N = 0;            ///< elements in use
    int capacity = 0;     ///< elements that fit without growing

    FloatList() = default;
    /// Takes the storage; the other is empty afterwards.
    FloatList(FloatList&& other) noexcept { *this = std::move(other); }
    /// Likewise.
    FloatList& operator=(FloatList&& other) noexcept {
        array = std::move(other.array);
        N = std::exchange(other.N, 0);
        capacity = std::exchange(other.capacity, 0);
        return *this;
    }

    float* begin() { return array.get(); }              ///< growing ends it
    const float* begin() const { return array.get(); }  ///< likewise, to be read
    const float* end() const { return begin() + N; }    ///< behind the last; likewise

    /// Changes the capacity, not below the count. Throws std::bad_alloc, and nothing changes.
    void realloc_(int size);
    /// The elements as a table, after which none are left, when they are many. Null when they are
    /// few, which are copied, so that the next list finds room.
    XArray<float> takeLong();
};

/// Appends numbers to such a list, as ReadList to others.
void ReadList(Parser_CString_kt& in, FloatList& out);

}  // namespace lumo
