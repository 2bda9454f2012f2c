// The net in the DOT language, for programs that draw graphs.
#pragma once

#include <iosfwd>

#include "formats/shared/result.h"

namespace lumo {

/// Writes the net, which must be there, as a directed graph: shapes, labels and colours of its
/// picture, positions in points with y upwards (pinned, for programs that keep them), and a
/// subgraph a node set. Linear in nodes, links and members of node sets.
void WriteDot(const ImportResult& result, std::ostream& out);

}  // namespace lumo
