// The kinds of reports: each is provoked by its own example, and the documentation's tables, which
// are made of them. Run with LUMO_UPDATE=1 after a change, the tables are written anew.
#include "formats/catalogue.h"

#include <cstring>
#include <map>
#include <regex>

#include "formats/detect.h"
#include "formats/shared/messages.h"
#include "formats/shared/result.h"
#include "library/reports/message.h"
#include "library/reports/plural.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo {
void PrintTo(const MessageRow* row, std::ostream* out) { *out << row->number << ' ' << row->text; }
}  // namespace lumo

namespace lumo::test {
namespace {

const std::string docs = Docs() + "/";

std::string Numbers(const std::vector<const MessageRow*>& rows) {
    std::vector<int> numbers;
    for (const MessageRow* row : rows)
        if (std::ranges::find(numbers, row->number) == numbers.end())
            numbers.push_back(row->number);
    std::string text;
    for (const int number : numbers) text += (text.empty() ? "" : ", ") + std::to_string(number);
    return text;
}

/// The text as a cell of a table.
std::string Cell(std::string text) {
    for (std::size_t at = 0; (at = text.find('|', at)) != std::string::npos; at += 2)
        text.insert(at, "\\");
    return text;
}

/// An example as code, when it can stand in a cell.
std::string ExampleCell(const MessageRow& row) {
    const Example& example = row.example;
    const std::string_view text = example.text == nullptr ? "" : example.text;
    if (text.empty() || text.find_first_of("\n`\xFF") != text.npos || text.size() > 90) return "";
    return ". Example: `" + std::string(text) + "`";
}

std::string TableOf(const FormatInfo* format) {
    std::string table = "| number | kind | message | cause and cure |\n|---|---|---|---|\n";
    for (const auto& rows : GroupedReports(format)) {
        const MessageRow& row = *rows[0];
        const char* const kind =
            row.kind == MessageKind::question ? "question" : SeverityName(SeverityOf(row.kind));
        table += "| " + Numbers(rows) + " | " + kind + " | " + Cell(MessagesOf(rows)) + " | " +
                 Cell(row.cure + ExampleCell(row)) + " |\n";
    }
    return table;
}

void ExpectTable(const std::string& page, const FormatInfo* format) {
    ExpectPart(docs + page, "<!-- reports -->\n", "<!-- end of reports -->\n", TableOf(format));
}

TEST(Messages, AreWhatTheDocumentationSays) {
    for (const FormatInfo& format : Formats())
        ExpectTable(format.name + std::string(".md"), &format);
    ExpectTable("limits.md", nullptr);
}

TEST(Messages, HaveOneKindAndCureANumber) {
    std::map<int, const MessageRow*> first;
    for (const MessageRow& row : ReportCatalogue()) {
        EXPECT_LT(row.number, 0) << row.text;
        const MessageRow& other = *first.emplace(row.number, &row).first->second;
        EXPECT_EQ(SeverityOf(other.kind), SeverityOf(row.kind)) << row.number;
        EXPECT_STREQ(other.cure, row.cure) << row.number;
    }
    EXPECT_TRUE(FindReport(0).empty());
}

TEST(Messages, SayWhatToDo) {
    const std::regex action(
        "(^|[.;:,] |, or | and |then |otherwise "
        ")(write|correct|delete|get|put|give|name|choose|close|move|"
        "rename|split|quote|check|compare|remove|add|save|use|end|say|scale|discretise|unroll|have|"
        "please report|change|make|order|unpack|nothing needs|convert|start|`--)",
        std::regex::icase);
    for (const MessageRow& row : ReportCatalogue())
        EXPECT_TRUE(std::regex_search(row.cure, action)) << row.number << ' ' << row.cure;
}

TEST(Messages, WordsGoWithTheirNumbers) {
    const auto text = [](int missing, int rows) {
        const ReportScope scope;
        return std::string(NewReport(msg::model.rowsMissing, missing, rows, "A")->message);
    };
    EXPECT_EQ(text(1, 1), "1 of the 1 row of node 'A' is missing, and is all zeros");
    EXPECT_EQ(text(1, 2), "1 of the 2 rows of node 'A' is missing, and is all zeros");
    EXPECT_EQ(text(2, 2), "2 of the 2 rows of node 'A' are missing, and are zeros");
}

TEST(Messages, TakeTheArgumentsOfTheirTexts) {
    static_assert(TakesArguments<>("100%% of it"));
    static_assert(TakesArguments<const char*, int, long long, double>("%s %d %lld %g"));
    static_assert(TakesArguments<int, const char*, int>("%.*s %c"));
    static_assert(!TakesArguments<int>("%s") && !TakesArguments<>("%d") &&
                  !TakesArguments<int>(""));
    static_assert(!TakesArguments<int>("%lld") && !TakesArguments<const char*>("%.*s"));
}

/// Whether the message can come of the row: what stands between its conversions, and between the
/// words that go with its numbers, follows in it.
bool Fits(const MessageRow& row, std::string_view message) {
    std::string format = row.text;
    for (std::size_t at = 0; (at = format.find('[', at)) != format.npos; ++at)
        if (const auto words = NumberedWordsAt(std::string_view(format).substr(at));
            words.length > 0)
            format.replace(at, words.length, "%d");
    MessageRow plain = row;
    plain.text = format.c_str();
    for (std::string text = MessageOf(plain); !text.empty();) {
        const std::size_t dots = text.find("...");
        const std::string literal = text.substr(0, dots);
        const std::size_t at = message.find(literal);
        if (at == message.npos) return false;
        message.remove_prefix(at + literal.size());
        text.erase(0, dots == std::string::npos ? text.size() : dots + 3);
        if (text.starts_with(' ')) text.erase(0, 1);  // which what differs may bring along
    }
    return true;
}

class Examples : public ::testing::TestWithParam<const MessageRow*> {};

TEST_P(Examples, ProvokeTheirReport) {
    const MessageRow& row = *GetParam();
    const std::string_view key = row.example.format;
    const auto format = std::ranges::find_if(Formats(), [&](const FormatInfo& info) {
        return !key.empty() ? key == info.name : *row.users == '\0' || IsOf(row, info);
    });
    ASSERT_NE(format, Formats().end());
    ReadOptions options;
    options.lenient = row.example.reading == ReadingEN::leniently;
    const Imported got = ImportText(row.example.text, format->code, "test.net", false, options);
    const bool found = std::ranges::any_of(got.seen.reports, [&row](const Seen& seen) {
        return seen.number == row.number && seen.severity == SeverityOf(row.kind) &&
               Fits(row, seen.message) &&
               (row.example.line == 0 ||
                (seen.line == row.example.line && seen.column == row.example.column));
    });
    EXPECT_TRUE(found) << "wanted " << row.number << ' ' << row.example.line << ':'
                       << row.example.column << ' ' << row.text << "\nof " << row.example.text
                       << "\ngot\n"
                       << got.seen.text();
    ExpectConsistent(got.net.get());
}

std::vector<const MessageRow*> RowsWithExamples() {
    std::vector<const MessageRow*> rows;
    for (const MessageRow& row : ReportCatalogue())
        if (row.example.text != nullptr) rows.push_back(&row);
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Rows, Examples, ::testing::ValuesIn(RowsWithExamples()),
                         [](const auto& row) {
                             return "of" + std::to_string(-row.param->number) + "_" +
                                    std::to_string(row.index);
                         });

}  // namespace
}  // namespace lumo::test
