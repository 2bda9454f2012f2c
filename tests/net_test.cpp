// The net as programs have it.
#include "formats/net.h"

#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Net Asia() {
    Imported got = ImportText(ReadFile(Samples() + "/hugin/asia.net"), FormatHugin, "asia.net");
    return Net(std::move(got.net));
}

TEST(NetView, ShowsWhatTheModelHolds) {
    const Net net = Asia();
    std::string text;
    for (const Node node : net.nodes()) {
        text.append(node.name()).append(":");
        for (const State state : node.states()) text.append(" ").append(state.label());
        for (const Node parent : node.parents()) text.append(" <").append(parent.name());
        text += "\n";
    }
    EXPECT_EQ(net.name(), "asia");
    EXPECT_NE(text.find("dysp: yes no <either <bronc\n"), std::string::npos) << text;
    const Node dysp = net.find("dysp");
    ASSERT_TRUE(dysp);
    EXPECT_EQ(dysp.title(), dysp.model().title);
    EXPECT_FALSE(net.find("nobody"));
    EXPECT_EQ(dysp.parents()[1], net.find("bronc"));
    static_assert(std::forward_iterator<decltype(net.nodes().begin())>);
}

TEST(NetView, TablesHaveRowsOfParentStates) {
    const Net net = Asia();
    const Table table = net.find("dysp").table();
    ASSERT_EQ(table.rows(), 4U);
    ASSERT_EQ(table.columns(), 2U);
    for (const int either : {0, 1})
        for (const int bronc : {0, 1}) {
            const auto row = table.row({either, bronc});
            ASSERT_EQ(row.size(), 2U);
            EXPECT_EQ(row.data(), table.numbers().data() + 4 * either + 2 * bronc);
        }
    EXPECT_EQ(table.number(0, 0), 0.9);  // and not the float's 0.899999976
    for (const auto& wrong : {table.row({0}), table.row({0, 2}), table.row({-1, 0})})
        EXPECT_TRUE(wrong.empty());
}

TEST(NetView, IsMadeAndChangedWithoutFreeingAnything) {
    Net net("2nd garden");
    Node rain = net.add("rain", {"yes", "no"});
    Node grass = net.add("grass", {"wet", "dry"});
    ASSERT_TRUE(rain && grass);
    EXPECT_FALSE(net.add("rain", {"a", "b"}));
    EXPECT_FALSE(net.add("snow", {"a", "a"}));
    EXPECT_FALSE(net.add("no name", {"a", "b"}));
    EXPECT_EQ(net.nodes().size(), 2U);
    ASSERT_TRUE(grass.setParents({rain}));
    ASSERT_TRUE(rain.setTable({0.2, 0.8}));
    ASSERT_TRUE(grass.setRow({0}, {0.9, 0.1}));
    ASSERT_TRUE(grass.setRow({1}, {1.0 / 3, 2.0 / 3}));
    EXPECT_EQ(grass.table().number(0, 0), 0.9);
    EXPECT_EQ(grass.table().exact()[2], 1.0 / 3);
    rain.setTitle("Rain at night");
    const Net same = net;  // the same net, whoever goes first
    net = Net("other");
    EXPECT_EQ(same.find("rain").title(), "Rain at night");
    EXPECT_NE(same.name(), net.name());
}

TEST(NetView, ARefusedChangeSaysWhyAndChangesNothing) {
    struct Silent : ReportHandler {
        void show(const rept_kt& report) override { FAIL() << report.message; }
    } silent;
    const HandlerScope scope(silent);
    const Net net = Asia();
    Node dysp = net.find("dysp"), either = net.find("either");
    const float before = dysp.table().numbers()[0];
    const Outcome refusals[] = {
        dysp.setTable({0.5, 0.5}),    dysp.setRow({0, 0}, {0.5}),
        dysp.setRow({0}, {0.5, 0.5}), dysp.setRow({0, 2}, {0.5, 0.5}),
        dysp.setRow({0, 0}, {-1, 2}), dysp.setTable({0.5, 0.5, 0.5, -0.5, 0.5, 0.5, 0.5, 0.5}),
        either.setParents({dysp}),
    };
    const char* const reasons[] = {"8 numbers, not 2",
                                   "2 numbers, not 1",
                                   "2 numbers, not 1",
                                   "dysp",
                                   "dysp",
                                   "dysp",
                                   "either"};
    for (std::size_t i = 0; i < std::size(refusals); ++i) {
        EXPECT_FALSE(refusals[i]);
        EXPECT_NE(refusals[i].report.message.find(reasons[i]), std::string::npos)
            << refusals[i].report.message;
    }
    EXPECT_EQ(dysp.table().numbers()[0], before);
    EXPECT_EQ(dysp.parents()[0], either);
    // A row may be set again and again.
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(dysp.setRow({0, 0}, {0.25, 0.75}));
    EXPECT_EQ(dysp.table().row({0, 0})[0], 0.25F);
}

}  // namespace
}  // namespace lumo::test
