// Positions for a file whose reader moves and scales the drawing.
#pragma once

#include "library/model/netmodel.h"

namespace LUMO_API lumo {

/// Whether the positions say something: the file gave some, and not one place for all.
bool HasPlaces(const Bnet_bn& net);

/// Room behind the last node, right and below, of an imported drawing.
inline coord_kt FitMargin(const Vnet_kt& drawing) {
    return {drawing.marginUnit.x * 2, drawing.marginUnit.y};
}

/// Leaves the nodes to the automatic layout as a file without positions does: in a rectangle twice
/// as wide as high, which grows with their number.
void LeaveToLayout(Vnet_kt& drawing);

/// Gives the nodes the positions of the automatic layout, to be kept as if the file had given them.
void LayOut(Bnet_bn& net);

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
