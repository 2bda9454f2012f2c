// The library allocator, the account of container memory, failed assertions.
#include "library/utilities/memory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "library/utilities/problems.h"

namespace lumo {

namespace {

// A mere sum: nothing is ordered by it, so relaxed operations do.
std::atomic<long long> vectMemory{0};

}  // namespace

void* xmallocf_kt(long long bytes) { return xreallocf_kt(nullptr, bytes); }

void* xreallocf_kt(void* block, long long bytes) {
    if (bytes < 0) return nullptr;  // a product of counts that went wrong
    return std::realloc(block, static_cast<std::size_t>(std::max(bytes, 1LL)));
}

void xfree_kt(void* block) { std::free(block); }

void AcquiringVectMemory_kt(long long bytes) {
    vectMemory.fetch_add(bytes, std::memory_order_relaxed);
}

void ReleasingVectMemory_kt(long long bytes) {
    vectMemory.fetch_sub(bytes, std::memory_order_relaxed);
}

long long VectMemoryInUse_kt() { return vectMemory.load(std::memory_order_relaxed); }

void FailAssert_kt(const char* expression, const char* source, int line) {
    TellProblem.failedAssertion(expression, source, line);
}

}  // namespace lumo
