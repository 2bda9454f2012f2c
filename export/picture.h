// The geometry of a net's picture, shared by everything that draws it: labels, sizes, places,
// colours, and where links meet the shapes. y grows downwards; the unit is a pixel at zoom 1.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "export/beliefs.h"
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

/// A state of a node with its probability.
struct PictureBar {
    std::string label;  ///< UTF-8, cut to the bar's width
    double part = 0;    ///< 0 to 1
    bool isGiven = false;
};

/// A node as drawn: centre and half the sides of the box around its shape.
struct PictureNode {
    const Bnode_bn* node = nullptr;
    Point centre;
    double halfWidth = 0;
    double halfHeight = 0;
    std::vector<std::string> lines;  ///< its label, UTF-8 without control characters
    std::vector<PictureBar> bars;    ///< below the label, which is one line then
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

    bool laidOut = false;            ///< by the automatic layout, not by the positions of the net
    bool isGrey = false;             ///< without colours
    double paperWidth = 0;           ///< what is shown, in millimetres; 0: a pixel a unit
    double letters() const;          ///< their size on paper, in points
    std::vector<std::string> notes;  ///< what is not as it was wished
    std::string insteadOf;           ///< why it is not the file's drawing, which there is
};

/// What is to be drawn, and how.
struct PictureWish {
    LayoutEN layout = LayoutEN::best;   ///< of a part: automatic but for LayoutEN::file
    std::vector<const Bnode_bn*> only;  ///< the nodes to draw, in net order; none: all
    const Beliefs* beliefs = nullptr;   ///< to be shown in the nodes
    bool roomForBars = false;           ///< in the nodes, for the page, whatever the font
    bool keepsDrawing = false;          ///< of the file, even where it is hard to read
    double width = 0;                   ///< on paper, in millimetres; 0: as it comes
    double letters = 0;                 ///< likewise, in points
    bool isGrey = false;
};

/// Measures of nodes with bars, in ems of their letters' 12 pixels.
struct BarSizes {
    explicit BarSizes(const PictureFont& font) : em(font.size / 12) {}
    double em;
    double halfWidth() const { return 62 * em; }
    double high() const { return 13 * em; }  ///< of a bar, with the gap to the next
    double top() const { return 18 * em; }   ///< of the first
    double height(std::size_t bars) const { return (20 + 13 * static_cast<double>(bars)) * em; }
    double inset() const { return 4 * em; }  ///< of bars in the node
    double letters() const { return 10 * em; }
};
inline constexpr std::size_t MostBars = 6;  ///< of a node

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
Picture MakePicture(const Bnet_bn& net, const PictureWish& wish);

/// A picture, and the one by the other layout where there are two.
struct Pictures {
    Picture shown;
    std::optional<Picture> other;
};

/// The picture as wished; the other one too, if that is wanted. Of LayoutEN::best it is the
/// automatic layout where the file's makes letters much smaller or links cross much more, which is
/// looked into up to a number of nodes.
Pictures MakePictures(const Bnet_bn& net, const PictureWish& wish, bool wantsOther);
inline constexpr int MostNodesLaidOutTwice = 3000;

/// Pairs of links that cross, about so many at most.
long long CountCrossings(const Picture& picture, long long most);

/// "12.5%"; no positive part is shown as none.
std::string PercentText(double part);

/// The colour, as grey that is as light.
RGB GreyOf(RGB color);

/// An upper estimate of the text's width in common fonts.
double TextWidth(std::string_view utf8, const PictureFont& font);

/// The text cut to the width, with an ellipsis when something went.
std::string CutText(std::string_view utf8, double width, const PictureFont& font);

/// Places the nodes, whose sizes are known, at the net's positions, scaled so that the shapes have
/// room and the picture is not vast. Returns the scale; 0 when the positions make no drawing and
/// `force` is not set. `room` is how wide a drawing may be that is not scaled down, times the
/// usual.
double PlaceAsInNet(bool force, double room, Picture& picture);

/// The part of a course between centres of nodes that lies outside both; empty when there is none.
std::vector<Point> Clipped(std::vector<Point> course, const PictureNode& parent,
                           const PictureNode& child);

double Distance(Point a, Point b);

/// A course through the points of the line, whose bends reach so far along it; straight between
/// them for 0.
std::vector<Point> Rounded(const std::vector<Point>& line, double reach);

/// Black or white, whichever reads better on the colour.
RGB InkOn(RGB fill);

/// The number with at most two decimals, independent of the locale.
std::string Decimal(double value);

}  // namespace lumo
