// Reader of DSC files, the Bayes Net Interchange Format. A header ends in the word `network` and
// the net's name; then come blocks in any order: `node NAME { attributes }`, from which the nodes
// are made, and `probability (CHILD | PARENTS) { rows }`, which links nodes that are declared
// before it and fills the child's table row by row. Other blocks are passed over. docs/dsc.md
// describes the format.
//
// A block that cannot be read costs itself: its reader records the error, passes over the rest of
// the block and returns, and the next block is read.
#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "import/ForeignFile.h"
#include "import/readers.h"
#include "import/tables.h"

namespace lumo {

bool Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = false;

namespace {

constexpr int wordSize = 255;
constexpr int boxWithStates = 7;  // drawStyle of imported nets
constexpr int tooMuchToFill = -5210;
constexpr int contradictoryRow = -5211;

/// What a node block says, with what holds when it says nothing.
struct NodeValues {
    OwnedStr title;
    OwnedStrs stateNames;
    int numStates = 2;
    bool continuous = false;
    coord_kt position{100, 100};
    strin_kt label;
    strin_kt category;
};

// ---- Blocks and attributes -----------------------------------------------------------------

void read_node_block(Parser_kt& in, Vnet_kt& drawing);
void read_probab_block(Parser_kt& in, Vnet_kt& drawing);

void read_name(Parser_kt& in, NodeValues& values);
void read_type(Parser_kt& in, NodeValues& values);
void read_position(Parser_kt& in, NodeValues& values);
void read_label(Parser_kt& in, NodeValues& values);
void read_category(Parser_kt& in, NodeValues& values);

struct BlockKind {
    const char* name;
    void (*read)(Parser_kt& in, Vnet_kt& drawing);
};
constexpr BlockKind blockKinds[] = {{"node", read_node_block}, {"probability", read_probab_block}};

struct Attribute {
    const char* name;
    void (*read)(Parser_kt& in, NodeValues& values);
};
constexpr Attribute attributes[] = {{"name", read_name},
                                    {"type", read_type},
                                    {"position", read_position},
                                    {"label", read_label},
                                    {"category", read_category}};

/// The entry of the name, letter case ignored, or null.
template <class ENTRY, std::size_t n>
const ENTRY* Find(const ENTRY (&table)[n], const char* name) {
    const auto found = std::ranges::find_if(
        table, [name](const ENTRY& entry) { return streqli_kt(entry.name, name); });
    return found == std::end(table) ? nullptr : &*found;
}

// ---- Punctuation and reports ---------------------------------------------------------------

/// Names what readPunc met: the character c, or, when c is 0, the word that stands there.
std::string FoundName(Parser_kt& in, char c) {
    constexpr std::size_t longestShown = 80;
    const std::string_view word = c == 0 ? in.peekWord() : std::string_view();
    if (word.empty()) return CharName(c);
    return Format("'%s'", std::string(word.substr(0, longestShown)).c_str());
}

void PutBack(Parser_kt& in, char c) {
    if (c != 0) in.unreadChar(c);
}

/// Reads the character if it comes next; leaves what stands there instead.
bool Accept(Parser_kt& in, char wanted) {
    const char c = in.readPunc();
    if (c == wanted) return true;
    PutBack(in, c);
    return false;
}

/// Drops a stray character that was read, and with a quote the text that it opens.
void Drop(Parser_kt& in, char c) {
    strin_kt text;
    if (c == '"') in.readQuotedRest(text);
}

/// Drops a stray character among the attributes, and with a brace the group that it opens.
void DropGroup(Parser_kt& in, char c) {
    Drop(in, c);
    if (c == '{') in.skipStructure('{', '}', true);
}

void ThrowIfError(rept_kt* report) {
    if (IsError(report)) throw report;
}

// ---- Recovery ------------------------------------------------------------------------------

enum class Stage { header, body, done };

/// A block being read, as its recovery must know it.
struct Block {
    Stage stage = Stage::header;
    ParserPos_kt body = nullptr;  // after its '{'; null before that is read
};

/// Whether a block starts here: its keyword, then a '(', or a name and a '{'.
bool at_block(Parser_kt& in) {
    const std::string keyword(in.peekWord());
    if (Find(blockKinds, keyword.c_str()) == nullptr) return false;
    const ParserPos_kt start = in.getPos();
    in.setPos(start + keyword.size());
    const std::size_t name = in.peekWord().size();
    in.setPos(in.getPos() + name);
    const bool starts = in.peekPunc() == (name == 0 ? '(' : '{');
    in.setPos(start);
    return starts;
}

/// Passes over a word or a string. False when neither stands here. A string that is never closed
/// takes the rest of the input; the error is left out when its quote was read before, up to `read`.
bool pass_text(Parser_kt& in, ParserPos_kt read) {
    const std::size_t word = in.peekWord().size();
    in.setPos(in.getPos() + word);
    if (word > 0 || in.peekPunc() != '"') return word > 0;
    const ParserPos_kt quote = in.getPos();
    in.skipChar();
    for (char c = in.readChar(); c != '"'; c = in.readChar()) {
        if (c == '\\') c = in.readChar();
        if (c != in.eofChar()) continue;
        in.setTokenStart(quote);
        if (quote >= read) in.makeError(num::unterminatedString, "unterminated string");
        break;
    }
    return true;
}

/// Passes over words and strings, such as the rest of a name with blanks, and a ';' before them.
/// False before the next block.
bool pass_words(Parser_kt& in) {
    Accept(in, ';');
    while (!at_block(in)) {
        if (!pass_text(in, in.getPos())) return true;
    }
    return false;
}

/// Moves past the next brace and returns it; 0 before the next block and at the end of the input.
/// What stands before `read` was read as something else already: a block there does not count, or
/// it would be read again and again.
char pass_brace(Parser_kt& in, ParserPos_kt read) {
    while (!in.isAtEnd()) {
        if (in.getPos() >= read && at_block(in)) return 0;
        if (pass_text(in, read)) continue;
        const char c = in.readChar();
        if (c == '{' || c == '}') return c;
    }
    return 0;
}

/// Passes over the rest of a damaged block: from the start of its body, when that was reached, so
/// that braces half read do not count and the block's own '}' is found wherever reading had come
/// to. A block whose '}' is lost ends before the next one.
void pass_over(Parser_kt& in, const Block& block) {
    if (block.stage == Stage::done) return;
    const ParserPos_kt read = in.tokenStart();
    if (block.body != nullptr) {
        in.setPos(block.body);
    } else if (block.stage == Stage::body) {
        if (!pass_words(in)) return;
        Accept(in, '{');
    } else if (pass_brace(in, read) != '{') {
        return;  // a '}' is the block's own, whose '{' is lost
    }
    for (int depth = 1; depth > 0;) {
        const char c = pass_brace(in, read);
        if (c == 0) return;
        depth += c == '{' ? 1 : -1;
    }
}

// ---- The file ------------------------------------------------------------------------------

/// Moves past the first "network"; in a file without it, past the first in capitals.
bool skip_to_network(Parser_kt& in) {
    return std::ranges::any_of(std::initializer_list<const char*>{"network", "Network", "NETWORK"},
                               [&in](const char* word) { return in.skipToString(word) == 0; });
}

/// Passes over the body of an unknown block. When a '}' comes before any '{' it closes braces
/// opened further out (those of the network's own properties), and there is no body. nextBody is
/// kept from call to call: the place after the next '{', when it lies ahead.
void skip_unknown_block(Parser_kt& in, ParserPos_kt& nextBody) {
    const ParserPos_kt start = in.getPos();
    if (nextBody <= start) {
        if (in.skipToString("{") != 0) return;
        nextBody = in.getPos();
        in.setPos(start);
    }
    if (in.skipToString("}") == 0 && in.getPos() < nextBody) {
        in.backUp(1);
        return;
    }
    in.setPos(nextBody);
    in.skipStructure('{', '}', true);
}

void read_block(Parser_kt& in, Vnet_kt& drawing, ParserPos_kt& nextBody) {
    char word[wordSize + 1];
    in.readWord(word, wordSize);
    if (const BlockKind* known = Find(blockKinds, word)) {
        known->read(in, drawing);
    } else if (word[0] != 0) {
        in.makeWarningUnknown(word, -4027, "unknown block type '%s'", word);
        skip_unknown_block(in, nextBody);
    }
    in.checkError();
    if (const char c = in.readPunc()) {
        in.makeNotice(-4028, "unexpected punctuation %s", CharName(c));
        Drop(in, c);
    }
}

void read_net(Parser_kt& in, Vnet_kt& drawing) {
    if (!skip_to_network(in)) throw in.makeError(-4025, "keyword 'network' not found");
    SetNetLabel(*drawing.getBNet(), in.readStringNew());
    if (const char c = in.readPunc(); c != 0 && c != '{') {
        in.makeWarning(-4026, "unexpected punctuation %s", CharName(c));
        Drop(in, c);
    }
    if (in.isAtEnd()) in.makeError(num::unexpectedEnd, "unexpected end-of-input");
    ParserPos_kt nextBody = in.getPos();
    while (!in.isAtEnd()) read_block(in, drawing, nextBody);
    in.checkError();
}

// ---- Node blocks ---------------------------------------------------------------------------

/// Reads an attribute with its ';'. Returns false when the block's '}' came instead.
bool read_attribute(Parser_kt& in, NodeValues& values) {
    char name[wordSize + 1];
    const char c = in.readWordPunc(name, wordSize);
    const ParserContext context(in, in.structKind, in.structName);
    in.fieldName = name;
    if (c != ':' && c != '=') {
        in.makeWarning(-4007, "missing colon ':' after attribute name");
        PutBack(in, c);
        in.skipStatement();
    } else if (const Attribute* known = Find(attributes, name)) {
        known->read(in, values);
    } else {
        in.makeWarningUnknown(name, -4012, "unknown or ignored attribute '%s'", name);
        in.skipStatement();
    }
    in.checkError();
    const char end = in.readPunc();
    if (end == ';') return true;
    in.makeWarning(-4013, "missing semicolon at end");
    DropGroup(in, end);
    return end != '}';
}

void read_attributes(Parser_kt& in, NodeValues& values) {
    while (!in.isAtEnd()) {
        const char c = in.readPunc();
        if (c == '}') return;
        if (c == 0) {
            if (at_block(in)) break;
            if (!read_attribute(in, values)) return;
            continue;
        }
        in.makeWarning(-4006, "unexpected punctuation '%s'", CharName(c));
        DropGroup(in, c);
    }
    in.makeWarning(-4014, "missing '}' at end");
}

void join_set(Bnode_bn& node, strin_kt& setName) {
    if (setName.num() == 0) return;
    ThrowIfError(AddNodeToNodeset_ibn(node, ToLegalName_kt(setName).getCStr()));
}

void create_node(const char* name, NodeValues& values, Bnet_bn& net) {
    rept_kt* refused = Fail_rept_kt;
    Bnode_bn* node = NewNode_ibn(name, 2, net, values.position, &refused);
    if (node == nullptr) throw refused;
    node->setTitle(values.title.release());
    ThrowIfError(SetStatesToLabels(*node, values.stateNames.release(), values.numStates,
                                   Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref));
    if (values.continuous) ThrowIfError(node->setDiscrete(ContinuousVar, false, CheckFull));
    join_set(*node, values.label);
    join_set(*node, values.category);
}

/// Reads a node block after its keyword. The node is made when the block has ended, so that the
/// order of the attributes does not matter.
void read_node_block(Parser_kt& in, Vnet_kt& drawing) {
    char name[wordSize + 1];
    OwnedStr legalName;
    const ParserContext context(in, "node block");
    Block block;
    try {
        in.readWord(name, wordSize);
        const ParserPos_kt place = in.tokenStart();
        legalName.reset(ToLegalName_kt(DupStr_kt(name)));
        in.structName = legalName.get();
        block.stage = Stage::body;
        if (!Accept(in, '{')) throw in.makeError(-4005, "missing '{'");
        block.body = in.getPos();
        NodeValues values;
        read_attributes(in, values);
        block.stage = Stage::done;
        in.setTokenStart(place);
        create_node(name, values, *drawing.getBNet());
    } catch (rept_kt* report) {
        in.setError(report);
        pass_over(in, block);
    }
}

// ---- Attribute values ----------------------------------------------------------------------

void read_name(Parser_kt& in, NodeValues& values) { values.title.reset(in.readStringNew()); }

void read_position(Parser_kt& in, NodeValues& values) { ReadCoord(in, values.position); }

void read_text(Parser_kt& in, strin_kt& out) {
    strin_kt text;
    in.readString(text);
    out.swap(text);
}

void read_label(Parser_kt& in, NodeValues& values) { read_text(in, values.label); }

void read_category(Parser_kt& in, NodeValues& values) { read_text(in, values.category); }

/// Sets the character that opens the lists read in its scope.
class ListOpenScope {
public:
    ListOpenScope(Parser_kt& in, char open) : in_(in), old_(in.listOpenChar) {
        in.listOpenChar = open;
    }
    ~ListOpenScope() { in_.listOpenChar = old_; }
    ListOpenScope(const ListOpenScope&) = delete;
    ListOpenScope& operator=(const ListOpenScope&) = delete;

private:
    Parser_kt& in_;
    char old_;
};

/// The braced list of state names. An empty one too many at its end stands for a comma there, which
/// is allowed.
OwnedStrs read_state_names(Parser_kt& in, int wanted, int& count) {
    const ListOpenScope braces(in, '{');
    char** names = ReadListStrings<Parser_kt, true, true, 1>(in, count);
    const int last = count - 1;
    if (last >= 0 && last == wanted && (names[last] == nullptr || *names[last] == 0)) {
        delete[] std::exchange(names[last], nullptr);
        count = last;
    }
    return {names, count};
}

/// The rest of a discrete type, from '[' on; c is the character after the word. A number of states
/// that is none gives way to the number of names.
void read_discrete(Parser_kt& in, char c, NodeValues& values) {
    if (c != '[') {
        in.makeWarning(-4008, "missing [ after type:discrete");
        PutBack(in, c);
        in.skipStatement();
        return;
    }
    const int stated = in.readInt();
    const bool illegible = in.numberFailed;
    if (!illegible) values.numStates = stated;
    if (!Accept(in, ']') || !Accept(in, '=')) {
        in.makeWarning(-4009, "missing ]= after type:discrete");
        in.skipStatement();
        return;
    }
    int count = 0;
    in.skipSpaces();
    const ParserPos_kt list = in.getPos();
    OwnedStrs names = read_state_names(in, illegible ? MaxStates : stated, count);
    if (illegible) values.numStates = count;
    if (count == values.numStates) {
        values.stateNames = std::move(names);
    } else {
        in.setTokenStart(list);
        in.makeWarning(-4010, "supposed to be %d states, but there are %d state names",
                       values.numStates, count);
    }
}

void read_type(Parser_kt& in, NodeValues& values) {
    char word[wordSize + 1];
    const char c = in.readWordPunc(word, wordSize);
    if (streqli_kt(word, "discrete")) {
        values.stateNames = OwnedStrs();
        values.continuous = false;
        read_discrete(in, c, values);
        return;
    }
    PutBack(in, c);
    if (streqli_kt(word, "continuous")) {
        values.stateNames = OwnedStrs();
        values.continuous = true;
        values.numStates = 0;
        return;
    }
    in.makeWarningUnknown(word, -4011, "unknown or ignored >-node type '%s'", word);
    in.skipStatement();
}

// ---- Probability blocks --------------------------------------------------------------------

/// The header of a probability block.
struct Family {
    Bnode_bn* child = nullptr;
    // For each index of a tuple the place of its parent among the child's. Empty, the usual case:
    // the tuples list the parents in the child's own order.
    std::vector<int> tupleOrder;
};

/// The order of the tuples when the header names parents that the child has already: first those it
/// had before the block and the header leaves out, then the header's as written, repeated ones too.
std::vector<int> tuple_order(const BndList_bn& parents, int before,
                             const std::vector<Bnode_bn*>& written) {
    std::unordered_map<const Bnode_bn*, int> places;
    for (int i = 0; i < parents.N; ++i) places.emplace(parents[i], i);
    std::vector<bool> named(static_cast<std::size_t>(parents.N));
    for (const Bnode_bn* parent : written)
        named[static_cast<std::size_t>(places.at(parent))] = true;
    std::vector<int> order;
    for (int i = 0; i < before; ++i) {
        if (!named[static_cast<std::size_t>(i)]) order.push_back(i);
    }
    for (const Bnode_bn* parent : written) order.push_back(places.at(parent));
    return order;
}

/// The next parent of a header, linked to the child; null at the ')'.
Bnode_bn* read_parent(Parser_kt& in, Bnode_bn& child, Block& block) {
    char name[wordSize + 1] = {};
    while (name[0] == 0) {
        if (in.isAtEnd()) {
            in.makeError(num::unexpectedEnd, "unexpected end-of-input");
            return nullptr;
        }
        const char c = in.readPunc();
        if (c == ')') return nullptr;
        if (c != 0 && c != ',') in.makeWarning(-4017, "unexpected punctuation %s", CharName(c));
        if (c == '{' && block.body == nullptr) block.body = in.getPos();
        in.readWord(name, wordSize);
    }
    Bnode_bn* parent = child.net().findNodeLabeled(name);
    if (parent == nullptr) throw in.makeError(-4018, "unknown >-node '%s'", name);
    block.body = nullptr;
    ThrowIfError(AddLink_ibn(*parent, child));
    return parent;
}

/// Reads the header from '(' to '{' and makes its links. Sets the block's body, also when an
/// unknown parent shows that it begins before a ')'.
Family read_header(Parser_kt& in, const Bnet_bn& net, Block& block) {
    if (!Accept(in, '(')) throw in.makeError(-4015, "missing '('");
    char name[wordSize + 1];
    const char c = in.readWordPunc(name, wordSize);
    Family family;
    family.child = net.findNodeLabeled(name);
    if (family.child == nullptr) throw in.makeError(-4016, "undeclared >-node '%s'", name);
    in.structName = family.child->name();
    if (c == '|') {
        std::vector<Bnode_bn*> written;
        const BndList_bn& parents = family.child->parents;
        const int before = parents.N;
        while (Bnode_bn* parent = read_parent(in, *family.child, block)) written.push_back(parent);
        if (before + static_cast<int>(written.size()) != parents.N) {
            family.tupleOrder = tuple_order(parents, before, written);
        }
    } else if (c != ')') {
        PutBack(in, c);
        in.skipSpaces();
        in.setTokenStart(in.getPos());
        throw in.makeError(-4019, "unexpected punctuation %s", FoundName(in, c).c_str());
    }
    if (!Accept(in, '{')) throw in.makeError(-4020, "missing '{'");
    block.stage = Stage::body;
    block.body = in.getPos();
    return family;
}

/// Multiplies the entries so that they sum to 1; a vector of zeros stays.
void Normalize(std::vector<float>& vector) {
    double sum = 0;
    for (auto p = vector.rbegin(); p != vector.rend(); ++p) sum += static_cast<double>(*p);
    if (sum == 0) return;
    const double factor = 1.0 / sum;
    for (auto p = vector.rbegin(); p != vector.rend(); ++p) {
        *p = static_cast<float>(static_cast<double>(*p) * factor);
    }
}

/// Reads the rows of one probability block.
class RowReader {
public:
    RowReader(Parser_kt& in, const Family& family)
        : in_(in), child_(*family.child), tupleOrder_(family.tupleOrder) {
        // A table above the limit is refused when its first row is set.
        const int tableSize = NumProduct(child_.family);
        charge(tableSize <= MaxTableEntries ? tableSize : child_.numStates());
        states_.resize(static_cast<std::size_t>(child_.parents.N));
        tuple_.resize(tupleOrder_.size());
        probs_.resize(static_cast<std::size_t>(child_.numStates()));
    }

    /// Reads up to the block's '}'.
    void read() {
        while (!in_.isAtEnd()) {
            const char c = in_.readPunc();
            if (c == '}') return;
            readRow(c);
        }
    }

private:
    Parser_kt& in_;
    Bnode_bn& child_;
    const std::vector<int>& tupleOrder_;
    std::vector<int> states_;   // one per parent, or AnyParentState
    std::vector<int> tuple_;    // as written, when it is not in the parents' order
    std::vector<float> probs_;  // the row
    bool closed_ = false;       // the block's own '}' stood where a ';' was due
    bool contradictionTold_ = false;

    /// Counts work that a short text can ask for: tables, and the missing ends of short rows. A
    /// file may have MaxTableEntries of it beyond its own length.
    void charge(long long entries) {
        in_.reserved -= entries;
        if (in_.reserved >= 0) return;
        in_.reserved = 0;
        throw in_.makeError(tooMuchToFill,
                            "the tables of this file want more than %d numbers beyond its length",
                            MaxTableEntries);
    }

    /// Reads a row of which the punctuation character c was read, 0 when a word follows.
    void readRow(char c) {
        const ParserPos_kt place = in_.tokenStart();
        bool possible = true;
        if (child_.parents.N > 0) {
            possible = readParentStates(c);
            if (const char colon = in_.readPunc(); colon != ':') {
                in_.makeWarning(-4024, "expecting colon (:), but read %s",
                                FoundName(in_, colon).c_str());
            }
        } else if (closed_ || at_block(in_)) {
            refuseWord();
        }
        readVector();
        in_.setTokenStart(place);
        if (possible) {
            ThrowIfError(child_.setProbsEntry2(states_.data(), probs_.data(), true, CheckFull));
        }
        readSemicolon();
    }

    /// After the block's end, and where another starts, nothing but a number can belong to it.
    void refuseWord() {
        char word[wordSize + 1];
        double value = 0;
        const char* end = nullptr;
        in_.readWord(word, wordSize);
        if (ParseNumber(word, word + std::char_traits<char>::length(word), value, end) ==
            NumberEN::none) {
            throw in_.makeError(-4022, "unexpected token '%s'", word);
        }
        in_.setPos(in_.tokenStart());
    }

    /// The parent states of a row. False when they contradict each other.
    bool readParentStates(char c) {
        if (c == '(') {
            in_.unreadChar(c);
            return readTuple();
        }
        if (c != 0) throw in_.makeError(-4023, "unexpected punctuation %s", CharName(c));
        char word[wordSize + 1];
        in_.readWord(word, wordSize);
        if (!streqli_kt(word, "default")) throw in_.makeError(-4022, "unexpected token '%s'", word);
        std::ranges::fill(states_, AnyParentState);
        return true;
    }

    bool readTuple() {
        const ParserPos_kt place = in_.tokenStart();
        std::vector<int>& tuple = tupleOrder_.empty() ? states_ : tuple_;
        ReadArray<Parser_kt, int, true, false, false, false>(in_, tuple.data(),
                                                             static_cast<int>(tuple.size()));
        if (std::ranges::find(tuple, AnyParentState) != tuple.end()) {
            in_.setTokenStart(place);
            throw in_.makeError(num::badParentState,
                                "state %d is wanted for a row of >-node '%s', but states are "
                                "counted from 0",
                                AnyParentState, child_.name());
        }
        return tupleOrder_.empty() || placeTuple(place);
    }

    /// Puts a tuple that is not in the parents' order into states_.
    bool placeTuple(ParserPos_kt place) {
        for (std::size_t i = 0; i < tuple_.size(); ++i) at(i) = tuple_[i];
        for (std::size_t i = 0; i < tuple_.size(); ++i) {
            if (at(i) == tuple_[i]) continue;
            if (!contradictionTold_) {
                in_.setTokenStart(place);
                in_.makeWarning(contradictoryRow,
                                "this row names two states of >-node '%s', so it is passed over",
                                child_.parents[tupleOrder_[i]]->name());
            }
            contradictionTold_ = true;
            return false;
        }
        return true;
    }

    int& at(std::size_t i) { return states_[static_cast<std::size_t>(tupleOrder_[i])]; }

    void readVector() {
        charge(child_.numStates());
        in_.skipSpaces();
        const ParserPos_kt place = in_.getPos();
        const unsigned problems =
            static_cast<unsigned>(ParseBelVec(in_, probs_.data(), child_.variable, 0));
        if ((problems & BelVecWarnMask) != 0) {
            char text[256];
            in_.setTokenStart(place);
            in_.makeWarning(
                -4034, "%s",
                CheckBelvecMesg_kt(static_cast<int>(problems & BelVecWarnMask), true, text));
        }
        if ((problems & BelVecDontNormalize) == 0) Normalize(probs_);
    }

    void readSemicolon() {
        const char c = in_.readPunc();
        if (c == ';') return;
        in_.makeWarning(-3611, "expected semicolon (;) after probablity vector, but read %s",
                        FoundName(in_, c).c_str());
        closed_ = closed_ || c == '}';
    }
};

/// Reads a probability block after its keyword.
void read_probab_block(Parser_kt& in, Vnet_kt& drawing) {
    const ParserContext context(in, "probability block");
    const ParserPos_kt place = in.tokenStart();
    Block block;
    Family family;
    try {
        family = read_header(in, *drawing.getBNet(), block);
        RowReader(in, family).read();
    } catch (rept_kt* report) {
        in.setError(report);
        pass_over(in, block);
    }
    if (family.child == nullptr) return;
    in.setTokenStart(place);
    family.child->finishRows();
}

}  // namespace

rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn&, Vnet_kt& drawing, const ReadOptions&) {
    const CritSecHold lock(Mut_ReadForeignFile);
    const std::unique_ptr<short[]> charProps(MakeStdCharProps_kt());
    SetCharProp_kt("\"(){}[]=,;:|", CharPropPunct, charProps.get());
    SetCharProp_kt("/", CharPropComment, charProps.get());
    const ParserOptions_kt options{
        .charProps = charProps.get(), .commentChar1 = '/', .commentChar2 = '/', .commentMode = 2};
    const OwnedParser in(channel.makeParser(&options));
    in->reserved = in->bytesLeft() + MaxTableEntries;
    drawing.drawStyle = boxWithStates;
    try {
        read_net(*in, drawing);
    } catch (rept_kt* report) {
        in->setError(report);
    }
    in->checkError();
    FixNodePositions(drawing, 1.0, false);
    return in->curReport;
}

}  // namespace lumo
