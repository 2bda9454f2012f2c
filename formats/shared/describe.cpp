#include "formats/shared/describe.h"

#include <span>
#include <unordered_map>

#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr int itemsListed = 12;  // in a tooltip

/// Finds the display style of a node set. A style holds the set's name cut to its field, so that of
/// the same place in the list is looked at first.
class StyleFinder {
public:
    explicit StyleFinder(const vect_kt<NodesetStyle>& styles) : styles_(styles) {
        for (const NodesetStyle& style : styles) byName_.try_emplace(style.name, &style);
    }
    const NodesetStyle* find(std::string_view setName, int place) const {
        const std::string_view cut = setName.substr(0, sizeof NodesetStyle::name - 1);
        if (place < styles_.N && cut == styles_[place].name) return &styles_[place];
        const auto found = byName_.find(cut);
        return found == byName_.end() ? nullptr : found->second;
    }

private:
    const vect_kt<NodesetStyle>& styles_;
    std::unordered_map<std::string_view, const NodesetStyle*> byName_;
};

/// A line "label: a, b, c and 5 more"; nothing when there are no items.
template <class TEXT_OF>
std::string ListLine(const char* label, int count, TEXT_OF textOf) {
    if (count == 0) return {};
    std::string line = std::string("\n") + label + ": ";
    for (int i = 0; i < std::min(count, itemsListed); ++i)
        line += (i == 0 ? "" : ", ") + ToUtf8(textOf(i));
    if (count > itemsListed) line += " and " + std::to_string(count - itemsListed) + " more";
    return line;
}

/// The sets' colours in their order; those without one take the unstyled ones in turn.
std::vector<RGB> ColorsOf(const Bnet_bn& net, std::span<const RGB> unstyled) {
    const StyleFinder styles(net.vnets[0]->nodesetStyles);
    std::vector<RGB> colors;
    std::size_t next = 0;
    for (const auto& set : net.nodesets()) {
        const NodesetStyle* style = styles.find(set->name(), static_cast<int>(colors.size()));
        colors.push_back(style == nullptr ? unstyled[next++ % unstyled.size()]
                                          : RGB{style->red, style->green, style->blue});
    }
    return colors;
}

}  // namespace

const char* StatusName(StatusEN status) {
    constexpr const char* names[] = {"ok", "warnings", "errors", "failed"};
    return names[static_cast<int>(status)];
}

const char* KindName(NodeKindEN kind) {
    if (kind == DecisionNode) return "decision";
    return kind == UtilityNode ? "utility" : "nature";
}

const char* RelationName(RelnKindEN relation) {
    constexpr const char* names[] = {"none", "table", "deterministic", "noisy-max", "real"};
    return names[static_cast<int>(relation)];
}

std::string ContextText(const ReportRecord& report) {
    std::string text = report.structKind;
    if (!report.structName.empty()) text += " '" + report.structName + "'";
    if (!report.fieldName.empty())
        text += (text.empty() ? "field '" : ", field '") + report.fieldName + "'";
    return text.empty() ? text : " (in " + text + ")";
}

const char* TitleOrName(const Bnode_bn& node) {
    return HasText(node.title) ? node.title : node.name();
}

const char* TitleOrName(const Bnet_bn& net) { return HasText(net.title) ? net.title : net.name; }

bool HasOwnTitle(const Bnode_bn& node) {
    return HasText(node.title) && std::string_view(node.title) != node.name();
}

std::string StateLabel(const Varbl_bn& variable, int state) {
    const char* title = variable.stateTitles == nullptr ? nullptr : variable.stateTitles[state];
    char buffer[StateTextSize];
    return HasText(title) ? title : statetostr1(state, variable, buffer);
}

std::string_view FieldText(const UserField& field) {
    std::string_view data = field.data;
    if (data.ends_with('\0')) data.remove_suffix(1);
    return data;
}

std::string NodeSummary(const Bnode_bn& node) {
    std::string text = ToUtf8(TitleOrName(node));
    if (HasOwnTitle(node)) text += " (" + std::string(node.name()) + ")";
    text +=
        std::string("\n") + KindName(node.kind) + (node.variable.discrete ? "" : ", continuous");
    if (node.relation.kind == RelnKindEN::deterministic) text += ", deterministic";
    text += ListLine("states", node.numStates(),
                     [&](int state) { return StateLabel(node.variable, state); });
    const auto& sets = node.nodesets();
    text += ListLine("groups", static_cast<int>(sets.size()),
                     [&](int i) { return sets[static_cast<std::size_t>(i)]->name(); });
    return text;
}

std::vector<RGB> NodesetColors(const Bnet_bn& net) {
    return ColorsOf(net, std::span(&DefaultNodesetColor, 1));
}

std::vector<RGB> DrawnNodesetColors(const Bnet_bn& net) {
    constexpr RGB tints[] = {
        DefaultNodesetColor, {204, 229, 255}, {255, 214, 204}, {209, 240, 209}, {230, 214, 250},
        {255, 230, 180},     {200, 238, 236}, {250, 210, 230}, {224, 224, 224}, {226, 236, 170},
    };
    return ColorsOf(net, tints);
}

std::string ColorText(RGB color) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text = "#";
    for (const unsigned channel : {color.red, color.green, color.blue}) {
        text += digits[channel >> 4];
        text += digits[channel & 0xF];
    }
    return text;
}

}  // namespace lumo
