// Tokens as messages name them.
#pragma once

#include <string>
#include <string_view>

#include "library/text/parser.h"

namespace lumo {

/// The token for a message: at most 80 bytes of it, control bytes escaped.
std::string Shown(std::string_view token);

/// What stands next after blanks, which becomes the place of reports: a word in quotes, or the name
/// of a character.
std::string NextToken(Parser_kt& in);

/// Whether the word is a number but for a comma in place of the point, digits on both sides.
bool HasDecimalComma(std::string_view word);

/// Records the error for what stands where a number is expected (consuming blanks only): a word
/// that is none, a number too large, punctuation, the end of the input.
rept_kt* MakeNumberError(Parser_kt& in, bool integer);

}  // namespace lumo
