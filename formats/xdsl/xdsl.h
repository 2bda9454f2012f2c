// XDSL (docs/xdsl.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo xdslFormat;

rept_kt* ParseXdslFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                       const ReadOptions& options = {});

/// Writes parents before children, every relation as its full table, and positions as rectangles of
/// one size around them; node sets are submodels, for the first set of each node.
void WriteXdsl(const ImportResult& result, std::ostream& out);

Losses XdslLosses(const Bnet_bn& net);

}  // namespace lumo
