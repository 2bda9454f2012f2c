// Numbers from text: the slow, always correct path, integers, and the C-style faces.
#include "library/utilities/numbers.h"

#include <charconv>
#include <cmath>
#include <cstring>

#include "library/utilities/Utils.h"
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
#ifdef __cpp_lib_to_chars  // with which std::from_chars knows floating numbers
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
