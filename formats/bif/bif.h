// BIF 0.15, the interchange format before XML BIF (docs/bif.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo bifFormat;

rept_kt* ParseBifFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

/// Writes the net as a BIF file: variables with their states, and a probability block a table.
/// Nodes without states are left out. Linear in time.
void WriteBif(const ImportResult& result, std::ostream& out);

Losses BifLosses(const Bnet_bn& net);

}  // namespace lumo
