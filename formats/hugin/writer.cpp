#include "formats/hugin/hugin.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <span>
#include <string>
#include <unordered_map>

#include "formats/hugin/counts.h"
#include "formats/shared/describe.h"
#include "formats/shared/keeping.h"
#include "formats/shared/labels.h"
#include "formats/shared/rows.h"
#include "formats/shared/textout.h"
#include "library/utilities/names.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr double fullScale = 1.25;  // of positions, by readers, at full zoom
constexpr double fullZoom = 100;    // per cent
constexpr std::size_t longestValue = 255;

// ---- Colors --------------------------------------------------------------------------------

/// The palette has four levels of each: blue changes slowest and green fastest.
constexpr std::array<int, 4> outerLevels = {255, 198, 132, 0};
constexpr std::array<int, 4> greenLevels = {255, 195, 130, 0};

struct PaletteColor {
    int index;
    bool exact;
};

PaletteColor Nearest(RGB color) {
    bool exact = true;
    const auto nearest = [&exact](const std::array<int, 4>& levels, int value) {
        const auto closer = [value](int a, int b) {
            return std::abs(a - value) < std::abs(b - value);
        };
        const auto level = std::min_element(levels.begin(), levels.end(), closer);
        exact = exact && *level == value;
        return static_cast<int>(level - levels.begin());
    };
    const int index = nearest(outerLevels, color.blue) * 16 + nearest(outerLevels, color.red) * 4 +
                      nearest(greenLevels, color.green);
    return {index, exact};
}

// ---- What the file can say -----------------------------------------------------------------

/// The number in per cent that a reader makes the zoom of.
double Percent(double zoom) {
    const double percent = zoom * fullZoom;
    for (const double limit : {-HUGE_VAL, HUGE_VAL}) {
        const double other = std::nextafter(percent, limit);
        if (percent / fullZoom != zoom && other / fullZoom == zoom) return other;
    }
    return percent;
}

double ZoomAsRead(double zoom) {
    const double read = Percent(zoom) / fullZoom;
    return read > 0 && std::isfinite(read) && std::isfinite(fullZoom / read) ? read : 1;
}

/// Words of the language, which a node cannot be called.
constexpr std::string_view ownWords[] = {
    "net",         "class",      "node",     "decision", "utility",   "discrete", "continuous",
    "chance",      "function",   "temporal", "instance", "potential", "data",     "experience",
    "fading",      "normal",     "states",   "label",    "position",  "subtype",  "state_values",
    "model_nodes", "model_data", "inputs",   "outputs",  "number",    "interval", "boolean"};

bool IsOwnWord(const char* name) {
    return std::ranges::any_of(
        ownWords, [name](std::string_view word) { return streqli_kt(word.data(), name); });
}

/// A net as the file will show it.
class Plan {
public:
    explicit Plan(const Bnet_bn& net)
        : net_(net),
          placing_(*net.vnets[0], fullScale / ZoomAsRead(net.vnets[0]->zoomFactor), true),
          tables_(net),
          colors_(NodesetColors(net)) {
        int place = 0;
        for (const auto& set : net.nodesets()) {
            places_.emplace(set.get(), place++);
            if (IsLegalName_kt(set->name())) groupNames_.add(set->name());
        }
        renameNodes();
        colored_ = place;
        while (colored_ > 0 && IsDefaultColor(colors_[static_cast<std::size_t>(colored_ - 1)]))
            --colored_;
    }

    const Placing& placing() const { return placing_; }
    const Tables& tables() const { return tables_; }
    const Bnet_bn& net() const { return net_; }

    const char* nameOf(const Bnode_bn& node) const {
        const auto found = renamed_.find(&node);
        return found == renamed_.end() ? node.name() : found->second.c_str();
    }
    bool keepsName(const Bnode_bn& node) const { return !renamed_.contains(&node); }

    // Groups. Those at the end of the list have no color in the file when theirs is the default.

    int placeOf(const nodeset_bn& set) const { return places_.at(&set); }
    const nodeset_bn& group(int place) const {
        return *net_.nodesets()[static_cast<std::size_t>(place)];
    }
    /// The group's name, or a legal one unlike all others.
    std::string groupName(const nodeset_bn& set) {
        if (IsLegalName_kt(set.name())) return set.name();
        std::string name = groupNames_.unique(set.name(), 'G');
        groupNames_.add(name);
        return name;
    }
    int coloredGroups() const { return colored_; }
    PaletteColor color(int place) const {
        return Nearest(colors_[static_cast<std::size_t>(place)]);
    }

    // States.

    /// The labels to write; what a reader makes of them: names, and titles unless they are the
    /// names.
    const Texts& labels(const Bnode_bn& node) const {
        StateLabels(node.variable, labels_);
        return labels_;
    }
    Texts readNames(const Bnode_bn& node) const {
        const int count = node.numStates();
        if (AreStateNames(labels(node))) return labels_;
        const OwnedStrs made(MakeLegalUniqueNames_kt(Pointers(labels_).data(), count, 'N'), count);
        return {made.get(), made.get() + count};
    }

private:
    void renameNodes() {
        const auto isOwnWord = [](const Bnode_bn* node) { return IsOwnWord(node->name()); };
        if (std::none_of(net_.nodes.begin(), net_.nodes.end(), isOwnWord)) return;
        UniqueNames_kt names;
        for (const Bnode_bn* node : net_.nodes) names.add(node->name());
        for (const Bnode_bn* node : net_.nodes) {
            if (!isOwnWord(node)) continue;
            const std::string& name =
                renamed_.emplace(node, names.unique(node->name(), 'N')).first->second;
            names.add(name);
        }
    }

    const Bnet_bn& net_;
    Placing placing_;
    Tables tables_;
    std::vector<RGB> colors_;
    std::unordered_map<const Bnode_bn*, std::string> renamed_;
    std::unordered_map<const nodeset_bn*, int> places_;
    UniqueNames_kt groupNames_;
    int colored_ = 0;
    mutable Texts labels_;
};

/// A utility node has no states here.
int StatesOf(const Bnode_bn& node) { return node.kind == UtilityNode ? 0 : node.numStates(); }

// ---- User fields ---------------------------------------------------------------------------

/// Names that mean something else to a reader.
constexpr const char* reservedFields[] = {"label", "position", "states", "subtype"};

bool IsFieldName(const std::string& name) {
    constexpr std::string_view ends = " \t\n\v\f\r\"(){}=,;:|%";
    if (name.empty() || name.size() > longestValue) return false;
    if (name.find_first_of(ends) != std::string::npos) return false;
    if (name.find("HRUNTIME") != std::string::npos) return false;
    const std::string start = name.substr(0, 3);
    return !streqli_kt(start.c_str(), "HR_") &&
           std::none_of(std::begin(reservedFields), std::end(reservedFields),
                        [&](const char* word) { return streqli_kt(word, name.c_str()); });
}

/// Whether the text can stand without quotes: lists and calls, (0 1 2) or normal (0, 1), as the
/// language has them in some fields, with nothing in them that ends a field or an object.
bool IsList(std::string_view text) {
    if (text.empty() || text.back() != ')') return false;
    int open = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') quoted = !quoted;
        const bool isPlain = quoted ? c != '\\' : std::string_view(";{}%").find(c) == text.npos;
        const bool isBlank = c == ' ' && i > 0 && text[i - 1] != ' ';
        if (!isPlain || (c >= 0 && c <= ' ' && !isBlank)) return false;
        if (quoted) continue;
        if (open == 0 && i > 0 && std::string_view("=|,").find(c) != text.npos) return false;
        open += (c == '(') - (c == ')');
        if (open < 0) return false;
    }
    return open == 0 && !quoted && ToUtf8(text) == text;
}

/// Whether a continuous variable without intervals is among the nodes: tables are texts then.
bool IsContinuous(const Bnode_bn* node) {
    return node->kind == NatureNode && !node->variable.discrete && node->numStates() == 0;
}

/// Whether the field belongs into the node's potential: its distribution, or the expression behind
/// its table.
bool IsOfPotential(const Bnode_bn& node, const UserField& field) {
    const bool isModel = field.name == "model_nodes" || field.name == "model_data";
    const bool isTable = field.name == "data" && node.relation.kind == RelnKindEN::none &&
                         std::any_of(node.family.begin(), node.family.end(), IsContinuous);
    return (isModel || isTable) && IsList(FieldText(field));
}

/// Whether the numbers of the states say what these fields would.
bool HasLevels(const Varbl_bn& variable) {
    if (variable.levels == nullptr || variable.numStates == 0) return false;
    const int open = variable.numLevels > variable.numStates ? 1 : 0;
    return std::all_of(variable.levels + open, variable.levels + variable.numLevels - open,
                       [](double level) { return std::isfinite(level); });
}

bool SaysLevels(const UserField& field) {
    return field.name == "subtype" || field.name == "state_values";
}

/// Without quotes: the language knows these words.
bool IsSubtype(const UserField& field) {
    return field.name == "subtype" && (field.data == "label" || field.data == "boolean" ||
                                       field.data == "number" || field.data == "interval");
}

bool IsWritable(const Bnode_bn& node, const UserField& field) {
    if (IsOfPotential(node, field) || IsSubtype(field)) return true;
    const std::string_view text = FieldText(field);
    if (field.name == "state_values" && IsList(text)) return true;
    return IsFieldName(ToUtf8(field.name)) && text.find('\0') == std::string_view::npos &&
           ToUtf8(text).size() <= longestValue && !(SaysLevels(field) && HasLevels(node.variable));
}

// ---- Tables --------------------------------------------------------------------------------

/// What the rows sum to: counts, where the file had such.
HeldTable Weights(const Bnode_bn& node) {
    return node.relation.experFromCounts ? Experience(node.relation) : HeldTable();
}

/// Whether the rows are counts that come back; when all of them sum to 1, readers cannot tell.
bool KeepsCounts(const Plan& plan, const Bnode_bn& node) {
    const float* const experience = node.relation.exper;
    return node.relation.experFromCounts && plan.tables().has(node) &&
           !std::all_of(experience, experience + NumProduct(node.parents),
                        [](float value) { return value == 1; }) &&
           AllRows(plan.tables().of(node), node, Weights(node),
                   [](HeldTable, const RowNumbers& numbers) { return numbers.keepsWeight(); });
}

/// A decision has one where its rows are no probabilities: they say what may be chosen.
bool KeepsTable(const Plan& plan, const Bnode_bn& node) {
    if (node.kind == DecisionNode && !KeepsCounts(plan, node)) return false;
    const bool real = node.relation.kind == RelnKindEN::real;
    if (!plan.tables().has(node) || (real ? node.numStates() > 1 : StatesOf(node) == 0))
        return false;
    return std::all_of(node.parents.begin(), node.parents.end(),
                       [](const Bnode_bn* parent) { return StatesOf(*parent) > 0; });
}

bool KeepsExactTable(const Plan& plan, const Bnode_bn& node) {
    if (!KeepsTable(plan, node) || node.relation.kind == RelnKindEN::real) return true;
    return AllRows(plan.tables().of(node), node, Weights(node),
                   [](HeldTable row, const RowNumbers& numbers) { return numbers.keepsRow(row); });
}

/// Experience as a field of its own stands for what no row tells by its sum; counts of 1 throughout
/// are as none to readers.
bool KeepsExperience(const Plan& plan, const Bnode_bn& node) {
    if (!KeepsTable(plan, node) || node.relation.kind == RelnKindEN::real) return false;
    const float* experience = node.relation.exper;
    const float* const end = experience + NumProduct(node.parents);
    if (node.relation.experFromCounts) return KeepsCounts(plan, node);
    return std::all_of(experience, end,
                       [](float value) { return value >= 0 && std::isfinite(value); }) &&
           AllRows(plan.tables().of(node), node, {},
                   [](HeldTable, const RowNumbers& numbers) { return numbers.keepsWeight(); });
}

// ---- What is kept --------------------------------------------------------------------------

bool KeepsLevels(const Bnode_bn& node) {
    return node.kind != UtilityNode && HasLevels(node.variable);
}

bool KeepsStateNames(const Plan& plan, const Bnode_bn& node) {
    return StatesOf(node) > 0 && AreKept(node.variable.stateNames, plan.readNames(node));
}

bool KeepsUnnamed(const Plan&, const Bnode_bn& node) { return StatesOf(node) == 0; }

bool KeepsStateTitles(const Plan& plan, const Bnode_bn& node) {
    return StatesOf(node) > 0 && !AreStateNames(plan.labels(node)) &&
           AreKept(node.variable.stateTitles, plan.labels(node));
}

bool KeepsUntitled(const Plan& plan, const Bnode_bn& node) {
    return StatesOf(node) == 0 || AreStateNames(plan.labels(node));
}

bool KeepsStateComments(const Plan&, const Bnode_bn& node) { return StatesOf(node) > 0; }

bool KeepsGroups(const Plan&, const Bnode_bn& node) {
    return node.nodesets().size() == 1 && IsLegalName_kt(node.nodesets().front()->name());
}

bool KeepsUserFields(const Plan&, const Bnode_bn& node) {
    return std::ranges::all_of(node.userFields(), [&](const UserField& field) {
        return IsWritable(node, field) && !(SaysLevels(field) && HasLevels(node.variable));
    });
}

constexpr Kept<Plan, Bnode_bn> keptOfNodes[] = {
    {FeatureEN::node},
    {FeatureEN::name, [](const Plan& plan, const Bnode_bn& node) { return plan.keepsName(node); }},
    {FeatureEN::title},
    {FeatureEN::sameTitle},
    {FeatureEN::comment},
    {FeatureEN::kind},
    {FeatureEN::continuous,
     [](const Plan&, const Bnode_bn& node) { return IsContinuous(&node) || KeepsLevels(node); }},
    {FeatureEN::stateValues, [](const Plan&, const Bnode_bn& node) { return KeepsLevels(node); }},
    {FeatureEN::levels, [](const Plan&, const Bnode_bn& node) { return KeepsLevels(node); }},
    {FeatureEN::utilityForm,
     [](const Plan&, const Bnode_bn& node) {
         return node.numStates() == 0 && !node.variable.discrete;
     }},
    {FeatureEN::stateNames, KeepsStateNames},
    {FeatureEN::unnamedStates, KeepsUnnamed},
    {FeatureEN::stateTitles, KeepsStateTitles},
    {FeatureEN::untitledStates, KeepsUntitled},
    {FeatureEN::stateComments, KeepsStateComments},
    {FeatureEN::position},
    {FeatureEN::exactPosition,
     [](const Plan& plan, const Bnode_bn& node) { return plan.placing().isExact(node); }},
    {FeatureEN::groups, KeepsGroups},
    {FeatureEN::userFields, KeepsUserFields},
    {FeatureEN::parents},
    {FeatureEN::noTable},
    {FeatureEN::table, KeepsTable},
    {FeatureEN::exactTable, KeepsExactTable},
    {FeatureEN::deterministic, KeepsTable},
    {FeatureEN::experience, KeepsExperience},
};

constexpr Kept<Plan, int> keptOfGroups[] = {
    {FeatureEN::group,
     [](const Plan& plan, const int& place) { return IsLegalName_kt(plan.group(place).name()); }},
    {FeatureEN::color,
     [](const Plan& plan, const int& place) {
         return place >= plan.coloredGroups() || plan.color(place).exact;
     }},
};

constexpr Kept<Plan, Bnet_bn> keptOfNet[] = {
    {FeatureEN::nodeOrder},
    {FeatureEN::netTitle,
     [](const Plan&, const Bnet_bn& net) { return ToUtf8(net.title).size() <= longestValue; }},
    {FeatureEN::noNetTitle},
    {FeatureEN::netComment},
    {FeatureEN::autoUpdate},
    {FeatureEN::labelStyle},
    {FeatureEN::zoom,
     [](const Plan&, const Bnet_bn& net) {
         return ZoomAsRead(net.vnets[0]->zoomFactor) == net.vnets[0]->zoomFactor;
     }},
    {FeatureEN::font,
     [](const Plan&, const Bnet_bn& net) {
         const fontspec_kt& font = net.vnets[0]->font->spec();
         return ToUtf8(font.face).size() <= longestValue && font.size >= 0;
     }},
    {FeatureEN::grid,
     [](const Plan&, const Bnet_bn& net) {
         const dcoord_kt grid = net.vnets[0]->grid;
         return std::isfinite(grid.x) && std::isfinite(grid.y);
     }},
    {FeatureEN::margin,
     [](const Plan& plan, const Bnet_bn&) { return plan.placing().keepsMargin(); }},
    {FeatureEN::groupOrder},
};

// ---- Writing -------------------------------------------------------------------------------

void WriteField(TextOut& out, std::string_view name, std::string_view text) {
    out << "  " << ToUtf8(name) << " = " << Quoted(text) << ";\n";
}

/// A text of which readers keep so much alone; they would cut it within a character.
void WriteShortField(TextOut& out, std::string_view name, std::string_view text) {
    WriteField(out, name, WithinBytes(ToUtf8(text), longestValue));
}

template <class T>
void WriteNumberField(TextOut& out, std::string_view name, T value) {
    out << "  " << name << " = \"" << value << "\";\n";
}

void WriteDisplay(TextOut& out, const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    const FeatureSet has = FeaturesOf(net);
    const auto flag = [&font](int bit) { return (font.styleFlags & bit) != 0; };
    if ((has & Bit(FeatureEN::labelStyle)) != 0)
        WriteNumberField(out, "HR_Node_Label_Style", drawing.labelStyle == 0 ? 1 : 2);
    if ((has & Bit(FeatureEN::zoom)) != 0)
        WriteNumberField(out, "HR_Zoom_ZoomFactor", Percent(drawing.zoomFactor));
    if ((has & Bit(FeatureEN::autoUpdate)) != 0) WriteNumberField(out, "HR_Propagate_Auto", 1);
    if ((has & Bit(FeatureEN::font)) != 0) {
        WriteShortField(out, "HR_Font_Name", font.face);
        WriteNumberField(out, "HR_Font_Size", font.size);
        WriteNumberField(out, "HR_Font_Weight", flag(fontspec_kt::Bold) ? 700 : 400);
        WriteNumberField(out, "HR_Font_Italic", flag(fontspec_kt::Italic) ? 1 : 0);
    }
    if ((has & Bit(FeatureEN::grid)) != 0) {
        if (std::isfinite(drawing.grid.x)) WriteNumberField(out, "HR_Grid_X", drawing.grid.x);
        if (std::isfinite(drawing.grid.y)) WriteNumberField(out, "HR_Grid_Y", drawing.grid.y);
        WriteNumberField(out, "HR_Grid_GridShow", drawing.showGrid ? 1 : 0);
        WriteNumberField(out, "HR_Grid_GridSnap", drawing.snapToGrid ? 1 : 0);
    }
}

void WriteGroups(TextOut& out, Plan& plan) {
    const int count = static_cast<int>(plan.net().nodesets().size());
    if (count == 0) return;
    WriteNumberField(out, "HR_Groups_UserGroupsNo", count);
    std::string names;
    for (const auto& set : plan.net().nodesets()) names += plan.groupName(*set) + '\t';
    WriteField(out, "HR_Groups_GroupNames", names);
    if (plan.coloredGroups() == 0) return;
    std::string colors;
    for (int i = 0; i < plan.coloredGroups(); ++i) colors += Format("%02d", plan.color(i).index);
    WriteField(out, "HR_Groups_GroupColors", colors);
}

void WriteNet(TextOut& out, Plan& plan) {
    const Bnet_bn& net = plan.net();
    out << "net\n{\n";
    if (HasText(net.title)) WriteShortField(out, "name", net.title);
    if (HasText(net.comment)) WriteField(out, "HR_Desc", net.comment);
    WriteDisplay(out, net);
    WriteGroups(out, plan);
    out << "}\n";
}

std::string_view KindOf(const Bnode_bn& node) {
    if (IsContinuous(&node)) return "continuous node";
    if (node.kind == DecisionNode) return "decision";
    return node.kind == UtilityNode ? "utility" : "node";
}

void WriteStates(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    if (node.kind == UtilityNode || IsContinuous(&node)) return;
    out << "  states = (";
    WriteSeparated(out, plan.labels(node), " ",
                   [&](const std::string& label) { out << Quoted(label); });
    out << ");\n";
    char* const* comments = node.variable.stateComments;
    for (int i = 0; comments != nullptr && i < node.numStates(); ++i) {
        if (HasText(comments[i])) WriteField(out, "HR_State_" + std::to_string(i), comments[i]);
    }
}

/// What the states stand for: a number each, or the intervals between the numbers.
void WriteLevels(TextOut& out, const Varbl_bn& variable) {
    const bool intervals = variable.numLevels > variable.numStates;
    out << "  subtype = " << (intervals ? "interval" : "number") << ";\n  state_values = (";
    for (int i = 0; i < variable.numLevels; ++i) {
        const double level = variable.levels[i];
        if (i > 0) out << ' ';
        if (std::isfinite(level))
            out << level;
        else
            out << (level < 0 ? "-infinity" : "infinity");
    }
    out << ");\n";
}

void WriteNode(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    out << '\n' << KindOf(node) << ' ' << plan.nameOf(node) << "\n{\n";
    if (HasText(node.title)) WriteField(out, "label", node.title);
    if (plan.placing().hasPlaces()) {
        const coord_kt at = plan.placing().written(node);
        out << "  position = (" << at.x << ' ' << at.y << ");\n";
    }
    WriteStates(out, node, plan);
    if (HasText(node.comment)) WriteField(out, "HR_Desc", node.comment);
    if (!node.nodesets().empty())
        WriteNumberField(out, "HR_Grp", plan.placeOf(*node.nodesets().front()));
    if (KeepsLevels(node)) WriteLevels(out, node.variable);
    for (const UserField& field : node.userFields()) {
        if (!IsWritable(node, field) || IsOfPotential(node, field)) continue;
        if (SaysLevels(field) && KeepsLevels(node)) continue;
        const std::string_view text = FieldText(field);
        if (IsSubtype(field) || (text.starts_with('(') && IsList(text)))
            out << "  " << field.name << " = " << text << ";\n";
        else
            WriteField(out, field.name, text);
    }
    out << "}\n";
}

/// Writes the numbers of a table with the parentheses that show its levels: one pair around the
/// states of each parent and, when there are several, around those of the node.
class TableWriter {
public:
    TableWriter(TextOut& out, const Bnode_bn& node, int states)
        : out_(out), spans_(static_cast<std::size_t>(node.parents.N)) {
        long long span = 1;
        for (std::size_t i = spans_.size(); i-- > 0;)
            spans_[i] = span *= node.parents[static_cast<int>(i)]->numStates();
        if (states > 0 || spans_.empty()) spans_.push_back(1);
    }

    /// One row: write() writes the numbers of one combination of parent states.
    template <class WRITE>
    void row(WRITE write) {
        if (row_ > 0) separate();
        for (const long long span : spans_)
            if (row_ % span == 0) out_ << '(';
        write();
        ++row_;
        for (const long long span : spans_)
            if (row_ % span == 0) out_ << ')';
    }

private:
    /// A list starts on a new line, below those that it is beside.
    void separate() {
        const auto open = std::count_if(spans_.begin(), spans_.end(),
                                        [this](long long span) { return row_ % span != 0; });
        if (open == std::ssize(spans_)) {
            out_ << ' ';
            return;
        }
        constexpr std::size_t start = std::string_view("  data = ").size();
        out_ << '\n' << std::string(start + static_cast<std::size_t>(open), ' ');
    }

    TextOut& out_;
    std::vector<long long> spans_;  // rows of a pair of parentheses, from the outermost in
    long long row_ = 0;
};

/// Whether a row is written that a reader scales, its sum becoming experience which the net has
/// not, or which was a slip of its file rather than counts.
bool IsTakenForCounts(const Bnode_bn& node, const Plan& plan) {
    if (node.kind != NatureNode || !KeepsTable(plan, node) ||
        node.relation.kind == RelnKindEN::real)
        return false;
    const bool areCounts = node.relation.experFromCounts;
    return !AllRows(plan.tables().of(node), node, Weights(node),
                    [areCounts](HeldTable, const RowNumbers& row) {
                        const std::span<const double> numbers = row.numbers();
                        const double sum = std::accumulate(numbers.begin(), numbers.end(), 0.0);
                        if (areCounts) return !hugin::LooksLikeSlip(sum);
                        return sum == 0 || std::abs(sum - 1) <= hugin::CountTolerance;
                    });
}

void WritePotential(TextOut& out, const Bnode_bn& node, const Plan& plan) {
    const bool hasTable = KeepsTable(plan, node);
    const auto isOfPotential = [&](const UserField& field) { return IsOfPotential(node, field); };
    if (!hasTable && node.parents.N == 0 && std::ranges::none_of(node.userFields(), isOfPotential))
        return;
    out << "\npotential (" << plan.nameOf(node);
    if (node.parents.N > 0) out << " |";
    for (const Bnode_bn* parent : node.parents) out << ' ' << plan.nameOf(*parent);
    out << ")\n{\n";
    for (const UserField& field : node.userFields())
        if (isOfPotential(field)) out << "  " << field.name << " = " << FieldText(field) << ";\n";
    if (hasTable) {
        out << "  data = ";
        TableWriter table(out, node, StatesOf(node));
        if (node.relation.kind == RelnKindEN::real) {
            const int rows = NumProduct(node.parents);
            for (int row = 0; row < rows; ++row)
                table.row([&] { out << RealTable(node.relation)[row]; });
        } else {
            AllRows(plan.tables().of(node), node, Weights(node),
                    [&](HeldTable, const RowNumbers& numbers) {
                        table.row([&] { numbers.write(out, " "); });
                        return true;
                    });
        }
        out << ";\n";
        if (node.relation.exper != nullptr && KeepsExperience(plan, node) &&
            !node.relation.experFromCounts) {
            out << "  experience = ";
            const HeldTable experience = Experience(node.relation);
            TableWriter list(out, node, 0);
            for (int rows = NumProduct(node.parents), row = 0; row < rows; ++row)
                list.row([&] { out << experience[row]; });
            out << ";\n";
        }
    }
    out << "}\n";
}

}  // namespace

void WriteHugin(const ImportResult& result, std::ostream& stream) {
    const Bnet_bn& net = *result.net;
    Plan plan(net);
    TextOut out(stream);
    WriteNet(out, plan);
    for (const Bnode_bn* node : net.nodes) WriteNode(out, *node, plan);
    for (const Bnode_bn* node : net.nodes) WritePotential(out, *node, plan);
}

Losses HuginLosses(const Bnet_bn& net) {
    const Plan plan(net);
    Losses losses = FindLosses(net, plan, keptOfNodes, keptOfGroups, keptOfNet);
    const auto counted = std::ranges::count_if(
        net.nodes, [&](const Bnode_bn* node) { return IsTakenForCounts(*node, plan); });
    if (counted > 0)
        losses.remarks.push_back(
            Format("rows of %lld node%s do not sum to 1, so that readers of Hugin files take them "
                   "for counts",
                   static_cast<long long>(counted), counted == 1 ? "" : "s"));
    return losses;
}

}  // namespace lumo
