// The BIF reader: texts made to hurt.
#include "tests/support.h"

namespace lumo::test {
namespace {

TEST(Bif, LargeInputsTakeLinearTime) {
    const std::string a = "variable a { type discrete [ 1 ] { x }; }";
    const std::string wide =
        "variable w { type discrete [ 3 ] { " + Repeated("s ", 300'000) + "}; }";
    std::string deep;
    for (int i = 0; i < 27; ++i)
        deep += "variable b" + std::to_string(i) + " { type discrete [ 2 ] { x, y }; }";
    const std::string parents = Numbered(26, " b", "");
    ExpectLinear(
        {
            {a + Repeated("{", 500'000), 1, 0},
            {a + Repeated("x ", 500'000), 1, 0},
            {a + Repeated("\" ", 300'000), 1, 0},
            {"network n { " + Repeated("property a = \"\n", 200'000) + "}" + a, 1, 0},
            {"network n { " + Repeated("property /*\n", 200'000) + "}" + a, -1, 1},
            {a + "probability ( a ) { " + Repeated("( x ", 300'000) + "}", 1, 1},
            {a + "probability ( a ) { " + Repeated("(x) 1; ", 300'000) + "}", 1, 1001},
            {Repeated("probability ( b | a ) { table 1; }", 100'000) + a, 1, 1001},
            {wide + a + "probability ( a | w ) { " + Repeated("(s) 1; ", 300'000) + "}", 2, 0},
            {deep + "probability ( b26 | " + parents + " ) { default 1 0; }", 27, 0},
            {deep + Repeated("probability ( b26 | " + parents + " ) { (" + Repeated("x ", 26) +
                                 ") 1 0; }",
                             40),
             27, 39},
        },
        FormatBIF);
}

}  // namespace
}  // namespace lumo::test
