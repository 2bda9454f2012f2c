// JSON read back: a net that was written is the net that comes of it; damage has its place.
#include <gtest/gtest.h>

#include "export/compare.h"
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/random_net.h"
#include "tests/roundtrip.h"

namespace lumo::test {
namespace {

/// The net alone: the file's own name is not the net's.
std::string NetText(const ImportResult& result) {
    Json net = Json::parse(Write(result, "json"))["net"];
    net.erase("fileName");
    return net.dump(1);
}

/// The first two lines that differ.
std::string FirstDifference(const std::string& a, const std::string& b) {
    std::istringstream before(a), after(b);
    for (std::string was, is; std::getline(before, was);) {
        if (!std::getline(after, is) || was != is) return was + "  became  " + is;
    }
    return a.size() == b.size() ? "" : "more lines";
}

/// The net that is written and read again is the same, byte for byte and as a net.
void ExpectSame(const ImportResult& first) {
    Vnet_kt& drawing = *first.net->vnets[0];  // as a reader leaves it
    drawing.adjustDrawingSizeToFit(FitMargin(drawing));
    for (const bool lenient : {false, true}) {
        const std::string text = Write(first, "json");
        ImportResult read;
        Imported got = lenient ? ImportLeniently(text, FormatJSON, "test.json")
                               : ImportText(text, FormatJSON, "test.json");
        read.net = std::move(got.net);
        EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
        ASSERT_NE(read.net, nullptr);
        EXPECT_EQ(FirstDifference(NetText(first), NetText(read)), "");
        const Comparison found = CompareNets(*first.net, *read.net, {.tolerance = 0});
        EXPECT_TRUE(found.isSame());
        EXPECT_EQ(FaultOf(*read.net), "");
    }
}

class JsonOfRandomNets : public testing::TestWithParam<unsigned> {};

TEST_P(JsonOfRandomNets, IsReadBack) {
    for (unsigned seed = GetParam(); seed < GetParam() + 50 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ImportResult made;
        Collector silent;
        const HandlerScope scope(silent);
        made.net = RandomNet(seed).make();
        ExpectSame(made);
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, JsonOfRandomNets, testing::Range(1U, 401U, 50U),
                         testing::PrintToStringParamName());

TEST(JsonRead, EverySampleIsReadBack) {
    for (const std::filesystem::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const std::string text = ReadFile(file.string());
        const FormatInfo* const format = DetectFormat(text, file.string());
        if (format == nullptr) continue;
        const ImportResult first = ReadBack(text, format->code, "test");
        if (first.net != nullptr) ExpectSame(first);
    }
}

/// Each key left out, or of another kind, costs no more than itself, and nothing is read past the
/// end of a text that is cut anywhere.
TEST(JsonRead, DamageCostsWhatIsDamaged) {
    const std::string text = ReadFile(Samples() + "/json/asia.json");
    for (std::size_t end = 0; end < text.size(); end += 7) {
        Imported cut = ImportText(text.substr(0, end), FormatJSON);
        EXPECT_GT(cut.seen.errors(), 0) << end;
        if (cut.net != nullptr) {
            EXPECT_EQ(FaultOf(*cut.net), "");
        }
    }
    for (std::size_t at = text.find(':'); at != text.npos; at = text.find(':', at + 1)) {
        for (const char* value : {"null,\"x\":", "{},\"x\":", "[[[]]],\"x\":", "-1e999,\"x\":",
                                  "\"\\ud800\",\"x\":", "tru"}) {
            std::string damaged = text;
            damaged.insert(at + 1, value);
            Imported got = ImportText(damaged, FormatJSON);
            if (got.net != nullptr) {
                EXPECT_EQ(FaultOf(*got.net), "");
            }
        }
    }
}

TEST(JsonRead, SaysWhereAndWhat) {
    const std::string start = "{\"schema\":\"lumo-import/1\",\n\"net\":{\"nodes\":[\n";
    const std::string a = "{\"name\":\"a\",\"states\":[{\"name\":\"x\"},{\"name\":\"y\"}]";
    const std::pair<std::string, std::string> cases[] = {
        {start + a + ",}]}}", "3:50 expecting a key, but encountered '}'"},
        {start + a + "}\n{}]}}", "4:1 expecting ',' or ']', but encountered '{'"},
        {start + a, "3:49 expecting ',' or '}', but encountered the end of the file"},
        {start + "{\"name\":\"a\n\"}]}}", "3:9 the text is not closed on its line"},
        {start + a + ",\"position\":[1]}]}}", "3:50 the value of 'position' should be two numbers"},
        {start + "{\"name\":\"\\uD83D\\uDE00\\q\"}]}}",
         "3:23 expecting an escape, but encountered 'q'"},
        {start + a + ",\"relation\":{\"kind\":\"table\",\"table\":[1]}}]}}",
         "3:85 the table of node 'a' should be 2 numbers, but 1 is there"},
        {"{\"schema\":\"lumo-import-summary/1\",\"net\":{}}",
         "1:11 this is JSON of the schema 'lumo-import-summary/1', not of lumo-import/1"},
        {"[]", "1:1 the value of 'the document' should be an object"},
        {"", "1:1 expecting a value, but encountered the end of the file"},
    };
    for (const auto& [text, first] : cases) {
        const Imported got = ImportText(text, FormatJSON);
        std::string said;
        for (const Seen& seen : got.seen.reports) {
            if (seen.severity <= SeverityWarning) continue;
            said = Format("%d:%d %s", seen.line, seen.column, seen.message.c_str());
            break;
        }
        EXPECT_EQ(said, first) << text;
    }
}

TEST(JsonRead, KeysMayComeInAnyOrder) {
    const Imported got = ImportText(
        R"({"net":{"groups":[{"color":"#010203","name":"g"},{"name":"empty"}],"nodes":[
            {"relation":{"table":[1,0,0.25,0.75],"kind":"table"},"parents":["b"],
             "states":[{"title":"Yes","name":"yes"},{"name":"no"}],"groups":["g"],"name":"a"},
            {"states":[{"name":"1 - 2"},{"name":"3"}],"name":"b"}]},"schema":"lumo-import/1"})",
        FormatJSON);
    ASSERT_NE(got.net, nullptr);
    EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
    const Bnode_bn& a = *got.net->nodes[0];
    ASSERT_EQ(a.parents.N, 1);
    EXPECT_EQ(TableText(a.relation.probs, 4), "1 0 0.25 0.75");
    EXPECT_STREQ(got.net->nodes[1]->variable.stateTitles[0], "1 - 2");
    EXPECT_EQ(got.net->nodesets().size(), 2U);
    EXPECT_TRUE(got.net->vnets[0]->laidOut);
}

}  // namespace
}  // namespace lumo::test
