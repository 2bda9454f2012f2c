// Links: what is refused, what happens to tables, and the order under many patterns of links.
#include <functional>
#include <map>
#include <numeric>

#include "library/model/messages.h"
#include "library/utilities/bounds.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

struct Graph {
    Collector seen;
    HandlerScope handler{seen};
    ReportScope reports;
    OwnedNet net{NewVBNet(DupStr_kt("test"))};

    explicit Graph(int nodes) {
        for (int i = 0; i < nodes; ++i) NewNode_ibn(("n" + std::to_string(i)).c_str(), 2, *net, {});
    }
    Bnode_bn& operator[](int i) const { return *net->nodes[i]; }
    bool link(int parent, int child) {
        return !IsError(AddLink_ibn((*this)[parent], (*this)[child]));
    }
    rept_kt* setParents(int child, const std::vector<int>& parents) {
        BndList_bn list;
        for (int p : parents) list.append(&(*this)[p]);
        return (*this)[child].changePreds(list);
    }
    std::string parents(int child) const {
        std::string out;
        for (const Bnode_bn* p : (*this)[child].parents) out += std::string(p->name()) + ' ';
        return out;
    }
    void giveTable(int child) {
        const int size = NumProduct((*this)[child].family);
        XArray<float> table = NewXArray<float>(size);
        std::fill_n(table.get(), size, 0.5F);
        (*this)[child].setProbsTable(table.release());
    }
    bool hasTable(int child) const { return (*this)[child].relation.probs != nullptr; }
};

TEST(Links, RefusedOnesNameBothNodesAndChangeNothing) {
    Graph g(4);
    g.link(0, 1);
    g.link(1, 2);
    g.giveTable(0);
    const rept_kt* cycle = AddLink_ibn(g[2], g[0]);
    EXPECT_EQ(cycle->number, msg::model.cycle.number);
    EXPECT_STREQ(cycle->message, "a link from node 'n2' to node 'n0' would close a cycle");
    EXPECT_EQ(AddLink_ibn(g[0], g[0])->number, msg::model.selfLink.number);
    EXPECT_EQ(AddLink_ibn(g[0], g[1]), Okay_rept_kt);
    EXPECT_EQ(g.parents(0) + "/" + g.parents(1), "/n0 ");
    EXPECT_TRUE(g.hasTable(0));
    EXPECT_EQ(g.seen.text(), "-5084 0:0 node 'n0' is named again as a parent of node 'n1'\n");
}

TEST(Links, TablesLiveAsLongAsTheParents) {
    Graph g(4);
    g.link(0, 2);
    g.giveTable(2);
    g.link(1, 2);
    EXPECT_FALSE(g.hasTable(2)) << "a new parent";
    g.giveTable(2);
    EXPECT_FALSE(IsError(g.setParents(2, {0, 1})));
    EXPECT_TRUE(g.hasTable(2)) << "the same parents";
    EXPECT_FALSE(IsError(g.setParents(2, {0, 1, 0})));
    EXPECT_TRUE(g.hasTable(2)) << "the same but for one named again";
    EXPECT_EQ(g.seen.count(msg::model.parentAgain.number), 1);
    g.setParents(2, {1, 0});
    EXPECT_FALSE(g.hasTable(2)) << "another order";
    EXPECT_EQ(g.parents(2), "n1 n0 ");
}

TEST(Links, ReplacedParentsClearTheWayForOthers) {
    Graph g(5);
    g.link(0, 1);
    g.link(1, 2);
    g.link(2, 3);
    EXPECT_FALSE(g.link(3, 0));
    const rept_kt* report = g.setParents(1, {4, 1, 3, 2, 0});
    EXPECT_EQ(report->number, msg::model.selfLink.number);
    EXPECT_STREQ(
        report->message,
        "node 'n1' cannot be a parent of node 'n1', itself (2 further parents are refused)");
    EXPECT_EQ(g.parents(1), "n4 n0 ");
    EXPECT_EQ(g.setParents(1, {}), Okay_rept_kt);
    EXPECT_TRUE(g.link(3, 0));  // the link from 0 to 1 is gone
    EXPECT_FALSE(g.link(0, 1));
    ExpectConsistent(g.net.get());
}

/// Whether `to` is reached from `from`, by the definition.
bool Reaches(const std::vector<std::vector<char>>& links, int from, int to) {
    std::vector<char> met(links.size());
    std::vector<int> open = {from};
    while (!open.empty()) {
        const int at = open.back();
        open.pop_back();
        if (at == to) return true;
        if (std::exchange(met[static_cast<std::size_t>(at)], 1)) continue;
        for (int i = 0; i < static_cast<int>(links.size()); ++i) {
            if (links[static_cast<std::size_t>(at)][static_cast<std::size_t>(i)]) open.push_back(i);
        }
    }
    return false;
}

TEST(Links, ExactlyCyclesAreRefused) {
    std::mt19937 random(2024);
    for (int round = 0; round < 60; ++round) {
        const int n = 3 + round % 30;
        const auto pick = [&] { return static_cast<int>(random() % static_cast<unsigned>(n)); };
        Graph g(n);
        std::vector<std::vector<char>> links(static_cast<std::size_t>(n),
                                             std::vector<char>(static_cast<std::size_t>(n)));
        for (int step = 0; step < 6 * n; ++step) {
            const int parent = pick(), child = pick();
            if (random() % 16 == 0) {  // now and then a child loses its parents
                g.setParents(child, {});
                for (auto& row : links) row[static_cast<std::size_t>(child)] = 0;
            }
            const bool allowed = !Reaches(links, child, parent);
            ASSERT_EQ(g.link(parent, child), allowed) << round << ' ' << parent << ' ' << child;
            if (allowed)
                links[static_cast<std::size_t>(parent)][static_cast<std::size_t>(child)] = 1;
        }
        ExpectConsistent(g.net.get());
    }
}

constexpr int Many = 100'000;

/// Calls link(parent, child) for every link of the pattern.
using Pattern = std::function<void(const std::function<void(int, int)>&)>;

Pattern RandomPattern(std::size_t links, bool byChild) {
    return [links, byChild](const auto& link) {
        std::mt19937 random(7);
        std::vector<int> place(Many);
        std::iota(place.begin(), place.end(), 0);
        std::shuffle(place.begin(), place.end(), random);
        for (std::size_t i = 0; i < links; ++i) {
            const auto child = byChild ? i / 10 * 7919 % (Many - 1) + 1 : random() % (Many - 1) + 1;
            link(place[random() % child], place[child]);
        }
    };
}

TEST(Links, ManyLinksInManyPatterns) {
    const Pattern patterns[] = {
        [](const auto& link) {  // every node's parents are earlier nodes
            for (int i = 0; i < Many; ++i)
                for (int d = 1; d <= 3 && i + d < Many; ++d) link(i, i + d);
        },
        [](const auto& link) {  // every node's parents are later nodes
            for (int d = 1; d <= 3; ++d)
                for (int i = 0; i + d < Many; ++i) link(i + d, i);
        },
        RandomPattern(1'000'000, false),
        RandomPattern(300'000, true),
        [](const auto& link) {  // one child, then one parent, of all; both in front
            for (int i = 1; i < Many; ++i) link(i, 0);
        },
        [](const auto& link) {
            for (int i = 0; i < Many - 1; ++i) link(Many - 1, i);
        },
        [](const auto& link) {  // two chains, the second then put in front of the first
            for (int i = 0; i + 1 < Many / 2; ++i) {
                link(i, i + 1);
                link(Many / 2 + i, Many / 2 + i + 1);
            }
            for (int i = Many / 2; i-- > 0;) link(Many / 2 + i, i);
        },
    };
    for (const Pattern& pattern : patterns) {
        Graph g(Many);
        int refused = 0;
        pattern([&](int parent, int child) { refused += !g.link(parent, child); });
        EXPECT_EQ(refused, 0) << &pattern - patterns;
    }
}

TEST(Links, CyclesOfManyChildrenInTurnCostNoSearchEach) {
    // From the first nodes a chain leads through all others, and its end is to be their parent.
    for (const int children : {2, 50}) {
        const MemoryBound reading(1LL << 30);
        Graph g(Many);
        for (int i = 0; i < children; ++i) g.link(i, children);
        for (int i = children; i + 1 < Many; ++i) g.link(i, i + 1);
        const auto closesOne = [&](int round) {
            return std::string(AddLink_ibn(g[Many - 1], g[round % children])->message);
        };
        EXPECT_NE(closesOne(0).find("would close a cycle"), std::string::npos);
        for (int round = 0; round < 20'000; ++round) closesOne(round);
        EXPECT_NE(closesOne(0).find("it is not known whether it would close a cycle"),
                  std::string::npos);
        // What is near is still found.
        EXPECT_FALSE(g.link(children + 1, 0));
        EXPECT_TRUE(g.link(0, Many - 1));
    }
}

TEST(Links, ChainsPutInFrontOfEachOtherInTurnCostNoSearchEach) {
    constexpr int half = Many / 2;
    Graph g(Many);
    for (int i = 0; i + 1 < half; ++i) {
        g.link(i, i + 1);
        g.link(half + i, half + i + 1);
    }
    const auto swap = [&](int rounds) {
        int refused = 0;
        for (int round = 0; round < rounds; ++round) {
            refused += IsError(g.setParents(0, {Many - 1}));
            g.setParents(0, {});
            refused += IsError(g.setParents(half, {half - 1}));
            g.setParents(half, {});
        }
        return refused;
    };
    EXPECT_EQ(swap(30), 0) << "a net that is built may be changed at any cost";
    const MemoryBound reading(1LL << 30);
    EXPECT_GT(swap(500), 450);
    EXPECT_EQ(g.parents(1) + g.parents(half + 1), "n0 n50000 ");
}

TEST(Links, ParentsNamedAgainAmongVeryMany) {
    Graph g(Many);
    for (int round = 0; round < 2; ++round) {
        for (int i = 2; i < Many; ++i) {
            g.link(i, 0);
            if (i % 1000 == 0) g.link(i, 1);
        }
    }
    EXPECT_EQ(g[0].parents.N, Many - 2);
    EXPECT_EQ(g[1].parents.N, 99);
    g.setParents(1, {50, 60, 50});
    EXPECT_EQ(g.parents(1), "n50 n60 ");
}

TEST(Links, RepeatedReplacementsCostWhatTheyName) {
    // One parent of all children; each child is replaced many times, and its old links must not
    // slow down the searches from the parent.
    constexpr int nodes = 20'000;
    Graph g(nodes);
    for (int round = 0; round < 20; ++round) {
        for (int i = 2; i < nodes; ++i) g.setParents(i, {1 - round % 2});
    }
    for (int i = 2; i < nodes; ++i) ASSERT_TRUE(g.link(i, 1));
    EXPECT_FALSE(g.link(1, 0));  // 0 is the parent of all the others now
}

/// Whether a way of links leads from one to the other.
bool Reaches(const Bnode_bn& from, const Bnode_bn& to) {
    return &from == &to || std::any_of(to.parents.begin(), to.parents.end(),
                                       [&](const Bnode_bn* p) { return Reaches(from, *p); });
}

TEST(Links, StayRightWhenNodesAreRemoved) {
    std::mt19937 random(3);
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    Graph g(60);
    for (int i = 0; i < 150; ++i) g.link(below(60), below(60));
    for (int i = 0; i < 40; ++i) g.link(i, 59);  // more parents than are looked through
    AddNodeToNodeset_ibn(g[5], "set");
    AddNodeToNodeset_ibn(g[6], "set");
    const Bnode_bn* const seven = &g[7];
    SetNodeIdentity(g[7], "seven of them");
    g.giveTable(6);
    for (int round = 0; round < 4; ++round) {
        BndList_bn going;
        for (int i = 0; i < 8; ++i)
            if (const int at = below(g.net->nodes.N); &g[at] != seven) going.append(&g[at]);
        if (round == 0) going.append(&g[5]);
        std::map<std::string, std::string> parents;
        for (int i = 0; i < g.net->nodes.N; ++i) {
            for (const Bnode_bn* p : g[i].parents)
                if (std::find(going.begin(), going.end(), p) == going.end())
                    parents[g[i].name()] += std::string(p->name()) + ' ';
        }
        RemoveNodes_ibn(*g.net, going);
        ExpectConsistent(g.net.get());
        for (int i = 0; i < g.net->nodes.N; ++i) {
            EXPECT_EQ(g.parents(i), parents[g[i].name()]);
            EXPECT_EQ(g.net->findNodeLabeled(g[i].name()), &g[i]);
        }
        for (const Bnode_bn* gone : going)
            EXPECT_EQ(g.net->findNodeLabeled(gone->name()), nullptr) << gone->name();
        EXPECT_EQ(g.net->findNodeLabeled("seven of them"), seven);
        for (int i = 0; i < 60; ++i) {
            const int from = below(g.net->nodes.N), to = below(g.net->nodes.N);
            const bool closes = Reaches(g[to], g[from]);
            EXPECT_EQ(g.link(from, to), !closes);
        }
    }
    EXPECT_LE(g.net->findNodeset("set")->nodes().N, 1);
    EXPECT_NE(NewNode_ibn("n5", 2, *g.net, {}), nullptr);
    ExpectConsistent(g.net.get());
}

}  // namespace
}  // namespace lumo::test
