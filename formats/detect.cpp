// Detection works on tokens, with the comments of all formats left out, and returns a strength, so
// that an opening that several formats share ("diagnostic network") is decided by what follows it.
#include "formats/detect.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <vector>

#include "formats/ForeignFile.h"
#include "formats/othertexts.h"
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
    constexpr std::string_view mark = "\xEF\xBB\xBF";
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
    bool isMarkup = SkipBlank(text).starts_with('<');  ///< then it has no tokens
    std::vector<Token> tokens = isMarkup ? std::vector<Token>() : Tokens(lower);
};

namespace {

bool IsWord(const std::vector<Token>& tokens, std::size_t i, std::string_view text) {
    return i < tokens.size() && tokens[i].kind == Token::word && tokens[i].text == text;
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

/// Whether a block outside all braces, from the token on, starts with one of the words; `next` is
/// the text that its second token must have, if any is wanted.
bool HasBlock(const std::vector<Token>& tokens, std::size_t from,
              std::initializer_list<std::string_view> words, std::string_view next = {}) {
    for (std::size_t i = from; i < tokens.size(); ++i) {
        if (std::ranges::find(words, tokens[i].text) == words.end() || !StartsBlock(tokens, i))
            continue;
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
    for (std::size_t i = from; i < tokens.size(); ++i)
        if ((tokens[i].text == "node" || tokens[i].text == "variable") && StartsBlock(tokens, i))
            return tokens[i].text == word;
    return false;
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

/// A text of a number of nodes, their numbers of states, and for each how many parents it has and
/// which. Other lists of integers, such as evidence, seldom say that.
int ErgoStrength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    std::size_t at = 0;
    // The next number, which has at most seven digits; -1 at another token and at the end.
    const auto next = [&]() -> long {
        constexpr std::size_t mostDigits = 7;
        if (at >= tokens.size() || tokens[at].text.size() > mostDigits) return -1;
        long number = 0;
        for (const char c : tokens[at].text) {
            if (c < '0' || c > '9') return -1;
            number = number * 10 + (c - '0');
        }
        ++at;
        return number;
    };
    const auto ends = [&] { return at >= tokens.size(); };
    const long nodes = next();
    if (nodes < 1) return 0;
    for (long i = 0; i < nodes; ++i)
        if (next() < 1) return ends() ? weak : 0;
    for (long i = 0; i < nodes; ++i) {
        long parents = next();
        if (parents < 0 || parents >= nodes) return ends() ? weak : 0;
        for (; parents > 0; --parents)
            if (const long parent = next(); parent < 0 || parent > nodes) return ends() ? weak : 0;
    }
    return ends() ? weak : strong;
}

int XMLBIFStrength(const TextStart& start) {
    if (!start.isMarkup) return 0;
    const std::string root = Lower(RootElement(start.text));
    if (root.ends_with(":xmlbif") || root.ends_with(":bif") || root == "xmlbif") return certain;
    const bool isNetwork = root == "network" || root.ends_with(":network");
    if (isNetwork && start.lower.find("<variable") != std::string::npos) return certain;
    if (start.text.find("<BIF") != std::string_view::npos) return certain;
    const bool mentioned = start.lower.find("<bif") != std::string::npos ||
                           start.lower.find("<!doctype bif") != std::string::npos;
    return mentioned ? fair : 0;
}

int XdslStrength(const TextStart& start) {
    const bool mentioned = start.text.find("<smile") != std::string_view::npos;
    return mentioned && start.isMarkup ? certain : 0;
}

/// A text that starts with the name of a kind and a number.
int UaiStrength(const TextStart& start) {
    if (start.isMarkup) return 0;
    std::string_view text = SkipBlank(start.lower);
    for (; text.starts_with('#'); text = SkipBlank(text))
        text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    const std::vector<Token> tokens = Tokens(text.substr(0, 100));
    const bool kind = IsWord(tokens, 0, "bayes") || IsWord(tokens, 0, "markov") ||
                      IsWord(tokens, 0, "id") || IsWord(tokens, 0, "limid");
    if (!kind) return 0;
    const bool number =
        tokens.size() > 1 && tokens[1].text.front() >= '0' && tokens[1].text.front() <= '9';
    return number ? certain : tokens.size() == 1 ? fair : 0;
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
