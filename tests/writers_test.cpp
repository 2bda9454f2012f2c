// The text of a small net in each format: what readers other than ours see.
#include "export/writers.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>
#include <sstream>

#include "export/placing.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

/// A decision network with a title to escape, in Hugin's format.
constexpr const char* net =
    R"(net { HR_Desc = "50 % \"dry\"\nseason"; HR_Groups_GroupNames = "Sky"; }
node Rain { label = "Rain < 5 & \"no\" \\ hail"; position = (0 100); states = ("<5" "5+"); HR_Grp = "0"; }
decision Tap { position = (80 100); states = ("off" "on"); }
node Lawn { label = "Lawn"; position = (0 0); states = ("dry" "damp" "wet"); cost = "3"; }
utility Joy { position = (80 0); }
potential (Rain) { data = (0.3 0.7); }
potential (Lawn | Rain Tap) { data = (((2 1 1) (0.1 0.2 0.7)) ((1 0 0) (1e-7 0 1))); }
potential (Joy | Lawn) { data = (-1 2.5 0); }
)";

struct Written {
    std::string text;
    std::vector<std::string> notes;
};

Written WriteAs(const char* name, const std::string& text = net, int code = FormatHugin,
                LayoutEN layout = LayoutEN::best) {
    ImportResult result;
    result.net = ImportText(text, code, "lawn.net").net;
    if (layout == LayoutEN::automatic) LayOut(*result.net);
    const Writer& writer = *FindWriter(name);
    std::ostringstream out;
    writer.write(result, out);
    return {out.str(), LossNotes(writer.losses(*result.net), writer.title)};
}

TEST(Writers, TheirSpelling) {
    const std::pair<const char*, const char*> cases[] = {
        {"xmlbif", R"(<?xml version="1.0" encoding="UTF-8"?>
<BIF VERSION="0.3">
<NETWORK>
<NAME>lawn</NAME>
<VARIABLE TYPE="nature">
<NAME>Rain</NAME>
<OUTCOME>&lt;5</OUTCOME>
<OUTCOME>5+</OUTCOME>
<PROPERTY>position = (0, 0)</PROPERTY>
</VARIABLE>
)"},
        {"xmlbif", R"(<DEFINITION>
<FOR>Lawn</FOR>
<GIVEN>Rain</GIVEN>
<GIVEN>Tap</GIVEN>
<TABLE>
0.5 0.25 0.25
0.1 0.2 0.7
1 0 0
0.0000001 0 0.9999999
</TABLE>
</DEFINITION>
)"},
        {"hugin", R"(net
{
  HR_Desc = "50 % \"dry\"\nseason";
  HR_Groups_UserGroupsNo = "1";
  HR_Groups_GroupNames = "Sky\t";
}

node Rain
{
  label = "Rain < 5 & \"no\" \\ hail";
  position = (0 100);
  states = ("<5" "5+");
  HR_Grp = "0";
}
)"},
        {"hugin", R"(
potential (Lawn | Rain Tap)
{
  data = (((2 1 1)
           (0.1 0.2 0.7))
          ((1 0 0)
           (0.0000001 0 0.9999999)));
}

potential (Joy | Lawn)
{
  data = (-1 2.5 0);
}
)"},
        {"dsc", R"(belief network "lawn"
node Rain {
  name : "Rain < 5 & \"no\" \\ hail";
  type : discrete [ 2 ] = { "<5", "5+" };
  position : (0, 0);
  label : "Sky";
}
node Tap {
  type : discrete [ 2 ] = { "off", "on" };
  position : (100, 0);
}
)"},
        {"dsc", R"(probability ( Rain ) {
  0.3, 0.7;
}
probability ( Lawn | Rain, Tap ) {
  (0, 0) : 0.5, 0.25, 0.25;
)"},
        {"bif", R"(network lawn {
}
variable Rain {
  type discrete [ 2 ] { N_5, N5_ };
}
)"},
        {"bif", R"(probability ( Rain ) {
  table 0.3, 0.7;
}
probability ( Lawn | Rain, Tap ) {
  (N_5, off) 0.5, 0.25, 0.25;
)"}};
    for (const auto& [format, part] : cases) {
        const std::string text = WriteAs(format).text;
        EXPECT_NE(text.find(part), std::string::npos) << text << "\nwithout\n" << part;
    }
    EXPECT_NE(
        WriteAs("hugin", "net { } node A { co\xF6l = \"x\"; }").text.find("co\xC3\xB6l = \"x\";"),
        std::string::npos);
}

TEST(Writers, LossesAreCounted) {
    EXPECT_EQ(WriteAs("hugin").notes, std::vector<std::string>());
    EXPECT_EQ(
        WriteAs("bif").notes,
        std::vector<std::string>(
            {"1 node without states is not kept by BIF", "titles of 1 node are not kept by BIF",
             "kinds (decision, utility) of 1 node are not kept by BIF",
             "state titles of 1 node are not kept by BIF",
             "positions of 3 nodes are not kept by BIF", "groups of 1 node are not kept by BIF",
             "user fields of 1 node are not kept by BIF",
             "experience tables of 1 node are not kept by BIF", "1 group is not kept by BIF",
             "the comment of the net is not kept by BIF"}));
}

constexpr const char* netFormats[] = {"xmlbif", "hugin", "dsc", "bif"};

/// Rows of decimals that sum to 1, which readers round and normalise in single precision.
TEST(Writers, DecimalsStayAsPeopleWroteThem) {
    std::vector<std::vector<int>> rows = {
        {5900, 4067, 33}, {9999, 1}, {10000, 0}, {3333, 3334, 3333}};
    std::mt19937 random(5);
    for (int i = 0; i < 500; ++i) {
        std::vector<int>& row = rows.emplace_back(2 + random() % 9);
        int left = i % 2 == 0 ? 10'000 : 1'000'000;
        for (int& number : row)
            left -= number = static_cast<int>(random() % static_cast<unsigned>(left + 1));
        row.back() += left;
    }
    const auto digitsOf = [](const std::vector<int>& row, const char* separator) {
        const int sum = std::accumulate(row.begin(), row.end(), 0);
        std::string text;
        for (const int number : row) {
            std::string digits =
                Format("%d.%0*d", number / sum, sum == 10'000 ? 4 : 6, number % sum);
            digits.erase(digits.find_last_not_of('0') + 1);
            if (digits.back() == '.') digits.pop_back();
            text += (text.empty() ? "" : separator) + digits;
        }
        return text;
    };
    std::string dsc = "belief network x";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        dsc += Format(" node n%zu { type: discrete[%zu]; } probability(n%zu) { ", i, rows[i].size(),
                      i);
        dsc += digitsOf(rows[i], ", ") + "; }";
    }
    for (const char* format : netFormats) {
        const std::string text = WriteAs(format, dsc, FormatDsc).text;
        const char* separator = *format == 'x' || *format == 'h' ? " " : ", ";
        std::size_t at = 0;
        for (const std::vector<int>& row : rows) {
            at = text.find(digitsOf(row, separator), at);
            ASSERT_NE(at, std::string::npos) << format << ' ' << digitsOf(row, separator);
        }
    }
}

TEST(Writers, PositionsOnlyWhereThereAreSome) {
    const std::string unplaced =
        "belief network x node a { type: discrete[2]; } node b { type: discrete[2]; }"
        "probability(a | b) { }";
    const std::string xml = WriteAs("xmlbif", unplaced, FormatDsc).text;
    for (const char* format : netFormats) {
        EXPECT_EQ(WriteAs(format, unplaced, FormatDsc).text.find("position"), std::string::npos);
        const Written laidOutByTheReader = WriteAs(format, xml, FormatXMLBIF);
        EXPECT_EQ(laidOutByTheReader.text.find("position"), std::string::npos);
        for (const std::string& note : laidOutByTheReader.notes)
            EXPECT_EQ(note.find("position"), std::string::npos) << note;
        const Written asked = WriteAs(format, unplaced, FormatDsc, LayoutEN::automatic);
        EXPECT_EQ(asked.text.find("position") == std::string::npos, *format == 'b') << asked.text;
    }
}

TEST(Writers, BifKeepsDigitsAndItsOwnWords) {
    const Written written = WriteAs("bif", R"(net { } node table { states = ("0" "1" "1"); }
node table1 { states = ("default" "Default"); } potential (table1 | table) { })");
    EXPECT_EQ(written.text, R"(network lawn {
}
variable table_1 {
  type discrete [ 3 ] { 0, 1, 1_1 };
}
variable table1 {
  type discrete [ 2 ] { default_1, Default };
}
probability ( table1 | table_1 ) {
}
)");
    EXPECT_EQ(written.notes.at(0), "names of 1 node are not kept by BIF");
}

TEST(Writers, NothingIsWithoutAText) {
    constexpr const char* blank =
        "<BIF VERSION=\"0.3\"><NETWORK><NAME></NAME><VARIABLE TYPE=\"decision\">"
        "<NAME>D</NAME><OUTCOME></OUTCOME><OUTCOME>b</OUTCOME></VARIABLE>"
        "<DEFINITION><FOR>D</FOR><TABLE>0 0</TABLE></DEFINITION></NETWORK></BIF>";
    const std::pair<const char*, const char*> texts[] = {
        {"xmlbif", "<NETWORK>\n<NAME>lawn</NAME>"},
        {"xmlbif", "<OUTCOME>s0</OUTCOME>"},
        {"dsc", "belief network \"lawn\"\n"},
        {"hugin", "states = (\"s0\" \"b\");\n}\n"}};
    for (const auto& [format, text] : texts)
        EXPECT_NE(WriteAs(format, blank, FormatXMLBIF).text.find(text), std::string::npos) << text;
    const Written hugin = WriteAs("hugin", blank, FormatXMLBIF);
    EXPECT_TRUE(hugin.text.ends_with("}\n")) << hugin.text;
    EXPECT_EQ(hugin.text.find("data"), std::string::npos);
    EXPECT_EQ(hugin.notes, std::vector<std::string>({"state titles of 1 node are not kept by Hugin",
                                                     "tables of 1 node are not kept by Hugin"}));
}

}  // namespace
}  // namespace lumo::test
