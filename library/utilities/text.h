// Text of imported files for the outer world.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "library/utilities/language.h"

namespace LUMO_API lumo {

/// The text as valid UTF-8: what is valid already is kept, every other byte is taken as
/// Windows-1252.
std::string ToUtf8(std::string_view text);

/// The bytes of the UTF-8 character at the start of the text (1 to 4), 0 when it is not valid
/// there.
int Utf8Length(std::string_view text);

/// As much of the start of UTF-8 text as is no longer than that many bytes and ends with a whole
/// character.
std::string_view WithinBytes(std::string_view utf8, std::size_t most);

/// The code point at the start of valid UTF-8, and its bytes.
std::pair<char32_t, std::size_t> CodePoint(std::string_view utf8);

/// Whether the character would move, break or turn round the text around it, or not be seen at all:
/// controls, line and paragraph separators, marks of writing direction, blanks without width.
bool IsHidden(char32_t code);

/// The text as UTF-8 for a terminal or a line of a log: control characters are written as `\x1b`,
/// other hidden ones as `\u202e`.
std::string Visible(std::string_view text);

/// The text as one line of UTF-8 for labels: control characters and what is no character are
/// blanks.
std::string OneLine(std::string_view text);

/// The text as UTF-8 for the content and the quoted attributes of XML: mark-up is escaped, and
/// U+FFFD stands for every control character but tab and line break, and for what is no character.
std::string XmlText(std::string_view text);

}  // namespace lumo
