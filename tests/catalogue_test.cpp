// The catalogue of reports and the tables of the documentation, which are made of it: run with
// LUMO_UPDATE=1 after a change, they are written anew.
#include "library/reports/catalogue.h"

#include <set>

#include "export/result.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

const std::string docs = DOCS "/";
constexpr std::string_view begin = "<!-- reports -->\n";
constexpr std::string_view end = "<!-- end of reports -->\n";

std::string Numbers(const ReportInfo& info) {
    std::string text;
    for (const int number : info.numbers)
        if (number != 0) text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

/// The text as a cell of a table.
std::string Cell(std::string text) {
    for (std::size_t at = 0; (at = text.find('|', at)) != std::string::npos; at += 2)
        text.insert(at, "\\");
    return text;
}

const char* Kind(int severity) {
    return severity == SeverityOkay ? "question" : SeverityName(severity);
}

std::string TableOf(char format) {
    std::string table = "| number | kind | message | cause and cure |\n|---|---|---|---|\n";
    for (const ReportInfo& info : ReportCatalogue()) {
        if (std::strchr(info.formats, format) == nullptr) continue;
        table += "| " + Numbers(info) + " | " + Kind(info.severity) + " | " +
                 Cell(MessageOf(info)) + " | " + Cell(info.cure) + " |\n";
    }
    return table;
}

TEST(Catalogue, IsWhatTheDocumentationSays) {
    const struct {
        const char* page;
        char format;
    } pages[] = {{"hugin.md", 'h'}, {"dsc.md", 'd'},    {"dxpress.md", 'x'},
                 {"ergo.md", 'e'},  {"xmlbif.md", 'b'}, {"limits.md", '*'}};
    for (const auto& [page, format] : pages) {
        const std::string text = ReadFile(docs + page);
        const std::size_t first = text.find(begin);
        const std::size_t last = text.find(end);
        ASSERT_TRUE(first != std::string::npos && last != std::string::npos) << page;
        ExpectFile(docs + page,
                   text.substr(0, first + begin.size()) + TableOf(format) + text.substr(last));
    }
}

TEST(Catalogue, HasEachNumberOnce) {
    std::set<int> seen;
    for (const ReportInfo& info : ReportCatalogue()) {
        for (const int number : info.numbers)
            EXPECT_TRUE(number == 0 || seen.insert(number).second) << number;
    }
    EXPECT_EQ(FindReport(0), nullptr);
    EXPECT_EQ(FindReport(-1), nullptr);
}

TEST(Catalogue, TellsItsReportsFromOthers) {
    EXPECT_EQ(CatalogueFault(-4014, SeverityWarning, "missing '}' at end"), "");
    EXPECT_EQ(CatalogueFault(-5046, SeverityError, "expected a pair, but found 'x'"), "");
    EXPECT_NE(CatalogueFault(-4014, SeverityError, "missing '}' at end"), "");
    EXPECT_NE(CatalogueFault(-4014, SeverityWarning, "missing '}' at the end"), "");
    EXPECT_NE(CatalogueFault(-5046, SeverityError, "expected a pair"), "");
    EXPECT_NE(CatalogueFault(-1, SeverityError, ""), "");
}

}  // namespace
}  // namespace lumo::test
