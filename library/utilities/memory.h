// Memory services: the library allocator, the account of container memory, failed assertions.
#pragma once

#include "library/utilities/language.h"

#include <cstddef>
#include <memory>

namespace LUMO_API lumo {

/// Allocates `bytes` bytes with the library allocator (at least one). Returns null when the
/// memory cannot be had or the count is negative. Free with xfree_kt. Blocks of 3 MB and more stand
/// on huge pages, where the system has them.
void* xmallocf_kt(long long bytes);

/// Resizes a block of xmallocf_kt, which may move. Null, the block untouched, when there is no
/// memory.
void* xreallocf_kt(void* block, long long bytes);

/// Frees a block of xmallocf_kt; null is allowed. The thread keeps blocks of 64 kB and more, 64 MB
/// of them at most, for its next ones of about the same size.
void xfree_kt(void* block);

/// Frees the blocks that the calling thread keeps; the end of a thread does so too.
void ReleaseKeptMemory_kt();

/// Deleter for owning a block of xmallocf_kt in a std::unique_ptr.
struct XFree {
    /// Frees the block.
    void operator()(void* block) const { xfree_kt(block); }
};

/// Owning pointer to an array from xmallocf_kt, for example a table on its way to the model.
template <class T>
using XArray = std::unique_ptr<T[], XFree>;

/// An array of `count` T from xmallocf_kt, uninitialised; null when there is no memory.
template <class T>
XArray<T> NewXArray(long long count) {
    return XArray<T>(static_cast<T*>(xmallocf_kt(count * static_cast<long long>(sizeof(T)))));
}

/// Accounts for container memory: acquiring is announced before the allocation, releasing after.
/// Callable from any thread.
void AcquiringVectMemory_kt(long long bytes);
/// Likewise.
void ReleasingVectMemory_kt(long long bytes);

/// Bytes of container memory acquired and not yet released, over all threads.
long long VectMemoryInUse_kt();

/// Reports a failed internal assertion (expression, source, line) and returns.
void FailAssert_kt(const char* expression, const char* source, int line);

}  // namespace lumo
