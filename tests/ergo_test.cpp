// The Ergo reader: whole files, every report with its place, and what hostile files may cost.
#include "library/model/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Ergo(std::string_view text) { return ImportText(text, FormatErgo, "dir/my file.erg"); }

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
