// BIF 0.15, the interchange format before XML BIF, which packages of Python and R read.
#pragma once

#include <iosfwd>

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes the net as a BIF file: variables with their states, and a probability block a table.
/// Nodes without states are left out. Linear in time.
void WriteBif(const ImportResult& result, std::ostream& out);

Losses BifLosses(const Bnet_bn& net);

}  // namespace lumo
