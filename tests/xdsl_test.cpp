// The XDSL reader: samples, noisy-max against its definition, places, and texts made to hurt.
#include "formats/xdsl/xdsl.h"
#include "tests/roundtrip.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

std::string InNodes(const std::string& nodes, const std::string& genie = "") {
    return "<smile id='n'><nodes>" + nodes + "</nodes><extensions><genie>" + genie +
           "</genie></extensions></smile>";
}

/// The child is at most as strong as its strongest cause: P(state <= k) is the product of the
/// causes' and the leak's, states counted from the last, which is the weakest.
TEST(Xdsl, NoisyMaxIsExpandedByItsDefinition) {
    const double columns[2][3][3] = {{{.5, .3, .2}, {.2, .2, .6}, {0, 0, 1}},
                                     {{.4, .4, .2}, {0, 0, 1}, {}}};
    const double leak[3] = {.01, .04, .95};
    const int strengths[2][3] = {{2, 0, 1}, {1, 0, 0}};
    const int sizes[2] = {3, 2};
    std::vector<float> wanted;
    const auto upTo = [](const double* column, int k) {
        double sum = 0;
        for (int state = k; state < 3; ++state) sum += column[state];
        return sum;
    };
    for (int x = 0; x < 3; ++x)
        for (int y = 0; y < 2; ++y) {
            const int states[2] = {x, y};
            double before = 0;
            float row[3];
            for (int k = 2; k >= 0; --k) {
                double all = upTo(leak, k);
                for (int i = 0; i < 2; ++i)
                    for (int rank = 0; rank < sizes[i]; ++rank)
                        if (strengths[i][rank] == states[i]) all *= upTo(columns[i][rank], k);
                row[k] = static_cast<float>(all - before);
                before = all;
            }
            wanted.insert(wanted.end(), row, row + 3);
        }
    const Imported got = ImportText(
        InNodes("<cpt id='a'><state id='x'/><state id='y'/><state id='z'/></cpt>"
                "<cpt id='b'><state id='x'/><state id='y'/></cpt><noisymax id='c'><state id='s'/>"
                "<state id='t'/><state id='u'/><parents>a b</parents><strengths>2 0 1 1 0"
                "</strengths><parameters>.5 .3 .2 .2 .2 .6 0 0 1 .4 .4 .2 0 0 1 .01 .04 .95"
                "</parameters></noisymax>"),
        FormatXDSL);
    const float* const table = got.net->nodes[2]->relation.probs;
    ASSERT_NE(table, nullptr);
    for (std::size_t i = 0; i < wanted.size(); ++i) EXPECT_NEAR(table[i], wanted[i], 1e-6) << i;
}

/// What a program that edits such files says comes back in its own format.
TEST(Xdsl, GoesBackAsItCame) {
    const std::string nodes[] = {R"(<cpt id="A" diagtype="target" ranked="true">)",
                                 R"(<state id="1" />)",
                                 R"(<state id="größer" />)",
                                 R"(<property id="target">both</property>)",
                                 R"(<equation id="E">)",
                                 R"(<definition lower="-2.5" upper="100">E=A+1</definition>)",
                                 R"(<equation id="F">)",
                                 R"(<definition lower="-inf" upper="7">F=1</definition>)",
                                 R"(<interval label="low" upper="0.5" />)",
                                 R"(<interval upper="7" />)",
                                 R"(<maux id="M">)",
                                 R"(<expression>U+V</expression>)",
                                 R"(<noisymax id="X">)",
                                 R"(<strengths>1 0 2 0 1</strengths>)",
                                 R"(<parameters>0.5 0.3 0.2 0.2 0.2 0.6 0 0 1 0.1 0.2 0.7 0 0 1 )"
                                 R"(0.01 0.04 0.95</parameters>)"};
    std::string text = "<smile version='1.0' id='Network1'><nodes>";
    const char* ends[] = {"",
                          "",
                          "",
                          "<probabilities>.2 .8</probabilities></cpt>",
                          "",
                          "</equation>",
                          "",
                          "<discretization>",
                          "",
                          "</discretization></equation><utility id='U'><utilities>1</utilities>"
                          "</utility><utility id='V'><utilities>1</utilities></utility>",
                          "<parents>U V</parents>",
                          "</maux><cpt id='B'><state id='p'/><state id='q'/><state id='r'/>"
                          "<probabilities>.2 .3 .5</probabilities></cpt>",
                          "<state id='s'/><state id='t'/><state id='u'/><parents>B A</parents>",
                          "",
                          "</noisymax>"};
    for (std::size_t i = 0; i < std::size(nodes); ++i) text += nodes[i] + ends[i];
    text += "</nodes><extensions><genie name='A title'/></extensions></smile>";
    ImportResult result;
    result.net = ImportText(text, FormatXDSL, "first.xdsl").net;
    const std::string once = Write(result, "xdsl");
    for (const std::string& part : nodes)
        EXPECT_NE(once.find(part.starts_with("<maux") ? "<mau id=\"M\">" : part), once.npos)
            << part;
    EXPECT_NE(once.find(" id=\"Network1\""), once.npos);
    result.net = ImportText(once, FormatXDSL, "second.xdsl").net;
    EXPECT_EQ(Write(result, "xdsl"), once);
    EXPECT_EQ(result.net->findNodeLabeled("X")->relation.kind, RelnKindEN::noisyMax);
}

/// What a noisy-max is, it stays when its parameters alone are kept, and through JSON; other
/// formats get its table, and so does what is no distribution.
TEST(Xdsl, NoisyMaxInOtherHands) {
    const auto textOf = [](const char* parameters) {
        return InNodes(
            "<cpt id='a'><state id='x'/><state id='y'/><probabilities>.5 .5"
            "</probabilities></cpt><noisymax id='c'><state id='s'/><state id='t'/>"
            "<parents>a</parents><strengths>1 0</strengths><parameters>" +
            std::string(parameters) + "</parameters></noisymax>");
    };
    ImportResult result = ReadBack(textOf(".75 .25 0 1 .5 .5"), FormatXDSL, "n");
    Bnode_bn& node = *result.net->nodes[1];
    const std::string whole = Write(result, "xdsl"), table = Write(result, "bif");
    EXPECT_NE(table.find("(y) 0.875, 0.125;"), table.npos) << table;
    const ImportResult again = ReadBack(Write(result, "json"), FormatJSON, "n");
    EXPECT_EQ(Write(again, "xdsl"), whole);
    ASSERT_FALSE(IsError(node.makeIntoNoisyMax(node.relation.params, node.relation.order, true)));
    EXPECT_EQ(Write(result, "xdsl"), whole);
    EXPECT_EQ(Write(result, "bif"), table);
    EXPECT_EQ(XdslLosses(*result.net).nodes[1] & Bit(parameters), 0U);
    EXPECT_NE(Write(result, "html").find("\"order\":[1,0,0,1]"), table.npos);
    const double own[] = {0.25, 0.75, 0.5, 0.5};  // with the weakest states first
    ASSERT_FALSE(IsError(node.makeIntoNoisyMax(own, false)));
    EXPECT_EQ(Write(result, "xdsl").find("noisymax"), table.npos);
    EXPECT_NE(XdslLosses(*result.net).nodes[1] & Bit(parameters), 0U);
    const ImportResult odd = ReadBack(textOf(".75 .5 0 1 .5 .5"), FormatXDSL, "n");
    EXPECT_EQ(odd.net->nodes[1]->relation.kind, RelnKindEN::table);
}

/// Distributions of Hugin's continuous nodes are formulas, which leave nothing behind when they are
/// read: the distributions stand beside them.
TEST(Xdsl, WritesDistributionsAsFormulas) {
    const std::string net = R"(net { }
node A { states = ("x" "5 y" "z"); } node B { states = ("p" "q"); }
continuous node C { } continuous node D { } continuous node E { }
potential (C | A B) { data = ((normal(0, 4) normal(1e-3, 0)) (Normal(2,2) normal(-3,1))
 (normal(4,1) normal(5,1))); }
potential (D | C) { data = normal(2 + 3.5 * C, 0.25); }
)";
    const auto written = [](const std::string& text) {
        return ReadBack(text, FormatHugin, "n.net");
    };
    const ImportResult read = written(net + "potential (E | C D) { data = normal(C-(D), D*D); }");
    const std::string text = Write(read, "xdsl");
    for (const char* formula :
         {"C=If(A=\"x\",If(B=\"p\",Normal(0,2),1e-3),If(A=\"N5_y\",If(B=\"p\","
          "Normal(2,1.4142135623730951),Normal(-3,1)),If(B=\"p\",Normal(4,1),Normal(5,1))))",
          "D=Normal(2+3.5*C,0.5)", "E=Normal(C-(D),Sqrt(D*D))"})
        EXPECT_NE(text.find('>' + std::string(formula) + "</definition>"), std::string::npos)
            << text;
    const ImportResult again = ReadBack(text, FormatXDSL, "n.xdsl");
    for (const int node : {2, 3, 4}) {
        const auto& fields = again.net->nodes[node]->userFields();
        ASSERT_EQ(fields.size(), 1U);
        EXPECT_EQ(fields[0].data, read.net->nodes[node]->userFields()[0].data);
    }
    const std::size_t at = text.find("D=Normal(2");
    const ImportResult changed =
        ReadBack(std::string(text).replace(at, 10, "D=Normal(3"), FormatXDSL, "n.xdsl");
    EXPECT_EQ(changed.net->nodes[3]->userFields().size(), 2U);
    // What is no such distribution is no formula; the node, its links and its text come back.
    for (const char* data :
         {"normal(F, 1)", "normal(A, 1)", "(normal(0, 1) normal(1, 1))", "gamma(1, 1)", "normal(1)",
          "normal(1, 1", "normal(, 1)", "normal(1 1)) (", ""}) {
        const ImportResult other =
            written(net + "potential (E | C) { data = " + std::string(data) + "; }");
        const std::string without = Write(other, "xdsl");
        EXPECT_NE(without.find("inf\"></definition>"), std::string::npos) << without;
        const ImportResult back = ReadBack(without, FormatXDSL, "n.xdsl");
        ASSERT_EQ(back.net->nodes.N, 5) << data;
        const Bnode_bn& node = *back.net->nodes[4];
        ASSERT_EQ(node.parents.N, 1) << data;
        EXPECT_EQ(node.parents[0]->name(), std::string("C"));
        const auto& fields = other.net->nodes[4]->userFields();
        ASSERT_EQ(node.userFields().size(), fields.size()) << data;
        for (const UserField& field : fields) EXPECT_EQ(node.userFields()[0].data, field.data);
    }
}

TEST(Xdsl, PlacesNodesWhereTheFileSaysSomething) {
    const auto at = [](const char* id, const char* rect) {
        return std::string("<node id='") + id + "'><position>" + rect + "</position></node>";
    };
    const auto in = [](const std::string& nodes) {
        return "<submodel id='s'><position>0 0 9 9</position>" + nodes + "</submodel>";
    };
    const struct {
        std::string genie;
        bool laidOut;
        coord_kt a, b;
    } cases[] = {
        {at("a", "0 0 10 10") + at("b", "100 50 110 60"), false, {40, 40}, {140, 90}},
        {at("a", "-38 -18 38 18") + at("b", "-38 -18 38 18"), true, {}, {}},
        {at("a", "5 5 9 9") + at("b", "5 5 9 9"), true, {}, {}},
        {at("a", "5 5 9 9"), true, {}, {}},
        {at("a", "0 0 10 10") + in(at("b", "0 0 10 10")), true, {}, {}},
        {at("a", "0 0 10 10") + in(at("b", "7 0 17 10")), false, {40, 40}, {40, 150}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.genie);
        const Imported got =
            ImportText(InNodes("<decision id='a'/><decision id='b'/>", c.genie), FormatXDSL);
        EXPECT_EQ(got.net->vnets[0]->laidOut, c.laidOut);
        if (c.laidOut) continue;
        EXPECT_EQ(got.net->nodes[0]->vns[0]->position(), c.a);
        EXPECT_EQ(got.net->nodes[1]->vns[0]->position(), c.b)
            << got.net->nodes[1]->vns[0]->position().x << ' '
            << got.net->nodes[1]->vns[0]->position().y;
    }
}

TEST(Xdsl, LargeInputsTakeLinearTime) {
    const std::string a = "<cpt id='a'><state id='x'/><probabilities>1</probabilities></cpt>";
    std::string deep;
    for (int i = 0; i < 27; ++i)
        deep +=
            "<decision id='b" + std::to_string(i) + "'><state id='x'/><state id='y'/></decision>";
    const std::string gate = "<noisymax id='c'><state id='x'/><state id='y'/><parents>" +
                             Numbered(27, "b", " ") + "</parents><parameters>" +
                             Repeated("1 0 0 1 ", 27) + "0 1</parameters></noisymax>";
    ExpectLinear(
        {
            {"<smile><nodes>" + Repeated("<cpt>", 300'000), 1, 1001},
            {"<smile><nodes>" + Repeated("<x>", 300'000), -1, 1001},
            {InNodes(a, Repeated("<submodel id='s'>", 200'000)), 1, 1001},
            {InNodes(Repeated("<decision id='d'/>", 100'000)), 1, 1001},
            {InNodes(Numbered(100'000, "<decision id='d", "'><parents>e</parents></decision>")),
             100'000, 1001},
            {InNodes("<cpt id='w'>" + Numbered(500'000, "<state id='s", "'/>") + "</cpt>"), 1, 0},
            {InNodes(a + "<cpt id='b'>" + Repeated("<parents>a</parents>", 200'000) + "</cpt>"), 2,
             0},
            {InNodes(deep + gate), 28, 1},
            {"<!DOCTYPE smile [<!ENTITY e SYSTEM \"/etc/hostname\">]>" +
                 InNodes("<decision id='a'><property id='p'>&e;</property></decision>"),
             1, 0},
        },
        FormatXDSL);
}

}  // namespace
}  // namespace lumo::test
