// What a net holds that a format cannot: one list of features for all formats. A writer says which
// features of a net, a node, a group its format keeps; whatever else the net has is a loss.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "formats/shared/placing.h"
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

constexpr FeatureSet Bit(FeatureEN feature) {
    return FeatureSet{1} << static_cast<unsigned>(feature);
}

/// What is lost, by node, by group and of the net, each in the net's order.
struct Losses {
    std::vector<FeatureSet> nodes;
    std::vector<FeatureSet> groups;
    FeatureSet net = 0;
    std::vector<std::string> remarks;  ///< what readers make of what is written
};

/// What the object has of the features; empty texts are none.
FeatureSet FeaturesOf(const Bnode_bn& node);
FeatureSet FeaturesOf(const Bnet_bn& net);

/// Whether a group's color is that of groups which were given none.
constexpr bool IsDefaultColor(RGB color) {
    return color.red == DefaultNodesetColor.red && color.green == DefaultNodesetColor.green &&
           color.blue == DefaultNodesetColor.blue;
}

/// A feature that a format keeps when `of` says so; null: always. PLAN is what the writer knows of
/// the net as a whole, OBJECT a node, a net, or the place of a group.
template <class PLAN, class OBJECT>
struct Kept {
    FeatureEN feature;
    bool (*of)(const PLAN& plan, const OBJECT& object) = nullptr;
};

template <class PLAN, class OBJECT, class LIST>
FeatureSet LostOf(FeatureSet features, const PLAN& plan, const OBJECT& object, const LIST& kept) {
    for (const Kept<PLAN, OBJECT>& entry : kept) {
        const bool has = (features & Bit(entry.feature)) != 0;
        if (has && (entry.of == nullptr || entry.of(plan, object))) features &= ~Bit(entry.feature);
    }
    return features;
}

/// The losses of a net in a format that keeps what the three lists say. What a node or group that
/// is lost itself has is not counted.
template <class PLAN, class NODES, class GROUPS, class NET>
Losses FindLosses(const Bnet_bn& net, const PLAN& plan, const NODES& ofNodes,
                  const GROUPS& ofGroups, const NET& ofNet) {
    const auto whole = [](FeatureSet lost, FeatureEN itself) {
        return (lost & Bit(itself)) != 0 ? Bit(itself) : lost;
    };
    const FeatureSet absent =
        HasPlaces(net) ? 0 : Bit(FeatureEN::position) | Bit(FeatureEN::exactPosition);
    Losses losses;
    for (const Bnode_bn* node : net.nodes) {
        losses.nodes.push_back(
            whole(LostOf(FeaturesOf(*node) & ~absent, plan, *node, ofNodes), FeatureEN::node));
    }
    const int groups = static_cast<int>(net.nodesets().size());
    for (int group = 0; group < groups; ++group) {
        losses.groups.push_back(
            whole(LostOf(Bit(FeatureEN::group) | Bit(FeatureEN::color), plan, group, ofGroups),
                  FeatureEN::group));
    }
    losses.net = LostOf(FeaturesOf(net), plan, net, ofNet);
    return losses;
}

/// One line a feature lost, "positions of 12 nodes are not kept by BIF"; features that no one
/// misses have none. Then the remarks.
std::vector<std::string> LossNotes(const Losses& losses, const char* format);

}  // namespace lumo
