// The project's own JSON, schema "lumo-import/1" (docs/json.md), which the export writes.
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/options.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo jsonFormat;

rept_kt* ParseJsonFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                       const ReadOptions& options = {});

}  // namespace lumo
