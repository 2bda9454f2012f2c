// The Ergo reader: whole files, every report with its place, and what hostile files may cost.
#include "library/model/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Ergo(std::string_view text) { return ImportText(text, FormatErgo, "dir/my file.erg"); }

TEST(Ergo, ReadsAWholeFile) {
    const Imported got = Ergo(
        "3\n2 3 2\n0\n1 1\n2 1 2\n/* Probabilities */\n2 1 3\n6 .5 5e-1 0 +1 1. 2\n"
        "12 1 0 0 1 1 0 0 1 1 0 0 1\n/* Names */ A 9lives A\n/* Labels */\nno yes\n"
        "abcdefghijklmnopqrstuvwxyz0123456789 low low\nt-1 f\n/* Centers */ 10 20 -3 4 5 6");
    EXPECT_EQ(NetText(got.net.get()),
              "net my_file\n"
              "nature A at 10,20\n  states no yes\n  table 0.25 0.75\n"
              "nature N9lives title='9lives' at -3,4\n"
              "  states abcdefghijklmnopqrstuvwxyz0123='abcdefghijklmnopqrstuvwxyz0123456789' low "
              "low2='low'\n  parents A\n  table 0.5 0.5 0 0.25 0.25 0.5\n"
              "nature A2 title='A' at 5,6\n  states t_1='t-1' f\n  parents A N9lives\n"
              "  table 1 0 0 1 1 0 0 1 1 0 0 1\n");
    EXPECT_EQ(got.seen.errors(), 0);
    const std::vector<std::string> notes = {
        "Node renamed:  9lives  ->  N9lives   (but it is titled with the old name)",
        "Node renamed:  A  ->  A2   (but it is titled with the old name)",
        "State of node N9lives renamed:  abcdefghijklmnopqrstuvwxyz0123456789  ->  "
        "abcdefghijklmnopqrstuvwxyz0123   (but it is titled with the old name)",
        "State of node N9lives renamed:  low  ->  low2   (but it is titled with the old name)",
        "State of node A2 renamed:  t-1  ->  t_1   (but it is titled with the old name)"};
    EXPECT_EQ(got.seen.prints, notes);
    EXPECT_STREQ(got.net->fileName, "dir/my file.lumo");
}

// Text -> nodes that stay (-1: no net), reports. What a report's own example shows is not repeated.
TEST(Ergo, SaysWhatIsWrongAndWhere) {
    const std::string longWord(300, 'w');
    const struct {
        std::string text;
        int nodes;
        const char* reports;
    } cases[] = {
        {"", -1,
         "-3469 1:1 File does not start in the original simple Ergo format; perhaps it is in "
         "the newer Ergo format (.ent)\n"},
        {"0", 0, ""},
        {"-1", -1, "-5230 1:1 -1 nodes cannot be: the rest of the file has 0 bytes\n"},
        {"2\n2 x", 1, "-5042 2:3 'x' is not an integer\n"},
        {"1 2", 1, "-4108 1:4 unexpected end-of-input\n"},
        {"1 2\n 1 0\n", 1,
         "-2316 2:4 when adding links to node Node_1, parent is declared as 0, but that "
         "is out-of-bounds\n"},
        {"1 2 0\n2147483647 1", 1,
         "-5230 2:1 2147483647 probabilities cannot be: the rest of the file has 2 bytes\n"},
        {"1 2 0 2\n.5 .5.5 a b", 1, "-5040 2:4 '.5.5' is not a number\n"},
        {"1 2 0 2\n0,5 0,5 A a b", 1, "-5040 2:1 '0,5' is not a number\n"},
        {"1 2 0 2\n.5 1e39 a b", 1, "-5041 2:4 number '1e39' is too large\n"},
        {"1 2 0 2\n.5 1e39,5 a b", 1, "-5041 2:4 number '1e39,5' is too large\n"},
        {"1 3 0 3\n2 -1 -3 A a b c 1 2", 1,
         "-5088 2:6 the table of node 'Node_1' holds -1 for state #1\n"},
        {"1 2 0 2\n9 -3 A a b 1 2", 1,
         "-5088 2:3 the table of node 'Node_1' holds -3 for state #1\n"},
        {"1 2 0 2 .5 .5\nA a", 1, "-4108 2:4 unexpected end-of-input\n"},
        {"1 2 0 2 1 0 " + longWord + "\nb c 1 2", 1,
         "-5045 1:13 text of 300 characters is cut to 256\n"},
        {"1 2 0 2 1 0 A b c 1 2 /* */\n3", 1,
         "-5231 2:1 what stands behind the last position is passed over\n"},
        {"1 2 0 2 1 0 A b c 1 -99999999999", 1,
         "-5224 1:21 coordinate -99999999999 is too large and is taken as -2147483648\n"},
        {"1 2 0 2 1 0 A b c 1 9x", 1, "-5042 1:21 '9x' is not an integer\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const Imported got = Ergo(c.text);
        EXPECT_EQ(got.net ? got.net->nodes.N : -1, c.nodes);
        EXPECT_EQ(got.seen.text(), c.reports);
    }
    const Imported names = Ergo("2 2 2 0 0 2 1 0 2 1 0 A " + longWord);
    EXPECT_EQ(names.seen.reports[0].structName, "Node_2");
}

TEST(Ergo, ParentsNumberedFromZero) {
    const std::string rest = " 2 1 0 4 1 0 0 1 A B a b a b 1 2 3 4";
    const auto read = [&](const std::string& parents) {
        return ImportLeniently("2 2 2 " + parents + rest, FormatErgo);
    };
    const Imported zero = read("0 1 0");
    EXPECT_EQ(zero.seen.count(-5232), 1);
    EXPECT_EQ(zero.net->nodes[1]->parents[0], zero.net->nodes[0]);
    EXPECT_EQ(zero.net->nodes[1]->relation.kind, RelnKindEN::table);
    EXPECT_EQ(read("0 1 1").seen.text(), "");                    // from 1
    EXPECT_EQ(read("0 2 0 2").seen.count(-2316), 1);             // neither
    EXPECT_EQ(Ergo("2 2 2 0 1 0" + rest).seen.count(-2316), 1);  // strict
}

TEST(Ergo, RefusedLinksCostOnlyTheirTable) {
    // Node 1 is its own parent, nodes 2 and 3 name each other, node 3 names node 2 twice.
    const Imported got = Ergo(
        "3 2 2 2\n1 1\n1 3\n2 2 2\n4 .1 .9 .2 .8\n4 .5 .5 .3 .7\n4 .6 .4 1 0\n"
        "A B C a b a b a b 0 0 0 0 0 0");
    ASSERT_NE(got.net, nullptr);
    EXPECT_EQ(got.seen.count(msg::model.selfLink.number), 1);
    EXPECT_EQ(got.seen.count(msg::model.cycle.number), 2);
    EXPECT_EQ(got.seen.reports.size(), 3U);
    EXPECT_EQ(NodeText(*got.net->nodes[0]), "nature A at 0,0\n  states a b\n  none\n");
    EXPECT_EQ(NodeText(*got.net->nodes[1]),
              "nature B at 0,0\n  states a b\n  parents C\n  table 0.5 0.5 0.3 0.7\n");
    EXPECT_EQ(NodeText(*got.net->nodes[2]), "nature C at 0,0\n  states a b\n  none\n");
}

TEST(Ergo, ATableAboveTheLimitIsRefused) {
    // 40 binary parents: the product overflows an int. 7 parents of 1000 states: 64 bits.
    for (const auto& [parents, states] :
         {std::pair{40, 2}, std::pair{7, 1000}, std::pair{9, 1000}}) {
        std::string text = std::to_string(parents + 1) + "\n";
        for (int i = 0; i <= parents; ++i) text += std::to_string(states) + " ";
        for (int i = 0; i < parents; ++i) text += "0 ";
        text += "\n" + std::to_string(parents);
        for (int i = 1; i <= parents; ++i) text += " " + std::to_string(i);
        std::string row = std::to_string(states);
        for (int i = 0; i < states; ++i) row += " 1";
        for (int i = 0; i < parents; ++i) text += " " + row;
        text += "\n2147483647 0.5 " + std::string(1 << 12, '1');
        const Imported got = Ergo(text);
        ASSERT_NE(got.net, nullptr);
        EXPECT_EQ(got.net->nodes.N, parents + 1);
        EXPECT_EQ(got.seen.errors(), 1) << got.seen.text();
    }
}

TEST(Ergo, AMillionStatesAreTheLimit) {
    std::string text = "1 1000000 0 1000000";
    for (int i = 0; i < 1'000'000; ++i) text += " 1";
    text += " A";
    for (int i = 0; i < 1'000'000; ++i) text += " s";
    text += " 1 2";
    const Imported got = Ergo(text);
    ASSERT_NE(got.net, nullptr);
    EXPECT_EQ(got.seen.errors(), 0) << got.seen.text().substr(0, 300);
    EXPECT_EQ(got.net->nodes[0]->numStates(), 1'000'000);
    const Imported more = Ergo("1 1000001 " + text);
    EXPECT_EQ(more.net, nullptr);
    EXPECT_EQ(more.seen.count(msg::model.badStateCount.number), 1);
}

}  // namespace
}  // namespace lumo::test
