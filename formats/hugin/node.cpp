// Hugin files: the fields of nodes, and the readers of values that other fields share.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "formats/hugin/instances.h"
#include "formats/hugin/messages.h"
#include "formats/hugin/state.h"
#include "formats/shared/judging.h"
#include "formats/shared/positions.h"
#include "formats/shared/statewords.h"
#include "library/utilities/numbers.h"

namespace lumo::hugin {

namespace {

// ---- Tables --------------------------------------------------------------------------------

using NodeHandler = void(Parser_CString_kt& in, Bnode_bn& node);
NodeHandler parse_node_label, parse_node_position, parse_node_states, parse_node_HR_Desc,
    parse_node_HR_Grp, parse_node_HR_Group, parse_node_HR_State_, parse_node_userdef,
    parse_node_subtype, parse_node_state_values;

constexpr Field<Bnode_bn> NodeFields[] = {
    {"label", parse_node_label},   {"position", parse_node_position},
    {"states", parse_node_states}, {"HR_Desc", parse_node_HR_Desc},
    {"HR_Grp", parse_node_HR_Grp}, {"HR_Group", parse_node_HR_Group},
};
constexpr const char* StatePrefix = "HR_State_";

/// Those that are read leniently alone.
constexpr Field<Bnode_bn> LenientNodeFields[] = {
    {"subtype", parse_node_subtype},
    {"state_values", parse_node_state_values},
};

char** CopyOf(char* const* texts, int count) {
    if (texts == nullptr) return nullptr;
    char** const copy = new char*[static_cast<std::size_t>(count)]();
    for (int i = 0; i < count; ++i) copy[i] = texts[i] == nullptr ? nullptr : DupStr_kt(texts[i]);
    return copy;
}

/// Gives the states values, or makes them the intervals between the numbers.
void SetLevels(Varbl_bn& variable, const std::vector<double>& numbers) {
    auto levels = std::make_unique<double[]>(numbers.size());
    std::ranges::copy(numbers, levels.get());
    delete[] std::exchange(variable.levels, levels.release());
    variable.numLevels = static_cast<int>(numbers.size());
    variable.discrete = variable.numLevels == variable.numStates;
}

/// Gives the node the states and kind of another.
void Repeat(Parser_CString_kt& in, Bnode_bn& node, const Bnode_bn& of) {
    const Varbl_bn& variable = of.variable;
    if (!variable.discrete && variable.numStates == 0)
        return in.setError(node.setDiscrete(ContinuousVar));
    in.setError(
        node.setStates(variable.numStates, CopyOf(variable.stateNames, variable.numStates)));
    node.setStateTitles(CopyOf(variable.stateTitles, variable.numStates));
    if (variable.levels != nullptr)
        SetLevels(node.variable, {variable.levels, variable.levels + variable.numLevels});
    in.setError(node.setKind(of.kind));
}

}  // namespace

void RepeatNodes(Parser_CString_kt& in, const Bnet_bn& net) {
    std::vector<Repetition>& repetitions = StateOf(in).nodes.repetitions;
    for (const Repetition& repetition : repetitions) {
        Bnode_bn& node = *repetition.node;
        in.setTokenStart(repetition.place);
        if (const Bnode_bn* const of = net.findNodeLabeled(repetition.of.c_str())) {
            Repeat(in, node, *of);
            ListNode(in, msg::hugin.temporalNodes, node.name());
        } else {
            in.report(msg::hugin.temporalWithoutNode, node.name(), repetition.of.c_str());
        }
    }
    repetitions.clear();
}

// ---- Headers -------------------------------------------------------------------------------

/// Reads a name. The arguments in parentheses that some programs write right behind it
/// (father(tom)) are part of it.
std::string_view ReadName(Parser_CString_kt& in) {
    const std::string_view name = in.takeName(ValueSize);
    const std::size_t arguments = PeekArguments(in).size();
    if (name.empty() || name.size() + arguments > ValueSize) return name;
    in.setPos(in.getPos() + arguments);
    return {name.data(), name.size() + arguments};
}

namespace {

/// The rest of a time slice's header: a ':' and the name of the node that it repeats.
void ReadRepetition(Parser_CString_kt& in, Bnode_bn& node) {
    const ParserPos_kt place = in.tokenStart();
    if (in.peekPunc() != ':') return;
    in.skipChar();
    StateOf(in).nodes.repetitions.push_back({&node, LabelOf(in, ReadName(in)), place});
}

}  // namespace

Bnode_bn* read_node_header(Parser_CString_kt& in, Vnet_kt& drawing) {
    StateOf(in).nodes.stateTexts.clear();
    StateOf(in).nodes.values = {};
    Bnet_bn& net = *drawing.getBNet();
    const std::string name(ReadName(in));
    if (name.empty()) {
        in.report(msg::hugin.missingName, in.structKind);
        return nullptr;
    }
    if (IsBoundInput(in, name)) return nullptr;
    rept_kt* error = nullptr;
    Bnode_bn* const node = NewNode_ibn(LabelOf(in, name).c_str(), 2, net, safety, &error);
    if (node == nullptr) {
        in.setError(error);
        return nullptr;
    }
    if (IsInInstance(in)) node->setTitle(std::string_view(PathOf(in, name)));
    if (*in.structKind == 'd') in.setError(node->setKind(DecisionNode));
    if (*in.structKind == 'u') {
        in.setError(node->setDiscrete(ContinuousVar));
        in.setError(node->setKind(UtilityNode));
    }
    if (*in.structKind == 'c') {
        in.setError(node->setDiscrete(ContinuousVar));
        ListNode(in, msg::hugin.continuousNodes, name);
    }
    in.structName = node->name();
    node->groupIndex = -1;
    RememberPlace(in, *node);
    JoinInstance(in, *node);
    if (*in.structKind == 't') ReadRepetition(in, *node);
    return node;
}

FieldHandler<Bnode_bn> read_node_func(Parser_CString_kt& in, const char* name) {
    if (const FieldHandler<Bnode_bn> handler = FindField(NodeFields, name)) return handler;
    if (EqualStrsExceptNumericSuffix_kt(StatePrefix, name)) {
        StateOf(in).nodes.stateNumber = name + std::strlen(StatePrefix);
        return parse_node_HR_State_;
    }
    if (const auto handler = StateOf(in).lenient ? FindField(LenientNodeFields, name) : nullptr)
        return handler;
    if (IsKeyword(name, "subtype") || HasPrefix_kt("HR_", name)) return nullptr;
    StateOf(in).nodes.userFieldName = name;
    return parse_node_userdef;
}

namespace {

/// The numbers of a list in parentheses, `infinity` among them; none when some are something else.
std::vector<double> NumbersOf(std::string_view text) {
    constexpr std::string_view separators = " \t\r\n,()";
    std::vector<double> numbers;
    for (std::size_t at = 0; (at = text.find_first_not_of(separators, at)) != text.npos;) {
        const std::string word(text.substr(at, text.find_first_of(separators, at) - at));
        at += word.size();
        const bool isBound = streqli_kt(word.c_str(), "infinity");
        if (isBound || streqli_kt(word.c_str(), "-infinity")) {
            numbers.push_back(isBound ? HUGE_VAL : -HUGE_VAL);
            continue;
        }
        char* end = nullptr;
        int error = 0;
        numbers.push_back(strtod1_kt(word.c_str(), &end, &error));
        if (error != 0 || *end != '\0') return {};
    }
    return numbers;
}

/// Whether they are values of states, or the bounds of intervals, of which the outermost may be
/// infinite.
bool AreLevels(const std::vector<double>& numbers, bool intervals) {
    const auto open = static_cast<std::size_t>(intervals);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const bool isOutermost = intervals && (i == 0 || i + open == numbers.size());
        if (!isOutermost && !std::isfinite(numbers[i])) return false;
        if (intervals && i > 0 && numbers[i - 1] >= numbers[i]) return false;
    }
    return true;
}

/// What the states stand for, where the subtype says that it is numbers; else the texts are user
/// fields.
void FinishValues(Parser_CString_kt& in, Bnode_bn& node) {
    const ValuesText& values = StateOf(in).nodes.values;
    const bool intervals = streqli_kt(values.subtype.c_str(), "interval");
    if (values.place != nullptr && node.numStates() > 0 &&
        (intervals || streqli_kt(values.subtype.c_str(), "number"))) {
        const std::vector<double> numbers = NumbersOf(values.text);
        const int wanted = node.numStates() + static_cast<int>(intervals);
        in.setTokenStart(values.place);
        if (std::ssize(numbers) == wanted && AreLevels(numbers, intervals)) {
            SetLevels(node.variable, numbers);
            return ListNode(in, msg::hugin.valuesRead, node.name());
        }
        in.report(msg::hugin.stateValueCount, node.name(), wanted,
                  intervals ? "increasing bounds" : "numbers");
    }
    const auto keep = [&node](const char* name, const std::string& text) {
        if (!text.empty()) node.setUserField(name, text.data(), static_cast<int>(text.size()));
    };
    keep("subtype", values.subtype);
    keep("state_values", values.text);
}

}  // namespace

void FinishNode(Parser_CString_kt& in, Bnode_bn& node) {
    FinishValues(in, node);
    for (StateText& text : StateOf(in).nodes.stateTexts) {
        in.setTokenStart(text.place);
        in.setError(node.setStateComment(text.state, text.text.newCopy()));
    }
}

namespace {

// ---- Node fields ---------------------------------------------------------------------------

void parse_node_label(Parser_CString_kt& in, Bnode_bn& node) {
    if (!HasValue(in)) return;
    const std::string_view text = in.readStringText();
    if (!IsInInstance(in)) return node.setTitle(text);
    if (!text.empty()) node.setTitle(std::string_view(PathOf(in, text)));
}

void parse_node_position(Parser_CString_kt& in, Bnode_bn& node) {
    coord_kt read;
    ReadCoord(in, read);
    if (!node.vns.hasSome()) {
        FailAssert_kt("nd.vns.hasSome()", "ForeignFile", __LINE__);
        return;
    }
    Vnode_kt& place = *node.vns[0];
    place.moveTo(read);  // step by step: each is clamped to what an int holds
    place.shiftBy(safety);
    if (place.position().x - safety.x != read.x || place.position().y - safety.y != read.y)
        in.report(msg::import.positionsClamped, node.name());
}

void parse_node_states(Parser_CString_kt& in, Bnode_bn& node) {
    ReadListTexts(in, StateOf(in).nodes.labels, true);
    const int count = static_cast<int>(StateOf(in).nodes.labels.size());
    if (count == 0) in.report(msg::hugin.noStates);
    constexpr int mostlyUsable = 3;
    if (NameStates(node, StateOf(in).nodes.labels)) return;
    OwnedStrs labels(StateOf(in).nodes.labels.copies(), count);
    if (StrsNullEmpty_kt(labels.get(), count) > mostlyUsable) {
        in.setError(node.setStates(count));
        return;
    }
    char** const names = MakeLegalUniqueNames_kt(labels.get(), count, 'N');
    const bool equal = EqlArrStrs_kt(labels.get(), names, count);
    rept_kt* const report = node.setStates(count, names);
    in.setError(report);
    if (!IsError(report) && !equal) node.setStateTitles(labels.release());
}

void parse_node_HR_Desc(Parser_CString_kt& in, Bnode_bn& node) {
    strin_kt text;
    read_quoted_text(in, text);
    if (!text.isEmpty()) node.setComment(text.newCopy());
}

void parse_node_HR_Grp(Parser_CString_kt& in, Bnode_bn& node) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    if (*text == '\0') return;
    int group = 0;
    if (!WholeInt(text, group)) {
        in.report(msg::hugin.badGroup, text);
    } else if (group < 0) {
        in.report(msg::hugin.negativeGroup, group, node.name());
    } else {
        node.groupIndex = group;
        StateOf(in).groups.places.resize(static_cast<std::size_t>(node.net().nodes.N));
        StateOf(in).groups.places.back() = in.tokenStart();  // the node being read is the last
    }
}

void parse_node_HR_Group(Parser_CString_kt& in, Bnode_bn& node) {
    parse_node_HR_Grp(in, node);
    if (node.groupIndex == 0) node.groupIndex = -1;
}

void parse_node_HR_State_(Parser_CString_kt& in, Bnode_bn&) {
    StateText text{0, {}, in.tokenStart()};
    read_quoted_text(in, text.text);
    const char* rest = nullptr;
    if (!LeadingInt(StateOf(in).nodes.stateNumber, text.state, rest)) text.state = INT_MAX;
    if (!text.text.isEmpty()) StateOf(in).nodes.stateTexts.push_back(std::move(text));
}

void parse_node_subtype(Parser_CString_kt& in, Bnode_bn&) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    StateOf(in).nodes.values.subtype = text;
}

void parse_node_state_values(Parser_CString_kt& in, Bnode_bn&) {
    StateOf(in).nodes.values.place = in.tokenStart();
    StateOf(in).nodes.values.text = ReadText(in);
}

void parse_node_userdef(Parser_CString_kt& in, Bnode_bn& node) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    node.setUserField(StateOf(in).nodes.userFieldName, text, static_cast<int>(std::strlen(text)));
}

}  // namespace

// ---- Value readers -------------------------------------------------------------------------

namespace {

/// The text without its comments, each run of white space one blank.
std::string OnOneLine(std::string_view text) {
    std::string out;
    bool quoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] == '"') quoted = !quoted;
        if (text[at] == '%' && !quoted) at = std::min(text.find('\n', at), text.size() - 1);
        const bool blank = std::string_view(" \t\r\n").find(text[at]) != std::string_view::npos;
        if (!blank)
            out += text[at];
        else if (!out.empty() && out.back() != ' ')
            out += ' ';
    }
    return out.substr(0, out.find_last_not_of(' ') + 1);
}

}  // namespace

bool HasValue(Parser_CString_kt& in) {
    if (in.peekPunc() != ';' && in.peekPunc() != '}') return true;
    in.setTokenStart(in.getPos());
    in.report(msg::hugin.missingValue);
    return false;
}

void read_quoted_text(Parser_CString_kt& in, strin_kt& text) {
    if (in.peekPunc() == '"') {
        in.skipChar();
        in.readQuotedRest(text);
        return;
    }
    char raw[ValueSize + 1];
    ReadValue(in, raw);
    text.append(raw);
}

void ReadValue(Parser_CString_kt& in, char* text) {
    if (in.peekPunc() == '"') return in.readQuoted(text, ValueSize);
    *text = '\0';
    if (!HasValue(in)) return;
    const ParserPos_kt start = in.getPos();
    SkipField(in, start);
    std::string_view value(start, static_cast<std::size_t>(in.getPos() - start));
    value.remove_suffix(value.size() - (value.find_last_not_of(" \t\r\n") + 1));
    if (*start != '(' && value.find('"') != value.npos) {
        in.setTokenStart(start);
        in.report(msg::hugin.lateQuote);
    }
    if (value.size() > ValueSize) {
        in.setTokenStart(start);
        in.report(msg::text.textCut, static_cast<int>(std::min<std::size_t>(value.size(), INT_MAX)),
                  ValueSize);
    }
    text[value.copy(text, ValueSize)] = '\0';
}

std::string ReadText(Parser_CString_kt& in) {
    if (in.peekPunc() == '"') {
        strin_kt text;
        read_quoted_text(in, text);
        return std::string(text.view());
    }
    if (!HasValue(in)) return {};
    const ParserPos_kt start = in.getPos();
    SkipField(in, start);
    return OnOneLine({start, static_cast<std::size_t>(in.getPos() - start)});
}

void read_int_string(Parser_CString_kt& in, int& value) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    int read = 0;
    if (!WholeInt(text, read)) throw in.report(msg::hugin.badInteger, text);
    value = read;
}

void read_double_string(Parser_CString_kt& in, double& value) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    char* end = nullptr;
    int error = 0;
    const double read = strtod1_kt(text, &end, &error);
    if (error != 0 || *end != '\0') throw in.report(msg::hugin.badNumber, text);
    value = read;
}

void read_bool_string(Parser_CString_kt& in, bool& value) {
    char text[ValueSize + 1];
    ReadValue(in, text);
    if (!streql_kt(text, "0") && !streql_kt(text, "1")) {
        throw in.report(msg::hugin.badBoolean, text);
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

}  // namespace lumo::hugin
