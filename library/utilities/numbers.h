// Numbers from text: the fast path that every reader of a table runs through.
#pragma once

#include "library/utilities/language.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace LUMO_API lumo {

/// How a text reads as a number. more: as a float that does not hold it, whose shortest decimal is
/// another number.
enum class NumberEN : signed char { ok, none, tooLarge, more };

/// Parses a number at `first` (sign, digits with an optional point, optional exponent; ".5", "5.",
/// "+3", "1e-05"), independently of the locale, correctly rounded to double. Hexadecimal, "inf" and
/// "nan" are no numbers. On ok and tooLarge `end` is the first character after it. Too small is 0.
/// On none and tooLarge the value is not set.
NumberEN ParseNumber(const char* first, const char* last, double& value, const char*& end);

/// ParseNumber rounded once more, to float; tooLarge is what no float holds. On more `wide` is the
/// number.
NumberEN ParseFloat(const char* first, const char* last, float& value, double& wide,
                    const char*& end);

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

/// Of the number at [first, last): the mantissa times a power of ten that `wide` is, and `value`
/// its float, whether that holds it.
NumberEN JudgeFloat(std::uint64_t mantissa, std::int64_t exponent, double wide, float& value);

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

    /// Mantissa and power multiplied with one rounding. False when that takes more.
    bool toDouble(double& value) const;
};

/// The first 64 bits of 10^-n, for n up to 19, and how many zeros stand before them.
struct Reciprocal {
    std::uint64_t bits = 0;
    int zeros = 0;
};
inline constexpr int MostReciprocal = 19;
inline constexpr auto Reciprocals = [] {
    std::array<Reciprocal, MostReciprocal + 1> table{};
    std::uint64_t power = 1;
    for (int n = 1; n <= MostReciprocal; ++n) {
        power *= 10;
        auto& [bits, zeros] = table[static_cast<std::size_t>(n)];
        std::uint64_t rest = 1;
        for (zeros = -64; bits >> 63 == 0; ++zeros) {
            const bool carry = rest >> 63 != 0;
            rest <<= 1;
            const bool one = carry || rest >= power;
            if (one) rest -= power;
            bits = bits << 1 | (one ? 1U : 0U);
        }
    }
    return table;
}();

/// The upper half of a product.
inline std::uint64_t MultiplyHigh(std::uint64_t a, std::uint64_t b) {
#ifdef __SIZEOF_INT128__
    __extension__ typedef unsigned __int128 Wide;
    return static_cast<std::uint64_t>(static_cast<Wide>(a) * b >> 64);
#else
    constexpr std::uint64_t low = 0xFFFFFFFF;
    const std::uint64_t ah = a >> 32, al = a & low, bh = b >> 32, bl = b & low;
    const std::uint64_t middle = ah * bl + (al * bl >> 32);
    return ah * bh + (middle >> 32) + ((al * bh + (middle & low)) >> 32);
#endif
}

/// A mantissa above 2^53 with so many decimal places, correctly rounded. False when the product
/// with the reciprocal, which is a little too small, leaves that open.
inline bool DivideLong(std::uint64_t mantissa, int places, double& value) {
    const auto& [bits, zeros] = Reciprocals[static_cast<std::size_t>(places)];
    const int left = std::countl_zero(mantissa);
    const std::uint64_t product = MultiplyHigh(mantissa << left, bits);
    const int cut = 11 - std::countl_zero(product);
    const std::uint64_t half = std::uint64_t{1} << (cut - 1);
    const std::uint64_t rest = product & (2 * half - 1);
    if (rest - (half - 1) <= 1) return false;
    const std::uint64_t rounded = (product >> cut) + (rest > half ? 1 : 0);
    const auto scale = static_cast<std::uint64_t>(1023 + cut - zeros - left) << 52;
    value = static_cast<double>(rounded) * std::bit_cast<double>(scale);
    return true;
}

inline bool Decimal::toDouble(double& value) const {
    if (digits > MaxMantissaDigits || exponent < -MaxExactPower || exponent > MaxExactPower)
        return false;
    double magnitude = static_cast<double>(static_cast<std::int64_t>(mantissa));
    if (mantissa > MaxExactMantissa) {
        if (exponent >= 0 || exponent < -MostReciprocal) return false;
        if (!DivideLong(mantissa, static_cast<int>(-exponent), magnitude)) return false;
    } else {
        magnitude =
            exponent < 0 ? magnitude / ExactPowers[-exponent] : magnitude * ExactPowers[exponent];
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

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

/// Takes a number apart that is written as most in tables are: a digit, the point, and up to
/// sixteen digits. Null when another may stand there. (Half the instructions of the general way.)
inline const char* TakeShort(const char* first, const char* last, std::uint64_t& mantissa,
                             int& places) {
    constexpr int gathered = 8;
    constexpr std::ptrdiff_t longest = 2 + gathered + 1;  // with the byte behind
    if (std::endian::native != std::endian::little || last - first < longest || first[1] != '.')
        return nullptr;
    mantissa = static_cast<unsigned>(first[0]) - unsigned{'0'};
    if (mantissa > 9) return nullptr;
    places = GatherEight(first + 2, mantissa);
    const char* after = first + 2 + places;
    if (places == gathered) [[unlikely]] {
        if (last - after <= gathered) return nullptr;
        const int more = GatherEight(after, mantissa);
        after += more;
        places += more;
        if (more == gathered && static_cast<unsigned>(*after) - unsigned{'0'} <= 9) return nullptr;
    }
    if ((*after | 0x20) == 'e') return nullptr;
    return after;
}

/// The number of TakeShort. False when it takes more than a division.
inline bool ShortNumber(std::uint64_t mantissa, int places, double& value) {
    value = static_cast<double>(static_cast<std::int64_t>(mantissa)) / ExactPowers[places];
    return mantissa <= MaxExactMantissa || DivideLong(mantissa, places, value);
}

/// Mantissas below this have seven digits at most. Of numbers with nine places at most floats then
/// stand closer than such decimals, so that each is the shortest of its own.
inline constexpr std::uint64_t HeldByFloats = 10'000'000;
inline constexpr std::int64_t MostHeldPlaces = 9;

/// Whether a mantissa with a point in it, which a double holds, is seen at once to have more than
/// the nine digits of the longest shortest decimal of a float, zeros at its end aside.
inline bool IsLong(std::uint64_t mantissa) {
    constexpr std::uint64_t ten = 1'000'000'000, thirteen = 1'000'000'000'000;  // digits
    if (mantissa > MaxExactMantissa) return false;
    if (mantissa >= thirteen) return mantissa % 10'000 != 0;
    return mantissa >= ten && mantissa % 10 != 0;
}

}  // namespace detail

// Up to 19 digits are gathered as an integer. When that and the power of ten are exact doubles, one
// multiplication or division rounds correctly; of longer numbers a product of integers does nearly
// always; every other number goes the slow way.
inline NumberEN ParseNumber(const char* first, const char* last, double& value, const char*& end) {
    std::uint64_t mantissa = 0;
    int places = 0;
    const char* const quick = detail::TakeShort(first, last, mantissa, places);
    if (quick != nullptr && detail::ShortNumber(mantissa, places, value)) {
        end = quick;
        return NumberEN::ok;
    }
    detail::Decimal number;
    const char* const after = detail::TakeApart(first, last, number);
    if (after == nullptr) return NumberEN::none;
    end = after;
    if (number.toDouble(value)) return NumberEN::ok;
    return detail::ParseNumberSlow(first, after, value);
}

inline NumberEN ParseFloat(const char* first, const char* last, float& value, double& wide,
                           const char*& end) {
    std::uint64_t mantissa = 0;
    int places = 0;
    double number = 0;
    const char* const quick = detail::TakeShort(first, last, mantissa, places);
    if (quick != nullptr && detail::ShortNumber(mantissa, places, number)) {
        end = quick;
        value = static_cast<float>(number);
        if (mantissa < detail::HeldByFloats && places <= detail::MostHeldPlaces)
            return NumberEN::ok;
        wide = number;
        if (detail::IsLong(mantissa)) return NumberEN::more;
        return detail::JudgeFloat(mantissa, -places, wide, value);
    }
    detail::Decimal decimal;
    const char* const after = detail::TakeApart(first, last, decimal);
    if (after == nullptr) return NumberEN::none;
    end = after;
    if (!decimal.toDouble(number)) {
        if (const NumberEN result = detail::ParseNumberSlow(first, after, number);
            result != NumberEN::ok) {
            return result;
        }
    }
    wide = number;
    if (std::fabs(number) >= detail::FloatLimit) return NumberEN::tooLarge;
    value = static_cast<float>(number);
    // Digits beyond those that fit do not make the mantissa shorter.
    const bool whole = decimal.digits <= detail::MaxMantissaDigits;
    if (whole && decimal.mantissa < detail::HeldByFloats && decimal.exponent <= 0 &&
        decimal.exponent >= -detail::MostHeldPlaces) {
        return NumberEN::ok;
    }
    return detail::JudgeFloat(whole ? decimal.mantissa : 0, decimal.exponent, wide, value);
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
