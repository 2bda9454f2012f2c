// Where the blocks of a DSC file start, and how a damaged one is passed over.
#include "formats/dsc/blocks.h"

#include "formats/shared/passing.h"
#include "formats/shared/readers.h"

namespace lumo::dsc {

const Leniency::StateNumbers& Leniency::statesOf(const Bnode_bn& node) {
    const auto [entry, isNew] = stateNumbers.try_emplace(&node);
    StateNumbers& numbers = entry->second;
    if (!isNew) return numbers;
    const Varbl_bn& variable = node.variable;
    for (char* const* texts : {variable.stateNames, variable.stateTitles}) {
        for (int i = 0; texts != nullptr && i < variable.numStates; ++i) {
            if (texts[i] != nullptr) numbers.emplace(texts[i], i);
        }
    }
    return numbers;
}

// ---- Punctuation and names -----------------------------------------------------------------

std::string FoundName(Parser_CString_kt& in, char c) {
    constexpr std::size_t longestShown = 80;
    const std::string_view word = c == 0 ? in.peekWord() : std::string_view();
    if (word.empty()) return CharName(c);
    return Format("'%s'", std::string(word.substr(0, longestShown)).c_str());
}

void PutBack(Parser_CString_kt& in, char c) {
    if (c != 0) in.unreadChar(c);
}

bool Accept(Parser_CString_kt& in, char wanted) {
    const char c = in.readPunc();
    if (c == wanted) return true;
    PutBack(in, c);
    return false;
}

void Drop(Parser_CString_kt& in, char c) {
    strin_kt text;
    if (c == '"') in.readQuotedRest(text);
}

void ReadNodeName(Parser_CString_kt& in, Leniency& lenient, char* name) {
    if (!lenient.on || in.peekPunc() != '"') return in.readWord(name, wordSize);
    in.setTokenStart(in.getPos());
    lenient.tellOnce(in, msg::dsc.quotedName);
    in.readQuoted(name, wordSize);
}

// ---- Recovery ------------------------------------------------------------------------------

namespace {

/// Passes over a node's name, quoted or not, if one stands here that is not too long.
void PassName(Parser_CString_kt& in) {
    in.setPos(in.getPos() + in.peekWord().size());
    if (in.peekPunc() != '"') return;
    const ParserPos_kt token = in.tokenStart();
    const ParserPos_kt quote = in.getPos();
    char c = 0;
    for (int n = 0; n <= wordSize; ++n) {
        in.skipChar();
        c = in.peekChar();
        if (c == '"' || c == in.eofChar()) break;
    }
    in.skipChar();
    if (c != '"') in.setPos(quote);
    in.setTokenStart(token);
}

/// Passes over words and strings, such as the rest of a name with blanks, and a ';' before them.
/// False before the next block.
bool PassWords(Parser_CString_kt& in) {
    Accept(in, ';');
    while (!AtBlock(in)) {
        if (!PassText(in, in.getPos())) return true;
    }
    return false;
}

/// Moves past the next brace and returns it; 0 before the next block and at the end of the input.
char PassBrace(Parser_CString_kt& in, ParserPos_kt read) {
    while (!in.isAtEnd()) {
        if (in.getPos() >= read && AtBlock(in)) return 0;
        if (PassText(in, read)) continue;
        const char c = in.readChar();
        if (c == '{' || c == '}') return c;
    }
    return 0;
}

}  // namespace

bool AtBlock(Parser_CString_kt& in) {
    const std::string_view word = in.peekWord();
    constexpr std::size_t longestKeyword = 11;
    if (word.empty() || word.size() > longestKeyword || FindKeyword(blockKinds, word) == nullptr) {
        return false;
    }
    const ParserPos_kt start = in.getPos();
    in.setPos(start + word.size());
    in.skipSpaces();
    const ParserPos_kt name = in.getPos();
    PassName(in);
    const bool named = in.getPos() != name;
    const bool starts = in.peekPunc() == (named ? '{' : '(');
    in.setPos(start);
    return starts;
}

bool PassText(Parser_CString_kt& in, ParserPos_kt read) {
    const std::size_t word = in.peekWord().size();
    in.setPos(in.getPos() + word);
    if (word > 0 || in.peekPunc() != '"') return word > 0;
    if (in.getPos() >= read)
        PassString(in, AtBlock);
    else
        in.skipToken();
    return true;
}

void PassToClose(Parser_CString_kt& in, ParserPos_kt read) {
    for (int depth = 1; depth > 0;) {
        const char c = PassBrace(in, read);
        if (c == 0) return;
        depth += c == '{' ? 1 : -1;
    }
}

void PassOver(Parser_CString_kt& in, const Block& block) {
    if (block.stage == Stage::done) return;
    const ParserPos_kt read = in.tokenStart();
    if (block.body != nullptr) {
        in.setPos(block.body);
    } else if (block.stage == Stage::body) {
        if (!PassWords(in)) return;
        Accept(in, '{');
    } else if (PassBrace(in, read) != '{') {
        return;  // a '}' is the block's own, whose '{' is lost
    }
    PassToClose(in, read);
}

}  // namespace lumo::dsc
