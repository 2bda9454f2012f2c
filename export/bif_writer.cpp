#include "export/bif_writer.h"

#include <array>
#include <string>

#include "export/labels.h"
#include "export/rows.h"
#include "export/textout.h"

namespace lumo {
namespace {

// ---- What is kept --------------------------------------------------------------------------

/// A variable has at least one state.
bool HasVariable(const Bnode_bn& node) { return node.numStates() > 0; }

bool KeepsParents(const Tables&, const Bnode_bn& node) {
    return std::all_of(node.parents.begin(), node.parents.end(),
                       [](const Bnode_bn* parent) { return HasVariable(*parent); });
}

bool KeepsTable(const Tables& tables, const Bnode_bn& node) {
    return node.relation.kind != RelnKindEN::real && tables.has(node);
}

bool HasStateNames(const Varbl_bn& variable) {
    for (int i = 0; i < variable.numStates; ++i)
        if (variable.stateNames == nullptr || variable.stateNames[i] == nullptr) return false;
    return true;
}

constexpr Kept<Tables, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node, [](const Tables&, const Bnode_bn& node) { return HasVariable(node); }},
    {FeatureEN::stateNames,
     [](const Tables&, const Bnode_bn& node) { return HasStateNames(node.variable); }},
    {FeatureEN::untitledStates},
    {FeatureEN::exactPosition},
    {FeatureEN::parents, KeepsParents},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable},
    {FeatureEN::zeroOneTable},
};
constexpr std::array<Kept<Tables, int>, 0> keptOfGroups = {};
constexpr Kept<Tables, Bnet_bn> keptOfNet[] = {{FeatureEN::margin}};

// ---- Writing -------------------------------------------------------------------------------

/// The words that stand for the states: their names, or legal, distinct ones made of their labels.
class StateWords {
public:
    const Texts& of(const Bnode_bn& node) {
        const Varbl_bn& variable = node.variable;
        if (HasStateNames(variable)) {
            words_.assign(variable.stateNames, variable.stateNames + variable.numStates);
            return words_;
        }
        StateLabels(variable, words_);
        if (AreStateNames(words_)) return words_;
        const OwnedStrs made(
            MakeLegalUniqueNames_kt(Pointers(words_).data(), variable.numStates, 's'),
            variable.numStates);
        words_.assign(made.get(), made.get() + made.count());
        return words_;
    }

private:
    Texts words_;
};

void WriteVariable(TextOut& out, const Bnode_bn& node, StateWords& words) {
    out << "variable " << node.name() << " {\n  type discrete [ " << node.numStates() << " ] { ";
    WriteSeparated(out, words.of(node), ", ", [&](const std::string& word) { out << word; });
    out << " };\n}\n";
}

void WriteNumbers(TextOut& out, const float* row, int count) {
    for (int i = 0; i < count; ++i) {
        if (i > 0) out << ", ";
        out << row[i];
    }
    out << ";\n";
}

/// The rows of the table, each behind its parents' states.
void WriteRows(TextOut& out, const Bnode_bn& node, const float* table) {
    const BndList_bn& parents = node.parents;
    std::vector<Texts> words;
    StateWords source;
    for (const Bnode_bn* parent : parents) words.push_back(source.of(*parent));
    std::vector<std::size_t> states(words.size(), 0);
    const int rows = NumProduct(parents);
    for (int row = 0; row < rows; ++row, table += node.numStates()) {
        out << "  (";
        for (std::size_t i = 0; i < words.size(); ++i) {
            if (i > 0) out << ", ";
            out << words[i][states[i]];
        }
        out << ") ";
        WriteNumbers(out, table, node.numStates());
        for (std::size_t i = words.size(); i-- > 0;) {
            if (++states[i] < words[i].size()) break;
            states[i] = 0;
        }
    }
}

void WriteProbability(TextOut& out, const Bnode_bn& node, const Tables& tables) {
    const bool hasTable = KeepsTable(tables, node);
    if (!hasTable && node.parents.N == 0) return;
    out << "probability ( " << node.name();
    const char* separator = " | ";
    for (const Bnode_bn* parent : node.parents) {
        if (!HasVariable(*parent)) continue;
        out << separator << parent->name();
        separator = ", ";
    }
    out << " ) {\n";
    if (hasTable && node.parents.N > 0) WriteRows(out, node, tables.of(node));
    if (hasTable && node.parents.N == 0) {
        out << "  table ";
        WriteNumbers(out, tables.of(node), node.numStates());
    }
    out << "}\n";
}

}  // namespace

void WriteBif(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Tables tables(net);
    TextOut out(stream);
    StateWords words;
    out << "network " << net.name << " {\n}\n";
    for (const Bnode_bn* node : net.nodes)
        if (HasVariable(*node)) WriteVariable(out, *node, words);
    for (const Bnode_bn* node : net.nodes)
        if (HasVariable(*node)) WriteProbability(out, *node, tables);
}

Losses BifLosses(const Bnet_bn& net) {
    return FindLosses(net, Tables(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
