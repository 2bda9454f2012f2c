// Reader of Hugin .net files, versions 4 to 6. A version 5 file is a sequence of objects: one net,
// then nodes (node, decision, utility) and potentials. A version 6 file is one class, whose braces
// hold its fields and then the same objects. Every object has a header and a body of fields
// `name = value;`. A potential names a child, its parents, and gives the child's table, the child's
// state changing fastest and the first parent slowest. docs/hugin.md describes the format.
//
// Other objects (continuous nodes, time slices, instances of classes) are passed over with a
// warning, and so are the potentials that need them; read leniently, instances are read as well.
//
// Errors are thrown to the object or field they arise in. Reading goes on after that field; when a
// header, a brace or a quote is damaged, it goes on where the next object or line starts.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "formats/hugin/hugin.h"
#include "formats/hugin/instances.h"
#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"
#include "formats/shared/judging.h"
#include "formats/shared/positions.h"
#include "formats/shared/readers.h"

namespace lumo {

using namespace hugin;

namespace {

// ---- Tables --------------------------------------------------------------------------------

/// Reads an object of some kind, its first word already read.
using ObjectReader = void(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind);
ObjectReader ReadNet, ReadTwoWords, ReadInstance;

struct Object {
    std::string_view word;
    std::string_view second;  ///< the word that must follow, if any
    const char* kind;         ///< what messages call it; null: the word as the file spells it
    ObjectReader* read;
    bool lenient = false;  ///< read leniently alone
};

constexpr Object Objects[] = {
    {"net", "", nullptr, ReadNet},
    {"class", "", nullptr, ReadNet},
    {"node", "", "node", ReadNode},
    {"decision", "", "decision node", ReadNode},
    {"utility", "", "utility node", ReadNode},
    {"potential", "", "potential", ReadPotential},
    {"continuous", "node", "continuous node", ReadNode, true},
    {"temporal", "", "temporal node", ReadNode, true},
    {"discrete", "node", "node", ReadTwoWords, true},
    {"discrete", "decision", "decision node", ReadTwoWords, true},
    {"instance", "", "instance", ReadInstance, true},
};

/// Takes a ';' when one stands here.
void TakeSemicolon(Parser_CString_kt& in) {
    if (in.peekPunc() == ';') in.skipChar();
}

// ---- The file ------------------------------------------------------------------------------

void RecognizeVersion(Parser_CString_kt& in) {
    const ParserPos_kt start = in.getPos();
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    if (streqli_kt(word, "class")) {
        StateOf(in).version = Version6;
    } else if (streqli_kt(word, "net")) {
        StateOf(in).version = Version5;
    } else {
        throw NewReport(msg::hugin.notHugin);
    }
    in.setPos(start);
}

/// The header of an object that is passed over: keeps its words, for the potentials that need them,
/// and gives its name, the last word, or the one before a ':'.
std::string PassHeader(Parser_CString_kt& in, ParserPos_kt end) {
    std::string name;
    bool named = false;
    while (in.getPos() < end) {
        const char punc = in.readPunc();
        named = named || punc == ':';
        if (punc != 0) continue;
        const std::string_view word = ReadName(in);
        AddPassedOverName(in, word);
        if (!named) name = word;
    }
    return name;
}

/// Passes over words in front of a line on which an object begins. False, and no move, when the
/// words have a body of their own.
bool PassRemark(Parser_CString_kt& in, ParserPos_kt body) {
    const ParserPos_kt start = in.getPos();
    while (in.getPos() < body) {
        const ParserPos_kt before = in.getPos();
        in.skipSpaces();
        const bool newLine = std::find(before, in.getPos(), '\n') != in.getPos();
        if (newLine && AtObject(in)) return true;
        if (in.readPunc() == 0) SkipWord(in);
    }
    in.setPos(start);
    return false;
}

/// Passes over an object of a kind that is not read. A field outside any object, which a brace too
/// many leaves behind, goes by itself.
void SkipUnknownObject(Parser_CString_kt& in, const char* word) {
    const ParserPos_kt place = in.tokenStart();
    const ParserPos_kt header = in.getPos();
    const bool field = in.peekPunc() == '=';
    bool body = !field && in.skipToString("{") == 0;
    const ParserPos_kt end = in.getPos();
    in.setPos(header);
    if (StateOf(in).lenient && body && PassRemark(in, end)) body = false;
    const std::string name = body ? PassHeader(in, end) : std::string();
    const ParserContext context(in, word, body ? name.c_str() : nullptr);
    in.setTokenStart(place);
    in.reportUnknown(word, msg::hugin.unknownObject, word);
    if (field) {
        SkipField(in, in.getPos());
        TakeSemicolon(in);
    } else if (body) {
        ListPassedOver(in, word, name);
        in.setPos(end);
        SkipBody(in);
    }
}

/// Whether the word just read, and the next if need be, start an object of that kind.
bool Starts(Parser_CString_kt& in, const char* word, const Object& object) {
    if (!IsKeyword(word, object.word) || (object.lenient && !StateOf(in).lenient)) return false;
    if (object.second.empty()) return true;
    if (!IsKeyword(in.peekWord(), object.second)) return false;
    SkipWord(in);
    return true;
}

}  // namespace

void hugin::ReadObject(Parser_CString_kt& in, Vnet_kt& drawing) {
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    for (const Object& object : Objects) {
        if (!Starts(in, word, object)) continue;
        object.read(in, drawing, object.kind != nullptr ? object.kind : word);
        return;
    }
    SkipUnknownObject(in, word);
}

namespace {

/// Takes the punctuation after an object; true at the end of the class.
bool AfterObject(Parser_CString_kt& in) {
    while (const char punc = in.readPunc()) {
        if (punc == '}' && StateOf(in).version > Version5) return true;
        in.report(msg::hugin.strayBetweenObjects, CharName(punc));
        if (punc == '{') SkipBody(in);
    }
    return false;
}

void ReadObjects(Parser_CString_kt& in, Vnet_kt& drawing, const ReadOptions& options) {
    RecognizeVersion(in);
    const bool choose = options.lenient && StateOf(in).version > Version5;
    const bool chosen = (choose || !options.className.empty()) && ChooseClass(in, options);
    do {
        ReadObject(in, drawing);
        in.checkError();
        if (!AfterObject(in)) continue;
        StateOf(in).classOpen = false;
        if (in.isAtEnd() || chosen) break;
        in.setTokenStart(in.getPos());
        in.report(msg::hugin.firstClassOnly);
        break;
    } while (!in.isAtEnd());
    if (StateOf(in).classOpen) in.report(msg::hugin.objectNotClosed);
    if (ReadsInstances(in)) FinishClass(in, drawing);
    in.checkError();
}

// ---- Objects -------------------------------------------------------------------------------

/// Whether the field, whose value comes next, is about the looks of the net in its program, or is
/// empty; a description as HTML is more. Strictly read, such fields are unknown ones.
bool IsSetting(Parser_CString_kt& in) {
    constexpr const char* prefixes[] = {
        "HR_Monitor_",    "HR_Compile_",     "HR_Color_",    "HR_Link",     "HR_Node",
        "HR_OOBN_",       "HR_Zoom_",        "HR_DBN_",      "HR_CPT_",     "HR_Utility_",
        "HR_Binding_",    "HR_is",           "HR_ToolBar_",  "HR_Default_", "HR_Probabilistic_",
        "HR_Functional_", "HR_Information_", "HR_Interface", "HR_Font_",    "HR_Grid_",
        "HR_Propagate_"};
    const char* const name = in.fieldName;
    if (!StateOf(in).lenient) return false;
    if (IsKeyword(name, "HR_HTML_Desc")) return in.peekPunc() == '"' && in.getPos()[1] == '"';
    return std::ranges::any_of(prefixes,
                               [name](const char* prefix) { return HasPrefix_kt(prefix, name); });
}

/// Reads a field's value with its handler, or passes over it.
template <class OBJECT>
void ReadValue(Parser_CString_kt& in, OBJECT& object, FieldHandler<OBJECT> handler) {
    if (handler != nullptr) return handler(in, object);
    if (IsSetting(in)) {
        ListSetting(in, in.fieldName);
        return SkipField(in, in.getPos());
    }
    in.reportUnknown(in.fieldName, msg::hugin.unknownField);
    SkipField(in, in.getPos());
}

/// Reads the value of a field. False when it was damaged so that no ';' is to be expected.
template <class OBJECT>
bool ReadField(Parser_CString_kt& in, OBJECT& object, FieldHandler<OBJECT> handler) {
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
bool NotAField(Parser_CString_kt& in, ParserPos_kt start, const char* kind) {
    in.report(msg::hugin.missingEquals);
    in.setPos(start);
    const bool misspeltClass = StateOf(in).version > Version5 && streqli_kt(kind, "class");
    if (!misspeltClass && AtObject(in)) {
        in.report(msg::hugin.objectNotClosed);
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
bool EndOfField(Parser_CString_kt& in) {
    const char punc = in.readPunc();
    if (punc == ';') return false;
    in.report(msg::hugin.missingSemicolon);
    if (punc == 0 || punc == '}') return punc == '}';
    in.unreadChar(punc);
    SkipField(in, in.getPos());
    TakeSemicolon(in);
    return false;
}

/// The name of the field being read, cited by messages while it lives.
struct FieldName {
    explicit FieldName(Parser_CString_kt& parser) : in(parser) {}
    ~FieldName() { in.fieldName = nullptr; }
    FieldName(const FieldName&) = delete;
    FieldName& operator=(const FieldName&) = delete;

    Parser_CString_kt& in;
    char text[ValueSize + 1];
};

/// Reads the fields of an object up to and with its '}', or up to the first word of a class that is
/// no field.
template <class OBJECT>
void ReadFields(Parser_CString_kt& in, OBJECT& object, const char* kind,
                FieldHandler<OBJECT> (*lookup)(Parser_CString_kt&, const char* name)) {
    FieldName name(in);
    const bool inClass = StateOf(in).version > Version5 && streql_kt(kind, "class");
    for (;;) {
        const char punc = in.readPunc();
        const ParserPos_kt start = in.tokenStart();
        if (punc == '}') return;
        if (punc != 0) {
            in.report(msg::hugin.strayInObject, CharName(punc));
            continue;
        }
        const bool field = in.readWordPunc(name.text, ValueSize) == '=';
        if (*name.text == '\0') break;  // the input ends
        if (!field && inClass) {
            StateOf(in).classOpen = true;
            return in.setPos(start);
        }
        if (std::strchr(name.text, 'H') != nullptr)  // to be quick about most names
            SubstStrWithStr_kt(name.text, sizeof name.text, "HRUNTIME", "HR");
        in.fieldName = name.text;
        if (!field && NotAField(in, start, kind)) return;
        const bool whole = !field || ReadField(in, object, lookup(in, name.text));
        in.checkError();
        if (whole && EndOfField(in)) return;
        in.fieldName = nullptr;
    }
    in.report(msg::hugin.objectNotClosed);
}

/// Reads one object. A header that fails costs the object, which is passed over.
template <class OBJECT>
OBJECT* read_obj(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind,
                 OBJECT* (*readHeader)(Parser_CString_kt&, Vnet_kt&),
                 FieldHandler<OBJECT> (*lookup)(Parser_CString_kt&, const char* name)) {
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
            throw in.report(msg::hugin.missingBrace, in.structName != nullptr ? in.structName : "");
        }
        ReadFields(in, *object, kind, lookup);
    } catch (rept_kt* report) {
        in.setError(report);
        if (report->severity < SeverityFatal) SkipObject(in);
    }
    return object;
}

Vnet_kt* read_net_header(Parser_CString_kt& in, Vnet_kt& drawing) {
    Bnet_bn& net = *drawing.getBNet();
    char word[ValueSize + 1];
    in.readWord(word, ValueSize);
    if (*word != '\0') SetNetLabel(net, DupStr_kt(word));
    if (*word == '\0' && streqli_kt(in.structKind, "class")) in.report(msg::hugin.missingClassName);
    in.structName = Printable(net.title) != nullptr ? net.title : net.name;
    return &drawing;
}

void ReadNet(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind) {
    read_obj(in, drawing, kind, read_net_header, read_net_func);
}

/// Whether the node has an expression in place of its table, which was told.
bool IsExpressionOnly(const Bnode_bn& node) {
    return std::ranges::any_of(node.userFields(), [](const UserField& field) {
        return field.name == std::string_view("model_data");
    });
}

void ReadInstance(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind) {
    if (!ReadsInstances(in)) return SkipUnknownObject(in, kind);
    read_obj(in, drawing, kind, ReadInstanceHeader, ReadInstanceFunc);
}

}  // namespace

void hugin::ReadNode(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind) {
    Bnode_bn* const node = read_obj(in, drawing, kind, read_node_header, read_node_func);
    if (node == nullptr) return;
    const ParserContext context(in, kind, node->name());
    FinishNode(in, *node);
}

void hugin::ReadPotential(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind) {
    if (PutOffPotential(in)) return;
    Bnode_bn* const node = read_obj(in, drawing, kind, read_potential_header, read_potential_func);
    if (node == nullptr) return;
    const ParserContext context(in, kind, node->name());
    FinishPotential(in, *node);
}

namespace {

void ReadTwoWords(Parser_CString_kt& in, Vnet_kt& drawing, const char* kind) {
    ListNode(in, msg::hugin.twoWordNodes, in.peekWord());
    ReadNode(in, drawing, kind);
}

}  // namespace

rept_kt* ParseHuginFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                        const ReadOptions& options) {
    const std::unique_ptr<short[]> properties(MakeStdCharProps_kt());
    SetCharProp_kt("\"(){}=,;:|", CharPropPunct, properties.get());
    SetCharProp_kt("%", CharPropComment, properties.get());
    ParserOptions_kt tokens;
    tokens.charProps = properties.get();
    tokens.commentChar1 = '%';
    const OwnedParser parser(channel.makeParser(&tokens));
    Parser_CString_kt& in = TextParser(*parser);

    State state;
    state.lenient = options.lenient;
    in.state = &state;
    StartRecovery(in);
    drawing.drawStyle = 7;
    ReadToTheEnd(in, [&] { ReadObjects(in, drawing, options); });
    RepeatNodes(in, net);
    ReportLists(in, net);
    JudgeNodes(in, net, IsExpressionOnly);
    in.checkError();
    constexpr double fullScale = 1.25;
    PlaceInstances(in);
    FixNodePositions(drawing, fullScale / drawing.zoomFactor, StateOf(in).version <= Version5);
    BuildGroups(in, net, drawing);
    MakeInstanceSets(in, net, drawing);
    return in.curReport;
}

}  // namespace lumo
