#include "formats/xdsl/xdsl.h"

#include <algorithm>
#include <climits>
#include <queue>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "formats/shared/keeping.h"
#include "formats/shared/labels.h"
#include "formats/shared/rows.h"
#include "formats/shared/xmlout.h"
#include "formats/xdsl/distribution.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr int largestUniform = 1 << 20;         // numbers of a table that says nothing
constexpr int halfWidth = 38, halfHeight = 18;  // of a node's rectangle
constexpr coord_kt corner{60, 40};              // of the drawing in the file
constexpr std::string_view defaultColor = "e5f6f7";

// ---- Texts ---------------------------------------------------------------------------------

/// Line breaks and tabs as the texts of the format spell them.
std::string Escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        const char letter = c == '\n' ? 'n' : c == '\t' ? 't' : c == '\\' ? '\\' : '\0';
        if (letter != '\0') out += '\\';
        out += letter != '\0' ? letter : c;
    }
    return out;
}

bool ComesBack(std::string_view text) { return XmlComesBack(Escaped(text)); }

/// The user field of that name; null when the node has none.
const UserField* FieldOf(const Bnode_bn& node, std::string_view name) {
    const auto& fields = node.userFields();
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [name](const UserField& field) { return field.name == name; });
    return found == fields.end() ? nullptr : &*found;
}

bool KeepsField(const UserField& field) {
    return IsLegalName_kt(field.name) && XmlComesBack(FieldText(field)) &&
           FieldText(field).find('\0') == std::string_view::npos;
}

// ---- Nodes ---------------------------------------------------------------------------------

/// What a node is written as.
enum class ElementEN : unsigned char {
    none,
    cpt,
    deterministic,
    noisyMax,
    decision,
    utility,
    mau,
    equation
};

constexpr const char* elementNames[] = {"",         "cpt",     "deterministic", "noisymax",
                                        "decision", "utility", "mau",           "equation"};

/// Whether the node is a noisy-max whose last state is the weakest, as the format has it.
bool IsNoisyMax(const Bnode_bn& node) {
    const int* const order = node.relation.order;
    if (node.relation.kind != RelnKindEN::noisyMax || order == nullptr) return false;
    return std::is_sorted(order, order + node.numStates(), std::greater<>());
}

/// A sum or formula of utilities, as the file had it.
const UserField* FormulaOf(const Bnode_bn& node) {
    if (node.relation.kind != RelnKindEN::none) return nullptr;
    for (const char* name : {"weights", "expression"})
        if (const UserField* field = FieldOf(node, name)) return field;
    return nullptr;
}

/// The formula of a continuous node, as the file had it.
const UserField* DefinitionOf(const Bnode_bn& node) {
    const UserField* const field = FieldOf(node, "definition");
    const bool isFormula = field != nullptr && KeepsField(*field) && !FieldText(*field).empty();
    return isFormula ? field : nullptr;
}

ElementEN ElementOf(const Bnode_bn& node) {
    if (node.kind == UtilityNode) {
        const UserField* const formula = FormulaOf(node);
        return formula != nullptr && KeepsField(*formula) ? ElementEN::mau : ElementEN::utility;
    }
    const bool isNature = node.kind == NatureNode;
    const bool isContinuous = isNature && !node.variable.discrete;
    if (isContinuous && node.relation.kind == RelnKindEN::none && DefinitionOf(node) != nullptr)
        return ElementEN::equation;
    // Without a formula it keeps its links, and those of its children.
    if (node.numStates() == 0) return isContinuous ? ElementEN::equation : ElementEN::none;
    if (!isNature) return ElementEN::decision;
    if (IsNoisyMax(node)) return ElementEN::noisyMax;
    // Few other programs know the element: a table of zeros and ones stays a table.
    const bool isFunction =
        node.relation.kind == RelnKindEN::deterministic && node.relation.saidDeterministic;
    return isFunction ? ElementEN::deterministic : ElementEN::cpt;
}

/// A nature node's element other than that of a table.
bool IsOtherTable(ElementEN element) {
    return element == ElementEN::deterministic || element == ElementEN::noisyMax;
}

bool HasBounds(const Varbl_bn& variable) {
    return variable.levels != nullptr && variable.numLevels == variable.numStates + 1;
}

/// The user field that bounds a formula, where it says something else than the intervals do.
const UserField* BoundOf(const Bnode_bn& node, const char* name) {
    const UserField* const field = FieldOf(node, name);
    double bound = 0;
    const char* end = nullptr;
    const bool isNumber =
        field != nullptr && strtodouble2_kt(field->data.c_str(), &bound, &end) >= 0 && *end == 0;
    return isNumber ? field : nullptr;
}

/// Whether the field is written as an attribute of the node's element: the marks of diagnosis are.
bool IsAttribute(const UserField& field) {
    constexpr std::pair<std::string_view, std::string_view> values[] = {
        {"diagtype", " target observation auxiliary "},
        {"ranked", " true false "},
        {"mandatory", " true false "},
        {"target", " true false "}};
    const auto* const known =
        std::ranges::find(values, std::string_view(field.name),
                          &std::pair<std::string_view, std::string_view>::first);
    return known != std::end(values) && !field.data.empty() &&
           known->second.find(" " + field.data + " ") != std::string_view::npos;
}

/// Whether the field has a place of its own in the element, and is no property.
bool HasPlaceOfItsOwn(const Bnode_bn& node, ElementEN element, const UserField& field) {
    if (IsAttribute(field)) return true;
    if (element == ElementEN::mau) return &field == FormulaOf(node);
    if (element != ElementEN::equation) return false;
    return &field == DefinitionOf(node) || &field == BoundOf(node, "lower") ||
           &field == BoundOf(node, "upper");
}

/// The nodes, parents before children, else in the net's order.
std::vector<const Bnode_bn*> ParentsFirst(const Bnet_bn& net) {
    std::unordered_map<const Bnode_bn*, int> places;
    std::vector<int> waits(static_cast<std::size_t>(net.nodes.N));
    std::vector<std::vector<int>> children(waits.size());
    std::priority_queue<int, std::vector<int>, std::greater<>> ready;
    for (int i = 0; i < net.nodes.N; ++i) places.emplace(net.nodes[i], i);
    for (int i = 0; i < net.nodes.N; ++i) {
        for (const Bnode_bn* parent : net.nodes[i]->parents)
            children[static_cast<std::size_t>(places.at(parent))].push_back(i);
        waits[static_cast<std::size_t>(i)] = net.nodes[i]->parents.N;
        if (net.nodes[i]->parents.N == 0) ready.push(i);
    }
    std::vector<const Bnode_bn*> nodes;
    while (!ready.empty()) {
        const int next = ready.top();
        ready.pop();
        nodes.push_back(net.nodes[next]);
        for (const int child : children[static_cast<std::size_t>(next)])
            if (--waits[static_cast<std::size_t>(child)] == 0) ready.push(child);
    }
    return nodes;
}

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net)
        : placing_(*net.vnets[0], 1.0, false), tables_(net), colors_(NodesetColors(net)) {
        elements_.reserve(static_cast<std::size_t>(net.nodes.N));
        for (const Bnode_bn* node : net.nodes) elements_.emplace(node, ElementOf(*node));
        findDistributions(net);
        for (auto& [node, element] : elements_)
            if (IsOtherTable(element) && !hasTable(*node)) element = ElementEN::cpt;
        for (const auto& set : net.nodesets()) legalSets_.push_back(IsLegalName_kt(set->name()));
    }

    const Placing& placing() const { return placing_; }
    const Tables& tables() const { return tables_; }
    const std::vector<RGB>& colors() const { return colors_; }
    bool keepsSet(int place) const { return legalSets_[static_cast<std::size_t>(place)]; }
    ElementEN element(const Bnode_bn& node) const { return elements_.at(&node); }
    bool isWritten(const Bnode_bn& node) const { return element(node) != ElementEN::none; }
    /// The formula of an equation; empty when none is known.
    std::string_view formula(const Bnode_bn& node) const {
        const auto made = formulas_.find(&node);
        if (made != formulas_.end()) return made->second;
        const UserField* const given = DefinitionOf(node);
        return given != nullptr ? FieldText(*given) : std::string_view();
    }

    /// Whether the ids are the states' titles, as the file had them.
    bool hasTitlesAsIds(const Bnode_bn& node) const {
        if (!node.variable.titlesAreIds) return false;
        StateLabels(node.variable, states_);
        return AreDistinct(states_) && std::ranges::all_of(states_, XmlValueComesBack);
    }

    /// Ids of the states: their names, or legal ones made of their labels; valid until the next
    /// call.
    const Texts& states(const Bnode_bn& node) const {
        if (hasTitlesAsIds(node)) return states_;
        StateLabels(node.variable, states_);
        char* const* const names = node.variable.stateNames;
        for (std::size_t i = 0; names != nullptr && i < states_.size(); ++i)
            if (names[i] != nullptr) states_[i] = names[i];
        if (AreStateNames(states_)) return states_;
        const OwnedStrs made(
            MakeLegalUniqueNames_kt(Pointers(states_).data(), node.numStates(), 's'),
            node.numStates());
        states_.assign(made.get(), made.get() + made.count());
        return states_;
    }

    bool hasAllParents(const Bnode_bn& node) const {
        return std::all_of(node.parents.begin(), node.parents.end(),
                           [this](const Bnode_bn* parent) { return isWritten(*parent); });
    }
    /// Rows of a table that is indexed by the parents which are written; 0 when they cannot.
    int rows(const Bnode_bn& node) const {
        long long rows = 1;
        for (const Bnode_bn* parent : node.parents)
            if (isWritten(*parent))
                rows = std::min<long long>(
                    rows * (parent->kind == UtilityNode ? 0 : parent->numStates()), INT_MAX);
        return static_cast<int>(rows);
    }
    bool hasTable(const Bnode_bn& node) const {
        const ElementEN element = this->element(node);
        if (!tables_.has(node) || !hasAllParents(node) || rows(node) == 0) return false;
        const bool isReal = node.relation.kind == RelnKindEN::real;
        if (element == ElementEN::utility) return isReal && node.numStates() <= 1;
        return !isReal && (element == ElementEN::cpt || IsOtherTable(element));
    }
    /// Whether the node gets a uniform table, which the format demands.
    bool isUniform(const Bnode_bn& node) const {
        if (element(node) != ElementEN::cpt || hasTable(node)) return false;
        const long long entries = 1LL * rows(node) * node.numStates();
        return entries > 0 && entries <= largestUniform;
    }

private:
    /// Tells the distributions of continuous nodes as formulas, where they can be.
    void findDistributions(const Bnet_bn& net) {
        for (const Bnode_bn* node : ParentsFirst(net)) {
            const UserField* const data = FieldOf(*node, "data");
            if (data == nullptr || element(*node) != ElementEN::equation ||
                node->numStates() != 0 || FieldOf(*node, "definition") != nullptr ||
                !KeepsField(*data) || !hasAllParents(*node))
                continue;
            std::string formula = FormulaOf(*node, FieldText(*data),
                                            [this](const Bnode_bn& of) { return states(of); });
            if (formula.empty()) continue;
            formulas_.emplace(node, std::move(formula));
        }
    }

    Placing placing_;
    Tables tables_;
    std::vector<RGB> colors_;
    std::unordered_map<const Bnode_bn*, std::string> formulas_;
    std::vector<bool> legalSets_;
    std::unordered_map<const Bnode_bn*, ElementEN> elements_;
    mutable Texts states_;
};

// ---- What is kept --------------------------------------------------------------------------

bool KeepsStateNames(const Plan& plan, const Bnode_bn& node) {
    const ElementEN element = plan.element(node);
    return element != ElementEN::utility && element != ElementEN::mau &&
           !plan.hasTitlesAsIds(node) && AreKept(node.variable.stateNames, plan.states(node));
}

bool KeepsBounds(const Plan& plan, const Bnode_bn& node) {
    return plan.element(node) == ElementEN::equation && HasBounds(node.variable);
}

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node, [](const Plan& plan, const Bnode_bn& node) { return plan.isWritten(node); }},
    {FeatureEN::name},
    {FeatureEN::title, [](const Plan&, const Bnode_bn& node) { return ComesBack(node.title); }},
    {FeatureEN::comment, [](const Plan&, const Bnode_bn& node) { return ComesBack(node.comment); }},
    {FeatureEN::kind},
    {FeatureEN::continuous,
     [](const Plan& plan, const Bnode_bn& node) {
         return plan.element(node) == ElementEN::equation;
     }},
    {FeatureEN::utilityForm,
     [](const Plan&, const Bnode_bn& node) {
         return !node.variable.discrete && node.numStates() == 0;
     }},
    {FeatureEN::stateNames, KeepsStateNames},
    {FeatureEN::unnamedStates,
     [](const Plan& plan, const Bnode_bn& node) { return plan.hasTitlesAsIds(node); }},
    {FeatureEN::stateTitles,
     [](const Plan& plan, const Bnode_bn& node) { return plan.hasTitlesAsIds(node); }},
    {FeatureEN::untitledStates},
    {FeatureEN::levels, KeepsBounds},
    {FeatureEN::position},
    {FeatureEN::exactPosition,
     [](const Plan& plan, const Bnode_bn& node) { return plan.placing().isExact(node); }},
    {FeatureEN::groups,
     [](const Plan&, const Bnode_bn& node) {
         return node.nodesets().size() == 1 && IsLegalName_kt(node.nodesets().front()->name());
     }},
    {FeatureEN::userFields,
     [](const Plan&, const Bnode_bn& node) {
         return std::all_of(node.userFields().begin(), node.userFields().end(), KeepsField);
     }},
    {FeatureEN::parents,
     [](const Plan& plan, const Bnode_bn& node) { return plan.hasAllParents(node); }},
    {FeatureEN::noTable,
     [](const Plan& plan, const Bnode_bn& node) { return !plan.isUniform(node); }},
    {FeatureEN::table, [](const Plan& plan, const Bnode_bn& node) { return plan.hasTable(node); }},
    {FeatureEN::exactTable},
    {FeatureEN::deterministic,
     [](const Plan& plan, const Bnode_bn& node) {
         return plan.element(node) == ElementEN::deterministic;
     }},
    {FeatureEN::zeroOneTable},
    {FeatureEN::parameters,
     [](const Plan& plan, const Bnode_bn& node) {
         return plan.element(node) == ElementEN::noisyMax;
     }},
};

constexpr Kept<Plan, int> keptOfGroups[] = {
    {FeatureEN::group, [](const Plan& plan, const int& group) { return plan.keepsSet(group); }},
    {FeatureEN::color}};

constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::netTitle,
     [](const Plan&, const Bnet_bn& net) { return XmlValueComesBack(Escaped(net.title)); }},
    {FeatureEN::netComment, [](const Plan&, const Bnet_bn& net) { return ComesBack(net.comment); }},
    {FeatureEN::margin,
     [](const Plan& plan, const Bnet_bn& net) {
         return plan.placing().keepsMargin() &&
                std::all_of(net.nodes.begin(), net.nodes.end(),
                            [&](const Bnode_bn* node) { return plan.isWritten(*node); });
     }},
};

// ---- Writing nodes -------------------------------------------------------------------------

class NodesWriter {
public:
    NodesWriter(TextOut& out, const Plan& plan) : out_(out), plan_(plan) {}

    void write(const Bnode_bn& node) {
        const ElementEN element = plan_.element(node);
        const char* const name = elementNames[static_cast<int>(element)];
        out_ << "\t\t<" << name << " id=\"" << node.name() << '"';
        for (const UserField& field : node.userFields())
            if (IsAttribute(field)) out_ << ' ' << field.name << "=\"" << field.data << '"';
        out_ << ">\n";
        if (element != ElementEN::equation && node.kind != UtilityNode) writeStates(node);
        writeParents(node);
        writeFields(node, element);
        switch (element) {
            case ElementEN::equation:
                writeEquation(node);
                break;
            case ElementEN::mau:
                writeField(node, FormulaOf(node)->name);
                break;
            case ElementEN::noisyMax:
                writeNoisyMax(node);
                break;
            case ElementEN::deterministic:
                if (plan_.hasTable(node)) writeResults(node);
                break;
            default:
                writeTable(node);
        }
        out_ << "\t\t</" << name << ">\n";
    }

private:
    void writeStates(const Bnode_bn& node) {
        for (const std::string& id : plan_.states(node))
            WriteXmlValue(out_ << "\t\t\t<state id=\"", id), out_ << "\" />\n";
    }

    void writeParents(const Bnode_bn& node) {
        const char* separator = "\t\t\t<parents>";
        for (const Bnode_bn* parent : node.parents) {
            if (!plan_.isWritten(*parent)) continue;
            out_ << separator << parent->name();
            separator = " ";
        }
        if (*separator == ' ') out_ << "</parents>\n";
    }

    void writeFields(const Bnode_bn& node, ElementEN element) {
        for (const UserField& field : node.userFields()) {
            if (!KeepsField(field) || HasPlaceOfItsOwn(node, element, field)) continue;
            out_ << "\t\t\t<property id=\"" << field.name << "\">";
            WriteXmlContent(out_, FieldText(field));
            out_ << "</property>\n";
        }
    }

    void writeField(const Bnode_bn& node, std::string_view name) {
        out_ << "\t\t\t<" << name << '>';
        WriteXmlContent(out_, FieldText(*FieldOf(node, name)));
        out_ << "</" << name << ">\n";
    }

    void writeEquation(const Bnode_bn& node) {
        const Varbl_bn& variable = node.variable;
        const bool bounded = HasBounds(variable);
        const auto writeBound = [&](const char* name, int level, const char* none) {
            out_ << ' ' << name << "=\"";
            if (const UserField* const field = BoundOf(node, name))
                out_ << FieldText(*field);
            else
                bounded ? out_ << variable.levels[level] : out_ << none;
            out_ << '"';
        };
        out_ << "\t\t\t<definition";
        writeBound("lower", 0, "-inf");
        writeBound("upper", variable.numStates, "inf");
        out_ << '>';
        WriteXmlContent(out_, plan_.formula(node));
        out_ << "</definition>\n";
        if (variable.numStates == 0) return;
        out_ << "\t\t\t<discretization>\n";
        char* const* const names = variable.stateNames;
        for (int i = 0; i < variable.numStates; ++i) {
            out_ << "\t\t\t\t<interval ";
            if (names != nullptr && names[i] != nullptr) out_ << "label=\"" << names[i] << "\" ";
            out_ << "upper=\"";
            bounded ? out_ << variable.levels[i + 1] : out_ << "inf";
            out_ << "\" />\n";
        }
        out_ << "\t\t\t</discretization>\n";
    }

    void writeResults(const Bnode_bn& node) {
        const Texts ids = plan_.states(node);
        const float* row = node.relation.probs;
        out_ << "\t\t\t<resultingstates>";
        for (int rows = NumProduct(node.parents), r = 0; r < rows; ++r, row += node.numStates()) {
            const auto state = std::find(row, row + node.numStates(), 1.0F) - row;
            if (r > 0) out_ << ' ';
            WriteXmlContent(out_, ids[static_cast<std::size_t>(state)]);
        }
        out_ << "</resultingstates>\n";
    }

    /// States from the strongest, and of each a column of numbers from the strongest, with those of
    /// the neutral ones, which the model does without.
    void writeNoisyMax(const Bnode_bn& node) {
        const int states = node.numStates();
        const int* end = node.relation.order + states;
        const char* separator = "\t\t\t<strengths>";
        for (const Bnode_bn* parent : node.parents) {
            const int* const first = end;
            end += parent->numStates();
            for (const int* at = end; at != first; separator = " ") out_ << separator << *--at;
        }
        if (node.parents.N > 0) out_ << "</strengths>\n";
        out_ << "\t\t\t<parameters>";
        const double* block = node.relation.params;
        separator = "";
        const auto writeColumn = [&](const double* column) {
            for (int k = states; k-- > 0; separator = " ") {
                out_ << separator;
                column != nullptr ? out_ << column[k] : out_ << (k == 0 ? 1 : 0);
            }
        };
        for (const Bnode_bn* parent : node.parents) {
            const int columns = parent->numStates() - 1;
            for (int i = columns; i-- > 0;) writeColumn(block + std::ptrdiff_t{i} * states);
            writeColumn(nullptr);
            block += std::ptrdiff_t{columns} * states;
        }
        writeColumn(block);
        out_ << "</parameters>\n";
    }

    void writeTable(const Bnode_bn& node) {
        if (plan_.hasTable(node)) {
            node.kind == UtilityNode ? writeUtilities(node) : writeProbabilities(node);
        } else if (plan_.isUniform(node)) {
            writeUniform(node);
        }
    }

    void writeUtilities(const Bnode_bn& node) {
        const int rows = NumProduct(node.parents);
        out_ << "\t\t\t<utilities>";
        for (int row = 0; row < rows; ++row)
            out_ << (row > 0 ? " " : "") << RealTable(node.relation)[row];
        out_ << "</utilities>\n";
    }

    void writeProbabilities(const Bnode_bn& node) {
        const char* separator = "\t\t\t<probabilities>";
        AllRows(plan_.tables().of(node), node, {}, [&](HeldTable, const RowNumbers& row) {
            out_ << separator;
            row.write(out_, " ");
            separator = " ";
            return true;
        });
        out_ << "</probabilities>\n";
    }

    void writeUniform(const Bnode_bn& node) {
        const std::vector<double> uniform(static_cast<std::size_t>(node.numStates()),
                                          1.0 / node.numStates());
        RowNumbers numbers;
        numbers.choose({nullptr, uniform.data()}, node.numStates());
        out_ << "\t\t\t<probabilities>";
        for (int rows = plan_.rows(node), row = 0; row < rows; ++row) {
            if (row > 0) out_ << ' ';
            numbers.write(out_, " ");
        }
        out_ << "</probabilities>\n";
    }

    TextOut& out_;
    const Plan& plan_;
};

// ---- Writing the drawing -------------------------------------------------------------------

class DrawingWriter {
public:
    DrawingWriter(TextOut& out, const Plan& plan, const Bnet_bn& net)
        : out_(out), plan_(plan), net_(net) {
        for (const Bnode_bn* node : net.nodes) ids_.insert(node->name());
    }

    void write() {
        out_ << "\t\t<genie version=\"1.0\" app=\"Lumo import\" name=\"";
        WriteXmlValue(out_, Escaped(TitleOrName(net_)));
        out_ << "\" faultnameformat=\"nodestate\">\n";
        if (HasText(net_.comment)) writeText("\t\t\t", "comment", net_.comment);
        const auto& sets = net_.nodesets();
        for (std::size_t i = 0; i < sets.size(); ++i) writeSet(*sets[i], plan_.colors()[i]);
        for (const Bnode_bn* node : net_.nodes)
            if (node->nodesets().empty()) writeNode(*node);
        out_ << "\t\t</genie>\n";
    }

private:
    void writeText(const char* indent, const char* element, std::string_view text) {
        out_ << indent << '<' << element << '>';
        WriteXmlContent(out_, Escaped(text));
        out_ << "</" << element << ">\n";
    }

    void writeStyle(std::string_view interior) {
        out_ << "\t\t\t\t<interior color=\"" << interior
             << "\" />\n\t\t\t\t<outline color=\"000080\" />\n"
                "\t\t\t\t<font color=\"000000\" name=\"Arial\" size=\"8\" />\n";
    }

    /// A rectangle around the node. Without places it is that of nodes which have none.
    void writePosition(const Bnode_bn* node) {
        coord_kt at{0, 0};
        if (node != nullptr && plan_.placing().hasPlaces()) {
            at = plan_.placing().written(*node);
            at = {at.x + corner.x, at.y + corner.y};
        }
        out_ << "\t\t\t\t<position>" << at.x - halfWidth << ' ' << at.y - halfHeight << ' '
             << at.x + halfWidth << ' ' << at.y + halfHeight << "</position>\n";
    }

    void writeNode(const Bnode_bn& node) {
        if (!plan_.isWritten(node)) return;
        out_ << "\t\t\t<node id=\"" << node.name() << "\">\n";
        writeText("\t\t\t\t", "name", TitleOrName(node));
        writeStyle(defaultColor);
        writePosition(&node);
        if (HasText(node.comment)) writeText("\t\t\t\t", "comment", node.comment);
        out_ << "\t\t\t</node>\n";
    }

    /// A set as a submodel, with the nodes of which it is the first.
    void writeSet(const nodeset_bn& set, RGB color) {
        std::string id = LegalName(set.name());
        while (!ids_.insert(id).second) id += "_set";
        out_ << "\t\t\t<submodel id=\"" << id << "\">\n";
        writeText("\t\t\t\t", "name", set.name());
        writeStyle(std::string_view(ColorText(color)).substr(1));
        const auto isMember = [&](const Bnode_bn* node) {
            return node->nodesets().front() == &set;
        };
        const auto first = std::find_if(set.nodes().begin(), set.nodes().end(), isMember);
        writePosition(first == set.nodes().end() ? nullptr : *first);
        out_ << "\t\t\t\t<window>0 0 400 300</window>\n";
        for (const Bnode_bn* node : set.nodes())
            if (isMember(node)) writeNode(*node);
        out_ << "\t\t\t</submodel>\n";
    }

    TextOut& out_;
    const Plan& plan_;
    const Bnet_bn& net_;
    std::unordered_set<std::string> ids_;  // taken
};

}  // namespace

void WriteXdsl(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Plan plan(net);
    TextOut out(stream);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<smile version=\"1.0\" id=\"" << net.name
        << "\" numsamples=\"10000\" discsamples=\"10000\">\n\t<nodes>\n";
    NodesWriter nodes(out, plan);
    for (const Bnode_bn* node : ParentsFirst(net))
        if (plan.isWritten(*node)) nodes.write(*node);
    out << "\t</nodes>\n\t<extensions>\n";
    DrawingWriter(out, plan, net).write();
    out << "\t</extensions>\n</smile>\n";
}

Losses XdslLosses(const Bnet_bn& net) {
    return FindLosses(net, Plan(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
