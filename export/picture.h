// The geometry of a net's picture, shared by everything that draws it: labels, sizes, places,
// colours, and where links meet the shapes. y grows downwards; the unit is a pixel at zoom 1.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "library/model/netmodel.h"

namespace lumo {

struct Point {
    double x = 0;
    double y = 0;
};

/// Nature, decision and utility nodes.
enum class ShapeEN : unsigned char { ellipse, rectangle, hexagon };

struct PictureFont {
    std::string face;  ///< UTF-8 letters, digits, blanks, '-', '_' and '.' only; may be empty
    double size = 12;
    bool bold = false;
    bool italic = false;

    double lineHeight() const { return size * 1.25; }
    /// From the middle of a line of text down to its baseline.
    double baseline() const { return size * 0.35; }
    /// The face and what to take in its stead, as CSS wants it.
    std::string families() const;
};

/// A node as drawn: centre and half the sides of the box around its shape.
struct PictureNode {
    const Bnode_bn* node = nullptr;
    Point centre;
    double halfWidth = 0;
    double halfHeight = 0;
    std::vector<std::string> lines;  ///< its label, UTF-8 without control characters
    ShapeEN shape = ShapeEN::ellipse;
    bool doubled = false;  ///< deterministic: a second border inside
    RGB fill{255, 255, 255};
    RGB ink{0, 0, 0};  ///< of the text on the fill

    /// Where the line from the centre towards the point leaves the shape.
    Point borderTowards(Point target) const;
    /// Height of the middle of a line of the label.
    double lineMiddle(std::size_t line, const PictureFont& font) const;
};

/// A link as drawn. Links of nodes that overlap are not drawn.
struct PictureLink {
    int parent = 0;  ///< places in Picture::nodes
    int child = 0;
    /// From border to border: the two ends of a straight line, or cubic Bezier segments end to end,
    /// which are the start and then, a segment each, two control points and an end.
    std::vector<Point> course;

    bool isStraight() const { return course.size() == 2; }
    Point from() const { return course.front(); }
    Point to() const { return course.back(); }
};

struct Picture {
    PictureFont font;
    std::vector<PictureNode> nodes;  ///< in net order
    std::vector<PictureLink> links;
    double left = 0, top = 0, width = 0, height = 0;  ///< what is shown
    bool laidOut = false;  ///< the positions of the net are no drawing: these are made here
};

inline constexpr double ArrowLength = 9;
inline constexpr double ArrowHalfWidth = 3.5;
inline constexpr double HexagonSlant = 0.6;  ///< width lost at each side by half the height
inline constexpr double InnerBorder = 3;     ///< from a doubled border to the one inside

/// The corners of a hexagon (from the left one) with these half sides.
std::vector<Point> HexagonCorners(Point centre, double halfWidth, double halfHeight);

/// The corners of the link's arrow head; the first is its tip.
std::vector<Point> ArrowHead(const PictureLink& link);
/// The middle of the side of the head that is opposite its tip.
Point ArrowBase(const PictureLink& link);

/// The picture of the net, which stays as it is. Linear but for a layout that may be needed.
Picture MakePicture(const Bnet_bn& net);

/// An upper estimate of the text's width in common fonts.
double TextWidth(std::string_view utf8, const PictureFont& font);

/// Places the nodes, whose sizes are known: at the net's positions, scaled so that the shapes have
/// room and the picture is not vast; at positions of the automatic layout when those of the net are
/// no drawing. Returns the scale, 0 for the automatic layout.
double PlacePicture(const Bnet_bn& net, Picture& picture);

/// Black or white, whichever reads better on the colour.
RGB InkOn(RGB fill);

/// The number with at most two decimals, independent of the locale.
std::string Decimal(double value);

}  // namespace lumo
