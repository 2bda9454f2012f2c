// The hashed index of nodes by text and the store of short texts.

#include "library/model/nameindex.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>

namespace lumo {

namespace {

constexpr std::size_t FirstSlots = 16;
constexpr std::size_t FirstBlock = 1024;
constexpr std::size_t LargestBlock = 64 * 1024;

std::uint64_t ProcessSeed() {
    static const std::uint64_t seed = [] {
        std::random_device device;
        return (std::uint64_t{device()} << 32) ^ device();
    }();
    return seed;
}

}  // namespace

std::uint64_t HashText(std::string_view text) {
    std::uint64_t hash = ProcessSeed();
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 32;
    }
    return hash;
}

std::uint32_t NodeIndex::half(std::string_view text) {
    return static_cast<std::uint32_t>(HashText(text));
}

Bnode_bn* NodeIndex::find(std::string_view text) const {
    if (slots_.empty()) return nullptr;
    const std::uint32_t hash = half(text);
    std::size_t at = hash & mask();
    while (slots_[at] != nullptr && (hashes_[at] != hash || text != keyOf_(*slots_[at])))
        at = (at + 1) & mask();
    return slots_[at];
}

void NodeIndex::add(Bnode_bn& node) {
    if (8 * (count_ + 1) > 7 * slots_.size()) grow();
    put(node, half(keyOf_(node)));
    ++count_;
}

void NodeIndex::remove(const Bnode_bn& node) {
    std::size_t gap = half(keyOf_(node)) & mask();
    while (slots_[gap] != &node) gap = (gap + 1) & mask();
    // Entries behind the gap move up unless that would put them before their home.
    for (std::size_t at = (gap + 1) & mask(); slots_[at] != nullptr; at = (at + 1) & mask()) {
        const std::size_t wayHome = (at - hashes_[at]) & mask();
        if (wayHome < ((at - gap) & mask())) continue;
        slots_[gap] = slots_[at];
        hashes_[gap] = hashes_[at];
        gap = at;
    }
    slots_[gap] = nullptr;
    --count_;
}

void NodeIndex::put(Bnode_bn& node, std::uint32_t hash) {
    std::size_t at = hash & mask();
    while (slots_[at] != nullptr) at = (at + 1) & mask();
    slots_[at] = &node;
    hashes_[at] = hash;
}

void NodeIndex::grow() {
    const std::size_t size = std::max(FirstSlots, 2 * slots_.size());
    const std::vector<Bnode_bn*> nodes = std::exchange(slots_, std::vector<Bnode_bn*>(size));
    const std::vector<std::uint32_t> hashes =
        std::exchange(hashes_, std::vector<std::uint32_t>(size));
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (nodes[i] != nullptr) put(*nodes[i], hashes[i]);
    }
}

char* TextStore::add(std::string_view text) {
    const std::size_t size = text.size() + 1;
    if (size > left_) {
        const std::size_t usual =
            std::min(LargestBlock, FirstBlock << std::min<std::size_t>(blocks_.size(), 6));
        const std::size_t fresh = std::max(usual, size);
        blocks_.push_back(std::make_unique_for_overwrite<char[]>(fresh));
        // A text that fills a block of its own leaves the block in use open.
        if (fresh == size) {
            std::memcpy(blocks_.back().get(), text.data(), size - 1);
            blocks_.back()[size - 1] = '\0';
            return blocks_.back().get();
        }
        free_ = blocks_.back().get();
        left_ = fresh;
    }
    char* copy = free_;
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    free_ += size;
    left_ -= size;
    return copy;
}

}  // namespace lumo
