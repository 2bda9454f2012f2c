// Hugin files: where reading goes on after a damaged header, field, brace or quote, so that only
// the damaged object is lost. All costs stay linear over a file: what was looked for in vain is
// remembered, and what may be read once more is bounded.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "import/hugin_state.h"

namespace lumo::hugin {

int HuginVersion = 0;

namespace {

/// Words that start an object, those of the objects that are passed over included.
constexpr const char* ObjectWords[] = {"net",     "class",     "node",       "decision",
                                       "utility", "potential", "continuous", "discrete",
                                       "boolean", "function",  "temporal",   "instance"};

bool Wary = false;            // a '}' or a quote is known to be missing in a body passed over
long long BytesToReread = 0;  // what may still be read once more

/// The text not read yet.
std::string_view Rest(const Parser_kt& in) {
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

bool IsObjectWord(std::string_view word) {
    for (const char* known : ObjectWords) {
        if (word.size() == std::strlen(known) && streqli_kt(std::string(word).c_str(), known)) {
            return true;
        }
    }
    return false;
}

/// Goes back from where reading is to the end of a line on which the quote opens a string that
/// never closes there.
void ResumeAfterLine(Parser_kt& in, ParserPos_kt quote, ParserPos_kt lineEnd) {
    in.setPos(lineEnd);
    in.setTokenStart(quote);
    in.makeError(num::unterminatedString, "missing closing quote");
}

/// For the input at an opening quote: how far behind it its line ends, when the quote does not
/// close on its line and the string that it opens ends in the middle of something; npos when all is
/// well.
std::size_t RunOnAfter(Parser_kt& in) {
    const std::string_view text = Rest(in);
    const auto [close, line] = FindEnds(text, 1);
    const auto behind = static_cast<long long>(close - line);
    if (behind == 0 || behind > BytesToReread) return std::string_view::npos;
    const bool closes = close < text.size();
    const ParserPos_kt quote = in.getPos();
    in.setPos(quote + close + (closes ? 1 : 0));
    const bool ends = closes && std::strchr(";,)}", in.peekPunc()) != nullptr;
    in.setPos(quote);
    if (ends) return std::string_view::npos;
    BytesToReread -= behind;
    return line;
}

/// Passes over a string whose quote was read. False when it runs on.
bool PassString(Parser_kt& in) {
    in.unreadChar('"');
    if (StringRunsOn(in)) return false;
    in.skipChar();
    SkipString(in);
    return true;
}

/// Passes over a body whose '{' was read. False when the input ends in it. Warily, other objects
/// and lines end what is damaged; otherwise damage is just found: false for a string that runs on.
bool PassBody(Parser_kt& in, bool warily) {
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

}  // namespace

void StartRecovery(const Parser_kt& in) {
    Wary = false;
    BytesToReread = in.bytesLeft();
}

void SkipWord(Parser_kt& in) {
    const std::size_t length = in.peekWord().size();
    in.setPos(in.getPos() + length);
}

void SkipString(Parser_kt& in) {
    const std::size_t close = FindEnds(Rest(in), 0).close;
    in.setPos(in.getPos() + std::min(close + 1, Rest(in).size()));
}

// Its word, up to two more with perhaps a ':', and a '{' or '('.
bool AtObject(Parser_kt& in) {
    if (!IsObjectWord(in.peekWord())) return false;
    constexpr int mostTokens = 4;
    const ParserPos_kt here = in.getPos();
    char punc = 0;
    SkipWord(in);
    for (int i = 0; i < mostTokens && (punc == 0 || punc == ':'); ++i) {
        punc = in.readPunc();
        if (punc == 0) SkipWord(in);
    }
    in.setPos(here);
    in.setTokenStart(here);
    return punc == '{' || punc == '(';
}

// A class has one '}' more, so that a missing one shows only at the end of the input.
void SkipBody(Parser_kt& in) {
    const ParserPos_kt start = in.getPos();
    if (!Wary) {
        const bool closed = PassBody(in, false);
        if (closed && (HuginVersion == Version5 || !in.isAtEnd())) return;
        Wary = true;
        in.setPos(start);
    }
    PassBody(in, true);
}

void SkipField(Parser_kt& in) {
    while (!in.isAtEnd()) {
        const ParserPos_kt here = in.getPos();
        const char punc = in.readPunc();
        if (punc == ';' || punc == '}') return in.setPos(here);
        if (punc == '"' && !PassString(in)) return;
        if (punc == '{') {
            SkipBody(in);
            const char next = in.peekPunc();
            if (next != ';' && next != ',') return;
        }
        if (punc != 0) continue;
        if (AtObject(in)) return;
        SkipWord(in);
    }
}

void SkipObject(Parser_kt& in) {
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

bool StringRunsOn(Parser_kt& in) {
    const std::size_t lineEnd = RunOnAfter(in);
    if (lineEnd == std::string_view::npos) return false;
    ResumeAfterLine(in, in.getPos(), in.getPos() + lineEnd);
    return true;
}

bool ListRanOn(Parser_kt& in, ParserPos_kt value) {
    const std::string_view read(value, static_cast<std::size_t>(in.getPos() - value));
    const std::size_t lineEnd = read.find_first_of("\r\n");
    if (lineEnd == std::string_view::npos) return false;
    const std::string_view line = read.substr(0, lineEnd);
    std::size_t quote = line.find('"');
    while (quote < line.size()) {
        const std::size_t close = FindEnds(line, quote + 1).close;
        if (close == line.size()) break;
        quote = line.find('"', close + 1);
    }
    const auto swallowed = static_cast<long long>(read.size() - lineEnd);
    if (quote == std::string_view::npos || swallowed > BytesToReread) return false;
    BytesToReread -= swallowed;
    ResumeAfterLine(in, value + quote, value + lineEnd);
    return true;
}

}  // namespace lumo::hugin
