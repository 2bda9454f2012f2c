#include "export/svg.h"

#include "export/legend.h"
#include "export/picture.h"
#include "formats/shared/describe.h"
#include "formats/shared/textout.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::string_view lineColor = "#5c6670";
constexpr std::string_view inkColor = "#3c4650";

/// Writes the elements of a drawing.
class SvgOut {
public:
    SvgOut(std::ostream& out, const PictureFont& font, const NodeMarks& marks,
           std::string_view prefix)
        : out_(out), font_(font), marks_(marks), prefix_(prefix) {}

    void head(const Picture& picture, double height, std::string_view title) {
        out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"";
        box({{"width", picture.width}, {"height", height}});
        out_ << " viewBox=\"";
        pair({picture.left, picture.top});
        out_ << ' ';
        pair({picture.width, height});
        out_ << "\">\n<title>" << XmlText(title) << "</title>\n<rect";
        box({{"x", picture.left},
             {"y", picture.top},
             {"width", picture.width},
             {"height", height}});
        out_ << " fill=\"#ffffff\"/>\n";
    }

    void links(const Picture& picture) {
        out_ << "<g fill=\"none\" stroke=\"" << lineColor << "\" stroke-width=\"1.2\">\n";
        for (const PictureLink& link : picture.links) course(link);
        out_ << "</g>\n";
    }

    void nodes(const Picture& picture) {
        out_ << "<g stroke=\"" << inkColor << "\" text-anchor=\"middle\"";
        fontAttributes();
        out_ << ">\n";
        for (const PictureNode& drawn : picture.nodes) node(drawn);
        out_ << "</g>\n";
    }

    void arrowHeads(const Picture& picture) {
        out_ << "<g fill=\"" << inkColor << "\">\n";
        for (const PictureLink& link : picture.links) {
            out_ << "<path d=\"";
            corners(ArrowHead(link));
            out_ << "\"/>\n";
        }
        out_ << "</g>\n";
    }

    void legend(const Legend& legend) {
        if (legend.entries.empty()) return;
        out_ << "<g id=\"" << prefix_ << "legend\"";
        fontAttributes();
        out_ << ">\n";
        for (const LegendEntry& entry : legend.entries) {
            out_ << "<rect";
            box({{"x", entry.swatch.x},
                 {"y", entry.swatch.y},
                 {"width", LegendSwatch.x},
                 {"height", LegendSwatch.y}});
            out_ << " stroke=\"" << inkColor << "\" fill=\"" << ColorText(entry.color)
                 << "\"/><text";
            box({{"x", entry.text.x}, {"y", entry.text.y}});
            out_ << '>' << XmlText(entry.name) << "</text>\n";
        }
        out_ << "</g>\n";
    }

    void end() { out_ << "</svg>\n"; }

private:
    struct Attribute {
        std::string_view name;
        double value;
    };

    void box(std::initializer_list<Attribute> attributes) {
        for (const Attribute& attribute : attributes)
            out_ << ' ' << attribute.name << "=\"" << Decimal(attribute.value) << '"';
    }

    void pair(Point at) { out_ << Decimal(at.x) << ' ' << Decimal(at.y); }

    void corners(const std::vector<Point>& corners) {
        char command = 'M';
        for (const Point corner : corners) {
            out_ << command;
            pair(corner);
            command = 'L';
        }
        out_ << 'Z';
    }

    void course(const PictureLink& link) {
        out_ << "<path d=\"M";
        pair(link.from());
        for (std::size_t i = 1; i < link.course.size(); ++i) {
            out_ << (i > 1 ? ' ' : link.isStraight() ? 'L' : 'C');
            pair(link.course[i]);
        }
        out_ << "\"/>\n";
    }

    /// The node's outline, `inset` inside its border; fill is "none" or a colour.
    void outline(const PictureNode& node, double inset, std::string_view fill) {
        const double halfWidth = node.halfWidth - inset;
        const double halfHeight = node.halfHeight - inset;
        const Point at = node.centre;
        switch (node.shape) {
            case ShapeEN::rectangle:
                out_ << "<rect";
                box({{"x", at.x - halfWidth},
                     {"y", at.y - halfHeight},
                     {"width", 2 * halfWidth},
                     {"height", 2 * halfHeight}});
                break;
            case ShapeEN::hexagon:
                out_ << "<path d=\"";
                corners(HexagonCorners(at, halfWidth, halfHeight));
                out_ << '"';
                break;
            case ShapeEN::ellipse:
                out_ << "<ellipse";
                box({{"cx", at.x}, {"cy", at.y}, {"rx", halfWidth}, {"ry", halfHeight}});
                break;
        }
        out_ << " fill=\"" << fill << "\"/>";
    }

    void node(const PictureNode& node) {
        out_ << "<g id=\"" << prefix_ << "node-" << XmlText(node.node->name()) << '"';
        if (const auto mark = marks_.find(node.node); mark != marks_.end())
            out_ << " class=\"" << mark->second << '"';
        out_ << "><title>" << XmlText(NodeSummary(*node.node)) << "</title>";
        outline(node, 0, ColorText(node.fill));
        if (node.doubled) outline(node, InnerBorder, "none");
        for (std::size_t i = 0; i < node.lines.size(); ++i) {
            out_ << "<text";
            box({{"x", node.centre.x}, {"y", node.lineMiddle(i, font_) + font_.baseline()}});
            out_ << " stroke=\"none\" fill=\"" << ColorText(node.ink) << "\">"
                 << XmlText(node.lines[i]) << "</text>";
        }
        out_ << "</g>\n";
    }

    void fontAttributes() {
        out_ << " font-family=\"" << XmlText(font_.families()) << '"';
        box({{"font-size", font_.size}});
        if (font_.bold) out_ << " font-weight=\"bold\"";
        if (font_.italic) out_ << " font-style=\"italic\"";
    }

    TextOut out_;
    const PictureFont& font_;
    const NodeMarks& marks_;
    const std::string_view prefix_;
};

void WriteElement(const Bnet_bn& net, LayoutEN layout, const NodeMarks& marks,
                  std::string_view prefix, std::ostream& out) {
    const Picture picture = MakePicture(net, layout);
    const Legend legend = MakeLegend(net, picture);
    SvgOut svg(out, picture.font, marks, prefix);
    svg.head(picture, picture.height + legend.height, TitleOrName(net));
    svg.links(picture);
    svg.nodes(picture);
    svg.arrowHeads(picture);
    svg.legend(legend);
    svg.end();
}

}  // namespace

void WriteSvg(const ImportResult& result, std::ostream& out) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    WriteElement(*result.net, result.layout, {}, {}, out);
}

void WriteInlineSvg(const Bnet_bn& net, const NodeMarks& marks, std::string_view prefix,
                    std::ostream& out) {
    WriteElement(net, LayoutEN::best, marks, prefix, out);
}

}  // namespace lumo
