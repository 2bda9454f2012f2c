// Pictures: links go round nodes and cross little, nothing is far too wide.
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
        const Picture picture = MakePicture(*result.net);
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
    const auto make = [](int at, int apart, bool upright) {
        ImportResult result = NewResult();
        for (int i = 0; i < 60; ++i)
            AddNode(*result.net, ("n" + std::to_string(10 + i)).c_str(),
                    {i % 10 * 400, i / 10 * 300 + 600});
        AddNode(*result.net, "n70", {at, at});
        AddNode(*result.net, "n71", {at + (upright ? 0 : apart), at + (upright ? apart : 0)});
        return MakePicture(*result.net, LayoutEN::file);
    };
    const Picture alone = make(0, 250, false);
    const PictureNode& one = alone.nodes[60];
    for (const bool upright : {false, true}) {
        // From all but on each other to all but apart.
        const double side = 2 * (upright ? one.halfHeight : one.halfWidth);
        for (const double part : {0.2, 0.6, 0.97}) {
            for (int at = 0; at < 200; at += 9) {
                const Picture picture = make(at, static_cast<int>(part * side), upright);
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
