// UAI files, as the inference competitions and their programs read them.
#pragma once

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes the chance and decision nodes as a Bayes net, in the net's order and without comments,
/// which strict programs refuse. A node without a table gets a uniform one, as the format demands.
void WriteUai(const ImportResult& result, std::ostream& out);

Losses UaiLosses(const Bnet_bn& net);

}  // namespace lumo
