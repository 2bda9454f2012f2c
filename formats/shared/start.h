// The start of a text as detection sees it: tokens, with the comments of all formats left out. A
// format answers with a strength, so that an opening that several formats share ("diagnostic
// network") is decided by what follows it.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace lumo {

/// How much a text looks like a format, from a bare resemblance to certainty; 0: not at all.
namespace strength {
inline constexpr int weak = 20;
inline constexpr int fair = 50;
inline constexpr int strong = 70;
inline constexpr int certain = 90;
}  // namespace strength

struct Token {
    enum Kind : unsigned char { word, quoted, punctuation } kind;
    std::string_view text;  ///< in lower case
    int depth;              ///< of braces
};

/// Lower case of the letters of ASCII.
std::string Lower(std::string_view text);

/// The text after byte-order marks and white space.
std::string_view WithoutMark(std::string_view text);

/// The text after white space, a byte-order mark and comments of any format.
std::string_view SkipBlank(std::string_view text);

/// The tokens of a text in lower case, of which they are parts.
std::vector<Token> Tokens(std::string_view text);

/// The root element of a text that is XML, as it is written; empty when there is none to be seen.
std::string_view RootElement(std::string_view text);

struct TextStart {
    explicit TextStart(std::string_view aText) : text(aText) {}
    std::string_view text;
    std::string lower = Lower(text);
    bool isMarkup = SkipBlank(text).starts_with('<');  ///< then it has no tokens
    std::vector<Token> tokens = isMarkup ? std::vector<Token>() : Tokens(lower);
};

bool IsWord(const std::vector<Token>& tokens, std::size_t i, std::string_view text);

/// Whether a block outside all braces, from the token on, starts with one of the words; `next` is
/// the text that its second token must have, if any is wanted.
bool HasBlock(const std::vector<Token>& tokens, std::size_t from,
              std::initializer_list<std::string_view> words, std::string_view next = {});

/// Whether the first block for a variable, outside all braces, starts with that word: some formats
/// have nodes and some variables, and each may name one by the other's word.
bool FirstIs(const std::vector<Token>& tokens, std::size_t from, std::string_view word);

/// The place after a header "network NAME", with at most one word before it; 0 when there is none.
std::size_t AfterNetworkHeader(const std::vector<Token>& tokens);

}  // namespace lumo
