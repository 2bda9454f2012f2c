#include "export/legend.h"

#include <algorithm>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::size_t mostEntries = 40;
constexpr double margin = 20;
constexpr double betweenEntries = 18;
constexpr double afterSwatch = 6;
constexpr double widestNameEms = 20;

/// The sets that give nodes their colour.
std::unordered_set<const nodeset_bn*> ShownSets(const Bnet_bn& net) {
    std::unordered_set<const nodeset_bn*> shown;
    for (const Bnode_bn* node : net.nodes)
        if (!node->nodesets().empty()) shown.insert(node->nodesets().front());
    return shown;
}

std::vector<LegendEntry> Entries(const Bnet_bn& net, const PictureFont& font) {
    const std::unordered_set<const nodeset_bn*> shown = ShownSets(net);
    const std::vector<RGB> colors = DrawnNodesetColors(net);
    std::vector<LegendEntry> entries;
    std::size_t leftOut = 0;
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const nodeset_bn& set = *net.nodesets()[i];
        if (!shown.contains(&set)) continue;
        if (entries.size() == mostEntries) {
            ++leftOut;
            continue;
        }
        const std::string name = CutText(OneLine(set.name()), widestNameEms * font.size, font);
        entries.push_back({{}, {}, name, colors[i]});
    }
    if (leftOut > 0)
        entries.push_back({{}, {}, "and " + std::to_string(leftOut) + " more", {255, 255, 255}});
    return entries;
}

}  // namespace

Legend MakeLegend(const Bnet_bn& net, const Picture& picture) {
    const PictureFont& font = picture.font;
    Legend legend{Entries(net, font), 0};
    if (legend.entries.empty()) return legend;
    const double left = picture.left + margin;
    const double right = picture.left + picture.width - margin;
    const double lineHeight = std::max(font.lineHeight(), LegendSwatch.y) + 4;
    double x = left;
    double middle = picture.top + picture.height + lineHeight / 2;
    for (LegendEntry& entry : legend.entries) {
        const double width = LegendSwatch.x + afterSwatch + TextWidth(entry.name, font);
        if (x > left && x + width > right) {
            x = left;
            middle += lineHeight;
        }
        entry.swatch = {x, middle - LegendSwatch.y / 2};
        entry.text = {x + LegendSwatch.x + afterSwatch, middle + font.baseline()};
        x += width + betweenEntries;
    }
    legend.height = middle + lineHeight / 2 + margin / 2 - (picture.top + picture.height);
    return legend;
}

}  // namespace lumo
