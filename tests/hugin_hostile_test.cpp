// Hugin files that are cut, changed or made to be expensive. Each ends in linear time: a search
// that starts again and again would keep the suite running for hours.
#include "import/messages.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

std::string Repeat(int times, const std::function<std::string(int)>& piece) {
    std::string out;
    for (int i = 0; i < times; ++i) out += piece(i);
    return out;
}

std::string Repeat(int times, const std::string& piece) {
    return Repeat(times, [&](int) { return piece; });
}

class HuginSample : public testing::TestWithParam<const char*> {
protected:
    std::string text() const { return ReadFile(Samples() + "/hugin/" + GetParam() + ".net"); }
};

TEST_P(HuginSample, EveryPrefix) { ImportEveryPrefix(text(), FormatHugin); }
TEST_P(HuginSample, EveryByteChanged) { ImportEveryByteChanged(text(), FormatHugin); }

INSTANTIATE_TEST_SUITE_P(All, HuginSample,
                         testing::Values("asia", "umbrella", "press_groups", "pump_class",
                                         "damaged"),
                         [](const auto& sample) { return std::string(sample.param); });

struct Case {
    std::string what, text;
    int nodes;   ///< -1: no net
    int report;  ///< one that must be among those shown
};

std::vector<Case> Cases() {
    constexpr int million = 1'000'000;
    constexpr int many = 100'000;
    const auto numbered = [](const char* format) {
        return [format](int i) {
            std::string out(format);
            return out.replace(out.find('#'), 1, std::to_string(i));
        };
    };
    const std::string net = "net { }\n";
    const std::string names = Repeat(20'000, numbered("g#\t"));
    return {
        {"unknown words", net + Repeat(million, numbered("w# ")), 0, -3040},
        {"unknown words in an object", "net { " + Repeat(million, numbered("w# ")), -1, -3036},
        {"round brackets in a table",
         net + "node A { } potential (A) { data = " + Repeat(million, "("), 1,
         msg::import.badTable.number},
        {"round brackets in a field", "net { x = " + Repeat(million, "("), 0, -3038},
        {"braces", net + Repeat(million, "{"), 0, -3041},
        {"braces in a node", net + "node A " + Repeat(million, "{"), 1, -3035},
        {"an endless string", net + "node A { label = \"" + Repeat(million, "endless "), 1,
         msg::text.unterminatedString.number},
        {"an endless string in a list", net + "node A { states = (\"" + Repeat(million, "x\n"), 1,
         msg::text.unterminatedString.number},
        {"lists that run on", net + "node A {\n" + Repeat(many, "states = (\"a\n"), 1,
         msg::text.unterminatedString.number},
        {"quotes behind backslashes",
         net + "node A {\nx = \"\n" + Repeat(million, "\\\"\n") + "\" x", 1,
         msg::text.unterminatedString.number},
        {"unknown objects without end", net + Repeat(many, "foo { \"\n"), -1, -3040},
        {"unknown objects with nodes in them", net + Repeat(many, numbered("foo { node A# { }\n")),
         many, -3040},
        {"nodes without end", net + Repeat(many, numbered("node A# { states = (\"a\" \"b\");\n")),
         1000, msg::reports.tooManyErrors.number},
        {"nodes without body", net + Repeat(many, numbered("node A#\n")), 1, -3034},
        {"states beyond the limit",
         net + "node A { states = (" + Repeat(million + 1, "s ") + "); }", 1,
         msg::text.badList.number},
        {"one parent for ever",
         net + "node A { } node B { } potential (A |" + Repeat(many, " B") +
             ") { data = (1 1 1 1); }",
         2, msg::model.parentAgain.number},
        {"a table beyond the limit",
         net + Repeat(40, numbered("node A# { }\n")) + "potential (A0 |" +
             Repeat(39, [](int i) { return " A" + std::to_string(i + 1); }) + ") { data = (1 2); }",
         40, msg::import.tableTooLarge.number},
        {"group names beyond the limit",
         "net { HR_Groups_GroupNames = \"" + names + "\"; } node A { }", 1,
         msg::model.tooManyGroups.number},
        {"groups of one name",
         "net { " + Repeat(10'000, numbered("HR_Group_#_Name = \"g\";\n")) +
             "} node A { HR_Grp = \"9999\"; }",
         1, 0},
        {"positions at the ends of an int",
         net + "node A { position = (2147483647 -2147483648); position = (-2147483648 2147483647); "
               "} node B { position = (-2147483648 2147483647); }",
         2, 0},
        {"brackets never closed", net + "node A { " + Repeat(many, "HR_x = (a \"; b \" "), 1,
         -3038},
        {"quotes that may close", net + "node A { HR_x = (" + Repeat(million, "a\" )"), 1, -3037},
        {"classes",
         "class A { node N { } } " + Repeat(many, numbered("class C# { instance I : D () { } } ")),
         1, -5123},
        {"names with brackets", net + Repeat(many, numbered("node f(#)( { }\n")), 1000, -3034},
    };
}

TEST(HuginHostile, EndsInTime) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.what);
        const Imported got = ImportText(c.text, FormatHugin);
        EXPECT_EQ(got.net == nullptr ? -1 : got.net->nodes.N, c.nodes);
        EXPECT_TRUE(c.report == 0 || got.seen.count(c.report) > 0)
            << got.seen.text().substr(0, 999);
        ExpectConsistent(got.net.get());
    }
}

}  // namespace
}  // namespace lumo::test
