// The BIF reader: samples, the forms that files take, and texts made to hurt.
#include "tests/support.h"

namespace lumo::test {
namespace {

/// What is made of the probabilities of c, a node of states x and y, whose parents are p of p and
/// q, and r of r, s and s.
TEST(Bif, TakesProbabilitiesInEveryForm) {
    const std::string head =
        "network n { } variable c { type discrete [ 2 ] { x, y }; }"
        "variable p { type discrete [ 2 ] { p, q }; } variable r { type discrete [ 3 ] { r, s, s "
        "}; }"
        "probability ( p ) { table 1 0; } probability ( r ) { table 1 0 0; }";
    const struct {
        const char *block, *relation;
        int reports;
    } cases[] = {
        {"probability ( c ) { default 0.25 0.75; }", "table 0.25 0.75", 0},
        {"probability ( c ) { () .25, .75; }", "table 0.25 0.75", 0},
        {"probability ( c p ) { table 0.1 0.2 0.9 0.8; }", "table 0.1 0.9 0.2 0.8", 0},
        {"probability ( c | p ) { (q) 0.2 0.8; default 0.1 0.9; }", "table 0.1 0.9 0.2 0.8", 0},
        {"probability ( c | p ) { (*) 1 0; (q) 0 1; }", "table 1 0 0 1", 0},
        {"probability ( c | p ) { (q) 0 1; }", "table 0 0 0 1", 2},
        {"probability ( c | p ) { (p) 1 0; (q) 0 1; (p) 0 1; }", "table 0 1 0 1", 1},
        {"probability ( c | p ) { (p) 1 0; table 0 0 1 1; }", "table 0 1 0 1", 1},
        {"probability ( c | p ) { (p) 3 1; (q) 0 2; }", "table 3 1 0 2", 1},
        {"probability ( c | p ) { (p) 1 0 0; (q) 0 1; }", "table 0 0 0 1", 3},
        {"probability ( c | r ) { (s) 1 0; (r) 0 1; (s) 0.5 0.5; }", "table 0 1 1 0 0.5 0.5", 1},
        {"probability ( c | p, r ) { (p, s) 0 1; (q, s) 0 1; (p, s) 1 0; (q, s) 1 0; (*, r) 1 0; }",
         "table 1 0 0 1 1 0 1 0 0 1 1 0", 1},
        {"probability ( c | p ) { property function max; (p) 1 0; (q) 0.5 0.5; }",
         "noisy-max 1 0 0.5 0.5", 0},
        {"probability ( c | p ) { property function max; (p) 1 0; }", "none", 1},
        {"probability ( c | c ) { table 1 0; }", "none", 2},
        {"probability ( c | nobody, p ) { table 1 0; }", "none", 1},
        {"probability ( c ) { table 1 0; } probability ( c ) { table 0 1; }", "table 0 1", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.block);
        const Imported got = ImportText(head + c.block, FormatBIF);
        ASSERT_NE(got.net, nullptr);
        const std::string text = NodeText(*got.net->nodes[0]);
        EXPECT_NE(text.find(std::string("\n  ") + c.relation + '\n'), std::string::npos) << text;
        EXPECT_EQ(static_cast<int>(got.seen.reports.size()), c.reports) << got.seen.text();
    }
}

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
