// Distributions of a net's nodes, for pictures of them.
#pragma once

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

/// What is known: that the node is in the state. Of a decision it is a choice.
struct Observation {
    const Bnode_bn* node = nullptr;
    int state = 0;
};

struct Beliefs {
    std::unordered_map<const Bnode_bn*, std::vector<double>> of;  ///< by node, of its states
    std::string failure;             ///< why there are none; empty when there are
    std::vector<std::string> notes;  ///< what was taken for what
    std::vector<Observation> evidence;
};

/// Whether a node has a distribution: it has states and is no utility.
bool HasBeliefs(const Bnode_bn& node);

/// The exact distributions of the wanted nodes that have one, given the evidence. Rows that do not
/// sum to one are scaled; a node without a table is uniform, and so are rows of zeros and decisions
/// that are not chosen. Takes bounded memory and work: what would need more is a failure.
Beliefs ComputeBeliefs(const Bnet_bn& net, std::span<const Bnode_bn* const> wanted,
                       std::span<const Observation> evidence);

}  // namespace lumo
