// What the files of the DSC reader share: the blocks of a file, where they start, and how a reader
// passes over one that it cannot read. Not for its users.
#pragma once

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <unordered_map>

#include "formats/dsc/messages.h"
#include "formats/shared/positions.h"
#include "library/text/keywords.h"
#include "library/text/parser.h"

namespace lumo::dsc {

inline constexpr int wordSize = 255;

/// How a file is read, and what lenient reading remembers of it.
struct Leniency {
    bool on = false;
    bool createStateNames = false;
    std::set<int> told;  ///< of the reports that are shown once

    using StateNumbers = std::unordered_map<std::string, int>;
    std::unordered_map<const Bnode_bn*, StateNumbers> stateNumbers;

    /// The states of the node by name and title.
    const StateNumbers& statesOf(const Bnode_bn& node);

    template <class... ARGS>
    void tellOnce(Parser_CString_kt& in, const Message<ARGS...>& message,
                  std::type_identity_t<ARGS>... arguments) {
        if (told.insert(message.number).second) in.report(message, arguments...);
    }
};

// The readers of blocks, each after its keyword. They record their errors and throw nothing but
// what ends the import.
void read_node_block(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient);
void read_probab_block(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient);

struct BlockKind {
    std::string_view name;
    void (*read)(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient);
};
inline constexpr BlockKind blockKinds[] = {{"node", read_node_block},
                                           {"probability", read_probab_block}};

// ---- Punctuation and names -----------------------------------------------------------------

/// Names what readPunc met: the character c, or, when c is 0, the word that stands there.
std::string FoundName(Parser_CString_kt& in, char c);

void PutBack(Parser_CString_kt& in, char c);

/// Reads the character if it comes next; leaves what stands there instead.
bool Accept(Parser_CString_kt& in, char wanted);

/// Drops a stray character that was read, and with a quote the text that it opens.
void Drop(Parser_CString_kt& in, char c);

/// A node's name, at most wordSize bytes of it: one word, or when lenient a quoted string.
void ReadNodeName(Parser_CString_kt& in, Leniency& lenient, char* name);

// ---- Recovery ------------------------------------------------------------------------------

enum class Stage { header, body, done };

/// A block being read, as its recovery must know it.
struct Block {
    Stage stage = Stage::header;
    ParserPos_kt body = nullptr;  // after its '{'; null before that is read
};

/// Whether a block starts here: its keyword, then a '(', or a name and a '{'.
bool AtBlock(Parser_CString_kt& in);

/// Passes over a word or a string. False when neither stands here. A string whose quote was read
/// before, up to `read`, is passed over in silence.
bool PassText(Parser_CString_kt& in, ParserPos_kt read);

/// Passes over the rest of a structure in braces whose '{' was read, up to its '}', the next block
/// or the end of the input. What stands before `read` was read as something else already: a block
/// there does not count, or it would be read again and again.
void PassToClose(Parser_CString_kt& in, ParserPos_kt read);

/// Passes over the rest of a damaged block: from the start of its body, when that was reached, so
/// that braces half read do not count and the block's own '}' is found wherever reading had come
/// to. A block whose '}' is lost ends before the next one.
void PassOver(Parser_CString_kt& in, const Block& block);

}  // namespace lumo::dsc
