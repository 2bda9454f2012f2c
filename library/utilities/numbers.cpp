// Numbers from text: the slow, always correct path, integers, and the C-style faces.
#include "library/utilities/numbers.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "library/utilities/Utils.h"
#include "library/utilities/exact.h"
#include "library/utilities/system.h"

namespace lumo {

namespace {

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

const char* SkipSpaces(const char* text) {
    while (IsSpace(*text)) ++text;
    return text;
}

const char* SkipZeros(const char* p, const char* last) {
    while (p != last && *p == '0') ++p;
    return p;
}

const char* SkipDigits(const char* p, const char* last) {
    while (p != last && *p >= '0' && *p <= '9') ++p;
    return p;
}

/// Where the number at the start of a zero-terminated text ends at most. The text may be long and
/// hold many numbers, so its length is not asked for.
const char* NumberLimit(const char* text) {
    const auto digits = [](const char* p) { return p + std::strspn(p, "0123456789"); };
    const auto sign = [](const char* p) { return p + (*p == '-' || *p == '+'); };
    const char* p = digits(sign(text));
    if (*p == '.') p = digits(p + 1);
    if (*p == 'e' || *p == 'E') p = digits(sign(p + 1));
    return p;
}

/// The double nearest to the number at [first, last), which has the form of one and no plus sign;
/// false when it is out of range, of which standard libraries differ in what they call so.
bool NearestDouble(const char* first, const char* last, double& value) {
// Some libraries' std::from_chars knows no floating numbers, and those for i386 round them twice.
#if defined(__cpp_lib_to_chars) && !defined(__i386__)
    return std::from_chars(first, last, value).ec == std::errc();
#else
    value = system::NearestDouble(std::string(first, last).c_str());
    return true;
#endif
}

/// Whether the number at [first, last), which no double can hold, is too large and not too small:
/// its first significant digit stands before the decimal point.
bool IsLarge(const char* first, const char* last) {
    if (*first == '-') ++first;
    const char* const significant = SkipZeros(first, last);
    const char* p = SkipDigits(significant, last);
    std::int64_t magnitude = p - significant;
    if (p != last && *p == '.') {
        const char* const fraction = p + 1;
        if (magnitude == 0) magnitude = fraction - SkipZeros(fraction, last);
        p = SkipDigits(fraction, last);
    }
    if (p != last) detail::GatherExponent(p, last, magnitude);
    return magnitude > 0;
}

}  // namespace

NumberEN detail::ParseNumberSlow(const char* first, const char* last, double& value) {
    if (*first == '+') ++first;
    double parsed = 0;
    if (NearestDouble(first, last, parsed) && std::isfinite(parsed)) {
        value = parsed;
        return NumberEN::ok;
    }
    if (IsLarge(first, last)) return NumberEN::tooLarge;
    value = *first == '-' ? -0.0 : 0.0;
    return NumberEN::ok;
}

NumberEN detail::JudgeFloat(std::uint64_t mantissa, std::int64_t exponent, double wide,
                            float& value) {
    // What has few places, zeros at its end aside, is the usual case.
    constexpr double million = 1e6, few = 1e7;
    const double scaled = std::fabs(wide) * million;
    if (scaled < few &&
        static_cast<double>(static_cast<std::int64_t>(scaled + 0.5)) / million == std::fabs(wide))
        return NumberEN::ok;
    constexpr std::uint64_t longest = 1'000'000'000;  // the shortest decimal has nine digits
    constexpr std::int64_t mostPlaces = 12;           // then a float times the power is exact
    if (exponent < 0 && mantissa >= longest && mantissa % 10 != 0) return NumberEN::more;
    while (mantissa != 0 && mantissa % 10 == 0) {
        mantissa /= 10;
        ++exponent;
    }
    if (exponent < 0 && mantissa >= longest) return NumberEN::more;
    const auto bits = std::bit_cast<std::uint32_t>(value);
    constexpr std::uint32_t fraction = (1U << 23) - 1, least = 1U << 23;
    const bool evenlySpaced = (bits & fraction) != 0 && (bits & ~(1U << 31)) > least;
    if (mantissa != 0 && evenlySpaced && exponent < 0 && exponent >= -mostPlaces) {
        // In units of the last digit: where the float stands, and how far around it others round
        // to it.
        const double power = ExactPowers[-exponent];
        const double place = std::fabs(static_cast<double>(value)) * power;
        const double next = static_cast<double>(std::bit_cast<float>(bits + 1));
        const double reach = std::fabs(next - static_cast<double>(value)) * power / 2;
        const double off = std::fabs(place - static_cast<double>(mantissa));
        const double shorter = std::fabs(std::round(place / 10) * 10 - place);
        if (off != 0.5 && shorter != reach)
            return off < 0.5 && shorter > reach ? NumberEN::ok : NumberEN::more;
    }
    return ShortestDouble(value) == wide ? NumberEN::ok : NumberEN::more;
}

NumberEN detail::ParseIntegerSlow(const char* first, const char* last, int& value) {
    const std::from_chars_result result = std::from_chars(first + (*first == '+'), last, value);
    return result.ec == std::errc() ? NumberEN::ok : NumberEN::tooLarge;
}

int strtodouble2_kt(const char* text, double* result, const char** end) {
    if (text == nullptr) return -1;
    double value = 0;
    const char* after = nullptr;
    switch (ParseNumber(text, NumberLimit(text), value, after)) {
        case NumberEN::none:
            return -1;
        case NumberEN::tooLarge:
            return -2;
        case NumberEN::ok:
        case NumberEN::more:
            break;
    }
    if (result != nullptr) *result = value;
    if (end != nullptr) *end = after;
    return 0;
}

double strtod1_kt(const char* text, char** end, int* error) {
    const char* after = text;
    double value = 0;
    bool failed = text == nullptr;
    if (!failed) {
        const char* const number = SkipSpaces(text);
        failed = ParseNumber(number, NumberLimit(number), value, after) != NumberEN::ok;
    }
    // The caller may write through its own pointer into the same text, as with strtod.
    if (end != nullptr) *end = const_cast<char*>(after);
    if (error != nullptr) *error = failed ? 1 : 0;
    return failed ? 0 : value;
}

}  // namespace lumo
