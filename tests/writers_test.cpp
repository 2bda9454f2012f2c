// The texts of small nets in each format, as files of tests/written hold them: what readers other
// than ours see.
#include "export/writers.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "formats/shared/placing.h"
#include "tests/places.h"
#include "tests/roundtrip.h"

namespace lumo::test {
namespace {

struct Written {
    std::string text;
    std::vector<std::string> notes;
};

Written Of(const ImportResult& result, const char* name) {
    const Writer& writer = *FindWriter(name);
    const bool loses = writer.losses != nullptr;
    return {Write(result, name), loses ? LossNotes(writer.losses(*result.net), writer.title)
                                       : std::vector<std::string>()};
}

Written WriteAs(const char* name, const std::string& text, int code = FormatHugin,
                LayoutEN layout = LayoutEN::best) {
    ImportResult result;
    result.net = ImportText(text, code, "lawn.net").net;
    if (layout == LayoutEN::automatic) LayOut(*result.net);
    return Of(result, name);
}

TEST(Writers, TheirSpellingAndLosses) {
    const std::string folder = Samples() + "/../tests/written/";
    ImportResult result = ReadBack(ReadFile(folder + "lawn.net"), FormatHugin, "lawn.net");
    result.file = "lawn.net";
    result.format = "hugin";
    result.formatCode = FormatHugin;
    for (const char* name : {"xmlbif", "hugin", "dsc", "bif", "xdsl", "uai", "json", "dot"}) {
        Written written = Of(result, name);
        for (const std::string& note : written.notes) written.text += "-- " + note + '\n';
        ExpectFile(folder + "lawn." + name, written.text);
    }
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
        EXPECT_NE(asked.text.find("position"), std::string::npos) << asked.text;
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
)");
    EXPECT_EQ(written.notes.at(0), "names of 1 node are not kept by BIF");
    EXPECT_NE(
        std::ranges::find(
            written.notes,
            "parents (without states, or of nodes without a table) of 1 node are not kept by BIF"),
        written.notes.end());
}

// Rows that other formats keep as they are, Hugin's readers scale.
TEST(Writers, HuginRowsThatAreTakenForCounts) {
    const auto remarks = [](const char* rows) {
        return WriteAs("hugin",
                       std::string("network n { } variable a { type discrete [ 2 ] { x, y }; }\n"
                                   "variable b { type discrete [ 2 ] { x, y }; }\n"
                                   "probability ( a ) { table 0.5, 0.5; }\n"
                                   "probability ( b | a ) { ") +
                           rows + " }",
                       FormatBIF)
            .notes;
    };
    const std::string remark =
        "rows of 1 node do not sum to 1, so that readers of Hugin files take them for counts";
    EXPECT_EQ(std::ranges::count(remarks("(x) 0.5, 0.4; (y) 1, 0;"), remark), 1);
    EXPECT_EQ(std::ranges::count(remarks("(x) 0.5, 0.499; (y) 1, 0;"), remark), 0);
    // The same of rows that a Hugin file had so, but not of its counts.
    const auto again = [](const char* data) {
        return WriteAs("hugin",
                       std::string("net { } node a { states = (\"x\" \"y\"); }\n"
                                   "potential (a) { data = (") +
                           data + "); }",
                       FormatHugin)
            .notes;
    };
    EXPECT_EQ(again("0.5 0.4"), std::vector<std::string>({remark}));
    EXPECT_EQ(again("0.6 0.6"), std::vector<std::string>({remark}));
    for (const char* row : {"5 4", "1 0", "0.5 0.499", "1 1"})
        EXPECT_EQ(again(row), std::vector<std::string>()) << row;
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
    const std::string made = "missing state names (which become s0, s1 and so on) of 1 node are ";
    EXPECT_EQ(hugin.notes, std::vector<std::string>({"state titles of 1 node are not kept by Hugin",
                                                     made + "not kept by Hugin",
                                                     "tables of 1 node are not kept by Hugin"}));
    const Written dsc = WriteAs("dsc", "belief network x node a { type: discrete[2]; }", FormatDsc);
    EXPECT_EQ(dsc.notes, std::vector<std::string>({made + "not kept by DSC"}));
}

}  // namespace
}  // namespace lumo::test
