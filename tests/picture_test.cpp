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
