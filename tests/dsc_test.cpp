// The DSC reader: what its texts in tests/cases cannot show, and what hostile files may cost.
#include "formats/shared/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Dsc(std::string_view text) { return ImportText(text, FormatDsc); }

TEST(Dsc, StateNamesFromTitlesWhenPreferred) {
    Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = true;
    const Imported got = Dsc("network n node A { type: discrete[2] = { \"a b\", \"<5\" }; }");
    Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = false;
    EXPECT_STREQ(got.net->nodes[0]->variable.stateNames[0], "a_b");
    EXPECT_STREQ(got.net->nodes[0]->variable.stateTitles[1], "<5");
}

TEST(DscHostile, TablesOutOfProportion) {
    std::string parents;
    std::string nodes = "network n node C {}";
    for (int i = 0; i < 40; ++i) {
        const std::string name = "P" + std::to_string(i);
        nodes += "node " + name + "{type:discrete[10]={0 1 2 3 4 5 6 7 8 9};}";
        parents += (i > 0 ? "," : "") + name;
    }
    const Imported fill = Dsc(nodes + "probability (C|" + parents + ") { default: 1,0; }");
    EXPECT_EQ(fill.seen.count(msg::import.tableTooLarge.number), 1);

    // Each of these texts asks for far more than it holds, again and again.
    const std::string wide =
        "network n node A{type:discrete[1000000];} node B{type:discrete[100];}";
    const std::string texts[] = {
        wide + "probability (A) {" + Repeated("1;", 100'000) + "}",
        wide + Repeated("probability (A) {1;}", 10'000),
        wide + Repeated("probability (B|A) {default:1;}", 1000),
        wide + "probability (B|A) {" + Repeated("default:1;", 1000) + "}",
    };
    for (const std::string& text : texts) {
        const Imported got = Dsc(text);
        EXPECT_GE(got.seen.errors(), 1);
        ExpectConsistent(got.net.get());
    }
}

TEST(DscHostile, LongTextsEnd) {
    const int many = 300'000;
    const std::string ab = "network n node A{} node B{}";
    const std::string texts[] = {
        ab + "probability(A){" + Repeated("1,", many) + "}",
        ab + "probability(B|A){" + Repeated("(0):1,0;", many) + "}",
        ab + Repeated(" thing", many),
        ab + Repeated("a } ", many) + "{",
        ab + Repeated("a { ", many),
        ab + Repeated("node C ", many),
        ab + Repeated("node C { x ", many / 10),
        ab + Repeated("probability(A){1,0} 1;", many / 10),
        ab + "node C { type: discrete[2]={; \"" + Repeated("\\\"", many),
        ab + Repeated("probability(A){1,", many / 10) + "} x",
        ab + "probability(B|" + Repeated("A,", many / 10) + "){default:1,0;}",
        "network n node A{" + Repeated("x:(", many) + "}",
        ab + Repeated("a { node X { } ", many / 10),
        ab + Repeated("node C {type:discrete[2]={a;{ ", many / 10),
        ab + Repeated("probability(A|B){(0):1,0;", many / 10),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 60));
        for (const Imported& got : {Dsc(text), ImportLeniently(text, FormatDsc)}) {
            EXPECT_FALSE(got.seen.reports.empty());
            ExpectConsistent(got.net.get());
        }
    }
}

}  // namespace
}  // namespace lumo::test
