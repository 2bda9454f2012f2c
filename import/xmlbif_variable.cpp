// VARIABLE elements of XML BIF: nodes with their kind, name, states and place.
#include <climits>
#include <cstring>
#include <optional>

#include "import/readers.h"
#include "import/xmlbif_document.h"
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
    explicit NumericOutcomes(const vect_kt<char*>& outcomes) : outcomes_(outcomes) { scan(); }

    /// As many as outcomes when all are plain numbers, one more when they are intervals, of which
    /// the last gives its upper bound too.
    vect_kt<double> values;

    bool areIntervals() const { return values.N == outcomes_.N + 1; }
    bool arePlain() const { return values.N == outcomes_.N; }
    /// Of intervals that do not follow each other.
    void warnOfGaps(Parser_CString_kt& in) const;
    /// Of labels some of which look like intervals.
    void warnOfMixture(Parser_CString_kt& in) const;

private:
    void scan();

    const vect_kt<char*>& outcomes_;
    std::vector<std::optional<double>> uppers_;  // of intervals, by outcome
};

void NumericOutcomes::scan() {
    bool intervals = false;  // from the first bracket on
    for (int i = 0; i < outcomes_.N; ++i) {
        const char* at = SkipQuote(outcomes_[i]);
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
        if (i < outcomes_.N - 1) continue;
        if (bounded)
            values.append(upper);
        else
            values.N = 0;
    }
}

/// Intervals follow each other from low to high. The first that do not are named.
void NumericOutcomes::warnOfGaps(Parser_CString_kt& in) const {
    const auto shown = [this](int i) { return Shown(outcomes_[i]); };
    for (int i = 0; i + 1 < outcomes_.N; ++i) {
        const double bound = values[i + 1];
        if (uppers_[static_cast<std::size_t>(i)] == bound) continue;
        in.report(msg::xmlbif.intervalsApart, shown(i).c_str(), shown(i + 1).c_str(), bound);
        break;
    }
    for (int i = 0; i < outcomes_.N; ++i) {
        if (values[i] < values[i + 1]) continue;
        in.report(msg::xmlbif.intervalFalls, shown(i).c_str(), values[i], values[i + 1]);
        break;
    }
}

bool IsInterval(const char* outcome) {
    const char* at = SkipQuote(outcome);
    double bound = 0;
    return (*at == '(' || *at == '[') && strtodouble2_kt(SkipBlanks(at + 1), &bound, &at) >= 0 &&
           ReadUpperBound(at, bound);
}

void NumericOutcomes::warnOfMixture(Parser_CString_kt& in) const {
    const auto* interval = std::ranges::find_if(outcomes_, IsInterval);
    if (interval == outcomes_.end()) return;
    const auto* other = std::ranges::find_if_not(outcomes_, IsInterval);
    if (other == outcomes_.end()) return;
    in.report(msg::xmlbif.notAllIntervals, Shown(*other).c_str(), Shown(*interval).c_str());
}

class VariableReader {
public:
    explicit VariableReader(Document& document)
        : document_(document),
          elements_(document.elements),
          node_(newNode(document.net)),
          place_(document.elements.tag().place) {}
    ~VariableReader() {
        for (char* outcome : document_.outcomes) delete[] outcome;
        document_.outcomes.N = 0;
    }
    VariableReader(const VariableReader&) = delete;
    VariableReader& operator=(const VariableReader&) = delete;

    void readAttributes();
    void readContent() { ReadContent(*this, elements_, variable, accepted_); }
    void setStates();

private:
    static Bnode_bn& newNode(Bnet_bn& net);
    void setName(std::string_view name);
    void setKind(const std::string& type);
    void readName();
    void readOutcome();
    void readProperty();
    void readType();
    void readPosition();
    void warnOfEmptyOutcome() const;
    char** takeOutcomes();

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
    Bnode_bn& node_;
    ParserPos_kt place_;
};

Bnode_bn& VariableReader::newNode(Bnet_bn& net) {
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
        ThrowIfError(node_.setKind(known->kind, CheckFull));
    } else {
        elements_.in.reportUnknown(type, msg::xmlbif.unknownType, variable.kind,
                                   static_cast<int>(type.size()), type.c_str());
    }
}

/// XML BIF 0.2 has the type as an element, of which it knows but "discrete".
void VariableReader::readType() {
    elements_.readText(document_.text);
    if (document_.text.view() != "discrete") setKind(std::string(document_.text.view()));
}

void VariableReader::setName(std::string_view name) {
    Parser_CString_kt& in = elements_.in;
    in.structName = nullptr;  // the label replaces what it points at
    ThrowIfError(SetNodeLabel(node_, DupStr_kt(std::string(name).c_str())));
    if (node_.title != nullptr) {
        Printf_kt("Node renamed:  %.200s  ->  %s   (but it is titled with the old name)\n",
                  node_.title, node_.name());
    }
    in.structName = Printable(node_.title) != nullptr ? node_.title : node_.name();
}

void VariableReader::readName() {
    elements_.readText(document_.text);
    setName(document_.text.view());
}

void VariableReader::readOutcome() {
    elements_.readText(document_.text);
    OwnedStr outcome(document_.text.newCopy());
    document_.outcomes.append(outcome.get());
    static_cast<void>(outcome.release());
}

/// A property places the node when its first word is "position"; every other one is ignored.
void VariableReader::readProperty() {
    Parser_CString_kt& in = elements_.in;
    const ParserPos_kt start = in.getPos();
    elements_.readText(document_.text);
    const std::string_view text(SkipBlanks(document_.text.getCStr()));
    const std::size_t length = std::strcspn(text.data(), " =:\t\r\n");
    if (!text.empty() && (length == 0 || text[0] == '(') && elements_.lenient) {
        in.setTokenStart(start);
        in.report(msg::xmlbif.namelessProperty);
    }
    if (text.substr(0, length) != "position") return;
    struct ComesBack {
        Parser_CString_kt& in;
        ParserPos_kt place;
        ~ComesBack() { in.setPos(place); }
    };
    const ComesBack behind{in, in.getPos()};
    in.setPos(start);
    readPosition();
}

void VariableReader::readPosition() {
    constexpr std::string_view cdataStart = "<![CDATA[";
    Parser_CString_kt& in = elements_.in;
    strin_kt& text = document_.text;
    in.skipSpaces();
    if (std::strncmp(in.getPos(), cdataStart.data(), cdataStart.size()) == 0) {
        in.setPos(in.getPos() + cdataStart.size());
        in.skipSpaces();
    }
    text.clear();
    in.readToChar(" =:\t\r\n", text);
    if (text.view() != "position") return;  // markup stands before or within the word
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
    const int count = document_.outcomes.N;
    const bool intervals = numeric.areIntervals();
    elements_.in.setTokenStart(place_);
    if (!intervals && !numeric.arePlain()) {
        numeric.warnOfMixture(elements_.in);
        warnOfEmptyOutcome();
        ThrowIfError(SetStatesToLabels(node_, takeOutcomes(), count,
                                       document_.options.createStateNamesXMLBIF));
        return;
    }
    if (intervals) {
        numeric.warnOfGaps(elements_.in);
        ThrowIfError(node_.setDiscrete(ContinuousVar, false, CheckFull));
    }
    double* levels = count == 0 ? nullptr : new double[static_cast<std::size_t>(numeric.values.N)];
    std::copy(numeric.values.begin(), numeric.values.end(), levels);
    ThrowIfError(node_.setStates(count, nullptr, levels, nullptr, nullptr, CheckFull));
}

void VariableReader::warnOfEmptyOutcome() const {
    for (int i = 0; i < document_.outcomes.N; ++i) {
        const std::string_view text = document_.outcomes[i];
        if (text.find_first_not_of("'\"") != std::string_view::npos) continue;
        elements_.in.report(msg::xmlbif.emptyOutcome, i + 1, node_.name());
        return;
    }
}

/// The outcome texts as an array of strings for the model to own.
char** VariableReader::takeOutcomes() {
    vect_kt<char*>& outcomes = document_.outcomes;
    char** labels = new char*[static_cast<std::size_t>(outcomes.N)];
    std::copy(outcomes.begin(), outcomes.end(), labels);
    outcomes.N = 0;
    return labels;
}

}  // namespace

void ReadVariable(Document& document) {
    const ParserContext context(document.in(), variable.kind);
    VariableReader reader(document);
    reader.readAttributes();
    reader.readContent();
    reader.setStates();
}

}  // namespace lumo::xmlbif
