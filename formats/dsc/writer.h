// DSC (docs/dsc.md).
#pragma once

#include <iosfwd>

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes the net as a DSC file in UTF-8. Linear in time.
void WriteDsc(const ImportResult& result, std::ostream& out);

Losses DscLosses(const Bnet_bn& net);

}  // namespace lumo
