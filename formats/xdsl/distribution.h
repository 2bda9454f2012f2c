// Distributions of continuous nodes, as their user field `data` has them, as formulas of XDSL.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "formats/shared/labels.h"
#include "library/model/netmodel.h"

namespace lumo {

/// The ids of a node's states.
using StateIdsFunction = std::function<Texts(const Bnode_bn& node)>;

/// `X=Normal(0,1)` of `normal(0, 1)`, with a deviation for the variance, and with a condition for
/// each state of the discrete parents. Empty where the text holds anything else.
std::string FormulaOf(const Bnode_bn& node, std::string_view distributions,
                      const StateIdsFunction& stateIds);

}  // namespace lumo
