#include "export/groups.h"

#include <string_view>
#include <unordered_map>

namespace lumo {

// A style holds the group's name cut to its field, so that of the same place in the list is looked
// at first.
std::vector<RGB> GroupColors(const Bnet_bn& net) {
    const vect_kt<NodesetStyle>& styles = net.vnets[0]->nodesetStyles;
    std::unordered_map<std::string_view, const NodesetStyle*> byName;
    for (const NodesetStyle& style : styles) byName.try_emplace(style.name, &style);

    std::vector<RGB> colors;
    int place = 0;
    for (const auto& set : net.nodesets()) {
        const std::string_view cut =
            std::string_view(set->name()).substr(0, sizeof NodesetStyle::name - 1);
        const NodesetStyle* style = nullptr;
        if (place < styles.N && cut == styles[place].name) {
            style = &styles[place];
        } else if (const auto found = byName.find(cut); found != byName.end()) {
            style = found->second;
        }
        colors.push_back(style == nullptr ? DefaultNodesetColor
                                          : RGB{style->red, style->green, style->blue});
        ++place;
    }
    return colors;
}

}  // namespace lumo
