// Numbers as digits.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>

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

inline constexpr int MostPlaces = 15;
inline constexpr auto PowersOf10 = [] {
    std::array<std::int64_t, MostPlaces + 1> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 10;
    return powers;
}();

/// Writes a number that is not negative and has that many decimal places, without zeros at its end,
/// and returns its end.
inline char* WriteDecimal(char* to, std::int64_t number, int places) {
    const std::int64_t one = PowersOf10[static_cast<std::size_t>(places)];
    std::int64_t rest = number;
    if (number < one) {
        *to++ = '0';
    } else {
        to = std::to_chars(to, to + MostDigits, number / one).ptr;
        rest = number % one;
    }
    if (rest == 0) return to;
    for (; rest % 10 == 0; rest /= 10) --places;
    *to = '.';
    for (int place = places; place > 0; --place, rest /= 10)
        to[place] = static_cast<char>('0' + rest % 10);
    return to + places + 1;
}

}  // namespace lumo
