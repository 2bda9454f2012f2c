// The compact stores behind a net: a hashed index of nodes by text, and a store of short texts.
// Private to the model.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace lumo {

class Bnode_bn;

/// Hash of a text. It differs from process to process, so that no file can be made to collide.
std::uint64_t HashText(std::string_view text);

/// Nodes by a text of theirs: open addressing over the node pointers and half of their hashes, 12
/// bytes a slot, at most 7/8 full; a node is looked at only when its half hash is the one wanted.
/// The texts must be distinct, and stay as they are while their node is in the index.
class NodeIndex {
public:
    using KeyOf = const char* (*)(const Bnode_bn&);
    explicit NodeIndex(KeyOf keyOf) : keyOf_(keyOf) {}

    Bnode_bn* find(std::string_view text) const;
    void add(Bnode_bn& node);
    void remove(const Bnode_bn& node);

private:
    static std::uint32_t half(std::string_view text);
    std::size_t mask() const { return slots_.size() - 1; }
    void put(Bnode_bn& node, std::uint32_t hash);
    void grow();

    KeyOf keyOf_;
    std::vector<Bnode_bn*> slots_;       // a power of two, or none
    std::vector<std::uint32_t> hashes_;  // of the nodes in the slots
    std::size_t count_ = 0;
};

/// Keeps texts until it dies, packed: a two-letter name takes three bytes.
class TextStore {
public:
    char* add(std::string_view text);

private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    std::size_t left_ = 0;
};

}  // namespace lumo
