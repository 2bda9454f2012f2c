// Where imported nodes stand.
#pragma once

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// Moves all visual nodes so that the drawing starts 40 units from its top left corner, its
/// distances multiplied by scale; turnOver turns it upside down. Positions stay within int: a scale
/// that is not finite or not positive counts as 1, an offset outside is clamped.
void FixNodePositions(Vnet_kt& drawing, double scale, bool turnOver);

/// Position given to new Hugin nodes, and added to Hugin and XML BIF file positions.
inline constexpr coord_kt safety{400, 400};

}  // namespace lumo
