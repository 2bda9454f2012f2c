// The DXPress reader: every report with its place, whole samples, and what hostile files may cost.
#include "import/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

std::vector<std::string> questionsAsked;  // by all tests of the process

Imported DX(std::string_view text, bool condense = false) {
    Imported got = ImportText(text, FormatDXPress, "kb.dxp", condense);
    for (const std::string& question : got.seen.questions) questionsAsked.push_back(question);
    return got;
}

/// A file with the fields in its one node.
std::string InNode(const std::string& fields) {
    return "diagnostic network x\nnodes { standard A {\n" + fields + "\n} }";
}
/// A file of two binary nodes with the network text.
std::string InNetwork(const std::string& network) {
    return "diagnostic network x nodes { standard A { } standard B { } }\nnetwork " + network;
}

struct Case {
    std::string text;
    const char* reports;
};

// What a report's own example shows is not repeated here.
TEST(DXPress, ReportsAtTheirPlaces) {
    const std::vector<Case> cases = {
        {"diagnostic network \"x\"\n", "-4108 2:1 unexpected end-of-input\n"},
        {"diagnostic network x kb { };\n;",
         "-4089 1:28 unexpected punctuation ';'\n"
         "-4089 2:1 unexpected punctuation ';'\n"},
        {"diagnostic network x kb\n( notes: a; }", "-4045 2:1 expected '{'\n"},
        {"diagnostic network x kb\n} Notes: a; }", "-4045 2:1 expected '{'\n"},
        {"diagnostic network x kb { notes: a version: 2; }", "-4048 1:36 expected ';'\n"},
        {"diagnostic network x kb { notes: a (version); }", "-4048 1:36 expected ';'\n"},
        {"diagnostic network x kb { notes ; Version: 2; }",
         "-4040 1:33 expected ':'\n-5243 1:33 the value of the field is missing\n-4047 1:35 "
         "unknown field 'Version'\n"},
        {"diagnostic network x kb { version: 2;\n", "-4108 2:1 unexpected end-of-input\n"},
        {InNode("size: 3; Data: 4;"), ""},
        {InNode("size: 3 font: 2 name: a;"), "-4067 3:17 expected ';'\n"},
        {InNode("type: discrete[2] = { standard name: a; } fault { name: b; } };"),
         "-5242 3:32 expected '{'\n"},
        {InNode("type: discrete[2] = { standard } fault { name: b; } };"),
         "-5242 3:32 expected '{'\n"},
        {InNode("type: discrete(2] = { };"), "-4063 3:15 expected '['\n"},
        {InNode("type: discrete[2 = { };"), "-4064 3:18 expected ']'\n-4065 3:20 expected '='\n"},
        {InNode("type: discrete[2]; Color: 3;"),
         "-4065 3:18 expected '='\n-4049 3:18 expected '{'\n"
         "-4066 3:20 unknown node field 'Color'\n"},
        {InNode("type: discrete[2] = }"),
         "-4049 3:21 expected '{'\n-4067 3:21 expected ';'\n"
         "-4089 4:3 unexpected punctuation '}'\n"},
        {InNode("type: discrete[x] = { };"), "-5042 3:16 'x' is not an integer\n"},
        {InNode("cost: much;"), "-5040 3:7 'much' is not a number\n"},
        {InNode("observable: yes;"), "-4044 3:13 expected boolean quantitity, but read 'yes'\n"},
        {"diagnostic network x nodes { standard A { name: b;",
         "-4108 1:51 unexpected end-of-input\n"
         "-4108 1:51 unexpected end-of-input\n"},
        {InNetwork("\n( }"), "-4080 3:1 expected '{'\n"},
        {InNetwork("{ standard A (\"B\",\n C) { } }"), "-4084 3:2 unknown parent named 'C'\n"},
        {InNetwork("{ standard A (\"B\" {\nprob: { (;1,0; } } standard B () { } }"),
         "-4083 2:27 unexpected punctuation '{'\n"
         "-4083 3:1 unexpected punctuation 'p'\n"
         "-4084 3:1 unknown parent named 'prob'\n"},
        {InNetwork("{ standard A ("),
         "-4108 2:23 unexpected end-of-input\n"
         "-4071 2:23 expected '{'\n"
         "-4108 2:23 unexpected end-of-input\n"
         "-4108 2:23 unexpected end-of-input\n"},
        {InNetwork("{ standard A () { prob: {\n;1,0; } } }"),
         "-4075 3:1 unexpected punctuation ';'\n"
         "-4078 3:7 expected to read 2 conditional probabilities, but read 0\n"},
        {InNetwork("{ standard A () { prob: { (;1.5,\n-0.5; } } }"),
         "-5088 3:7 the table of node 'A' holds -0.5 for state #1 reading conditional "
         "probabilites\n"},
        {InNetwork("{ standard A () { prob: { (;1/2,\n1/2; } } }"),
         "-5040 2:37 '1/2' is not a number\n-5040 3:1 '1/2' is not a number\n"},
        {InNetwork("{ standard A () { naSpec } prob: { (;1,0; } } }"),
         "-4082 2:40 unknown node named ''\n-4089 2:55 unexpected punctuation '}'\n"},
        {InNetwork("{ ci A () { (x) (;\n1.5, -.5; end } }"),
         "-5095 3:11 noisy-max parameter 1 of node 'A' is 1.5, not from 0 to 1 creating noisy-max "
         "node\n"},
        {InNetwork("{ ci A () { (x) (;.5,\n.6; end } }"),
         "-5095 3:5 noisy-max parameters 1 to 2 of node 'A' sum to 1.1, not to 1 creating "
         "noisy-max node\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(DX(c.text).seen.text(), c.reports);
    }
}

TEST(DXPress, AnObjectThatLacksABraceEndsBeforeTheNext) {
    const char* const rest = "\nnodes { standard A { } }";
    const std::string unclosed = "-4108 2:25 unexpected end-of-input\n";
    const std::vector<Case> cases = {
        {"faulthierarchy", ""},
        {"faulthierarchy \"x { \" y", ""},
        {"faulthierarchy { a { } b", unclosed.c_str()},
        {"nodehierarchy { a { b \"}\"", unclosed.c_str()},
        {"views", "-4088 1:22 unknown object type 'views'\n"},
        {"views {", "-4088 1:22 unknown object type 'views'\n-4108 2:25 unexpected end-of-input\n"},
        {"faulthierarchy { nodes { standard B { } } }", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const Imported got = DX("diagnostic network " + ("x " + c.text) + rest);
        ASSERT_EQ(got.net->nodes.N, 1);
        EXPECT_STREQ(got.net->nodes[0]->name(), "A");
        EXPECT_EQ(got.seen.text(), c.reports);
    }
}

TEST(DXPress, ReadPuncEQ) {
    for (const char* end : {"=3D", "=2A", "=3", "=2", "="}) {
        const Imported cut =
            DX(std::string("diagnostic network x nodes { standard A { cost ") + end);
        ASSERT_NE(cut.net, nullptr) << end;
        EXPECT_GE(cut.seen.errors(), 1) << end;
    }
}

TEST(DXPress, ABraceRightAfterTheLastGroupEndsTheBody) {
    for (const char* end : {"}", "end }", "0.3 more { } }"}) {
        const Imported got = DX(InNetwork("{ ci A () { (p) (x; .25, .75; " + std::string(end) +
                                          " standard B () { prob: { (;1,0; } } }"));
        EXPECT_EQ(got.seen.text(), "") << end;
        EXPECT_EQ(got.net->nodes[0]->relation.kind, RelnKindEN::noisyMax) << end;
        EXPECT_EQ(got.net->nodes[1]->relation.kind, RelnKindEN::deterministic) << end;
    }
    const Imported few =
        DX(InNetwork("{ ci A () { (p) (x; .25; } standard B () { prob: { (;1,0; } } }"));
    EXPECT_EQ(few.seen.count(-4105), 1);
    EXPECT_EQ(few.net->nodes[1]->relation.kind, RelnKindEN::deterministic);
}

TEST(DXPress, TheQuestionIsAskedOnceInAProcess) {
    const std::string ci =
        InNetwork("{ ci A () { (p) (x; .25, .75; end } ci B () { (p) (x; .5, .5; end } }");
    const Imported first = DX(ci, true);
    const Imported second = DX(ci, false);
    EXPECT_EQ(questionsAsked, std::vector<std::string>{"-9034 Condense Noisy-Max Tables?"});
    EXPECT_EQ(first.net->nodes[0]->relation.probs == nullptr,
              second.net->nodes[0]->relation.probs == nullptr);
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
