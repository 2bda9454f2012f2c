// Positions that a file gives, and those of the automatic layout.
#pragma once

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// Whether the positions say something: the file gave some, and not one place for all.
bool HasPlaces(const Bnet_bn& net);

/// Room behind the last node, right and below, of an imported drawing.
inline coord_kt FitMargin(const Vnet_kt& drawing) {
    return {drawing.marginUnit.x * 2, drawing.marginUnit.y};
}

/// Leaves the nodes to the automatic layout as a file without positions does: in a rectangle twice
/// as wide as high, which grows with their number.
void LeaveToLayout(Vnet_kt& drawing);

/// Gives the nodes the positions of the automatic layout, to be kept as if the file had given them.
void LayOut(Bnet_bn& net);

}  // namespace lumo
