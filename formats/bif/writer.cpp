#include "formats/bif/bif.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "formats/shared/describe.h"
#include "formats/shared/keeping.h"
#include "formats/shared/labels.h"
#include "formats/shared/rows.h"
#include "formats/shared/textout.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

// ---- Words ---------------------------------------------------------------------------------

/// The language's own words, which stand for nothing else.
constexpr std::string_view reserved[] = {"network", "variable", "probability", "property",
                                         "type",    "discrete", "default",     "table"};

bool IsReserved(std::string_view word) {
    return std::find(std::begin(reserved), std::end(reserved), word) != std::end(reserved);
}

bool IsWordCharacter(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

/// Whether the text can stand as it is.
bool IsWord(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsWordCharacter) &&
           !IsReserved(text);
}

/// Makes words of any texts, those that are some already first: each a text's letters, digits and
/// underscores, with a number behind it where it is another's or the language's own.
void MakeWords(Texts& texts) {
    std::unordered_set<std::string> used;
    for (const std::string_view word : reserved) used.emplace(word);
    std::unordered_map<std::string, int> last;
    std::vector<std::string*> others;
    for (std::string& text : texts) {
        const bool isWord = !text.empty() && std::all_of(text.begin(), text.end(), IsWordCharacter);
        if (!isWord || !used.insert(text).second) others.push_back(&text);
    }
    for (std::string* text : others) {
        std::string stem;
        for (const char c : *text) {
            if (IsWordCharacter(c) || !stem.ends_with('_')) stem += IsWordCharacter(c) ? c : '_';
        }
        if (stem.empty()) stem = "s";
        *text = stem;
        for (int& number = last[stem]; !used.insert(*text).second;)
            *text = stem + "_" + std::to_string(++number);
    }
}

constexpr double readScale = 1.5;  // of positions, by readers

/// Whether the text can stand between the quotes of a property.
bool IsPropertyText(std::string_view text) {
    const bool plain = std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= ' ' || c < 0) && c != '"' && c != '\\' && c != ';' && c != 0x7F;
    });
    return plain && !text.empty() && text.find("//") == text.npos && text.find("/*") == text.npos;
}

/// Whether a reader makes the same of the property: one of a node's fields, or a line of the net's
/// comment.
bool IsProperty(std::string_view name, std::string_view value) {
    return IsWord(name) && !streqli_kt(std::string(name).c_str(), "position") &&
           !streqli_kt(std::string(name).c_str(), "label") && IsPropertyText(value);
}

bool IsProperty(const UserField& field) {
    return IsProperty(ToUtf8(field.name), ToUtf8(FieldText(field)));
}

void WriteProperty(TextOut& out, std::string_view name, std::string_view value) {
    out << "  property " << name << " = \"" << value << "\";\n";
}

/// The comment's lines `name = value`; none when one of them is something else.
std::vector<std::pair<std::string, std::string>> CommentProperties(const char* comment) {
    std::vector<std::pair<std::string, std::string>> properties;
    std::string_view rest = comment == nullptr ? std::string_view() : comment;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        const std::size_t equals = line.find(" = ");
        if (equals == std::string_view::npos) return {};
        properties.emplace_back(line.substr(0, equals), ToUtf8(line.substr(equals + 3)));
        if (!IsProperty(properties.back().first, properties.back().second)) return {};
    }
    return properties;
}

bool HasStateNames(const Varbl_bn& variable) {
    for (int i = 0; i < variable.numStates; ++i)
        if (variable.stateNames == nullptr || variable.stateNames[i] == nullptr) return false;
    return true;
}

/// A variable has at least one state.
bool HasVariable(const Bnode_bn& node) { return node.numStates() > 0; }

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net)
        : tables_(net), placing_(*net.vnets[0], readScale, false, HasVariable) {
        const bool isWord = HasText(net.title) && IsWord(net.title);
        Texts names{isWord ? net.title : net.name};
        MakeWords(names);
        netName_ = names.front();
        names.clear();
        for (const Bnode_bn* node : net.nodes) names.emplace_back(node->name());
        if (std::all_of(names.begin(), names.end(), IsWord)) return;
        MakeWords(names);
        for (int i = 0; i < net.nodes.N; ++i) {
            std::string& name = names[static_cast<std::size_t>(i)];
            if (name != net.nodes[i]->name()) renamed_.emplace(net.nodes[i], std::move(name));
        }
    }

    const Tables& tables() const { return tables_; }
    const Placing& placing() const { return placing_; }
    const std::string& netName() const { return netName_; }
    std::string_view nameOf(const Bnode_bn& node) const {
        const auto found = renamed_.find(&node);
        return found == renamed_.end() ? std::string_view(node.name()) : found->second;
    }
    bool keepsName(const Bnode_bn& node) const { return !renamed_.contains(&node); }

    /// What stands for the states: their labels, when they are words but no names (0, 1), else
    /// their names, else their labels made words; valid until the next call.
    const Texts& words(const Bnode_bn& node) const {
        const Varbl_bn& variable = node.variable;
        StateLabels(variable, words_);
        const auto areWords = [&] { return std::all_of(words_.begin(), words_.end(), IsWord); };
        if (HasStateNames(variable) && (!areWords() || AreStateNames(words_)))
            words_.assign(variable.stateNames, variable.stateNames + variable.numStates);
        if (!areWords() || !AreDistinct(words_)) MakeWords(words_);
        return words_;
    }

private:
    Tables tables_;
    Placing placing_;
    std::string netName_;
    std::unordered_map<const Bnode_bn*, std::string> renamed_;
    mutable Texts words_;
};

// ---- What is kept --------------------------------------------------------------------------

bool KeepsTable(const Plan& plan, const Bnode_bn& node) {
    return node.relation.kind != RelnKindEN::real && plan.tables().has(node);
}

/// Without a table there is no block that names them: some programs refuse a file with an empty
/// one.
bool KeepsParents(const Plan& plan, const Bnode_bn& node) {
    return KeepsTable(plan, node) &&
           std::all_of(node.parents.begin(), node.parents.end(),
                       [](const Bnode_bn* parent) { return HasVariable(*parent); });
}

bool KeepsStateNames(const Plan& plan, const Bnode_bn& node) {
    return HasStateNames(node.variable) && AreKept(node.variable.stateNames, plan.words(node));
}

/// Words that are all names are read as such.
bool KeepsStateTitles(const Plan& plan, const Bnode_bn& node) {
    return AreKept(node.variable.stateTitles, plan.words(node)) && !AreStateNames(plan.words(node));
}

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node, [](const Plan&, const Bnode_bn& node) { return HasVariable(node); }},
    {FeatureEN::name, [](const Plan& plan, const Bnode_bn& node) { return plan.keepsName(node); }},
    {FeatureEN::title,
     [](const Plan&, const Bnode_bn& node) { return IsPropertyText(node.title); }},
    {FeatureEN::stateNames, KeepsStateNames},
    {FeatureEN::stateTitles, KeepsStateTitles},
    {FeatureEN::untitledStates,
     [](const Plan& plan, const Bnode_bn& node) { return AreStateNames(plan.words(node)); }},
    {FeatureEN::position},
    {FeatureEN::exactPosition,
     [](const Plan& plan, const Bnode_bn& node) { return plan.placing().isExact(node); }},
    {FeatureEN::userFields,
     [](const Plan&, const Bnode_bn& node) {
         return std::ranges::all_of(node.userFields(),
                                    [](const UserField& field) { return IsProperty(field); });
     }},
    {FeatureEN::parents, KeepsParents},
    {FeatureEN::noTable},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable},
    {FeatureEN::zeroOneTable},
};
constexpr std::array<Kept<Plan, int>, 0> keptOfGroups = {};
constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::netTitle,
     [](const Plan& plan, const Bnet_bn& net) { return plan.netName() == net.title; }},
    {FeatureEN::netComment,
     [](const Plan&, const Bnet_bn& net) { return !CommentProperties(net.comment).empty(); }},
    {FeatureEN::nodeOrder},
    {FeatureEN::margin,
     [](const Plan& plan, const Bnet_bn&) { return plan.placing().keepsMargin(); }}};

// ---- Writing -------------------------------------------------------------------------------

// Roots and nodes with parents each have the one form that every program takes.

void WriteVariable(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    out << "variable " << plan.nameOf(node) << " {\n  type discrete [ " << node.numStates()
        << " ] { ";
    WriteSeparated(out, plan.words(node), ", ", [&](const std::string& word) { out << word; });
    out << " };\n";
    if (HasText(node.title) && IsPropertyText(node.title) && !streql_kt(node.title, node.name()))
        out << "  property label = \"" << ToUtf8(node.title) << "\";\n";
    if (plan.placing().hasPlaces()) {
        const coord_kt at = plan.placing().written(node);
        out << "  property position = (" << at.x << ", " << at.y << ");\n";
    }
    for (const UserField& field : node.userFields())
        if (IsProperty(field)) WriteProperty(out, ToUtf8(field.name), ToUtf8(FieldText(field)));
    out << "}\n";
}

/// Writes the words of the parents' states that come before each row.
class RowPrefix {
public:
    RowPrefix(const Plan& plan, const BndList_bn& parents)
        : states_(static_cast<std::size_t>(parents.N)) {
        for (const Bnode_bn* parent : parents) words_.push_back(plan.words(*parent));
    }

    void write(TextOut& out) {
        if (states_.empty()) {
            out << "  table ";
            return;
        }
        out << "  (";
        for (std::size_t i = 0; i < words_.size(); ++i)
            out << (i > 0 ? ", " : "") << words_[i][states_[i]];
        out << ") ";
        for (std::size_t i = words_.size(); i-- > 0;) {
            if (++states_[i] < words_[i].size()) break;
            states_[i] = 0;
        }
    }

private:
    std::vector<Texts> words_;
    std::vector<std::size_t> states_;
};

void WriteProbability(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    if (!KeepsTable(plan, node)) return;
    out << "probability ( " << plan.nameOf(node);
    const char* separator = " | ";
    for (const Bnode_bn* parent : node.parents) {
        if (!HasVariable(*parent)) continue;
        out << separator << plan.nameOf(*parent);
        separator = ", ";
    }
    out << " ) {\n";
    RowPrefix prefix(plan, node.parents);
    AllRows(plan.tables().of(node), node, {}, [&](HeldTable, const RowNumbers& row) {
        prefix.write(out);
        row.write(out, ", ");
        out << ";\n";
        return true;
    });
    out << "}\n";
}

}  // namespace

void WriteBif(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    const Plan plan(net);
    TextOut out(stream);
    out << "network " << plan.netName() << " {\n";
    for (const auto& [name, value] : CommentProperties(net.comment))
        WriteProperty(out, name, value);
    out << "}\n";
    for (const Bnode_bn* node : net.nodes)
        if (HasVariable(*node)) WriteVariable(out, *node, plan);
    for (const Bnode_bn* node : net.nodes)
        if (HasVariable(*node)) WriteProbability(out, *node, plan);
}

Losses BifLosses(const Bnet_bn& net) {
    return FindLosses(net, Plan(net), keptOfNodes, keptOfGroups, keptOfNet);
}

}  // namespace lumo
