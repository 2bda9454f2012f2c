// The library allocator, the account of container memory, failed assertions.
#include "library/utilities/memory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "library/utilities/bounds.h"
#include "library/utilities/problems.h"
#include "library/utilities/system.h"
#include "library/utilities/threads.h"

namespace lumo {

namespace {

// A mere sum: nothing is ordered by it, so relaxed operations do.
std::atomic<long long> vectMemory{0};

// ---- Large blocks --------------------------------------------------------------------------

/// From here on a block stands on huge pages: the first touch of a small one costs 1 to 28 us, and
/// nearly half the time of an import in a new process went into that.
constexpr long long LeastHuge = 3 << 20;
constexpr std::size_t LeastKept = 64 << 10;
constexpr std::size_t MostKept = 64 << 20;  ///< bytes that a thread keeps

thread_local bool keepsNoMore = false;  // the thread is ending

/// Blocks that were freed, for the next imports of the thread: their pages are there.
class KeptBlocks {
public:
    KeptBlocks() = default;
    ~KeptBlocks() {
        release();
        keepsNoMore = true;
    }
    KeptBlocks(const KeptBlocks&) = delete;
    KeptBlocks& operator=(const KeptBlocks&) = delete;

    void add(void* block, std::size_t bytes) {
        while (count_ == std::size(blocks_) || total_ + bytes > MostKept) std::free(remove(0));
        blocks_[count_++] = {block, bytes};
        total_ += bytes;
    }

    /// The block kept last that has the bytes, and not many more; null when there is none.
    void* take(std::size_t bytes) {
        for (std::size_t i = count_; i-- > 0;) {
            if (blocks_[i].bytes >= bytes && blocks_[i].bytes - bytes <= bytes / 4)
                return remove(i);
        }
        return nullptr;
    }

    void release() {
        while (count_ > 0) std::free(remove(count_ - 1));
    }

private:
    struct Block {
        void* start;
        std::size_t bytes;
    };

    void* remove(std::size_t place) {
        const Block block = blocks_[place];
        std::copy(blocks_ + place + 1, blocks_ + count_--, blocks_ + place);
        total_ -= block.bytes;
        return block.start;
    }

    Block blocks_[32];  // oldest first
    std::size_t count_ = 0;
    std::size_t total_ = 0;
};

thread_local MemoryBound* presentBound = nullptr;

}  // namespace

// ---- Bounds --------------------------------------------------------------------------------

MemoryBound::MemoryBound(long long most) : most_(most), left_(most), outer_(presentBound) {
    presentBound = this;
}

MemoryBound::~MemoryBound() { presentBound = outer_; }

long long MemoryBound::thatRefused() {
    if (presentBound == nullptr || !std::exchange(presentBound->refused_, false)) return 0;
    return presentBound->most_;
}

bool MemoryBound::holds() { return presentBound != nullptr; }

/// The account of the present bound.
class BoundedBlocks {
public:
    static bool allow(std::size_t size) {
        if (presentBound == nullptr || size < LeastKept) return true;
        if (static_cast<long long>(size) <= presentBound->left_) return true;
        presentBound->refused_ = true;
        return false;
    }
    static void add(void* block, std::size_t size) {
        if (presentBound == nullptr || size < LeastKept || block == nullptr) return;
        presentBound->left_ -= static_cast<long long>(std::max(size, system::SizeOf(block)));
    }
    static void remove(std::size_t size) {
        if (presentBound == nullptr || size < LeastKept) return;
        presentBound->left_ =
            std::min(presentBound->most_, presentBound->left_ + static_cast<long long>(size));
    }
};

void* xmallocf_kt(long long bytes) {
    const auto size = static_cast<std::size_t>(std::max(bytes, 0LL));
    if (!BoundedBlocks::allow(size)) return nullptr;
    void* const block = AllocateUnbounded(bytes);
    BoundedBlocks::add(block, size);
    return block;
}

void* AllocateUnbounded(long long bytes) {
    const auto size = static_cast<std::size_t>(std::max(bytes, 0LL));
    if (size >= LeastKept && !keepsNoMore) {
        if (void* const block = OfThread<KeptBlocks>().take(size)) return block;
    }
    if (bytes >= LeastHuge) return system::NewHuge(size);
    void* const block = xreallocf_kt(nullptr, bytes);
    if (size >= LeastKept && block != nullptr) system::Populate(block, size);
    return block;
}

void* xreallocf_kt(void* block, long long bytes) {
    if (bytes < 0) return nullptr;  // a product of counts that went wrong
    return std::realloc(block, static_cast<std::size_t>(std::max(bytes, 1LL)));
}

void xfree_kt(void* block) {
    const std::size_t size = block == nullptr ? 0 : system::SizeOf(block);
    BoundedBlocks::remove(size);
    if (size < LeastKept || size > MostKept || keepsNoMore) return std::free(block);
    OfThread<KeptBlocks>().add(block, size);
}

void ReleaseKeptMemory_kt() {
    if (!keepsNoMore) OfThread<KeptBlocks>().release();
}

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
