// What readers share on their way from text to net.
#pragma once

#include "formats/shared/options.h"
#include "formats/shared/positions.h"
#include "library/text/parser.h"

namespace lumo {

/// Places the nodes when a file is read: positions that it gave are normalised with the scale
/// (FixNodePositions); without any the nodes are laid out in a rectangle twice as wide as high,
/// whose sides grow with the root of the number of nodes.
void PlaceNodes(Vnet_kt& drawing, bool given, double scale);

/// Gives the node the file's position moved by `safety`, with a warning where an int cannot hold
/// it.
void SetSafePosition(Bnode_bn& node, coord_kt inFile);

/// A character as messages name it.
inline const char* CharName(char c) { return CharName_kt(static_cast<unsigned char>(c)); }

}  // namespace lumo
