// The element `genie` of XDSL files: titles, comments, places and submodels.
#include <algorithm>
#include <charconv>
#include <climits>
#include <utility>

#include "formats/shared/readers.h"
#include "formats/xdsl/parts.h"
#include "library/text/tokens.h"
#include "library/utilities/names.h"

namespace lumo {

namespace {

constexpr long long submodelGap = 100;         // between the nodes of two submodels
constexpr long long unplacedStep = 120;        // between nodes that the file does not place
constexpr int nowhere[] = {-38, -18, 38, 18};  // the rectangle of nodes without a place
constexpr float farthest = 1e9F;               // places beyond are moved there

/// Decodes the line breaks and tabs that texts spell as \n and \t.
std::string Unescaped(std::string_view text) {
    constexpr std::string_view letters = "nt\"\\", meant = "\n\t\"\\";
    if (text.find('\\') == std::string_view::npos) return std::string(text);
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::size_t at = text[i] == '\\' && i + 1 < text.size() ? letters.find(text[i + 1])
                                                                      : std::string_view::npos;
        out += at == std::string_view::npos ? text[i] : meant[at];
        i += at != std::string_view::npos;
    }
    return out;
}

int Clamped(long long value) {
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

/// Halfway between the two, halves up.
int Middle(int a, int b) {
    const long long sum = static_cast<long long>(a) + b + 1;
    return static_cast<int>(sum >> 1);
}

}  // namespace

// ---- Reading -------------------------------------------------------------------------------

/// What stands in `genie` and in submodels. Submodels nest, so they are read with a stack.
void DrawnNet::read() {
    const ParserContext context(in_, "genie");
    readAttributes();
    std::vector<int> open{0};
    while (!open.empty()) {
        if (!xml_.nextChild()) {
            open.pop_back();
            continue;
        }
        const std::string_view name = xml_.tag().name;
        const int submodel = open.back();
        if (name == "node") {
            readNode(submodel);
        } else if (name == "submodel") {
            if (submodel != 0) notKept_.add(LossEN::nesting, xml_.attribute("id"));
            open.push_back(static_cast<int>(submodels_.size()));
            submodels_.push_back({std::string(xml_.attribute("id")), {}});
        } else if (name == "name" && submodel != 0) {
            submodels_[static_cast<std::size_t>(submodel)].title = readText();
        } else if (name == "interior" && submodel != 0) {
            readColor(submodels_[static_cast<std::size_t>(submodel)]);
        } else if (name == "comment" && submodel == 0) {
            comment_ = readText();
        } else if (name == "textbox") {
            notKept_.add(LossEN::textBoxes);
            xml_.skipElement();
        } else if (name == "plate" || (submodel != 0 && (name == "outline" || name == "font" ||
                                                         name == "position" || name == "window"))) {
            xml_.skipElement();
        } else {
            SkipUnknown(in_, xml_, submodel == 0 ? "genie" : "submodel");
        }
        in_.checkError();
    }
}

void DrawnNet::readAttributes() {
    title_ = Unescaped(xml_.attribute("name"));
    oneDrawing_ = xml_.attribute("app").starts_with("Lumo import");
}

void DrawnNet::readNode(int submodel) {
    Place& at = places_.emplace_back();
    at.id = xml_.attribute("id");
    at.submodel = submodel;
    at.place = xml_.tag().place;
    bool displayed = false;
    while (xml_.nextChild()) {
        const std::string_view name = xml_.tag().name;
        if (name == "name") {
            at.title = readText();
        } else if (name == "comment") {
            at.comment = readText();
        } else if (name == "position") {
            readRect(at);
        } else if (name == "interior" || name == "outline" || name == "font" ||
                   name == "barchart" || name == "state") {
            displayed = true;
            xml_.skipElement();
        } else {
            SkipUnknown(in_, xml_, "node");
        }
    }
    if (displayed) notKept_.add(LossEN::displaySettings, at.id);
}

void DrawnNet::readRect(Place& at) {
    corners_.N = 0;
    const bool read = xml_.readNumbers(corners_);
    if (!read || corners_.N != 4) {
        xml_.reportAt(at.place);
        in_.report(msg::xdsl.badPosition, Shown(at.id).c_str());
        return;
    }
    int* const sides[] = {&at.left, &at.top, &at.right, &at.bottom};
    bool outside = false;
    for (int i = 0; i < 4; ++i) {
        const float side = std::clamp(corners_.begin()[i], -farthest, farthest);
        outside = outside || side != corners_.begin()[i];
        *sides[i] = static_cast<int>(side);
    }
    if (outside && !std::exchange(clampTold_, true)) {
        xml_.reportAt(at.place);
        in_.report(msg::import.positionsClamped, Shown(at.id).c_str());
    }
    at.hasRect = at.left != nowhere[0] || at.top != nowhere[1] || at.right != nowhere[2] ||
                 at.bottom != nowhere[3];
}

void DrawnNet::readColor(Submodel& submodel) {
    const std::string_view text = xml_.attribute("color");
    unsigned color = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), color, 16);
    if (error == std::errc() && end == text.data() + text.size() && text.size() == 6)
        submodel.color = {static_cast<unsigned char>(color >> 16),
                          static_cast<unsigned char>(color >> 8 & 255U),
                          static_cast<unsigned char>(color & 255U)};
    xml_.skipElement();
}

std::string DrawnNet::readText() { return Unescaped(xml_.takeText(room_)); }

// ---- Applying ------------------------------------------------------------------------------

void DrawnNet::apply(Vnet_kt& drawing) {
    if (!title_.empty()) SetNetLabel(net_, DupStr_kt(title_.c_str()));
    if (!comment_.empty()) net_.setComment(DupStr_kt(comment_.c_str()));
    int number = 0;
    for (Place& at : places_) {
        at.node = net_.findNodeLabeled(at.id, number++);
        if (at.node == nullptr) {
            xml_.reportAt(at.place);
            in_.report(msg::xdsl.unknownPlace, Shown(at.id).c_str());
            continue;
        }
        if (!at.title.empty() && at.title != at.id) at.node->setTitle(at.title);
        if (!at.comment.empty()) at.node->setComment(DupStr_kt(at.comment.c_str()));
    }
    std::erase_if(places_, [](const Place& at) { return at.node == nullptr; });
    makeSets(drawing);
    placeNodes(drawing);
}

/// A node set for each submodel, with its color.
void DrawnNet::makeSets(Vnet_kt& drawing) {
    if (submodels_.size() == 1) return;
    UniqueNames_kt names;
    vect_kt<NodesetStyle> styles;
    std::vector<nodeset_bn*> sets{nullptr};
    for (std::size_t i = 1; i < submodels_.size(); ++i) {
        const Submodel& submodel = submodels_[i];
        const std::string name =
            names.unique(submodel.title.empty() ? submodel.id : submodel.title, 'G');
        names.add(name);
        sets.push_back(net_.newNodeset(name.c_str()));
        NodesetStyle style;
        style.red = submodel.color.red;
        style.green = submodel.color.green;
        style.blue = submodel.color.blue;
        style.setName(name.c_str());
        styles.append(style);
    }
    drawing.setNodesetStyles(styles, nullptr);
    std::vector<BndList_bn> members(sets.size());
    for (const Place& at : places_) members[static_cast<std::size_t>(at.submodel)].append(at.node);
    for (std::size_t i = 1; i < sets.size(); ++i)
        if (sets[i] != nullptr) sets[i]->addNodes(members[i]);
}

/// Nodes stand in the centers of their rectangles. When these say nothing, all are laid out.
void DrawnNet::placeNodes(Vnet_kt& drawing) {
    const auto first = std::ranges::find_if(places_, &Place::hasRect);
    const bool oneRect = std::ranges::all_of(places_, [first](const Place& at) {
        return !at.hasRect || (at.left == first->left && at.top == first->top &&
                               at.right == first->right && at.bottom == first->bottom);
    });
    if (first == places_.end() || (oneRect && net_.nodes.N > 1))
        return PlaceNodes(drawing, false, 1.0);
    if (!oneDrawing_) separateSubmodels();
    placeRest();
    PlaceNodes(drawing, true, 1.0);
}

/// Each submodel has coordinates of its own: moves its nodes below those of the submodels before.
void DrawnNet::separateSubmodels() {
    struct Extent {
        long long left = LLONG_MAX, top = LLONG_MAX, bottom = LLONG_MIN;
    };
    std::vector<Extent> extents(submodels_.size());
    for (const Place& at : places_) {
        if (!at.hasRect) continue;
        Extent& extent = extents[static_cast<std::size_t>(at.submodel)];
        extent.left = std::min<long long>(extent.left, at.left);
        extent.top = std::min<long long>(extent.top, at.top);
        extent.bottom = std::max<long long>(extent.bottom, at.bottom);
    }
    std::vector<std::pair<long long, long long>> offsets(submodels_.size());
    const Extent* above = nullptr;
    long long bottom = 0, left = 0;
    for (std::size_t i = 0; i < extents.size(); ++i) {
        const Extent& extent = extents[i];
        if (extent.left == LLONG_MAX) continue;
        if (above != nullptr) offsets[i] = {left - extent.left, bottom + submodelGap - extent.top};
        if (above == nullptr) left = extent.left;
        bottom = extent.bottom + offsets[i].second;
        above = &extent;
    }
    for (Place& at : places_) {
        const auto [dx, dy] = offsets[static_cast<std::size_t>(at.submodel)];
        at.left = Clamped(at.left + dx);
        at.right = Clamped(at.right + dx);
        at.top = Clamped(at.top + dy);
        at.bottom = Clamped(at.bottom + dy);
    }
}

/// Moves the nodes into the centers of their rectangles, those without one into rows below.
void DrawnNet::placeRest() {
    long long left = LLONG_MAX, right = LLONG_MIN, bottom = LLONG_MIN;
    std::vector<const Bnode_bn*> placed;
    for (const Place& at : places_) {
        if (!at.hasRect) continue;
        placed.push_back(at.node);
        SetNodeVisPosition_ibn(*at.node, {Middle(at.left, at.right), Middle(at.top, at.bottom)},
                               nullptr);
        left = std::min<long long>(left, at.left);
        right = std::max<long long>(right, at.right);
        bottom = std::max<long long>(bottom, at.bottom);
    }
    if (std::ranges::equal(placed, net_.nodes)) return;  // all of them, as nearly always
    std::ranges::sort(placed);
    long long x = left, y = bottom;
    for (Bnode_bn* node : net_.nodes) {
        if (std::ranges::binary_search(placed, node)) continue;
        if (x == left) y += submodelGap;
        SetNodeVisPosition_ibn(*node, {Clamped(x), Clamped(y)}, nullptr);
        x = x + unplacedStep > right ? left : x + unplacedStep;
    }
}

}  // namespace lumo
