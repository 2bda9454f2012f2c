// Plain value types of the drawing side.
#pragma once

#include "library/utilities/language.h"

namespace LUMO_API lumo {

struct coord_kt {
    int x = 0;
    int y = 0;
    bool operator==(const coord_kt&) const = default;
};

struct dcoord_kt {
    double x = 0;
    double y = 0;
};

struct rect_kt {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

}  // namespace lumo
