// Words that a format gives a meaning.
#pragma once

#include <cstddef>
#include <string_view>

namespace lumo {

/// Whether the letters are the same, case of ASCII ignored.
inline bool IsSameLetter(char a, char b) {
    const auto lower = [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    };
    return a == b || lower(a) == lower(b);
}

/// Whether the word is the keyword, letter case of ASCII ignored.
inline bool IsKeyword(std::string_view word, std::string_view keyword) {
    if (word.size() != keyword.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i)
        if (!IsSameLetter(word[i], keyword[i])) return false;
    return true;
}

/// The same of a word that ends with a zero byte; its length is not counted.
inline bool IsKeyword(const char* word, std::string_view keyword) {
    for (const char letter : keyword)
        if (!IsSameLetter(*word++, letter)) return false;
    return *word == '\0';
}

/// The row of a table whose name is the word; null when there is none.
template <class ROW, std::size_t N, class WORD>
const ROW* FindKeyword(const ROW (&table)[N], const WORD& word) {
    for (const ROW& row : table)
        if (IsKeyword(word, row.name)) return &row;
    return nullptr;
}

}  // namespace lumo
