// VARIABLE elements of XML BIF: nodes with their kind, name, states and place.
#include <climits>
#include <cstring>
#include <optional>

#include "formats/shared/judging.h"
#include "formats/shared/readers.h"
#include "formats/shared/statewords.h"
#include "formats/xmlbif/document.h"
#include "library/text/tokens.h"

namespace lumo::xmlbif {

namespace {

struct Kind {
    std::string_view type;
    NodeKindEN kind;
};
constexpr Kind kinds[] = {
    {"nature", NatureNode}, {"decision", DecisionNode}, {"utility", UtilityNode}};

const char* SkipQuote(const char* at) { return *at == '\'' || *at == '"' ? at + 1 : at; }

const char* SkipBlanks(const char* at) { return at + std::strspn(at, " \t\r\n"); }

/// The number that ends an interval: "10)" after ',', '-', "to" or nothing.
bool ReadUpperBound(const char* at, double& bound) {
    at = SkipBlanks(at);
    if (*at == ',' || *at == '-') {
        ++at;
    } else if (std::strncmp(at, "to", 2) == 0) {
        at += 2;
    }
    return strtodouble2_kt(SkipBlanks(at), &bound, &at) >= 0;
}

/// The numbers that the outcomes begin with, up to the first outcome that is neither a number nor
/// an interval.
class NumericOutcomes {
public:
    explicit NumericOutcomes(const std::vector<std::string>& outcomes)
        : outcomes_(outcomes), count_(static_cast<int>(outcomes.size())) {
        scan();
    }

    /// As many as outcomes when all are plain numbers, one more when they are intervals, of which
    /// the last gives its upper bound too.
    vect_kt<double> values;

    bool areIntervals() const { return values.N == count_ + 1; }
    bool arePlain() const { return values.N == count_; }
    /// Of intervals that do not follow each other.
    void warnOfGaps(Parser_CString_kt& in) const;
    /// Of labels some of which look like intervals.
    void warnOfMixture(Parser_CString_kt& in) const;

private:
    void scan();
    const char* outcome(int i) const { return outcomes_[static_cast<std::size_t>(i)].c_str(); }

    const std::vector<std::string>& outcomes_;
    int count_;
    std::vector<std::optional<double>> uppers_;  // of intervals, by outcome
};

void NumericOutcomes::scan() {
    bool intervals = false;  // from the first bracket on
    for (int i = 0; i < count_; ++i) {
        const char* at = SkipQuote(outcome(i));
        if (*at == '(' || *at == '[') {
            ++at;
            if (!intervals) uppers_.resize(static_cast<std::size_t>(i));
            intervals = true;
        }
        double value = 0;
        if (strtodouble2_kt(SkipBlanks(at), &value, &at) < 0) break;
        if (!intervals && *SkipQuote(at) != 0) break;
        values.append(value);
        if (!intervals) continue;
        double upper = 0;
        const bool bounded = ReadUpperBound(at, upper);
        uppers_.push_back(bounded ? std::optional(upper) : std::nullopt);
        if (i < count_ - 1) continue;
        if (bounded)
            values.append(upper);
        else
            values.N = 0;
    }
}

/// Intervals follow each other from low to high. The first that do not are named.
void NumericOutcomes::warnOfGaps(Parser_CString_kt& in) const {
    const auto shown = [this](int i) { return Shown(outcome(i)); };
    for (int i = 0; i + 1 < count_; ++i) {
        const double bound = values[i + 1];
        if (uppers_[static_cast<std::size_t>(i)] == bound) continue;
        in.report(msg::xmlbif.intervalsApart, shown(i).c_str(), shown(i + 1).c_str(), bound);
        break;
    }
    for (int i = 0; i < count_; ++i) {
        if (values[i] < values[i + 1]) continue;
        in.report(msg::xmlbif.intervalFalls, shown(i).c_str(), values[i], values[i + 1]);
        break;
    }
}

bool IsInterval(const std::string& outcome) {
    const char* at = SkipQuote(outcome.c_str());
    double bound = 0;
    return (*at == '(' || *at == '[') && strtodouble2_kt(SkipBlanks(at + 1), &bound, &at) >= 0 &&
           ReadUpperBound(at, bound);
}

void NumericOutcomes::warnOfMixture(Parser_CString_kt& in) const {
    const auto interval = std::ranges::find_if(outcomes_, IsInterval);
    if (interval == outcomes_.end()) return;
    const auto other = std::ranges::find_if_not(outcomes_, IsInterval);
    if (other == outcomes_.end()) return;
    in.report(msg::xmlbif.notAllIntervals, Shown(*other).c_str(), Shown(*interval).c_str());
}

class VariableReader {
public:
    explicit VariableReader(Document& document)
        : document_(document),
          elements_(document.elements),
          node_(newNode(document)),
          place_(document.elements.tag().place) {
        document.outcomes.clear();
    }

    void rememberPlace() {
        elements_.in.setTokenStart(place_);
        RememberPlace(elements_.in, node_);
    }
    void readAttributes();
    void readContent() { ReadContent(*this, elements_, variable, accepted_); }
    void setStates();

private:
    Bnode_bn& newNode(Document& document);
    void setName(std::string_view name);
    void setKind(const std::string& type);
    void readName();
    void readOutcome();
    void readProperty();
    void keepProperty(std::string_view text, ParserPos_kt place);
    void readType();
    void readPosition();
    void warnOfEmptyOutcome() const;

    static constexpr Element<VariableReader> accepted_[] = {
        {"OUTCOME", &VariableReader::readOutcome},
        {"NAME", &VariableReader::readName},
        {"PROPERTY", &VariableReader::readProperty},
        {"VALUE", &VariableReader::readOutcome, "OUTCOME"},
        {"OUTCOMES", &VariableReader::readOutcome, "OUTCOME"},
        {"TYPE", &VariableReader::readType, "the attribute TYPE"},
    };

    Document& document_;
    Elements& elements_;
    const char* labelPlace_ = nullptr;  // of the name that the node was made with
    Bnode_bn& node_;
    ParserPos_kt place_;
};

/// Makes the node with the name that stands first in the variable, as in nearly all: to make up
/// another meanwhile takes a twentieth of the import.
Bnode_bn& VariableReader::newNode(Document& document) {
    Bnet_bn& net = document.net;
    if (elements_.tag().find("NAME") == nullptr) {
        const std::string_view label = PeekText(document.in(), "NAME");
        Bnode_bn* const named = NewLabeledNode(label, 2, net, {0, 0});
        if (named != nullptr) {
            labelPlace_ = label.data();
            return *named;
        }
    }
    rept_kt* error = nullptr;
    Bnode_bn* node = NewNode_ibn(nullptr, 2, net, {0, 0}, &error);
    if (node == nullptr) throw error != nullptr ? error : Fail_rept_kt;
    return *node;
}

/// Strictly read, the first attribute alone counts.
void VariableReader::readAttributes() {
    for (const XMLAttribute& attribute : elements_.tag().attributes) {
        const std::string name(attribute.name);
        if (name == "TYPE") {
            setKind(attribute.value);
        } else if (name == "NAME" && elements_.lenient) {
            elements_.noteOnce("VARIABLE NAME", msg::xmlbif.nameAttribute, variable.kind);
            setName(attribute.value);
        } else {
            elements_.in.reportUnknown(name, msg::xmlbif.unknownVariableAttribute, variable.kind,
                                       static_cast<int>(name.size()), name.c_str());
        }
        if (!elements_.lenient) break;
    }
}

void VariableReader::setKind(const std::string& type) {
    const Kind* known = std::ranges::find(kinds, type, &Kind::type);
    if (known == std::end(kinds) && elements_.lenient) {
        known = std::ranges::find_if(
            kinds, [&](const Kind& kind) { return streqli_kt(kind.type.data(), type.c_str()); });
        if (known != std::end(kinds))
            elements_.noteOnce(type, msg::xmlbif.otherCase, type.c_str(), known->type.data());
    }
    if (known != std::end(kinds)) {
        ThrowIfError(node_.setKind(known->kind));
    } else {
        elements_.in.reportUnknown(type, msg::xmlbif.unknownType, variable.kind,
                                   static_cast<int>(type.size()), type.c_str());
    }
}

/// XML BIF 0.2 has the type as an element, of which it knows but "discrete".
void VariableReader::readType() {
    const std::string_view type = elements_.readText();
    if (type != "discrete") setKind(std::string(type));
}

void VariableReader::setName(std::string_view name) {
    Parser_CString_kt& in = elements_.in;
    in.structName = nullptr;  // the label replaces what it points at
    ThrowIfError(SetNodeLabel(node_, DupStr_kt(name)));
    if (node_.title != nullptr) {
        Printf_kt("Node renamed:  %.200s  ->  %s   (but it is titled with the old name)\n",
                  node_.title, node_.name());
    }
    in.structName = Printable(node_.title) != nullptr ? node_.title : node_.name();
}

void VariableReader::readName() {
    const std::string_view name = elements_.readText();
    if (name.data() == labelPlace_)
        elements_.in.structName = node_.name();
    else
        setName(name);
}

void VariableReader::readOutcome() { document_.outcomes.emplace_back(elements_.readText()); }

constexpr std::string_view positionWord = "position";

bool EndsWord(char c) { return std::string_view(" =:\t\r\n").find(c) != std::string_view::npos; }

/// A property places the node when its first word is "position"; every other one is ignored.
void VariableReader::readProperty() {
    Parser_CString_kt& in = elements_.in;
    const ParserPos_kt start = in.getPos();
    std::string_view text = elements_.readText();
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    if (text.empty()) return;
    if (elements_.lenient && (EndsWord(text[0]) || text[0] == '(')) {
        in.setTokenStart(start);
        in.report(msg::xmlbif.namelessProperty);
    }
    const std::size_t length = positionWord.size();
    if (!text.starts_with(positionWord) || (text.size() > length && !EndsWord(text[length]))) {
        if (elements_.lenient) keepProperty(text, start);
        return;
    }
    struct ComesBack {
        Parser_CString_kt& in;
        ParserPos_kt place;
        ~ComesBack() { in.setPos(place); }
    };
    const ComesBack behind{in, in.getPos()};
    in.setPos(start);
    readPosition();
}

/// What is no position becomes a user field. One without a name was told.
void VariableReader::keepProperty(std::string_view text, ParserPos_kt place) {
    const std::size_t length = std::min(text.find_first_of(" =:\t\r\n"), text.size());
    if (length == 0 || text[0] == '(') return;
    const std::string name(text.substr(0, length));
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n", length), text.size()));
    if (text.starts_with('=') || text.starts_with(':')) text.remove_prefix(1);
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    text = text.substr(0, text.find_last_not_of(" \t\r\n") + 1);
    node_.setUserField(name.c_str(), text.data(), static_cast<int>(text.size()));
    elements_.in.setTokenStart(place);
    elements_.noteOnce("PROPERTY", msg::xmlbif.propertiesKept);
}

/// Passes over the word "position". False when markup stands before or within it.
bool PassPositionWord(Parser_CString_kt& in) {
    const char* const word = in.getPos();
    const std::size_t length = positionWord.size();
    if (std::strncmp(word, positionWord.data(), length) == 0 && EndsWord(word[length])) {
        in.setPos(word + length);
        return true;
    }
    strin_kt text;
    in.readToChar(" =:\t\r\n", text);
    return text.view() == positionWord;
}

void VariableReader::readPosition() {
    constexpr std::string_view cdataStart = "<![CDATA[";
    Parser_CString_kt& in = elements_.in;
    in.skipSpaces();
    if (std::strncmp(in.getPos(), cdataStart.data(), cdataStart.size()) == 0) {
        in.setPos(in.getPos() + cdataStart.size());
        in.skipSpaces();
    }
    if (!PassPositionWord(in)) return;
    in.skipSpaces();
    if (const char c = in.readChar(); c != '=' && c != ':') in.unreadChar(c);
    coord_kt point;
    ReadCoord(in, point);
    SetSafePosition(node_, point);
    ++in.positionCount;
}

/// Gives the node its states: intervals of a continuous variable, numeric values, or labels.
void VariableReader::setStates() {
    const NumericOutcomes numeric(document_.outcomes);
    const int count = static_cast<int>(document_.outcomes.size());
    const bool intervals = numeric.areIntervals();
    elements_.in.setTokenStart(place_);
    if (!intervals && !numeric.arePlain()) {
        numeric.warnOfMixture(elements_.in);
        warnOfEmptyOutcome();
        return ThrowIfError(
            SetStatesToLabels(node_, document_.outcomes, document_.options.createStateNamesXMLBIF));
    }
    if (intervals) {
        numeric.warnOfGaps(elements_.in);
        ThrowIfError(node_.setDiscrete(ContinuousVar));
    }
    double* levels = count == 0 ? nullptr : new double[static_cast<std::size_t>(numeric.values.N)];
    std::copy(numeric.values.begin(), numeric.values.end(), levels);
    ThrowIfError(node_.setStates(count, nullptr, levels));
}

void VariableReader::warnOfEmptyOutcome() const {
    int number = 0;
    for (const std::string& outcome : document_.outcomes) {
        ++number;
        if (outcome.find_first_not_of("'\"") != std::string::npos) continue;
        elements_.in.report(msg::xmlbif.emptyOutcome, number, node_.name());
        return;
    }
}

}  // namespace

void ReadVariable(Document& document) {
    const ParserContext context(document.in(), variable.kind);
    VariableReader reader(document);
    reader.rememberPlace();
    reader.readAttributes();
    reader.readContent();
    reader.setStates();
}

}  // namespace lumo::xmlbif
