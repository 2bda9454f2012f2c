#include "formats/bif/statements.h"

#include <cstring>

#include "formats/shared/passing.h"
#include "formats/shared/readers.h"

namespace lumo {

namespace {

constexpr std::string_view blockKeywords[] = {"network", "variable", "probability"};
constexpr std::string_view statementKeywords[] = {"property", "type", "table", "default"};

template <std::size_t count>
bool IsAny(std::string_view word, const std::string_view (&keywords)[count]) {
    return std::ranges::any_of(keywords, [word](auto keyword) { return IsKeyword(word, keyword); });
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool IsQuoted(std::string_view text) {
    return text.size() >= 2 && text.front() == '"' && text.find('"', 1) == text.size() - 1;
}

std::string_view Unquoted(std::string_view text) {
    return IsQuoted(text) ? Trimmed(text.substr(1, text.size() - 2)) : text;
}

/// Whether a statement or block starts at p.
bool StartsStatement(Parser_CString_kt& in, ParserPos_kt p) {
    in.setPos(p);
    const std::string_view word = in.peekWord();
    return in.peekChar() == '(' || IsAny(word, statementKeywords) || IsAny(word, blockKeywords);
}

/// Past the quoted text at p; past the quote alone when its line does not close it.
ParserPos_kt PastQuoted(ParserPos_kt p) {
    const std::size_t length = std::strcspn(p + 1, "\"\r\n");
    return p[length + 1] == '"' ? p + length + 2 : p + 1;
}

/// Whether another property starts behind the blank at p: its keyword, a name, and a '='.
bool StartsProperty(Parser_CString_kt& in, ParserPos_kt p) {
    constexpr std::string_view keyword = "property";
    in.setPos(p);
    if (in.peekWord() != keyword) return false;
    in.setPos(in.getPos() + keyword.size());
    const std::string_view name = in.peekWord();
    in.setPos(in.getPos() + name.size());
    return name.find('=', 1) != std::string_view::npos || in.peekPunc() == '=';
}

/// The text of a property, to whose end it moves.
std::string_view PropertyText(Parser_CString_kt& in) {
    in.skipSpaces();
    const ParserPos_kt start = in.getPos();
    ParserPos_kt p = start;
    ParserPos_kt comment = nullptr;
    while (*p != 0 && *p != ';' && *p != '}') {
        if (*p == '"') {
            p = PastQuoted(p);
        } else if (p[0] == '/' && (p[1] == '/' || p[1] == '*')) {
            if (comment == nullptr) comment = p;
            in.setPos(p);
            in.skipSpaces();
            p = in.getPos();
            if (StartsStatement(in, p)) break;
        } else if (p[0] == ' ' && p[1] == 'p' && StartsProperty(in, p + 1)) {
            break;
        } else if (*p++ == '\n' && StartsStatement(in, p)) {
            break;
        }
    }
    in.setPos(p);
    return Trimmed({start, static_cast<std::size_t>((comment != nullptr ? comment : p) - start)});
}

}  // namespace

std::string_view TakeWord(Parser_CString_kt& in) {
    const std::string_view word = in.peekWord();
    in.setTokenStart(in.getPos());
    in.setPos(in.getPos() + word.size());
    return word;
}

bool TakeText(Parser_CString_kt& in, std::string_view& text) {
    text = in.peekWord();
    if (text.empty() && in.peekChar() != '"') return false;
    if (text.empty()) {
        in.readStringText();
        text = in.work.view();
    } else {
        in.setTokenStart(text.data());
        in.setPos(text.data() + text.size());
    }
    return true;
}

void Expect(Parser_CString_kt& in, char wanted) {
    if (in.peekPunc() == wanted) return in.skipChar();
    const std::string found = NextToken(in);
    in.report(msg::bif.missingPunctuation, CharName(wanted), found.c_str());
}

void DropStray(Parser_CString_kt& in, char c) {
    in.report(msg::bif.strayPunctuation, CharName(c));
    strin_kt text;
    if (c == '"') in.readQuotedRest(text);
    if (c == '{') in.skipStructure('{', '}', true);
}

bool AtBlock(Parser_CString_kt& in) {
    const ParserPos_kt start = in.getPos();
    if (!IsAny(in.peekWord(), blockKeywords)) return false;
    in.setPos(in.getPos() + in.peekWord().size());
    const char next = in.peekPunc();
    in.setPos(in.getPos() + in.peekWord().size());
    const bool starts = next == '(' || next == '"' || in.peekPunc() == '{';
    in.setPos(start);
    return starts;
}

void PassBlock(Parser_CString_kt& in) {
    for (int depth = 0; !in.isAtEnd() && !AtBlock(in);) {
        if (in.peekPunc() == '"') {
            PassString(in, AtBlock);
            continue;
        }
        if (!TakeWord(in).empty()) continue;
        const char c = in.readChar();
        if (c == '{') ++depth;
        if (c == '}' && --depth <= 0) return;
    }
}

void PassStatement(Parser_CString_kt& in) {
    in.skipStatement();
    if (in.peekPunc() == ';') in.skipChar();
}

Property ReadProperty(Parser_CString_kt& in) {
    const std::string_view text = Unquoted(PropertyText(in));
    const std::size_t length = std::min(text.find_first_of("= \t\r\n"), text.size());
    std::string_view value = Trimmed(text.substr(length));
    if (value.starts_with('=')) value = Trimmed(value.substr(1));
    const std::string_view name = text.substr(0, length);
    if (!text.empty()) in.setTokenStart(text.data());
    if (name.empty()) in.report(msg::bif.propertyWithoutName, Shown(value).c_str());
    if (!name.empty() && value.empty())
        in.report(msg::bif.propertyWithoutValue, Shown(name).c_str());
    if (!IsQuoted(value) && (value.starts_with('"') || value.ends_with('"')))
        in.report(msg::bif.unclosedQuote);
    if (IsQuoted(value)) value = value.substr(1, value.size() - 2);
    return {name, value};
}

}  // namespace lumo
