// The memory of one net: its nodes, and the small arrays and short texts that they own. Private to
// the model.
#pragma once

#include <cstddef>
#include <new>
#include <string_view>

namespace lumo {

/// Hands memory out piece by piece, and gives all of it back when it dies: nothing is freed singly,
/// and what is made together lies together.
class Arena {
public:
    Arena() = default;
    ~Arena();
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// Uninitialised memory for `count` T, which are not destroyed; null when there is none.
    template <class T>
    T* tryTake(std::size_t count) {
        return static_cast<T*>(tryTake(count * sizeof(T), alignof(T)));
    }

    /// The same; throws std::bad_alloc.
    template <class T>
    T* take(std::size_t count) {
        T* const taken = tryTake<T>(count);
        if (taken == nullptr) throw std::bad_alloc();
        return taken;
    }

    /// A zero-terminated copy of the text. Throws std::bad_alloc.
    char* copy(std::string_view text);

    /// Makes the piece that ends at `end` longer where it stands; that takes the piece to be the
    /// last one, and room. Whether it was done.
    bool extend(const void* end, std::size_t bytes);

private:
    struct Chunk;
    void* tryTake(std::size_t bytes, std::size_t alignment);
    bool addChunk(std::size_t bytes);

    Chunk* last_ = nullptr;
    std::size_t nextSize_ = 2048;
    char* free_ = nullptr;  // of the last chunk, up to end_
    char* end_ = nullptr;
};

/// Lets a container live in an arena.
template <class T>
struct ArenaAllocator {
    using value_type = T;
    Arena* arena;

    explicit ArenaAllocator(Arena& from) : arena(&from) {}
    template <class OTHER>
    explicit ArenaAllocator(const ArenaAllocator<OTHER>& other) : arena(other.arena) {}
    T* allocate(std::size_t count) { return arena->take<T>(count); }
    void deallocate(T*, std::size_t) {}
    template <class OTHER>
    bool operator==(const ArenaAllocator<OTHER>& other) const {
        return arena == other.arena;
    }
};

}  // namespace lumo
