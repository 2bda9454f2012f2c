#include "export/dot.h"

#include <ostream>

#include "export/picture.h"
#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr double pointsPerInch = 72;

/// A quoted text that stands for itself: backslashes (escapes of labels) and ampersands (character
/// references) lose their meaning. Line breaks become those of labels.
std::string Quoted(std::string_view text) {
    std::string out = "\"";
    std::string_view separator;
    while (true) {
        const std::size_t end = text.find('\n');
        out += separator;
        for (const char c : OneLine(text.substr(0, end))) {
            if (c == '"' || c == '\\') out += '\\';
            out += c;
            if (c == '&') out += "amp;";
        }
        if (end == std::string_view::npos) break;
        text.remove_prefix(end + 1);
        separator = "\\n";
    }
    return out + '"';
}

const char* ShapeName(ShapeEN shape) {
    constexpr const char* names[] = {"ellipse", "box", "hexagon"};
    return names[static_cast<int>(shape)];
}

std::string Label(const PictureNode& node) {
    std::string text;
    for (const std::string& line : node.lines) text += (text.empty() ? "" : "\n") + line;
    return text;
}

void WriteNode(const PictureNode& node, std::ostream& out) {
    out << "  " << Quoted(node.node->name()) << " [label=" << Quoted(Label(node))
        << ", shape=" << ShapeName(node.shape) << ", fillcolor=\"" << ColorText(node.fill)
        << "\", fontcolor=\"" << ColorText(node.ink) << "\", pos=\"" << Decimal(node.centre.x)
        << ',' << Decimal(-node.centre.y)
        << "!\", width=" << Decimal(2 * node.halfWidth / pointsPerInch)
        << ", height=" << Decimal(2 * node.halfHeight / pointsPerInch)
        << (node.doubled ? ", peripheries=2" : "")
        << ", tooltip=" << Quoted(NodeSummary(*node.node)) << "];\n";
}

/// The course as graphviz writes splines, y upwards: the tip after "e,", then the segments, which
/// end where the arrow head begins.
std::string Position(const PictureLink& link) {
    std::vector<Point> course = link.course;
    course.back() = ArrowBase(link);
    if (link.isStraight()) course = {course[0], course[0], course[1], course[1]};
    const auto pair = [](Point at) { return Decimal(at.x) + "," + Decimal(-at.y); };
    std::string text = "e," + pair(link.to());
    for (const Point at : course) text += " " + pair(at);
    return text;
}

/// All links of the net, those that the picture draws with their courses.
void WriteLinks(const Bnet_bn& net, const Picture& picture, std::ostream& out) {
    auto drawn = picture.links.begin();
    int child = 0;
    for (const Bnode_bn* node : net.nodes) {
        for (const Bnode_bn* parent : node->parents) {
            out << "  " << Quoted(parent->name()) << " -> " << Quoted(node->name());
            const bool isDrawn =
                drawn != picture.links.end() && drawn->child == child &&
                picture.nodes[static_cast<std::size_t>(drawn->parent)].node == parent;
            if (isDrawn) out << " [pos=\"" << Position(*drawn++) << "\"]";
            out << ";\n";
        }
        ++child;
    }
}

void WriteGroup(const nodeset_bn& set, RGB color, std::ostream& out) {
    // The prefix keeps a set from being taken for a cluster, which would change the drawing.
    out << "  subgraph " << Quoted("group " + set.name()) << " {\n    label=" << Quoted(set.name())
        << ";\n    color=\"" << ColorText(color) << "\";\n   ";
    for (const Bnode_bn* node : set.nodes()) out << ' ' << Quoted(node->name()) << ';';
    out << "\n  }\n";
}

}  // namespace

void WriteDot(const ImportResult& result, std::ostream& out) {
    const Bnet_bn& net = *result.net;
    PictureWish wish;
    wish.layout = result.layout;
    wish.keepsDrawing = true;
    const Picture picture = MakePicture(net, wish);
    const PictureFont& font = picture.font;
    const std::string face =
        font.face + (font.bold ? " Bold" : "") + (font.italic ? " Italic" : "");
    out << "digraph " << Quoted(net.name)
        << " {\n  graph [inputscale=72, tooltip=" << Quoted(TitleOrName(net))
        << "];\n  node [style=filled, color=\"#3c4650\", fontname=" << Quoted(face)
        << ", fontsize=" << Decimal(font.size)
        << "];\n  edge [color=\"#5c6670\", arrowsize=0.8];\n";
    for (const PictureNode& node : picture.nodes) WriteNode(node, out);
    WriteLinks(net, picture, out);
    const std::vector<RGB> colors = DrawnNodesetColors(net);
    for (std::size_t i = 0; i < colors.size(); ++i) WriteGroup(*net.nodesets()[i], colors[i], out);
    out << "}\n";
}

}  // namespace lumo
