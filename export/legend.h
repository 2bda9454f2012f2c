// The legend of a picture: what the colours of its nodes mean.
#pragma once

#include <string>
#include <vector>

#include "export/picture.h"

namespace lumo {

struct LegendEntry {
    Point swatch;  ///< its upper left corner
    Point text;    ///< start of the baseline
    std::string name;
    RGB color;
};

struct Legend {
    std::vector<LegendEntry> entries;
    double height = 0;  ///< that it needs below the picture
};

inline constexpr Point LegendSwatch{16, 10};

/// The node sets whose colours nodes are filled with, in lines below the picture. Of more than a
/// few dozen the last entry says how many are left out.
Legend MakeLegend(const Bnet_bn& net, const Picture& picture);

}  // namespace lumo
