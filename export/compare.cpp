#include "export/compare.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <unordered_map>

#include "formats/shared/describe.h"
#include "formats/shared/digits.h"
#include "formats/shared/placing.h"
#include "formats/shared/rows.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

// ---- Words ---------------------------------------------------------------------------------

using enum FeatureEN;

constexpr FeatureSet Of(std::initializer_list<FeatureEN> features) {
    FeatureSet set = 0;
    for (const FeatureEN feature : features) set |= Bit(feature);
    return set;
}

struct Aspect {
    AspectEN aspect;
    const char* key;
    const char* words;
    FeatureSet features;  ///< whose loss explains it
};

/// In the order of the enumeration.
constexpr Aspect aspects[] = {
    {AspectEN::name, "name", "name", Of({name})},
    {AspectEN::kind, "kind", "kind", Of({kind})},
    {AspectEN::discrete, "discrete", "discrete", Of({continuous, utilityForm, stateTitles})},
    {AspectEN::title, "title", "title", Of({title})},
    {AspectEN::comment, "comment", "comment", Of({comment})},
    {AspectEN::states, "states", "states",
     Of({stateNames, unnamedStates, stateTitles, untitledStates, textlessStates, stateValues,
         levels, utilityForm})},
    {AspectEN::stateOrder, "stateOrder", "order of states", 0},
    {AspectEN::stateTitles, "stateTitles", "title of state",
     Of({stateTitles, untitledStates, textlessStates, utilityForm})},
    {AspectEN::stateComments, "stateComments", "comment of state",
     Of({stateComments, utilityForm})},
    {AspectEN::stateValues, "stateValues", "values of states",
     Of({stateValues, stateTitles, utilityForm})},
    {AspectEN::levels, "levels", "bounds of intervals", Of({levels, stateTitles})},
    {AspectEN::parents, "parents", "parents", Of({parents})},
    {AspectEN::parentOrder, "parentOrder", "order of parents", 0},
    {AspectEN::position, "position", "position", Of({position, exactPosition})},
    {AspectEN::groups, "groups", "groups", Of({groups})},
    {AspectEN::userFields, "userFields", "user field", Of({userFields})},
    {AspectEN::relation, "relation", "relation",
     Of({noTable, table, exactTable, deterministic, zeroOneTable, parameters})},
    {AspectEN::table, "table", "table", Of({noTable, table, exactTable, parameters})},
    {AspectEN::parameters, "parameters", "noisy-max parameters", Of({parameters})},
    {AspectEN::experience, "experience", "experience", Of({experience, table, exactTable})},
    {AspectEN::netTitle, "title", "title", Of({netTitle, noNetTitle})},
    {AspectEN::netComment, "comment", "comment", Of({netComment})},
    {AspectEN::group, "groups", "group", Of({group})},
    {AspectEN::color, "color", "color of group", Of({color})},
    {AspectEN::positions, "positions", "positions", Of({position, exactPosition})},
    {AspectEN::autoUpdate, "autoUpdate", "automatic updating", Of({autoUpdate})},
    {AspectEN::labelStyle, "labelStyle", "label style", Of({labelStyle})},
    {AspectEN::zoom, "zoom", "zoom", Of({zoom})},
    {AspectEN::font, "font", "font", Of({font})},
    {AspectEN::grid, "grid", "grid", Of({grid})},
};

const Aspect& InfoOf(AspectEN aspect) { return aspects[static_cast<std::size_t>(aspect)]; }

using Text = std::optional<std::string>;

/// Empty texts say nothing.
Text TextOf(const char* text) { return HasText(text) ? Text(ToUtf8(text)) : Text(); }

template <class... NUMBERS>
std::string Digits(NUMBERS... numbers) {
    std::string text;
    const auto add = [&text](auto number) {
        char digits[MostDigits];
        text.append(text.empty() ? "" : ", ").append(digits, WriteDigits(digits, number));
    };
    (add(numbers), ...);
    return text;
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts) joined += (joined.empty() ? "" : ", ") + text;
    return joined;
}

void Note(std::vector<Difference>& differences, AspectEN aspect, Text before, Text after,
          const std::string& of = {}) {
    if (before != after)
        differences.push_back({aspect, of, std::move(before), std::move(after), {}});
}

// ---- States --------------------------------------------------------------------------------

const char* EntryOf(char* const* texts, int state) {
    return texts == nullptr ? nullptr : texts[state];
}

bool HasNames(const Varbl_bn& variable) {
    return variable.stateNames != nullptr &&
           std::all_of(variable.stateNames, variable.stateNames + variable.numStates, HasText);
}

/// What tells a state from the others: its name, or its title, value or interval.
std::string StateKey(const Varbl_bn& variable, int state, bool byName) {
    return ToUtf8(byName ? variable.stateNames[state] : StateLabel(variable, state));
}

std::vector<std::string> StateKeys(const Varbl_bn& variable, bool byName) {
    std::vector<std::string> keys;
    for (int state = 0; state < variable.numStates; ++state)
        keys.push_back(StateKey(variable, state, byName));
    return keys;
}

/// Which state of a node is which of another.
struct StateMap {
    bool byName = false;     ///< all states of both have names
    std::vector<int> after;  ///< of each state; empty when their numbers differ
    bool isReordered = false;
};

StateMap MapStates(const Varbl_bn& one, const Varbl_bn& other, bool areKept) {
    StateMap map;
    if (one.numStates != other.numStates) return map;
    map.byName = HasNames(one) && HasNames(other);
    const std::vector<std::string> before = StateKeys(one, map.byName);
    const std::vector<std::string> after = StateKeys(other, map.byName);
    map.after.resize(before.size());
    for (std::size_t i = 0; i < before.size(); ++i) map.after[i] = static_cast<int>(i);
    if (before == after || !areKept) return map;
    std::unordered_map<std::string, int> places;
    for (const std::string& key : after) places.emplace(key, static_cast<int>(places.size()));
    std::vector<int> found;
    for (const std::string& key : before)
        if (const auto at = places.find(key); at != places.end()) {
            found.push_back(at->second);
            places.erase(at);
        }
    if (found.size() != before.size()) return map;  // other states: each is what stands there
    map.after = std::move(found);
    map.isReordered = true;
    return map;
}

// ---- Tables --------------------------------------------------------------------------------

/// Which row of a table is which of another whose parents and states come in another order.
class RowMap {
public:
    RowMap() = default;
    /// parentOf: the place among the other's parents of each parent; maps: of their states.
    RowMap(const Bnode_bn& before, const Bnode_bn& after, const std::vector<int>& parentOf,
           const std::vector<const StateMap*>& maps) {
        std::vector<long long> strides(static_cast<std::size_t>(after.parents.N), 1);
        for (std::size_t i = strides.size(); i-- > 1;)
            strides[i - 1] = strides[i] * after.parents[static_cast<int>(i)]->numStates();
        for (int i = 0; i < before.parents.N; ++i) {
            const auto at = static_cast<std::size_t>(i);
            auto& offsets = offsets_.emplace_back();
            for (const int state : maps[at]->after)
                offsets.push_back(state * strides[static_cast<std::size_t>(parentOf[at])]);
            row_ += offsets.empty() ? 0 : offsets.front();
        }
        states_.resize(offsets_.size());
    }

    int row() const { return static_cast<int>(row_); }
    void next() {
        for (std::size_t i = offsets_.size(); i-- > 0;) {
            const std::vector<long long>& offsets = offsets_[i];
            row_ -= offsets[states_[i]];
            states_[i] = (states_[i] + 1) % offsets.size();
            row_ += offsets[states_[i]];
            if (states_[i] > 0) return;
        }
        ++row_;  // of a map without states: each row is itself
    }

private:
    std::vector<std::vector<long long>> offsets_;
    std::vector<std::size_t> states_;
    long long row_ = 0;
};

class Numbers {
public:
    explicit Numbers(std::optional<double> tolerance) : tolerance_(tolerance) {}

    bool areSame(HeldTable a, std::ptrdiff_t i, HeldTable b, std::ptrdiff_t j) const {
        if (tolerance_) return std::fabs(a[i] - b[j]) <= *tolerance_;
        if (a.exact != nullptr && b.exact != nullptr) return AreClose(a.exact[i], b.exact[j]);
        if (a.exact == nullptr && b.exact == nullptr) return AreClose(a.floats[i], b.floats[j]);
        return AreClose(static_cast<float>(a[i]), static_cast<float>(b[j]));
    }

    /// Compares two tables of so many rows, the columns in the order given.
    NumbersDifference compare(HeldTable before, HeldTable after, int rows, RowMap map,
                              std::vector<int> columns) const {
        NumbersDifference found;
        const auto states = static_cast<std::ptrdiff_t>(columns.size());
        found.all = 1LL * rows * states;
        found.columns = std::move(columns);
        for (int row = 0; row < rows; ++row, map.next()) {
            const HeldTable a = before.from(row * states), b = after.from(map.row() * states);
            RowDifference difference{row, map.row(), 0};
            bool differs = false;
            for (std::ptrdiff_t state = 0; state < states; ++state) {
                const int other = found.columns[static_cast<std::size_t>(state)];
                if (areSame(a, state, b, other)) continue;
                differs = true;
                ++found.different;
                difference.largest = std::max(difference.largest, std::fabs(a[state] - b[other]));
            }
            if (differs) found.rows.push_back(difference);
            found.largest = std::max(found.largest, difference.largest);
        }
        return found;
    }

private:
    std::optional<double> tolerance_;
};

// ---- Nets ----------------------------------------------------------------------------------

class Comparer {
public:
    Comparer(const Bnet_bn& before, const Bnet_bn& after, const CompareOptions& options)
        : before_(before),
          after_(after),
          losses_(options.losses),
          numbers_(options.tolerance),
          tablesBefore_(before),
          tablesAfter_(after),
          matching_(MatchNodes(before, after, options.losses)) {}

    Comparison compare() {
        mapStates();
        findOffset();
        for (const Bnode_bn* node : before_.nodes) {
            const int place = matching_.afterOf[static_cast<std::size_t>(node->place())];
            if (place < 0)
                found_.nodes.push_back({node, nullptr, MatchEN::none, {}, {}});
            else
                compareNodes(*node, *after_.nodes[place]);
        }
        for (const Bnode_bn* node : after_.nodes)
            if (matching_.beforeOf[static_cast<std::size_t>(node->place())] < 0)
                found_.nodes.push_back({nullptr, node, MatchEN::none, {}, {}});
        compareGroups();
        compareDisplay();
        return std::move(found_);
    }

private:
    const Bnode_bn* other(const Bnode_bn& before) const {
        const int place = matching_.afterOf[static_cast<std::size_t>(before.place())];
        return place < 0 ? nullptr : after_.nodes[place];
    }
    const StateMap& statesOf(const Bnode_bn& before) const {
        return states_[static_cast<std::size_t>(before.place())];
    }

    void mapStates() {
        for (const Bnode_bn* node : before_.nodes) {
            const Bnode_bn* const after = other(*node);
            states_.push_back(after == nullptr ? StateMap()
                                               : MapStates(node->variable, after->variable,
                                                           keepsStateNames(*node)));
        }
    }

    /// Else the names may be those of other states.
    bool keepsStateNames(const Bnode_bn& before) const {
        return losses_ == nullptr || (losses_->nodes[static_cast<std::size_t>(before.place())] &
                                      Bit(FeatureEN::stateNames)) == 0;
    }

    void compareNodes(const Bnode_bn& before, const Bnode_bn& after) {
        NodeDifference node{
            &before, &after, matching_.by[static_cast<std::size_t>(before.place())], {}, {}};
        auto& list = node.differences;
        Note(list, AspectEN::name, before.name(), after.name());
        Note(list, AspectEN::kind, KindName(before.kind), KindName(after.kind));
        Note(list, AspectEN::discrete, before.variable.discrete ? "yes" : "no",
             after.variable.discrete ? "yes" : "no");
        Note(list, AspectEN::title, ownTitle(before), ownTitle(after));
        Note(list, AspectEN::comment, TextOf(before.comment), TextOf(after.comment));
        compareStates(before, after, node);
        comparePositions(before, after, list);
        Note(list, AspectEN::groups, groupsOf(before), groupsOf(after));
        compareFields(before, after, list);
        compareRelations(before, after, node);
        if (list.empty())
            ++found_.same;
        else
            found_.nodes.push_back(std::move(node));
    }

    static Text ownTitle(const Bnode_bn& node) {
        return HasOwnTitle(node) ? TextOf(node.title) : Text();
    }

    /// Likewise: formats that want one are given the name.
    static Text ownTitle(const Bnet_bn& net) {
        Text title = TextOf(net.title);
        return title == TextOf(net.name) ? Text() : title;
    }

    // ---- States

    void compareStates(const Bnode_bn& before, const Bnode_bn& after, NodeDifference& node) {
        const Varbl_bn &a = before.variable, &b = after.variable;
        const StateMap& map = statesOf(before);
        auto& list = node.differences;
        const std::vector<std::string> keysBefore = StateKeys(a, map.byName);
        const std::vector<std::string> keysAfter = StateKeys(b, map.byName);
        Note(list, map.isReordered ? AspectEN::stateOrder : AspectEN::states, Joined(keysBefore),
             Joined(keysAfter));
        if (map.isReordered)
            node.notes.emplace_back("states are compared in the order of the first net");
        if (keysBefore.size() != keysAfter.size()) return;
        for (int state = 0; state < a.numStates; ++state) {
            const int at = map.after[static_cast<std::size_t>(state)];
            const std::string& key = keysBefore[static_cast<std::size_t>(state)];
            if (map.byName)
                Note(list, AspectEN::stateTitles, ownTitle(a, state), ownTitle(b, at), key);
            Note(list, AspectEN::stateComments, TextOf(EntryOf(a.stateComments, state)),
                 TextOf(EntryOf(b.stateComments, at)), key);
        }
        Note(list, AspectEN::stateValues, levelsOf(a, a.numStates, map),
             levelsOf(b, b.numStates, {}));
        Note(list, AspectEN::levels, levelsOf(a, a.numStates + 1, {}),
             levelsOf(b, b.numStates + 1, {}));
    }

    /// The title, if it says more than the name.
    static Text ownTitle(const Varbl_bn& variable, int state) {
        Text title = TextOf(EntryOf(variable.stateTitles, state));
        return title == ToUtf8(variable.stateNames[state]) ? Text() : title;
    }

    /// The numbers, if they are so many, in the order of the other net's states.
    static Text levelsOf(const Varbl_bn& variable, int count, const StateMap& map) {
        if (variable.levels == nullptr || variable.numLevels != count || count == 0) return {};
        std::vector<std::string> levels(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < levels.size(); ++i)
            levels[map.after.size() == levels.size() ? static_cast<std::size_t>(map.after[i]) : i] =
                Digits(variable.levels[i]);
        return Joined(levels);
    }

    // ---- Places

    static coord_kt placeOf(const Bnode_bn& node) {
        return node.vns.hasSome() ? node.vns[0]->position() : coord_kt();
    }

    /// By how much most nodes are moved: by that much the drawing begins elsewhere.
    void findOffset() {
        placed_ = HasPlaces(before_);
        if (placed_ != HasPlaces(after_)) {
            const auto words = [](bool has) { return has ? Text("from the file") : Text(); };
            Note(found_.net, AspectEN::positions, words(placed_), words(!placed_));
            placed_ = false;
        }
        std::map<std::pair<long long, long long>, int> counts;
        int most = 0;
        for (const Bnode_bn* node : before_.nodes) {
            const Bnode_bn* const after = other(*node);
            if (after == nullptr || !placed_) continue;
            const coord_kt from = placeOf(*node), to = placeOf(*after);
            const std::pair offset(0LL + to.x - from.x, 0LL + to.y - from.y);
            if (const int count = ++counts[offset]; count > most) most = count, offset_ = offset;
        }
    }

    void comparePositions(const Bnode_bn& before, const Bnode_bn& after,
                          std::vector<Difference>& list) const {
        if (!placed_) return;
        const coord_kt from = placeOf(before), to = placeOf(after);
        const long long x = to.x - offset_.first, y = to.y - offset_.second;
        const bool isRounded = std::abs(x - from.x) <= 1 && std::abs(y - from.y) <= 1;
        if (!isRounded)
            Note(list, AspectEN::position, Digits(1LL * from.x, 1LL * from.y), Digits(x, y));
    }

    // ---- Further texts

    static Text groupsOf(const Bnode_bn& node) {
        std::vector<std::string> names;
        for (const nodeset_bn* set : node.nodesets()) names.push_back(ToUtf8(set->name()));
        std::ranges::sort(names);
        return names.empty() ? Text() : Joined(names);
    }

    static void compareFields(const Bnode_bn& before, const Bnode_bn& after,
                              std::vector<Difference>& list) {
        if (before.userFields().empty() && after.userFields().empty()) return;
        std::map<std::string, std::pair<Text, Text>> fields;
        for (const UserField& field : before.userFields())
            fields[ToUtf8(field.name)].first = ToUtf8(FieldText(field));
        for (const UserField& field : after.userFields())
            fields[ToUtf8(field.name)].second = ToUtf8(FieldText(field));
        for (auto& [name, texts] : fields)
            Note(list, AspectEN::userFields, texts.first, texts.second, name);
    }

    // ---- Relations

    static std::string parentNames(const Bnode_bn& node) {
        std::vector<std::string> names;
        for (const Bnode_bn* parent : node.parents) names.emplace_back(parent->name());
        return Joined(names);
    }

    /// The places of the parents among the other's; fewer when they are other ones.
    std::vector<int> parentPlaces(const Bnode_bn& before, const Bnode_bn& after) const {
        std::unordered_map<const Bnode_bn*, int> places;
        for (const Bnode_bn* parent : after.parents)
            places.emplace(parent, static_cast<int>(places.size()));
        std::vector<int> found;
        for (const Bnode_bn* parent : before.parents)
            if (const auto at = places.find(other(*parent)); at != places.end())
                found.push_back(at->second);
        return found;
    }

    void compareRelations(const Bnode_bn& before, const Bnode_bn& after, NodeDifference& node) {
        auto& list = node.differences;
        Note(list, AspectEN::relation, RelationName(before.relation.kind),
             RelationName(after.relation.kind));
        const std::vector<int> places = parentPlaces(before, after);
        const bool areSame = static_cast<int>(places.size()) == before.parents.N &&
                             before.parents.N == after.parents.N;
        const bool inOrder = std::ranges::is_sorted(places);
        if (!areSame || !inOrder)
            Note(list, areSame ? AspectEN::parentOrder : AspectEN::parents, parentNames(before),
                 parentNames(after));
        const bool haveTables =
            before.relation.kind != RelnKindEN::none && after.relation.kind != RelnKindEN::none;
        if (!haveTables) return;
        if (!areSame || !haveStatesAlike(before, after)) {
            node.notes.emplace_back(areSame ? "tables are not compared, for the states differ"
                                            : "tables are not compared, for the parents differ");
            return;
        }
        const bool isPermuted = !inOrder || isReordered(before);
        if (isPermuted)
            node.notes.emplace_back("its table is compared in the order of the first net");
        compareTables(before, after, places, list);
        if (!isPermuted && !statesOf(before).isReordered) compareParameters(before, after, list);
    }

    /// As many states, of the node and of its parents.
    bool haveStatesAlike(const Bnode_bn& before, const Bnode_bn& after) const {
        if (before.numStates() != after.numStates()) return false;
        return std::all_of(before.parents.begin(), before.parents.end(), [&](Bnode_bn* parent) {
            return parent->numStates() == other(*parent)->numStates();
        });
    }

    bool isReordered(const Bnode_bn& before) const {
        return std::any_of(before.parents.begin(), before.parents.end(),
                           [&](Bnode_bn* parent) { return statesOf(*parent).isReordered; });
    }

    void compareTables(const Bnode_bn& before, const Bnode_bn& after,
                       const std::vector<int>& places, std::vector<Difference>& list) {
        std::vector<const StateMap*> maps;
        for (const Bnode_bn* parent : before.parents) maps.push_back(&statesOf(*parent));
        const RowMap rows(before, after, places, maps);
        const int count = NumProduct(before.parents);
        std::vector<int> columns = statesOf(before).after;
        if (columns.empty()) columns = {0};
        const auto tableOf = [](const Tables& tables, const Bnode_bn& node) {
            return node.relation.kind == RelnKindEN::real ? RealTable(node.relation)
                                                          : tables.of(node);
        };
        add(AspectEN::table, tableOf(tablesBefore_, before), tableOf(tablesAfter_, after), count,
            rows, std::move(columns), list);
        const HeldTable a = Experience(before.relation), b = Experience(after.relation);
        if (static_cast<bool>(a) != static_cast<bool>(b)) {
            const auto words = [](HeldTable table) { return table ? Text("one a row") : Text(); };
            Note(list, AspectEN::experience, words(a), words(b));
        } else {
            add(AspectEN::experience, a, b, count, rows, {0}, list);
        }
    }

    /// Whether noisy-max parameters count the states in the same order.
    static bool haveOneOrder(const Bnode_bn& before, const Bnode_bn& after) {
        const int *a = before.relation.order, *b = after.relation.order;
        if (a == nullptr || b == nullptr) return a == b;
        return std::equal(a, a + NumFamilyStates(before), b, b + NumFamilyStates(after));
    }

    void compareParameters(const Bnode_bn& before, const Bnode_bn& after,
                           std::vector<Difference>& list) {
        const int states = before.numStates();
        if (states == 0) return;
        if (before.relation.params != nullptr && after.relation.params != nullptr &&
            !haveOneOrder(before, after))
            return Note(list, AspectEN::parameters, Text("in one order of states"),
                        Text("in another"));
        add(AspectEN::parameters, {nullptr, before.relation.params},
            {nullptr, after.relation.params}, NumCIParams(before) / states, {},
            statesOf(before).after, list);
    }

    void add(AspectEN aspect, HeldTable before, HeldTable after, int rows, const RowMap& map,
             std::vector<int> columns, std::vector<Difference>& list) {
        if (!before || !after) return;
        NumbersDifference found = numbers_.compare(before, after, rows, map, std::move(columns));
        found_.numbers += found.all;
        if (found.different == 0) return;
        found_.differentNumbers += found.different;
        found_.largest = std::max(found_.largest, found.largest);
        list.push_back({aspect, {}, {}, {}, std::move(found)});
    }

    // ---- The net itself

    void compareGroups() {
        std::map<std::string, std::pair<Text, Text>> groups;
        const auto collect = [&groups](const Bnet_bn& net, Text std::pair<Text, Text>::*side) {
            std::size_t place = 0;
            const std::vector<RGB> colors = NodesetColors(net);
            for (const OwnedNodeset& set : net.nodesets())
                groups[ToUtf8(set->name())].*side = ColorText(colors[place++]);
        };
        collect(before_, &std::pair<Text, Text>::first);
        collect(after_, &std::pair<Text, Text>::second);
        for (const auto& [name, colors] : groups) {
            const bool inBoth = colors.first && colors.second;
            Note(found_.net, inBoth ? AspectEN::color : AspectEN::group, colors.first,
                 colors.second, name);
        }
    }

    void compareDisplay() {
        auto& list = found_.net;
        if (TextOf(before_.title) != TextOf(after_.title))
            Note(list, AspectEN::netTitle, ownTitle(before_), ownTitle(after_));
        Note(list, AspectEN::netComment, TextOf(before_.comment), TextOf(after_.comment));
        const auto note = [&](AspectEN aspect, auto textOf) {
            Note(list, aspect, textOf(before_), textOf(after_));
        };
        note(AspectEN::autoUpdate,
             [](const Bnet_bn& net) { return net.autoUpdate ? "on" : "off"; });
        note(AspectEN::labelStyle,
             [](const Bnet_bn& net) { return Digits(net.vnets[0]->labelStyle); });
        note(AspectEN::zoom, [](const Bnet_bn& net) { return Digits(net.vnets[0]->zoomFactor); });
        note(AspectEN::font, [](const Bnet_bn& net) {
            const fontspec_kt& font = net.vnets[0]->font->spec();
            return ToUtf8(font.face) + ", " + Digits(font.size) +
                   ((font.styleFlags & fontspec_kt::Bold) != 0 ? ", bold" : "") +
                   ((font.styleFlags & fontspec_kt::Italic) != 0 ? ", italic" : "");
        });
        note(AspectEN::grid, [](const Bnet_bn& net) {
            const Vnet_kt& drawing = *net.vnets[0];
            return Digits(drawing.grid.x, drawing.grid.y) + (drawing.showGrid ? ", shown" : "") +
                   (drawing.snapToGrid ? ", snapping" : "");
        });
    }

    const Bnet_bn& before_;
    const Bnet_bn& after_;
    const Losses* const losses_;
    Numbers numbers_;
    Tables tablesBefore_, tablesAfter_;
    Matching matching_;
    std::vector<StateMap> states_;  // of the first net's nodes
    bool placed_ = false;           // both nets are
    std::pair<long long, long long> offset_;
    Comparison found_;
};

// ---- Losses --------------------------------------------------------------------------------

/// Leaves out what the losses of the first net explain.
void LeaveOut(const Losses& losses, const Bnet_bn& before, Comparison& comparison) {
    const auto drop = [](std::vector<Difference>& list, FeatureSet lost) {
        std::erase_if(list, [lost](const Difference& difference) {
            return (InfoOf(difference.aspect).features & lost) != 0;
        });
    };
    FeatureSet ofAny = losses.net;
    for (const FeatureSet lost : losses.nodes) ofAny |= lost;
    std::erase_if(comparison.nodes, [&](NodeDifference& node) {
        if (node.before == nullptr) return false;
        const FeatureSet lost = losses.nodes[static_cast<std::size_t>(node.before->place())];
        if (node.after == nullptr) return (lost & Bit(FeatureEN::node)) != 0;
        drop(node.differences, lost);
        return node.differences.empty();
    });
    std::map<std::string, FeatureSet> groups;
    for (std::size_t i = 0; i < losses.groups.size(); ++i)
        groups.emplace(ToUtf8(before.nodesets()[i]->name()), losses.groups[i]);
    std::erase_if(comparison.net, [&](const Difference& difference) {
        const auto group = groups.find(difference.of);
        const FeatureSet lost = difference.of.empty()   ? ofAny
                                : group == groups.end() ? 0
                                                        : group->second;
        return (InfoOf(difference.aspect).features & lost) != 0;
    });
}

}  // namespace

const char* AspectKey(AspectEN aspect) { return InfoOf(aspect).key; }
const char* AspectWords(AspectEN aspect) { return InfoOf(aspect).words; }

Comparison CompareNets(const Bnet_bn& before, const Bnet_bn& after, const CompareOptions& options) {
    Comparison comparison = Comparer(before, after, options).compare();
    if (options.losses != nullptr) LeaveOut(*options.losses, before, comparison);
    return comparison;
}

std::string RowLabel(const Bnode_bn& node, int row) {
    std::vector<std::string> labels;
    for (int i = node.parents.N; i-- > 0;) {
        const Bnode_bn& parent = *node.parents[i];
        const int states = std::max(parent.numStates(), 1);
        labels.push_back(ToUtf8(parent.name()) + "=" +
                         ToUtf8(StateLabel(parent.variable, row % states)));
        row /= states;
    }
    std::ranges::reverse(labels);
    return Joined(labels);
}

std::vector<double> RowOf(const Bnode_bn& node, AspectEN aspect, int row) {
    const Reln_bn& relation = node.relation;
    HeldTable table{relation.probs, relation.exact};
    std::ptrdiff_t columns = std::max(node.numStates(), 1);
    if (relation.kind == RelnKindEN::real) table = RealTable(relation);
    if (aspect == AspectEN::parameters) table = {nullptr, relation.params};
    if (aspect == AspectEN::experience) table = Experience(relation), columns = 1;
    std::vector<double> numbers;
    for (std::ptrdiff_t i = 0; table && i < columns; ++i)
        numbers.push_back(table[row * columns + i]);
    return numbers;
}

}  // namespace lumo
