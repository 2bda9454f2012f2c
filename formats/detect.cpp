// Detection works on tokens, with the comments of all formats left out, and returns a strength, so
// that an opening that several formats share ("diagnostic network") is decided by what follows it.
#include "formats/detect.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include "formats/ForeignFile.h"
#include "library/reports/message.h"

namespace lumo {
namespace {

// Strengths, from a bare resemblance to certainty.
constexpr int weak = 20;
constexpr int fair = 50;
constexpr int strong = 70;
constexpr int certain = 90;

struct Token {
    enum Kind : unsigned char { word, quoted, punctuation } kind;
    std::string_view text;  ///< in lower case
    int depth;              ///< of braces
};

class CharSet {
public:
    constexpr explicit CharSet(std::string_view chars) {
        for (const char c : chars) holds_[static_cast<unsigned char>(c)] = true;
    }
    constexpr bool contains(char c) const { return holds_[static_cast<unsigned char>(c)]; }

private:
    std::array<bool, 256> holds_{};
};
constexpr CharSet blanks(" \t\r\n\f\v");
constexpr CharSet punctuation("(){}[]=,;:|<>\"");

/// The text after white space, a byte-order mark and comments of any format.
std::string_view SkipBlank(std::string_view text) {
    const auto skipTo = [&text](std::string_view end) {
        const std::size_t at = text.find(end);
        text.remove_prefix(at == std::string_view::npos ? text.size() : at + end.size());
    };
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    while (!text.empty()) {
        if (text.starts_with('%') || text.starts_with("//")) {
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

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

/// The tokens of a text in lower case, of which they are parts.
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

}  // namespace

struct TextStart {
    explicit TextStart(std::string_view aText) : text(aText) {}
    std::string_view text;
    std::string lower = Lower(text);
    std::vector<Token> tokens = Tokens(lower);
};

namespace {

bool IsWord(const std::vector<Token>& tokens, std::size_t i, std::string_view text) {
    return i < tokens.size() && tokens[i].kind == Token::word && tokens[i].text == text;
}

/// Whether a block outside all braces, from the token on, starts with one of the words; `next` is
/// the text that its second token must have, if any is wanted.
bool HasBlock(const std::vector<Token>& tokens, std::size_t from,
              std::initializer_list<std::string_view> words, std::string_view next = {}) {
    for (std::size_t i = from; i < tokens.size(); ++i) {
        if (tokens[i].depth > 0 || tokens[i].kind != Token::word) continue;
        if (std::ranges::find(words, tokens[i].text) == words.end()) continue;
        if (next.empty() || (i + 1 < tokens.size() && tokens[i + 1].text == next)) return true;
    }
    return false;
}

/// The place after a header "network NAME", with at most one word before it; 0 when there is none.
std::size_t AfterNetworkHeader(const std::vector<Token>& tokens) {
    const std::size_t at = IsWord(tokens, 0, "network") ? 0 : 1;
    return IsWord(tokens, at, "network") && at + 1 < tokens.size() ? at + 2 : 0;
}

int HuginStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const bool isClass = IsWord(tokens, 0, "class");
    if (!isClass && !IsWord(tokens, 0, "net")) return 0;
    const std::size_t brace = isClass ? 2 : 1;
    return tokens.size() > brace && tokens[brace].text == "{" ? certain : weak;
}

/// Whether the first block for a variable, outside all braces, starts with that word: DSC has nodes
/// and BIF variables, and each may name one by the other's word.
bool FirstIs(const std::vector<Token>& tokens, std::size_t from, std::string_view word) {
    const auto first = std::find_if(tokens.begin() + static_cast<std::ptrdiff_t>(from),
                                    tokens.end(), [](const Token& token) {
                                        return token.depth == 0 && token.kind == Token::word &&
                                               (token.text == "node" || token.text == "variable");
                                    });
    return first != tokens.end() && first->text == word;
}

int DscStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (body == 0) return HasBlock(tokens, 0, {"probability"}, "(") ? weak : 0;
    if (FirstIs(tokens, body, "variable")) return 0;
    if (HasBlock(tokens, body, {"node", "probability"})) return certain;
    if (tokens.size() == body || tokens[body].text == "{") return fair;
    return tokens[body - 1].kind == Token::quoted ? weak : 0;
}

int DXPressStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (body == 0 || !IsWord(tokens, 0, "diagnostic")) return 0;
    if (HasBlock(tokens, body, {"node", "probability"})) return 0;
    const bool hasBlock =
        HasBlock(tokens, body, {"kb", "nodes", "network", "faulthierarchy", "nodehierarchy"}, "{");
    return hasBlock ? certain : fair;
}

int BifStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (FirstIs(tokens, body, "variable")) return body == 0 ? fair : certain;
    if (FirstIs(tokens, body, "node")) return 0;
    if (HasBlock(tokens, body, {"probability"}, "(")) return body == 0 ? weak : strong;
    if (body == 0 || body >= tokens.size() || tokens[body].text != "{") return 0;
    return IsWord(tokens, body + 1, "property") ? strong : fair;
}

/// A text that starts with a number of nodes and as many numbers of states.
int ErgoStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const auto isInteger = [](const Token& token) {
        return token.text.find_first_not_of("0123456789") == std::string::npos;
    };
    const auto end = std::ranges::find_if_not(tokens, isInteger);
    const auto integers = static_cast<std::size_t>(end - tokens.begin());
    if (integers == 0) return 0;
    const bool small = tokens[0].text.size() < 9;
    const bool counted =
        small && integers > static_cast<std::size_t>(std::stoul(std::string(tokens[0].text)));
    return counted || integers == tokens.size() ? strong : weak;
}

int XMLBIFStrength(const TextStart& start) {
    if (!SkipBlank(start.text).starts_with('<')) return 0;
    if (start.text.find("<BIF") != std::string_view::npos) return certain;
    const bool mentioned = start.lower.find("<bif") != std::string::npos ||
                           start.lower.find("<!doctype bif") != std::string::npos;
    return mentioned ? fair : 0;
}

int XdslStrength(const TextStart& start) {
    const bool mentioned = start.text.find("<smile") != std::string_view::npos;
    return mentioned && SkipBlank(start.text).starts_with('<') ? certain : 0;
}

/// A text that starts with the name of a kind and a number.
int UaiStrength(const TextStart& start) {
    std::string_view text = SkipBlank(start.lower);
    for (; text.starts_with('#'); text = SkipBlank(text))
        text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    const std::vector<Token> tokens = Tokens(text.substr(0, 100));
    const bool kind = IsWord(tokens, 0, "bayes") || IsWord(tokens, 0, "markov") ||
                      IsWord(tokens, 0, "id") || IsWord(tokens, 0, "limid");
    if (!kind) return 0;
    const bool number =
        tokens.size() > 1 && tokens[1].text.front() >= '0' && tokens[1].text.front() <= '9';
    return number ? certain : IsWord(tokens, 0, "bayes") ? fair : weak;
}

constexpr std::array formats = {
    FormatInfo{FormatHugin, "hugin", "Hugin", OfHugin, " .net .oobn .hugin ", HuginStrength},
    FormatInfo{FormatDsc, "dsc", "DSC", OfDsc, " .dsc ", DscStrength},
    FormatInfo{FormatDXPress, "dxpress", "DXPress", OfDXPress, " .dxp .dx ", DXPressStrength},
    FormatInfo{FormatErgo, "ergo", "Ergo", OfErgo, " .erg .ergo ", ErgoStrength},
    FormatInfo{FormatXMLBIF, "xmlbif", "XML BIF", OfXMLBIF, " .xml .xbif .xmlbif .bifxml ",
               XMLBIFStrength},
    FormatInfo{FormatBIF, "bif", "BIF", OfBIF, " .bif ", BifStrength},
    FormatInfo{FormatXDSL, "xdsl", "XDSL", OfXDSL, " .xdsl ", XdslStrength},
    FormatInfo{FormatUAI, "uai", "UAI", OfUAI, " .uai ", UaiStrength},
};

bool HasExtension(const FormatInfo& format, std::string_view fileName) {
    fileName = PlainName(fileName);
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos || fileName.find('/', dot) != std::string_view::npos)
        return false;
    const std::string extension = " " + Lower(fileName.substr(dot)) + " ";
    return format.extensions.find(extension) != std::string_view::npos;
}

}  // namespace

std::span<const FormatInfo> Formats() { return formats; }

std::string FormatTitles(unsigned set) {
    std::string text;
    if (set == OfAny) return "any format";
    for (const FormatInfo& format : Formats())
        if ((set & format.bit) != 0) text += (text.empty() ? "" : ", ") + std::string(format.title);
    return text;
}

const FormatInfo* FindFormat(std::string_view name) {
    const auto* found = std::ranges::find(formats, name, &FormatInfo::name);
    return found == formats.end() ? nullptr : found;
}

const FormatInfo* FindFormat(int code) {
    const auto* found = std::ranges::find(formats, code, &FormatInfo::code);
    return found == formats.end() ? nullptr : found;
}

std::string_view PlainName(std::string_view fileName) {
    constexpr std::size_t length = 3;
    if (fileName.size() > length && Lower(fileName.substr(fileName.size() - length)) == ".gz")
        fileName.remove_suffix(length);
    return fileName;
}

const FormatInfo* FormatOfExtension(std::string_view fileName) {
    const auto* const found = std::ranges::find_if(
        formats, [&](const FormatInfo& format) { return HasExtension(format, fileName); });
    return found == formats.end() ? nullptr : found;
}

const FormatInfo* CertainFormat(std::string_view start) {
    const TextStart begin(start.substr(0, DetectionWindow));
    const auto* const found = std::ranges::find_if(
        formats, [&](const FormatInfo& format) { return format.strength(begin) >= certain; });
    return found == formats.end() ? nullptr : found;
}

const FormatInfo* DetectFormat(std::string_view start, std::string_view fileName) {
    const TextStart begin(start.substr(0, DetectionWindow));
    const FormatInfo* best = nullptr;
    int most = 0;
    for (const FormatInfo& format : formats) {
        // The extension weighs less than any difference between two strengths.
        const int strength = format.strength(begin) + (HasExtension(format, fileName) ? 1 : 0);
        if (strength > most) {
            most = strength;
            best = &format;
        }
    }
    return best;
}

}  // namespace lumo
