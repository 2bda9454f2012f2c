// Parts of a net: the nodes around some.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

/// What belongs to a part besides the nodes that were named.
struct Around {
    const char* name;
    std::size_t nodes;  ///< that must be named at least
    /// Marks the nodes, by their places in the net.
    void (*mark)(const Bnet_bn& net, std::span<const Bnode_bn* const> named,
                 std::vector<char>& isIn);
};

/// "blanket" and so on.
std::span<const Around> Arounds();

/// The named nodes, with those around them, in net order.
std::vector<const Bnode_bn*> PartOf(const Bnet_bn& net, std::span<const Bnode_bn* const> named,
                                    const Around& around);

}  // namespace lumo
