// XML BIF texts made to hurt: damage at every byte, and sizes that only linear work survives.
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

class XmlBifSample : public testing::TestWithParam<const char*> {
protected:
    const std::string text = ReadFile(Samples() + "/xmlbif/" + std::string(GetParam()) + ".xml");
};

TEST_P(XmlBifSample, EveryPrefix) { ImportEveryPrefix(text, FormatXMLBIF); }
TEST_P(XmlBifSample, EveryByteChanged) { ImportEveryByteChanged(text, FormatXMLBIF); }

INSTANTIATE_TEST_SUITE_P(Files, XmlBifSample, testing::Values("intervals", "markup", "torn"));

std::string Times(int count, const std::string& text) {
    std::string out;
    for (int i = 0; i < count; ++i) out += text;
    return out;
}

std::string Numbered(int count, const std::string& before, const std::string& after) {
    std::string out;
    for (int i = 0; i < count; ++i) out += before + std::to_string(i) + after;
    return out;
}

// The suite's time limit stands guard: quadratic work on these takes hours.
TEST(XmlBifHostile, LargeInputsTakeLinearTime) {
    const std::string head = "<BIF VERSION=\"0.3\"><NETWORK>";
    const std::string tail = "</NETWORK></BIF>";
    const std::string variable =
        "<VARIABLE TYPE='nature'><NAME>v</NAME><OUTCOME>y</OUTCOME></VARIABLE>";
    const struct {
        std::string text;
        int nodes, errors;  // nodes -1: no net
    } cases[] = {
        {Times(1'000'000, "<"), -1, 1},
        {head + Times(1'000'000, "<"), -1, 1},
        {head + Times(1'000'000, "<a>"), -1, 1001},
        {head + Numbered(100'000, "<a", ">") + Numbered(100'000, "</b", ">"), -1, 1001},
        {head + Times(300'000, "<a/>") + variable + tail, 1, 0},
        {"<!DOCTYPE BIF [" + Times(500'000, "<!--") + Times(500'000, "<!x '"), -1, 1},
        {head + variable + Times(300'000, "<!--x"), 1, 1},
        {head + variable + Times(300'000, "<![CDATA["), 1, 1},
        {head + variable + "<VARIABLE" + Numbered(100'000, " a", "='1'") + "></VARIABLE>" + tail, 2,
         0},
        {head + variable + "<VARIABLE a='" + Times(300'000, "<x y='>"), 1, 1},
        {head + Times(100'000, variable) + tail, 100'000, 0},
        {head + "<VARIABLE><NAME>v</NAME>" + Numbered(1'000'000, "<OUTCOME>", "</OUTCOME>") +
             "</VARIABLE>" + tail,
         1, 0},
        {head + "<VARIABLE><NAME>v</NAME>" + Times(1'000'001, "<OUTCOME/>") + "</VARIABLE>" + tail,
         1, 1},
        {head + variable + Times(50'000, "<DEFINITION><FOR>v</FOR><GIVEN>v</GIVEN></DEFINITION>") +
             tail,
         1, 1},
    };
    int i = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE("case " + std::to_string(i++));
        const Imported got = ImportText(c.text, FormatXMLBIF);
        EXPECT_EQ(got.net ? got.net->nodes.N : -1, c.nodes);
        EXPECT_EQ(got.seen.errors(), c.errors);
        ExpectConsistent(got.net.get());
        ExpectConsistent(ImportLeniently(c.text, FormatXMLBIF).net.get());
    }
}

TEST(XmlBifHostile, DeclaredEntitiesAreNeverExpanded) {
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
