// Reader of DXPress diagnostic knowledge bases: the header words `diagnostic network "name"`, then
// objects in any order. kb: net-wide settings, of which the notes become the net's comment. nodes:
// the nodes with their states. network: each node's parents and relation, a table or noisy-max
// parameters. Two hierarchies and whatever else there is are passed over. docs/dxpress.md describes
// the format.
//
// The reader is tolerant: a missing brace, separator or terminator is a warning, an unknown name a
// warning that skips the item. Errors are recorded and reading goes on; nothing here throws.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "formats/dxpress/blocks.h"
#include "formats/dxpress/dxpress.h"
#include "formats/shared/judging.h"
#include "formats/shared/passing.h"

namespace lumo {

namespace dxpress {

namespace {

// Known fields that are passed over without a word. A name counts as known when it stands anywhere
// in the text, letter case respected.
constexpr const char* kbFields =
    "userDefDataFields,notes,version,displaySize,precision,statenametype,nodetype,firststatename,"
    "secondstatename,exepath,addNode,askState,showDebugInfo,includeNAStates,nodeDataType,"
    "stateDataType,nodeFontSpec";
constexpr const char* nodeFields =
    "userDefData,name,class,classtype,type,position,category,size,font,fontSize,question,"
    "finishedFlag,definition,observable,mandatory,mandatoryValue,hypothesis,cost,enteredName,order,"
    "entryType,shortName,longName,recommendable,includeDebugInfo";
constexpr const char* stateFields =
    "userDefData,name,appName,longName,abbreviation,group,definition,category,shortName";

constexpr BlockKind kbBlock{"kb", &msg::dxpress.kbUnopened, msg::dxpress.strayInKb,
                            &msg::dxpress.kbFieldUnended, wordSize};
constexpr BlockKind nodesBlock{"nodes", nullptr, msg::dxpress.strayInNodes, nullptr, wordSize};
constexpr BlockKind nodeBlock{"node", &msg::dxpress.nodeUnopened, msg::dxpress.strayInNode,
                              &msg::dxpress.nodeFieldUnended, wordSize};
constexpr BlockKind statesBlock{"states", &msg::dxpress.statesUnopened, msg::dxpress.strayInStates,
                                nullptr, shortWordSize};
constexpr BlockKind stateBlock{"states", nullptr, msg::dxpress.strayInState,
                               &msg::dxpress.stateFieldUnended, shortWordSize};
constexpr BlockKind networkBlock{">-net connectivity", &msg::dxpress.networkUnopened,
                                 msg::dxpress.strayInNetwork, nullptr, wordSize};

}  // namespace

// ---- Punctuation and values ----------------------------------------------------------------

char AfterEQ(Parser_CString_kt& in) {
    const char d = in.readChar();
    if (d == '3' || d == '2') {
        const char e = in.readChar();
        if (d == '3' && (e == 'D' || e == 'd')) return '=';
        if (d == '2' && (e == 'A' || e == 'a')) return 0;
        in.backUp(e == in.eofChar() ? 1 : 2);
        return '=';
    }
    if (d != in.eofChar()) in.unreadChar(d);
    return '=';
}

namespace {

/// Whether the set, of a few characters, has that one.
bool IsOneOf(char c, const char* set) {
    for (; *set != 0; ++set)
        if (*set == c) return true;
    return false;
}

}  // namespace

void Expect(Parser_CString_kt& in, const char* wanted, const char* keep, const Message<>& message) {
    const char c = ReadPuncEQ(in);
    if (IsOneOf(c, wanted)) return;
    in.report(message);
    if (IsOneOf(c, keep)) in.unreadChar(c);
}

void Expect(Parser_CString_kt& in, const char* wanted, const char* keep,
            const Message<const char*>& message) {
    const char c = ReadPuncEQ(in);
    if (IsOneOf(c, wanted)) return;
    in.report(message, CharName(c));
    if (IsOneOf(c, keep)) in.unreadChar(c);
}

void SkipNextBraces(Parser_CString_kt& in) {
    while (in.peekPunc() != '{') {
        if (in.peekPunc() == '}' || !in.skipToken()) return;
    }
    in.skipStructure('{', '}', false);
}

namespace {

void ExpectSeparator(Parser_CString_kt& in, const Message<>& message) {
    Expect(in, ":=", keepValue, message);
}

double read_number_field(Parser_CString_kt& in) {
    ExpectSeparator(in, msg::dxpress.numberSeparator);
    return in.readDouble();
}

/// The text lives until the next string is read.
std::string_view read_string_field(Parser_CString_kt& in) {
    ExpectSeparator(in, msg::dxpress.stringSeparator);
    if (const char c = in.peekPunc(); c == ';' || c == '}') {
        in.setTokenStart(in.getPos());
        in.report(msg::dxpress.missingValue);
    }
    return in.takeString();
}

/// What a text is to those that take it to end with a zero byte, which an escape can write.
std::string_view UpToZero(std::string_view text) { return text.substr(0, text.find('\0')); }

/// False, with the error recorded, when no pair of numbers follows.
bool read_coord_field(Parser_CString_kt& in, coord_kt& value) {
    ExpectSeparator(in, msg::dxpress.coordinateSeparator);
    return TryReadCoord(in, value);
}

bool read_bool_field(Parser_CString_kt& in) {
    struct Word {
        const char* text;
        bool value;
        bool byLenience;
    };
    constexpr Word words[] = {{"0", false, false},  {"false", false, false}, {"no", false, true},
                              {"off", false, true}, {"n", false, true},      {"f", false, true},
                              {"1", true, false},   {"true", true, false},   {"yes", true, true},
                              {"on", true, true},   {"y", true, true},       {"t", true, true}};
    ExpectSeparator(in, msg::dxpress.booleanSeparator);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    for (const Word& known : words) {
        if (!streqli_kt(word, known.text) || (known.byLenience && !in.lenient)) continue;
        if (known.byLenience)
            in.report(msg::dxpress.booleanWord, word, known.value ? "true" : "false");
        return known.value;
    }
    in.report(msg::dxpress.notBoolean, word);
    return false;
}

/// Passes over an item that the reader does not take: silently when the list knows it. When it has
/// lost its ';' it ends before the name of the next field that is taken, one of `table`.
template <class OBJECT, std::size_t N>
void SkipUntaken(Parser_CString_kt& in, const char* word, const char* list,
                 const Message<const char*>& unknown, const FieldHandler<OBJECT> (&table)[N]) {
    if (std::strstr(list, word) == nullptr) in.reportUnknown(word, unknown, word);
    const ParserPos_kt start = in.getPos();
    in.skipStatement();
    const ParserPos_kt end = in.getPos();
    in.setPos(start);
    in.skipToken();  // the separator
    in.skipToken();  // a value's start
    while (in.getPos() < end && std::strchr("({[", in.peekPunc()) == nullptr) {
        const ParserPos_kt field = in.getPos();
        const bool taken = FindKeyword(table, in.peekWord()) != nullptr;
        in.skipToken();
        const char c = in.peekPunc();
        if (!taken || in.getPos() >= end || (c != ':' && c != '=')) continue;
        in.setPos(field);
        return;
    }
    in.setPos(end);
}

// ---- kb ------------------------------------------------------------------------------------

constexpr FieldHandler<Bnet_bn> kbHandlers[] = {
    {"notes", [](Parser_CString_kt& in, Bnet_bn& net,
                 const char*) { net.setComment(DupStr_kt(read_string_field(in))); }},
};

/// Reads a field by its row of the table, or passes over it.
template <class OBJECT, std::size_t N>
void ReadField(Parser_CString_kt& in, OBJECT& object, const char* word,
               const FieldHandler<OBJECT> (&table)[N], const char* list,
               const Message<const char*>& unknown) {
    if (const auto* handler = FindKeyword(table, word)) {
        handler->read(in, object, word);
    } else {
        SkipUntaken(in, word, list, unknown, table);
    }
}

void read_kb(Parser_CString_kt& in, Bnet_bn& net) {
    ReadBlock(in, kbBlock, net.name, [&](const char* word) {
        ReadField(in, net, word, kbHandlers, kbFields, msg::dxpress.unknownKbField);
        return true;
    });
}

// ---- States --------------------------------------------------------------------------------

/// The states of a node so far.
struct States {
    Bnode_bn& node;
    strin_kt faultList;  // indices of the fault states named
    bool titlesWait;     // the titles equal the names, and are not set
};

/// One state entry being read.
struct StateEntry {
    States& states;
    int state;  // its index
    bool isFault;
};

void AppendInt(strin_kt& text, int value) {
    char digits[12];
    text.append(std::string_view(
        digits, static_cast<std::size_t>(sprint_int_kt<char, int>(digits, value))));
}

/// Titles a state, which has its name. As nodes whose titles all equal the names get none, and most
/// are such, the titles wait for one that differs.
void SetStateTitle(Parser_CString_kt& in, States& states, int state, std::string_view text) {
    Bnode_bn& node = states.node;
    const char* const* const names = node.variable.stateNames;
    if (states.titlesWait && text == names[state]) return;
    for (int i = 0; states.titlesWait && i < state; ++i)
        in.setError(node.setStateTitle(i, DupStr_kt(names[i])));
    states.titlesWait = false;
    in.setError(node.setStateTitle(state, DupStr_kt(text)));
}

void ParseStateName(Parser_CString_kt& in, StateEntry& entry, const char*) {
    const std::string_view text = UpToZero(read_string_field(in));
    char* const name = ToLegalName1_kt(DupStr_kt(text.substr(0, shortWordSize)), 's');
    States& states = entry.states;
    in.setError(states.node.setStateName(entry.state, name));
    SetStateTitle(in, states, entry.state, text);
    if (!entry.isFault) return;
    if (!states.faultList.isEmpty()) states.faultList.append(", ");
    AppendInt(states.faultList, entry.state);
}

void ParseStateDefinition(Parser_CString_kt& in, StateEntry& entry, const char*) {
    const std::string_view text = UpToZero(read_string_field(in));
    if (text.empty()) return;
    char state[StateTextSize];
    Bnode_bn& node = entry.states.node;
    strin_kt& notes = node.importNotes;
    notes.append("\nState ");
    notes.append(std::string_view(statetostr1(entry.state, node.variable, state)));
    notes.append(": ");
    notes.append(text);
    notes.append("\n");
}

constexpr FieldHandler<StateEntry> stateHandlers[] = {
    {"name", ParseStateName},
    {"definition", ParseStateDefinition},
};

/// Past the '{' of a state, whatever stands before it. When a '}', or a field's end or separator,
/// comes first, the '{' is lost.
void PassToBrace(Parser_CString_kt& in) {
    const ParserPos_kt start = in.getPos();
    do {
        const char c = in.peekPunc();
        if (c == '{') {
            in.skipToken();
            return;
        }
        if (c != 0 && std::strchr("}:=;", c) != nullptr) break;
    } while (in.skipToken());
    in.setPos(start);
    in.skipSpaces();
    in.setTokenStart(in.getPos());
    in.report(msg::dxpress.stateUnopened);
}

/// One state entry, its type word already read.
void ReadState(Parser_CString_kt& in, States& states, int state, const char* type) {
    const bool isFault = IsKeyword(type, "fault");
    if (!isFault && !IsKeyword(type, "standard")) {
        in.report(msg::dxpress.unknownStateKind, type);
        SkipNextBraces(in);
        return;
    }
    PassToBrace(in);
    StateEntry entry{states, state, isFault};
    ReadItems(in, stateBlock, [&](const char* word) {
        ReadField(in, entry, word, stateHandlers, stateFields, msg::dxpress.unknownStateField);
        return true;
    });
}

void read_states(Parser_CString_kt& in, Bnode_bn& node) {
    States states{node, {}, node.variable.stateNames == nullptr};
    int state = 0;
    ReadBlock(in, statesBlock, node.name(), [&](const char* type) {
        if (state >= node.numStates()) {
            in.report(msg::dxpress.tooManyStates, state + 1);
            in.skipStructure('{', '}', true);
            return false;
        }
        ReadState(in, states, state++, type);
        return true;
    });
    const Varbl_bn& variable = node.variable;
    if (EqlArrStrs_kt(variable.stateTitles, variable.stateNames, variable.numStates)) {
        node.setStateTitles(nullptr);
    }
    if (strin_kt& faults = states.faultList; !faults.isEmpty()) {
        node.setUserField("fault_states", faults.getCStr(), faults.num() + 1);
    }
}

// ---- Nodes ---------------------------------------------------------------------------------

void SetNodeUserText(Bnode_bn& node, const char* name, std::string_view text) {
    node.setUserField(name, text.data(), static_cast<int>(text.size()));
}

void AddNodeGroup(Bnode_bn& node, std::string_view text) { SetNodeUserText(node, "group", text); }

void set_node_user_bool(Bnode_bn& node, const char* name, bool value) {
    SetNodeUserText(node, name, value ? "true" : "false");
}

void set_node_user_number(Bnode_bn& node, const char* name, double value) {
    char text[30];
    SPrintf(text, sizeof text, "%g", value);
    SetNodeUserText(node, name, text);
}

void ParseNodeName(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    node.setTitle(read_string_field(in));
}

void ParseNodeDefinition(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    node.setComment(DupStr_kt(read_string_field(in)));
}

void parse_node_position(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    coord_kt position;
    if (read_coord_field(in, position)) {
        SetNodeVisPosition_ibn(node, position, nullptr);
    } else {
        in.skipStatement();
    }
}

void ParseNodeClass(Parser_CString_kt& in, Bnode_bn&, const char*) {
    ExpectSeparator(in, msg::dxpress.classSeparator);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (IsKeyword(word, "probability") || IsKeyword(word, "ci")) return;
    in.report(msg::dxpress.unknownClass, word);
}

void ParseNodeClasstype(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    ExpectSeparator(in, msg::dxpress.classtypeSeparator);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (IsKeyword(word, "max")) return;
    in.report(msg::dxpress.unknownClasstype, node.name(), word);
}

void ParseNodeType(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    ExpectSeparator(in, msg::dxpress.typeSeparator);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (!IsKeyword(word, "discrete")) {
        in.report(msg::dxpress.notDiscrete, node.name(), word);
        in.skipStatement();
        return;
    }
    Expect(in, "[", keepTypeRest, msg::dxpress.missingOpenBracket);
    const int states = in.readInt();
    if (!in.numberFailed) {
        in.setError(node.setStates(states));
    }
    Expect(in, "]", keepTypeRest, msg::dxpress.missingCloseBracket);
    Expect(in, "=", keepTypeRest, msg::dxpress.missingEquals);
    if (const char c = in.peekPunc(); c == ';' || c == '}') {  // the field ends without a block
        in.setTokenStart(in.getPos());
        in.report(msg::dxpress.statesUnopened);
    } else {
        read_states(in, node);
    }
}

void ParseNodeCategory(Parser_CString_kt& in, Bnode_bn& node, const char*) {
    AddNodeGroup(node, UpToZero(read_string_field(in)));
}

void ParseNodeNumber(Parser_CString_kt& in, Bnode_bn& node, const char* word) {
    const double value = read_number_field(in);
    if (!in.numberFailed) set_node_user_number(node, word, value);
}

void ParseNodeBool(Parser_CString_kt& in, Bnode_bn& node, const char* word) {
    set_node_user_bool(node, word, read_bool_field(in));
}

constexpr FieldHandler<Bnode_bn> nodeHandlers[] = {
    {"name", ParseNodeName},           {"definition", ParseNodeDefinition},
    {"position", parse_node_position}, {"class", ParseNodeClass},
    {"classtype", ParseNodeClasstype}, {"type", ParseNodeType},
    {"category", ParseNodeCategory},   {"cost", ParseNodeNumber},
    {"observable", ParseNodeBool},     {"mandatory", ParseNodeBool},
    {"recommendable", ParseNodeBool},
};

/// Appends the state descriptions to the node's comment.
void AppendNotesToComment(Bnode_bn& node) {
    if (node.importNotes.isEmpty()) return;
    std::string comment(node.comment != nullptr ? node.comment : "");
    comment += node.importNotes.view();
    node.setComment(DupStr_kt(comment));
}

/// One node, the word "standard" already read.
void read_node(Parser_CString_kt& in, Bnet_bn& net) {
    const OwnedStr name(DupStr_kt(in.takeString()));
    ReadFramed(in, nodeBlock.kind, name.get(), [&] {
        Expect(in, "{", keepNothing, msg::dxpress.nodeUnopened);
        // The model makes the legal name, and keeps the text as what the network block will look
        // for.
        rept_kt* error = nullptr;
        Bnode_bn* node = NewNode_ibn(name.get(), 2, net, {0, 0}, &error);
        if (node == nullptr) {
            in.setError(error);
            in.skipStructure('{', '}', true);
            in.checkError();
            return;
        }
        RememberPlace(in, *node);
        ToLegalName_kt(name.get());
        ReadItems(in, nodeBlock, [&](const char* word) {
            ReadField(in, *node, word, nodeHandlers, nodeFields, msg::dxpress.unknownNodeField);
            return true;
        });
        AppendNotesToComment(*node);
    });
}

void read_nodes(Parser_CString_kt& in, Bnet_bn& net) {
    ReadFramed(in, nodesBlock.kind, nullptr, [&] {
        Expect(in, "{", keepNothing, msg::dxpress.nodesUnopened);
        ReadItems(in, nodesBlock, [&](const char* word) {
            if (IsKeyword(word, "standard")) {
                read_node(in, net);
            } else {
                in.reportUnknown(word, msg::dxpress.unknownNodeKind, word);
                in.skipStatement();
            }
            return true;
        });
    });
}

// ---- Network -------------------------------------------------------------------------------

enum class ParentsEN { read, unknown };

/// Stands before the next parent's name, or past the ')' that ends the list (then false). `body` is
/// set at a '{', which belongs to the relation: the ')' is missing.
bool FindNextParent(Parser_CString_kt& in, ParserPos_kt& body) {
    while (!in.isAtEnd()) {
        in.skipSpaces();
        const char c = in.peekChar();
        if (c == '"') return true;
        if (c == ',' || c == ')') {
            in.skipChar();
            if (c == ')') return false;
            if (!in.peekWord().empty()) return true;  // after a ',' a bare word is a name as well
            continue;
        }
        if (c == '{' && body == nullptr) body = in.getPos();
        in.setTokenStart(in.getPos());
        in.report(msg::dxpress.strayAmongParents, CharName(c));
        if (!in.peekWord().empty()) return true;
        in.skipChar();
    }
    EndOfInput(in);
    return false;
}

/// The parent list after its '('. After an unknown parent the input stands before the relation.
ParentsEN ReadParents(Parser_CString_kt& in, const Bnet_bn& net, BndList_bn& parents) {
    ParserPos_kt body = nullptr;
    while (FindNextParent(in, body)) {
        const std::string_view name = UpToZero(in.takeString());
        Bnode_bn* parent = net.findNodeLabeled(name);
        if (parent == nullptr) {
            in.report(msg::dxpress.unknownParent, std::string(name).c_str());
            if (body != nullptr) in.setPos(body);
            return ParentsEN::unknown;
        }
        parents.append(parent);
        body = nullptr;
    }
    return ParentsEN::read;
}

constexpr FieldHandler<Bnode_bn> relationReaders[] = {
    {"standard",
     [](Parser_CString_kt& in, Bnode_bn& node, const char*) { read_standard_reln(in, node); }},
    {"ci", [](Parser_CString_kt& in, Bnode_bn& node, const char*) { read_ci_reln(in, node); }},
};

/// One entry of the network block, its type word already read. `lastNode` is the place of the node
/// of the entry before, mostly right before this one's.
void ReadNetworkEntry(Parser_CString_kt& in, Bnet_bn& net, const char* type, int& lastNode) {
    const ParserPos_kt typePlace = in.tokenStart();
    const std::string_view name = UpToZero(in.takeString());
    Bnode_bn* node = net.findNodeLabeled(name, lastNode + 1);
    if (node == nullptr) {
        in.report(msg::dxpress.unknownNode, std::string(name).c_str());
        SkipNextBraces(in);
        return;
    }
    lastNode = node->place();
    in.structName = node->name();
    in.skipToString("(");
    BndList_bn parents;
    if (ReadParents(in, net, parents) == ParentsEN::unknown) {
        in.skipStructure('{', '}', false);
        return;
    }
    const bool hadTable = node->relation.kind != RelnKindEN::none;
    in.setError(node->changePreds(parents));
    if (hadTable && node->relation.kind == RelnKindEN::none)
        in.report(msg::import.tableAgain, node->name());
    if (const auto* reader = FindKeyword(relationReaders, type)) {
        reader->read(in, *node, type);
    } else {
        in.setTokenStart(typePlace);
        in.reportUnknown(type, msg::dxpress.unknownRelation, type);
        in.skipStructure('{', '}', false);
    }
}

void read_network(Parser_CString_kt& in, Bnet_bn& net) {
    int lastNode = -1;
    ReadBlock(in, networkBlock, nullptr, [&](const char* type) {
        ReadNetworkEntry(in, net, type, lastNode);
        in.structName = nullptr;
        return true;
    });
}

// ---- The file ------------------------------------------------------------------------------

void SkipObject(Parser_CString_kt& in, Bnet_bn&, const char*);

constexpr FieldHandler<Bnet_bn> objectReaders[] = {
    {"kb", [](Parser_CString_kt& in, Bnet_bn& net, const char*) { read_kb(in, net); }},
    {"nodes", [](Parser_CString_kt& in, Bnet_bn& net, const char*) { read_nodes(in, net); }},
    {"network", [](Parser_CString_kt& in, Bnet_bn& net, const char*) { read_network(in, net); }},
    {"faulthierarchy", SkipObject},
    {"nodehierarchy", SkipObject},
};

/// Whether an object that the reader knows starts here: its word and a '{'.
bool AtObject(Parser_CString_kt& in) {
    const std::string_view word = in.peekWord();
    if (word.empty() || word.size() > shortWordSize) return false;
    if (FindKeyword(objectReaders, word) == nullptr) return false;
    const ParserPos_kt start = in.getPos();
    in.setPos(start + word.size());
    const bool starts = in.peekPunc() == '{';
    in.setPos(start);
    return starts;
}

/// Passes over an object after its word: up to its brace, then through its structure in braces. One
/// that has lost a brace or a quote ends before the next object.
void SkipObject(Parser_CString_kt& in, Bnet_bn&, const char*) {
    for (; in.peekPunc() != '{'; in.skipToken()) {
        if (AtObject(in)) return;
        if (in.isAtEnd()) return EndOfInput(in);
    }
    in.skipToken();
    PassStructure(in, AtObject);
}

/// The two opening words (not insisted upon) and the net's name, which is not used.
void ReadHeader(Parser_CString_kt& in) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (!IsKeyword(word, "diagnostic")) NewReport(msg::dxpress.missingDiagnostic);
    in.readWord(word, wordSize);
    if (!IsKeyword(word, "network")) NewReport(msg::dxpress.missingNetwork);
    in.readStringText();
}

/// Lenient reading of a network that stands before all nodes: passes over it and keeps its place,
/// to read it when the nodes are there.
bool Postpone(Parser_CString_kt& in, const Bnet_bn& net, std::vector<ParserPos_kt>& networks) {
    if (!in.lenient || net.nodes.N > 0) return false;
    const ParserPos_kt body = in.getPos();
    const bool whole = in.peekPunc() == '{' && in.skipStructure('{', '}', false);
    if (!whole || in.isAtEnd()) {
        in.setPos(body);
        return false;
    }
    if (networks.empty()) in.report(msg::dxpress.networkBeforeNodes);
    networks.push_back(body);
    return true;
}

void ReadObject(Parser_CString_kt& in, Bnet_bn& net, std::vector<ParserPos_kt>& networks) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (IsKeyword(word, "network") && Postpone(in, net, networks)) {
        // read at the end
    } else if (const auto* reader = FindKeyword(objectReaders, word)) {
        reader->read(in, net, word);
    } else if (word[0] != '\0') {
        in.reportUnknown(word, msg::dxpress.unknownObject, word);
        SkipObject(in, net, word);
    }
    in.checkError();
    while (const char c = ReadPuncEQ(in)) {
        in.report(msg::dxpress.strayBetweenObjects, CharName(c));
    }
}

void ReadDXPress(Parser_CString_kt& in, Bnet_bn& net) {
    ReadHeader(in);
    std::vector<ParserPos_kt> networks;
    do {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        ReadObject(in, net, networks);
    } while (!in.isAtEnd());
    in.checkError();
    for (const ParserPos_kt network : networks) {
        in.setPos(network);
        read_network(in, net);
        in.checkError();
    }
}

}  // namespace

}  // namespace dxpress

rept_kt* ParseDXPressFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                          const ReadOptions& options) {
    const std::unique_ptr<short[]> props(MakeStdCharProps_kt());
    SetCharProp_kt("(){}[]=,;:|\"", CharPropPunct, props.get());
    ParserOptions_kt parserOptions;
    parserOptions.charProps = props.get();
    const OwnedParser parser(channel.makeParser(&parserOptions));
    Parser_CString_kt& in = TextParser(*parser);
    in.lenient = options.lenient;
    dxpress::State state;
    state.condense = options.condense;
    in.state = &state;
    drawing.drawStyle = 7;
    ReadToTheEnd(in, [&] { dxpress::ReadDXPress(in, net); });
    JudgeNodes(in, net);
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
