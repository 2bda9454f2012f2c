// Plain value types of the drawing side.
#pragma once

#include "library/utilities/language.h"

namespace LUMO_API lumo {

/// A place on a drawing, or a distance, in the drawing's units: whole ones, y growing downwards.
struct coord_kt {
    int x = 0;  ///< from the left
    int y = 0;  ///< from the top
    /// Whether both are the same place.
    bool operator==(const coord_kt&) const = default;
};

/// A pair of numbers, across and down: the steps of a grid, a place that is not whole.
struct dcoord_kt {
    double x = 0;  ///< across
    double y = 0;  ///< down
};

/// A rectangle of a drawing, in its units; the edges belong to it.
struct rect_kt {
    int left = 0;    ///< the smallest x
    int top = 0;     ///< the smallest y
    int right = 0;   ///< the largest x
    int bottom = 0;  ///< the largest y
};

}  // namespace lumo
