// Reader of DSC files, the Bayes Net Interchange Format: the file and its node blocks. A header
// ends in the word `network` and the net's name; then come blocks in any order: `node` with a name
// and attributes, from which the nodes are made, and `probability` with a child, its parents and
// rows (probability.cpp), which links nodes that are declared before it and fills the child's table
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
bool HasValue(Parser_CString_kt& in) {
    const char c = in.peekPunc();
    if (c != ';' && c != '}') return true;
    in.setTokenStart(in.getPos());
    in.report(msg::dsc.missingValue);
    return false;
}

void ReadName(Parser_CString_kt& in, NodeValues& values) {
    if (HasValue(in)) values.title.reset(in.readStringNew());
}

void ReadPosition(Parser_CString_kt& in, NodeValues& values) {
    if (!TryReadCoord(in, values.position)) in.skipStatement();
}

void ReadText(Parser_CString_kt& in, strin_kt& out) {
    strin_kt text;
    if (HasValue(in)) in.readString(text);
    out.swap(text);
}

void ReadLabel(Parser_CString_kt& in, NodeValues& values) { ReadText(in, values.label); }

void ReadCategory(Parser_CString_kt& in, NodeValues& values) { ReadText(in, values.category); }

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
OwnedStrs ReadStateNames(Parser_CString_kt& in, int wanted, int& count) {
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
void PassList(Parser_CString_kt& in, ParserPos_kt list) {
    const ParserPos_kt read = in.getPos();
    in.setPos(list);
    if (!in.skipStructure('{', '}', false) || in.peekPunc() != ';') in.setPos(read);
}

/// Warns of names that commas announce and that are not there.
void CheckStateNames(Parser_CString_kt& in, ParserPos_kt list, int count) {
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
void ReadNamesOfStates(Parser_CString_kt& in, bool illegible, NodeValues& values) {
    int count = 0;
    in.skipSpaces();
    const ParserPos_kt list = in.getPos();
    OwnedStrs names;
    try {
        names = ReadStateNames(in, illegible ? MaxStates : values.numStates, count);
    } catch (rept_kt* report) {
        in.setError(report);
        return PassList(in, list);
    }
    if (illegible) values.numStates = count;
    if (count == values.numStates) {
        values.stateNames = std::move(names);
        CheckStateNames(in, list, count);
    } else {
        in.setTokenStart(list);
        in.report(msg::dsc.stateCountDiffers, values.numStates, count);
    }
}

/// The rest of a discrete type, from '[' on; c is the character after the word.
void ReadDiscrete(Parser_CString_kt& in, char c, NodeValues& values) {
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
    ReadNamesOfStates(in, illegible, values);
}

void ReadType(Parser_CString_kt& in, NodeValues& values) {
    char word[wordSize + 1];
    const char c = in.readWordPunc(word, wordSize);
    const bool continuous = streqli_kt(word, "continuous");
    if (continuous || streqli_kt(word, "discrete")) {
        values.stateNames = OwnedStrs();
        values.continuous = continuous;
        if (!continuous) return ReadDiscrete(in, c, values);
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
    std::string_view name;
    void (*read)(Parser_CString_kt& in, NodeValues& values);
};
constexpr Attribute attributes[] = {{"name", ReadName},
                                    {"type", ReadType},
                                    {"position", ReadPosition},
                                    {"label", ReadLabel},
                                    {"category", ReadCategory}};

/// Drops a stray character among the attributes, and with a brace the group that it opens.
void DropGroup(Parser_CString_kt& in, char c) {
    Drop(in, c);
    if (c == '{') in.skipStructure('{', '}', true);
}

/// Reads an attribute with its ';'. Returns false when the block's '}' came instead.
bool ReadAttribute(Parser_CString_kt& in, NodeValues& values) {
    char name[wordSize + 1];
    const char c = in.readWordPunc(name, wordSize);
    const ParserContext context(in, in.structKind, in.structName);
    in.fieldName = name;
    if (c != ':' && c != '=') {
        in.report(msg::dsc.missingColon);
        PutBack(in, c);
        in.skipStatement();
    } else if (const Attribute* known = FindKeyword(attributes, name)) {
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

void ReadAttributes(Parser_CString_kt& in, NodeValues& values) {
    while (!in.isAtEnd()) {
        const char c = in.readPunc();
        if (c == '}') return;
        if (c == 0) {
            if (AtBlock(in)) break;
            if (!ReadAttribute(in, values)) return;
            continue;
        }
        in.report(msg::dsc.strayInNode, BareName(c).c_str());
        DropGroup(in, c);
    }
    in.report(msg::dsc.nodeWithoutEnd);
}

void JoinSet(Bnode_bn& node, strin_kt& setName) {
    if (setName.num() == 0) return;
    ThrowIfError(AddNodeToNodeset_ibn(node, ToLegalName_kt(setName).getCStr()));
}

Bnode_bn& CreateNode(const char* name, NodeValues& values, Bnet_bn& net, bool createNames) {
    rept_kt* refused = Fail_rept_kt;
    Bnode_bn* node = NewNode_ibn(name, 2, net, values.position, &refused);
    if (node == nullptr) throw refused;
    node->setTitle(values.title.release());
    ThrowIfError(
        SetStatesToLabels(*node, values.stateNames.release(), values.numStates, createNames));
    if (values.continuous) ThrowIfError(node->setDiscrete(ContinuousVar));
    JoinSet(*node, values.label);
    JoinSet(*node, values.category);
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
        ReadNodeName(in, lenient, name);
        const ParserPos_kt place = in.tokenStart();
        if (name[0] == 0 && in.peekPunc() == '{') in.report(msg::dsc.namelessNode);
        legalName.reset(ToLegalName_kt(DupStr_kt(name)));
        in.structName = legalName.get();
        block.stage = Stage::body;
        if (!Accept(in, '{')) throw in.report(msg::dsc.nodeWithoutBody);
        block.body = in.getPos();
        NodeValues values{lenient};
        ReadAttributes(in, values);
        block.stage = Stage::done;
        in.setTokenStart(place);
        const Bnode_bn& node =
            CreateNode(name, values, *drawing.getBNet(), lenient.createStateNames);
        RememberPlace(in, node);
    } catch (rept_kt* report) {
        in.setError(report);
        PassOver(in, block);
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
StartEN FindStart(Parser_CString_kt& in, bool orBlock) {
    const ParserPos_kt start = in.getPos();
    do {
        if (orBlock && AtBlock(in)) return StartEN::block;
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
void PassProperties(Parser_CString_kt& in) {
    if (AtBlock(in)) return;
    in.report(msg::dsc.networkProperties);
    PassToClose(in, in.getPos());
}

void ReadHeader(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    const StartEN start = FindStart(in, lenient.on);
    if (start == StartEN::none) throw in.report(msg::dsc.noNetwork);
    if (start == StartEN::block) {
        const std::string keyword(in.peekWord());
        in.setTokenStart(in.getPos());
        in.report(msg::dsc.blocksBeforeHeader, keyword.c_str());
        return;
    }
    const bool named = !AtBlock(in) && (in.peekPunc() == '"' || !in.peekWord().empty());
    if (named) {
        SetNetLabel(*drawing.getBNet(), in.readStringNew());
    } else if (!in.isAtEnd()) {
        in.setTokenStart(in.getPos());
        in.report(msg::dsc.namelessNetwork);
    }
    const char c = in.readPunc();
    if (c == '{' && lenient.on) {
        PassProperties(in);
    } else if (c != 0 && c != '{') {
        in.report(msg::dsc.strayAfterName, CharName(c));
        Drop(in, c);
    }
    if (in.isAtEnd()) in.report(msg::text.unexpectedEnd);
}

/// Passes over an unknown block after its first word, or over text between blocks: up to the next
/// block, or through the next braces. A '}' before any '{' closes braces opened further out (those
/// of the network's own properties). A block whose '}' is lost ends before the next one.
void PassUnknownBlock(Parser_CString_kt& in) {
    char c = 0;
    while (c != '{') {
        if (in.isAtEnd() || AtBlock(in) || in.peekPunc() == '}') return;
        if (!PassText(in, in.getPos())) c = in.readChar();
    }
    PassStructure(in, AtBlock);
}

void ReadBlock(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (const BlockKind* known = FindKeyword(blockKinds, word)) {
        known->read(in, drawing, lenient);
    } else if (word[0] != 0) {
        in.reportUnknown(word, msg::dsc.unknownBlock, word);
        PassUnknownBlock(in);
    }
    in.checkError();
    if (const char c = in.readPunc()) {
        in.report(msg::dsc.strayBetweenBlocks, CharName(c));
        Drop(in, c);
    }
}

void ReadNet(Parser_CString_kt& in, Vnet_kt& drawing, Leniency& lenient) {
    ReadHeader(in, drawing, lenient);
    while (!in.isAtEnd()) ReadBlock(in, drawing, lenient);
    in.checkError();
}

}  // namespace

}  // namespace dsc

rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn&, Vnet_kt& drawing,
                      const ReadOptions& options) {
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
    ReadToTheEnd(in, [&] { dsc::ReadNet(in, drawing, lenient); });
    JudgeNodes(in, *drawing.getBNet());
    in.checkError();
    FixNodePositions(drawing, 1.0, false);
    return in.curReport;
}

}  // namespace lumo
