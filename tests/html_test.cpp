// The HTML report without a browser: its frame, the data it holds, and what is left out.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "export/json.h"
#include "export/report.h"
#include "library/utilities/text.h"
#include "tests/picture_support.h"

namespace lumo {
namespace {

using nlohmann::json;
using test::AddNode;
using test::NewResult;

std::string Html(const ImportResult& result) {
    std::ostringstream out;
    WriteReport(result, out);
    return out.str();
}

json Data(const ImportResult& result) {
    std::ostringstream out;
    JsonOut data(&out);
    WriteReportData(result, data);
    data.flush();
    json parsed = json::parse(out.str());
    if (!CarriesNet(result)) return parsed;
    // As the page puts the two together.
    std::ostringstream document;
    WriteJson(result, document);
    const json nodes = json::parse(document.str())["net"]["nodes"];
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        json relation = nodes[i]["relation"];
        if (parsed["nodes"][i].contains("relation"))
            relation.update(parsed["nodes"][i]["relation"]);
        parsed["nodes"][i]["relation"] = relation;
    }
    return parsed;
}

int Count(const std::string& text, const std::string& part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(Html, NothingOfTheFileBecomesMarkup) {
    const std::string page = Html(test::HostileResult());
    const std::string bare = Html(NewResult());
    for (const char* tag :
         {"<script", "</script", "<style", "</style", "<title", "</title", "<img", "<svg", "<!--"})
        EXPECT_EQ(Count(page, tag), Count(bare, tag)) << tag;
    const std::size_t from = page.find("id=\"data\">") + 10;
    const std::string data = page.substr(from, page.find("</script>", from) - from);
    EXPECT_EQ(data.find('<'), std::string::npos);
    EXPECT_EQ(ToUtf8(page), page);
    const json parsed = json::parse(data);
    for (std::size_t i = 0; i < test::HostileTexts().size(); ++i) {
        const std::string text = ToUtf8(test::HostileTexts()[i]);
        EXPECT_EQ(parsed["nodes"][i]["title"], text);
        EXPECT_EQ(parsed["nodes"][i]["fields"][0][1], text);
        EXPECT_EQ(parsed["reports"][i]["message"], text);
        EXPECT_EQ(parsed["reports"][i]["node"], i);
    }
}

TEST(Html, ThePageIsOneFileThatMayLoadNothing) {
    std::string page = Html(NewResult());
    const std::string svg = "'http://www.w3.org/2000/svg'";  // a name, not an address
    page.erase(page.find(svg), svg.size());
    EXPECT_NE(page.find("content=\"default-src 'none'; script-src 'sha256-"), std::string::npos);
    for (const char* loading : {"src=", "href=", "url(", "@import", "http:", "https:", "innerHTML",
                                "document.write", "eval("})
        EXPECT_EQ(page.find(loading), std::string::npos) << loading;
    EXPECT_EQ(page.find("{{"), std::string::npos) << "a part of the page was not filled in";
}

TEST(Html, HoldsTheNodeAsAPersonNamesIt) {
    ImportResult result = NewResult();
    Bnode_bn& cause = AddNode(*result.net, "cause", {0, 0});
    Bnode_bn& effect = AddNode(*result.net, "effect", {0, 200});
    AddLink_ibn(cause, effect);
    cause.setStateTitle(1, DupStr_kt("often"));
    cause.setStateComment(1, DupStr_kt("a remark"));
    const double params[] = {0.25, 0.75, 0.5, 0.5};
    ASSERT_FALSE(IsError(effect.makeIntoNoisyMax(params, false)));
    AddNodeToNodeset_ibn(effect, "set");
    const json data = Data(result);
    const json& first = data["nodes"][0];
    const json& second = data["nodes"][1];
    EXPECT_EQ(first["states"], json::parse(R"(["#0",["often",null,"a remark"]])"));
    EXPECT_EQ(second["states"], 2);
    EXPECT_EQ(second["parents"], json::parse("[0]"));
    EXPECT_EQ(second["groups"], json::parse("[0]"));
    EXPECT_EQ(second["relation"]["kind"], "noisy-max");
    EXPECT_EQ(second["relation"]["parameters"], json::parse("[0.25,0.75,0.5,0.5]"));
    EXPECT_EQ(second["relation"]["table"].size(), 4U);
    EXPECT_EQ(data["groups"], json::parse(R"([{"name":"set","color":"#ffffcc"}])"));
    EXPECT_EQ(data["picture"]["links"].size(), 7U);
}

TEST(Html, ReportsAreTiedToTheirNodeAndLine) {
    ImportResult result = NewResult();
    AddNode(*result.net, "flow", {});
    AddNode(*result.net, "valve", {});
    struct Case {
        const char *structKind, *structName, *message;
        json node;
    };
    const Case cases[] = {
        {"node", "valve", "missing quote", 1},
        {"potential", "flow", "too few numbers", 0},
        {"net", "flow", "illegal number", nullptr},
        {"", "", "the data of node 'valve' should be 6 numbers", 1},
        {"", "", "unknown node 'pressure'", nullptr},
        {"node", "gone", "the table of node 'flow' was dropped", 0},
    };
    for (const Case& c : cases) {
        ReportRecord report;
        report.structKind = c.structKind;
        report.structName = c.structName;
        report.message = c.message;
        report.line = 3;
        report.column = 5;
        report.sourceLine = "abcd\xE9\tx";
        report.sourceCaret = 4;
        result.reports.push_back(report);
    }
    const json reports = Data(result)["reports"];
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(reports[i].value("node", json()), cases[i].node) << cases[i].message;
        EXPECT_EQ(reports[i]["source"], json::parse(R"(["abcd","é x"])"));
    }
}

TEST(Html, TablesBeyondTheRoomOfThePageAreNamed) {
    ImportResult result = NewResult();
    constexpr int states = 1'500'000 / 2;
    for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
        Bnode_bn& node = AddNode(*result.net, name, {});
        node.setStates(states);
        XArray<float> table = NewXArray<float>(states);
        std::fill_n(table.get(), states, 0.0F);
        table.get()[0] = 1;
        node.setProbsTable(table.release(), true);
    }
    Bnode_bn& small = AddNode(*result.net, "small", {});
    XArray<float> table = NewXArray<float>(2);
    table.get()[0] = table.get()[1] = 0.5F;
    small.setProbsTable(table.release(), true);
    const json nodes = Data(result)["nodes"];
    EXPECT_EQ(nodes[4]["relation"]["table"].size(), static_cast<std::size_t>(states));
    EXPECT_FALSE(nodes[5]["relation"].contains("table"));
    EXPECT_EQ(nodes[5]["relation"]["leftOut"], states);
    EXPECT_EQ(nodes[6]["relation"]["table"].size(), 2U) << "a small table still has room";
    EXPECT_EQ(nodes[0]["states"], states);
}

TEST(Html, IsWrittenWhenNothingWasRead) {
    ImportResult result = NewResult();
    result.net.reset();
    const json data = Data(result);
    EXPECT_TRUE(data["net"].is_null());
    EXPECT_EQ(data["status"], "failed");
    result.file = "/home/somebody/net.net";
    EXPECT_EQ(Data(result)["file"], "net.net");
    EXPECT_NE(Html(result).find("<title>net.net</title>"), std::string::npos);
}

}  // namespace
}  // namespace lumo
