// Hugin .net, versions 4 to 6 (docs/hugin.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo huginFormat;

rept_kt* ParseHuginFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                        const ReadOptions& options = {});

/// Writes the net as a Hugin .net file in UTF-8. Linear in time.
void WriteHugin(const ImportResult& result, std::ostream& out);

Losses HuginLosses(const Bnet_bn& net);

}  // namespace lumo
