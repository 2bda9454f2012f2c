#include "formats/shared/start.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace lumo {
namespace {

class CharSet {
public:
    constexpr explicit CharSet(std::string_view chars) {
        for (const char c : chars) holds_[static_cast<unsigned char>(c)] = true;
    }
    constexpr bool contains(char c) const { return holds_[static_cast<unsigned char>(c)]; }

private:
    std::array<bool, 256> holds_{};
};
constexpr std::string_view mark = "\xEF\xBB\xBF";
constexpr CharSet blanks(" \t\r\n\f\v");
constexpr CharSet punctuation("(){}[]=,;:|<>\"");

/// Length of the token at the start of a text that starts with one.
std::size_t TokenLength(std::string_view text) {
    if (text.front() == '"') {
        std::size_t end = 1;
        while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
        return std::min(end + 1, text.size());
    }
    if (punctuation.contains(text.front())) return 1;
    const auto endsWord = [](char c) { return blanks.contains(c) || punctuation.contains(c); };
    return static_cast<std::size_t>(std::ranges::find_if(text, endsWord) - text.begin());
}

/// Whether a block begins with the token, the word of its kind: its brace or bracket is next to it,
/// or behind its name. Prose has such words as well.
bool StartsBlock(const std::vector<Token>& tokens, std::size_t i) {
    if (tokens[i].depth > 0 || tokens[i].kind != Token::word) return false;
    const std::string_view opening = tokens[i].text == "probability" ? "(" : "{";
    const auto opens = [&](std::size_t at) {
        return at < tokens.size() && tokens[at].text == opening;
    };
    return opens(i + 1) ||
           (i + 1 < tokens.size() && tokens[i + 1].kind != Token::punctuation && opens(i + 2));
}

}  // namespace

std::string_view WithoutMark(std::string_view text) {
    while (text.starts_with(mark)) text.remove_prefix(mark.size());
    const auto isBlank = [](char c) { return blanks.contains(c); };
    text.remove_prefix(
        static_cast<std::size_t>(std::ranges::find_if_not(text, isBlank) - text.begin()));
    return text;
}

std::string_view SkipBlank(std::string_view text) {
    const auto skipTo = [&text](std::string_view end) {
        const std::size_t at = text.find(end);
        text.remove_prefix(at == std::string_view::npos ? text.size() : at + end.size());
    };
    while (!text.empty()) {
        if (text.starts_with(mark)) {
            text.remove_prefix(mark.size());
        } else if (text.starts_with('%') || text.starts_with("//")) {
            text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
        } else if (text.starts_with("/*")) {
            skipTo("*/");
        } else if (blanks.contains(text.front())) {
            text.remove_prefix(1);
        } else {
            break;
        }
    }
    return text;
}

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

std::vector<Token> Tokens(std::string_view text) {
    std::vector<Token> tokens;
    int depth = 0;
    for (text = SkipBlank(text); !text.empty(); text = SkipBlank(text)) {
        const std::string_view token = text.substr(0, TokenLength(text));
        const bool isQuoted = token.front() == '"';
        const bool isPunctuation = punctuation.contains(token.front());
        if (token == "}") depth = std::max(depth - 1, 0);
        tokens.push_back({isQuoted        ? Token::quoted
                          : isPunctuation ? Token::punctuation
                                          : Token::word,
                          token, depth});
        if (token == "{") ++depth;
        text.remove_prefix(token.size());
    }
    return tokens;
}

std::string_view RootElement(std::string_view text) {
    const auto skipTo = [&text](std::string_view end) {
        const std::size_t at = text.find(end);
        text.remove_prefix(at == std::string_view::npos ? text.size() : at + end.size());
    };
    for (text = WithoutMark(text); text.size() > 1 && text.front() == '<';
         text = WithoutMark(text)) {
        if (text.starts_with("<?")) {
            skipTo(">");
        } else if (text.starts_with("<!--")) {
            skipTo("-->");
        } else if (text.starts_with("<!")) {
            const std::size_t subset = text.find('[');
            if (subset < text.find('>')) skipTo("]");
            skipTo(">");
        } else {
            text.remove_prefix(1);
            const bool isName = std::isalpha(static_cast<unsigned char>(text.front())) != 0;
            return !isName ? std::string_view()
                           : text.substr(
                                 0, std::min(text.find_first_of(" \t\r\n\f\v/><="), text.size()));
        }
    }
    return {};
}

bool IsWord(const std::vector<Token>& tokens, std::size_t i, std::string_view text) {
    return i < tokens.size() && tokens[i].kind == Token::word && tokens[i].text == text;
}

bool HasBlock(const std::vector<Token>& tokens, std::size_t from,
              std::initializer_list<std::string_view> words, std::string_view next) {
    for (std::size_t i = from; i < tokens.size(); ++i) {
        if (std::ranges::find(words, tokens[i].text) == words.end() || !StartsBlock(tokens, i))
            continue;
        if (next.empty() || (i + 1 < tokens.size() && tokens[i + 1].text == next)) return true;
    }
    return false;
}

bool FirstIs(const std::vector<Token>& tokens, std::size_t from, std::string_view word) {
    for (std::size_t i = from; i < tokens.size(); ++i)
        if ((tokens[i].text == "node" || tokens[i].text == "variable") && StartsBlock(tokens, i))
            return tokens[i].text == word;
    return false;
}

std::size_t AfterNetworkHeader(const std::vector<Token>& tokens) {
    const std::size_t at = IsWord(tokens, 0, "network") ? 0 : 1;
    return IsWord(tokens, at, "network") && at + 1 < tokens.size() ? at + 2 : 0;
}

}  // namespace lumo
