// Nets made smaller before they are written, for programs that have no place for all of them.
#pragma once

#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

/// What is left out of a net.
struct Reduction {
    bool plain = false;       ///< all but names, states, links and tables
    bool onlyNature = false;  ///< decisions, utilities, and what depends on them
};

/// Leaves it out of the net. Returns what nobody may miss unsaid, a line each: nodes that are gone,
/// and rows that were scaled. A plain net has one text a state, its name where it has one; rows
/// that sum to 1 but for rounding sum to it, and noisy-max relations are tables.
std::vector<std::string> Reduce(Bnet_bn& net, const Reduction& what);

}  // namespace lumo
