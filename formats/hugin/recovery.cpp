// Hugin files: where reading goes on after a damaged header, field, brace or quote, so that only
// the damaged object is lost. All costs stay linear over a file: what was looked for in vain is
// remembered, and what may be read once more is bounded.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"

namespace lumo::hugin {

namespace {

/// Words that start an object, those of the objects that are passed over included.
constexpr const char* ObjectWords[] = {"net",     "class",     "node",       "decision",
                                       "utility", "potential", "continuous", "discrete",
                                       "boolean", "function",  "temporal",   "instance"};

/// The text not read yet.
std::string_view Rest(const Parser_CString_kt& in) {
    return {in.getPos(), static_cast<std::size_t>(in.bytesLeft())};
}

/// What stands behind an opening quote: where the string closes and where its first line ends; the
/// size of the text when they do not.
struct StringEnds {
    std::size_t close;
    std::size_t line;
};

StringEnds FindEnds(std::string_view text, std::size_t from) {
    StringEnds ends{text.size(), text.size()};
    for (std::size_t at = from; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') return {at, std::min(at, ends.line)};
        if ((c == '\n' || c == '\r') && at < ends.line) ends.line = at;
        if (c == '\\') ++at;
    }
    return ends;
}

bool SameWord(std::string_view word, std::string_view known) {
    return word.size() == known.size() && streqli_kt(std::string(word).c_str(), known.data());
}

bool IsObjectWord(std::string_view word) {
    return std::ranges::any_of(ObjectWords,
                               [&](const char* known) { return SameWord(word, known); });
}

/// Goes back from where reading is to the end of a line on which the quote opens a string that
/// never closes there.
void ResumeAfterLine(Parser_CString_kt& in, ParserPos_kt quote, ParserPos_kt lineEnd) {
    in.setPos(lineEnd);
    in.setTokenStart(quote);
    in.report(msg::hugin.openQuote);
}

bool IsOneOf(char c, std::string_view characters) {
    return characters.find(c) != std::string_view::npos;
}

/// The last character before the place that is no blank; 0 when there is none.
char Before(ParserPos_kt place, ParserPos_kt start) {
    while (place > start && IsOneOf(place[-1], " \t\r\n")) --place;
    return place > start ? place[-1] : '\0';
}

/// Whether a string that began on an earlier line may end with the quote at the place, behind which
/// the input stands: something follows that can follow a value, and the quote does not look like
/// the opening one of another value.
bool MayClose(Parser_CString_kt& in, ParserPos_kt quote, ParserPos_kt start) {
    const char next = in.peekPunc();
    if (next == '\0' || IsOneOf(next, ";,)}")) return true;
    if (IsOneOf(Before(quote, start), "=(,")) return false;
    return AtField(in) || AtObject(in) || (next == '"' && IsOneOf(quote[1], " \t\r\n"));
}

/// For the input at an opening quote: how far behind it its line ends, when the quote does not
/// close on its line and the string that it opens ends in the middle of something; npos when all is
/// well.
std::size_t RunOnAfter(Parser_CString_kt& in) {
    const std::string_view text = Rest(in);
    const auto [close, line] = FindEnds(text, 1);
    const auto behind = static_cast<long long>(close - line);
    if (behind == 0 || behind > StateOf(in).recovery.bytesToReread) return std::string_view::npos;
    const ParserPos_kt quote = in.getPos();
    if (close < text.size()) {
        in.setPos(quote + close + 1);
        const bool ends = MayClose(in, quote + close, quote + 1);
        in.setPos(quote);
        if (ends) return std::string_view::npos;
    }
    StateOf(in).recovery.bytesToReread -= behind;
    return line;
}

/// Whether a quote within a value that is passed over closes a string whose opening one was taken
/// for a closing one, as in "5" pipe": it follows a word, and the ';' stands behind it and behind
/// the brackets that are open.
bool ClosesValue(const Parser_CString_kt& in, ParserPos_kt value, int depth) {
    const ParserPos_kt behind = in.getPos();
    if (IsOneOf(Before(behind - 1, value), "=(,\"") || behind - 1 == value) return false;
    for (const char c : Rest(in)) {
        if (c == ';') return true;
        if (c == ')' ? --depth < 0 : !IsOneOf(c, " \t\r\n")) return false;
    }
    return false;
}

/// Passes over a string whose quote was read. False when it runs on.
bool PassString(Parser_CString_kt& in) {
    in.unreadChar('"');
    if (StringRunsOn(in)) return false;
    in.skipChar();
    SkipString(in);
    return true;
}

/// Passes over a body whose '{' was read. False when the input ends in it. Warily, other objects
/// and lines end what is damaged; otherwise damage is just found: false for a string that runs on.
bool PassBody(Parser_CString_kt& in, bool warily) {
    for (int depth = 1; !in.isAtEnd();) {
        const ParserPos_kt here = in.getPos();
        const char punc = in.readPunc();
        if (punc == '{') ++depth;
        if (punc == '}' && --depth == 0) return true;
        if (punc == '"' && !warily) {
            in.setPos(here);
            if (RunOnAfter(in) != std::string_view::npos) return false;
            in.skipChar();
        }
        if (punc == '"') PassString(in);
        if (punc != 0) continue;
        if (warily && AtObject(in)) return false;
        SkipWord(in);
    }
    return false;
}

/// Passes over a closed pair of brackets, its '(' next; within it neither a ';' ends the value nor
/// a field or object begins. False, and no move, when it is not closed in the object.
bool PassBrackets(Parser_CString_kt& in, ParserPos_kt value) {
    const ParserPos_kt open = in.getPos();
    int depth = 0;
    for (int braces = 0; !in.isAtEnd() && braces >= 0;) {
        const ParserPos_kt here = in.getPos();
        const char punc = in.readPunc();
        if (punc == '{') ++braces;
        if (punc == '}') --braces;
        if (punc == '(') ++depth;
        if (punc == ')' && --depth == 0) return true;
        if (punc == '"' && !ClosesValue(in, value, depth)) {
            in.setPos(here);
            if (RunOnAfter(in) != std::string_view::npos) break;
            in.skipChar();
            SkipString(in);
        }
        if (punc == 0) SkipWord(in);
    }
    StateOf(in).recovery.unclosed = in.getPos();
    in.setPos(open);
    return false;
}

}  // namespace

void StartRecovery(const Parser_CString_kt& in) {
    StateOf(in).recovery.wary = false;
    StateOf(in).recovery.bytesToReread = in.bytesLeft();
    StateOf(in).recovery.unclosed = nullptr;
}

void SkipWord(Parser_CString_kt& in) {
    const std::size_t length = in.peekWord().size();
    in.setPos(in.getPos() + length);
}

void SkipName(Parser_CString_kt& in) {
    SkipWord(in);
    in.setPos(in.getPos() + PeekArguments(in).size());
}

void SkipString(Parser_CString_kt& in) {
    const std::size_t close = FindEnds(Rest(in), 0).close;
    in.setPos(in.getPos() + std::min(close + 1, Rest(in).size()));
}

std::string_view PeekArguments(const Parser_CString_kt& in) {
    const std::string_view text = Rest(in);
    if (text.empty() || text[0] != '(') return {};
    const std::size_t close = text.find_first_of(" \t\r\n(){}=;:|\"%", 1);
    if (close >= text.size() || text[close] != ')') return {};
    return text.substr(0, close + 1);
}

bool AtField(Parser_CString_kt& in) {
    const ParserPos_kt here = in.getPos();
    SkipWord(in);
    const bool field = in.getPos() != here && in.peekPunc() == '=';
    in.setPos(here);
    return field;
}

// Its word, then names with perhaps a ':' among them, and a '{'; but a potential's '(' is next to
// its word, and an instance's stands behind the ':'.
bool AtObject(Parser_CString_kt& in) {
    const std::string_view word = in.peekWord();
    if (!IsObjectWord(word)) return false;
    constexpr int mostTokens = 6;
    const ParserPos_kt here = in.getPos();
    char punc = 0;
    bool colon = false;
    SkipWord(in);
    for (int i = 0; i < mostTokens && (punc == 0 || punc == ':'); ++i) {
        punc = in.readPunc();
        if (punc == 0) SkipName(in);
        colon = colon || punc == ':';
    }
    const bool bracket = punc == '(' && (colon || SameWord(word, "potential"));
    in.setPos(here);
    in.setTokenStart(here);
    return punc == '{' || bracket;
}

// A class has one '}' more, so that a missing one shows only at the end of the input.
void SkipBody(Parser_CString_kt& in) {
    const ParserPos_kt start = in.getPos();
    if (!StateOf(in).recovery.wary) {
        const bool closed = PassBody(in, false);
        if (closed && (StateOf(in).version == Version5 || !in.isAtEnd())) return;
        StateOf(in).recovery.wary = true;
        in.setPos(start);
    }
    PassBody(in, true);
}

void SkipField(Parser_CString_kt& in, ParserPos_kt value) {
    while (!in.isAtEnd()) {
        const ParserPos_kt here = in.getPos();
        const char next = in.peekPunc();
        if (next == ';' || next == '}') return;
        if (next == '(' && here >= StateOf(in).recovery.unclosed && PassBrackets(in, value))
            continue;
        const char punc = in.readPunc();
        if (punc == '{') SkipBody(in);
        if (punc == '"' && !ClosesValue(in, value, 0) && !PassString(in)) return;
        if (punc != 0) continue;
        if ((here != value && AtField(in)) || AtObject(in)) return;
        SkipWord(in);
    }
}

void SkipObject(Parser_CString_kt& in) {
    while (!in.isAtEnd()) {
        const char punc = in.readPunc();
        if (punc == '}') return;
        if (punc == '{') return SkipBody(in);
        if (punc == '"') PassString(in);
        if (punc != 0) continue;
        if (AtObject(in)) return;
        SkipWord(in);
    }
}

bool StringRunsOn(Parser_CString_kt& in) {
    const std::size_t lineEnd = RunOnAfter(in);
    if (lineEnd == std::string_view::npos) return false;
    ResumeAfterLine(in, in.getPos(), in.getPos() + lineEnd);
    return true;
}

}  // namespace lumo::hugin
