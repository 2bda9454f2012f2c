#include "formats/dsc/dsc.h"

#include <algorithm>
#include <string>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "formats/shared/keeping.h"
#include "formats/shared/labels.h"
#include "formats/shared/rows.h"
#include "formats/shared/textout.h"

namespace lumo {
namespace {

/// A node joins the sets that these attributes name.
constexpr const char* groupAttributes[] = {"label", "category"};

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net)
        : net_(net),
          placing_(*net.vnets[0], 1.0, false),
          tables_(net),
          colors_(NodesetColors(net)) {
        for (const Bnode_bn* node : net.nodes) {
            const auto& sets = node->nodesets();
            const std::size_t count = std::min(sets.size(), std::size(groupAttributes));
            named_.insert(sets.begin(), sets.begin() + static_cast<std::ptrdiff_t>(count));
        }
    }

    const Placing& placing() const { return placing_; }
    const Tables& tables() const { return tables_; }
    const Texts& labels(const Bnode_bn& node) const {
        StateLabels(node.variable, labels_);
        return labels_;
    }
    bool namesStates(const Bnode_bn& node) const { return AreStateNames(labels(node)); }
    bool keepsGroup(int place) const {
        const nodeset_bn* set = net_.nodesets()[static_cast<std::size_t>(place)].get();
        return named_.contains(set) && IsLegalName_kt(set->name());
    }
    bool hasDefaultColor(int place) const {
        return IsDefaultColor(colors_[static_cast<std::size_t>(place)]);
    }

private:
    const Bnet_bn& net_;
    Placing placing_;
    Tables tables_;
    std::vector<RGB> colors_;
    std::unordered_set<const nodeset_bn*> named_;
    mutable Texts labels_;
};

// ---- What is kept --------------------------------------------------------------------------

bool KeepsTable(const Plan& plan, const Bnode_bn& node) {
    return node.relation.kind != RelnKindEN::real && plan.tables().has(node);
}

/// Readers make rows sum to 1.
bool KeepsExactTable(const Plan& plan, const Bnode_bn& node) {
    return !KeepsTable(plan, node) || KeepsRows(plan.tables().of(node), node);
}

bool KeepsGroups(const Plan&, const Bnode_bn& node) {
    const auto& sets = node.nodesets();
    return sets.size() <= std::size(groupAttributes) &&
           std::all_of(sets.begin(), sets.end(),
                       [](const nodeset_bn* set) { return IsLegalName_kt(set->name()); });
}

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node},
    {FeatureEN::name},
    {FeatureEN::title},
    {FeatureEN::continuous,
     [](const Plan&, const Bnode_bn& node) { return node.numStates() == 0; }},
    {FeatureEN::utilityForm,
     [](const Plan&, const Bnode_bn& node) {
         return node.variable.discrete == (node.numStates() > 0);
     }},
    {FeatureEN::stateNames,
     [](const Plan& plan, const Bnode_bn& node) {
         return plan.namesStates(node) && AreKept(node.variable.stateNames, plan.labels(node));
     }},
    {FeatureEN::unnamedStates,
     [](const Plan& plan, const Bnode_bn& node) {
         return node.numStates() == 0 || !plan.namesStates(node);
     }},
    {FeatureEN::stateTitles,
     [](const Plan& plan, const Bnode_bn& node) {
         return !plan.namesStates(node) && AreKept(node.variable.stateTitles, plan.labels(node));
     }},
    {FeatureEN::untitledStates,
     [](const Plan& plan, const Bnode_bn& node) { return plan.namesStates(node); }},
    {FeatureEN::position},
    {FeatureEN::exactPosition,
     [](const Plan& plan, const Bnode_bn& node) { return plan.placing().isExact(node); }},
    {FeatureEN::groups, KeepsGroups},
    {FeatureEN::parents},
    {FeatureEN::noTable},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable, KeepsExactTable},
    {FeatureEN::zeroOneTable},
};
constexpr Kept<Plan, int> keptOfGroups[] = {
    {FeatureEN::group, [](const Plan& plan, const int& group) { return plan.keepsGroup(group); }},
    {FeatureEN::color,
     [](const Plan& plan, const int& group) { return plan.hasDefaultColor(group); }},
};
constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::nodeOrder},
    {FeatureEN::netTitle},
    {FeatureEN::margin,
     [](const Plan& plan, const Bnet_bn&) { return plan.placing().keepsMargin(); }},
};

// ---- Writing -------------------------------------------------------------------------------

// The spelling is that of the files people share: several programs read it line by line.

void WriteType(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const bool continuous = !node.variable.discrete && node.numStates() == 0;
    if (continuous) {
        out << "  type : continuous;\n";
        return;
    }
    out << "  type : discrete [ " << node.numStates() << " ] = { ";
    WriteSeparated(out, plan.labels(node), ", ",
                   [&](const std::string& label) { out << Quoted(label); });
    out << " };\n";
}

void WriteNode(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    out << "node " << node.name() << " {\n";
    if (HasOwnTitle(node)) out << "  name : " << Quoted(node.title) << ";\n";
    WriteType(out, node, plan);
    if (plan.placing().hasPlaces()) {
        const coord_kt at = plan.placing().written(node);
        out << "  position : (" << at.x << ", " << at.y << ");\n";
    }
    const auto& sets = node.nodesets();
    for (std::size_t i = 0; i < sets.size() && i < std::size(groupAttributes); ++i)
        out << "  " << groupAttributes[i] << " : " << Quoted(sets[i]->name()) << ";\n";
    out << "}\n";
}

/// Writes the numbers of the parents' states that come before each row.
class RowPrefix {
public:
    explicit RowPrefix(const BndList_bn& parents)
        : parents_(parents), states_(static_cast<std::size_t>(parents.N), 0) {}

    void write(TextOut& out) {
        if (states_.empty()) return;
        out << '(';
        WriteSeparated(out, states_, ", ", [&](int state) { out << state; });
        out << ") : ";
        for (int i = parents_.N - 1; i >= 0; --i) {
            int& state = states_[static_cast<std::size_t>(i)];
            if (++state < parents_[i]->numStates()) break;
            state = 0;
        }
    }

private:
    const BndList_bn& parents_;
    std::vector<int> states_;
};

void WriteProbability(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const bool hasTable = KeepsTable(plan, node);
    if (!hasTable && node.parents.N == 0) return;
    out << "probability ( " << node.name();
    if (node.parents.N > 0) out << " | ";
    WriteSeparated(out, node.parents, ", ", [&](const Bnode_bn* parent) { out << parent->name(); });
    out << " ) {\n";
    if (hasTable) {
        RowPrefix prefix(node.parents);
        AllRows(plan.tables().of(node), node, {}, [&](HeldTable, const RowNumbers& row) {
            out << (node.parents.N > 0 ? "  " : "   ");
            prefix.write(out);
            row.write(out, ", ");
            out << ";\n";
            return true;
        });
    }
    out << "}\n";
}

}  // namespace

void WriteDsc(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Plan plan(net);
    TextOut out(stream);
    out << "belief network " << Quoted(TitleOrName(net))
        << (net.nodes.N > 0 ? "\n" : " {\n}\n");  // readers want something after the name
    for (const Bnode_bn* node : net.nodes) WriteNode(out, *node, plan);
    for (const Bnode_bn* node : net.nodes) WriteProbability(out, *node, plan);
}

Losses DscLosses(const Bnet_bn& net) {
    return FindLosses(net, Plan(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
