// Reader of XML BIF version 0.3 files.
//
// A document is one BIF element with one NETWORK, which holds a NAME, a VARIABLE element for every
// node and a DEFINITION element for every table, in any order as long as a variable comes before
// the definitions that name it. Elements of other kinds are passed over with a warning; broken
// structure is an error, and the first error ends the parse. What was read before it stays in the
// net.
//
// Unlike the other formats this one is read without the import lock: nothing here is written that
// belongs to more than one import.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "import/ForeignFile.h"
#include "import/messages.h"
#include "import/readers.h"
#include "import/xmlbif.h"
#include "library/text/xml.h"

namespace lumo {

bool Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = false;

namespace {

constexpr double positionScale = 1.5;  // of positions given by the file
constexpr double layoutSpacing = 2.0;  // of nodes laid out here

// ---- Tags and elements ---------------------------------------------------------------------

/// One start or end tag, with its first attribute.
struct Tag {
    strin_kt name, attribute, value;
    bool closes = false;

    void read(Parser_CString_kt& in) { closes = ReadElementTag(in, name, attribute, value); }
};

/// An element that a structure accepts, with the member function that reads its content.
template <class READER>
struct Element {
    std::string_view name;
    void (READER::*read)(Tag& tag);
};

/// A structure's name and its report numbers.
struct Structure {
    const char* kind;
    int seenWithoutOpen;
    int wrongElement;
    int mustCloseFirst;
    int unknownAttribute;
    int unknownElement;
};
constexpr Structure network = {"NETWORK", -3485, -3486, -3487, 0, -3488};
constexpr Structure variableElement = {"VARIABLE", -3479, -3480, -3483, -3482, -3484};
constexpr Structure definition = {"DEFINITION", -3470, -3471, -3472, -3473, -3476};

[[noreturn]] void ThrowWithoutOpen(int number, Tag& tag) {
    throw newerrwait_kt(number, "close element </%s> seen without open", tag.name.getCStr());
}

constexpr std::string_view cdataStart = "<![CDATA[";

bool StartsWith(const char* at, std::string_view text) {
    return std::strncmp(at, text.data(), text.size()) == 0;
}

void ThrowIfError(rept_kt* report) {
    if (IsError(report)) throw report;
}

/// The text of the element whose start tag was read last, through its end tag.
void ReadText(Parser_CString_kt& in, const Tag& tag, strin_kt& text) {
    text.clear();
    in.readToChar("<", text);
    ReadClosingTag(in, tag.name);
}

/// Passes over an unknown element. When its end tag is missing, what it holds is read on.
void SkipUnknown(Parser_CString_kt& in, const Structure& what, Tag& tag) {
    const std::string_view around[] = {what.kind, network.kind, "BIF"};
    const ParserPos_kt place = in.tokenStart();
    const bool closed = SkipElement(in, {tag.name.view(), {}, place}, around);
    in.setTokenStart(place);
    in.makeWarningUnknown(tag.name, what.unknownElement, "unknown element type %s",
                          tag.name.getCStr());
    if (!closed) in.report(msg::text.elementNeverClosed, tag.name.getCStr());
    in.checkError();
}

/// The content loop of every structure: each element goes to its reader, up to the structure's end
/// tag or the end of the input. The tags are read into `tag`.
template <class READER, std::size_t count>
void ReadContent(READER& reader, Parser_CString_kt& in, const Structure& what,
                 const Element<READER> (&elements)[count], Tag& tag) {
    while (!in.isAtEnd()) {
        tag.read(in);
        if (tag.closes) {
            if (tag.name.view() == what.kind) return;
            throw newerrwait_kt(what.mustCloseFirst, "must close element '%s' before closing </%s>",
                                what.kind, tag.name.getCStr());
        }
        const auto* known = std::ranges::find(elements, tag.name.view(), &Element<READER>::name);
        if (known != std::end(elements)) {
            (reader.*known->read)(tag);
        } else {
            SkipUnknown(in, what, tag);
        }
    }
}

/// Reads the start tag of a structure whose reader was called without it.
void ReadStartTag(Parser_CString_kt& in, const Structure& what, Tag& tag) {
    tag.read(in);
    if (tag.closes) ThrowWithoutOpen(what.seenWithoutOpen, tag);
    if (tag.name.view() == what.kind) return;
    throw newerrwait_kt(what.wrongElement, "expecting %s element, but encountered %s'", what.kind,
                        tag.name.getCStr());
}

void WarnUnknownAttribute(Parser_CString_kt& in, const Structure& what, const strin_kt& name) {
    in.makeWarningUnknown(name, what.unknownAttribute, "unknown %s attribute %.*s", what.kind,
                          name.num(), name.first);
}

/// What the element readers fill, kept from one element to the next: a file of many small elements
/// does not allocate it for each.
struct Scratch {
    Tag tag;
    strin_kt text;
    vect_kt<char*> outcomes;  // owned texts, in file order
    BndList_bn parents;
    vect_kt<float> numbers;
};

void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value, Scratch& scratch);
void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute, Scratch& scratch);

// ---- Driver --------------------------------------------------------------------------------

/// The walk over the document.
class Document {
public:
    Document(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing)
        : in_(in), net_(net), drawing_(drawing) {}

    void read() {
        ReadXMLVersion(in_);
        if (!skipPrologue()) return;
        readRootTag();
        readNetwork();
        readEnd();
    }

private:
    bool skipPrologue();
    void skipMarkup(ParserPos_kt start);
    void readRootTag();
    void readNetwork();
    void readEnd();
    void placeNodes();

    void readName(Tag& tag);
    void readVariable(Tag& tag);
    void readDefinition(Tag& tag);

    static constexpr Element<Document> elements_[] = {
        {"NAME", &Document::readName},
        {"VARIABLE", &Document::readVariable},
        {"DEFINITION", &Document::readDefinition},
    };

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    Vnet_kt& drawing_;
    Scratch scratch_;
};

/// Passes over what stands before the root element, and over the root's '<'. False when the text
/// ends before a root.
bool Document::skipPrologue() {
    for (;;) {
        if (in_.isAtEnd()) return false;
        const ParserPos_kt start = in_.getPos();
        in_.setTokenStart(start);
        if (const char c = in_.readChar(); c != '<') {
            throw newerrwait_kt(-3493, "expecting '<', but instead there is '%c'", c);
        }
        if (in_.peekPunc() == '/') return true;  // an end tag where the root should be
        const char c = in_.readPunc();
        if (c == 0) return true;
        if (c != '!' && c != '?') {
            throw newerrwait_kt(-3494, "unexpected punctuation '%c'", c);
        }
        skipMarkup(start);
    }
}

/// Passes over the rest of a declaration or processing instruction that starts there.
void Document::skipMarkup(ParserPos_kt start) {
    in_.skipStructure('<', '>', true);
    if (in_.bytesLeft() > 0 || in_.getPos()[-1] == '>') return;
    in_.setTokenStart(start);
    throw newerrwait_kt(num::badXML, "the markup that starts here is never closed");
}

void Document::readRootTag() {
    Tag tag;
    tag.read(in_);
    if (tag.closes) ThrowWithoutOpen(-3489, tag);
    if (tag.name.view() == "BIF" && tag.attribute.view() == "VERSION" &&
        tag.value.view() == "0.3") {
        return;
    }
    throw newerrwait_kt(-3490, "can only read BIF VERSION 0.3 XML files, not %s %s %s",
                        tag.name.getCStr(), tag.attribute.getCStr(), tag.value.getCStr());
}

void Document::readNetwork() {
    const ParserContext context(in_, network.kind);
    in_.positionCount = 0;
    Tag tag;
    tag.read(in_);
    if (tag.closes) ThrowWithoutOpen(network.seenWithoutOpen, tag);
    if (tag.name.view() != network.kind || !tag.attribute.isEmpty()) {
        throw newerrwait_kt(network.wrongElement,
                            "expecting %s element with no attributes but encountered '%s %s'",
                            network.kind, tag.name.getCStr(), tag.attribute.getCStr());
    }
    ReadContent(*this, in_, network, elements_, tag);
    placeNodes();
}

void Document::readName(Tag& tag) {
    ReadText(in_, tag, scratch_.text);
    SetNetLabel(net_, scratch_.text.newCopy());
    in_.structName = Printable(net_.title) != nullptr ? net_.title : net_.name;
}

// checkError lets the application see progress and stop a long import between two nodes.
void Document::readVariable(Tag& tag) {
    ReadVariable(in_, net_, &tag.attribute, &tag.value, scratch_);
    in_.checkError();
}

void Document::readDefinition(Tag& tag) {
    ReadNode(in_, net_, &tag.attribute, scratch_);
    in_.checkError();
}

/// Positions of the file are normalised; a file without any has its nodes laid out in a rectangle
/// twice as wide as high, whose sides grow with the root of the number of nodes.
void Document::placeNodes() {
    if (in_.positionCount != 0) {
        FixNodePositions(drawing_, positionScale, false);
        return;
    }
    const float side = std::sqrt(static_cast<float>(drawing_.vnodes.N));
    const rect_kt area{30, 10, 30 + RoundToInt_kt(200.0 * static_cast<double>(side)),
                       10 + RoundToInt_kt(100.0 * static_cast<double>(side))};
    Layout(drawing_.vnodes, area, false, false, true, layoutSpacing);
    drawing_.reformAllAndRedraw(true, true, -1);
    drawing_.laidOut = true;
}

/// What follows the network: the end of BIF, or more than is read.
void Document::readEnd() {
    if (in_.isAtEnd() && IsError(in_.curReport)) return;  // reported where it arose
    Tag tag;
    tag.read(in_);
    const ParserPos_kt place = in_.tokenStart();
    const bool more = !in_.isAtEnd();
    in_.setTokenStart(place);
    if (!tag.closes || more) {
        in_.makeWarning(-3491,
                        "can only read a single Bayes net from the file, so ignoring everything "
                        "after");
    } else if (tag.name.view() != "BIF") {
        throw newerrwait_kt(-3492,
                            "expecting close tag for 'BIF', but instead there is close of '%s'",
                            tag.name.getCStr());
    }
}

// ---- VARIABLE ------------------------------------------------------------------------------

struct Kind {
    std::string_view type;
    NodeKindEN kind;
};
constexpr Kind kinds[] = {
    {"nature", NatureNode}, {"decision", DecisionNode}, {"utility", UtilityNode}};

const char* SkipQuote(const char* at) { return *at == '\'' || *at == '"' ? at + 1 : at; }

const char* SkipBlanks(const char* at) { return at + std::strspn(at, " \t\r\n"); }

/// Appends the number that ends an interval: "10)" after ',', '-', "to" or nothing. False when
/// there is none.
bool AppendUpperBound(const char* at, vect_kt<double>& values) {
    at = SkipBlanks(at);
    if (*at == ',' || *at == '-') {
        ++at;
    } else if (std::strncmp(at, "to", 2) == 0) {
        at += 2;
    }
    double bound = 0;
    if (strtodouble2_kt(SkipBlanks(at), &bound, &at) < 0) return false;
    values.append(bound);
    return true;
}

/// The numbers that the outcomes begin with, up to the first outcome that is neither a number nor
/// an interval: as many as outcomes when all are plain numbers, one more when they are intervals,
/// of which the last gives its upper bound too.
vect_kt<double> NumericValues(const vect_kt<char*>& outcomes) {
    vect_kt<double> values;
    bool intervals = false;  // from the first bracket on
    for (int i = 0; i < outcomes.N; ++i) {
        const char* at = SkipQuote(outcomes[i]);
        if (*at == '(' || *at == '[') {
            ++at;
            intervals = true;
        }
        double value = 0;
        if (strtodouble2_kt(SkipBlanks(at), &value, &at) < 0) break;
        if (!intervals && *SkipQuote(at) != 0) break;
        values.append(value);
        if (intervals && i == outcomes.N - 1 && !AppendUpperBound(at, values)) values.N = 0;
    }
    return values;
}

/// One VARIABLE element and the node made from it.
class VariableReader {
public:
    VariableReader(Parser_CString_kt& in, Bnet_bn& net, Scratch& scratch)
        : in_(in),
          node_(newNode(net)),
          tag_(scratch.tag),
          text_(scratch.text),
          outcomes_(scratch.outcomes) {}
    ~VariableReader() {
        for (char* outcome : outcomes_) delete[] outcome;
        outcomes_.N = 0;
    }
    VariableReader(const VariableReader&) = delete;
    VariableReader& operator=(const VariableReader&) = delete;

    void readAttribute(const strin_kt& name, const strin_kt& value);
    void readContent() { ReadContent(*this, in_, variableElement, elements_, tag_); }
    void setStates();

private:
    static Bnode_bn& newNode(Bnet_bn& net);
    void readName(Tag& tag);
    void readOutcome(Tag& tag);
    void readProperty(Tag& tag);
    void readPosition();
    char** takeOutcomes();

    static constexpr Element<VariableReader> elements_[] = {
        {"OUTCOME", &VariableReader::readOutcome},
        {"NAME", &VariableReader::readName},
        {"PROPERTY", &VariableReader::readProperty},
    };

    Parser_CString_kt& in_;
    Bnode_bn& node_;
    Tag& tag_;
    strin_kt& text_;
    vect_kt<char*>& outcomes_;
};

Bnode_bn& VariableReader::newNode(Bnet_bn& net) {
    rept_kt* error = nullptr;
    Bnode_bn* node = NewNode_ibn(nullptr, 2, net, {0, 0}, &error);
    if (node == nullptr) throw error != nullptr ? error : Fail_rept_kt;
    return *node;
}

void VariableReader::readAttribute(const strin_kt& name, const strin_kt& value) {
    if (name.isEmpty()) return;
    if (name.view() != "TYPE") {
        WarnUnknownAttribute(in_, variableElement, name);
        return;
    }
    const Kind* known = std::ranges::find(kinds, value.view(), &Kind::type);
    if (known != std::end(kinds)) {
        ThrowIfError(node_.setKind(known->kind, CheckFull));
    } else {
        in_.makeWarningUnknown(value, -3481, "unknown %s TYPE %.*s", variableElement.kind,
                               value.num(), value.isEmpty() ? "" : value.first);
    }
}

void VariableReader::readName(Tag& tag) {
    ReadText(in_, tag, text_);
    in_.structName = nullptr;  // the label replaces what it points at
    ThrowIfError(SetNodeLabel(node_, text_.newCopy()));
    if (node_.title != nullptr) {
        Printf_kt("Node renamed:  %.200s  ->  %s   (but it is titled with the old name)\n",
                  node_.title, node_.name());
    }
    in_.structName = Printable(node_.title) != nullptr ? node_.title : node_.name();
}

void VariableReader::readOutcome(Tag& tag) {
    ReadText(in_, tag, text_);
    OwnedStr outcome(text_.newCopy());
    outcomes_.append(outcome.get());
    static_cast<void>(outcome.release());
}

/// A property places the node when its first word is "position"; every other one is ignored.
void VariableReader::readProperty(Tag& tag) {
    const ParserPos_kt start = in_.getPos();
    ReadText(in_, tag, text_);
    const std::string_view text(SkipBlanks(text_.getCStr()));
    if (text.substr(0, text.find_first_of(" =:\t\r\n")) != "position") return;
    const ParserPos_kt end = in_.getPos();
    in_.setPos(start);
    readPosition();
    in_.setPos(end);
}

void VariableReader::readPosition() {
    in_.skipSpaces();
    if (StartsWith(in_.getPos(), cdataStart)) {
        in_.setPos(in_.getPos() + cdataStart.size());
        in_.skipSpaces();
    }
    text_.clear();
    in_.readToChar(" =:\t\r\n", text_);
    if (text_.view() != "position") return;  // markup stands before or within the word
    in_.skipSpaces();
    if (const char c = in_.readChar(); c != '=' && c != ':') in_.unreadChar(c);
    coord_kt point;
    ReadCoord(in_, point);
    const auto moved = [](int value, int offset) {
        return value > INT_MAX - offset ? INT_MAX : value + offset;
    };
    SetNodeVisPosition_ibn(node_, {moved(point.x, safety.x), moved(point.y, safety.y)}, nullptr);
    ++in_.positionCount;
}

/// Gives the node its states: intervals of a continuous variable, numeric values, or labels.
void VariableReader::setStates() {
    const vect_kt<double> values = NumericValues(outcomes_);
    const int count = outcomes_.N;
    const bool intervals = values.N == count + 1;
    if (!intervals && values.N != count) {
        ThrowIfError(
            SetStatesToLabels(node_, takeOutcomes(), count,
                              Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref));
        return;
    }
    if (intervals) ThrowIfError(node_.setDiscrete(ContinuousVar, false, CheckFull));
    double* levels = count == 0 ? nullptr : new double[static_cast<std::size_t>(values.N)];
    std::copy(values.begin(), values.end(), levels);
    ThrowIfError(node_.setStates(count, nullptr, levels, nullptr, nullptr, CheckFull));
}

/// The outcome texts as an array of strings for the model to own.
char** VariableReader::takeOutcomes() {
    char** labels = new char*[static_cast<std::size_t>(outcomes_.N)];
    std::copy(outcomes_.begin(), outcomes_.end(), labels);
    outcomes_.N = 0;
    return labels;
}

// ---- DEFINITION ----------------------------------------------------------------------------

/// One DEFINITION element: the parents and the table of a node.
class DefinitionReader {
public:
    DefinitionReader(Parser_CString_kt& in, Bnet_bn& net, Scratch& scratch)
        : in_(in),
          net_(net),
          place_(in.tokenStart()),
          tag_(scratch.tag),
          text_(scratch.text),
          parents_(scratch.parents),
          numbers_(scratch.numbers) {
        parents_.N = numbers_.N = 0;
    }

    void readContent() { ReadContent(*this, in_, definition, elements_, tag_); }
    void apply();

private:
    void readFor(Tag& tag);
    void readGiven(Tag& tag);
    void readTable(Tag& tag);
    void readNumbers(char listOpenChar);
    bool passTableMarkup();
    Bnode_bn* findNode(Tag& tag, int unknownVariable);
    void installTable();

    static constexpr Element<DefinitionReader> elements_[] = {
        {"FOR", &DefinitionReader::readFor},
        {"GIVEN", &DefinitionReader::readGiven},
        {"TABLE", &DefinitionReader::readTable},
    };

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    ParserPos_kt place_;  // where problems with parents and table are reported
    Tag& tag_;
    strin_kt& text_;
    BndList_bn& parents_;
    vect_kt<float>& numbers_;
    Bnode_bn* child_ = nullptr;
};

void DefinitionReader::readFor(Tag& tag) { child_ = findNode(tag, -3474); }

void DefinitionReader::readGiven(Tag& tag) { parents_.append(findNode(tag, -3475)); }

/// The node that the element's text names.
Bnode_bn* DefinitionReader::findNode(Tag& tag, int unknownVariable) {
    const ParserPos_kt place = in_.getPos();
    ReadText(in_, tag, text_);
    Bnode_bn* node = net_.findNodeLabeled(text_.getCStr());
    if (node != nullptr) return node;
    in_.setTokenStart(place);
    throw newerrwait_kt(unknownVariable, "unknown variable '%s' in %s element", text_.getCStr(),
                        tag.name.getCStr());
}

void DefinitionReader::readNumbers(char listOpenChar) {
    const char saved = std::exchange(in_.listOpenChar, listOpenChar);
    ReadList<Parser_CString_kt, float, false, false>(in_, numbers_);
    in_.listOpenChar = saved;
}

/// Numbers of a further TABLE are appended to those before.
void DefinitionReader::readTable(Tag& tag) {
    place_ = in_.tokenStart();
    do readNumbers('>');
    while (passTableMarkup());
    ReadClosingTag(in_, tag.name);
}

/// Reads a CDATA section, which is a list between its inner brackets, or passes over a processing
/// instruction. False when neither stands here.
bool DefinitionReader::passTableMarkup() {
    const ParserPos_kt at = in_.getPos();
    if (StartsWith(at, cdataStart)) {
        in_.setPos(at + cdataStart.size() - 1);
        readNumbers('[');
        if (StartsWith(in_.getPos(), "]>")) in_.setPos(in_.getPos() + 2);
        return true;
    }
    if (!StartsWith(at, "<?")) return false;
    in_.setPos(at + 2);
    in_.skipStructure('<', '>', true);
    return true;
}

/// Gives the node its parents, and the table when its count fits them.
void DefinitionReader::apply() {
    in_.setTokenStart(place_);
    if (child_ == nullptr) {
        throw newerrwait_kt(-3477, "missing 'FOR' element in %s", definition.kind);
    }
    ThrowIfError(child_->changePreds(parents_, nullptr, true, 1, 1, false));
    if (numbers_.N == 0) return;
    const int wanted = NumProduct(child_->family);
    if (numbers_.N == wanted) {
        installTable();
        return;
    }
    strin_kt names;
    NodeNamesToStr(child_->parents, ", ", 60, names);
    in_.makeWarning(-3478, "%d numbers read in 'TABLE', but %d required (since parents are: %s)",
                    numbers_.N, wanted, names.getCStr());
}

/// Hands the numbers over in file order, which is the model's: the child's state fastest, the first
/// parent slowest.
void DefinitionReader::installTable() {
    XArray<float> table = NewXArray<float>(numbers_.N);
    if (table == nullptr) {
        throw newerr_mem_kt(num::outOfMemory, 4.0 * numbers_.N, "for the table of >-node '%s'",
                            child_->name());
    }
    std::copy(numbers_.begin(), numbers_.end(), table.get());
    ThrowIfError(child_->setProbsTable(table.release(), false, CheckFull));
    child_->checkRowSums();
}

// ---- Entries -------------------------------------------------------------------------------

void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value, Scratch& scratch) {
    const ParserContext context(in, variableElement.kind);
    VariableReader reader(in, net, scratch);
    reader.readAttribute(*attribute, *value);
    reader.readContent();
    reader.setStates();
}

void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute, Scratch& scratch) {
    const ParserContext context(in, definition.kind);
    if (!attribute->isEmpty()) WarnUnknownAttribute(in, definition, *attribute);
    DefinitionReader reader(in, net, scratch);
    reader.readContent();
    reader.apply();
}

}  // namespace

void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value) {
    Tag own;
    if (attribute == nullptr) {
        const ParserContext context(in, variableElement.kind);
        ReadStartTag(in, variableElement, own);
        attribute = &own.attribute;
        value = &own.value;
    }
    Scratch scratch;
    ReadVariable(in, net, attribute, value, scratch);
}

void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute, const strin_kt*) {
    Tag own;
    if (attribute == nullptr) {
        const ParserContext context(in, definition.kind);
        ReadStartTag(in, definition, own);
        attribute = &own.attribute;
    }
    Scratch scratch;
    ReadNode(in, net, attribute, scratch);
}

rept_kt* ParseXMLFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions&) {
    const std::unique_ptr<short[]> charProps(MakeXMLCharProps());
    ParserOptions_kt options;
    options.charProps = charProps.get();
    options.commentChar1 = options.commentChar2 = '/';
    options.xmlComments = options.xmlText = true;
    Parser_CString_kt in(&options, channel);
    try {
        Document(in, net, drawing).read();
    } catch (rept_kt* report) {
        in.setError(report);
    }
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
