#include "formats/shared/keeping.h"
#include "formats/uai/uai.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>

#include "formats/shared/rows.h"
#include "formats/shared/textout.h"

namespace lumo {
namespace {

constexpr int largestUniform = 1 << 20;  // numbers of a table that says nothing

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net) : tables_(net) {
        for (const Bnode_bn* node : net.nodes)
            if (isVariable(*node)) numbers_.emplace(node, static_cast<int>(numbers_.size()));
    }

    /// Utilities have no states there, and a variable has at least one.
    static bool isVariable(const Bnode_bn& node) {
        return node.numStates() > 0 && node.kind != UtilityNode;
    }
    int count() const { return static_cast<int>(numbers_.size()); }
    int numberOf(const Bnode_bn& node) const { return numbers_.at(&node); }
    const Tables& tables() const { return tables_; }

    bool hasTable(const Bnode_bn& node) const {
        return node.relation.kind != RelnKindEN::real && tables_.has(node) && fitsTable(node);
    }
    /// Whether its scope is that of the node with its parents; else it is the node alone.
    bool hasFamily(const Bnode_bn& node) const {
        return fitsTable(node) && (hasTable(node) || NumProduct(node.family) <= largestUniform);
    }
    bool hasAllParents(const Bnode_bn& node) const {
        return hasFamily(node) && std::all_of(node.parents.begin(), node.parents.end(),
                                              [](auto* parent) { return isVariable(*parent); });
    }

private:
    /// Whether the table is the same without the parents that are left out.
    static bool fitsTable(const Bnode_bn& node) {
        return std::all_of(node.parents.begin(), node.parents.end(), [](const Bnode_bn* parent) {
            return isVariable(*parent) || parent->numStates() == 1;
        });
    }

    std::unordered_map<const Bnode_bn*, int> numbers_;
    Tables tables_;
};

// ---- What is kept --------------------------------------------------------------------------

bool KeepsName(const Plan& plan, const Bnode_bn& node) {
    return node.name() == "V" + std::to_string(plan.numberOf(node));
}

bool KeepsStateNames(const Plan&, const Bnode_bn& node) {
    const char* const* const names = node.variable.stateNames;
    for (int s = 0; names != nullptr && s < node.numStates(); ++s)
        if (names[s] != nullptr && names[s] != "s" + std::to_string(s)) return false;
    return true;
}

bool IsVariable(const Plan&, const Bnode_bn& node) { return Plan::isVariable(node); }
bool KeepsTable(const Plan& plan, const Bnode_bn& node) { return plan.hasTable(node); }

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node, IsVariable},
    {FeatureEN::name,
     [](const Plan& plan, const Bnode_bn& node) {
         return Plan::isVariable(node) && KeepsName(plan, node);
     }},
    {FeatureEN::stateNames, KeepsStateNames},
    {FeatureEN::untitledStates},
    {FeatureEN::exactPosition},
    {FeatureEN::parents,
     [](const Plan& plan, const Bnode_bn& node) { return plan.hasAllParents(node); }},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable},
    {FeatureEN::zeroOneTable},
};
constexpr std::array<Kept<Plan, int>, 0> keptOfGroups = {};
constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::noNetTitle}, {FeatureEN::nodeOrder}, {FeatureEN::margin}};

// ---- Writing -------------------------------------------------------------------------------

void WriteScope(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    std::vector<int> scope;
    for (const Bnode_bn* parent : node.parents)
        if (plan.hasFamily(node) && Plan::isVariable(*parent))
            scope.push_back(plan.numberOf(*parent));
    scope.push_back(plan.numberOf(node));
    out << static_cast<int>(scope.size());
    for (const int number : scope) out << ' ' << number;
    out << '\n';
}

void WriteTable(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const int rows = plan.hasFamily(node) ? NumProduct(node.parents) : 1;
    out << '\n' << rows * node.numStates() << '\n';
    const auto writeRow = [&out](const RowNumbers& row) {
        out << ' ';
        row.write(out, " ");
        out << '\n';
    };
    if (plan.hasTable(node)) {
        AllRows(plan.tables().of(node), node, {}, [&](HeldTable, const RowNumbers& row) {
            writeRow(row);
            return true;
        });
        return;
    }
    const std::vector<double> uniform(static_cast<std::size_t>(node.numStates()),
                                      1.0 / node.numStates());
    RowNumbers numbers;
    numbers.choose({nullptr, uniform.data()}, node.numStates());
    for (int row = 0; row < rows; ++row) writeRow(numbers);
}

}  // namespace

void WriteUai(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Plan plan(net);
    TextOut out(stream);
    const auto forAll = [&](auto write) {
        for (const Bnode_bn* node : net.nodes)
            if (Plan::isVariable(*node)) write(*node);
    };
    out << "BAYES\n" << plan.count() << '\n';
    const char* separator = "";
    forAll([&](const Bnode_bn& node) {
        out << separator << node.numStates();
        separator = " ";
    });
    out << '\n' << plan.count() << '\n';
    forAll([&](const Bnode_bn& node) { WriteScope(out, node, plan); });
    forAll([&](const Bnode_bn& node) { WriteTable(out, node, plan); });
}

Losses UaiLosses(const Bnet_bn& net) {
    return FindLosses(net, Plan(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
