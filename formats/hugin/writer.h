// Hugin .net, version 5 (docs/hugin.md).
#pragma once

#include <iosfwd>

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes the net as a Hugin .net file in UTF-8. Linear in time.
void WriteHugin(const ImportResult& result, std::ostream& out);

Losses HuginLosses(const Bnet_bn& net);

}  // namespace lumo
