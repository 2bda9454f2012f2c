// Words in the text of a message that go with one of its whole numbers: "%d row[|s]" gives "1 row"
// and "2 rows"; "[1?is|are]" goes with the first number of the text, without it with the last one
// before.
#pragma once

#include <cstddef>
#include <string_view>

namespace lumo {

struct NumberedWords {
    std::size_t length = 0;  ///< of all with its brackets; 0: there are none
    std::size_t number = 0;  ///< which whole number of the text, from 1; 0: the last one before
    std::string_view one, many;
};

/// Those that the text starts with.
constexpr NumberedWords NumberedWordsAt(std::string_view text) {
    const std::size_t end = text.find(']');
    std::string_view words = text.substr(0, end);
    if (!text.starts_with('[') || end == text.npos || words.find('|') == words.npos) return {};
    words.remove_prefix(1);
    NumberedWords found{end + 1, 0, {}, {}};
    if (words.find('?') == 1) {
        found.number = static_cast<std::size_t>(words[0] - '0');
        words.remove_prefix(2);
    }
    const std::size_t bar = words.find('|');
    found.one = words.substr(0, bar);
    found.many = words.substr(bar + 1);
    return found;
}

}  // namespace lumo
