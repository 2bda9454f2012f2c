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
    T* array = nullptr;
    int N = 0;         ///< elements in use
    int capacity = 0;  ///< elements that fit without growing

    vect_kt() = default;
    vect_kt(const vect_kt& other) { appendAll(other); }
    vect_kt(vect_kt&& other) noexcept { swap(other); }
    vect_kt& operator=(vect_kt other) noexcept {
        swap(other);
        return *this;
    }
    ~vect_kt() { release(); }

    bool hasSome() const { return N > 0; }
    T& operator[](int i) { return array[i]; }
    const T& operator[](int i) const { return array[i]; }
    T* begin() { return array; }
    T* end() { return array + N; }
    const T* begin() const { return array; }
    const T* end() const { return array + N; }

    void swap(vect_kt& other) noexcept {
        std::swap(array, other.array);
        std::swap(N, other.N);
        std::swap(capacity, other.capacity);
    }

    void append(T element) {
        if (N == capacity) realloc_(GrownCapacity_kt(N));
        array[N] = std::move(element);
        ++N;
    }

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
