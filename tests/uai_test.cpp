// The UAI reader: texts made to hurt.
#include "tests/support.h"

namespace lumo::test {
namespace {

TEST(Uai, LargeInputsTakeLinearTime) {
    ExpectLinear(
        {
            {"BAYES 99999999", -1, 1},
            {"BAYES 3 1000000 1000000 1000000 1 3 0 1 2 1 1", 3, 1},
            {"BAYES 2 2 1000000 1 2 0 1", 2, 1},
            {"BAYES 1 2 200000 " + Repeated("1 0 ", 200'000) + Repeated("2 .5 .5 ", 200'000), 1,
             1001},
            {"BAYES 1 2 1 200000 " + Repeated("0 ", 200'000) + "2 1 0", 1, 1},
            {"BAYES 200000 " + Repeated("2 ", 200'000) + "200000 " + Numbered(200'000, "1 ", " ") +
                 Repeated("2 .5 .5 ", 200'000),
             200'000, 0},
            {"1 " + Repeated("1 ", 1'000'000), 1, 1},
        },
        FormatUAI);
}

}  // namespace
}  // namespace lumo::test
