#include "export/legend.h"

#include <algorithm>
#include <unordered_set>

#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::size_t mostLegendEntries = 40;
constexpr double legendMargin = 20;
constexpr double betweenEntries = 18;
constexpr double afterSwatch = 6;
constexpr double widestNameEms = 20;

/// The sets that give nodes their colour.
std::unordered_set<const nodeset_bn*> ShownSets(const Picture& picture) {
    std::unordered_set<const nodeset_bn*> shown;
    for (const PictureNode& drawn : picture.nodes)
        if (!drawn.node->nodesets().empty()) shown.insert(drawn.node->nodesets().front());
    return shown;
}

std::vector<LegendEntry> Entries(const Bnet_bn& net, const Picture& picture) {
    const PictureFont& font = picture.font;
    const std::unordered_set<const nodeset_bn*> shown = ShownSets(picture);
    const std::vector<RGB> colors = DrawnNodesetColors(net);
    std::vector<LegendEntry> entries;
    std::size_t leftOut = 0;
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const nodeset_bn& set = *net.nodesets()[i];
        if (!shown.contains(&set)) continue;
        if (entries.size() == mostLegendEntries) {
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
    Legend legend{Entries(net, picture), 0};
    if (legend.entries.empty()) return legend;
    const double left = picture.left + legendMargin;
    const double right = picture.left + picture.width - legendMargin;
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
    legend.height = middle + lineHeight / 2 + legendMargin / 2 - (picture.top + picture.height);
    return legend;
}

}  // namespace lumo
