// The geometry of a net's picture, shared by everything that draws it: labels, sizes, places,
// colours, and where links meet the shapes. y grows downwards; the unit is a pixel at zoom 1.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/shared/result.h"
#include "library/layout/diagram.h"

namespace lumo {

using layout::Point;

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

    /// How far out the point lies, as a multiple of the way from the centre to the border: 1 on it.
    double reach(Point at) const;
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
    const PictureNode& parentOf(const PictureLink& link) const {
        return nodes[static_cast<std::size_t>(link.parent)];
    }
    const PictureNode& childOf(const PictureLink& link) const {
        return nodes[static_cast<std::size_t>(link.child)];
    }

    bool laidOut = false;  ///< by the automatic layout, not by the positions of the net
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

/// The picture of the net, which stays as it is: with its positions or, as asked for or where they
/// make no drawing, the automatic layout. Linear but for that.
Picture MakePicture(const Bnet_bn& net, LayoutEN layout = LayoutEN::best);

/// An upper estimate of the text's width in common fonts.
double TextWidth(std::string_view utf8, const PictureFont& font);

/// The text cut to the width, with an ellipsis when something went.
std::string CutText(std::string_view utf8, double width, const PictureFont& font);

/// Places the nodes, whose sizes are known, at the net's positions, scaled so that the shapes have
/// room and the picture is not vast. Returns the scale; 0 when the positions make no drawing and
/// `force` is not set.
double PlaceAsInNet(const Bnet_bn& net, bool force, Picture& picture);

/// The part of a course between centres of nodes that lies outside both; empty when there is none.
std::vector<Point> Clipped(std::vector<Point> course, const PictureNode& parent,
                           const PictureNode& child);

/// Black or white, whichever reads better on the colour.
RGB InkOn(RGB fill);

/// The number with at most two decimals, independent of the locale.
std::string Decimal(double value);

}  // namespace lumo
