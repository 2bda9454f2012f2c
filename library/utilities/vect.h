// vect_kt: the library's growable array.
#pragma once

#include <utility>

#include "library/utilities/memory.h"

namespace LUMO_API lumo {

/// Capacity that a full container of `count` elements grows to: twice the count plus 32.
/// Throws std::bad_alloc when that does not fit an int.
int GrownCapacity_kt(int count);

/// Growable array of T. Owns its storage, not what pointers stored in it point to.
/// Every allocation is announced to the memory accounting before it happens, every release after.
/// Empty is (null, 0, 0). T needs a default constructor and assignment.
template <class T>
class vect_kt {
public:
    T* array = nullptr;  ///< the elements, owned; null when there is no storage
    int N = 0;           ///< elements in use
    int capacity = 0;    ///< elements that fit without growing

    vect_kt() = default;
    /// Copies of the elements, in storage of their own.
    vect_kt(const vect_kt& other) { appendAll(other); }
    /// Takes the storage; the other is empty afterwards.
    vect_kt(vect_kt&& other) noexcept { swap(other); }
    /// Frees what was here; assign with std::move to take the other's storage instead of copying.
    vect_kt& operator=(vect_kt other) noexcept {
        swap(other);
        return *this;
    }
    ~vect_kt() { release(); }

    bool hasSome() const { return N > 0; }  ///< whether there is an element
    /// The element of that index, from 0 and below N, which is not checked.
    T& operator[](int i) { return array[i]; }
    /// Likewise, to be read.
    const T& operator[](int i) const { return array[i]; }
    T* begin() { return array; }                ///< for loops; growing ends it
    T* end() { return array + N; }              ///< behind the last; likewise
    const T* begin() const { return array; }    ///< likewise, to be read
    const T* end() const { return array + N; }  ///< likewise, to be read

    /// Exchanges storage and elements; nothing is copied or allocated.
    void swap(vect_kt& other) noexcept {
        std::swap(array, other.array);
        std::swap(N, other.N);
        std::swap(capacity, other.capacity);
    }

    /// Adds an element at the end; full storage grows. Throws std::bad_alloc, and nothing changes.
    void append(T element) {
        if (N == capacity) realloc_(GrownCapacity_kt(N));
        array[N] = std::move(element);
        ++N;
    }

    /// Adds copies of the other's elements at the end, as append does.
    void appendAll(const vect_kt& other) {
        if (other.N == 0) return;
        if (capacity - N < other.N) realloc_(N + other.N);
        for (int i = 0; i < other.N; ++i) array[N + i] = other.array[i];
        N += other.N;
    }

    /// Changes the capacity to req_size (0 frees the storage); the count stays.
    /// A req_size below the count is a failed assertion, and then nothing changes.
    void realloc_(int req_size) {
        if (req_size < N) {
            FailAssert_kt("req_size >= N", "vect", 608);
            return;
        }
        const long long bytes =
            static_cast<long long>(req_size) * static_cast<long long>(sizeof(T));
        AcquiringVectMemory_kt(bytes);
        T* fresh = nullptr;
        try {
            if (req_size > 0) fresh = new T[static_cast<std::size_t>(req_size)];
        } catch (...) {
            ReleasingVectMemory_kt(bytes);
            throw;
        }
        for (int i = 0; i < N; ++i) fresh[i] = std::move(array[i]);
        freeStorage();
        array = fresh;
        capacity = req_size;
    }

    /// Empties the array and frees its storage.
    void release() {
        freeStorage();
        array = nullptr;
        N = 0;
        capacity = 0;
    }

private:
    void freeStorage() {
        if (array == nullptr) return;
        delete[] array;
        ReleasingVectMemory_kt(static_cast<long long>(capacity) *
                               static_cast<long long>(sizeof(T)));
    }
};

}  // namespace lumo
