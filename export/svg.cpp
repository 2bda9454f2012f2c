#include "export/svg.h"

#include <ostream>

#include "export/describe.h"
#include "export/picture.h"
#include "export/text.h"

namespace lumo {
namespace {

std::string Attribute(const char* name, double value) {
    return " " + std::string(name) + "=\"" + Decimal(value) + "\"";
}

std::string Pair(Point at) { return Decimal(at.x) + " " + Decimal(at.y); }

std::string Corners(const std::vector<Point>& corners) {
    std::string path;
    for (const Point corner : corners) path += (path.empty() ? "M" : "L") + Pair(corner);
    return path + "Z";
}

std::string Course(const PictureLink& link) {
    std::string path = "M" + Pair(link.from()) + (link.isStraight() ? "L" : "C");
    for (std::size_t i = 1; i < link.course.size(); ++i)
        path += (i == 1 ? "" : " ") + Pair(link.course[i]);
    return path;
}

/// The node's outline, `inset` inside its border; fill is "none" or a colour.
std::string Outline(const PictureNode& node, double inset, const std::string& fill) {
    const double halfWidth = node.halfWidth - inset;
    const double halfHeight = node.halfHeight - inset;
    const Point at = node.centre;
    const std::string end = " fill=\"" + fill + "\"/>";
    switch (node.shape) {
        case ShapeEN::rectangle:
            return "<rect" + Attribute("x", at.x - halfWidth) + Attribute("y", at.y - halfHeight) +
                   Attribute("width", 2 * halfWidth) + Attribute("height", 2 * halfHeight) + end;
        case ShapeEN::hexagon:
            return "<path d=\"" + Corners(HexagonCorners(at, halfWidth, halfHeight)) + "\"" + end;
        default:
            return "<ellipse" + Attribute("cx", at.x) + Attribute("cy", at.y) +
                   Attribute("rx", halfWidth) + Attribute("ry", halfHeight) + end;
    }
}

std::string Node(const PictureNode& node, const PictureFont& font) {
    std::string text = "<g id=\"node-" + XmlText(node.node->name()) + "\"><title>" +
                       XmlText(NodeSummary(*node.node)) + "</title>" +
                       Outline(node, 0, ColorText(node.fill));
    if (node.doubled) text += Outline(node, InnerBorder, "none");
    for (std::size_t i = 0; i < node.lines.size(); ++i)
        text += "<text" + Attribute("x", node.centre.x) +
                Attribute("y", node.lineMiddle(i, font) + font.baseline()) +
                " stroke=\"none\" fill=\"" + ColorText(node.ink) + "\">" + XmlText(node.lines[i]) +
                "</text>";
    return text + "</g>\n";
}

std::string FontAttributes(const PictureFont& font) {
    return " font-family=\"" + XmlText(font.families()) + "\"" + Attribute("font-size", font.size) +
           (font.bold ? " font-weight=\"bold\"" : "") +
           (font.italic ? " font-style=\"italic\"" : "");
}

}  // namespace

void WriteSvg(const ImportResult& result, std::ostream& out) {
    const Picture picture = MakePicture(*result.net);
    const std::string box = Attribute("width", picture.width) + Attribute("height", picture.height);
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"" << box << " viewBox=\""
        << Pair({picture.left, picture.top}) << ' ' << Pair({picture.width, picture.height})
        << "\">\n<title>" << XmlText(TitleOrName(*result.net)) << "</title>\n"
        << "<rect" << Attribute("x", picture.left) << Attribute("y", picture.top) << box
        << " fill=\"#ffffff\"/>\n";
    out << "<g fill=\"none\" stroke=\"#5c6670\" stroke-width=\"1.2\">\n";
    for (const PictureLink& link : picture.links) out << "<path d=\"" << Course(link) << "\"/>\n";
    out << "</g>\n<g stroke=\"#3c4650\" text-anchor=\"middle\"" << FontAttributes(picture.font)
        << ">\n";
    for (const PictureNode& node : picture.nodes) out << Node(node, picture.font);
    out << "</g>\n<g fill=\"#3c4650\">\n";
    for (const PictureLink& link : picture.links)
        out << "<path d=\"" << Corners(ArrowHead(link)) << "\"/>\n";
    out << "</g>\n</svg>\n";
}

}  // namespace lumo
