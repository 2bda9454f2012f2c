// A picture of the net as SVG 1.1.
#pragma once

#include <iosfwd>

#include "formats/shared/result.h"

namespace lumo {

/// Draws the net, which must be there: nature nodes as ellipses, decisions as rectangles, utilities
/// as hexagons, deterministic ones with a double border; node-set colours, the net's font and label
/// style, a tooltip a node. Linear in nodes and links.
void WriteSvg(const ImportResult& result, std::ostream& out);

}  // namespace lumo
