// Reader of DXPress diagnostic knowledge bases: the header words `diagnostic network "name"`, then
// objects in any order. kb: net-wide settings, of which the notes become the net's comment. nodes:
// the nodes with their states. network: each node's parents and relation, a table or noisy-max
// parameters. Two hierarchies and whatever else there is are passed over. docs/dxpress.md describes
// the format.
//
// The reader is tolerant: a missing brace, separator or terminator is a warning, an unknown name a
// warning that skips the item. Errors are recorded and reading goes on; nothing here throws.
#include <climits>
#include <cstring>
#include <string>

#include "import/readers.h"

namespace lumo {

namespace {

constexpr int wordSize = 255;
constexpr int shortWordSize = 30;  // of type words and state fields

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
constexpr const char* relationFields = "prob,partitions,naSpec";

/// What tells one kind of block from another: its name in messages and the numbers of its warnings.
struct BlockKind {
    const char* kind;
    int noOpen;            // the '{' is missing
    const char* openText;  // the message of that; its %s receives what stood there
    int strayPunctuation;  // between items
    int noEnd;             // the ';' after an item is missing; 0: items end without one
    int itemWord;          // most characters of an item's first word
};

constexpr const char* expectedOpen = "expected '{'";
constexpr const char* expectedOpenGot = "expected '{', but got %s";

constexpr BlockKind kbBlock{"kb", -4045, expectedOpen, -4046, -4048, wordSize};
constexpr BlockKind nodesBlock{"nodes", -4068, expectedOpenGot, -4069, 0, wordSize};
constexpr BlockKind nodeBlock{"node", -4055, expectedOpen, -4056, -4067, wordSize};
constexpr BlockKind statesBlock{"states", -4049, expectedOpen, -4050, 0, shortWordSize};
constexpr BlockKind stateBlock{"states", 0, nullptr, -4051, -4053, shortWordSize};
constexpr BlockKind networkBlock{">-net connectivity", -4080, expectedOpen, -4081, 0, wordSize};
constexpr BlockKind standardRelation{
    "node standard relation", -4071, expectedOpen, -4072, 0, wordSize};
constexpr BlockKind noisyMaxRelation{"node ci relation", -4102, expectedOpen, -4103, 0, wordSize};

// ---- Punctuation and values ----------------------------------------------------------------

/// The next punctuation character, or 0 when a word follows. The three characters =3D stand for one
/// '=', and =2A for none.
char ReadPuncEQ(Parser_kt& in) {
    const char c = in.readPunc();
    if (c != '=') return c;
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

void EndOfInput(Parser_kt& in) { in.makeError(num::unexpectedEnd, "unexpected end-of-input"); }

// What belongs to the next thing when it stands where other punctuation is expected. Whatever else
// stands there is dropped.
constexpr const char* keepNothing = "";      // a block's body is read whatever opens it
constexpr const char* keepBlockEnd = "}";    // the field before it lacks its ';'
constexpr const char* keepTypeRest = "{};";  // a part of the type before it is missing
constexpr const char* keepValue = "\"{}(;";  // the separator before it is missing

/// Reads the punctuation that should be one of `wanted`. Otherwise makes the warning, whose %s
/// receives what stood there, and puts that back when it is one of `keep`.
void Expect(Parser_kt& in, const char* wanted, const char* keep, int number, const char* text) {
    const char c = ReadPuncEQ(in);
    if (c != 0 && std::strchr(wanted, c) != nullptr) return;
    const std::string message = Format(text, CharName(c));
    in.makeWarning(number, "%s", message.c_str());
    if (c != 0 && std::strchr(keep, c) != nullptr) in.unreadChar(c);
}

void ExpectSeparator(Parser_kt& in, int number) {
    Expect(in, ":=", keepValue, number, "expected ':'");
}

double read_number_field(Parser_kt& in) {
    ExpectSeparator(in, -4042);
    return in.readDouble();
}

OwnedStr read_string_field(Parser_kt& in) {
    ExpectSeparator(in, -4040);
    return OwnedStr(in.readStringNew());
}

/// False, with the error recorded, when no pair of numbers follows.
bool read_coord_field(Parser_kt& in, coord_kt& value) {
    ExpectSeparator(in, -4041);
    return TryReadCoord(in, value);
}

bool read_bool_field(Parser_kt& in) {
    struct Word {
        const char* text;
        bool value;
    };
    constexpr Word words[] = {{"0", false}, {"false", false}, {"1", true}, {"true", true}};
    ExpectSeparator(in, -4043);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    for (const Word& known : words) {
        if (streqli_kt(word, known.text)) return known.value;
    }
    in.makeError(-4044, "expected boolean quantitity, but read '%s'", word);
    return false;
}

// ---- The block loop ------------------------------------------------------------------------

/// Names the field being read in messages, for a scope.
class FieldScope {
public:
    FieldScope(Parser_kt& in, const char* field) : in_(in) { in.fieldName = field; }
    ~FieldScope() { in_.fieldName = nullptr; }
    FieldScope(const FieldScope&) = delete;
    FieldScope& operator=(const FieldScope&) = delete;

private:
    Parser_kt& in_;
};

/// Reads items up to the block's '}'. readItem(word) reads one, its first word already read; it
/// returns false to leave the block at once.
template <class Item>
void ReadItems(Parser_kt& in, const BlockKind& block, Item readItem) {
    char word[wordSize + 1];
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        const char c = ReadPuncEQ(in);
        if (c == '}') break;
        if (c != 0) {
            in.makeWarning(block.strayPunctuation, "unexpected punctuation %s", CharName(c));
            continue;
        }
        if (in.peekWord().empty()) continue;  // what ReadPuncEQ took for nothing
        in.readWord(word, block.itemWord);
        const FieldScope field(in, block.noEnd != 0 ? word : nullptr);
        if (!readItem(word)) break;
        in.checkError();
        if (block.noEnd != 0) Expect(in, ";", keepBlockEnd, block.noEnd, "expected ';'");
    }
    in.checkError();
}

/// Runs a reader's body within its message context; a report that checkError throws ends the body
/// and is recorded, and the caller's next checkError decides what follows.
template <class Body>
void ReadFramed(Parser_kt& in, const char* kind, const char* name, Body body) {
    const ParserContext context(in, kind, name);
    try {
        body();
    } catch (rept_kt* report) {
        in.setError(report);
    }
}

template <class Item>
void ReadBlock(Parser_kt& in, const BlockKind& block, const char* name, Item readItem) {
    ReadFramed(in, block.kind, name, [&] {
        Expect(in, "{", keepNothing, block.noOpen, block.openText);
        ReadItems(in, block, readItem);
    });
}

/// Passes over an item that the reader does not take: silently when the list knows it.
void SkipUntaken(Parser_kt& in, const char* word, const char* list, int number, const char* text) {
    if (std::strstr(list, word) == nullptr) in.makeWarningUnknown(word, number, text, word);
    in.skipStatement();
}

/// Passes over the next structure in braces, if there is one.
void SkipNextBraces(Parser_kt& in) {
    if (in.skipToString("{") != -1) in.skipStructure('{', '}', true);
}

/// One of a block's fields: what to do once its name has been read.
template <class OBJECT>
struct FieldHandler {
    const char* name;
    void (*read)(Parser_kt& in, OBJECT& object, const char* word);
};

template <class OBJECT, std::size_t N>
const FieldHandler<OBJECT>* FindHandler(const FieldHandler<OBJECT> (&table)[N], const char* word) {
    for (const FieldHandler<OBJECT>& handler : table) {
        if (streqli_kt(word, handler.name)) return &handler;
    }
    return nullptr;
}

// ---- kb ------------------------------------------------------------------------------------

void read_kb(Parser_kt& in, Bnet_bn& net) {
    ReadBlock(in, kbBlock, net.name, [&](const char* word) {
        if (streqli_kt(word, "notes")) {
            net.setComment(read_string_field(in).release());
        } else {
            SkipUntaken(in, word, kbFields, -4047, "unknown field '%s'");
        }
        return true;
    });
}

// ---- States --------------------------------------------------------------------------------

/// One state entry being read.
struct StateEntry {
    Bnode_bn& node;
    int state;  // its index
    bool isFault;
    strin_kt& faultList;  // indices of the fault states named so far
};

void AppendInt(strin_kt& text, int value) {
    char digits[12];
    text.append(std::string_view(
        digits, static_cast<std::size_t>(sprint_int_kt<char, int>(digits, value))));
}

void parse_state_name(Parser_kt& in, StateEntry& entry, const char*) {
    OwnedStr text = read_string_field(in);
    auto name = std::make_unique<char[]>(shortWordSize + 2);  // the zero byte and a prefix letter
    if (text != nullptr) std::strncpy(name.get(), text.get(), shortWordSize);
    ToLegalName1_kt(name.get(), 's');
    in.setError(entry.node.setStateName(entry.state, name.release(), 0, CheckFull));
    in.setError(entry.node.setStateTitle(entry.state, text.release(), CheckFull));
    if (!entry.isFault) return;
    if (!entry.faultList.isEmpty()) entry.faultList.append(", ");
    AppendInt(entry.faultList, entry.state);
}

void parse_state_definition(Parser_kt& in, StateEntry& entry, const char*) {
    const OwnedStr text = read_string_field(in);
    if (text == nullptr || text[0] == '\0') return;
    char state[StateTextSize];
    strin_kt& notes = entry.node.importNotes;
    notes.append("\nState ");
    notes.append(std::string_view(statetostr1(entry.state, entry.node.variable, state)));
    notes.append(": ");
    notes.append(std::string_view(text.get()));
    notes.append("\n");
}

constexpr FieldHandler<StateEntry> stateHandlers[] = {
    {"name", parse_state_name},
    {"definition", parse_state_definition},
};

/// One state entry, its type word already read.
void read_state(Parser_kt& in, Bnode_bn& node, int state, const char* type, strin_kt& faultList) {
    const bool isFault = streqli_kt(type, "fault");
    if (!isFault && !streqli_kt(type, "standard")) {
        in.makeError(-4054, "unknown >-node state type '%s'", type);
        SkipNextBraces(in);
        return;
    }
    in.skipToString("{");
    StateEntry entry{node, state, isFault, faultList};
    ReadItems(in, stateBlock, [&](const char* word) {
        if (const auto* handler = FindHandler(stateHandlers, word)) {
            handler->read(in, entry, word);
        } else {
            SkipUntaken(in, word, stateFields, -4052, "unknown >-node state field '%s'");
        }
        return true;
    });
}

void read_states(Parser_kt& in, Bnode_bn& node) {
    strin_kt faultList;
    int state = 0;
    ReadBlock(in, statesBlock, node.name(), [&](const char* type) {
        if (state >= node.numStates()) {
            in.makeError(-4107, "too many state definitions (%d)", state + 1);
            in.skipStructure('{', '}', true);
            return false;
        }
        read_state(in, node, state++, type, faultList);
        return true;
    });
    const Varbl_bn& variable = node.variable;
    if (EqlArrStrs_kt(variable.stateTitles, variable.stateNames, variable.numStates, true)) {
        node.setStateTitles(nullptr);
    }
    if (!faultList.isEmpty()) {
        node.setUserField("fault_states", faultList.getCStr(), faultList.num() + 1);
    }
}

// ---- Nodes ---------------------------------------------------------------------------------

void set_node_user_text(Bnode_bn& node, const char* name, std::string_view text) {
    node.setUserField(name, text.data(), static_cast<int>(text.size()));
}

void AddNodeGroup(Bnode_bn& node, const char* text) { set_node_user_text(node, "group", text); }

void set_node_user_bool(Bnode_bn& node, const char* name, bool value) {
    set_node_user_text(node, name, value ? "true" : "false");
}

void set_node_user_number(Bnode_bn& node, const char* name, double value) {
    char text[30];
    SPrintf(text, sizeof text, "%g", value);
    set_node_user_text(node, name, text);
}

void parse_node_name(Parser_kt& in, Bnode_bn& node, const char*) {
    node.setTitle(read_string_field(in).release());
}

void parse_node_definition(Parser_kt& in, Bnode_bn& node, const char*) {
    node.setComment(read_string_field(in).release());
}

void parse_node_position(Parser_kt& in, Bnode_bn& node, const char*) {
    coord_kt position;
    if (read_coord_field(in, position)) {
        SetNodeVisPosition_ibn(node, position, nullptr);
    } else {
        in.skipStatement();
    }
}

void parse_node_class(Parser_kt& in, Bnode_bn&, const char*) {
    ExpectSeparator(in, -4057);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (streqli_kt(word, "probability") || streqli_kt(word, "ci")) return;
    in.makeWarning(-4058, "unknown >-node class '%s'", word);
}

void parse_node_classtype(Parser_kt& in, Bnode_bn& node, const char*) {
    ExpectSeparator(in, -4059);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (streqli_kt(word, "max")) return;
    in.makeError(
        -4060,
        "'%s' is a ci >-node is of unknown classtype %s, but will be treated as 'max' (i.e. "
        "noisy-max)",
        node.name(), word);
}

void parse_node_type(Parser_kt& in, Bnode_bn& node, const char*) {
    ExpectSeparator(in, -4061);
    char word[shortWordSize + 1];
    in.readWord(word, shortWordSize);
    if (!streqli_kt(word, "discrete")) {
        in.makeError(-4062, "can only parse 'discrete' >-node-s, but >-node '%s' is of type '%s'",
                     node.name(), word);
        in.skipStatement();
        return;
    }
    Expect(in, "[", keepTypeRest, -4063, "expected '['");
    const int states = in.readInt();
    if (!in.numberFailed) {
        in.setError(node.setStates(states, nullptr, nullptr, nullptr, nullptr, CheckFull));
    }
    Expect(in, "]", keepTypeRest, -4064, "expected ']'");
    Expect(in, "=", keepTypeRest, -4065, "expected '='");
    if (const char c = in.peekPunc(); c == ';' || c == '}') {  // the field ends without a block
        in.setTokenStart(in.getPos());
        in.makeWarning(statesBlock.noOpen, "%s", statesBlock.openText);
    } else {
        read_states(in, node);
    }
}

void parse_node_category(Parser_kt& in, Bnode_bn& node, const char*) {
    const OwnedStr text = read_string_field(in);
    if (text != nullptr) AddNodeGroup(node, text.get());
}

void parse_node_number(Parser_kt& in, Bnode_bn& node, const char* word) {
    const double value = read_number_field(in);
    if (!in.numberFailed) set_node_user_number(node, word, value);
}

void parse_node_bool(Parser_kt& in, Bnode_bn& node, const char* word) {
    set_node_user_bool(node, word, read_bool_field(in));
}

constexpr FieldHandler<Bnode_bn> nodeHandlers[] = {
    {"name", parse_node_name},           {"definition", parse_node_definition},
    {"position", parse_node_position},   {"class", parse_node_class},
    {"classtype", parse_node_classtype}, {"type", parse_node_type},
    {"category", parse_node_category},   {"cost", parse_node_number},
    {"observable", parse_node_bool},     {"mandatory", parse_node_bool},
    {"recommendable", parse_node_bool},
};

/// Appends the state descriptions to the node's comment.
void AppendNotesToComment(Bnode_bn& node) {
    if (node.importNotes.isEmpty()) return;
    std::string comment(node.comment != nullptr ? node.comment : "");
    comment += node.importNotes.view();
    node.setComment(DupStr_kt(comment));
}

/// One node, the word "standard" already read.
void read_node(Parser_kt& in, Bnet_bn& net) {
    OwnedStr name(in.readStringNew());
    if (name == nullptr) name.reset(DupStr_kt(""));
    ReadFramed(in, nodeBlock.kind, name.get(), [&] {
        Expect(in, "{", keepNothing, nodeBlock.noOpen, nodeBlock.openText);
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
        ToLegalName_kt(name.get());
        ReadItems(in, nodeBlock, [&](const char* word) {
            if (const auto* handler = FindHandler(nodeHandlers, word)) {
                handler->read(in, *node, word);
            } else {
                SkipUntaken(in, word, nodeFields, -4066, "unknown >-node field '%s'");
            }
            return true;
        });
        AppendNotesToComment(*node);
    });
}

void read_nodes(Parser_kt& in, Bnet_bn& net) {
    ReadBlock(in, nodesBlock, nullptr, [&](const char* word) {
        if (streqli_kt(word, "standard")) {
            read_node(in, net);
        } else {
            in.makeWarningUnknown(word, -4070, "unknown >-node type '%s'", word);
            in.skipStatement();
        }
        return true;
    });
}

// ---- Relations -----------------------------------------------------------------------------

/// The numbers of a relation: as many as are wanted are kept, all are counted.
template <class NUMBER>
struct Numbers {
    XArray<NUMBER> values;  // null when the file cannot hold as many as are wanted
    int wanted = 0;
    int count = 0;
    bool damaged = false;  // a token was no number

    Numbers(Parser_kt& in, const Bnode_bn& node, int n) : wanted(n) {
        constexpr int bytesPerNumber = 2;
        const bool possible = n <= (in.bytesLeft() + 1) / bytesPerNumber;
        if (!possible || n > MaxTableEntries) return;
        values = NewXArray<NUMBER>(n);
        if (values == nullptr) {
            in.setError(newerr_mem_kt(num::outOfMemory, static_cast<double>(n) * sizeof(NUMBER),
                                      "for the table of >-node '%s'", node.name()));
        }
    }
    /// Reads the next number, and those behind it that are separated from it by commas.
    void read(Parser_kt& in) {
        const int run =
            values == nullptr || count >= wanted ? 0 : readRun(in, values.get() + count);
        if (run > 0) {
            count += run;
            return;
        }
        const double value = in.readDouble();
        damaged |= in.numberFailed;
        add(value);
    }
    bool complete() const { return count == wanted && values != nullptr && !damaged; }

private:
    int readRun(Parser_kt& in, float* out) const {
        return in.readFloats(out, wanted - count, CommasEN::must);
    }
    int readRun(Parser_kt& in, double* out) const {
        return in.readDoubles(out, wanted - count, CommasEN::must);
    }
    void add(double value) {
        if (count < wanted && values != nullptr)
            values[static_cast<std::size_t>(count)] = static_cast<NUMBER>(value);
        if (count < INT_MAX) ++count;
    }
};

/// Reads a label up to its ';', then numbers separated by ',' up to the ';' that ends them.
template <class NUMBER>
void ReadRow(Parser_kt& in, Numbers<NUMBER>& numbers, int strayPunctuation) {
    if (in.skipToString(";") == -1) in.jumpToEnd();
    while (!in.isAtEnd()) {
        if (in.peekPunc() == '}') return;  // ends what holds the rows, short of a number
        numbers.read(in);
        const char c = ReadPuncEQ(in);
        if (c == ';') return;
        if (c == ',') continue;
        in.makeWarning(strayPunctuation, "unexpected punctuation %s", CharName(c));
        if (c == '}') {  // the row's ';' is missing; the '}' ends what holds the rows
            in.unreadChar(c);
            return;
        }
    }
    EndOfInput(in);
}

/// True, after an error, when the node's table is above the limit.
bool IsTooLarge(Parser_kt& in, const Bnode_bn& node, int wanted) {
    if (wanted <= MaxTableEntries) return false;
    in.makeError(num::tableTooLarge,
                 "the table of >-node '%s' wants %d entries, but the limit is %d", node.name(),
                 wanted, MaxTableEntries);
    return true;
}

/// The "prob" field of a standard relation, after its name.
void read_prob(Parser_kt& in, Bnode_bn& node) {
    Expect(in, ":", keepValue, -4073, "expected ':', but got %s");
    Expect(in, "{", keepValue, -4074, expectedOpenGot);
    Numbers<float> table(in, node, NumProduct(node.family));
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        const char c = ReadPuncEQ(in);
        if (c == '}') break;
        if (c != '(') {
            in.makeWarning(-4075, "unexpected punctuation %s", CharName(c));
        }
        ReadRow(in, table, -4076);
        in.checkError();
    }
    if (IsTooLarge(in, node, table.wanted)) return;
    if (table.count != table.wanted) {
        in.makeError(-4078, "expected to read %d conditional probabilities, but read %d",
                     table.wanted, table.count);
        return;
    }
    if (!table.complete()) return;
    rept_kt* report = node.setProbsTable(table.values.release(), false, CheckFull);
    if (IsError(report)) {
        in.makeError(*report, "%s reading conditional probabilites");
        return;
    }
    node.checkRowSums();
    node.relation.makeDeterminFromProbs(false);
}

void read_standard_reln(Parser_kt& in, Bnode_bn& node) {
    ReadBlock(in, standardRelation, node.name(), [&](const char* word) {
        if (streqli_kt(word, "prob")) {
            read_prob(in, node);
        } else {
            if (std::strstr(relationFields, word) == nullptr) {
                in.makeWarningUnknown(word, -4079, "unknown >-node relation field '%s'", word);
            }
            SkipNextBraces(in);
        }
        return true;
    });
}

/// Reads the groups of a noisy-max body. Returns true when the body's '}' ended them.
bool ReadGroups(Parser_kt& in, Numbers<double>& parameters) {
    for (;;) {
        if (in.isAtEnd()) {
            EndOfInput(in);
            return true;
        }
        const char c = ReadPuncEQ(in);
        if (c == 0) return false;
        // A '}' right after the last group ends the body, unless a further group follows it.
        if (c == '}' && (parameters.count >= parameters.wanted || in.peekPunc() != '('))
            return true;
        if (c != '(') {
            in.makeWarning(-4103, "unexpected punctuation %s", CharName(c));
        }
        ReadRow(in, parameters, -4104);
        in.checkError();
    }
}

/// Installs the parameters; the question whether to condense is asked once in the life of the
/// process.
void MakeNoisyMax(Parser_kt& in, Bnode_bn& node, const double* parameters) {
    static int condense = -1;  // guarded by the import lock
    if (condense == -1) {
        condense = AskYesOrNoC_kt(-9034, 0, -1, nullptr, "Condense Noisy-Max Tables?") ? 1 : 0;
    }
    rept_kt* report = node.makeIntoNoisyMax(parameters, condense == 1);
    if (IsError(report)) in.makeError(*report, "%s creating noisy-max node");
}

void read_ci_reln(Parser_kt& in, Bnode_bn& node) {
    ReadFramed(in, noisyMaxRelation.kind, node.name(), [&] {
        Expect(in, "{", keepNothing, noisyMaxRelation.noOpen, noisyMaxRelation.openText);
        Numbers<double> parameters(in, node, NumCIParams(node));
        if (in.skipToString(")") == -1) in.jumpToEnd();
        const bool ended = ReadGroups(in, parameters);
        if (IsTooLarge(in, node, parameters.wanted)) {
            // said already
        } else if (parameters.count != parameters.wanted) {
            in.makeError(-4105, "expected to read %d noisy-max probabilities, but read %d",
                         parameters.wanted, parameters.count);
        } else if (parameters.complete()) {
            MakeNoisyMax(in, node, parameters.values.get());
        }
        if (!ended) in.skipStructure('{', '}', true);
        in.checkError();
    });
}

// ---- Network -------------------------------------------------------------------------------

enum class ParentsEN { read, unknown };

/// Stands before the next parent's name, or past the ')' that ends the list (then false). `body` is
/// set at a '{', which belongs to the relation: the ')' is missing.
bool FindNextParent(Parser_kt& in, ParserPos_kt& body) {
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
        in.makeWarning(-4083, "unexpected punctuation %s", CharName(c));
        if (!in.peekWord().empty()) return true;
        in.skipChar();
    }
    EndOfInput(in);
    return false;
}

/// The parent list after its '('. After an unknown parent the input stands before the relation.
ParentsEN ReadParents(Parser_kt& in, const Bnet_bn& net, BndList_bn& parents) {
    ParserPos_kt body = nullptr;
    while (FindNextParent(in, body)) {
        const OwnedStr name(in.readStringNew());
        Bnode_bn* parent = net.findNodeLabeled(name != nullptr ? name.get() : "");
        if (parent == nullptr) {
            in.makeError(-4084, "unknown parent named '%s'", name != nullptr ? name.get() : "");
            if (body != nullptr) in.setPos(body);
            return ParentsEN::unknown;
        }
        parents.append(parent);
        body = nullptr;
    }
    return ParentsEN::read;
}

constexpr FieldHandler<Bnode_bn> relationReaders[] = {
    {"standard", [](Parser_kt& in, Bnode_bn& node, const char*) { read_standard_reln(in, node); }},
    {"ci", [](Parser_kt& in, Bnode_bn& node, const char*) { read_ci_reln(in, node); }},
};

/// One entry of the network block, its type word already read.
void read_network_entry(Parser_kt& in, Bnet_bn& net, const char* type) {
    const ParserPos_kt typePlace = in.tokenStart();
    const OwnedStr name(in.readStringNew());
    Bnode_bn* node = net.findNodeLabeled(name != nullptr ? name.get() : "");
    if (node == nullptr) {
        in.makeError(-4082, "unknown >-node named '%s'", name != nullptr ? name.get() : "");
        SkipNextBraces(in);
        return;
    }
    in.structName = node->name();
    in.skipToString("(");
    BndList_bn parents;
    if (ReadParents(in, net, parents) == ParentsEN::unknown) {
        in.skipStructure('{', '}', false);
        return;
    }
    in.setError(node->changePreds(parents, nullptr, true, 1, 1, false));
    if (const auto* reader = FindHandler(relationReaders, type)) {
        reader->read(in, *node, type);
    } else {
        in.setTokenStart(typePlace);
        in.makeWarningUnknown(type, -4085, "unknown >-node type '%s'", type);
        in.skipStructure('{', '}', false);
    }
}

void read_network(Parser_kt& in, Bnet_bn& net) {
    ReadBlock(in, networkBlock, nullptr, [&](const char* type) {
        read_network_entry(in, net, type);
        in.structName = nullptr;
        return true;
    });
}

// ---- The file ------------------------------------------------------------------------------

void SkipHierarchy(Parser_kt& in, Bnet_bn&, const char*) { SkipNextBraces(in); }

constexpr FieldHandler<Bnet_bn> objectReaders[] = {
    {"kb", [](Parser_kt& in, Bnet_bn& net, const char*) { read_kb(in, net); }},
    {"nodes", [](Parser_kt& in, Bnet_bn& net, const char*) { read_nodes(in, net); }},
    {"network", [](Parser_kt& in, Bnet_bn& net, const char*) { read_network(in, net); }},
    {"faulthierarchy", SkipHierarchy},
    {"nodehierarchy", SkipHierarchy},
};

/// The two opening words (not insisted upon) and the net's name, which is not used.
void ReadHeader(Parser_kt& in) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (!streqli_kt(word, "diagnostic")) newwarn_kt(-4086, "expecting word 'diagnostic'");
    in.readWord(word, wordSize);
    if (!streqli_kt(word, "network")) newwarn_kt(-4087, "expecting word 'network'");
    const OwnedStr unused(in.readStringNew());
}

void ReadObject(Parser_kt& in, Bnet_bn& net) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (const auto* reader = FindHandler(objectReaders, word)) {
        reader->read(in, net, word);
    } else if (word[0] != '\0') {
        in.makeWarningUnknown(word, -4088, "unknown object type '%s'", word);
        SkipNextBraces(in);
    }
    in.checkError();
    while (const char c = ReadPuncEQ(in)) {
        in.makeWarning(-4089, "unexpected punctuation %s", CharName(c));
    }
}

void ReadDXPress(Parser_kt& in, Bnet_bn& net) {
    ReadHeader(in);
    do {
        if (in.isAtEnd()) {
            EndOfInput(in);
            break;
        }
        ReadObject(in, net);
    } while (!in.isAtEnd());
    in.checkError();
}

}  // namespace

rept_kt* ParseDXPressFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                          const ReadOptions&) {
    const CritSecHold lock(Mut_ReadForeignFile);
    const std::unique_ptr<short[]> props(MakeStdCharProps_kt());
    SetCharProp_kt("(){}[]=,;:|\"", CharPropPunct, props.get());
    ParserOptions_kt options;
    options.charProps = props.get();
    const OwnedParser parser(channel.makeParser(&options));
    Parser_kt& in = *parser;
    drawing.drawStyle = 7;
    try {
        ReadDXPress(in, net);
    } catch (rept_kt* report) {
        in.setError(report);
    }
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
