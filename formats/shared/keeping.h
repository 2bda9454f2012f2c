// What writers share that say what their format keeps, and where it has the nodes.
#pragma once

#include "formats/shared/losses.h"
#include "formats/shared/placing.h"

namespace lumo {

/// A feature that a format keeps when `of` says so; null: always. PLAN is what the writer knows of
/// the net as a whole, OBJECT a node, a net, or the place of a group.
template <class PLAN, class OBJECT>
struct Kept {
    FeatureEN feature;                                             ///< what is kept
    bool (*of)(const PLAN& plan, const OBJECT& object) = nullptr;  ///< of which objects; null: all
};

/// Of an object's features those that the list of what is kept does not have.
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

/// Finds the positions to write so that a reader which moves the drawing to start 40 units from its
/// top left corner, its distances multiplied by scale and, when turnOver is set, upside down,
/// comes to the positions of the net. Where whole numbers of the file cannot hit a distance, the
/// nearest does.
class Placing {
public:
    /// Without isWritten all nodes stand in the file.
    Placing(const Vnet_kt& drawing, double scale, bool turnOver,
            bool (*isWritten)(const Bnode_bn&) = nullptr);

    /// Whether there is something to write; the rest is for drawings that have.
    bool hasPlaces() const { return hasPlaces_; }
    /// The node's place to write, in units of the file.
    coord_kt written(const Bnode_bn& node) const;
    /// Whether the node comes to stand where it does now, the margin of the drawing aside.
    bool isExact(const Bnode_bn& node) const;
    /// Whether the drawing starts where the reader makes it start.
    bool keepsMargin() const;

private:
    long long inFile(long long distance) const;

    bool hasPlaces_;
    rect_kt extent_{};
    double scale_;
    bool turnOver_;
    long long height_ = 0;  // of the drawing in the file
};

}  // namespace lumo
