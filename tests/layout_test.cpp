// The automatic layout: what every drawing must satisfy, and how good known drawings must be.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <random>

#include "tests/random_net.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

struct Picture {
    OwnedNet net{NewVBNet(DupStr_kt("test"))};
    VnodeList_kt& vnodes = net->vnets[0]->vnodes;
    rect_kt area;

    Picture(int nodes, const Links& links) {
        for (int i = 0; i < nodes; ++i) NewNode_ibn(("n" + std::to_string(i)).c_str(), 2, *net, {});
        for (const auto& [parent, child] : links) {
            EXPECT_FALSE(IsError(AddLink_ibn(*net->nodes[parent], *net->nodes[child])));
        }
        const double root = std::sqrt(nodes);
        area = {30, 10, 30 + RoundToInt_kt(200 * root), 10 + RoundToInt_kt(100 * root)};
    }
    Picture& lay(double spacing = 2.0) {
        Layout(vnodes, area, false, false, true, spacing);
        return *this;
    }
    coord_kt at(int i) const { return vnodes[i]->position(); }
    std::vector<coord_kt> places() const {
        std::vector<coord_kt> all;
        for (const Vnode_kt* vnode : vnodes) all.push_back(vnode->position());
        return all;
    }
    rect_kt box(int i) const {
        const Bnode_bn& node = *vnodes[i]->node;
        const coord_kt size = NodeSize(
            static_cast<int>(std::strlen(node.title != nullptr ? node.title : node.name())));
        return {at(i).x - size.x / 2, at(i).y - size.y / 2, at(i).x + size.x / 2,
                at(i).y + size.y / 2};
    }
    rect_kt extent() const {
        rect_kt all = box(0);
        for (int i = 1; i < vnodes.N; ++i) {
            const rect_kt b = box(i);
            all = {std::min(all.left, b.left), std::min(all.top, b.top),
                   std::max(all.right, b.right), std::max(all.bottom, b.bottom)};
        }
        return all;
    }
};

/// Pairs of boxes that overlap: a sweep downwards over the boxes at one height, kept by their left
/// edges. (Boxes at one height that overlap are neighbours there, or some others are.)
int Overlaps(const Picture& picture) {
    std::vector<int> byTop(static_cast<std::size_t>(picture.vnodes.N));
    for (int i = 0; i < picture.vnodes.N; ++i) byTop[static_cast<std::size_t>(i)] = i;
    std::ranges::sort(byTop, {}, [&](int i) { return picture.box(i).top; });
    int overlaps = 0;
    std::multimap<int, int> open;
    auto oldest = byTop.begin();
    for (const int i : byTop) {
        const rect_kt box = picture.box(i);
        for (; picture.box(*oldest).bottom <= box.top; ++oldest) {
            auto [first, last] = open.equal_range(picture.box(*oldest).left);
            while (first != last && first->second != *oldest) ++first;
            if (first != last) open.erase(first);
        }
        const auto here = open.emplace(box.left, i);
        const auto next = std::next(here);
        if (next != open.end() && next->first < box.right) ++overlaps;
        if (here != open.begin() && picture.box(std::prev(here)->second).right > box.left)
            ++overlaps;
    }
    return overlaps;
}

void ExpectGood(const Picture& picture) {
    for (const Vnode_kt* vnode : picture.vnodes) {
        for (const Bnode_bn* parent : vnode->node->parents) {
            ASSERT_LT(parent->vns[0]->position().y, vnode->position().y)
                << parent->name() << " -> " << vnode->node->name();
        }
    }
    EXPECT_EQ(Overlaps(picture), 0);
    if (picture.vnodes.N == 0) return;
    const rect_kt all = picture.extent();
    EXPECT_GE(all.left, picture.area.left - 1);
    EXPECT_GE(all.top, picture.area.top - 1);
}

/// Pairs of links whose straight lines between the centres cross.
int CountCrossings(const VnodeList_kt& vnodes) {
    std::vector<std::pair<coord_kt, coord_kt>> lines;
    for (const Vnode_kt* vnode : vnodes)
        for (const Bnode_bn* parent : vnode->node->parents)
            lines.emplace_back(parent->vns[0]->position(), vnode->position());
    const auto side = [](const auto& line, coord_kt at) {
        const long long area =
            static_cast<long long>(line.second.x - line.first.x) * (at.y - line.first.y) -
            static_cast<long long>(line.second.y - line.first.y) * (at.x - line.first.x);
        return (area > 0) - (area < 0);
    };
    const auto parts = [&](const auto& one, const auto& other) {
        return side(one, other.first) * side(one, other.second) < 0;
    };
    int count = 0;
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            count += parts(lines[i], lines[j]) && parts(lines[j], lines[i]);
    return count;
}

Links Chain(int nodes) {
    Links links;
    for (int i = 1; i < nodes; ++i) links.emplace_back(i - 1, i);
    return links;
}

Links Tree(int nodes, int children) {
    Links links;
    for (int i = 1; i < nodes; ++i) links.emplace_back((i - 1) / children, i);
    return links;
}

Links Reversed(Links links) {
    for (auto& link : links) std::swap(link.first, link.second);
    return links;
}

Links Complete(int nodes) {
    Links links;
    for (int i = 0; i < nodes; ++i) {
        for (int j = i + 1; j < nodes; ++j) links.emplace_back(i, j);
    }
    return links;
}

TEST(Layout, EveryDrawingIsGood) {
    const struct {
        const char* what;
        int nodes;
        Links links;
    } cases[] = {
        {"nothing", 0, {}},
        {"one node", 1, {}},
        {"two nodes", 2, {}},
        {"one link", 2, {{1, 0}}},
        {"isolated nodes", 150, {}},
        {"star", 40, Star(39)},
        {"star of many", 2000, Star(1999)},
        {"star of parents", 2000, Reversed(Star(1999))},
        {"chain", 30, Chain(30)},
        {"tree", 400, Tree(400, 3)},
        {"complete", 15, Complete(15)},
        {"complete, large", 120, Complete(120)},
        {"sparse", 60, Random(60, 70, 59, 1)},
        {"parts of all sizes", 300, Random(300, 180, 7, 2)},
        {"dense", 100, Random(100, 900, 30, 3)},
        {"medium", 900, Random(900, 1500, 899, 4)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ExpectGood(Picture(c.nodes, c.links).lay());
    }
}

TEST(Layout, IsTheSameEveryTime) {
    const Links links = Random(60, 90, 59, 7);
    Picture first(60, links);
    const std::vector<coord_kt> once = first.lay().places();
    EXPECT_EQ(once, Picture(60, links).lay().places());
    EXPECT_EQ(once, first.lay().places()) << "old positions have no say";
}

TEST(Layout, SmallDrawingsLieInTheAreaAndFillIt) {
    for (const unsigned seed : {1U, 2U, 3U, 4U}) {
        Picture picture(40, Random(40, 45, 10, seed));
        picture.area = {1000, 500, 2300, 1200};
        ExpectGood(picture.lay());
        const rect_kt all = picture.extent();
        EXPECT_LE(all.right, 2301);
        EXPECT_LE(all.bottom, 1201);
        EXPECT_GT(all.right - all.left, 600) << "the width is used";
        EXPECT_GT(all.bottom - all.top, 350) << "the height is used";
    }
    EXPECT_EQ(Picture(1, {}).lay().at(0), (coord_kt{130, 60})) << "in the middle";
}

TEST(Layout, GrowsRightAndDownWhenTheAreaIsTooSmall) {
    for (const rect_kt& area : {rect_kt{5, 7, 5, 7}, rect_kt{5, 7, 0, 0}, rect_kt{5, 7, 60, 60}}) {
        Picture picture(300, Random(300, 320, 40, 5));
        picture.area = area;
        ExpectGood(picture.lay());
    }
}

TEST(Layout, PartsArePackedInsteadOfQueued) {
    // 500 pairs, 100 isolated nodes and one larger part.
    Links links = Tree(100, 2);
    for (int i = 0; i < 500; ++i) links.emplace_back(200 + 2 * i, 201 + 2 * i);
    Picture picture(1200, links);
    ExpectGood(picture.lay());
    const rect_kt all = picture.extent();
    EXPECT_LE(all.right, picture.area.right + 1);
    EXPECT_LE(all.bottom, picture.area.bottom + 1);
}

TEST(Layout, PlanarNetsHaveNoCrossings) {
    Links ladder = Chain(10);
    for (int i = 0; i < 10; ++i) ladder.emplace_back(i, 10 + i);
    for (int i = 1; i < 10; ++i) ladder.emplace_back(9 + i, 10 + i);
    const struct {
        const char* what;
        int nodes;
        Links links;
    } cases[] = {
        {"star", 50, Star(49)},
        {"binary tree", 255, Tree(255, 2)},
        {"tree of parents", 121, Reversed(Tree(121, 3))},
        {"diamond", 4, {{0, 1}, {0, 2}, {1, 3}, {2, 3}}},
        {"triangle", 3, {{0, 1}, {1, 2}, {0, 2}}},
        {"ladder", 20, ladder},
        {"asia", 8, {{0, 1}, {2, 3}, {2, 4}, {1, 5}, {3, 5}, {5, 6}, {5, 7}, {4, 7}}},
        {"two triangles", 6, {{0, 1}, {1, 2}, {0, 2}, {3, 4}, {4, 5}, {3, 5}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Picture picture(c.nodes, c.links);
        ExpectGood(picture.lay());
        EXPECT_EQ(CountCrossings(picture.vnodes), 0);
    }
}

TEST(Layout, CrossingsStayFew) {
    // Two rows of a complete net cannot do better than this; a random order of the others would
    // have several times as many.
    EXPECT_EQ(
        CountCrossings(
            Picture(6, {{0, 3}, {0, 4}, {0, 5}, {1, 3}, {1, 4}, {1, 5}, {2, 3}, {2, 4}, {2, 5}})
                .lay()
                .vnodes),
        9);
    Links
        hidden;  // a strip of nodes, each linked to its three neighbours in the next row, shuffled
    std::vector<int> shuffled(120);
    for (int i = 0; i < 120; ++i) shuffled[static_cast<std::size_t>(i)] = i;
    std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(3));
    for (int i = 0; i + 12 < 120; ++i) {
        for (const int step : {12, 13}) {
            if (step == 13 && i % 12 == 11) continue;
            hidden.emplace_back(shuffled[static_cast<std::size_t>(i)],
                                shuffled[static_cast<std::size_t>(i + step)]);
        }
    }
    EXPECT_LE(CountCrossings(Picture(120, hidden).lay().vnodes), 10);
    EXPECT_LE(CountCrossings(Picture(40, Random(40, 60, 39, 11)).lay().vnodes), 60);
    Links mixed = Tree(40, 2);  // every second link turned: a tree without a root
    for (std::size_t i = 0; i < mixed.size(); i += 2) std::swap(mixed[i].first, mixed[i].second);
    EXPECT_LE(CountCrossings(Picture(40, mixed).lay().vnodes), 2);
}

TEST(Layout, BoxesAreAsWideAsTheirLabels) {
    Picture picture(60, Star(59));
    for (int i = 0; i < 60; ++i) {
        picture.net->nodes[i]->setTitle(DupStr_kt(std::string(static_cast<std::size_t>(i), 'w')));
    }
    ExpectGood(picture.lay());
    EXPECT_LT(NodeSize(10).x, NodeSize(20).x);
    EXPECT_EQ(NodeSize(1'000'000), NodeSize(100)) << "a long label is cut";
    EXPECT_GT(NodeSize(0).x, 0);
}

TEST(Layout, SpacingScalesTheGaps) {
    const auto widthAt = [](double spacing) {
        Picture picture(40, Star(39));
        picture.area = {0, 0, 1, 1};
        const rect_kt all = picture.lay(spacing).extent();
        return all.right - all.left;
    };
    EXPECT_GT(widthAt(4), widthAt(2) + 500);
    for (const double odd : {0.0, -1.0, 1e300, std::nan("")}) {
        Picture picture(10, Star(9));
        ExpectGood(picture.lay(odd));
    }
}

TEST(Layout, HugeNetsAreLaidOut) {
    constexpr int nodes = 100'000;
    const struct {
        const char* what;
        Links links;
        double widest;  // of the area's width
    } cases[] = {
        {"star", Star(nodes - 1), 2.1},
        {"chain", Chain(nodes), 1},
        {"tree", Tree(nodes, 4), 2.1},
        {"random", Random(nodes, 150'000, 2000, 1), 10},
        {"isolated and pairs", Random(nodes, 30'000, 3, 2), 1.1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Picture picture(nodes, c.links);
        ExpectGood(picture.lay());
        const rect_kt all = picture.extent();
        EXPECT_LE(all.right - all.left, c.widest * (picture.area.right - picture.area.left));
    }
}

}  // namespace
}  // namespace lumo::test
