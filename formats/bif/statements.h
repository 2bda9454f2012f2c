// What the blocks of a BIF file are made of: words, statements, properties.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "formats/bif/messages.h"
#include "library/text/keywords.h"
#include "library/text/parser.h"
#include "library/text/tokens.h"

namespace lumo {

/// Reads a word; empty when none stands here.
std::string_view TakeWord(Parser_CString_kt& in);

/// Reads a word or a quoted text, which lives until the next one is read; false when neither stands
/// here.
bool TakeText(Parser_CString_kt& in, std::string_view& text);

/// Reads the character if it comes next; leaves what stands there instead, with a warning.
void Expect(Parser_CString_kt& in, char wanted);

/// Reports a stray character that was read and drops it, with what it opens.
void DropStray(Parser_CString_kt& in, char c);

/// Whether a block starts here: its keyword, then a name and a '{', or a '('.
bool AtBlock(Parser_CString_kt& in);

/// Passes over the rest of a block, up to and past its '}'. A block whose '}' is lost ends before
/// the next one.
void PassBlock(Parser_CString_kt& in);

/// Passes over the rest of a statement and its ';'.
void PassStatement(Parser_CString_kt& in);

/// A property: the name is the text before the first '=' or blank, the rest is the value. Both are
/// parts of the file.
struct Property {
    std::string_view name;
    std::string_view value;
};

/// Reads a property up to its ';' or the block's '}', without a comment in it. One that lost its
/// ';' ends where another property follows, and at its line's end, when a statement or block
/// follows. Some programs put the whole into quotes.
Property ReadProperty(Parser_CString_kt& in);

/// A statement that a block accepts, with the function that reads it up to its ';'.
template <class READER>
struct Statement {
    std::string_view name;  ///< or the punctuation character that it begins with
    void (READER::*read)();
};

/// Reads a block's statements and its '}'. One that cannot be read is passed over.
template <class READER, std::size_t count>
void ReadStatements(Parser_CString_kt& in, READER& reader,
                    const Statement<READER> (&known)[count]) {
    while (!in.isAtEnd()) {
        const char c = in.readPunc();
        if (c == '}') return;
        const std::string_view word = c == 0 ? in.peekWord() : std::string_view(&c, 1);
        const Statement<READER>* const statement = FindKeyword(known, word);
        if (statement == nullptr && c != 0) {
            DropStray(in, c);
            continue;
        }
        if (statement == nullptr && AtBlock(in)) return Expect(in, '}');
        if (c == 0) TakeWord(in);
        if (statement == nullptr) {
            in.reportUnknown(word, msg::bif.unknownStatement, Shown(word).c_str());
            PassStatement(in);
            continue;
        }
        try {
            (reader.*statement->read)();
            if (!in.isAtEnd()) Expect(in, ';');
        } catch (rept_kt* report) {
            in.setError(report);
            PassStatement(in);
        }
    }
    in.report(msg::text.unexpectedEnd);
}

}  // namespace lumo
