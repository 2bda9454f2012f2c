// XML BIF 0.3: what texts become, and every report with its place.
#include "import/xmlbif.h"
#include "import/readers.h"
#include "library/model/messages.h"
#include "library/reports/messages.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Import(const std::string& text) { return ImportText(text, FormatXMLBIF, "test.xml"); }

Imported ImportSample(const std::string& name) {
    return ImportText(ReadFile(Samples() + "/xmlbif/" + name), FormatXMLBIF, name.c_str());
}

/// The content of a network as a file; the content starts on line 2.
std::string InNetwork(const std::string& content) {
    return "<BIF VERSION=\"0.3\"><NETWORK>\n" + content + "</NETWORK></BIF>";
}

std::string Variable(const std::string& name, const std::string& rest = "") {
    return "<VARIABLE TYPE=\"nature\"><NAME>" + name +
           "</NAME><OUTCOME>y</OUTCOME><OUTCOME>n</OUTCOME>" + rest + "</VARIABLE>\n";
}

/// Numbers and places of the reports, and each node as "name|parents|states|table"; a summary of
/// repeated words is left out.
std::string Outline(const Imported& got) {
    std::string out;
    for (const Seen& r : got.seen.reports)
        if (r.number != msg::reports.unknownSummary.number)
            out += Format("%d %d:%d ", r.number, r.line, r.column);
    if (got.net == nullptr) return out + "no net";
    for (const Bnode_bn* node : got.net->nodes) {
        out += std::string(node->name()) + '|';
        for (const Bnode_bn* parent : node->parents) out += parent->name();
        out += Format("|%d|", node->numStates());
        const Reln_bn& relation = node->relation;
        if (relation.probs != nullptr) out += TableText(relation.probs, NumProduct(node->family));
        out += ' ';
    }
    return out;
}

/// The state lines of a variable with these outcomes, behind the report about them.
std::string States(const std::vector<std::string>& outcomes) {
    std::string content = "<VARIABLE TYPE=\"nature\"><NAME>v</NAME>";
    for (const std::string& outcome : outcomes) content += "<OUTCOME>" + outcome + "</OUTCOME>";
    const Imported got = Import(InNetwork(content + "</VARIABLE>"));
    std::string reports;
    for (const Seen& r : got.seen.reports) reports += r.message + ": ";
    const std::string text = NodeText(*got.net->nodes[0]);
    const std::size_t from = text.find("states");
    return reports + (got.net->nodes[0]->variable.discrete ? "" : "continuous ") +
           text.substr(from, text.rfind("\n  none") - from);
}

TEST(XmlBif, OutcomesDecideTheKindOfVariable) {
    const struct {
        std::vector<std::string> outcomes;
        const char* states;
    } cases[] = {
        {{}, "states"},
        {{"true", "false"}, "states true false"},
        {{"1", "2", "5"}, "states - - -\n  levels 1 2 5"},
        {{"'1'", "\"-2.5\""}, "states - -\n  levels 1 -2.5"},
        {{"1", "high"}, "states -='1' -='high'"},
        {{"1 Changed", "2 Changed"}, "states -='1 Changed' -='2 Changed'"},
        {{"[0,10)", "[10,20)", "[20, 30]"}, "continuous states - - -\n  levels 0 10 20 30"},
        {{"(0 to 10)", "(10 to 20)"}, "continuous states - -\n  levels 0 10 20"},
        {{"(0 - 10)"}, "continuous states -\n  levels 0 10"},
        {{"'[-5, 0)'", "[0 , .5]"}, "continuous states - -\n  levels -5 0 0.5"},
        {{"[0,10)", "10"},
         "outcome '10' is no interval as '[0,10)' is, so all are taken for labels: "
         "states -='[0,10)' -='10'"},
        {{"(-inf-5.5]", "(5.5-inf)"}, "states -='(-inf-5.5]' -='(5.5-inf)'"},
        {{"[0,5)", "[10,20)"},
         "outcomes '[0,5)' and '[10,20)' do not meet; 10 is taken for the bound between them: "
         "continuous states - -\n  levels 0 10 20"},
        {{"0", "[5,9]"},
         "outcomes '0' and '[5,9]' do not meet; 5 is taken for the bound between them: "
         "continuous states - -\n  levels 0 5 9"},
        {{"[10..20)"},
         "the bounds of outcome '[10..20)' do not increase: 10, 0.2: "
         "continuous states -\n  levels 10 0.2"},
        {{"(0,10)", "(10--20)"},
         "the bounds of outcome '(10--20)' do not increase: 10, -20: "
         "continuous states - -\n  levels 0 10 -20"},
    };
    for (const auto& c : cases) EXPECT_EQ(States(c.outcomes), c.states);
}

TEST(XmlBif, StateNamesAreMadeWhenThePreferenceSaysSo) {
    Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = true;
    EXPECT_EQ(States({"so so", "good"}), "states so_so='so so' good='good'");
    Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = false;
}

TEST(XmlBif, PositionsInEveryForm) {
    const struct {
        const char *property, *place;
    } cases[] = {
        {"position = (100, 60)", "190,130"},
        {"position:(100,60)", "190,130"},
        {"position (100, 60)", "190,130"},
        {"\n position\t=\n100 60 px ", "190,130"},
        {"position=(99.5,59.6)", "190,130"},
        {"<!-- p -->position=(100,60)", "190,130"},
        {"<![CDATA[ position = (100, 60) ]]>", "190,130"},
        {"&#13;\nposition&#9;=&#32;(100 60)&#13;", "190,130"},
        {"<?pi?> position = (1, 2)", "40,40"},
        {"Position = (1, 2)", "40,40"},
        {"pos = (1, 2)", "40,40"},
        {"position=(2147483647,60)", "2147483647,130"},
    };
    for (const auto& c : cases) {
        const Imported got = Import(
            InNetwork(Variable("a", "<PROPERTY>position = (0,0)</PROPERTY>") +
                      Variable("b", std::string("<PROPERTY>") + c.property + "</PROPERTY>")));
        EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
        const std::string text = NodeText(*got.net->nodes[1]);
        EXPECT_NE(text.find(std::string("nature b at ") + c.place + "\n"), std::string::npos)
            << c.property << '\n'
            << text;
    }
}

TEST(XmlBif, WithoutPositionsNodesAreLaidOut) {
    const Imported got = ImportSample("no_positions.xml");
    EXPECT_TRUE(got.net->vnets[0]->laidOut);
    for (const Bnode_bn* node : got.net->nodes)
        for (const Bnode_bn* parent : node->parents)
            EXPECT_LT(parent->vns[0]->position.y, node->vns[0]->position.y) << node->name();
}

const std::string ab = Variable("a") + Variable("b");
const std::string table = "<TABLE>1 0 .5 .5</TABLE>";
const std::string given = ab + "<DEFINITION><FOR>b</FOR><GIVEN>a</GIVEN>";

TEST(XmlBif, FirstErrorEndsStrictReading) {
    const std::string head = "<BIF VERSION='0.3'><NETWORK>";
    const struct {
        std::string text;
        const char* outline;
    } cases[] = {
        {"", "-5267 1:1 "},
        {"<?xml version=\"1.0\"?>\n<!-- <BIF> -->\n", "-5267 3:1 "},
        {"<?xml version=\"1.0\"", "-5051 1:1 no net"},
        {std::string(100, '\0'), "-5003 0:0 -5267 1:1 "},
        {"<bif version=\"0.3\">", "-3490 1:1 no net"},
        {head + ab + "</BIF>", "-3487 3:1 a||2| b||2| "},
        {head + ab, "-4108 3:1 a||2| b||2| "},
        {head + ab + "</NETWORK></BIF><BIF>", "-3491 3:11 a||2| b||2| "},
        {InNetwork("<PROPERTY>it's</PROPERTY>" + ab + "<PROPERTY/>"), "-3488 2:1 a||2| b||2| "},
        {InNetwork("<X>\n" + ab + "<X>1</X><Y><Y></Y></Y>"),
         "-3488 2:1 -5261 2:1 -3488 5:9 a||2| b||2| "},
        {InNetwork(ab + "<DEFINITION><FOR></FOR>"), "-3474 4:18 a||2| b||2| "},
        {InNetwork(given + "<SEEN>1</SEEN></DEFINITION>"), "-3476 4:41 a||2| b|a|2| "},
        {InNetwork(given + "<TABLE>1 0 .5x 0</TABLE></DEFINITION>"), "-5040 4:52 a||2| b||2| "},
        {InNetwork(given + "<TABLE>1</TABLE><TABLE>2</TABLE></DEFINITION>"),
         "-3478 4:57 a||2| b|a|2| "},
        {InNetwork(given + "<GIVEN>b</GIVEN></DEFINITION>"), "-5082 4:1 a||2| b|a|2| "},
        {InNetwork(given + "</DEFINITION>" + "<DEFINITION><FOR>b</FOR><GIVEN>a</GIVEN>" + table +
                   "</DEFINITION>"),
         "a||2| b|a|2|1 0 0.5 0.5 "},
        {InNetwork(given + table + "</DEFINITION><DEFINITION><FOR>b</FOR></DEFINITION>"),
         "-5266 4:78 a||2| b||2| "},
    };
    for (const auto& c : cases) EXPECT_EQ(Outline(Import(c.text)), c.outline) << c.text;
}

TEST(XmlBif, LenientReadingCostsWhatIsDamaged) {
    const std::string tabled = given + table + "</DEFINITION>";
    const struct {
        std::string text;
        const char* outline;
    } cases[] = {
        {"", "-5267 1:1 no net"},
        {"junk" + InNetwork(ab), "-5260 1:1 a||2| b||2| "},
        {"<BIF><HEADER/><NETWORK><VAR/></NETWORK></BIF>",
         "-5268 1:1 -3488 1:6 -3488 1:24 -3490 1:1 no net"},
        {"<BIF x='' VERSION='0.3'><NETWORK NAME='n' y=''>" + ab + "</NETWORK></BIF>",
         "-5268 1:1 -5271 1:25 -5276 1:25 a||2| b||2| "},
        // A value of a structure.
        {InNetwork("<VARIABLE><NAME>a</NAM><OUTCOME>x<OUTCOME>y</OUTCOME><PROPERTY>position=1"
                   "</PROPERTY><OUTCOME>z</VARIABLE>" +
                   Variable("b")),
         "-5052 2:18 -5261 2:24 -5046 2:74 -5261 2:85 a||3| b||2| "},
        {InNetwork("<VARIABLE><NAME>a</NAME><OUTCOME><9</OUTCOME><OUTCOME>a<b</OUTCOME>"
                   "<OUTCOME>x<i>y</i>z</OUTCOME></VARIABLE>"),
         "-5277 2:34 -5277 2:56 -5263 2:78 a||3| "},
        {InNetwork(given + "<TABLE>1 0 .5x 0</TABLE></DEFINITION>"), "-5040 4:52 a||2| b|a|2| "},
        // The structure itself.
        {InNetwork("<VARIABLE x><NAME>c</NAME>" + tabled),
         "-5051 2:12 -5261 2:1 "
         "c||0| a||2| b|a|2|1 0 0.5 0.5 "},
        {InNetwork("<DEFINITION><FOR>z</FOR></DEFINITION>" + tabled),
         "-3474 2:18 a||2| b|a|2|1 0 0.5 0.5 "},
        {InNetwork("<DEFINITION></DEFINITION>x</X>" + tabled),
         "-3477 2:1 -5260 2:26 -5262 2:27 a||2| b|a|2|1 0 0.5 0.5 "},
        // Other places and names.
        {InNetwork("<DEFINITION><FOR>b</FOR><GIVEN>a</GIVEN></DEFINITION>" + tabled),
         "-5266 2:1 a||2| b|a|2|1 0 0.5 0.5 "},
        {InNetwork("<VARIABLE NAME='c' TYPE='Utility' x=''><OUTCOMES>v</OUTCOMES></VARIABLE>"),
         "-5271 2:1 -5275 2:1 -3482 2:1 -5269 2:40 c||1| "},
        {"<BIF><NETWORK>" + ab +
             "<VARIABLE><NAME>c</NAME><TYPE>discrete</TYPE><VALUE>v</VALUE>"
             "</VARIABLE><PROBABILITY><FOR>b</FOR><GIVEN>a</GIVEN><TABLE>1 .5 0 .5</TABLE>"
             "</PROBABILITY></NETWORK></BIF>",
         "-5268 1:1 -5269 3:25 -5269 3:46 -5269 3:73 -5270 3:114 a||2| b|a|2|1 0 0.5 0.5 c||1| "},
        {InNetwork(given + "<TABLE>1 .5 .1 .5</TABLE></DEFINITION>"),
         "-5091 4:41 a||2| b|a|2|1 0.5 0.1 0.5 "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Outline(ImportLeniently(c.text, FormatXMLBIF)), c.outline) << c.text;
}

TEST(XmlBif, ElementReadersThatReadTheirOwnStartTag) {
    const struct {
        void (*read)(Parser_CString_kt&, Bnet_bn&, const strin_kt*, const strin_kt*);
        const char *text, *report;
        int nodes;
    } cases[] = {
        {ReadVariable, "\n </VARIABLE>", "-3479 2:2", 0},
        {ReadVariable, "\n <NAME>", "-3480 2:2", 0},
        {ReadVariable, "<VARIABLE></VARIABLE>", "", 1},
        {ReadNode, "\n </DEFINITION>", "-3470 2:2", 0},
        {ReadNode, "\n <VARIABLE>", "-3471 2:2", 0},
        {ReadNode, "\n <DEFINITION></DEFINITION>", "-3477 2:2", 0},
    };
    const std::unique_ptr<short[]> properties(MakeXMLCharProps());
    ParserOptions_kt options{properties.get(), '/', '/', 1, 1, true, true};
    for (const auto& c : cases) {
        const ReportScope scope;
        const OwnedNet net(NewVBNet(DupStr_kt("net"), false));
        Parser_CString_kt in(&options, InChannel_CString_kt(c.text, "test.xml"));
        std::string thrown;
        try {
            c.read(in, *net, nullptr, nullptr);
        } catch (rept_kt* report) {
            thrown = Format("%d %d:%d", report->number, report->line, report->column);
            report->shown = true;
        }
        EXPECT_EQ(thrown, c.report) << c.text;
        EXPECT_EQ(net->nodes.N, c.nodes);
        EXPECT_EQ(in.structKind, nullptr);
    }
}

TEST(XmlBif, LargeInputsTakeLinearTime) {
    const std::string head = "<BIF VERSION=\"0.3\"><NETWORK>";
    const std::string tail = "</NETWORK></BIF>";
    const std::string variable =
        "<VARIABLE TYPE='nature'><NAME>v</NAME><OUTCOME>y</OUTCOME></VARIABLE>";
    ExpectLinear(
        {
            {Repeated("<", 1'000'000), -1, 1},
            {head + Repeated("<", 1'000'000), -1, 1},
            {head + Repeated("<a>", 1'000'000), -1, 1001},
            {head + Numbered(100'000, "<a", ">") + Numbered(100'000, "</b", ">"), -1, 1001},
            {head + Repeated("<a/>", 300'000) + variable + tail, 1, 0},
            {"<!DOCTYPE BIF [" + Repeated("<!--", 500'000) + Repeated("<!x '", 500'000), -1, 1},
            {head + variable + Repeated("<!--x", 300'000), 1, 1},
            {head + variable + Repeated("<![CDATA[", 300'000), 1, 1},
            {head + variable + "<VARIABLE" + Numbered(100'000, " a", "='1'") + "></VARIABLE>" +
                 tail,
             2, 0},
            {head + variable + "<VARIABLE a='" + Repeated("<x y='>", 300'000), 1, 1},
            {head + Repeated(variable, 100'000) + tail, 100'000, 0},
            {head + "<VARIABLE><NAME>v</NAME>" + Numbered(1'000'000, "<OUTCOME>", "</OUTCOME>") +
                 "</VARIABLE>" + tail,
             1, 0},
            {head + "<VARIABLE><NAME>v</NAME>" + Repeated("<OUTCOME/>", 1'000'001) + "</VARIABLE>" +
                 tail,
             1, 1},
            {head + variable +
                 Repeated("<DEFINITION><FOR>v</FOR><GIVEN>v</GIVEN></DEFINITION>", 50'000) + tail,
             1, 1},
        },
        FormatXMLBIF);
}

TEST(XmlBif, DeclaredEntitiesAreNeverExpanded) {
    std::string text = "<!DOCTYPE BIF [<!ENTITY e0 \"bomb\">";
    for (int i = 1; i < 40; ++i) {
        const std::string inner = "&e" + std::to_string(i - 1) + ";";
        text += "<!ENTITY e" + std::to_string(i) + " \"" + inner + inner + "\">";
    }
    text += "]><BIF VERSION=\"0.3\"><NETWORK><NAME>&e39;</NAME>";
    const Imported got = ImportText(text, FormatXMLBIF);
    EXPECT_LT(got.seen.text().size(), 500U);
    if (got.net && got.net->title) {
        EXPECT_LT(std::string(got.net->title).size(), 10U);
    }
}

}  // namespace
}  // namespace lumo::test
