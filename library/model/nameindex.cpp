#include "library/model/nameindex.h"
#include "library/utilities/bounds.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <random>
#include <utility>

#include "library/model/netmodel.h"

namespace lumo {

namespace {

constexpr std::size_t FirstSlots = 16;

std::uint64_t ProcessSeed() {
    static const std::uint64_t seed = [] {
        std::random_device device;
        return (std::uint64_t{device()} << 32) ^ device();
    }();
    return seed;
}

/// Two multiplications: after one, words that differ in their highest bit alone have hashes whose
/// difference does not depend on the seed.
std::uint64_t Mixed(std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    hash = (hash ^ hash >> 29) * 0xBF58476D1CE4E5B9u;
    return hash ^ hash >> 32;
}

bool Equals(const char* key, std::string_view text) {
    return std::strncmp(key, text.data(), text.size()) == 0 && key[text.size()] == '\0';
}

}  // namespace

std::uint64_t HashText(std::string_view text) {
    std::uint64_t hash = ProcessSeed() ^ text.size();
    while (!text.empty()) {
        std::uint64_t word = 0;
        const std::size_t bytes = std::min(text.size(), sizeof word);
        std::memcpy(&word, text.data(), bytes);
        hash = Mixed(hash, word);
        text.remove_prefix(bytes);
    }
    return hash;
}

Bnode_bn* NodeIndex::find(const HashedText& key) const {
    if (count_ == 0) return nullptr;
    for (std::size_t at = static_cast<std::size_t>(key.hash) & mask(); slots_[at].node != 0;
         at = (at + 1) & mask()) {
        if (slots_[at].hash != half(key)) continue;
        Bnode_bn* const node = nodes_[static_cast<int>(slots_[at].node - 1)];
        if (Equals(keyOf_(*node), key.text)) return node;
    }
    return nullptr;
}

void NodeIndex::add(int place, const HashedText& key) {
    if (8 * (count_ + 1) > 7 * size_) grow();
    put({half(key), static_cast<std::uint32_t>(place) + 1});
    ++count_;
}

void NodeIndex::remove(int place, const HashedText& key) {
    std::size_t gap = static_cast<std::size_t>(key.hash) & mask();
    while (slots_[gap].node != static_cast<std::uint32_t>(place) + 1) gap = (gap + 1) & mask();
    // Entries behind the gap move up unless that would put them before their home.
    for (std::size_t at = (gap + 1) & mask(); slots_[at].node != 0; at = (at + 1) & mask()) {
        const std::size_t wayHome = (at - slots_[at].hash) & mask();
        if (wayHome < ((at - gap) & mask())) continue;
        slots_[gap] = slots_[at];
        gap = at;
    }
    slots_[gap].node = 0;
    --count_;
}

void NodeIndex::clear() {
    std::fill_n(slots_.get(), size_, Slot{});
    count_ = 0;
}

void NodeIndex::put(Slot slot) {
    std::size_t at = slot.hash & mask();
    while (slots_[at].node != 0) at = (at + 1) & mask();
    slots_[at] = slot;
}

void NodeIndex::grow() {
    const std::size_t before = size_, size = std::max(FirstSlots, 2 * size_);
    XArray<Slot> slots(
        static_cast<Slot*>(AllocateUnbounded(static_cast<long long>(size * sizeof(Slot)))));
    if (slots == nullptr) throw std::bad_alloc();
    std::fill_n(slots.get(), size, Slot{});
    slots_.swap(slots);
    size_ = size;
    for (std::size_t i = 0; i < before; ++i) {
        if (slots[i].node != 0) put(slots[i]);
    }
}

}  // namespace lumo
