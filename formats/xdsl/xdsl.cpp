// Reader of XDSL files. A document is one `smile` element: `nodes` holds an element for every node,
// named by its kind, with its states, parents and numbers; `extensions` how the network is drawn:
// titles, places, submodels. docs/xdsl.md describes the format.
//
// Whatever order the file has, nodes are made when their element ends, links and tables as soon as
// all parents are known, and what is drawn is applied at the end.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/shared/commas.h"
#include "formats/shared/judging.h"
#include "formats/shared/labels.h"
#include "formats/shared/readers.h"
#include "formats/shared/statewords.h"
#include "formats/xdsl/distribution.h"
#include "formats/xdsl/parts.h"
#include "formats/xdsl/xdsl.h"
#include "library/text/tokens.h"
#include "library/utilities/names.h"

namespace lumo {

namespace {

// ---- Node elements -------------------------------------------------------------------------

/// Reads what stands in the elements of nodes.
class NodeElements {
public:
    NodeElements(Parser_CString_kt& in, XMLReader& xml, NotKept& notKept)
        : in_(in), xml_(xml), notKept_(notKept) {}

    /// Reads the element entered last.
    void read(NodeValues& values) {
        values_ = &values;
        values.clear();
        values.element = xml_.tag().name;
        values.place = xml_.tag().place;
        marked_ = false;
        readAttributes();
        in_.structName = values.id.c_str();
        while (xml_.nextChild()) {
            const auto* known = std::ranges::find(elements_, xml_.tag().name, &Element::name);
            if (known == std::end(elements_)) {
                SkipUnknown(in_, xml_, values.element);
            } else {
                (this->*known->read)();
            }
        }
    }

private:
    struct Element {
        std::string_view name;
        void (NodeElements::*read)();
    };
    static const Element elements_[12];

    /// The marks of diagnosis and the like are user fields.
    void readAttributes() {
        for (const XMLAttribute& attribute : xml_.tag().attributes) {
            if (attribute.name == "id") {
                values_->id = attribute.value;
            } else if (attribute.name != "dynamic") {
                values_->fields.emplace_back(attribute.name, attribute.value);
            }
        }
        if (values_->id.empty()) in_.report(msg::xdsl.noId, values_->element.c_str());
    }

    void readState() {
        values_->states.emplace_back(xml_.attribute("id"));
        if (values_->states.back().empty()) in_.report(msg::xdsl.noId, "state");
        if (xml_.tag().attributes.size() > 1 && !std::exchange(marked_, true))
            notKept_.add(LossEN::stateMarks, values_->id);
        leave("state");
    }

    void readParents() {
        const ParserPos_kt place = xml_.tag().place;
        readWords(values_->parents);
        if (!values_->parents.empty()) return;
        xml_.reportAt(place);
        in_.report(msg::xdsl.emptyParents, Shown(values_->id).c_str());
    }
    /// Notes where the table stands, which a second one replaces.
    void startTable() {
        const ParserPos_kt place = xml_.tag().place;
        if (values_->numbersPlace != nullptr) {
            xml_.reportAt(place);
            in_.report(msg::import.tableAgain, Shown(values_->id).c_str());
        }
        values_->numbersPlace = place;
        values_->numbers.N = 0;
        values_->results.clear();
    }

    void readResults() {
        startTable();
        readWords(values_->results);
    }
    void readStrengths() { readWords(values_->strengths); }

    void readWords(Words& words) { AppendWords(xml_.takeText(room_), words); }

    void readNumbers() {
        startTable();
        values_->damaged = !xml_.readNumbers(values_->numbers);
        if (values_->numbers.N > 0) values_->exact = in_.exact.take(values_->numbers.N);
    }

    void readProperty() {
        const std::string name(xml_.attribute("id"));
        if (name.empty()) in_.report(msg::xdsl.noId, "property");
        const std::string_view text = xml_.takeText(room_);
        if (!name.empty()) values_->fields.emplace_back(name, text);
    }

    /// A formula is a user field of its element's name.
    void readFormula() {
        const std::string name(xml_.tag().name);
        if (name == "definition") {
            values_->lower = xml_.attribute("lower");
            values_->upper = xml_.attribute("upper");
        }
        const std::string_view text = xml_.takeText(room_);
        if (!text.empty()) values_->fields.emplace_back(name, text);
    }

    void readIntervals() {
        while (xml_.nextChild()) {
            if (xml_.tag().name != "interval") {
                SkipUnknown(in_, xml_, "discretization");
                continue;
            }
            values_->states.emplace_back(xml_.attribute("label"));
            values_->uppers.push_back(ReadBound(in_, xml_.attribute("upper"), HUGE_VAL));
            leave("interval");
        }
    }

    /// Leaves an element that should be empty.
    void leave(const char* name) {
        while (xml_.nextChild()) SkipUnknown(in_, xml_, name);
    }

    Parser_CString_kt& in_;
    XMLReader& xml_;
    NotKept& notKept_;
    NodeValues* values_ = nullptr;
    bool marked_ = false;  // a state of the node has marks
    strin_kt room_;        // of a text that had to be decoded
};

constexpr NodeElements::Element NodeElements::elements_[12] = {
    {"state", &NodeElements::readState},           {"parents", &NodeElements::readParents},
    {"probabilities", &NodeElements::readNumbers}, {"property", &NodeElements::readProperty},
    {"utilities", &NodeElements::readNumbers},     {"resultingstates", &NodeElements::readResults},
    {"strengths", &NodeElements::readStrengths},   {"parameters", &NodeElements::readNumbers},
    {"weights", &NodeElements::readFormula},       {"expression", &NodeElements::readFormula},
    {"definition", &NodeElements::readFormula},    {"discretization", &NodeElements::readIntervals},
};

// ---- Nodes ---------------------------------------------------------------------------------

/// Makes nodes of what their elements say.
class NodeMaker {
public:
    NodeMaker(Parser_CString_kt& in, Bnet_bn& net, NotKept& notKept)
        : in_(in), net_(net), notKept_(notKept) {}

    /// A kind of node, by the name of its element.
    struct Kind {
        std::string_view element;
        void (NodeMaker::*complete)(NodeValues& values);  ///< once it has its parents
        NodeKindEN kind;
        LossEN loss = LossEN::count;  ///< what is not kept of all such nodes
    };

    static const Kind* findKind(std::string_view element) {
        const auto found = std::ranges::find(kinds_, element, &Kind::element);
        return found == std::end(kinds_) ? nullptr : &*found;
    }

    /// The node without its links.
    void make(NodeValues& values) {
        const Kind& kind = *findKind(values.element);
        const bool named = !values.id.empty();
        rept_kt* refused = Fail_rept_kt;
        values.node = NewNode_ibn(named ? values.id.c_str() : nullptr, 2, net_, {0, 0}, &refused);
        if (values.node == nullptr) throw refused;
        RememberPlace(in_, *values.node);
        if (named && !IsLegalName_kt(values.id)) {
            values.node->setTitle(values.id);
            notKept_.add(LossEN::otherIds, values.id);
        }
        for (const auto& [name, text] : values.fields)
            if (!isDistribution(values, name)) keepField(values, name, text);
        if (kind.loss != LossEN::count) notKept_.add(kind.loss, values.node->name());
        if (kind.kind != NatureNode) ThrowIfError(values.node->setKind(kind.kind));
        if (kind.kind == UtilityNode || values.element == "equation") {
            ThrowIfError(values.node->setDiscrete(ContinuousVar));
            setIntervals(values);
        } else {
            setStates(values);
        }
    }

    /// Links the node and gives it its table. False when some parents are still to come.
    bool link(NodeValues& values) {
        parents_.N = 0;
        for (const std::string& id : values.parents) {
            Bnode_bn* const parent = net_.findNodeLabeled(id);
            if (parent == nullptr) return false;
            parents_.append(parent);
        }
        linkFound(values, true);
        return true;
    }

    /// Links a node that waited to what parents there are.
    void linkLate(NodeValues& values) {
        parents_.N = 0;
        in_.structName = values.node->name();
        in_.setTokenStart(values.place);
        for (const std::string& id : values.parents) {
            Bnode_bn* const parent = net_.findNodeLabeled(id);
            if (parent == nullptr)
                in_.report(msg::xdsl.unknownParent, Shown(id).c_str(), values.node->name());
            else
                parents_.append(parent);
        }
        linkFound(values, parents_.N == static_cast<int>(values.parents.size()));
    }

    /// Says how many nodes lack the numbers that their kind has.
    void judge() {
        if (withoutTable_ > 0)
            in_.report(msg::xdsl.noTable, withoutTable_, net_.nodes.N, firstWithout_->name());
    }

private:
    static const Kind kinds_[11];

    void linkFound(NodeValues& values, bool complete) {
        in_.structName = values.node->name();
        in_.setTokenStart(values.place);
        rept_kt* const report = values.node->changePreds(parents_);
        in_.setError(report);
        keepFormula(values);
        if (!complete || IsError(report)) return;
        if (values.numbersPlace != nullptr) in_.setTokenStart(values.numbersPlace);
        try {
            (this->*findKind(values.element)->complete)(values);
        } catch (rept_kt* error) {
            in_.setError(error);
        }
    }

    void setStates(NodeValues& values) {
        Bnode_bn& node = *values.node;
        ThrowIfError(SetStatesToLabels(node, values.states, false));
        node.variable.titlesAreIds = node.variable.stateTitles != nullptr &&
                                     std::ranges::all_of(values.states, IsStateId) &&
                                     AreDistinct(values.states);
    }

    static void keepField(NodeValues& values, const std::string& name, const std::string& text) {
        values.node->setUserField(name.c_str(), text.data(), static_cast<int>(text.size()));
    }

    /// Whether the field may be what a formula was made of: that waits for the parents.
    static bool isDistribution(const NodeValues& values, std::string_view name) {
        return name == "definition" && values.element == "equation" &&
               std::ranges::any_of(values.fields, [](const auto& f) { return f.first == "data"; });
    }

    /// Keeps a formula that waited, unless the node's distributions say the same.
    static void keepFormula(NodeValues& values) {
        const auto idsOf = [](const Bnode_bn& node) {
            Texts ids;
            StateLabels(node.variable, ids);
            char* const* const names = node.variable.stateNames;
            for (std::size_t i = 0; names != nullptr && i < ids.size(); ++i) ids[i] = names[i];
            return ids;
        };
        for (const auto& [name, text] : values.fields) {
            if (!isDistribution(values, name)) continue;
            const auto data = std::ranges::find(values.fields, "data",
                                                &std::pair<std::string, std::string>::first);
            if (FormulaOf(*values.node, data->second, idsOf) != text) keepField(values, name, text);
        }
    }

    /// The bounds of a formula that no interval has are user fields.
    void keepBounds(const NodeValues& values, bool hasLower, bool hasUpper) {
        const auto keep = [&](const char* name, const std::string& text, bool isHeld) {
            if (isHeld || !std::isfinite(ReadBound(in_, text, HUGE_VAL))) return;
            values.node->setUserField(name, text.data(), static_cast<int>(text.size()));
        };
        keep("lower", values.lower, hasLower);
        keep("upper", values.upper, hasUpper);
    }

    /// The intervals of a continuous node, and their bounds when all between them are finite.
    void setIntervals(NodeValues& values) {
        const int count = static_cast<int>(values.uppers.size());
        if (count == 0) return keepBounds(values, false, false);
        std::vector<double> bounds{ReadBound(in_, values.lower, -HUGE_VAL)};
        bounds.insert(bounds.end(), values.uppers.begin(), values.uppers.end());
        const bool finite = std::all_of(bounds.begin() + 1, bounds.end() - 1,
                                        [](double b) { return std::isfinite(b); });
        keepBounds(values, finite,
                   finite && ReadBound(in_, values.upper, bounds.back()) == bounds.back());
        double* const levels = finite ? new double[bounds.size()] : nullptr;
        if (finite) std::ranges::copy(bounds, levels);
        ThrowIfError(values.node->setStates(count, nullptr, levels));
        UniqueNames_kt taken;
        for (int i = 0; i < count; ++i) {
            const std::string& label = values.states[static_cast<std::size_t>(i)];
            if (!IsLegalName_kt(label) || taken.contains(label)) continue;
            taken.add(label);
            values.node->setStateName(i, DupStr_kt(label.c_str()));
        }
    }

    // ---- Tables

    /// Whether the file has as many numbers as wanted; reports when not.
    bool checkCount(const NodeValues& values, long long wanted, long long count) {
        if (values.numbersPlace == nullptr) {
            if (withoutTable_++ == 0) firstWithout_ = values.node;
            return false;
        }
        if (values.damaged) return false;
        if (count == wanted) return true;
        TellDecimalCommas(in_, values.numbersPlace, values.node->name(), wanted, count);
        in_.report(msg::xdsl.wrongCount, values.node->name(), wanted, count);
        return false;
    }

    void installTable(NodeValues& values) {
        Bnode_bn& node = *values.node;
        const int wanted = NumProduct(node.kind == UtilityNode ? node.parents : node.family);
        if (!checkCount(values, wanted, values.numbers.N)) return;
        XArray<float> table = values.numbers.takeLong();
        if (table == nullptr) {
            table = NewTable<float>(wanted, node);
            std::copy_n(values.numbers.begin(), wanted, table.get());
        }
        ThrowIfError(node.setTable(std::move(table), std::move(values.exact)));
        node.checkRowSums();
    }

    /// A state for each combination of the parents' states.
    void installResults(NodeValues& values) {
        Bnode_bn& node = *values.node;
        const long long rows = NumProduct(node.parents);
        if (!checkCount(values, rows, static_cast<long long>(values.results.size()))) return;
        charge(NumProduct(node.family));
        XArray<float> table = NewTable<float>(rows * node.numStates(), node);
        float* row = table.get();
        for (const std::string& id : values.results) {
            const int state = words_.find(node, id);
            if (state < 0) throw in_.report(msg::xdsl.unknownState, Shown(id).c_str(), node.name());
            std::fill_n(row, node.numStates(), 0.0F);
            row[state] = 1;
            row += node.numStates();
        }
        ThrowIfError(node.setProbsTable(table.release()));
        node.relation.makeDeterminFromProbs();
        node.relation.saidDeterministic = true;
    }

    void installNoisyMax(NodeValues& values) {
        Bnode_bn& node = *values.node;
        long long columns = 1;
        for (const Bnode_bn* parent : node.parents) columns += parent->numStates();
        if (!checkCount(values, columns * node.numStates(), values.numbers.N)) return;
        charge(NumProduct(node.family));
        const std::optional<NoisyMax> read = ReadNoisyMax(in_, values);
        if (!read) return;
        const double* const parameters = read->parameters.data();
        if (IsError(node.makeIntoNoisyMax(parameters, read->order.data(), false)))
            installExpanded(node, *read);
    }

    /// The table of parameters that are no distributions as they stand.
    void installExpanded(Bnode_bn& node, const NoisyMax& read) {
        notKept_.add(LossEN::noisyMax, node.name());
        const int entries = NumProduct(node.family);
        XArray<double> exact = NewTable<double>(entries, node);
        XArray<float> table = NewTable<float>(entries, node);
        ExpandNoisyMax(node, read.parameters.data(), read.order.data(), exact.get());
        std::copy_n(exact.get(), entries, table.get());
        if (AreHeldByFloats(exact.get(), table.get(), entries)) exact.reset();
        ThrowIfError(node.setTable(std::move(table), std::move(exact)));
        node.checkRowSums();
    }

    void leaveWithout(NodeValues&) {}

    void checkWeights(NodeValues& values) {
        Words weights;
        for (const auto& [name, text] : values.fields)
            if (name == "weights") AppendWords(text, weights);
        const int count = static_cast<int>(weights.size());
        const int parents = values.node->parents.N;
        if (count > 0 && count != parents)
            in_.report(msg::xdsl.weightCount, values.node->name(), count, parents);
    }

    void charge(long long entries) { Charge(in_, entries, msg::xdsl.tooMuchToFill); }

    Parser_CString_kt& in_;
    Bnet_bn& net_;
    NotKept& notKept_;
    StateWords words_;
    BndList_bn parents_;
    int withoutTable_ = 0;
    const Bnode_bn* firstWithout_ = nullptr;
};

constexpr NodeMaker::Kind NodeMaker::kinds_[11] = {
    {"cpt", &NodeMaker::installTable, NatureNode},
    {"deterministic", &NodeMaker::installResults, NatureNode},
    {"truthtable", &NodeMaker::installResults, NatureNode},
    {"noisymax", &NodeMaker::installNoisyMax, NatureNode},
    {"decision", &NodeMaker::leaveWithout, DecisionNode},
    {"utility", &NodeMaker::installTable, UtilityNode},
    {"mau", &NodeMaker::checkWeights, UtilityNode, LossEN::sums},
    {"maux", &NodeMaker::checkWeights, UtilityNode, LossEN::sums},
    {"equation", &NodeMaker::leaveWithout, NatureNode, LossEN::equations},
    {"noisyadder", &NodeMaker::leaveWithout, NatureNode, LossEN::gates},
    {"demorgan", &NodeMaker::leaveWithout, NatureNode, LossEN::gates},
};

// ---- The document --------------------------------------------------------------------------

class XdslReader {
public:
    XdslReader(Parser_CString_kt& in, Bnet_bn& net, Vnet_kt& drawing)
        : in_(in),
          drawing_(drawing),
          xml_(in),
          elements_(in, xml_, notKept_),
          maker_(in, net, notKept_),
          drawn_(in, xml_, net, notKept_),
          net_(net) {}

    void read() {
        if (!xml_.nextChild()) throw in_.report(msg::xdsl.notXdsl, "");
        if (xml_.tag().name != "smile") {
            xml_.reportAt(xml_.tag().place);
            throw in_.report(msg::xdsl.notXdsl, Shown(xml_.tag().name).c_str());
        }
        const ParserPos_kt root = xml_.tag().place;
        readAttributes();
        while (xml_.nextChild()) {
            const auto* known = std::ranges::find(sections_, xml_.tag().name, &Section::name);
            if (known == std::end(sections_)) {
                SkipUnknown(in_, xml_, "smile");
            } else {
                (this->*known->read)();
            }
        }
        xml_.nextChild();  // past what follows the root
        in_.isAtEnd();
        if (!sawNodes_) throw in_.report(msg::xdsl.noNodes);
        finish(root);
    }

private:
    struct Section {
        std::string_view name;
        void (XdslReader::*read)();
    };
    static const Section sections_[6];

    void readAttributes() {
        const std::string id(xml_.attribute("id"));
        if (!id.empty()) SetNetLabel(net_, DupStr_kt(id.c_str()));
        if (IsLegalName_kt(id)) {
            const OwnedStr old(std::exchange(net_.name, DupStr_kt(id.c_str())));
        }
        for (const XMLAttribute& attribute : xml_.tag().attributes)
            if (attribute.name != "id" && attribute.name != "version")
                notKept_.add(LossEN::samplingSettings, attribute.name);
    }

    void readNodes() {
        sawNodes_ = true;
        const ParserContext context(in_, "node");
        while (xml_.nextChild()) {
            if (NodeMaker::findKind(xml_.tag().name) == nullptr) {
                SkipUnknown(in_, xml_, "nodes");
                continue;
            }
            readNode();
            in_.structName = nullptr;
            in_.checkError();
        }
    }

    /// Reads a node; one with parents that are still to come waits for them.
    void readNode() {
        elements_.read(values_);
        const ParserPos_kt here = in_.tokenStart();
        in_.setTokenStart(values_.place);
        try {
            maker_.make(values_);
        } catch (rept_kt* report) {
            in_.setError(report);
            if (values_.node == nullptr) return;
        }
        if (!maker_.link(values_)) {
            waiting_.push_back(std::move(values_));
            values_ = NodeValues();
        }
        in_.setTokenStart(here);
    }

    /// Definitions of later slices: only counted.
    void readDynamic() {
        const std::string slices(xml_.attribute("numslices"));
        const ParserPos_kt place = xml_.tag().place;
        int count = 0;
        std::string first;
        while (xml_.nextChild()) {
            if (count++ == 0) first = xml_.attribute("id");
            xml_.skipElement();
        }
        xml_.reportAt(place);
        if (count > 0)
            in_.report(msg::xdsl.temporal, count, Shown(slices).c_str(), Shown(first).c_str());
    }

    void readProperty() {
        notKept_.add(LossEN::networkProperties, xml_.attribute("id"));
        xml_.skipElement();
    }

    void readCases() {
        notKept_.add(LossEN::cases);
        xml_.skipElement();
    }

    void readCosts() {
        notKept_.add(LossEN::observationCosts);
        xml_.skipElement();
    }

    void readExtensions() {
        while (xml_.nextChild()) {
            if (xml_.tag().name == "genie") {
                drawn_.read();
            } else {
                SkipUnknown(in_, xml_, "extensions");
            }
        }
    }

    void finish(ParserPos_kt root) {
        const ParserContext context(in_, "node");
        for (NodeValues& values : waiting_) {
            maker_.linkLate(values);
            in_.checkError();
        }
        in_.structName = nullptr;
        drawn_.apply(drawing_);
        xml_.reportAt(root);
        maker_.judge();
        JudgeNodes(in_, net_, [](const Bnode_bn&) { return true; });
        notKept_.report(in_);
    }

    Parser_CString_kt& in_;
    Vnet_kt& drawing_;
    NotKept notKept_;
    XMLReader xml_;
    NodeElements elements_;
    NodeMaker maker_;
    DrawnNet drawn_;
    Bnet_bn& net_;
    NodeValues values_;
    std::vector<NodeValues> waiting_;
    bool sawNodes_ = false;
};

constexpr XdslReader::Section XdslReader::sections_[6] = {
    {"nodes", &XdslReader::readNodes},           {"dynamic", &XdslReader::readDynamic},
    {"property", &XdslReader::readProperty},     {"cases", &XdslReader::readCases},
    {"observationcost", &XdslReader::readCosts}, {"extensions", &XdslReader::readExtensions},
};

}  // namespace

rept_kt* ParseXdslFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                       const ReadOptions&) {
    const std::unique_ptr<short[]> charProps(MakeXMLCharProps());
    ParserOptions_kt options;
    options.charProps = charProps.get();
    options.commentChar1 = options.commentChar2 = '/';
    options.xmlComments = options.xmlText = true;
    Parser_CString_kt in(&options, channel);
    in.reserved = in.bytesLeft() + MaxTableEntries;
    ReadToTheEnd(in, [&] { XdslReader(in, net, drawing).read(); });
    in.checkError();
    return in.curReport;
}

}  // namespace lumo
