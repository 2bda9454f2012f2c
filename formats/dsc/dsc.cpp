// Reader of DSC files, the Bayes Net Interchange Format: the file and its node blocks. A header
// ends in the word `network` and the net's name; then come blocks in any order: `node NAME {
// attributes
// }`, from which the nodes are made, and `probability (CHILD | PARENTS) { rows }`
// (dsc_probability.cpp), which links nodes that are declared before it and fills the child's table
// row by row. Other blocks are passed over. docs/dsc.md describes the format.
//
// A block that cannot be read costs itself: its reader records the error, passes over the rest of
// the block and returns, and the next block is read.
#include <memory>
#include <string>
#include <utility>

#include "formats/dsc/blocks.h"
#include "formats/dsc/dsc.h"
#include "formats/shared/judging.h"
#include "formats/shared/passing.h"
#include "formats/shared/readers.h"

namespace lumo {

bool Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = false;

namespace dsc {

namespace {

constexpr int boxWithStates = 7;  // drawStyle of imported nets

/// What a node block says, with what holds when it says nothing.
struct NodeValues {
    explicit NodeValues(Leniency& how) : lenient(how) {}

    Leniency& lenient;
    OwnedStr title;
    OwnedStrs stateNames;
    int numStates = 2;
    bool continuous = false;
    coord_kt position{100, 100};
    strin_kt label;
    strin_kt category;
};

// ---- Attribute values ----------------------------------------------------------------------

/// False, with a warning, when the attribute ends where its value should stand.
bool has_value(Parser_CString_kt& in) {
    const char c = in.peekPunc();
    if (c != ';' && c != '}') return true;
    in.setTokenStart(in.getPos());
    in.report(msg::dsc.missingValue);
    return false;
}

void read_name(Parser_CString_kt& in, NodeValues& values) {
    if (has_value(in)) values.title.reset(in.readStringNew());
}

void read_position(Parser_CString_kt& in, NodeValues& values) {
    if (!TryReadCoord(in, values.position)) in.skipStatement();
}

void read_text(Parser_CString_kt& in, strin_kt& out) {
    strin_kt text;
    if (has_value(in)) in.readString(text);
    out.swap(text);
}

void read_label(Parser_CString_kt& in, NodeValues& values) { read_text(in, values.label); }

void read_category(Parser_CString_kt& in, NodeValues& values) { read_text(in, values.category); }

/// Sets the character that opens the lists read in its scope.
class ListOpenScope {
public:
    ListOpenScope(Parser_CString_kt& in, char open) : in_(in), old_(in.listOpenChar) {
        in.listOpenChar = open;
    }
    ~ListOpenScope() { in_.listOpenChar = old_; }
    ListOpenScope(const ListOpenScope&) = delete;
    ListOpenScope& operator=(const ListOpenScope&) = delete;

private:
    Parser_CString_kt& in_;
    char old_;
};

/// The braced list of state names. An empty one too many at its end stands for a comma there, which
/// is allowed.
OwnedStrs read_state_names(Parser_CString_kt& in, int wanted, int& count) {
    const ListOpenScope braces(in, '{');
    char** names = ReadListStrings<Parser_CString_kt, true, true, 1>(in, count);
    const int last = count - 1;
    if (last >= 0 && last == wanted && (names[last] == nullptr || *names[last] == 0)) {
        delete[] std::exchange(names[last], nullptr);
        count = last;
    }
    return {names, count};
}

/// After a list that could not be read: to its '}' when a ';' follows that, else reading goes on
/// where it came to.
void pass_list(Parser_CString_kt& in, ParserPos_kt list) {
    const ParserPos_kt read = in.getPos();
    in.setPos(list);
    if (!in.skipStructure('{', '}', false) || in.peekPunc() != ';') in.setPos(read);
}

/// Warns of names that commas announce and that are not there.
void check_state_names(Parser_CString_kt& in, ParserPos_kt list, int count) {
    const ParserPos_kt end = in.getPos();
    in.setPos(list);
    for (bool more = true; more && in.getPos() < end; more = in.skipToken()) {
        if (in.peekPunc() == '"' || !in.peekWord().empty()) --count;
    }
    in.setPos(end);
    in.setTokenStart(list);
    if (count > 0) in.report(msg::dsc.missingStateNames, count);
}

/// The names behind "discrete[n] =". A number of states that is illegible gives way to the number
/// of names; a list that cannot be read leaves the states without names.
void read_names_of_states(Parser_CString_kt& in, bool illegible, NodeValues& values) {
    int count = 0;
    in.skipSpaces();
    const ParserPos_kt list = in.getPos();
    OwnedStrs names;
    try {
        names = read_state_names(in, illegible ? MaxStates : values.numStates, count);
    } catch (rept_kt* report) {
        in.setError(report);
        return pass_list(in, list);
    }
    if (illegible) values.numStates = count;
    if (count == values.numStates) {
        values.stateNames = std::move(names);
        check_state_names(in, list, count);
    } else {
        in.setTokenStart(list);
        in.report(msg::dsc.stateCountDiffers, values.numStates, count);
    }
}

/// The rest of a discrete type, from '[' on; c is the character after the word.
void read_discrete(Parser_CString_kt& in, char c, NodeValues& values) {
    if (c != '[') {
        in.report(msg::dsc.missingBracket);
        PutBack(in, c);
        in.skipStatement();
        return;
    }
    const int stated = in.readInt();
    const bool illegible = in.numberFailed;
    if (!illegible) values.numStates = stated;
    const bool closed = Accept(in, ']');
    if (closed && values.lenient.on && in.peekPunc() == '{') {
        in.setTokenStart(in.getPos());
        values.lenient.tellOnce(in, msg::dsc.statesWithoutEquals);
    } else if (!closed || !Accept(in, '=')) {
        in.report(msg::dsc.missingEquals);
        in.skipStatement();
        return;
    }
    read_names_of_states(in, illegible, values);
}

void read_type(Parser_CString_kt& in, NodeValues& values) {
    char word[wordSize + 1];
    const char c = in.readWordPunc(word, wordSize);
    const bool continuous = streqli_kt(word, "continuous");
    if (continuous || streqli_kt(word, "discrete")) {
        values.stateNames = OwnedStrs();
        values.continuous = continuous;
        if (!continuous) return read_discrete(in, c, values);
        PutBack(in, c);
        values.numStates = 0;
        return;
    }
    PutBack(in, c);
    in.reportUnknown(word, msg::dsc.unknownType, word);
    in.skipStatement();
}

// ---- Node blocks ---------------------------------------------------------------------------

struct Attribute {
    const char* name;
    void (*read)(Parser_CString_kt& in, NodeValues& values);
};
constexpr Attribute attributes[] = {{"name", read_name},
                                    {"type", read_type},
                                    {"position", read_position},
                                    {"label", read_label},
                                    {"category", read_category}};

/// Drops a stray character among the attributes, and with a brace the group that it opens.
void DropGroup(Parser_CString_kt& in, char c) {
    Drop(in, c);
    if (c == '{') in.skipStructure('{', '}', true);
}

/// Reads an attribute with its ';'. Returns false when the block's '}' came instead.
bool read_attribute(Parser_CString_kt& in, NodeValues& values) {
    char name[wordSize + 1];
    const char c = in.readWordPunc(name, wordSize);
    const ParserContext context(in, in.structKind, in.structName);
    in.fieldName = name;
    if (c != ':' && c != '=') {
        in.report(msg::dsc.missingColon);
        PutBack(in, c);
        in.skipStatement();
    } else if (const Attribute* known = Find(attributes, name)) {
        known->read(in, values);
    } else {
        in.reportUnknown(name, msg::dsc.unknownAttribute, name);
        in.skipStatement();
    }
    in.checkError();
    const char end = in.readPunc();
    if (end == ';') return true;
    in.report(msg::dsc.missingSemicolon);
    DropGroup(in, end);
    return end != '}';
}

/// The character's name without the quotes that stand in the message.
std::string BareName(char c) {
    const std::string name = CharName(c);
    const bool quoted = name.size() > 2 && name.front() == '\'' && name.back() == '\'';
    return quoted ? name.substr(1, name.size() - 2) : name;
}

void read_attributes(Parser_CString_kt& in, NodeValues& values) {
    while (!in.isAtEnd()) {
        const char c = in.readPunc();
        if (c == '}') return;
        if (c == 0) {
            if (at_block(in)) break;
            if (!read_attribute(in, values)) return;
            continue;
        }
        in.report(msg::dsc.strayInNode, BareName(c).c_str());
        DropGroup(in, c);
    }
    in.report(msg::dsc.nodeWithoutEnd);
}

void join_set(Bnode_bn& node, strin_kt& setName) {
    if (setName.num() == 0) return;
    ThrowIfError(AddNodeToNodeset_ibn(node, ToLegalName_kt(setName).getCStr()));
}

Bnode_bn& create_node(const char* name, NodeValues& values, Bnet_bn& net, bool createNames) {
    rept_kt* refused = Fail_rept_kt;
    Bnode_bn* node = NewNode_ibn(name, 2, net, values.position, &refused);
    if (node == nullptr) throw refused;
    node->setTitle(values.title.release());
    ThrowIfError(
        SetStatesToLabels(*node, values.stateNames.release(), values.numStates, createNames));
    if (values.continuous) ThrowIfError(node->setDiscrete(ContinuousVar, false, CheckFull));
    join_set(*node, values.label);
    join_set(*node, values.category);
    return *node;
}

}  // namespace

/// Reads a node block after its keyword. The node is made when the block has ended, so that the
/// order of the attributes does not matter.
void read_node_block(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    char name[wordSize + 1];
    OwnedStr legalName;
    const ParserContext context(in, "node block");
    Block block;
    try {
        read_node_name(in, lenient, name);
        const ParserPos_kt place = in.tokenStart();
        if (name[0] == 0 && in.peekPunc() == '{') in.report(msg::dsc.namelessNode);
        legalName.reset(ToLegalName_kt(DupStr_kt(name)));
        in.structName = legalName.get();
        block.stage = Stage::body;
        if (!Accept(in, '{')) throw in.report(msg::dsc.nodeWithoutBody);
        block.body = in.getPos();
        NodeValues values{lenient};
        read_attributes(in, values);
        block.stage = Stage::done;
        in.setTokenStart(place);
        const Bnode_bn& node =
            create_node(name, values, *drawing.getBNet(), lenient.createStateNames);
        RememberPlace(in, node);
    } catch (rept_kt* report) {
        in.setError(report);
        pass_over(in, block);
    }
}

// ---- The file ------------------------------------------------------------------------------

namespace {

/// Where "network" stands in the word, whatever its letter case; npos when it does not.
std::size_t FindNetwork(std::string_view word) {
    constexpr std::string_view network = "network";
    const auto found =
        std::search(word.begin(), word.end(), network.begin(), network.end(),
                    [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
    return found == word.end() ? std::string_view::npos
                               : static_cast<std::size_t>(found - word.begin());
}

enum class StartEN { none, network, block };

/// Moves past the first "network" outside strings and comments; with orBlock no further than to the
/// first block.
StartEN find_start(Parser_CString_kt& in, bool orBlock) {
    const ParserPos_kt start = in.getPos();
    do {
        if (orBlock && at_block(in)) return StartEN::block;
        const std::size_t at = FindNetwork(in.peekWord());
        if (at != std::string_view::npos) {
            in.setPos(in.getPos() + at + std::string_view("network").size());
            return StartEN::network;
        }
    } while (in.skipToken());
    in.setTokenStart(start);
    return StartEN::none;
}

/// Passes over the properties in braces that newer programs write after the name, up to their '}'
/// or the first block.
void pass_properties(Parser_CString_kt& in) {
    if (at_block(in)) return;
    in.report(msg::dsc.networkProperties);
    pass_to_close(in, in.getPos());
}

void read_header(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    const StartEN start = find_start(in, lenient.on);
    if (start == StartEN::none) throw in.report(msg::dsc.noNetwork);
    if (start == StartEN::block) {
        const std::string keyword(in.peekWord());
        in.setTokenStart(in.getPos());
        in.report(msg::dsc.blocksBeforeHeader, keyword.c_str());
        return;
    }
    const bool named = !at_block(in) && (in.peekPunc() == '"' || !in.peekWord().empty());
    if (named) {
        SetNetLabel(*drawing.getBNet(), in.readStringNew());
    } else if (!in.isAtEnd()) {
        in.setTokenStart(in.getPos());
        in.report(msg::dsc.namelessNetwork);
    }
    const char c = in.readPunc();
    if (c == '{' && lenient.on) {
        pass_properties(in);
    } else if (c != 0 && c != '{') {
        in.report(msg::dsc.strayAfterName, CharName(c));
        Drop(in, c);
    }
    if (in.isAtEnd()) in.report(msg::text.unexpectedEnd);
}

/// Passes over an unknown block after its first word, or over text between blocks: up to the next
/// block, or through the next braces. A '}' before any '{' closes braces opened further out (those
/// of the network's own properties). A block whose '}' is lost ends before the next one.
void pass_unknown_block(Parser_CString_kt& in) {
    char c = 0;
    while (c != '{') {
        if (in.isAtEnd() || at_block(in) || in.peekPunc() == '}') return;
        if (!pass_text(in, in.getPos())) c = in.readChar();
    }
    PassStructure(in, at_block);
}

void read_block(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (const BlockKind* known = Find(blockKinds, word)) {
        known->read(in, drawing, lenient);
    } else if (word[0] != 0) {
        in.reportUnknown(word, msg::dsc.unknownBlock, word);
        pass_unknown_block(in);
    }
    in.checkError();
    if (const char c = in.readPunc()) {
        in.report(msg::dsc.strayBetweenBlocks, CharName(c));
        Drop(in, c);
    }
}

void read_net(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    read_header(in, drawing, lenient);
    while (!in.isAtEnd()) read_block(in, drawing, lenient);
    in.checkError();
}

}  // namespace

}  // namespace dsc

rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn&, Vnet_kt& drawing,
                      const ReadOptions& options) {
    const CritSecHold lock(Mut_ReadForeignFile);
    const std::unique_ptr<short[]> charProps(MakeStdCharProps_kt());
    SetCharProp_kt("\"(){}[]=,;:|", CharPropPunct, charProps.get());
    SetCharProp_kt("/", CharPropComment, charProps.get());
    const ParserOptions_kt parserOptions{
        .charProps = charProps.get(), .commentChar1 = '/', .commentChar2 = '/', .commentMode = 2};
    const OwnedParser parser(channel.makeParser(&parserOptions));
    Parser_CString_kt& in = TextParser(*parser);
    in.reserved = in.bytesLeft() + MaxTableEntries;
    drawing.drawStyle = dsc::boxWithStates;
    dsc::Leniency lenient;
    lenient.on = options.lenient;
    lenient.createStateNames = options.createStateNamesDsc;
    try {
        dsc::read_net(in, drawing, lenient);
    } catch (rept_kt* report) {
        in.setError(report);
    }
    JudgeNodes(in, *drawing.getBNet());
    in.checkError();
    FixNodePositions(drawing, 1.0, false);
    return in.curReport;
}

}  // namespace lumo
