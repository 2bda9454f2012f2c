// The DXPress reader: its question, and what hostile files may cost.
#include "formats/shared/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported DX(std::string_view text, bool condense = false) {
    return ImportText(text, FormatDXPress, "kb.dxp", condense);
}

/// A file of two binary nodes with the network text.
std::string InNetwork(const std::string& network) {
    return "diagnostic network x nodes { standard A { } standard B { } }\nnetwork " + network;
}

TEST(DXPress, TheQuestionIsAskedOnceInAProcess) {
    const std::string ci =
        InNetwork("{ ci A () { (p) (x; .25, .75; end } ci B () { (p) (x; .5, .5; end } }");
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process of its own
    const auto isAskedOnce = [&] {
        const Imported first = DX(ci, true);
        const Imported second = DX(ci, false);
        const std::vector<std::string> asked{"-9034 Condense Noisy-Max Tables?"};
        return first.seen.questions == asked && second.seen.questions.empty() &&
               first.net->nodes[0]->relation.probs == nullptr &&
               second.net->nodes[0]->relation.probs == nullptr;
    };
    EXPECT_EXIT(std::_Exit(isAskedOnce() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(DXPressHostile, EndsInLinearTimeWithClearReports) {
    const std::string head = "diagnostic network x ";
    const std::string texts[] = {
        head + Repeated("word ", 1'000'000),
        head + "nodes { standard A { " + Repeated("f: 1; ", 1'000'000),
        head + "nodes { standard A { " + Repeated("f ", 1'000'000),
        head + Repeated("{", 1'000'000),
        head + Repeated("nodes {", 300'000),
        head + Repeated("}", 1'000'000),
        InNetwork("{ standard A (" + Repeated("\"B\",", 300'000)),
        InNetwork("{ standard A (" + Repeated("(", 1'000'000)),
        InNetwork("{ standard A () { prob: {" + Repeated("(;1,", 300'000)),
        InNetwork("{ ci A () { (" + Repeated("}", 1'000'000)),
        head + "kb { notes: \"" + Repeated("x", 1'000'000),
        head + Repeated("views { a } { ", 100'000),
        head + "nodes { standard A { " + Repeated("size: x ", 300'000),
    };
    for (const std::string& text : texts) {
        const Imported got = DX(text);
        ExpectConsistent(got.net.get());
        EXPECT_GE(got.seen.reports.size(), 1U) << text.substr(0, 60);
        EXPECT_LE(got.seen.reports.size(), 12'100U);
    }
}

TEST(DXPressHostile, FiftyParentsAreTooManyForATable) {
    std::string nodes = "diagnostic network x nodes { standard C { }";
    std::string parents;
    for (int i = 0; i < 50; ++i) {
        const std::string name = "P" + std::to_string(i);
        nodes += " standard " + name + " { }";
        parents += (i ? ", \"" : "\"") + name + "\"";
    }
    for (const char* relation : {"prob: { (; 1, 0; }", "prob: { }"}) {
        const Imported got =
            DX(nodes + " } network { standard C (" + parents + ") { " + relation + " } }");
        ASSERT_EQ(got.seen.reports.size(), 1U) << got.seen.text();
        EXPECT_EQ(got.seen.reports[0].number, msg::import.tableTooLarge.number);
        EXPECT_EQ(got.net->nodes[0]->parents.N, 50);
    }
}

}  // namespace
}  // namespace lumo::test
