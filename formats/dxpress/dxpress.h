// DXPress (docs/dxpress.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/options.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo dxpressFormat;

rept_kt* ParseDXPressFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                          const ReadOptions& options = {});

}  // namespace lumo
