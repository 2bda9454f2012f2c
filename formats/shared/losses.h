// What a net holds that a format cannot: one list of features for all formats. A writer says which
// features of a net, a node, a group its format keeps; whatever else the net has is a loss.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// The features of a net; the words for each stand in losses.cpp.
enum class FeatureEN : unsigned char {
    // Of a node.
    node,
    name,
    title,
    sameTitle,  // a title that is the name
    comment,
    kind,
    continuous,   // a variable that is not discrete, utility nodes aside
    utilityForm,  // a utility node's states, or that it has none
    stateNames,
    unnamedStates,  // states without names stay so
    stateTitles,
    untitledStates,  // states without titles stay so
    textlessStates,  // states that neither texts nor numbers tell apart stay so
    stateComments,
    stateValues,
    levels,
    position,
    exactPosition,
    groups,
    userFields,
    parents,
    noTable,  // a node without a table stays so
    table,
    exactTable,
    deterministic,
    zeroOneTable,  // a table of zeros and ones that is not known as deterministic stays so
    parameters,
    experience,
    // Of a group.
    group,
    color,
    // Of the net.
    netTitle,
    noNetTitle,  // a net without a title stays so
    netComment,
    autoUpdate,
    labelStyle,
    zoom,
    font,
    grid,
    margin,
    drawStyle,
    groupOrder,
    nodeOrder,  // children that stand before their parents stay so
};

/// A set of features.
using FeatureSet = std::uint64_t;

/// The set of that feature alone.
constexpr FeatureSet Bit(FeatureEN feature) {
    return FeatureSet{1} << static_cast<unsigned>(feature);
}

/// What is lost, by node, by group and of the net, each in the net's order.
struct Losses {
    std::vector<FeatureSet> nodes;     ///< of each node, in the net's order
    std::vector<FeatureSet> groups;    ///< of each node set, in the net's order
    FeatureSet net = 0;                ///< of the net itself
    std::vector<std::string> remarks;  ///< what readers make of what is written
};

/// What the object has of the features; empty texts are none.
FeatureSet FeaturesOf(const Bnode_bn& node);
/// Likewise; its nodes and groups not included.
FeatureSet FeaturesOf(const Bnet_bn& net);

/// Whether a group's color is that of groups which were given none.
constexpr bool IsDefaultColor(RGB color) {
    return color.red == DefaultNodesetColor.red && color.green == DefaultNodesetColor.green &&
           color.blue == DefaultNodesetColor.blue;
}

/// One line a feature lost, "positions of 12 nodes are not kept by BIF"; features that no one
/// misses have none. Then the remarks.
std::vector<std::string> LossNotes(const Losses& losses, const char* format);

}  // namespace lumo
