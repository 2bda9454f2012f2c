// How much memory one import may take.
#pragma once

#include "library/utilities/language.h"

namespace lumo {

/// While it lives, the blocks of xmallocf_kt of the thread may take so many bytes together, small
/// ones aside; what would be beyond gets none, as if memory were out. The innermost counts.
class MemoryBound {
public:
    explicit MemoryBound(long long most);
    ~MemoryBound();
    MemoryBound(const MemoryBound&) = delete;
    MemoryBound& operator=(const MemoryBound&) = delete;

    /// The bytes that the thread's bound allows, when it has refused a block since this was asked
    /// last; else 0.
    static long long thatRefused();

    /// Whether one lives in the thread: what it reads may be made to cost too much.
    static bool holds();

private:
    friend class BoundedBlocks;
    long long most_;
    long long left_;
    bool refused_ = false;
    MemoryBound* outer_;
};

/// xmallocf_kt for what is in proportion to a file, whatever is in it.
void* AllocateUnbounded(long long bytes);

}  // namespace lumo
