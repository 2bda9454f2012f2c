// Words that a format gives a meaning.
#pragma once

#include <cstddef>
#include <string_view>

namespace lumo {

/// Whether the word is the keyword, letter case of ASCII ignored.
inline bool IsKeyword(std::string_view word, std::string_view keyword) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    };
    if (word.size() != keyword.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (word[i] != keyword[i] && lower(word[i]) != lower(keyword[i])) return false;
    return true;
}

/// The row of a table whose name is the word; null when there is none.
template <class ROW, std::size_t N>
const ROW* FindKeyword(const ROW (&table)[N], std::string_view word) {
    for (const ROW& row : table)
        if (IsKeyword(word, row.name)) return &row;
    return nullptr;
}

}  // namespace lumo
