// XML BIF: what its texts in tests/cases cannot show, and texts made to hurt.
#include "formats/xmlbif/xmlbif.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

TEST(XmlBif, StateNamesAreMadeWhenThePreferenceSaysSo) {
    Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = true;
    const Imported got = ImportText(
        "<BIF VERSION='0.3'><NETWORK><VARIABLE TYPE='nature'><NAME>v</NAME><OUTCOME>so so</OUTCOME>"
        "<OUTCOME>good</OUTCOME></VARIABLE></NETWORK></BIF>",
        FormatXMLBIF);
    Read_XMLBif_creates_state_names_if_titles_not_legal_IDnames_pref = false;
    EXPECT_NE(NodeText(*got.net->nodes[0]).find("so_so='so so' good='good'"), std::string::npos);
}

TEST(XmlBif, WithoutPositionsNodesAreLaidOut) {
    const Imported got = ImportText(ReadFile(Samples() + "/xmlbif/no_positions.xml"), FormatXMLBIF);
    EXPECT_TRUE(got.net->vnets[0]->laidOut);
    for (const Bnode_bn* node : got.net->nodes)
        for (const Bnode_bn* parent : node->parents)
            EXPECT_LT(parent->vns[0]->position().y, node->vns[0]->position().y) << node->name();
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
        const OwnedNet net(NewVBNet(DupStr_kt("net")));
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
