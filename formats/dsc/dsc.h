// DSC (docs/dsc.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo dscFormat;

rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

/// Writes the net as a DSC file in UTF-8. Linear in time.
void WriteDsc(const ImportResult& result, std::ostream& out);

Losses DscLosses(const Bnet_bn& net);

}  // namespace lumo
