// Text compressed with gzip.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lumo::app {

struct Unpacked {
    enum class Outcome : unsigned char {
        whole,    ///< trailing has what follows the compressed data
        damaged,  ///< the text is what was before the damage
        refused,  ///< there is no text
    };
    Outcome outcome = Outcome::whole;
    std::string text;
    std::string problem;       ///< for people, unless it is whole
    std::size_t trailing = 0;  ///< bytes, but for zeros
};

/// Whether the bytes begin as gzip does.
bool IsPacked(std::string_view bytes);

/// Unpacks one compressed text or several one after the other, with zlib, which is loaded now. Text
/// out of proportion to its bytes is refused. Ends early when there is enough text.
Unpacked Unpack(std::string_view bytes, std::size_t enough = std::string_view::npos);

}  // namespace lumo::app
