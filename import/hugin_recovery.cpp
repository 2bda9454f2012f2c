// Hugin files: where reading goes on after a damaged header, field, brace or quote, so that only
// the damaged object is lost. All costs stay linear over a file: what was looked for in vain is
// remembered, and what may be read once more is bounded.
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

bool BraceMissing = false;    // a '}' is known to be missing in the file
long long BytesToReread = 0;  // what may still be read once more

/// The text not read yet.
std::string_view Rest(const Parser_kt& in) {
    return {in.getPos(), static_cast<std::size_t>(in.bytesLeft())};
}

/// Where the string ends whose text starts at `from`: the place of its closing quote, or npos.
std::size_t ClosingQuote(std::string_view text, std::size_t from) {
    for (std::size_t at = text.find_first_of("\"\\", from); at < text.size();
         at = text.find_first_of("\"\\", at + 2)) {
        if (text[at] == '"') return at;
    }
    return std::string_view::npos;
}

bool IsObjectWord(std::string_view word) {
    for (const char* known : ObjectWords) {
        if (word.size() == std::strlen(known) && streqli_kt(std::string(word).c_str(), known)) {
            return true;
        }
    }
    return false;
}

/// Passes over a string whose quote was read. False when it runs on.
bool PassString(Parser_kt& in) {
    in.unreadChar('"');
    if (StringRunsOn(in)) return false;
    in.skipChar();
    SkipString(in);
    return true;
}

/// Passes over a body whose '{' was read, token by token. False when the input ends in it, or, with
/// stopAtObject, when another object starts.
bool SkipTokens(Parser_kt& in, bool stopAtObject) {
    for (int depth = 1; !in.isAtEnd();) {
        const char punc = in.readPunc();
        if (punc == '{') ++depth;
        if (punc == '}' && --depth == 0) return true;
        if (punc == '"' && stopAtObject)
            PassString(in);
        else if (punc == '"')
            SkipString(in);
        if (punc != 0) continue;
        if (stopAtObject && AtObject(in)) return false;
        SkipWord(in);
    }
    return false;
}

/// Goes back to the end of the line on which the quote opens a string that never closes there.
void ResumeAfterLine(Parser_kt& in, ParserPos_kt quote, ParserPos_kt lineEnd) {
    in.setPos(lineEnd);
    in.setTokenStart(quote);
    in.makeError(num::unterminatedString, "missing closing quote");
}

}  // namespace

void StartRecovery(const Parser_kt& in) {
    BraceMissing = false;
    BytesToReread = in.bytesLeft();
}

void SkipWord(Parser_kt& in) {
    const std::size_t length = in.peekWord().size();
    in.setPos(in.getPos() + length);
}

void SkipString(Parser_kt& in) {
    const std::size_t close = ClosingQuote(Rest(in), 0);
    if (close == std::string_view::npos)
        in.jumpToEnd();
    else
        in.setPos(in.getPos() + close + 1);
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
    if (!BraceMissing) {
        in.skipStructure('{', '}', true);
        if (!in.isAtEnd()) return;
        in.setPos(start);
        if (HuginVersion == Version5 && SkipTokens(in, false)) return;
        BraceMissing = true;
        in.setPos(start);
    }
    SkipTokens(in, true);
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
    const std::string_view text = Rest(in);
    const std::size_t close = ClosingQuote(text, 1);
    const std::size_t lineEnd = text.substr(0, close).find_first_of("\r\n");
    if (lineEnd == std::string_view::npos) return false;
    const ParserPos_kt quote = in.getPos();
    if (close != std::string_view::npos) {
        in.setPos(quote + close + 1);
        const bool ends = std::strchr(";,)}", in.peekPunc()) != nullptr;
        in.setPos(quote);
        if (ends) return false;
    }
    ResumeAfterLine(in, quote, quote + lineEnd);
    return true;
}

bool ListRanOn(Parser_kt& in, ParserPos_kt value) {
    const std::string_view read(value, static_cast<std::size_t>(in.getPos() - value));
    const std::size_t lineEnd = read.find_first_of("\r\n");
    if (lineEnd == std::string_view::npos) return false;
    const std::string_view line = read.substr(0, lineEnd);
    std::size_t quote = line.find('"');
    std::size_t close = std::string_view::npos;
    while (quote < line.size() && (close = ClosingQuote(line, quote + 1)) < line.size()) {
        quote = line.find('"', close + 1);
    }
    const auto swallowed = static_cast<long long>(read.size() - lineEnd);
    if (quote == std::string_view::npos || swallowed > BytesToReread) return false;
    BytesToReread -= swallowed;
    ResumeAfterLine(in, value + quote, value + lineEnd);
    return true;
}

}  // namespace lumo::hugin
