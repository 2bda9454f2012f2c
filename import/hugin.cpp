// Reader of Hugin .net files, versions 4 to 6. A version 5 file is a sequence of objects: one net,
// then nodes (node, decision, utility) and potentials. A version 6 file is one class, whose braces
// hold its fields and then the same objects. Every object has a header and a body of fields
// `name = value;`. A potential names a child, its parents, and gives the child's table, the child's
// state changing fastest and the first parent slowest. docs/hugin.md describes the format.
//
// Other objects (continuous nodes, time slices, instances of classes) are passed over with a
// warning, and so are the potentials that need them.
//
// Errors are thrown to the object or field they arise in. Reading goes on after that field; when a
// header, a brace or a quote is damaged, it goes on where the next object or line starts.
#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "import/ForeignFile.h"
#include "import/hugin_state.h"
#include "import/readers.h"
#include "import/tables.h"

namespace lumo {

using namespace hugin;

namespace {

// Reports of this reader alone; the others stand in the format's table.
constexpr int noName = -5120;            // E an object without a name
constexpr int passedOverChild = -5121;   // W the potential of an object that is passed over
constexpr int passedOverParent = -5122;  // W a potential with such a parent
constexpr int afterClass = -5123;        // W text after the end of the class

// ---- Tables --------------------------------------------------------------------------------

/// Reads an object of some kind, its first word already read.
using ObjectReader = void(Parser_kt& in, Vnet_kt& drawing, const char* kind);
ObjectReader ReadNet, ReadNode, ReadPotential;

struct Object {
    const char* word;
    const char* kind;  ///< what messages call it; null: the word as the file spells it
    ObjectReader* read;
};

constexpr Object Objects[] = {
    {"net", nullptr, ReadNet},
    {"class", nullptr, ReadNet},
    {"node", "node", ReadNode},
    {"decision", "decision node", ReadNode},
    {"utility", "utility node", ReadNode},
    {"potential", "potential", ReadPotential},
};

using NodeHandler = void(Parser_kt& in, Bnode_bn& node);
NodeHandler parse_node_label, parse_node_position, parse_node_states, parse_node_HR_Desc,
    parse_node_HR_Grp, parse_node_HR_Group, parse_node_HR_State_, parse_node_userdef,
    parse_potential_data;

constexpr Field<Bnode_bn> NodeFields[] = {
    {"label", parse_node_label},   {"position", parse_node_position},
    {"states", parse_node_states}, {"HR_Desc", parse_node_HR_Desc},
    {"HR_Grp", parse_node_HR_Grp}, {"HR_Group", parse_node_HR_Group},
};
constexpr const char* StatePrefix = "HR_State_";

constexpr Field<Bnode_bn> PotentialFields[] = {{"data", parse_potential_data}};

// ---- Module state --------------------------------------------------------------------------
// With the tables of groups in hugin_state.h: one set for the program, guarded by the import lock.

// The part of the field's name that its handler needs, while that handler runs.
const char* StateNumStr = nullptr;
const char* UserFieldName = nullptr;

/// A state comment, kept until its node is read, since the states may come after it.
struct StateText {
    int state;
    strin_kt text;
    ParserPos_kt place;
};
std::vector<StateText> StateTexts;

std::unordered_set<std::string> PassedOver;  // words in the headers of objects passed over

/// Empties the module state for the time of one parse.
struct ModuleState {
    explicit ModuleState(const Parser_kt& in) {
        Empty();
        StartRecovery(in);
    }
    ~ModuleState() { Empty(); }
    ModuleState(const ModuleState&) = delete;
    ModuleState& operator=(const ModuleState&) = delete;

private:
    static void Empty() {
        EmptyGroups();
        std::vector<StateText>().swap(StateTexts);
        PassedOver = {};
    }
};

/// Takes a ';' when one stands here.
void TakeSemicolon(Parser_kt& in) {
    if (in.peekPunc() == ';') in.skipChar();
}

// ---- The file ------------------------------------------------------------------------------

void RecognizeVersion(Parser_kt& in) {
    const ParserPos_kt start = in.getPos();
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    if (streqli_kt(word, "class")) {
        HuginVersion = Version6;
    } else if (streqli_kt(word, "net")) {
        HuginVersion = Version5;
    } else {
        throw newerr_kt(-4004,
                        "this is not a Hugin file, or is in an unknown format (can read version "
                        "4.* (1995) to 6.* (2006) of Hugin .net files)");
    }
    in.setPos(start);
}

/// Passes over an object of a kind that is not read, keeping the names in its header. A field
/// outside any object, which a brace too many leaves behind, goes by itself.
void SkipUnknownObject(Parser_kt& in, const char* word) {
    in.makeWarningUnknown(word, -3040, "unknown object type '%s'", word);
    if (in.peekPunc() == '=') {
        SkipField(in, in.getPos());
        return TakeSemicolon(in);
    }
    const ParserPos_kt header = in.getPos();
    if (in.skipToString("{") != 0) return;
    const ParserPos_kt body = in.getPos();
    in.setPos(header);
    while (in.getPos() < body) {
        if (in.readPunc() != 0) continue;
        PassedOver.emplace(in.peekWord());
        SkipWord(in);
    }
    in.setPos(body);
    SkipBody(in);
}

void ReadObject(Parser_kt& in, Vnet_kt& drawing) {
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    for (const Object& object : Objects) {
        if (!IsWord(word, object.word)) continue;
        object.read(in, drawing, object.kind != nullptr ? object.kind : word);
        return;
    }
    SkipUnknownObject(in, word);
}

/// Takes the punctuation after an object; true at the end of the class.
bool AfterObject(Parser_kt& in) {
    while (const char punc = in.readPunc()) {
        if (punc == '}' && HuginVersion > Version5) return true;
        in.makeWarning(-3041, "unexpected punctuation %s", CharName(punc));
        if (punc == '{') SkipBody(in);
    }
    return false;
}

void ReadObjects(Parser_kt& in, Vnet_kt& drawing) {
    RecognizeVersion(in);
    do {
        ReadObject(in, drawing);
        in.checkError();
        if (!AfterObject(in)) continue;
        if (in.isAtEnd()) break;
        in.setTokenStart(in.getPos());
        in.makeWarning(afterClass, "only the first class is read, so what follows it is ignored");
        break;
    } while (!in.isAtEnd());
    in.checkError();
}

// ---- Objects -------------------------------------------------------------------------------

/// Reads a field's value with its handler, or passes over it.
template <class OBJECT>
void ReadValue(Parser_kt& in, OBJECT& object, FieldHandler<OBJECT> handler) {
    if (handler != nullptr) return handler(in, object);
    in.makeWarningUnknown(in.fieldName, -3037, "unknown or ignored field");
    SkipField(in, in.getPos());
}

/// Reads the value of a field. False when it was damaged so that no ';' is to be expected.
template <class OBJECT>
bool ReadField(Parser_kt& in, OBJECT& object, FieldHandler<OBJECT> handler) {
    if (in.peekPunc() == '"' && StringRunsOn(in)) return false;
    const ParserPos_kt value = in.getPos();
    try {
        ReadValue(in, object, handler);
    } catch (rept_kt* report) {
        if (report->severity >= SeverityFatal) throw;
        in.setPos(value);
        SkipField(in, value);
    }
    return true;
}

/// The word at the start of a field is none, for no '=' follows. True when it is the next object's,
/// so that this one has lost its '}'.
bool NotAField(Parser_kt& in, ParserPos_kt start, const char* kind) {
    in.makeError(-3036, "missing '=' after field name");
    in.setPos(start);
    const bool misspeltClass = HuginVersion > Version5 && streqli_kt(kind, "class");
    if (!misspeltClass && AtObject(in)) {
        in.makeNotice(-3039, "missing '}' at end");
        return true;
    }
    SkipWord(in);
    if (misspeltClass)
        in.skipStatement();
    else
        SkipField(in, start);
    return false;
}

/// Takes the ';' after a field; true when the object's '}' is there instead.
bool EndOfField(Parser_kt& in) {
    const char punc = in.readPunc();
    if (punc == ';') return false;
    in.makeWarning(-3038, "missing semicolon at end");
    if (punc == 0 || punc == '}') return punc == '}';
    in.unreadChar(punc);
    SkipField(in, in.getPos());
    TakeSemicolon(in);
    return false;
}

/// The name of the field being read, cited by messages while it lives.
struct FieldName {
    explicit FieldName(Parser_kt& parser) : in(parser) {}
    ~FieldName() { in.fieldName = nullptr; }
    FieldName(const FieldName&) = delete;
    FieldName& operator=(const FieldName&) = delete;

    Parser_kt& in;
    char text[ValueSize + 1];
};

/// Reads the fields of an object up to and with its '}', or up to the first word of a class that is
/// no field.
template <class OBJECT>
void ReadFields(Parser_kt& in, OBJECT& object, const char* kind,
                FieldHandler<OBJECT> (*lookup)(const char* name)) {
    FieldName name(in);
    const bool inClass = HuginVersion > Version5 && streql_kt(kind, "class");
    for (;;) {
        const char punc = in.readPunc();
        const ParserPos_kt start = in.tokenStart();
        if (punc == '}') return;
        if (punc != 0) {
            in.makeWarning(-3035, "unexpected punctuation %s", CharName(punc));
            continue;
        }
        const bool field = in.readWordPunc(name.text, ValueSize) == '=';
        if (*name.text == '\0') break;  // the input ends
        if (!field && inClass) return in.setPos(start);
        SubstStrWithStr_kt(name.text, sizeof name.text, "HRUNTIME", "HR");
        in.fieldName = name.text;
        if (!field && NotAField(in, start, kind)) return;
        const bool whole = !field || ReadField(in, object, lookup(name.text));
        in.checkError();
        if (whole && EndOfField(in)) return;
        in.fieldName = nullptr;
    }
    in.makeNotice(-3039, "missing '}' at end");
}

/// Reads one object. A header that fails costs the object, which is passed over.
template <class OBJECT>
OBJECT* read_obj(Parser_kt& in, Vnet_kt& drawing, const char* kind,
                 OBJECT* (*readHeader)(Parser_kt&, Vnet_kt&),
                 FieldHandler<OBJECT> (*lookup)(const char* name)) {
    const ParserContext context(in, kind);
    OBJECT* object = nullptr;
    try {
        object = readHeader(in, drawing);
        in.checkError();
        if (object == nullptr) {
            SkipObject(in);
            return nullptr;
        }
        const ParserPos_kt here = in.getPos();
        if (in.readPunc() != '{') {
            in.setPos(here);
            throw in.makeError(-3034, "missing '{' after '%s'",
                               in.structName != nullptr ? in.structName : "");
        }
        ReadFields(in, *object, kind, lookup);
    } catch (rept_kt* report) {
        in.setError(report);
        if (report->severity < SeverityFatal) SkipObject(in);
    }
    return object;
}

/// Reads a name. The arguments in parentheses that some programs write right behind it
/// (father(tom)) are part of it.
void ReadName(Parser_kt& in, char* name) {
    in.readWord(name, ValueSize);
    const std::string_view arguments = PeekArguments(in);
    const std::size_t length = std::strlen(name);
    if (length == 0 || length + arguments.size() > ValueSize) return;
    name[length + arguments.copy(name + length, arguments.size())] = '\0';
    in.setPos(in.getPos() + arguments.size());
}

Vnet_kt* read_net_header(Parser_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    if (*word != '\0') SetNetLabel(net, DupStr_kt(word));
    in.structName = Printable(net.title) != nullptr ? net.title : net.name;
    return &drawing;
}

Bnode_bn* read_node_header(Parser_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    char name[ValueSize + 1];
    ReadName(in, name);
    if (*name == '\0') {
        in.makeError(noName, "missing name of %s", in.structKind);
        return nullptr;
    }
    rept_kt* error = nullptr;
    Bnode_bn* const node = NewNode_ibn(name, 2, net, safety, &error);
    if (node == nullptr) {
        in.setError(error);
        return nullptr;
    }
    if (*in.structKind == 'd') in.setError(node->setKind(DecisionNode, CheckFull));
    if (*in.structKind == 'u') {
        in.setError(node->setDiscrete(ContinuousVar, false, CheckFull));
        in.setError(node->setKind(UtilityNode, CheckFull));
    }
    in.structName = node->name();
    node->groupIndex = -1;
    return node;
}

/// Reads the parents up to the ')' and links them to the child. Null, the input back before what is
/// wrong, when the list fails or a link is refused.
Bnode_bn* ReadParents(Parser_kt& in, Bnet_bn& net, Bnode_bn& child) {
    char name[ValueSize + 1];
    bool refused = false;
    for (;;) {
        const char punc = in.readPunc();
        const ParserPos_kt here = in.tokenStart();
        if (punc != 0) {
            if (punc == ')') return refused ? nullptr : &child;
            in.makeError(-3031, "unexpected punctuation %s", CharName(punc));
            in.setPos(here);
            return nullptr;
        }
        ReadName(in, name);
        if (*name == '\0') {
            in.makeError(num::unexpectedEnd, "unexpected end-of-input");
            return &child;
        }
        Bnode_bn* const parent = net.findNodeLabeled(name);
        if (parent == nullptr) {
            if (PassedOver.contains(name)) {
                in.makeWarning(passedOverParent,
                               "potential passed over: parent '%s' is of a kind that is not read",
                               name);
            } else {
                in.makeError(-3032, "unknown >-node '%s'", name);
            }
            in.setPos(here);
            return nullptr;
        }
        rept_kt* const report = AddLink_ibn(*parent, child);
        in.setError(report);
        refused = refused || IsError(report);
    }
}

Bnode_bn* read_potential_header(Parser_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    const ParserPos_kt start = in.getPos();
    if (in.readPunc() != '(') {
        in.makeError(-3029, "missing >-node list");
        in.setPos(start);
        return nullptr;
    }
    char name[ValueSize + 1];
    ReadName(in, name);
    Bnode_bn* const child = net.findNodeLabeled(name);
    if (child == nullptr) {
        if (PassedOver.contains(name)) {
            in.makeWarningUnknown("potential", passedOverChild,
                                  "potential passed over: '%s' is of a kind that is not read",
                                  name);
        } else {
            in.makeError(-3030, "unknown >-node '%s'", name);
        }
        return nullptr;
    }
    in.structName = child->name();
    const ParserPos_kt here = in.getPos();
    const char punc = in.readPunc();
    if (punc == ')') return child;
    if (punc == '|') return ReadParents(in, net, *child);
    in.makeError(-3033, "unexpected punctuation %s", CharName(punc));
    in.setPos(here);
    return nullptr;
}

FieldHandler<Bnode_bn> read_node_func(const char* name) {
    if (const FieldHandler<Bnode_bn> handler = FindField(NodeFields, name)) return handler;
    if (EqualStrsExceptNumericSuffix_kt(StatePrefix, name)) {
        StateNumStr = name + std::strlen(StatePrefix);
        return parse_node_HR_State_;
    }
    if (IsWord(name, "subtype") || HasPrefix_kt("HR_", name)) return nullptr;
    UserFieldName = name;
    return parse_node_userdef;
}

FieldHandler<Bnode_bn> read_potential_func(const char* name) {
    return FindField(PotentialFields, name);
}

void ReadNet(Parser_kt& in, Vnet_kt& drawing, const char* kind) {
    read_obj(in, drawing, kind, read_net_header, read_net_func);
}

void ReadNode(Parser_kt& in, Vnet_kt& drawing, const char* kind) {
    StateTexts.clear();
    Bnode_bn* const node = read_obj(in, drawing, kind, read_node_header, read_node_func);
    if (node == nullptr) return;
    const ParserContext context(in, kind, node->name());
    for (StateText& text : StateTexts) {
        in.setTokenStart(text.place);
        in.setError(node->setStateComment(text.state, text.text.newCopy()));
    }
}

void ReadPotential(Parser_kt& in, Vnet_kt& drawing, const char* kind) {
    read_obj(in, drawing, kind, read_potential_header, read_potential_func);
}

// ---- Node fields ---------------------------------------------------------------------------

void parse_node_label(Parser_kt& in, Bnode_bn& node) { node.setTitle(in.readStringNew()); }

void parse_node_position(Parser_kt& in, Bnode_bn& node) {
    coord_kt read;
    ReadCoord(in, read);
    if (!node.vns.hasSome()) {
        FailAssert_kt("nd.vns.hasSome()", "ForeignFile", __LINE__);
        return;
    }
    Vnode_kt& place = *node.vns[0];
    place.shiftBy({-place.position.x, -place.position.y});
    place.shiftBy(read);  // step by step: each is clamped to what an int holds
    place.shiftBy(safety);
}

/// Whether the labels are legal and distinct, when there are few enough to compare each with each.
bool AreNames(const char* const* labels, int count) {
    constexpr int few = 8;
    for (int i = 0; i < count; ++i) {
        if (count > few || labels[i] == nullptr || !IsLegalName_kt(labels[i])) return false;
        for (int j = 0; j < i; ++j) {
            if (streql_kt(labels[i], labels[j])) return false;
        }
    }
    return count > 0;
}

void parse_node_states(Parser_kt& in, Bnode_bn& node) {
    int count = 0;
    char** const list = ReadListStrings<Parser_kt, true, true, 1>(in, count);
    OwnedStrs labels(list, count);
    constexpr int mostlyUsable = 3;
    if (AreNames(list, count)) {  // the usual case, without a copy
        in.setError(node.setStates(count, labels.release(), nullptr, nullptr, nullptr, CheckFull));
        return;
    }
    if (StrsNullEmpty_kt(labels.get(), count, 1) > mostlyUsable) {
        in.setError(node.setStates(count, nullptr, nullptr, nullptr, nullptr, CheckFull));
        return;
    }
    char** const names = MakeLegalUniqueNames_kt(labels.get(), count, 'N');
    const bool equal = EqlArrStrs_kt(labels.get(), names, count, true);
    rept_kt* const report = node.setStates(count, names, nullptr, nullptr, nullptr, CheckFull);
    in.setError(report);
    if (!IsError(report) && !equal) node.setStateTitles(labels.release());
}

void parse_node_HR_Desc(Parser_kt& in, Bnode_bn& node) {
    strin_kt text;
    read_quoted_text(in, text);
    if (!text.isEmpty()) node.setComment(text.newCopy());
}

void parse_node_HR_Grp(Parser_kt& in, Bnode_bn& node) {
    char text[ValueSize + 1];
    in.readQuoted(text, ValueSize);
    if (*text == '\0') return;
    int group = 0;
    if (!WholeInt(text, group)) {
        in.makeError(-4131, "illegal integer '%s'", text);
    } else if (group < 0) {
        in.makeError(-4141, "negative group index %d for node '%s'", group, node.name());
    } else {
        node.groupIndex = group;
        GroupPlaces.resize(static_cast<std::size_t>(node.net().nodes.N));
        GroupPlaces.back() = in.tokenStart();  // the node being read is the last
    }
}

void parse_node_HR_Group(Parser_kt& in, Bnode_bn& node) {
    parse_node_HR_Grp(in, node);
    if (node.groupIndex == 0) node.groupIndex = -1;
}

void parse_node_HR_State_(Parser_kt& in, Bnode_bn&) {
    StateText text{0, {}, in.tokenStart()};
    read_quoted_text(in, text.text);
    const char* rest = nullptr;
    if (!LeadingInt(StateNumStr, text.state, rest)) text.state = INT_MAX;
    if (!text.text.isEmpty()) StateTexts.push_back(std::move(text));
}

void parse_node_userdef(Parser_kt& in, Bnode_bn& node) {
    char text[ValueSize + 1];
    read_value(in, text);
    node.setUserField(UserFieldName, text, static_cast<int>(std::strlen(text)));
}

// ---- Potential data ------------------------------------------------------------------------

/// Experience values are counts: all but whole numbers become whole, and without any information
/// left they go.
void TidyExperience(Reln_bn& relation, int rows) {
    constexpr double tolerance = 0.004;
    SnapToInteger_kt(relation.exper, rows, tolerance);
    if (relation.exper == nullptr) return;
    for (int i = 0; i < rows; ++i) {
        if (relation.exper[i] != 1.0F) return;
    }
    relation.setExperTable(nullptr);
}

void parse_potential_data(Parser_kt& in, Bnode_bn& node) {
    const bool hasStates = node.numStates() != 0;
    unsigned char* bytes = nullptr;
    ParseNodeTable(in, &bytes, 10, hasStates, node, nullptr, 0, false, 14);
    float* const table = reinterpret_cast<float*>(bytes);
    Reln_bn& relation = node.relation;
    if (!hasStates) {
        in.setError(relation.setRealTable(table, nullptr));
        return;
    }
    const int rows = NumProduct(node.parents);
    in.setError(node.setProbsTable(table, false, CheckFull));
    if (!relation.rowsNormalized && relation.probs != nullptr) relation.normalize_();
    TidyExperience(relation, rows);
    relation.makeDeterminFromProbs(false);
}

}  // namespace

// ---- Value readers -------------------------------------------------------------------------

namespace hugin {

void read_quoted_text(Parser_kt& in, strin_kt& text) {
    if (in.peekPunc() == '"') {
        in.skipChar();
        in.readQuotedRest(text);
        return;
    }
    char raw[ValueSize + 1];
    in.readQuoted(raw, ValueSize);
    text.append(raw);
}

void read_value(Parser_kt& in, char* text) {
    if (in.peekPunc() == '"') return in.readQuoted(text, ValueSize);
    const ParserPos_kt start = in.getPos();
    SkipField(in, start);
    std::string_view value(start, static_cast<std::size_t>(in.getPos() - start));
    value.remove_suffix(value.size() - (value.find_last_not_of(" \t\r\n") + 1));
    if (value.size() > ValueSize) {
        in.setTokenStart(start);
        in.makeWarning(num::textCut, "text of %d characters is cut to %d",
                       static_cast<int>(std::min<std::size_t>(value.size(), INT_MAX)), ValueSize);
    }
    text[value.copy(text, ValueSize)] = '\0';
}

void read_int_string(Parser_kt& in, int& value) {
    char text[ValueSize + 1];
    in.readQuoted(text, ValueSize);
    int read = 0;
    if (!WholeInt(text, read)) throw in.makeError(-4128, "illegal integer '%s'", text);
    value = read;
}

void read_double_string(Parser_kt& in, double& value) {
    char text[ValueSize + 1];
    in.readQuoted(text, ValueSize);
    char* end = nullptr;
    int error = 0;
    const double read = strtod1_kt(text, &end, &error);
    if (error != 0 || *end != '\0') throw in.makeError(-3028, "illegal number '%s'", text);
    value = read;
}

void read_bool_string(Parser_kt& in, bool& value) {
    char text[ValueSize + 1];
    in.readQuoted(text, ValueSize);
    if (!streql_kt(text, "0") && !streql_kt(text, "1")) {
        throw in.makeError(-3027, "unknown boolean value '%s'", text);
    }
    value = *text == '1';
}

bool LeadingInt(const char* text, int& value, const char*& rest) {
    const char* first = text;
    while (*first == ' ' || (*first >= '\t' && *first <= '\r')) ++first;
    rest = text;
    const NumberEN got = ParseInteger(first, first + std::strlen(first), value, rest);
    return got != NumberEN::tooLarge;
}

bool WholeInt(const char* text, int& value) {
    const char* rest = nullptr;
    return LeadingInt(text, value, rest) && *rest == '\0';
}

}  // namespace hugin

rept_kt* ParseHuginFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing, const ReadOptions&) {
    const CritSecHold lock(Mut_ReadForeignFile);
    const std::unique_ptr<short[]> properties(MakeStdCharProps_kt());
    SetCharProp_kt("\"(){}=,;:|", CharPropPunct, properties.get());
    SetCharProp_kt("%", CharPropComment, properties.get());
    ParserOptions_kt options;
    options.charProps = properties.get();
    options.commentChar1 = '%';
    const OwnedParser parser(channel.makeParser(&options));
    Parser_kt& in = *parser;

    const ModuleState state(in);
    drawing.drawStyle = 7;
    try {
        ReadObjects(in, drawing);
    } catch (rept_kt* report) {
        in.setError(report);
    }
    in.checkError();
    constexpr double fullScale = 1.25;
    FixNodePositions(drawing, fullScale / drawing.zoomFactor, HuginVersion <= Version5);
    BuildGroups(in, net, drawing);
    return in.curReport;
}

}  // namespace lumo
