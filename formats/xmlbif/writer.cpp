#include "formats/xmlbif/xmlbif.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "formats/shared/keeping.h"
#include "formats/shared/labels.h"
#include "formats/shared/rows.h"
#include "formats/shared/xmlout.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr double readScale = 1.5;  // of positions, by readers

// ---- What the file can say -----------------------------------------------------------------

/// What a reader takes outcomes for.
enum class StatesEN : unsigned char { names, titles, values, intervals };

const char* Skip(const char* at, std::string_view any) {
    return *at != '\0' && any.find(*at) != std::string_view::npos ? at + 1 : at;
}

const char* SkipBlanks(const char* at) { return at + std::strspn(at, " \t\r\n"); }

/// Whether the rest of an interval, behind its lower bound, gives an upper one: ", 10)".
bool HasUpperBound(const char* at) {
    at = SkipBlanks(at);
    at = std::string_view(at).starts_with("to") ? at + 2 : Skip(at, ",-");
    double bound = 0;
    return strtodouble2_kt(SkipBlanks(at), &bound, &at) == 0;
}

/// Outcomes that all begin with a number are values, or intervals from the first bracket on, where
/// it does not matter what follows the number.
StatesEN TakenFor(const Texts& outcomes) {
    const StatesEN labels = AreStateNames(outcomes) ? StatesEN::names : StatesEN::titles;
    bool intervals = false;
    const char* rest = "";
    for (const std::string& outcome : outcomes) {
        const char* at = Skip(outcome.c_str(), "'\"");
        intervals = intervals || *at == '(' || *at == '[';
        double value = 0;
        if (strtodouble2_kt(SkipBlanks(Skip(at, "([")), &value, &rest) < 0) return labels;
        if (!intervals && *Skip(rest, "'\"") != '\0') return labels;
    }
    if (!intervals) return outcomes.empty() ? labels : StatesEN::values;
    return HasUpperBound(rest) ? StatesEN::intervals : labels;
}

bool HasTable(const Bnode_bn& node) {
    const RelnKindEN kind = node.relation.kind;
    return kind != RelnKindEN::none && (kind != RelnKindEN::real || node.kind == UtilityNode);
}

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net)
        : net_(net), placing_(*net.vnets[0], readScale, false), tables_(net) {
        chooseNames();
    }

    const Placing& placing() const { return placing_; }
    const Tables& tables() const { return tables_; }

    /// Whether the node is known by its title, from which readers make its name.
    bool usesTitle(const Bnode_bn& node) const { return titled_.contains(&node); }
    const char* nameOf(const Bnode_bn& node) const {
        return usesTitle(node) ? node.title : node.name();
    }

    /// A utility node without states has its table under one outcome.
    static bool needsOutcome(const Bnode_bn& node) {
        return node.numStates() == 0 && node.relation.kind == RelnKindEN::real &&
               node.kind == UtilityNode;
    }
    static bool writesNumbers(const Varbl_bn& variable) {
        if (variable.levels == nullptr || variable.numStates == 0 || !AreUnlabelled(variable))
            return false;
        for (int i = 0; i < variable.numLevels; ++i)
            if (!std::isfinite(variable.levels[i])) return false;
        return true;
    }

    /// The outcomes that are labels; a view until the next call.
    const Texts& labels(const Bnode_bn& node) const {
        StateLabels(node.variable, labels_);
        return labels_;
    }

    /// What a reader makes of the labels, which become what it reads.
    StatesEN readStates(const Bnode_bn& node) const {
        if (writesNumbers(node.variable))
            return node.variable.discrete ? StatesEN::values : StatesEN::intervals;
        for (std::string& label : (labels(node), labels_)) label = XmlAsRead(label);
        return TakenFor(labels_);
    }

private:
    void chooseNames();

    const Bnet_bn& net_;
    Placing placing_;
    Tables tables_;
    std::unordered_set<const Bnode_bn*> titled_;
    mutable Texts labels_;
};

void Plan::chooseNames() {
    std::unordered_set<std::string_view> used;
    for (const Bnode_bn* node : net_.nodes) {
        if (!HasText(node->title) || IsLegalName_kt(node->title)) continue;
        const std::string read = XmlAsRead(node->title);
        const bool gives = LegalName(read) == node->name() && XmlComesBack(node->title);
        if (gives && used.insert(node->title).second) titled_.insert(node);
    }
}

// ---- What is kept --------------------------------------------------------------------------

bool KeepsStateNames(const Plan& plan, const Bnode_bn& node) {
    if (plan.readStates(node) != StatesEN::names) return false;
    return AreKept(node.variable.stateNames, plan.labels(node));
}

bool KeepsUnnamed(const Plan& plan, const Bnode_bn& node) {
    return node.numStates() == 0 || plan.readStates(node) != StatesEN::names;
}

bool KeepsStateTitles(const Plan& plan, const Bnode_bn& node) {
    const auto comesBack = [](const std::string& label) { return XmlComesBack(label.c_str()); };
    return plan.readStates(node) == StatesEN::titles &&
           std::all_of(plan.labels(node).begin(), plan.labels(node).end(), comesBack) &&
           AreKept(node.variable.stateTitles, plan.labels(node));
}

bool KeepsUntitled(const Plan& plan, const Bnode_bn& node) {
    return node.numStates() == 0 || plan.readStates(node) != StatesEN::titles;
}

bool KeepsNumbers(const Plan&, const Bnode_bn& node) { return Plan::writesNumbers(node.variable); }

bool KeepsContinuous(const Plan& plan, const Bnode_bn& node) {
    return plan.readStates(node) == StatesEN::intervals;
}

bool KeepsTable(const Plan& plan, const Bnode_bn& node) {
    return HasTable(node) && plan.tables().has(node);
}

/// Whether a reader makes the same field of a property.
bool IsProperty(const UserField& field) {
    const std::string name = ToUtf8(field.name), value = ToUtf8(FieldText(field));
    constexpr std::string_view blanks = " \t\r\n";
    return !name.empty() && name != "position" && name[0] != '(' &&
           name.find_first_of(" =:\t\r\n") == name.npos && name == field.name &&
           value == FieldText(field) && value.find('\0') == value.npos &&
           (value.empty() || (blanks.find(value.front()) == blanks.npos &&
                              blanks.find(value.back()) == blanks.npos)) &&
           XmlComesBack((name + " = " + value + ".").c_str());
}

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node},
    {FeatureEN::name},
    {FeatureEN::title, [](const Plan& plan, const Bnode_bn& node) { return plan.usesTitle(node); }},
    {FeatureEN::kind},
    {FeatureEN::continuous, KeepsContinuous},
    {FeatureEN::utilityForm,
     [](const Plan&, const Bnode_bn& node) {
         return node.variable.discrete && !Plan::needsOutcome(node);
     }},
    {FeatureEN::stateNames, KeepsStateNames},
    {FeatureEN::unnamedStates, KeepsUnnamed},
    {FeatureEN::stateTitles, KeepsStateTitles},
    {FeatureEN::untitledStates, KeepsUntitled},
    {FeatureEN::stateValues, KeepsNumbers},
    {FeatureEN::levels, KeepsNumbers},
    {FeatureEN::position},
    {FeatureEN::exactPosition,
     [](const Plan& plan, const Bnode_bn& node) { return plan.placing().isExact(node); }},
    {FeatureEN::userFields,
     [](const Plan&, const Bnode_bn& node) {
         return std::ranges::all_of(node.userFields(), IsProperty);
     }},
    {FeatureEN::parents},
    {FeatureEN::noTable},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable},
    {FeatureEN::zeroOneTable},
};

constexpr std::array<Kept<Plan, int>, 0> keptOfGroups = {};

constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::nodeOrder},
    {FeatureEN::netTitle, [](const Plan&, const Bnet_bn& net) { return XmlComesBack(net.title); }},
    {FeatureEN::margin,
     [](const Plan& plan, const Bnet_bn&) { return plan.placing().keepsMargin(); }},
};

// ---- Writing -------------------------------------------------------------------------------

void WriteElement(TextOut& out, std::string_view name, std::string_view text) {
    out << '<' << name << '>';
    WriteXmlContent(out, text);
    out << "</" << name << ">\n";
}

void WriteOutcomes(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const Varbl_bn& variable = node.variable;
    if (Plan::needsOutcome(node)) return WriteElement(out, "OUTCOME", "utility");
    if (!Plan::writesNumbers(variable)) {
        for (const std::string& label : plan.labels(node)) WriteElement(out, "OUTCOME", label);
        return;
    }
    const double* levels = variable.levels;
    const bool intervals = variable.numLevels > variable.numStates;
    for (int i = 0; i < variable.numStates; ++i) {
        out << "<OUTCOME>";
        intervals ? out << '[' << levels[i] << ',' << levels[i + 1] << ')' : out << levels[i];
        out << "</OUTCOME>\n";
    }
}

constexpr std::string_view TypeOf(NodeKindEN kind) {
    if (kind == DecisionNode) return "decision";
    return kind == UtilityNode ? "utility" : "nature";
}

void WriteVariable(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    out << "<VARIABLE TYPE=\"" << TypeOf(node.kind) << "\">\n";
    WriteElement(out, "NAME", plan.nameOf(node));
    WriteOutcomes(out, node, plan);
    if (plan.placing().hasPlaces()) {
        const coord_kt at = plan.placing().written(node);
        out << "<PROPERTY>position = (" << at.x << ", " << at.y << ")</PROPERTY>\n";
    }
    for (const UserField& field : node.userFields())
        if (IsProperty(field))
            WriteElement(out, "PROPERTY", field.name + " = " + std::string(FieldText(field)));
    out << "</VARIABLE>\n";
}

void WriteUtilities(TextOut& out, const Bnode_bn& node) {
    const int rowLength = std::max(node.numStates(), 1);
    const HeldTable table = RealTable(node.relation);
    std::ptrdiff_t at = 0;
    for (int rows = NumProduct(node.parents); rows > 0; --rows) {
        for (int i = 0; i < rowLength; ++i) out << (i == 0 ? '\n' : ' ') << table[at++];
    }
}

void WriteTable(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    out << "<TABLE>";
    if (node.relation.kind == RelnKindEN::real) {
        WriteUtilities(out, node);
    } else {
        AllRows(plan.tables().of(node), node, {}, [&](HeldTable, const RowNumbers& row) {
            out << '\n';
            row.write(out, " ");
            return true;
        });
    }
    out << "\n</TABLE>\n";
}

void WriteDefinition(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const bool hasTable = KeepsTable(plan, node);
    if (!hasTable && node.parents.N == 0) return;
    out << "<DEFINITION>\n";
    WriteElement(out, "FOR", plan.nameOf(node));
    for (const Bnode_bn* parent : node.parents) WriteElement(out, "GIVEN", plan.nameOf(*parent));
    if (hasTable) WriteTable(out, node, plan);
    out << "</DEFINITION>\n";
}

/// There is no document type definition: some programs refuse a file that has one.
constexpr std::string_view declaration = R"(<?xml version="1.0" encoding="UTF-8"?>
)",
                           start = R"(
<BIF VERSION="0.3">
<NETWORK>
)";

/// The net is never without a name, which some programs cannot do without.
const char* NameOf(const Bnet_bn& net) {
    return net.title != nullptr && !XmlAsRead(net.title).empty() ? net.title : net.name;
}

}  // namespace

void WriteXmlBif(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Plan plan(net);
    TextOut out(stream);
    out << declaration << orderMark << start;
    WriteElement(out, "NAME", NameOf(net));
    for (const Bnode_bn* node : net.nodes) WriteVariable(out, *node, plan);
    for (const Bnode_bn* node : net.nodes) WriteDefinition(out, *node, plan);
    out << "</NETWORK>\n</BIF>\n";
}

Losses XmlBifLosses(const Bnet_bn& net) {
    return FindLosses(net, Plan(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
