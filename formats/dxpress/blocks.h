// What the files of the DXPress reader share: punctuation, the block loop, tables of fields. Not
// for its users.
#pragma once

#include <cstring>
#include <optional>
#include <string>

#include "formats/dxpress/messages.h"
#include "formats/shared/readers.h"
#include "library/text/keywords.h"

namespace lumo::dxpress {

/// What lives as long as the import.
struct State : ReaderState {
    std::optional<bool> condense;  ///< noisy-max relations keep their parameters alone; none: ask
};

inline constexpr int wordSize = 255;
inline constexpr int shortWordSize = 30;  // of type words and state fields

/// What tells one kind of block from another: its name in messages, its warnings, and the most
/// characters of an item's first word.
struct BlockKind {
    const char* kind;
    const Message<>* noOpen;                       // the '{' is missing
    const Message<const char*>& strayPunctuation;  // between items
    const Message<>* noEnd;  // the ';' after an item is missing; null: items end without one
    int itemWord;
};

/// What the '=' that was just read stands for with what follows, see ReadPuncEQ.
char AfterEQ(Parser_CString_kt& in);

/// The next punctuation character, or 0 when a word follows. The three characters =3D stand for one
/// '=', and =2A for none.
inline char ReadPuncEQ(Parser_CString_kt& in) {
    const char c = in.readPunc();
    return c == '=' ? AfterEQ(in) : c;
}

inline void EndOfInput(Parser_CString_kt& in) { in.report(msg::text.unexpectedEnd); }

// What belongs to the next thing when it stands where other punctuation is expected. Whatever else
// stands there is dropped.
inline constexpr const char* keepNothing = "";      // a block's body is read whatever opens it
inline constexpr const char* keepBlockEnd = "}";    // the field before it lacks its ';'
inline constexpr const char* keepTypeRest = "{};";  // a part of the type before it is missing
inline constexpr const char* keepValue = "\"{}(;";  // the separator before it is missing

/// Reads the punctuation that should be one of `wanted`. Otherwise makes the warning, whose %s
/// receives what stood there, and puts that back when it is one of `keep`.
void Expect(Parser_CString_kt& in, const char* wanted, const char* keep, const Message<>& message);
void Expect(Parser_CString_kt& in, const char* wanted, const char* keep,
            const Message<const char*>& message);

// ---- The block loop ------------------------------------------------------------------------

/// Names the field being read in messages, for a scope.
class FieldScope {
public:
    FieldScope(Parser_CString_kt& in, const char* field) : in_(in) { in.fieldName = field; }
    ~FieldScope() { in_.fieldName = nullptr; }
    FieldScope(const FieldScope&) = delete;
    FieldScope& operator=(const FieldScope&) = delete;

private:
    Parser_CString_kt& in_;
};

/// Reads items up to the block's '}'. readItem(word) reads one, its first word already read; it
/// returns false to leave the block at once.
template <class Item>
void ReadItems(Parser_CString_kt& in, const BlockKind& block, Item readItem) {
    char word[wordSize + 1];
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        const char c = ReadPuncEQ(in);
        if (c == '}') break;
        if (c != 0) {
            in.report(block.strayPunctuation, CharName(c));
            continue;
        }
        in.readWord(word, block.itemWord);
        if (word[0] == '\0') continue;  // what ReadPuncEQ took for nothing
        const FieldScope field(in, block.noEnd != nullptr ? word : nullptr);
        if (!readItem(word)) break;
        in.checkError();
        if (block.noEnd != nullptr) Expect(in, ";", keepBlockEnd, *block.noEnd);
    }
    in.checkError();
}

/// Runs a reader's body within its message context; a report that checkError throws ends the body
/// and is recorded, and the caller's next checkError decides what follows.
template <class Body>
void ReadFramed(Parser_CString_kt& in, const char* kind, const char* name, Body body) {
    const ParserContext context(in, kind, name);
    try {
        body();
    } catch (rept_kt* report) {
        in.setError(report);
    }
}

template <class Item>
void ReadBlock(Parser_CString_kt& in, const BlockKind& block, const char* name, Item readItem) {
    ReadFramed(in, block.kind, name, [&] {
        Expect(in, "{", keepNothing, *block.noOpen);
        ReadItems(in, block, readItem);
    });
}

/// Passes over the next structure in braces, if there is one before a '}'.
void SkipNextBraces(Parser_CString_kt& in);

/// One of a block's fields: what to do once its name has been read.
template <class OBJECT>
struct FieldHandler {
    std::string_view name;
    void (*read)(Parser_CString_kt& in, OBJECT& object, const char* word);
};

// ---- Relations -----------------------------------------------------------------------------

/// Read one relation body for the node, whose parents are set.
void read_standard_reln(Parser_CString_kt& in, Bnode_bn& node);
void read_ci_reln(Parser_CString_kt& in, Bnode_bn& node);

}  // namespace lumo::dxpress
