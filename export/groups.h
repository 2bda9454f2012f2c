// The colors of a net's groups.
#pragma once

#include <vector>

#include "library/netmodel.h"

namespace lumo {

/// The color of each group, in the net's order; DefaultNodesetColor for one without a style.
std::vector<RGB> GroupColors(const Bnet_bn& net);

constexpr bool operator==(const RGB& a, const RGB& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

}  // namespace lumo
