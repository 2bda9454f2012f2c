// A hashed index of a net's nodes by text. Private to the model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "library/utilities/memory.h"

namespace LUMO_API lumo {
class Bnode_bn;
class BndList_bn;
}  // namespace lumo

namespace lumo {

/// Hash of a text. It differs from process to process, so that no file can be made to collide.
std::uint64_t HashText(std::string_view text);

/// A text with its hash, to be computed once.
struct HashedText {
    explicit HashedText(std::string_view t) : text(t), hash(HashText(t)) {}
    std::string_view text;
    std::uint64_t hash;
};

/// Nodes of a list by a text of theirs: open addressing over 8 bytes a node, its place in the list
/// and half of its hash, at most 7/8 full; a node is looked at only when its half hash is the one
/// wanted. The texts must be distinct, and stay as they are while their node is in the index.
class NodeIndex {
public:
    using KeyOf = const char* (*)(const Bnode_bn&);
    NodeIndex(const BndList_bn& nodes, KeyOf keyOf) : nodes_(nodes), keyOf_(keyOf) {}

    Bnode_bn* find(const HashedText& key) const;
    /// Adds the node at the place under the text, a copy of which its key is or will be.
    void add(int place, const HashedText& key);
    void remove(int place, const HashedText& key);
    void clear();

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t node;  // its place and 1; 0 when the slot is free
    };
    static std::uint32_t half(const HashedText& key) {
        return static_cast<std::uint32_t>(key.hash);
    }
    std::size_t mask() const { return size_ - 1; }
    void put(Slot slot);
    void grow();

    const BndList_bn& nodes_;
    KeyOf keyOf_;
    XArray<Slot> slots_;
    std::size_t size_ = 0;  // a power of two, or 0
    std::size_t count_ = 0;
};

}  // namespace lumo
