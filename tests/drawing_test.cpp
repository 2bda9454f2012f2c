// The drawing side: moves, extent, fonts, node-set styles.
#include <climits>

#include "tests/support.h"

namespace lumo::test {
namespace {

struct Drawing {
    OwnedNet net{NewVBNet(DupStr_kt("test"), false)};
    Vnet_kt& vnet = *net->vnets[0];

    explicit Drawing(std::vector<coord_kt> places) {
        int i = 0;
        for (const coord_kt at : places) {
            NewNode_ibn(("n" + std::to_string(i++)).c_str(), 2, *net, at);
        }
    }
    std::vector<int> extent() const {
        rect_kt r;
        vnet.findExtent(r);
        return {r.left, r.top, r.right, r.bottom};
    }
    std::vector<int> sizeFor(coord_kt margin) {
        vnet.adjustDrawingSizeToFit(margin);
        return {vnet.extentWidth, vnet.extentHeight};
    }
};

TEST(Drawing, ExtentIsThatOfThePositions) {
    EXPECT_EQ(Drawing({}).extent(), (std::vector<int>{0, 0, 0, 0}));
    EXPECT_EQ(Drawing({{7, -3}}).extent(), (std::vector<int>{7, -3, 7, -3}));
    EXPECT_EQ(Drawing({{100, 20}, {-5, 40}, {60, -8}}).extent(),
              (std::vector<int>{-5, -8, 100, 40}));
    EXPECT_EQ(Drawing({{INT_MIN, 0}, {INT_MAX, 1}}).extent(),
              (std::vector<int>{INT_MIN, 0, INT_MAX, 1}));
}

TEST(Drawing, SizeIsThatOfThePositionsPlusTheMargin) {
    EXPECT_EQ(Drawing({{100, 20}, {60, 90}}).sizeFor({40, 20}), (std::vector<int>{140, 110}));
    EXPECT_EQ(Drawing({}).sizeFor({40, 20}), (std::vector<int>{40, 20}));
    EXPECT_EQ(Drawing({{INT_MAX, INT_MIN}}).sizeFor({40, 20}), (std::vector<int>{INT_MAX, 0}));
}

TEST(Drawing, MovesAreClampedToTheIntRange) {
    struct Case {
        coord_kt from, offset, to;
    };
    const Case cases[] = {{{10, 20}, {5, -30}, {15, -10}},
                          {{INT_MAX, INT_MIN}, {1, -1}, {INT_MAX, INT_MIN}},
                          {{INT_MIN, INT_MAX}, {INT_MIN, INT_MAX}, {INT_MIN, INT_MAX}},
                          {{INT_MIN, 0}, {INT_MAX, 0}, {-1, 0}}};
    for (const Case& c : cases) {
        Vnode_kt moved{c.from, nullptr};
        moved.moveBy(c.offset, 1);
        EXPECT_EQ(moved.position, c.to) << c.from.x << ' ' << c.offset.x;
        Vnode_kt shifted{c.from, nullptr};
        shifted.shiftBy(c.offset);
        EXPECT_EQ(shifted.position, c.to) << c.from.x << ' ' << c.offset.x;
    }
}

TEST(Drawing, SetPositionMovesTheVisualNode) {
    Drawing drawing({{0, 0}, {1, 1}});
    SetNodeVisPosition_ibn(*drawing.net->nodes[1], {30, 40}, nullptr);
    EXPECT_EQ(drawing.vnet.vnodes[1]->position, (coord_kt{30, 40}));
    SetNodeVisPosition_ibn(*drawing.net->nodes[0], {50, 60}, &drawing.vnet);
    EXPECT_EQ(drawing.vnet.vnodes[0]->position, (coord_kt{50, 60}));
    SetNodeVisPosition_ibn(*drawing.net->nodes[0], {70, 80}, Drawing({}).net->vnets[0]);
    EXPECT_EQ(drawing.vnet.vnodes[0]->position, (coord_kt{50, 60})) << "a drawing of another net";
}

TEST(Drawing, FontsAreMadeFromOtherFonts) {
    fontspec_kt base;
    base.face = "Courier";
    base.size = 9;
    base.styleFlags = fontspec_kt::Bold | fontspec_kt::Italic;
    struct Case {
        const char* face;
        int size;
        const fontspec_kt* base;
        const char* expected;
    };
    const Case cases[] = {
        {nullptr, -1, nullptr, "Arial 12 0"},      {"Times", -1, nullptr, "Times 12 0"},
        {nullptr, -1, &base, "Courier 9 3"},       {nullptr, 14, &base, "Courier 14 3"},
        {"Helvetica", -1, &base, "Helvetica 9 3"}, {"", 0, &base, " 0 3"}};
    for (const Case& c : cases) {
        const Fontobjv* font = NewFont_fc(c.face, c.size, c.base);
        const fontspec_kt& got = font->spec();
        EXPECT_EQ(Format("%s %d %d", got.face.c_str(), got.size, got.styleFlags), c.expected);
        FreeFont_fc(font);
    }
    FreeFont_fc(nullptr);
}

TEST(Drawing, StylesAreCopiedAndTheirNamesCut) {
    Drawing drawing({});
    const std::string letters = "abcdefghijklmnopqrstuvwxyz0123456789";
    vect_kt<NodesetStyle> styles;
    styles.append({});
    styles[0].setName(letters.c_str());
    styles[0].red = 10;
    drawing.vnet.setNodesetStyles(styles, nullptr);
    styles[0].setName("ab");
    styles[0].red = 20;

    ASSERT_EQ(drawing.vnet.nodesetStyles.N, 1);
    EXPECT_EQ(drawing.vnet.nodesetStyles[0].name, letters.substr(0, 31));
    EXPECT_EQ(drawing.vnet.nodesetStyles[0].red, 10);
    EXPECT_EQ(std::string(styles[0].name, 32), "ab" + std::string(30, '\0'));
    styles[0].setName(nullptr);
    EXPECT_STREQ(styles[0].name, "");
}

}  // namespace
}  // namespace lumo::test
