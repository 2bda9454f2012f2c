// The Ergo reader: what hostile files may cost.
#include "library/model/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Ergo(std::string_view text) { return ImportText(text, FormatErgo, "dir/my file.erg"); }

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
