// Which node of one net is which of another.
#pragma once

#include <vector>

#include "formats/shared/losses.h"
#include "library/model/netmodel.h"

namespace lumo {

/// By what two nodes were found to be one.
enum class MatchEN : unsigned char { none, name, title, shape };

struct Matching {
    std::vector<int> afterOf;   ///< of each node of the first net the place in the second, -1: none
    std::vector<int> beforeOf;  ///< likewise the other way
    std::vector<MatchEN> by;    ///< of each node of the first net
};

/// Finds the nodes of the one net in the other: by their names, then by titles that one node alone
/// has, then by their states, tables and neighbours. Nodes that all of these cannot tell apart are
/// taken in their order. Those of the first net that the losses name as lost are in no other.
/// Near-linear in both nets.
Matching MatchNodes(const Bnet_bn& before, const Bnet_bn& after, const Losses* losses = nullptr);

}  // namespace lumo
