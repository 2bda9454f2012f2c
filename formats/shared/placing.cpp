#include "formats/shared/placing.h"

#include "formats/shared/keeping.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumo {
namespace {

constexpr int margin = 40;
constexpr long long farthest = 1'000'000'000;  // in a file; readers add offsets to it

/// The distance that a reader makes of one in the file.
double AsRead(long long inFile, double scale) {
    return std::floor(static_cast<double>(inFile) * scale + 0.5);
}

long long Distance(int from, int to) { return static_cast<long long>(to) - from; }

coord_kt PositionOf(const Bnode_bn& node) { return node.vns[0]->position(); }

}  // namespace

bool HasPlaces(const Bnet_bn& net) {
    if (net.vnets[0]->laidOut) return false;
    rect_kt extent;
    net.vnets[0]->findExtent(extent);
    return extent.left != extent.right || extent.top != extent.bottom;
}

void LeaveToLayout(Vnet_kt& drawing) {
    constexpr double spacing = 2.0;
    const double side = std::sqrt(static_cast<float>(drawing.vnodes.N));
    const rect_kt area{30, 10, 30 + RoundToInt_kt(200 * side), 10 + RoundToInt_kt(100 * side)};
    drawing.awaitLayout({area, spacing, FitMargin(drawing)});
}

void LayOut(Bnet_bn& net) {
    Vnet_kt& drawing = *net.vnets[0];
    const int side = static_cast<int>(std::ceil(std::sqrt(static_cast<double>(net.nodes.N))));
    drawing.awaitLayout({{0, 0, 200 * side, 100 * side}, 1.0, FitMargin(drawing)});
    drawing.settle();
    drawing.laidOut = false;
}

Placing::Placing(const Vnet_kt& drawing, double scale, bool turnOver,
                 bool (*isWritten)(const Bnode_bn&))
    : hasPlaces_(HasPlaces(*drawing.getBNet())), scale_(scale), turnOver_(turnOver) {
    if (!hasPlaces_) return;
    bool first = true;
    for (const Vnode_kt* vnode : drawing.vnodes) {
        if (isWritten != nullptr && !isWritten(*vnode->node)) continue;
        const auto [x, y] = vnode->position();
        if (std::exchange(first, false)) extent_ = {x, y, x, y};
        extent_ = {std::min(extent_.left, x), std::min(extent_.top, y), std::max(extent_.right, x),
                   std::max(extent_.bottom, y)};
    }
    height_ = inFile(Distance(extent_.top, extent_.bottom));
}

/// The distance in the file that is read as that distance, or as the nearest to it.
long long Placing::inFile(long long distance) const {
    const double wanted = static_cast<double>(distance);
    const double quotient = std::min(std::floor(wanted / scale_), double{farthest - 1});
    const auto low = static_cast<long long>(quotient);
    long long best = low;
    for (const long long candidate : {low + 1, low - 1}) {
        if (candidate < 0) continue;
        const auto miss = [&](long long f) { return std::fabs(AsRead(f, scale_) - wanted); };
        if (miss(candidate) < miss(best)) best = candidate;
    }
    return best;
}

coord_kt Placing::written(const Bnode_bn& node) const {
    const coord_kt at = PositionOf(node);
    const long long x = inFile(Distance(extent_.left, at.x));
    const long long y = inFile(Distance(extent_.top, at.y));
    return {static_cast<int>(x), static_cast<int>(turnOver_ ? height_ - y : y)};
}

bool Placing::isExact(const Bnode_bn& node) const {
    const coord_kt at = PositionOf(node);
    const auto exact = [&](long long distance) {
        return AsRead(inFile(distance), scale_) == static_cast<double>(distance);
    };
    return exact(Distance(extent_.left, at.x)) && exact(Distance(extent_.top, at.y));
}

bool Placing::keepsMargin() const { return extent_.left == margin && extent_.top == margin; }

}  // namespace lumo
