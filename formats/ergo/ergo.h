// Ergo (docs/ergo.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/options.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo ergoFormat;

rept_kt* ParseErgoFile(InChannel_kt& channel, Bnet_bn& net, const ReadOptions& options = {});

}  // namespace lumo
