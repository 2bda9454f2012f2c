// A picture of the net as SVG 1.1.
#pragma once

#include <iosfwd>
#include <string_view>
#include <unordered_map>

#include "export/picture.h"
#include "formats/shared/result.h"

namespace lumo {

/// Draws the net, which must be there: nature nodes as ellipses, decisions as rectangles, utilities
/// as hexagons, deterministic ones with a double border; node-set colours, the net's font and label
/// style, a tooltip a node. Linear in nodes and links.
void WriteSvg(const ImportResult& result, std::ostream& out);

/// The picture of the net as it is.
void DrawSvg(const Bnet_bn& net, const Picture& picture, std::ostream& out);

/// Classes of some nodes, for the style of the page around a picture.
using NodeMarks = std::unordered_map<const Bnode_bn*, const char*>;

/// The same as an element of a page, where the ids of its parts begin with the prefix.
void WriteInlineSvg(const Bnet_bn& net, const NodeMarks& marks, std::string_view prefix,
                    std::ostream& out);

}  // namespace lumo
