#include "formats/shared/positions.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "formats/shared/messages.h"
#include "formats/shared/placing.h"
#include "formats/shared/readers.h"

namespace lumo {

namespace {

constexpr int drawingMargin = 40;  // of FixNodePositions

int Clamped(double v) {
    return static_cast<int>(std::clamp<double>(std::floor(v + 0.5), INT_MIN, INT_MAX));
}

/// Moves the visual node to the place. False when that does not fit and is clamped.
bool MoveTo(Vnode_kt& vnode, double x, double y) {
    vnode.moveTo({Clamped(x), Clamped(y)});
    return std::max(std::abs(x), std::abs(y)) <= INT_MAX;
}

}  // namespace

void FixNodePositions(Vnet_kt& drawing, double scale, bool turnOver) {
    if (!(scale > 0) || !std::isfinite(scale)) {
        NewReport(msg::import.badScale, scale);
        scale = 1;
    }
    rect_kt extent;
    drawing.findExtent(extent);
    const Vnode_kt* firstClamped = nullptr;
    for (Vnode_kt* vnode : drawing.vnodes) {
        const coord_kt at = vnode->position();
        const double dx = static_cast<double>(at.x) - extent.left;
        const double dy = turnOver ? static_cast<double>(extent.bottom) - at.y
                                   : static_cast<double>(at.y) - extent.top;
        if (MoveTo(*vnode, dx * scale + drawingMargin, dy * scale + drawingMargin)) continue;
        if (firstClamped == nullptr) firstClamped = vnode;
    }
    if (firstClamped != nullptr)
        NewReport(msg::import.positionsClamped, firstClamped->node->name());
}

void SetSafePosition(Bnode_bn& node, coord_kt inFile) {
    const auto moved = [](int value, int offset) {
        return value > INT_MAX - offset ? INT_MAX : value + offset;
    };
    const coord_kt position{moved(inFile.x, safety.x), moved(inFile.y, safety.y)};
    SetNodeVisPosition_ibn(node, position, nullptr);
    if (position.x - safety.x != inFile.x || position.y - safety.y != inFile.y)
        NewReport(msg::import.positionsClamped, node.name());
}

void PlaceNodes(Vnet_kt& drawing, bool given, double scale) {
    if (given) return FixNodePositions(drawing, scale, false);
    LeaveToLayout(drawing);
}

}  // namespace lumo
