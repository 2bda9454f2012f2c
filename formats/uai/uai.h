// UAI, as the inference competitions and their programs write it (docs/uai.md).
#pragma once

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo uaiFormat;

rept_kt* ParseUaiFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

/// Writes the chance and decision nodes as a Bayes net, in the net's order and without comments,
/// which strict programs refuse. A node without a table gets a uniform one, as the format demands.
void WriteUai(const ImportResult& result, std::ostream& out);

Losses UaiLosses(const Bnet_bn& net);

}  // namespace lumo
