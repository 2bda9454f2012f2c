// XDSL files, as the editor of that format and its engine read them.
#pragma once

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes parents before children, every relation as its full table, and positions as rectangles of
/// one size around them; node sets are submodels, for the first set of each node.
void WriteXdsl(const ImportResult& result, std::ostream& out);

Losses XdslLosses(const Bnet_bn& net);

}  // namespace lumo
