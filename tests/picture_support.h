// What the tests of pictures and reports share: nets built by hand, and a checker of XML.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "export/picture.h"
#include "formats/shared/result.h"
#include "library/model/netmodel.h"

namespace lumo::test {

inline ImportResult NewResult(const char* name = "net") {
    ImportResult result;
    result.file = std::string(name) + ".net";
    result.format = "hugin";
    result.formatCode = 8;
    result.net.reset(NewVBNet(DupStr_kt(name)));
    return result;
}

inline Bnode_bn& AddNode(Bnet_bn& net, const char* name, coord_kt at,
                         NodeKindEN kind = NatureNode) {
    Bnode_bn* node = NewNode_ibn(name, 2, net, at);
    node->setKind(kind);
    return *node;
}

/// A net whose every text wants to break out of what it is written into.
inline const std::vector<std::string>& HostileTexts() {
    static const std::vector<std::string> texts = {
        "<script>document.title='owned'</script>",
        "\" onload=\"document.title='owned'",
        "' onclick='document.title=1",
        "]]>",
        "</script><script>document.title='owned'</script>",
        "</title><img src=x onerror=\"document.title='owned'\">",
        "&amp;&lt;&#60;",
        "<!--",
        "\x01\x02\x1b[31m\x7f\xc2\x85\xef\xbf\xbf",
        "caf\xe9 \xe2\x82",
        "\\N \\\" \\l",
        "{{constructor}} ${alert} `",
    };
    return texts;
}

inline ImportResult HostileResult() {
    ImportResult result = NewResult("hostile");
    Bnet_bn& net = *result.net;
    SetNetLabel(net, DupStr_kt("</title><script>document.title='owned'</script>"));
    net.setComment(DupStr_kt("]]></style><svg onload=document.title=1>"));
    Bnode_bn* before = nullptr;
    int place = 0;
    for (const std::string& text : HostileTexts()) {
        Bnode_bn* node = NewNode_ibn(nullptr, 2, net, {place % 4 * 150, place / 4 * 90});
        SetNodeLabel(*node, DupStr_kt(text));
        node->setComment(DupStr_kt(text));
        node->setStateTitle(0, DupStr_kt(text));
        node->setUserField("field", text.data(), static_cast<int>(text.size()));
        AddNodeToNodeset_ibn(*node, text.c_str());
        if (before != nullptr) AddLink_ibn(*before, *node);
        before = node;
        ++place;
        ReportRecord report;
        report.severity = SeverityError;
        report.number = -5049;
        report.message = text;
        report.structName = text;
        report.line = place;
        report.column = 1;
        result.reports.push_back(report);
    }
    return result;
}

/// 0 on the border of the node's shape, negative inside, by the shape's own equation.
inline double FromBorder(const PictureNode& node, Point at) {
    const double x = std::abs(at.x - node.centre.x) / node.halfWidth;
    const double y = std::abs(at.y - node.centre.y) / node.halfHeight;
    switch (node.shape) {
        case ShapeEN::ellipse:
            return std::hypot(x, y) - 1;
        case ShapeEN::rectangle:
            return std::max(x, y) - 1;
        default: {
            const std::vector<Point> corners =
                HexagonCorners(node.centre, node.halfWidth, node.halfHeight);
            const double flat = (corners[2].x - node.centre.x) / node.halfWidth;
            return std::max(y, x + (1 - flat) * y) - 1;
        }
    }
}

/// Points along the link's course, about so far apart.
inline std::vector<Point> Sampled(const PictureLink& link, double apart) {
    const std::vector<Point>& c = link.course;
    std::vector<Point> points = {c[0]};
    const std::size_t step = link.isStraight() ? 1 : 3;
    for (std::size_t i = 0; i + step < c.size(); i += step) {
        double length = 0;
        for (std::size_t k = i; k < i + step; ++k)
            length += std::hypot(c[k + 1].x - c[k].x, c[k + 1].y - c[k].y);
        const int samples = 1 + static_cast<int>(length / apart);
        for (int n = 1; n <= samples; ++n) {
            const double t = static_cast<double>(n) / samples;
            std::vector<Point> ends(c.begin() + static_cast<std::ptrdiff_t>(i),
                                    c.begin() + static_cast<std::ptrdiff_t>(i + step + 1));
            for (std::size_t left = step; left > 0; --left)
                for (std::size_t k = 0; k < left; ++k)
                    ends[k] = {(1 - t) * ends[k].x + t * ends[k + 1].x,
                               (1 - t) * ends[k].y + t * ends[k + 1].y};
            points.push_back(ends[0]);
        }
    }
    return points;
}

/// Links that run through a node that is not their end, seen at points so far apart.
inline int CutLinks(const Picture& picture, double apart = 3) {
    return static_cast<int>(std::ranges::count_if(picture.links, [&](const PictureLink& link) {
        const std::vector<Point> points = Sampled(link, apart);
        return std::ranges::any_of(picture.nodes, [&](const PictureNode& node) {
            if (&node == &picture.parentOf(link) || &node == &picture.childOf(link)) return false;
            return std::ranges::any_of(points,
                                       [&](Point at) { return FromBorder(node, at) < -0.001; });
        });
    }));
}

inline bool Overlapping(const PictureNode& a, const PictureNode& b) {
    return std::abs(a.centre.x - b.centre.x) < a.halfWidth + b.halfWidth &&
           std::abs(a.centre.y - b.centre.y) < a.halfHeight + b.halfHeight;
}

/// What holds for every picture: no overlap, nothing cut off, links from border to border and
/// through no other node.
inline void ExpectSoundPicture(const Picture& picture) {
    for (const PictureNode& node : picture.nodes) {
        EXPECT_GE(node.centre.x - node.halfWidth, picture.left);
        EXPECT_GE(node.centre.y - node.halfHeight, picture.top);
        EXPECT_LE(node.centre.x + node.halfWidth, picture.left + picture.width);
        EXPECT_LE(node.centre.y + node.halfHeight, picture.top + picture.height);
        for (const PictureNode& other : picture.nodes)
            if (&other < &node) {
                EXPECT_FALSE(Overlapping(node, other))
                    << node.node->name() << ' ' << other.node->name();
            }
    }
    for (const PictureLink& link : picture.links) {
        const PictureNode& child = picture.childOf(link);
        EXPECT_NEAR(FromBorder(picture.parentOf(link), link.from()), 0, 1e-5);
        EXPECT_NEAR(FromBorder(child, link.to()), 0, 1e-5);
        for (const Point corner : ArrowHead(link))
            for (const PictureNode& node : picture.nodes)
                EXPECT_GE(FromBorder(node, corner), &node == &child ? -0.2 : 0)
                    << "a head is on " << node.node->name();
    }
    EXPECT_EQ(CutLinks(picture), 0);
}

/// Crossings of the sampled courses, whose pieces are compared where they are at one height.
inline int Crossings(const Picture& picture) {
    struct Piece {
        Point upper, lower;
        std::size_t link;
    };
    std::vector<Piece> pieces;
    for (std::size_t i = 0; i < picture.links.size(); ++i) {
        const PictureLink& link = picture.links[i];
        const std::vector<Point> points = link.isStraight() ? link.course : Sampled(link, 8);
        for (std::size_t n = 1; n < points.size(); ++n) {
            const bool down = points[n - 1].y <= points[n].y;
            pieces.push_back({points[down ? n - 1 : n], points[down ? n : n - 1], i});
        }
    }
    std::ranges::sort(pieces, {}, [](const Piece& piece) { return piece.upper.y; });
    const auto side = [](const Piece& line, Point p) {
        const double area = (line.lower.x - line.upper.x) * (p.y - line.upper.y) -
                            (line.lower.y - line.upper.y) * (p.x - line.upper.x);
        return (area > 0) - (area < 0);
    };
    int count = 0;
    for (auto a = pieces.begin(); a != pieces.end(); ++a)
        for (auto b = a + 1; b != pieces.end() && b->upper.y <= a->lower.y; ++b)
            count += a->link != b->link && side(*a, b->upper) * side(*a, b->lower) < 0 &&
                     side(*b, a->upper) * side(*b, a->lower) < 0;
    return count;
}

/// Why the text is not well-formed XML, as far as writers of ours could get it wrong: elements that
/// nest, quoted attributes each once, no stray '<' or '&', no forbidden character. Empty when fine.
inline std::string XmlFault(std::string_view xml) {
    const auto at = [&](std::string_view rest) {
        return " at byte " + std::to_string(xml.size() - rest.size());
    };
    for (const char c : xml)
        if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t') return "control byte";
    std::string_view rest = xml;
    if (rest.starts_with("<?xml")) rest.remove_prefix(rest.find("?>") + 2);
    std::vector<std::string> open;
    const auto badText = [](std::string_view text) {
        for (std::size_t i = text.find('&'); i != std::string_view::npos;
             i = text.find('&', i + 1)) {
            const std::string_view entity = text.substr(i, 6);
            bool known = false;
            for (const char* name : {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"})
                known = known || entity.starts_with(name);
            if (!known) return true;
        }
        return text.find('<') != std::string_view::npos ||
               text.find("]]>") != std::string_view::npos;
    };
    while (!rest.empty()) {
        const std::size_t tag = std::min(rest.find('<'), rest.size());
        if (badText(rest.substr(0, tag))) return "text" + at(rest);
        rest.remove_prefix(tag);
        if (rest.empty()) break;
        const std::size_t nameEnd = rest.find_first_of(" >/", 2);
        std::string name(rest.substr(1, nameEnd - 1));
        rest.remove_prefix(nameEnd);
        if (name.starts_with('/')) {
            if (open.empty() || open.back() != name.substr(1)) return "end tag " + name + at(rest);
            open.pop_back();
            rest.remove_prefix(1);
            continue;
        }
        std::vector<std::string_view> attributes;
        while (rest.starts_with(' ')) {
            const std::size_t equal = rest.find("=\"");
            if (equal == std::string_view::npos) return "attribute" + at(rest);
            const std::size_t end = rest.find('"', equal + 2);
            const std::string_view attribute = rest.substr(1, equal - 1);
            if (attribute.find_first_not_of("abcdefghijklmnopqrstuvwxyzBM-:0123456789") !=
                    std::string_view::npos ||
                end == std::string_view::npos || badText(rest.substr(equal + 2, end - equal - 2)))
                return "attribute" + at(rest);
            for (const std::string_view other : attributes)
                if (other == attribute) return "attribute twice" + at(rest);
            attributes.push_back(attribute);
            rest.remove_prefix(end + 1);
        }
        if (rest.starts_with("/>")) {
            rest.remove_prefix(2);
        } else if (rest.starts_with('>')) {
            open.push_back(name);
            rest.remove_prefix(1);
        } else {
            return "tag " + name + at(rest);
        }
    }
    return open.empty() ? std::string() : "open element " + open.back();
}

}  // namespace lumo::test
