#include "export/svg.h"

#include "export/legend.h"
#include "export/picture.h"
#include "formats/shared/describe.h"
#include "formats/shared/textout.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr RGB lineColor{0x5c, 0x66, 0x70};
constexpr RGB inkColor{0x3c, 0x46, 0x50};
constexpr RGB barColor{0xb9, 0xd3, 0xf3};
constexpr RGB givenColor{0x0b, 0x62, 0xc4};
constexpr RGB white{255, 255, 255};
constexpr RGB black{0, 0, 0};

/// Writes the elements of a drawing.
class SvgOut {
public:
    SvgOut(std::ostream& out, const Picture& picture, const NodeMarks& marks,
           std::string_view prefix)
        : out_(out), font_(picture.font), isGrey_(picture.isGrey), marks_(marks), prefix_(prefix) {}

    void head(const Picture& picture, double height, std::string_view title) {
        out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"";
        if (picture.paperWidth > 0) {
            const double unit = picture.paperWidth / picture.width;
            out_ << " width=\"" << Decimal(picture.paperWidth) << "mm\" height=\""
                 << Decimal(height * unit) << "mm\"";
        } else {
            box({{"width", picture.width}, {"height", height}});
        }
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
        out_ << "<g fill=\"none\" stroke=\"" << color(lineColor) << "\" stroke-width=\"1.2\">\n";
        for (const PictureLink& link : picture.links) course(link);
        out_ << "</g>\n";
    }

    void nodes(const Picture& picture) {
        out_ << "<g stroke=\"" << color(inkColor) << "\" text-anchor=\"middle\"";
        fontAttributes();
        out_ << ">\n";
        for (const PictureNode& drawn : picture.nodes) node(drawn);
        out_ << "</g>\n";
    }

    void arrowHeads(const Picture& picture) {
        out_ << "<g fill=\"" << color(inkColor) << "\">\n";
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
            out_ << " stroke=\"" << color(inkColor) << "\" fill=\"" << color(entry.color)
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
        outline(node, 0, color(node.fill));
        if (node.doubled) outline(node, InnerBorder, "none");
        if (node.bars.empty()) {
            for (std::size_t i = 0; i < node.lines.size(); ++i)
                text(node.lines[i], {node.centre.x, node.lineMiddle(i, font_) + font_.baseline()},
                     node.ink);
        } else {
            bars(node);
        }
        out_ << "</g>\n";
    }

    void bars(const PictureNode& node) {
        const BarSizes sizes(font_);
        const double top = node.centre.y - node.halfHeight;
        const double left = node.centre.x - node.halfWidth + sizes.inset();
        const double width = 2 * (node.halfWidth - sizes.inset());
        if (!node.lines.empty())
            text(node.lines[0], {node.centre.x, top + 1.08 * font_.size}, node.ink);
        double y = top + sizes.top();
        out_ << "<g stroke=\"none\"";
        box({{"font-size", sizes.letters()}});
        out_ << '>';
        for (const PictureBar& bar : node.bars) {
            const double high = 0.85 * sizes.high();
            const RGB fill = bar.isGiven ? givenColor : barColor;
            const RGB ink = bar.isGiven ? white : black;
            area(left, y, width, high, white);
            area(left, y, width * bar.part, high, fill);
            const double base = y + high / 2 + 0.35 * sizes.letters();
            const double edge = 0.3 * sizes.letters();
            text(bar.label, {left + edge, base}, ink, "start");
            text(PercentText(bar.part), {left + width - edge, base}, ink, "end");
            y += sizes.high();
        }
        out_ << "</g>";
    }

    void area(double x, double y, double width, double height, RGB fill) {
        out_ << "<rect";
        box({{"x", x}, {"y", y}, {"width", width}, {"height", height}});
        out_ << " fill=\"" << color(fill) << "\"/>";
    }

    void text(const std::string& line, Point at, RGB ink, std::string_view anchor = {}) {
        out_ << "<text";
        box({{"x", at.x}, {"y", at.y}});
        if (!anchor.empty()) out_ << " text-anchor=\"" << anchor << '"';
        out_ << " stroke=\"none\" fill=\"" << color(ink) << "\">" << XmlText(line) << "</text>";
    }

    std::string color(RGB of) const { return ColorText(isGrey_ ? GreyOf(of) : of); }

    void fontAttributes() {
        out_ << " font-family=\"" << XmlText(font_.families()) << '"';
        box({{"font-size", font_.size}});
        if (font_.bold) out_ << " font-weight=\"bold\"";
        if (font_.italic) out_ << " font-style=\"italic\"";
    }

    TextOut out_;
    const PictureFont& font_;
    const bool isGrey_;
    const NodeMarks& marks_;
    const std::string_view prefix_;
};

void WriteElement(const Bnet_bn& net, const Picture& picture, const NodeMarks& marks,
                  std::string_view prefix, std::ostream& out) {
    const Legend legend = MakeLegend(net, picture);
    SvgOut svg(out, picture, marks, prefix);
    svg.head(picture, picture.height + legend.height, TitleOrName(net));
    svg.links(picture);
    svg.nodes(picture);
    svg.arrowHeads(picture);
    svg.legend(legend);
    svg.end();
}

}  // namespace

void WriteSvg(const ImportResult& result, std::ostream& out) {
    DrawSvg(*result.net, MakePicture(*result.net, result.layout), out);
}

void DrawSvg(const Bnet_bn& net, const Picture& picture, std::ostream& out) {
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    WriteElement(net, picture, {}, {}, out);
}

void WriteInlineSvg(const Bnet_bn& net, const NodeMarks& marks, std::string_view prefix,
                    std::ostream& out) {
    PictureWish wish;
    wish.keepsDrawing = true;  // for pictures side by side
    WriteElement(net, MakePicture(net, wish), marks, prefix, out);
}

}  // namespace lumo
