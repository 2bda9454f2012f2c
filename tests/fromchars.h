// std::from_chars for floating numbers, which not every standard library has, or has right.
#pragma once

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>

namespace lumo::test {

/// As std::from_chars does; what it does not take, blanks first, a plus or hexadecimal digits, is
/// not looked for.
template <class Number>
std::from_chars_result FromChars(const char* first, const char* last, Number& value) {
#if defined(__cpp_lib_to_chars) && !defined(__i386__)
    return std::from_chars(first, last, value);
#else
    const std::string text(first, last);
    char* end = nullptr;
    errno = 0;
    Number number = 0;
    if constexpr (sizeof(Number) == sizeof(float))
        number = std::strtof(text.c_str(), &end);
    else
        number = std::strtod(text.c_str(), &end);
    const auto length = end - text.c_str();
    if (length == 0) return {first, std::errc::invalid_argument};
    if (errno == ERANGE && (number == 0 || std::isinf(number)))
        return {first + length, std::errc::result_out_of_range};
    value = number;
    return {first + length, std::errc()};
#endif
}

}  // namespace lumo::test
