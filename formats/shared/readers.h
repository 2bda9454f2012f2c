// The readers, one per format, each in its own file. Every one reads the channel's text into an
// empty net and returns its report: Okay_rept_kt, or the most severe that was recorded.
#pragma once

#include "formats/shared/options.h"
#include "formats/shared/positions.h"
#include "library/text/parser.h"

namespace lumo {

rept_kt* ParseHuginFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                        const ReadOptions& options = {});
rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});
rept_kt* ParseDXPressFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                          const ReadOptions& options = {});
rept_kt* ParseErgoFile(InChannel_kt& channel, Bnet_bn& net, const ReadOptions& options = {});
rept_kt* ParseXMLFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

rept_kt* ParseBifFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});
rept_kt* ParseXdslFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                       const ReadOptions& options = {});
rept_kt* ParseUaiFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

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
