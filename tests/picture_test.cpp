// Pictures: links go round nodes and cross little, nothing is far too wide.
#include <map>
#include <numeric>
#include <random>

#include "formats/detect.h"
#include "tests/picture_support.h"
#include "tests/places.h"
#include "tests/random_net.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

ImportResult Net(int nodes, const Links& links) {
    ImportResult result = NewResult();
    for (int i = 0; i < nodes; ++i) {
        const char* titles[] = {nullptr, "Short", "A title of more words"};
        Bnode_bn& node = AddNode(*result.net, ("n" + std::to_string(i)).c_str(), {},
                                 i % 7 == 6     ? DecisionNode
                                 : i % 11 == 10 ? UtilityNode
                                                : NatureNode);
        node.setTitle(DupStr_kt(titles[i % 3]));
    }
    for (const auto& [parent, child] : links)
        AddLink_ibn(*result.net->nodes[parent], *result.net->nodes[child]);
    return result;
}

TEST(AutomaticPicture, LinksGoRoundNodesAndNothingIsFarTooWide) {
    const struct {
        const char* what;
        Links links;
        int nodes;
        int crossings;  // at most: a little more than there are now
    } cases[] = {
        {"nothing", {}, 0, 0},
        {"one link past a node", {{0, 1}, {1, 2}, {0, 2}}, 3, 0},
        {"isolated nodes", {}, 90, 0},
        {"star", Star(149), 150, 0},
        {"sparse", Random(60, 70, 59, 1), 60, 12},
        {"parts of all sizes", Random(200, 120, 7, 2), 200, 4},
        {"nodes in other rows", Random(48, 84, 47, 11), 48, 64},
        {"dense", Random(40, 160, 30, 3), 40, 760},
        {"long links", Random(120, 200, 119, 4), 120, 400},
        {"wide", Random(200, 280, 199, 5), 200, 900},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const ImportResult result = Net(c.nodes, c.links);
        const Picture picture = MakePicture(*result.net, LayoutEN::automatic);
        ExpectSoundPicture(picture);
        EXPECT_EQ(picture.links.size(), c.links.size());
        EXPECT_LE(Crossings(picture), c.crossings);
        if (c.nodes > 30) {
            EXPECT_LE(picture.width, 4 * picture.height);
        }
        const Picture again = MakePicture(*result.net, LayoutEN::automatic);
        for (std::size_t i = 0; i < picture.links.size(); ++i)
            ASSERT_TRUE(std::ranges::equal(picture.links[i].course, again.links[i].course));
    }
}

/// The leaves among a node's children stand in two rows, beside its other children.
TEST(AutomaticPicture, WideFansOfLeavesStandInTwoRows) {
    Links links = Star(16);
    for (const auto& more : Links{{17, 0}, {1, 18}, {2, 18}, {18, 19}, {20, 19}, {21, 1}})
        links.push_back(more);
    const ImportResult result = Net(22, links);
    for (const bool roomForBars : {false, true}) {
        SCOPED_TRACE(roomForBars);
        PictureWish wish;
        wish.layout = LayoutEN::automatic;
        wish.roomForBars = roomForBars;
        const Picture picture = MakePicture(*result.net, wish);
        ExpectSoundPicture(picture);
        EXPECT_EQ(Crossings(picture), 0);
        std::map<double, int> rows;
        for (std::size_t leaf = 3; leaf <= 16; ++leaf) ++rows[picture.nodes[leaf].centre.y];
        ASSERT_EQ(rows.size(), 2U);
        EXPECT_EQ(rows.begin()->second, 7);
        EXPECT_GT(rows.begin()->first, picture.nodes[0].centre.y);
    }
}

TEST(FilePicture, OnlyLinksThatWouldCutANodeBend) {
    for (const unsigned seed : {1U, 2U, 3U, 4U}) {
        SCOPED_TRACE(seed);
        const ImportResult result = Net(80, Random(80, 130, 40, seed));
        std::mt19937 random(seed);
        std::vector<int> places(100);
        std::iota(places.begin(), places.end(), 0);
        std::ranges::shuffle(places, random);
        for (int i = 0; i < 80; ++i) {
            const int place = places[static_cast<std::size_t>(i)];
            const coord_kt at{place % 10 * 150 + static_cast<int>(random() % 30),
                              place / 10 * 90 + static_cast<int>(random() % 30)};
            SetNodeVisPosition_ibn(*result.net->nodes[i], at, nullptr);
        }
        const Picture picture = MakePicture(*result.net, LayoutEN::file);
        ASSERT_FALSE(picture.laidOut);
        ExpectSoundPicture(picture);
        Picture straight = picture;
        for (PictureLink& link : straight.links)
            link.course = Clipped({picture.parentOf(link).centre, picture.childOf(link).centre},
                                  picture.parentOf(link), picture.childOf(link));
        EXPECT_GT(CutLinks(straight), 20);
        EXPECT_LE(Crossings(picture), Crossings(straight));
        for (std::size_t i = 0; i < picture.links.size(); ++i) {
            Picture one = straight;
            one.links = {straight.links[i]};
            if (CutLinks(one, 0.2) == 0) {
                EXPECT_EQ(picture.links[i].course, straight.links[i].course);
            }
        }
    }
}

/// Two nodes of many stand too near each other, wherever in the drawing: in one cell of the grid
/// that finds them, or over its borders. They are moved apart, and the others stay.
TEST(FilePicture, NodesThatTouchAreMovedApart) {
    const auto make = [](int at, int across, int down) {
        ImportResult result = NewResult();
        for (int i = 0; i < 60; ++i)
            AddNode(*result.net, ("n" + std::to_string(10 + i)).c_str(),
                    {i % 10 * 400, i / 10 * 300 + 600});
        AddNode(*result.net, "n70", {at, at});
        AddNode(*result.net, "n71", {at + across, at + down});
        return MakePicture(*result.net, LayoutEN::file);
    };
    const Picture alone = make(0, 250, 0);
    const PictureNode& one = alone.nodes[60];
    for (const auto& [right, below] : {std::pair(1, 0), {0, 1}, {1, -1}}) {
        // From all but on each other to all but apart.
        for (const double part : {0.2, 0.6, 0.97}) {
            for (int at = 0; at < 200; at += 9) {
                const Picture picture = make(at, static_cast<int>(right * part * 2 * one.halfWidth),
                                             static_cast<int>(below * part * 2 * one.halfHeight));
                SCOPED_TRACE(std::to_string(at) + ", " + std::to_string(part));
                const Point a = picture.nodes[60].centre, b = picture.nodes[61].centre;
                EXPECT_TRUE(std::abs(a.x - b.x) >= 2 * one.halfWidth ||
                            std::abs(a.y - b.y) >= 2 * one.halfHeight);
                const Point first = picture.nodes[0].centre;
                const double scale = (picture.nodes[1].centre.x - first.x) / 400;
                for (std::size_t i = 1; i < 60; ++i) {
                    const Point node = picture.nodes[i].centre;
                    EXPECT_NEAR(node.x - first.x, scale * static_cast<double>(i % 10 * 400), 0.01);
                    EXPECT_NEAR(node.y - first.y, scale * static_cast<double>(i / 10 * 300), 0.01);
                }
            }
        }
    }
}

/// A drawing of the file that is hard to read gives way to the automatic one, but for who asks for
/// it.
TEST(FilePicture, GivesWayWhereItIsHardToRead) {
    const auto net = [](const Links& links, int nodes, coord_kt (*placeOf)(int)) {
        ImportResult result = Net(nodes, links);
        for (int i = 0; i < nodes; ++i)
            SetNodeVisPosition_ibn(*result.net->nodes[i], placeOf(i), nullptr);
        return result;
    };
    Links chain;
    for (int i = 1; i < 48; ++i) chain.emplace_back(i - 1, i);
    const struct {
        ImportResult result;
        const char* why;
    } cases[] = {
        {net(Star(7), 8,
             [](int i) {
                 return coord_kt{i * 150, 30};
             }),
         "letters would be much smaller"},
        // Drawn closer its letters would be large enough, and most of a window empty.
        {net(Star(7), 8,
             [](int i) {
                 return coord_kt{i * 150, i % 2 * 120};
             }),
         "letters would be much smaller"},
        {net(chain, 48,
             [](int i) {
                 return coord_kt{i * 29 % 48 % 8 * 90, i * 29 % 48 / 8 * 60};
             }),
         "links would cross much more"},
        {net(Star(7), 8,
             [](int i) {
                 return coord_kt{i * 75, i % 2 * 200};
             }),
         ""},
        {net(chain, 48,
             [](int i) {
                 return coord_kt{i % 8 * 90, i / 8 * 60};
             }),
         ""},
    };
    for (const auto& [result, why] : cases) {
        SCOPED_TRACE(why);
        PictureWish wish;
        const Pictures best = MakePictures(*result.net, wish, true);
        EXPECT_EQ(best.shown.insteadOf, why);
        EXPECT_EQ(best.shown.laidOut, *why != '\0');
        ASSERT_TRUE(best.other);
        EXPECT_NE(best.other->laidOut, best.shown.laidOut);
        EXPECT_FALSE(MakePictures(*result.net, wish, false).other);
        wish.layout = LayoutEN::file;
        EXPECT_FALSE(MakePicture(*result.net, wish).laidOut);
        wish.layout = LayoutEN::automatic;
        EXPECT_EQ(MakePicture(*result.net, wish).insteadOf, "");
    }
}

/// With room for distributions in the nodes no link runs through one, wherever the nodes stand.
TEST(Picture, LinksGoRoundBoxesOfDistributions) {
    for (const unsigned seed : {1U, 2U}) {
        const ImportResult result = Net(60, Random(60, 85, 30, seed));
        std::mt19937 random(seed);
        std::vector<int> places(80);
        std::iota(places.begin(), places.end(), 0);
        std::ranges::shuffle(places, random);
        for (int i = 0; i < 60; ++i) {
            const int place = places[static_cast<std::size_t>(i)];
            SetNodeVisPosition_ibn(*result.net->nodes[i], {place % 10 * 110, place / 10 * 70},
                                   nullptr);
        }
        for (const LayoutEN layout : {LayoutEN::file, LayoutEN::automatic}) {
            PictureWish wish;
            wish.layout = layout;
            wish.roomForBars = true;
            const Picture picture = MakePicture(*result.net, wish);
            EXPECT_EQ(picture.laidOut, layout == LayoutEN::automatic);
            EXPECT_EQ(picture.nodes[0].halfWidth, 62);
            EXPECT_EQ(picture.nodes[0].halfHeight, 23);  // of two states
            ExpectSoundPicture(picture);
        }
    }
}

TEST(Picture, OfEverySampleIsSound) {
    for (const auto& path : FilesIn(Samples())) {
        SCOPED_TRACE(path);
        const Imported got =
            ImportText(ReadFile(path.string()), DetectFormat("", path.string())->code);
        for (const LayoutEN layout : {LayoutEN::automatic, LayoutEN::best})
            if (got.net != nullptr) ExpectSoundPicture(MakePicture(*got.net, layout));
    }
}

}  // namespace
}  // namespace lumo::test
