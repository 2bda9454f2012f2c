// Compressed texts: gzip, bzip2, xz, zstd. Their libraries are loaded when a text needs them.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "library/utilities/loading.h"

namespace LUMO_API lumo {

/// A way to compress.
struct Packing {
    std::string_view magic;      ///< the bytes that its texts begin with
    std::string_view extension;  ///< that its files have, behind the text's own
    const char* library;         ///< that unpacks it
    const char* tool;            ///< that people unpack it with
};

/// What compressed these bytes, of which the start is enough; null when they are not.
const Packing* PackingOf(std::string_view bytes);

/// The libraries for which the program was built: "gzip, bzip2"; empty for none.
std::string PackingsRead();

/// The file's name without the extension of a packing.
std::string_view WithoutPacking(std::string_view fileName);

/// Gives the next bytes, at most so many; 0 at the end.
using ByteSource = std::function<std::size_t(char* out, std::size_t most)>;

struct Unpacking {
    enum class Outcome : unsigned char {
        whole,    ///< trailing has what follows the compressed data
        damaged,  ///< the text is what was before the damage
        refused,  ///< there is no text
    };
    Outcome outcome = Outcome::whole;
    std::string problem;     ///< for people, unless it is whole
    long long packed = 0;    ///< bytes
    long long trailing = 0;  ///< bytes, but for zeros
};

/// Unpacks one compressed text, or several one after the other, behind the text. What is out of
/// proportion to its bytes is refused, and what is more than the text may have. Ends early when
/// there are `enough` bytes.
Unpacking Unpack(const Packing& packing, const ByteSource& source, GrowingText& text,
                 long long enough = LLONG_MAX);

/// The start of a compressed text, of whose bytes the start is given; empty when it cannot be had.
std::string UnpackStart(std::string_view bytes, std::size_t most);

/// Unpacks what stands in a zip archive, compressed as gzip does but without its frame.
Unpacking UnpackDeflated(const ByteSource& source, GrowingText& text, long long enough = LLONG_MAX);

/// Takes what is not compressed, within the same bounds.
Unpacking CopyStored(const ByteSource& source, GrowingText& text, long long enough = LLONG_MAX);

}  // namespace lumo
