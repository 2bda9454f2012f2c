// Numbers from text: the fast path that every reader of a table runs through.
#pragma once

#include "library/utilities/language.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace LUMO_API lumo {

/// How a text reads as a number.
enum class NumberEN : signed char { ok, none, tooLarge };

/// Parses a number at `first` (sign, digits with an optional point, optional exponent; ".5", "5.",
/// "+3", "1e-05"), independently of the locale, correctly rounded to double. Hexadecimal, "inf" and
/// "nan" are no numbers. On ok and tooLarge `end` is the first character after it. Too small is 0.
/// On none and tooLarge the value is not set.
NumberEN ParseNumber(const char* first, const char* last, double& value, const char*& end);

/// ParseNumber rounded once more, to float; tooLarge is what no float holds.
NumberEN ParseFloat(const char* first, const char* last, float& value, const char*& end);

/// Parses a decimal integer with an optional sign.
NumberEN ParseInteger(const char* first, const char* last, int& value, const char*& end);

namespace detail {

/// Powers of ten that a double holds exactly.
inline constexpr double ExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                         1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr int MaxExactPower = 22;
inline constexpr std::uint64_t MaxExactMantissa = std::uint64_t{1} << 53;
/// The least double that rounds to no finite float.
inline constexpr double FloatLimit = 0x1.ffffffp127;
inline constexpr int MaxMantissaDigits = 19;  ///< fit 64 bits whatever they are

/// The number at [first, last), which has the form of one, correctly rounded at any length.
NumberEN ParseNumberSlow(const char* first, const char* last, double& value);

/// Likewise an integer of any length.
NumberEN ParseIntegerSlow(const char* first, const char* last, int& value);

/// Appends the digits at p to the mantissa (modulo 2^64) and returns the first character after
/// them.
inline const char* GatherDigits(const char* p, const char* last, std::uint64_t& mantissa) {
    for (; p != last; ++p) {
        const unsigned digit = static_cast<unsigned>(*p) - unsigned{'0'};
        if (digit > 9) break;
        mantissa = mantissa * 10 + digit;
    }
    return p;
}

/// The number that eight digit bytes (values 0 to 9, the first in the lowest byte) spell.
inline std::uint64_t EightDigits(std::uint64_t digits) {
    digits = digits * 10 + (digits >> 8);  // pairs, in every second byte
    constexpr std::uint64_t pairMask = 0x000000FF000000FF;
    constexpr std::uint64_t high = 100 + (std::uint64_t{1000000} << 32);
    constexpr std::uint64_t low = 1 + (std::uint64_t{10000} << 32);
    return ((digits & pairMask) * high + ((digits >> 16) & pairMask) * low) >> 32;
}

/// Appends the digits among the eight bytes at p, up to the first other, to the mantissa and
/// returns how many they are. Without a branch for every digit; for little-endian machines.
inline int GatherEight(const char* p, std::uint64_t& mantissa) {
    // Static: else it is made on the stack for every number, a tenth of the instructions.
    static constexpr std::uint64_t powers[] = {1,      10,      100,      1000,     10000,
                                               100000, 1000000, 10000000, 100000000};
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, p, sizeof bytes);
    bytes ^= 0x3030303030303030;
    // The high bit of each byte above 9; a carry spoils only bytes after the first such.
    const std::uint64_t others = ((bytes + 0x7676767676767676) | bytes) & 0x8080808080808080;
    const int count = std::countr_zero(others) / 8;
    if (count > 0) mantissa = mantissa * powers[count] + EightDigits(bytes << (64 - 8 * count));
    return count;
}

/// The same as GatherDigits, eight bytes at a time.
inline const char* GatherManyDigits(const char* p, const char* last, std::uint64_t& mantissa) {
    if constexpr (std::endian::native == std::endian::little) {
        while (last - p >= 8) {
            const int count = GatherEight(p, mantissa);
            p += count;
            if (count < 8) return p;
        }
    }
    return GatherDigits(p, last, mantissa);
}

/// Adds the exponent at p, which points at an 'e', and returns the first character after it; p when
/// no digit follows. Exponents beyond any double's saturate.
inline const char* GatherExponent(const char* p, const char* last, std::int64_t& exponent) {
    constexpr std::int64_t enough = std::int64_t{1} << 40;
    const char* q = p + 1;
    const bool negative = q != last && *q == '-';
    if (q != last && (*q == '-' || *q == '+')) ++q;
    const char* const digits = q;
    std::int64_t written = 0;
    for (; q != last; ++q) {
        const unsigned digit = static_cast<unsigned>(*q) - unsigned{'0'};
        if (digit > 9) break;
        if (written < enough) written = written * 10 + digit;
    }
    if (q == digits) return p;
    exponent += negative ? -written : written;
    return q;
}

/// A number taken apart: mantissa times a power of ten; the mantissa holds up to 19 digits.
struct Decimal {
    std::uint64_t mantissa = 0;
    std::int64_t exponent = 0;
    std::int64_t digits = 0;  ///< written, leading zeros included
    bool negative = false;

    /// Whether mantissa and power are what was written, and the power is an exact double.
    bool isShort() const {
        return digits <= MaxMantissaDigits && exponent >= -MaxExactPower &&
               exponent <= MaxExactPower;
    }
    /// Mantissa and power multiplied with one rounding, after that of a mantissa above 2^53.
    double toDouble() const {
        const auto whole = static_cast<double>(mantissa);
        const double magnitude =
            exponent < 0 ? whole / ExactPowers[-exponent] : whole * ExactPowers[exponent];
        return negative ? -magnitude : magnitude;
    }
};

/// Takes the number at `first` apart and returns the first character after it; null when there is
/// none.
inline const char* TakeApart(const char* first, const char* last, Decimal& number) {
    const char* p = first;
    number.negative = p != last && *p == '-';
    if (p != last && (*p == '-' || *p == '+')) ++p;
    const char* const digits = p;
    p = GatherDigits(p, last, number.mantissa);
    number.digits = p - digits;
    if (p != last && *p == '.') {
        const char* const fraction = p + 1;
        p = GatherManyDigits(fraction, last, number.mantissa);
        number.exponent = fraction - p;
        number.digits -= number.exponent;
    }
    if (number.digits == 0) return nullptr;
    if (p != last && (*p == 'e' || *p == 'E')) p = GatherExponent(p, last, number.exponent);
    return p;
}

/// Reads a number written as most in tables are: a digit, the point, and up to eight digits, from
/// which one division gives it. Null when another may stand there. (Half the instructions of the
/// general way.)
inline const char* TakeShort(const char* first, const char* last, double& value) {
    constexpr std::ptrdiff_t longest = 11;  // with the byte behind
    if (std::endian::native != std::endian::little || last - first < longest || first[1] != '.')
        return nullptr;
    std::uint64_t mantissa = static_cast<unsigned>(first[0]) - unsigned{'0'};
    if (mantissa > 9) return nullptr;
    const int digits = GatherEight(first + 2, mantissa);
    const char* const after = first + 2 + digits;
    const bool more = static_cast<unsigned>(*after) - unsigned{'0'} <= 9;
    if (digits == 0 || more || (*after | 0x20) == 'e') return nullptr;
    value = static_cast<double>(static_cast<std::int64_t>(mantissa)) / ExactPowers[digits];
    return after;
}

/// Whether a double that may be a few units off still rounds to the right float: it stands away
/// from the middle between two floats.
inline bool RoundsToFloatSafely(double value) {
    constexpr std::uint64_t cutBits = (std::uint64_t{1} << 29) - 1;
    constexpr std::uint64_t middle = std::uint64_t{1} << 28;
    constexpr std::uint64_t slack = 4;
    const std::uint64_t cut = std::bit_cast<std::uint64_t>(value) & cutBits;
    return cut - (middle - slack) > 2 * slack;
}

}  // namespace detail

// Up to 19 digits are gathered as an integer. When that and the power of ten are exact doubles, one
// multiplication or division rounds correctly; every other number goes the slow way.
inline NumberEN ParseNumber(const char* first, const char* last, double& value, const char*& end) {
    if (const char* const after = detail::TakeShort(first, last, value)) {
        end = after;
        return NumberEN::ok;
    }
    detail::Decimal number;
    const char* const after = detail::TakeApart(first, last, number);
    if (after == nullptr) return NumberEN::none;
    end = after;
    if (!number.isShort() || number.mantissa > detail::MaxExactMantissa) {
        return detail::ParseNumberSlow(first, after, value);
    }
    value = number.toDouble();
    return NumberEN::ok;
}

// The same value as through ParseNumber, but the rounding of a long mantissa seldom matters, so
// that numbers written with 17 digits are fast as well.
inline NumberEN ParseFloat(const char* first, const char* last, float& value, const char*& end) {
    double wide = 0;
    if (const char* const after = detail::TakeShort(first, last, wide)) {
        end = after;
        value = static_cast<float>(wide);
        return NumberEN::ok;
    }
    detail::Decimal number;
    const char* const after = detail::TakeApart(first, last, number);
    if (after == nullptr) return NumberEN::none;
    end = after;
    if (number.isShort()) wide = number.toDouble();
    if (!number.isShort() ||
        (number.mantissa > detail::MaxExactMantissa && !detail::RoundsToFloatSafely(wide))) {
        if (const NumberEN result = detail::ParseNumberSlow(first, after, wide);
            result != NumberEN::ok) {
            return result;
        }
    }
    if (std::fabs(wide) >= detail::FloatLimit) return NumberEN::tooLarge;
    value = static_cast<float>(wide);
    return NumberEN::ok;
}

inline NumberEN ParseInteger(const char* first, const char* last, int& value, const char*& end) {
    constexpr std::ptrdiff_t safeDigits = 9;  // fit an int whatever they are
    const bool negative = first != last && *first == '-';
    const char* const digits = first + (negative || (first != last && *first == '+'));
    std::uint64_t magnitude = 0;
    const char* const after = detail::GatherDigits(digits, last, magnitude);
    if (after == digits) return NumberEN::none;
    end = after;
    if (after - digits > safeDigits) return detail::ParseIntegerSlow(first, after, value);
    value = static_cast<int>(magnitude);
    if (negative) value = -value;
    return NumberEN::ok;
}

}  // namespace lumo
