// The growing of the containers, and the growable string.
#include "library/utilities/vect3.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>

#include "library/utilities/Utils.h"

namespace lumo {

int GrownCapacity_kt(int count) {
    if (count > (INT_MAX - 32) / 2) throw std::bad_alloc();
    return 2 * count + 32;
}

void vect3_kt<char>::realloc_(int req_size) {
    if (req_size < num()) {
        FailAssert_kt("req_size >= num()", "vect3", 461);
        return;
    }
    // Announced before it happens; taken back when it does not happen.
    AcquiringVectMemory_kt(req_size);
    char* fresh = nullptr;
    try {
        if (req_size > 0) fresh = new char[static_cast<std::size_t>(req_size)];
    } catch (...) {
        ReleasingVectMemory_kt(req_size);
        throw;
    }
    const int count = num();
    if (fresh != nullptr && count > 0) std::memcpy(fresh, first, static_cast<std::size_t>(count));
    freeStorage();
    first = fresh;
    last = fresh + count;
    capacityEnd = fresh + req_size;
}

void vect3_kt<char>::freeStorage() {
    if (first == nullptr) return;
    const int released = capacity();
    delete[] first;
    ReleasingVectMemory_kt(released);
}

void strin_kt::swap(strin_kt& other) noexcept {
    std::swap(first, other.first);
    std::swap(last, other.last);
    std::swap(capacityEnd, other.capacityEnd);
}

void strin_kt::append(std::string_view text) {
    if (text.empty()) return;
    const auto count = static_cast<std::size_t>(num());
    if (text.size() > static_cast<std::size_t>(capacity()) - count) {
        if (text.size() > INT_MAX - count) throw std::bad_alloc();
        // As byte by byte, but one step at a time would copy a long text often.
        const std::size_t grown = std::min<std::size_t>(2 * count + 32, INT_MAX);
        realloc_(static_cast<int>(std::max(grown, count + text.size())));
    }
    std::memcpy(last, text.data(), text.size());
    last += text.size();
}

char* strin_kt::getCStr() {
    // The zeros are appended, for their room, and then not counted.
    append('\0');
    if (Is16Bit_kt(first)) {
        append('\0');
        --last;
    }
    --last;
    return first;
}

char* strin_kt::newCopy() const { return DupStr_kt(view()); }

}  // namespace lumo
