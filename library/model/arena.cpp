#include "library/model/arena.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "library/utilities/bounds.h"
#include "library/utilities/memory.h"

namespace lumo {

/// A block, with what is handed out behind this.
struct alignas(std::max_align_t) Arena::Chunk {
    Chunk* before;
};

namespace {

/// Chunks double up to this: two huge pages.
constexpr std::size_t LargestChunk = std::size_t{4} << 20;

}  // namespace

Arena::~Arena() {
    while (last_ != nullptr) {
        Chunk* const before = last_->before;
        xfree_kt(last_);
        last_ = before;
    }
}

void* Arena::tryTake(std::size_t bytes, std::size_t alignment) {
    const auto skip = [&] { return -reinterpret_cast<std::uintptr_t>(free_) & (alignment - 1); };
    if (bytes + skip() > static_cast<std::size_t>(end_ - free_) && !addChunk(bytes)) return nullptr;
    char* const piece = free_ + skip();
    free_ = piece + bytes;
    return piece;
}

char* Arena::copy(std::string_view text) {
    char* const stored = take<char>(text.size() + 1);
    std::memcpy(stored, text.data(), text.size());
    stored[text.size()] = '\0';
    return stored;
}

bool Arena::extend(const void* end, std::size_t bytes) {
    if (end != free_ || bytes > static_cast<std::size_t>(end_ - free_)) return false;
    free_ += bytes;
    return true;
}

bool Arena::addChunk(std::size_t bytes) {
    const std::size_t size = std::max(bytes + sizeof(Chunk), nextSize_);
    void* const block = AllocateUnbounded(static_cast<long long>(size));
    if (block == nullptr) return false;
    last_ = new (block) Chunk{last_};
    nextSize_ = std::min(2 * nextSize_, LargestChunk);
    free_ = reinterpret_cast<char*>(last_ + 1);
    end_ = reinterpret_cast<char*>(last_) + size;
    return true;
}

}  // namespace lumo
