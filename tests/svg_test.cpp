// Pictures: where nodes stand, where arrows end, labels, colours, and that nothing of a file
// becomes mark-up.
#include "export/svg.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "export/dot.h"
#include "export/image.h"
#include "export/picture.h"
#include "formats/shared/describe.h"
#include "library/utilities/text.h"
#include "tests/picture_support.h"

namespace lumo {
namespace {

using test::AddNode;
using test::ExpectSoundPicture;
using test::FromBorder;
using test::NewResult;

std::string Svg(const ImportResult& result) {
    std::ostringstream out;
    WriteSvg(result, out);
    return out.str();
}

/// A star of all kinds around a centre, at the positions times the scale, moved by the offset.
ImportResult Star(double scale, coord_kt offset = {}) {
    ImportResult result = NewResult();
    constexpr coord_kt places[] = {{200, 200}, {50, 60},   {200, 40},  {380, 70},
                                   {400, 200}, {370, 330}, {210, 360}, {30, 340}};
    constexpr NodeKindEN kinds[] = {NatureNode, DecisionNode, UtilityNode};
    int i = 0;
    for (const coord_kt at : places) {
        const coord_kt scaled{static_cast<int>(at.x * scale) + offset.x,
                              static_cast<int>(at.y * scale) + offset.y};
        AddNode(*result.net, ("node_" + std::to_string(i)).c_str(), scaled, kinds[i % 3]);
        ++i;
    }
    const BndList_bn& nodes = result.net->nodes;
    for (int n = 1; n < nodes.N; ++n)
        n % 2 == 0 ? AddLink_ibn(*nodes[0], *nodes[n]) : AddLink_ibn(*nodes[n], *nodes[0]);
    return result;
}

TEST(Picture, KeepsTheFilesDrawingAtAnyScaleThatCanBeDrawn) {
    for (const double scale : {0.35, 1.0, 3.0, 50.0, 1e6}) {
        SCOPED_TRACE(scale);
        const ImportResult result = Star(scale, scale < 2 ? coord_kt{-500, 9000} : coord_kt{});
        const Picture picture = MakePicture(*result.net);
        ExpectSoundPicture(picture);
        EXPECT_FALSE(picture.laidOut);
        EXPECT_EQ(picture.links.size(), 7U);
        EXPECT_LT(picture.width, 2200);
        // The same drawing: directions from the centre stay.
        for (const PictureNode& node : picture.nodes) {
            const coord_kt was = node.node->vns[0]->position();
            const coord_kt origin = result.net->nodes[0]->vns[0]->position();
            const double before = std::atan2(was.y - origin.y, was.x - origin.x);
            const double now = std::atan2(node.centre.y - picture.nodes[0].centre.y,
                                          node.centre.x - picture.nodes[0].centre.x);
            EXPECT_NEAR(before, now, 0.03) << node.node->name();
        }
    }
}

TEST(Picture, LaysOutWhatIsNoDrawing) {
    struct Case {
        const char* what;
        void (*place)(Bnet_bn& net);
    };
    const Case cases[] = {
        {"all at one place",
         [](Bnet_bn& net) {
             for (Bnode_bn* node : net.nodes) SetNodeVisPosition_ibn(*node, {7, 7}, nullptr);
         }},
        {"hardly apart",
         [](Bnet_bn& net) {
             int i = 0;
             for (Bnode_bn* node : net.nodes) SetNodeVisPosition_ibn(*node, {++i, i}, nullptr);
         }},
        {"one far away from the rest",
         [](Bnet_bn& net) {
             SetNodeVisPosition_ibn(*net.nodes[1], {INT_MAX, INT_MIN}, nullptr);
         }},
    };
    for (const auto& [what, place] : cases) {
        SCOPED_TRACE(what);
        const ImportResult result = Star(1);
        place(*result.net);
        std::vector<coord_kt> before;
        for (const Bnode_bn* node : result.net->nodes) before.push_back(node->vns[0]->position());
        const Picture picture = MakePicture(*result.net);
        EXPECT_TRUE(picture.laidOut);
        ExpectSoundPicture(picture);
        EXPECT_LT(picture.width, 2000);
        std::size_t i = 0;
        for (const Bnode_bn* node : result.net->nodes)
            EXPECT_EQ(node->vns[0]->position(), before[i++]) << "the net was changed";
    }
}

TEST(Picture, TwoNodesAtOnePlaceAreMovedApart) {
    const ImportResult result = Star(1);
    SetNodeVisPosition_ibn(*result.net->nodes[5], {30, 340}, nullptr);
    ExpectSoundPicture(MakePicture(*result.net));
}

TEST(Picture, ShowsTheDrawingExtentWhenItFits) {
    struct Case {
        int extent;
        bool shown;
    };
    for (const auto& [extent, shown] : {Case{520, true}, Case{16383, false}, Case{100, false}}) {
        const ImportResult result = Star(1);
        result.net->vnets[0]->setExtent({extent, extent});
        const Picture picture = MakePicture(*result.net);
        ExpectSoundPicture(picture);
        EXPECT_EQ(picture.left + picture.width == extent, shown) << extent;
        EXPECT_LT(picture.width, 600);
    }
}

TEST(Picture, LabelsFollowTheStyleAndFitTheirNode) {
    struct Case {
        int style;
        const char* title;
        std::vector<std::string> lines;
    };
    const std::string endless(300, 'W');
    const Case cases[] = {
        {0, "A title", {"its_name"}},
        {1, "A title", {"A title"}},
        {3, "A title", {"its_name", "A title"}},
        {7, "A title", {"A title"}},
        {1, nullptr, {"its_name"}},
        {1, "", {"its_name"}},
        {1,
         "a\x01"
         "b\r\nc",
         {"a b  c"}},
        {1, "M\xE4rz \x80", {"März €"}},
        {1, "A longer title that needs two", {"A longer title", "that needs two"}},
        {1, "aNameWithoutAnyBlankInItAtAll", {"aNameWithout", "AnyBlankInItAtAll"}},
    };
    for (const auto& [style, title, lines] : cases) {
        const ImportResult result = NewResult();
        Bnode_bn& node = AddNode(*result.net, "its_name", {});
        result.net->vnets[0]->labelStyle = style;
        node.setTitle(DupStr_kt(title));
        EXPECT_EQ(MakePicture(*result.net).nodes[0].lines, lines);
    }
    for (const NodeKindEN kind : {NatureNode, DecisionNode, UtilityNode}) {
        for (const std::string& title : {std::string("i"), std::string("Wide Words"), endless}) {
            const ImportResult result = NewResult();
            AddNode(*result.net, "n", {}, kind).setTitle(DupStr_kt(title));
            const Picture picture = MakePicture(*result.net);
            const PictureNode& node = picture.nodes[0];
            EXPECT_LE(node.lines.size(), 3U);
            for (std::size_t i = 0; i < node.lines.size(); ++i) {
                const double half = TextWidth(node.lines[i], picture.font) / 2;
                const double middle = node.lineMiddle(i, picture.font);
                for (const double y :
                     {middle - picture.font.size / 2, middle + picture.font.size / 2})
                    EXPECT_LE(FromBorder(node, {node.centre.x + half, y}), 0) << title;
            }
            EXPECT_EQ(node.lines.back().ends_with("…"), title == endless);
        }
    }
}

TEST(Picture, TextIsReadableOnEveryColour) {
    EXPECT_EQ(InkOn({255, 255, 255}).red, 0);
    EXPECT_EQ(InkOn({255, 255, 0}).red, 0);
    EXPECT_EQ(InkOn({0, 0, 0}).red, 255);
    EXPECT_EQ(InkOn({0, 0, 160}).red, 255);
    EXPECT_EQ(InkOn({128, 0, 0}).red, 255);
}

TEST(Svg, DrawsShapesColoursFontAndDoubleBorders) {
    ImportResult result = Star(1);
    Bnet_bn& net = *result.net;
    AddNodeToNodeset_ibn(*net.nodes[1], "dark");
    NodesetStyle style;
    style.setName("dark");
    style.red = style.green = 16;
    style.blue = 64;
    vect_kt<NodesetStyle> styles;
    styles.append(style);
    net.vnets[0]->setNodesetStyles(styles, nullptr);
    net.nodes[1]->relation.kind = RelnKindEN::deterministic;
    fontspec_kt font;
    font.face = "My \"Face'; x:url(a)";
    font.size = 15;
    font.styleFlags = fontspec_kt::Bold | fontspec_kt::Italic;
    FreeFont_fc(net.vnets[0]->font);
    net.vnets[0]->font = NewFont_fc(nullptr, -1, &font);
    const std::string svg = Svg(result);
    EXPECT_EQ(test::XmlFault(svg), "");
    const auto node = [&](int i) {
        const std::size_t from = svg.find("<g id=\"node-node_" + std::to_string(i) + "\">");
        return svg.substr(from, svg.find("</g>", from) - from);
    };
    const auto has = [](const std::string& text, const char* part) {
        return text.find(part) != std::string::npos;
    };
    EXPECT_TRUE(has(node(0), "<ellipse") && !has(node(0), "fill=\"none\""));
    EXPECT_TRUE(has(node(1), "<rect") && has(node(1), "fill=\"#101040\"") &&
                has(node(1), "fill=\"#ffffff\">node_1</text>") && has(node(1), "fill=\"none\""));
    EXPECT_TRUE(has(node(2), "<path"));
    EXPECT_TRUE(has(svg, ">dark</text>")) << "the legend";
    EXPECT_TRUE(
        has(node(1), "<title>node_1\ndecision, deterministic\nstates: #0, #1\ngroups: dark"));
    EXPECT_TRUE(has(svg,
                    "font-family=\"&#39;My Face xurla&#39;, Arial, Helvetica, sans-serif\" "
                    "font-size=\"15\" font-weight=\"bold\" font-style=\"italic\""));
}

TEST(Svg, SetsWithoutAColourAreToldApart) {
    const ImportResult result = Star(1);
    for (const int i : {1, 2, 3})
        AddNodeToNodeset_ibn(*result.net->nodes[i], ("set" + std::to_string(i % 2)).c_str());
    const Picture picture = MakePicture(*result.net);
    const auto fill = [&](int i) {
        return ColorText(picture.nodes[static_cast<std::size_t>(i)].fill);
    };
    EXPECT_NE(fill(1), fill(2));
    EXPECT_EQ(fill(1), fill(3));
}

TEST(Svg, NothingOfTheFileBecomesMarkup) {
    const std::string svg = Svg(test::HostileResult());
    EXPECT_EQ(test::XmlFault(svg), "");
    EXPECT_EQ(ToUtf8(svg), svg);
    EXPECT_EQ(svg.find("<script"), std::string::npos);
    EXPECT_NE(svg.find("&lt;script&gt;"), std::string::npos);
    EXPECT_NE(svg.find("café"), std::string::npos);
}

TEST(Images, AreDrawnWithTheSameBytesEveryTime) {
    if (ImagesUnavailable() != nullptr) GTEST_SKIP() << ImagesUnavailable();
    const ImportResult result = test::HostileResult();
    const struct {
        void (*write)(const ImportResult&, std::ostream&);
        const char* signature;
    } cases[] = {{WritePng, "\x89PNG\r\n\x1a\n"}, {WritePdf, "%PDF-1."}};
    for (const auto& [write, signature] : cases) {
        std::ostringstream once, again;
        write(result, once);
        write(result, again);
        EXPECT_TRUE(once.str().starts_with(signature));
        EXPECT_GT(once.str().size(), 5000U);
        EXPECT_EQ(once.str(), again.str());
    }
    const ImportResult empty = NewResult();
    std::ostringstream out;
    WritePng(empty, out);
    EXPECT_GT(out.str().size(), 100U);
}

TEST(Images, CharactersThatNoFontHasAreTold) {
    if (ImagesUnavailable() != nullptr) GTEST_SKIP() << ImagesUnavailable();
    ImportResult result = NewResult();
    AddNode(*result.net, "a", {});
    EXPECT_EQ(CharactersWithoutFont(MakePicture(*result.net)), "");
    result.net->nodes[0]->setTitle(std::string_view("a \xF4\x8F\xBF\xBD b"));  // U+10FFFD, private
    EXPECT_EQ(CharactersWithoutFont(MakePicture(*result.net)),
              "no installed font has 1 character of the picture: \xF4\x8F\xBF\xBD");
    // Such texts are not centred: a sign is drawn instead.
    const auto png = [&](std::string_view title) {
        result.net->nodes[0]->setTitle(title);
        std::ostringstream out;
        WritePng(result, out);
        return std::move(out).str();
    };
    EXPECT_EQ(png("a \xF4\x8F\xBF\xBD b"), png("a \uFFFD b"));
}

TEST(Svg, AnEmptyNetAndALargeOneAreDrawn) {
    ImportResult empty = NewResult();
    EXPECT_EQ(test::XmlFault(Svg(empty)), "");
    // Far too many at one place for a layout by pairs.
    ImportResult large = NewResult();
    for (int i = 0; i < 3000; ++i) {
        Bnode_bn& node = AddNode(*large.net, ("n" + std::to_string(i)).c_str(), {});
        if (i > 0) AddLink_ibn(*large.net->nodes[(i - 1) / 3], node);
    }
    const Picture picture = MakePicture(*large.net);
    ASSERT_EQ(picture.links.size(), 2999U);
    EXPECT_LT(picture.width * picture.height, 3000.0 * 60 * 60 * 40);
}

// ---- DOT: read by its program
// -----------------------------------------------------------------------

std::string Dot(const ImportResult& result) {
    std::ostringstream out;
    WriteDot(result, out);
    return out.str();
}

/// What the program `dot` makes of the text, as plain lines; what it says on standard error too.
std::string Through(const std::string& dot, const std::string& arguments) {
    const std::string path = Format("%slumo-%d.dot", ::testing::TempDir().c_str(), getpid());
    std::ofstream(path, std::ios::binary) << dot;
    std::FILE* pipe = ::popen(("dot " + arguments + " " + path + " 2>&1").c_str(), "r");
    std::string out;
    char buffer[4096];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe))
        out.append(buffer, got);
    EXPECT_EQ(::pclose(pipe), 0) << out;
    std::remove(path.c_str());
    return out;
}

TEST(Dot, IsReadByTheProgramWithTextsAndPlacesAsTheyWere) {
    if (std::system("command -v dot >/dev/null") != 0) GTEST_SKIP() << "graphviz is not installed";
    const ImportResult result = test::HostileResult();
    const std::string svg = Through(Dot(result), "-Tsvg");
    EXPECT_EQ(svg.find("<script"), std::string::npos);
    EXPECT_EQ(svg.find("Warning"), std::string::npos) << svg.substr(0, 300);
    EXPECT_NE(svg.find("&lt;!&#45;&#45;"), std::string::npos);
    EXPECT_NE(svg.find(">&amp;amp;&amp;lt;&amp;#60;</text>"), std::string::npos);
    EXPECT_NE(svg.find(">\\N \\&quot; \\l</text>"), std::string::npos);
    // A program that keeps places gets them in points: 150 apart.
    const std::string plain = Through(Dot(result), "-Kneato -Tplain");
    double x[2] = {};
    std::size_t at = 0;
    for (double& place : x) {
        at = plain.find("\nnode ", at) + 6;
        place = std::strtod(plain.c_str() + plain.find(' ', at), nullptr);
    }
    const Bnet_bn& net = *result.net;
    EXPECT_NE(net.nodes[0]->vns[0]->position(), net.nodes[1]->vns[0]->position());
    EXPECT_GT((x[1] - x[0]) * 72, 149) << plain;
}

}  // namespace
}  // namespace lumo
