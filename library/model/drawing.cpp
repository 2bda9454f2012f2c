// The drawing side of a net: visual nodes and their moves, extent, fonts, node-set styles.

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

namespace {

/// Labels longer than this are cut in pictures; boxes do not grow with them.
constexpr int MaxDrawnCharacters = 40;
constexpr int MinDrawnCharacters = 6;
constexpr int CharacterWidth = 7;
constexpr int BoxPadding = 16;
constexpr int BoxHeight = 30;

int ClampedSum(int a, int b) {
    const long long sum = static_cast<long long>(a) + b;
    return static_cast<int>(std::clamp<long long>(sum, INT_MIN, INT_MAX));
}

coord_kt ClampedSum(coord_kt a, coord_kt b) { return {ClampedSum(a.x, b.x), ClampedSum(a.y, b.y)}; }

/// The extent of a drawing with the margin behind its positions.
coord_kt FittedTo(const Vnet_kt& drawing, coord_kt margin) {
    rect_kt around;
    drawing.findExtent(around);
    const coord_kt corner = ClampedSum({around.right, around.bottom}, margin);
    return {std::max(0, corner.x), std::max(0, corner.y)};
}

}  // namespace

// ---- Fonts and styles ----------------------------------------------------------------------

Fontobjv* NewFont_fc(const char* face, int size, const fontspec_kt* base) {
    auto font = std::make_unique<Fontobjv>();
    if (base != nullptr) font->spec_ = *base;
    if (face != nullptr) font->spec_.face = face;
    if (size != -1) font->spec_.size = size;
    return font.release();
}

void FreeFont_fc(const Fontobjv* font) { delete font; }

void NodesetStyle::setName(const char* text) {
    const std::string_view whole = text == nullptr ? std::string_view() : text;
    const std::string_view kept = whole.substr(0, sizeof name - 1);
    std::memset(name, 0, sizeof name);
    std::copy(kept.begin(), kept.end(), name);
}

coord_kt NodeSize(int labelLength) {
    const int characters = std::clamp(labelLength, MinDrawnCharacters, MaxDrawnCharacters);
    return {characters * CharacterWidth + BoxPadding, BoxHeight};
}

// ---- Visual nodes --------------------------------------------------------------------------

coord_kt Vnode_kt::position() const {
    if (node == nullptr) return position_;
    const Vnet_kt& drawing = *node->net().vnets[0];
    if (drawing.awaited() == nullptr) return position_;
    return drawing.places()[static_cast<std::size_t>(node->place())];
}

void Vnode_kt::moveTo(coord_kt position) {
    if (node != nullptr) {
        Vnet_kt& drawing = *node->net().vnets[0];
        drawing.settle();
        drawing.laidOut = false;
    }
    position_ = position;
}

void Vnode_kt::moveBy(coord_kt offset, int) { shiftBy(offset); }

void Vnode_kt::shiftBy(coord_kt offset) { moveTo(ClampedSum(position(), offset)); }

void SetNodeVisPosition_ibn(Bnode_bn& node, coord_kt position, Vnet_kt* vnet) {
    // A node's visual nodes stand in the order of the net's visual nets.
    const vect_kt<Vnet_kt*>& vnets = node.net().vnets;
    const auto place =
        vnet == nullptr ? vnets.begin() : std::find(vnets.begin(), vnets.end(), vnet);
    const auto index = place - vnets.begin();
    if (index < node.vns.N) node.vns[static_cast<int>(index)]->moveTo(position);
}

// ---- Visual nets ---------------------------------------------------------------------------

Vnet_kt::Vnet_kt(Bnet_bn* net) : font(NewFont_fc(nullptr, -1, nullptr)), net_(net) {}

Vnet_kt::~Vnet_kt() {
    delete places_.load();
    FreeFont_fc(font);
}

void Vnet_kt::awaitLayout(const AwaitedLayout& wish) {
    delete places_.exchange(nullptr);
    wish_ = wish;
    awaitsLayout_ = laidOut = vnodes.hasSome();
}

const std::vector<coord_kt>& Vnet_kt::places() const {
    const std::vector<coord_kt>* known = places_.load();
    if (known != nullptr) return *known;
    auto made = std::make_unique<const std::vector<coord_kt>>(
        LayoutPlaces(vnodes, wish_.area, wish_.spacing));
    return places_.compare_exchange_strong(known, made.get()) ? *made.release() : *known;
}

void Vnet_kt::settle() {
    if (!awaitsLayout_) return;
    const std::vector<coord_kt>& found = places();
    extent_ = extent();
    for (int i = 0; i < vnodes.N; ++i) vnodes[i]->position_ = found[static_cast<std::size_t>(i)];
    awaitsLayout_ = false;
    delete places_.exchange(nullptr);
}

coord_kt Vnet_kt::extent() const {
    if (!awaitsLayout_) return extent_;
    return FittedTo(*this, wish_.margin);
}

void Vnet_kt::setExtent(coord_kt extent) {
    settle();
    extent_ = extent;
}

void Vnet_kt::findExtent(rect_kt& out) const {
    out = {};
    if (!vnodes.hasSome()) return;
    const auto place = [this](const Vnode_kt& vnode) {
        return awaitsLayout_ ? vnode.position() : vnode.position_;
    };
    const coord_kt first = place(*vnodes[0]);
    out = {first.x, first.y, first.x, first.y};
    for (const Vnode_kt* vnode : vnodes) {
        const coord_kt at = place(*vnode);
        out.left = std::min(out.left, at.x);
        out.top = std::min(out.top, at.y);
        out.right = std::max(out.right, at.x);
        out.bottom = std::max(out.bottom, at.y);
    }
}

void Vnet_kt::adjustDrawingSizeToFit(coord_kt margin) {
    wish_.margin = margin;
    if (!awaitsLayout_) extent_ = FittedTo(*this, margin);
}

void Vnet_kt::setNodesetStyles(const vect_kt<NodesetStyle>& styles, undo_vnetNodesets*) {
    nodesetStyles = styles;
}

void Vnet_kt::reformAllAndRedraw(bool, bool, int) {
    settle();
    if (net_ != nullptr && vnodes.N != net_->nodes.N) {
        FailAssert_kt("vnodes.N == nodes.N", "drawing", __LINE__);
    }
}

}  // namespace lumo
