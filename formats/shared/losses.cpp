#include "formats/shared/losses.h"

#include <algorithm>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "formats/shared/rows.h"
#include "library/utilities/Utils.h"

namespace lumo {
namespace {

enum class ScopeEN : unsigned char { node, group, net };

/// How a loss is told; %s is "1 node" or "12 nodes". Without words it is not told: the meaning of
/// the net is the same.
struct Words {
    FeatureEN feature;
    ScopeEN scope;
    const char* text;
};

constexpr Words words[] = {
    {FeatureEN::node, ScopeEN::node, "%s without states"},
    {FeatureEN::name, ScopeEN::node, "names of %s"},
    {FeatureEN::title, ScopeEN::node, "titles of %s"},
    {FeatureEN::comment, ScopeEN::node, "comments of %s"},
    {FeatureEN::kind, ScopeEN::node, "kinds (decision, utility) of %s"},
    {FeatureEN::continuous, ScopeEN::node, "continuous variables of %s"},
    {FeatureEN::stateNames, ScopeEN::node, "state names of %s"},
    {FeatureEN::stateTitles, ScopeEN::node, "state titles of %s"},
    {FeatureEN::textlessStates, ScopeEN::node,
     "missing state names (which become s0, s1 and so on) of %s"},
    {FeatureEN::stateComments, ScopeEN::node, "state comments of %s"},
    {FeatureEN::stateValues, ScopeEN::node, "numeric state values of %s"},
    {FeatureEN::levels, ScopeEN::node, "interval bounds of %s"},
    {FeatureEN::position, ScopeEN::node, "positions of %s"},
    {FeatureEN::exactPosition, ScopeEN::node, "exact positions of %s"},
    {FeatureEN::groups, ScopeEN::node, "groups of %s"},
    {FeatureEN::userFields, ScopeEN::node, "user fields of %s"},
    {FeatureEN::parents, ScopeEN::node,
     "parents (without states, or of nodes without a table) of %s"},
    {FeatureEN::noTable, ScopeEN::node, "missing tables (which become uniform) of %s"},
    {FeatureEN::table, ScopeEN::node, "tables of %s"},
    {FeatureEN::exactTable, ScopeEN::node, "exact numbers in tables of %s"},
    {FeatureEN::deterministic, ScopeEN::node,
     "deterministic relations (other than as tables) of %s"},
    {FeatureEN::parameters, ScopeEN::node, "noisy-max parameters (other than as tables) of %s"},
    {FeatureEN::experience, ScopeEN::node, "experience tables of %s"},
    {FeatureEN::group, ScopeEN::group, "%s"},
    {FeatureEN::color, ScopeEN::group, "exact colors of %s"},
    {FeatureEN::netTitle, ScopeEN::net, "the title of the net"},
    {FeatureEN::netComment, ScopeEN::net, "the comment of the net"},
    {FeatureEN::autoUpdate, ScopeEN::net, "automatic updating"},
    {FeatureEN::labelStyle, ScopeEN::net, "the label style"},
    {FeatureEN::zoom, ScopeEN::net, "the zoom"},
    {FeatureEN::font, ScopeEN::net, "the font"},
    {FeatureEN::grid, ScopeEN::net, "the grid"},
    {FeatureEN::nodeOrder, ScopeEN::net, "the order of the nodes"},
};

const char* const nouns[] = {"node", "group"};

bool Any(char* const* texts, int count) {
    return texts != nullptr && std::any_of(texts, texts + count, HasText);
}

bool All(char* const* texts, int count) {
    return texts != nullptr && std::all_of(texts, texts + count, HasText);
}

bool IsZeroOne(const Bnode_bn& node) {
    if (node.relation.probs == nullptr) return false;
    const float* row = node.relation.probs;
    const int states = node.numStates();
    for (int rows = NumProduct(node.parents); rows > 0; --rows, row += states) {
        int ones = 0;
        for (int s = 0; s < states; ++s) {
            const bool isOne = AreClose(row[s], 1);
            if (row[s] != 0 && !isOne) return false;
            ones += isOne;
        }
        if (ones != 1) return false;
    }
    return true;
}

/// Whether a node stands before one of its parents.
bool HasEarlyChild(const Bnet_bn& net) {
    std::unordered_set<const Bnode_bn*> before;
    for (const Bnode_bn* node : net.nodes) {
        for (const Bnode_bn* parent : node->parents)
            if (!before.contains(parent)) return true;
        before.insert(node);
    }
    return false;
}

/// Whether a state goes by its number alone.
bool HasTextless(const Varbl_bn& variable) {
    const auto has = [](char* const* texts, int state) {
        return texts != nullptr && HasText(texts[state]);
    };
    for (int s = 0; s < variable.numStates && variable.levels == nullptr; ++s)
        if (!has(variable.stateNames, s) && !has(variable.stateTitles, s)) return true;
    return false;
}

FeatureSet StateFeatures(const Varbl_bn& variable) {
    const int states = variable.numStates;
    FeatureSet set = 0;
    if (Any(variable.stateNames, states)) set |= Bit(FeatureEN::stateNames);
    if (!All(variable.stateNames, states)) set |= Bit(FeatureEN::unnamedStates);
    if (Any(variable.stateTitles, states)) set |= Bit(FeatureEN::stateTitles);
    if (!All(variable.stateTitles, states)) set |= Bit(FeatureEN::untitledStates);
    if (Any(variable.stateComments, states)) set |= Bit(FeatureEN::stateComments);
    if (variable.levels != nullptr && states > 0) {
        set |= Bit(variable.numLevels == states ? FeatureEN::stateValues : FeatureEN::levels);
    }
    return set;
}

FeatureSet RelationFeatures(const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    FeatureSet set = 0;
    set |= relation.kind == RelnKindEN::none ? Bit(FeatureEN::noTable)
                                             : Bit(FeatureEN::table) | Bit(FeatureEN::exactTable);
    if (relation.kind == RelnKindEN::deterministic) set |= Bit(FeatureEN::deterministic);
    if (relation.kind == RelnKindEN::table && IsZeroOne(node)) set |= Bit(FeatureEN::zeroOneTable);
    if (relation.params != nullptr) set |= Bit(FeatureEN::parameters);
    if (relation.exper != nullptr) set |= Bit(FeatureEN::experience);
    return set;
}

std::string Count(long long count, const char* noun) {
    return Format("%lld %s%s", count, noun, count == 1 ? "" : "s");
}

}  // namespace

FeatureSet FeaturesOf(const Bnode_bn& node) {
    FeatureSet set = Bit(FeatureEN::node) | Bit(FeatureEN::name) | Bit(FeatureEN::position) |
                     Bit(FeatureEN::exactPosition);
    if (HasText(node.title))
        set |= Bit(streql_kt(node.title, node.name()) ? FeatureEN::sameTitle : FeatureEN::title);
    if (HasText(node.comment)) set |= Bit(FeatureEN::comment);
    if (node.kind != NatureNode) set |= Bit(FeatureEN::kind);
    if (node.kind == UtilityNode)
        set |= Bit(FeatureEN::utilityForm);
    else if (HasTextless(node.variable))
        set |= Bit(FeatureEN::textlessStates);
    if (!node.variable.discrete && node.kind != UtilityNode) set |= Bit(FeatureEN::continuous);
    if (!node.nodesets().empty()) set |= Bit(FeatureEN::groups);
    if (!node.userFields().empty()) set |= Bit(FeatureEN::userFields);
    if (node.parents.N > 0) set |= Bit(FeatureEN::parents);
    return set | StateFeatures(node.variable) | RelationFeatures(node);
}

FeatureSet FeaturesOf(const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    const fontspec_kt plain;
    const bool plainGrid =
        drawing.grid.x == 10 && drawing.grid.y == 10 && !drawing.showGrid && !drawing.snapToGrid;
    FeatureSet set = Bit(FeatureEN::margin) | Bit(FeatureEN::drawStyle);
    set |= Bit(HasText(net.title) ? FeatureEN::netTitle : FeatureEN::noNetTitle);
    if (HasText(net.comment)) set |= Bit(FeatureEN::netComment);
    if (net.autoUpdate) set |= Bit(FeatureEN::autoUpdate);
    if (drawing.labelStyle != 1) set |= Bit(FeatureEN::labelStyle);
    if (drawing.zoomFactor != 1) set |= Bit(FeatureEN::zoom);
    if (font.face != plain.face || font.size != plain.size || font.styleFlags != plain.styleFlags)
        set |= Bit(FeatureEN::font);
    if (!plainGrid) set |= Bit(FeatureEN::grid);
    if (!net.nodesets().empty()) set |= Bit(FeatureEN::groupOrder);
    if (HasEarlyChild(net)) set |= Bit(FeatureEN::nodeOrder);
    return set;
}

std::vector<std::string> LossNotes(const Losses& losses, const char* format) {
    std::vector<std::string> notes;
    for (const Words& entry : words) {
        const FeatureSet bit = Bit(entry.feature);
        if (entry.scope == ScopeEN::net) {
            if ((losses.net & bit) != 0)
                notes.push_back(Format("%s is not kept by %s", entry.text, format));
            continue;
        }
        const auto& sets = entry.scope == ScopeEN::node ? losses.nodes : losses.groups;
        const auto count = std::count_if(sets.begin(), sets.end(),
                                         [bit](FeatureSet set) { return (set & bit) != 0; });
        if (count == 0) continue;
        const bool plural = count > 1 || *entry.text != '%';  // what is counted is the subject
        std::string note(entry.text);
        note.replace(note.find("%s"), 2, Count(count, nouns[static_cast<int>(entry.scope)]));
        notes.push_back(note + (plural ? " are" : " is") + " not kept by " + format);
    }
    notes.insert(notes.end(), losses.remarks.begin(), losses.remarks.end());
    return notes;
}

}  // namespace lumo
