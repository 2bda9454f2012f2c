// Numbers as digits.
#pragma once

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

#include "library/utilities/language.h"

namespace LUMO_API lumo {

inline constexpr std::size_t MostDigits = 64;  ///< bytes that WriteDigits needs

/// Writes the fewest digits that read back to the same value, independent of the locale, and
/// returns their end. Exponents stand only outside 1e-15 to 1e15, as few programs read them, and
/// have no plus sign.
template <class T>
char* WriteDigits(char* to, T value) {
    char* const limit = to + MostDigits;
    const double size = std::fabs(static_cast<double>(value));
    if (size == 0 || (size >= 1e-15 && size < 1e15))
        return std::to_chars(to, limit, value, std::chars_format::fixed).ptr;
    char* const end = std::to_chars(to, limit, value, std::chars_format::scientific).ptr;
    return std::remove(to, end, '+');
}
inline char* WriteDigits(char* to, int value) {
    return std::to_chars(to, to + MostDigits, value).ptr;
}
inline char* WriteDigits(char* to, long long value) {
    return std::to_chars(to, to + MostDigits, value).ptr;
}

}  // namespace lumo
