// The JSON of nets built through the model: the details of numbers and text.
#include "export/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "export/writers.h"
#include "library/utilities/text.h"
#include "tests/picture_support.h"

namespace lumo {
namespace {

using test::NewResult;

std::string Json(const ImportResult& result) {
    std::ostringstream out;
    WriteJson(result, out);
    return out.str();
}

char** Strings(std::initializer_list<const char*> texts) {
    char** array = new char*[texts.size()];
    int count = 0;
    for (const char* text : texts) array[count++] = DupStr_kt(text);
    return array;
}

float* Table(std::initializer_list<float> values) {
    XArray<float> table = NewXArray<float>(std::ssize(values));
    std::copy(values.begin(), values.end(), table.get());
    return table.release();
}

ReportRecord Report(int severity, int line) {
    ReportRecord report;
    report.number = -3037;
    report.severity = severity;
    report.message = "unknown or ignored field";
    report.line = line;
    report.column = 5;
    return report;
}

Bnode_bn& NewNode(Bnet_bn& net, const char* name, std::initializer_list<const char*> states) {
    const int count = static_cast<int>(states.size());
    Bnode_bn* node = NewNode_ibn(name, count, net, {40, 50});
    node->setStates(count, Strings(states));
    return *node;
}

std::string NodeJson(const ImportResult& result, const char* from) {
    const std::string text = Json(result);
    const std::size_t start = text.find(from);
    return text.substr(start, text.find('\n', start) - start);
}

TEST(Json, NoisyMaxHasParametersAndATableUnlessCondensed) {
    const double params[] = {0.2, 0.8, 0.9, 0.1};
    for (const bool condense : {false, true}) {
        ImportResult result = NewResult();
        Bnode_bn& cause = NewNode(*result.net, "cause", {"no", "yes"});
        Bnode_bn& effect = NewNode(*result.net, "effect", {"no", "yes"});
        AddLink_ibn(cause, effect);
        ASSERT_FALSE(IsError(effect.makeIntoNoisyMax(params, condense)));
        const std::string relation = NodeJson(result, "\"noisy-max\"");
        EXPECT_NE(relation.find("\"parameters\":[0.2,0.8,0.9,0.1]"), std::string::npos) << relation;
        EXPECT_EQ(relation.find("\"table\":null") != std::string::npos, condense) << relation;
    }
}

TEST(Json, LevelsAreValuesOrBounds) {
    ImportResult result = NewResult();
    Bnode_bn& values = *NewNode_ibn("values", 2, *result.net, {});
    values.setStates(2, nullptr, new double[2]{0.5, 3});
    EXPECT_NE(Json(result).find(
                  R"("states":[{"name":null,"title":null,"comment":null,"value":0.5},)"
                  R"({"name":null,"title":null,"comment":null,"value":3.0}],"levels":null)"),
              std::string::npos);
    Bnode_bn& bounds = *NewNode_ibn("bounds", 2, *result.net, {});
    bounds.setDiscrete(ContinuousVar);
    bounds.setStates(2, nullptr, new double[3]{0, 1.25, 4e30});
    EXPECT_NE(Json(result).find(R"("value":null}],"levels":[0.0,1.25,4e30])"), std::string::npos);
}

TEST(Json, FloatsReadBackToTheSameFloat) {
    ImportResult result = NewResult();
    Bnode_bn& gain = NewNode(*result.net, "gain", {"a"});
    gain.setKind(UtilityNode);
    using Limits = std::numeric_limits<float>;
    for (const float value : {1.0F / 3, 0.1F, 16777216.0F, 1e-10F, 1.1e-15F, 9e-16F, 9.9e14F, 2e15F,
                              Limits::min(), Limits::denorm_min(), -Limits::max()}) {
        gain.relation.setRealTable(Table({value}));
        const std::string relation = NodeJson(result, "\"real\"");
        const std::string digits = relation.substr(relation.find('[') + 1);
        EXPECT_EQ(std::strtof(digits.c_str(), nullptr), value) << relation;
        const bool isSmall = std::fabs(value) < 1e-15F, isLarge = std::fabs(value) >= 1e15F;
        EXPECT_LE(digits.find(']'), 18U) << relation;
        EXPECT_EQ(digits.find('e') < digits.find(']'), isSmall || isLarge) << relation;
        EXPECT_EQ(relation.find('+'), std::string::npos) << relation;
    }
}

TEST(Json, StatusIsTheWorstReport) {
    ImportResult result = NewResult();
    EXPECT_EQ(result.status(), StatusEN::ok);
    result.reports.push_back(Report(SeverityError, 1));
    EXPECT_EQ(result.status(), StatusEN::failed);  // an error, and no node
    result.reports.clear();
    NewNode(*result.net, "a", {"x"});
    const std::pair<int, StatusEN> cases[] = {{SeverityNotice, StatusEN::ok},
                                              {SeverityWarning, StatusEN::warnings},
                                              {SeverityError, StatusEN::errors}};
    for (const auto& [severity, status] : cases) {
        result.reports.push_back(Report(severity, 1));
        EXPECT_EQ(result.status(), status);
    }
    result.net.reset();
    result.format.clear();
    result.formatCode = 0;
    EXPECT_TRUE(Json(result).starts_with(
        R"({"schema":"lumo-import/1","file":"net.net","format":null,"formatCode":null,)"
        R"("status":"failed",)"
        "\n\"net\":null,\n"));
}

TEST(Json, GroupsWithLongNamesHaveTheirOwnColors) {
    ImportResult result = NewResult();
    Bnode_bn& node = NewNode(*result.net, "a", {"x"});
    const std::string common(40, 'g');
    vect_kt<NodesetStyle> styles;
    for (const char* tail : {"1", "2"}) {
        AddNodeToNodeset_ibn(node, (common + tail).c_str());
        NodesetStyle style;
        style.setName((common + tail).c_str());
        style.blue = *tail == '1' ? 1 : 2;
        styles.append(style);
    }
    result.net->vnets[0]->setNodesetStyles(styles, nullptr);
    EXPECT_NE(Json(result).find(common + R"(1","color":"#ffff01"},{"name":")" + common +
                                R"(2","color":"#ffff02")"),
              std::string::npos);
}

TEST(Text, BytesThatAreNotUtf8AreWindows1252) {
    const std::pair<const char*, const char*> cases[] = {
        {"plain", "plain"},
        {"Jo\xE3o", "João"},
        {"João", "João"},
        {"\x80 \x93q\x94 \xFF", "€ “q” ÿ"},
        {"\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
        {"\xC0\xAF", "À¯"},                   // overlong
        {"\xED\xA0\x80", "í\xC2\xA0€"},       // half a surrogate pair
        {"\xF4\x90\x80\x80", "ô\xC2\x90€€"},  // beyond the last character
        {"cut \xE2\x82", "cut â‚"},
    };
    for (const auto& [bytes, utf8] : cases) EXPECT_EQ(ToUtf8(bytes), utf8);
}

TEST(Text, NoTextHidesOnATerminal) {
    ReportRecord report;
    report.message = "é\xC2\x9B[31m\u202E\u200B\uFEFF\u2028✓";
    EXPECT_NE(ReportToJson(report).find(R"("é\u009b[31m\u202e\u200b\ufeff\u2028✓")"),
              std::string::npos);
    EXPECT_EQ(Visible(report.message), R"(é\x9b[31m\u202e\u200b\ufeff\u2028✓)");
}

TEST(Text, JsonEscapesControlCharacters) {
    ReportRecord report;
    report.message = "a\"b\\c\n\t\x01\x7F\xE9";
    EXPECT_NE(ReportToJson(report).find(R"("message":"a\"b\\c\n\t\u0001\u007fé")"),
              std::string::npos);
    EXPECT_EQ(Visible("a\x1b[31m\n\x7F\xC2\x9B z\xE9"), "a\\x1b[31m\\x0a\\x7f\\x9b zé");
}

TEST(Writers, AreFoundByNameAndByExtension) {
    ASSERT_NE(FindWriter("json"), nullptr);
    EXPECT_EQ(FindWriterForFile("a.b/x.JSON"), FindWriter("json"));
    EXPECT_EQ(FindWriter("net"), FindWriter("hugin"));
    EXPECT_EQ(FindWriterForFile("json"), nullptr);
    EXPECT_EQ(FindWriter("JPEG"), nullptr);
}

}  // namespace
}  // namespace lumo
