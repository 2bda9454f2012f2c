// Hashes of what nets hold. Those of unordered things are added.
#pragma once

#include <bit>
#include <cstdint>
#include <string_view>

namespace lumo {

using Hash = std::uint64_t;

constexpr Hash Mixed(Hash a, Hash b) {
    Hash hash = a * 0x9E3779B97F4A7C15U ^ std::rotl(b, 29);
    hash = (hash ^ (hash >> 32)) * 0xD6E8FEB86659FD93U;
    return hash ^ (hash >> 29);
}

/// The same on every machine.
constexpr Hash HashOf(std::string_view text) {
    Hash hash = text.size();
    for (const char c : text) hash = Mixed(hash, static_cast<unsigned char>(c));
    return hash;
}

}  // namespace lumo
