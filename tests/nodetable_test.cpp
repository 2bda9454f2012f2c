// The template readers: pairs, lists, data tables, probability vectors.
#include <climits>
#include <iterator>
#include <sstream>

#include "formats/dsc/belvec.h"
#include "formats/hugin/nodetable.h"
#include "tests/parser_support.h"

namespace lumo::test {
namespace {

// ---- Pairs and lists -----------------------------------------------------------------------

TEST(Pairs, AreReadInEveryForm) {
    const struct {
        const char* text;
        int x, y;
        const char* report;
    } cases[] = {
        {"(1 2)", 1, 2, ""},
        {" ( 290 , -335 ) ;", 290, -335, ""},
        {"7114.5, -0.5;", 7115, 0, ""},
        {"-2.5 2.49%c", -2, 2, ""},
        {"(2147483647 -2147483648)", INT_MAX, INT_MIN, ""},
        {"(1e10 2147483648)", INT_MAX, INT_MAX, ""},
        {"(1 2", 0, 0, "-5046 1:5 expected ')', but found the end of the input"},
        {"(1 x2)", 0, 0, "-5046 1:4 expected a pair of numbers, but found 'x2'"},
        {"(1,)", 0, 0, "-5046 1:3 expected a pair of numbers, but found ','"},
        {";", 0, 0, "-5046 1:1 expected a pair of numbers, but found ';'"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text);
        coord_kt at;
        EXPECT_EQ(r.thrown([&] { ReadCoord<Parser_kt>(r.in, at); }), c.report);
        EXPECT_EQ(at, (coord_kt{c.x, c.y}));
        Reading again(c.text);
        EXPECT_EQ(TryReadCoord(again.in, at), *c.report == 0);
    }
    Reading property("(7114.0,5080.4) </P>", Dialect::xml);  // neither is punctuation there
    coord_kt at;
    ReadCoord(property.in, at);
    EXPECT_EQ(at, (coord_kt{7114, 5080}));
    EXPECT_EQ(property.rest(), " </P>");
    Reading r("(100.0 40.25)");
    dcoord_kt size;
    ReadDCoord<Parser_kt>(r.in, size);
    EXPECT_EQ(size.y, 40.25);
}

TEST(Lists, OfStrings) {
    const struct {
        char open;
        const char* text;
        std::vector<std::string> entries;
        const char* report;
    } cases[] = {
        {'(', " (\"\" \"\" \"a b\")", {"", "", "a b"}, ""},
        {'(', "(0 1 )", {"0", "1"}, ""},
        {'(', "()", {}, ""},
        {'{', "{ \"a\", \"b\", }", {"a", "b", ""}, ""},
        {'{', "{ , a,, b }", {"", "a", "", "b"}, ""},
        {'(', "\"a\")", {}, "-5047 1:1 expected '(', but found '\"'"},
        {'(', "(\"a\" \n;", {}, "-5047 2:1 missing ')' at the end of the list, before ';'"},
        {'{', "{ a ) }", {}, "-5047 1:5 missing '}' at the end of the list, before ')'"},
        {'(',
         "(a",
         {},
         "-5047 1:3 missing ')' at the end of the list, before the end of the input"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text, Dialect::dsc);
        r.in.listOpenChar = c.open;
        int count = 0;
        char** strings = nullptr;
        EXPECT_EQ(
            r.thrown([&] { strings = ReadListStrings<Parser_kt, true, true, 1>(r.in, count); }),
            c.report);
        EXPECT_EQ(std::vector<std::string>(strings, strings + count), c.entries);
        FreeArrStrings_kt(strings, count);
    }
    Reading r("(" + Repeated("a ", MaxStates + 1) + ")");
    int count = 0;
    EXPECT_EQ(r.thrown([&] { ReadListStrings<Parser_kt, true, true, 1>(r.in, count); }),
              "-5047 1:2000002 the list has more than 1000000 entries");
}

TEST(Lists, OfNumbers) {
    const struct {
        const char* text;
        const char* report;
    } cases[] = {
        {"(1, 2 3)", ""},
        {"(1 2)", "-5048 1:5 3 numbers wanted, but 2 read"},
        {"(1 2 3 4)", "-5048 1:9 3 numbers wanted, but 4 read"},
        {"1 2 3", "-5047 1:1 expected '(', but found '1'"},
        {"(1 2.5 3)", "-5042 1:4 '2.5' is not an integer"},
        {"(1 2;", "-5042 1:5 expected an integer, but found ';'"},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::dsc);
        int values[3] = {};
        EXPECT_EQ(r.thrown([&] {
            ReadArray<Parser_kt, int, true, false, false, false>(r.in, values, 3);
        }),
                  c.report);
        if (*c.report == 0) {
            EXPECT_EQ(values[2], 3);
        }
    }
}

TEST(Lists, OfElementText) {
    const auto read = [](Reading& r, vect_kt<float>& out) {
        r.in.listOpenChar = '>';
        return r.thrown([&] { ReadList<Parser_CString_kt, float, false, false>(r.in, out); });
    };
    Reading r(" .5 <!-- 9 </T> --> 1.0E-4,\n2 " + Repeated("3 ", 1000) + "\t</T>", Dialect::xml);
    vect_kt<float> out;
    EXPECT_EQ(read(r, out), "");
    EXPECT_EQ(out.N, 1003);
    EXPECT_EQ(TableText(out.array, 4), "0.5 1e-04 2 3");
    EXPECT_EQ(r.rest(), "</T>");
    for (const auto& [text, report] :
         {std::pair{"1 .4. 5</T>", "-5040 1:3 '.4.' is not a number"},
          std::pair{"1 ,, 2</T>", "-5040 1:4 ',' is not a number"},
          std::pair{"1 1e39</T>", "-5041 1:3 number '1e39' is too large"},
          std::pair{"1 2", "-4108 1:4 unexpected end-of-input"}}) {
        Reading bad(text, Dialect::xml);
        EXPECT_EQ(read(bad, out), report);
    }
    Reading list("(1 2, 3) x");
    vect_kt<float> three;
    ReadList<Parser_CString_kt, float, false, false>(list.in, three);
    EXPECT_EQ(three.N, 3);
    EXPECT_EQ(list.rest(), " x");
}

// ---- Data tables ---------------------------------------------------------------------------

/// A node X with parents P0, P1 ... of the given sizes.
class Family {
public:
    Family(int states, std::vector<int> parents) {
        node = NewNode_ibn("X", states, *net_, {});
        for (std::size_t i = 0; i < parents.size(); ++i)
            AddLink_ibn(*NewNode_ibn(("P" + std::to_string(i)).c_str(), parents[i], *net_, {}),
                        *node);
    }
    Bnode_bn* node;

private:
    std::unique_ptr<Bnet_bn> net_{NewVBNet(DupStr_kt("n"))};
};

/// The table as text, or the report thrown.
std::string ReadTable(Reading& r, Family& family, bool asNested = false) {
    unsigned char* table = nullptr;
    const bool hasStates = family.node->numStates() > 0;
    const std::string thrown = r.thrown([&] {
        ParseNodeTable(r.in, &table, 10, hasStates, *family.node, nullptr, 0, false, 14, asNested);
    });
    const std::unique_ptr<unsigned char, XFree> owned(table);
    if (table == nullptr) return thrown;
    const int rows = NumProduct(family.node->parents);
    return TableText(reinterpret_cast<const float*>(table),
                     hasStates ? rows * family.node->numStates() : rows);
}

/// One case a line: the states of X and of its parents, what to read as their order, the text, the
/// numbers read, and the start of the report.
constexpr const char* Tables = R"(
2      | header | (0.25 0.75);                             | 0.25 0.75 |
2      | header | ((.25, %x~.75)) ;                        | 0.25 0.75 |
1      | header |  5;                                      | 5 |
0      | header | (-7);                                    | -7 |
0 2 3  | header | ((1 2 3)(4 5 6));                        | 1 2 3 4 5 6 |
2 2 3  | nested | (((1 2)(3 4)(5 6))((7 8)(9 0)(1 2)));    | 1 2 3 4 5 6 7 8 9 0 1 2 |
2 2 3  | nested | (1 2 3 4 5 6 7 8 9 0 1 2);               | 1 2 3 4 5 6 7 8 9 0 1 2 |
2 2 3  | header | ((1 2)(3 4)(5 6)(7 8)(9 0)(1 2));        | 1 2 3 4 5 6 7 8 9 0 1 2 |
2 1 2 1| header | ((((1 2))((3 4))))}                      | 1 2 3 4 |
2 2    | header | (1, 2), (3, 4)                           | 1 2 3 4 |
2 2 3  | header | (((1 2)(3 4))((5 6)(7 8))((9 0)(1 2)));  | 1 2 3 4 5 6 7 8 9 0 1 2 | -5050 1:13 a list at the level of 'P1' holds 2 lists, but 3 were expected; the numbers are taken in their written order
2 3    | nested | ((1 2 3)(4 5 6));                        | 1 2 3 4 5 6 | -5050 1:8 a list at the level of 'X' holds 3 numbers, but 2 were
2 2    | header | (1 (2) 3 4);                             | 1 2 3 4 | -5050 1:6 numbers stand beside lists; the
2      | header | (1 2));                                  | 1 2 | -5050 1:6 a ')' closes nothing; the
2      | header | (() 1 2);                                | 1 2 | -5050 1:3 a list at the level of 'X' holds 0 numbers, but 2
2      | header | ((1 2;                                   | 1 2 | -5050 1:1 2 '(' of the data list are not closed
2 2 3  | nested | (((1 2)(3 4))((5 6)(7 8))((9 0)(1 2)));  | 1 2 5 6 9 0 3 4 7 8 1 2 | -5050 1:13 the data list is nested by P1, P0, and read in that order
0 2 3  | nested | ((1 2)(3 4)(5 6));                       | 1 3 5 2 4 6 | -5050 1:6 the data list is nested by P1, P0,
0 3 4 2| nested | (((1 2 3)(4 5 6)(7 8 9)(0 1 2))((3 4 5)(6 7 8)(9 0 1)(2 3 4))); | 1 3 4 6 7 9 0 2 2 4 5 7 8 0 1 3 3 5 6 8 9 1 2 4 | -5050 1:9 the data list is nested by P2, P1, P0,
0 3 2 4| nested | (((1 2 3)(4 5 6)(7 8 9)(0 1 2))((3 4 5)(6 7 8)(9 0 1)(2 3 4))); | 1 4 7 0 3 6 9 2 2 5 8 1 4 7 0 3 3 6 9 2 5 8 1 4 | -5050 1:9 the data list is nested by P1, P2, P0,
0 2 3 2| nested | (((1 2 3)(4 5 6))((1 2 3)(4 5 6)));      | 1 2 3 4 5 6 1 2 3 4 5 6 | -5050 1:9 a list at the level of 'P2' holds 3 numbers
2 2    | header | ((1 2)(3));                              | | -5049 1:11 the data of node 'X' should be 4 numbers, but 3 were read
2      | header | (1 2 3 4 5);                             | | -5049 1:6 the data of node 'X' should be 2 numbers, but 5 were read
2      | header | normal(0, 1);                            | | -5040 1:1 'normal' is not a number
2      | header | (1 2x);                                  | | -5040 1:4 '2x' is not a number
2      | header | (1 = 2);                                 | | -5040 1:4 expected a number, but found '='
2      | header |                                          | | -5049 1:42 the data of node 'X' should be 2 numbers, but 0
1000 1000 1000 | header | (1);                             | | -5087 1:1 the table of node 'X' needs 1000000000 entries, the limit is
1000 1000 100  | header | (1 2);                           | | -5049 1:6 the data of node 'X' should be 100000000 numbers, but 2
)";

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? ""
                                      : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

TEST(NodeTables, AreReadAtAnyNesting) {
    std::istringstream lines(Tables);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        SCOPED_TRACE(line);
        std::ranges::replace(line, '~', '\n');
        std::istringstream in(line);
        std::string cells[5];
        for (std::string& cell : cells) std::getline(in, cell, '|');
        std::istringstream sizes(cells[0]);
        int states = 0;
        sizes >> states;
        Family family(states, {std::istream_iterator<int>(sizes), {}});
        Reading r(cells[2].substr(1));
        const std::string read = ReadTable(r, family, Trimmed(cells[1]) == "nested");
        const std::string report = Trimmed(cells[4]);
        const bool failed = Trimmed(cells[3]).empty();
        EXPECT_EQ(failed ? read.substr(0, report.size()) : read,
                  failed ? report : Trimmed(cells[3]));
        EXPECT_EQ(r.seen.text().substr(0, report.size()), report);
        EXPECT_EQ(r.seen.reports.size(), report.empty() ? 0U : 1U);
        EXPECT_TRUE(failed || r.in.isAtEnd() || r.in.peekPunc() == ';' || r.in.peekPunc() == '}');
    }
}

TEST(NodeTables, HostileNestingIsCheap) {
    constexpr int many = 1'000'000;
    Family family(2, {});
    Reading deep(Repeated("(", many) + "1 2" + Repeated(")", many) + ";");
    EXPECT_EQ(ReadTable(deep, family), "1 2");
    EXPECT_TRUE(deep.seen.reports.empty());
    Reading steps(Repeated("(1 ", many) + ";");
    EXPECT_EQ(ReadTable(steps, family),
              "-5049 1:8 the data of node 'X' should be 2 numbers, but 1000000 were read");
    Reading empty(Repeated("()", many) + "1 2;");
    EXPECT_EQ(ReadTable(empty, family), "1 2");
    Family wide(2, std::vector<int>(200, 2));
    Reading r("(1 2);");
    EXPECT_EQ(ReadTable(r, wide).substr(0, 5), "-5087");
}

// ---- Probability vectors -------------------------------------------------------------------

TEST(BelVecs, AreReadWithTheirProblems) {
    const int all = ~BelVecCommas;
    const struct {
        const char* text;
        const char* values;
        int problems;
        const char* rest;
    } cases[] = {
        {"0.2, 0.8;", "0.2 0.8", 0, ";"},
        {"0.2\n, 0.8\n;", "0.2 0.8", 0, ";"},
        {", 0.2 0.8}", "0.2 0.8", 0, "}"},
        {"(0.2 0.8);", "0.2 0.8", 0, ";"},
        {"0.2, 0.8);", "0.2 0.8", 0, ";"},
        {"(0.2) 0.8;", "0.2 0", BelVecTooFew | BelVecNotOne, " 0.8;"},
        {") : 0.2, 0.8;", "0.2 0.8", 0, ";"},
        {"default: 0.2, 0.8;", "0.2 0.8", 0, ";"},
        {"0.2, 0.8 default: 1;", "0.2 0.8", 0, "default: 1;"},
        {"0.2, 0.8 (1) : 1;", "0.2 0.8", 0, "(1) : 1;"},
        {"2, 6;", "2 6", BelVecCounts, ";"},
        {"0.5;", "0.5 0", BelVecTooFew | BelVecNotOne, ";"},
        {"0.2, 0.8, 0;", "0.2 0.8", BelVecTooMany, ";"},
        {"0,2, 0,8;", "0 2", BelVecTooMany | BelVecTwice | BelVecCounts, ";"},
        {"0.2, 0.7;", "0.2 0.7", BelVecNotOne, ";"},
        {"0.3333, 0.6662;", "0.3333 0.6662", 0, ";"},
        {"1, -0.2;", "1 0", BelVecNegative, ";"},
        {"0 0;", "0 0", BelVecZeroSum | BelVecDontNormalize, ";"},
        {";", "0 0", BelVecTooFew | BelVecZeroSum | BelVecDontNormalize, ";"},
        {"x, 1;", "0 1", BelVecNotANumber, ";"},
        {"\"0.5;\", 1;", "0 1", BelVecNotANumber, ";"},
        {"1, 1e99;", "1 0", BelVecNotANumber, ";"},
        {"1 0 x;", "1 0", BelVecNotANumber | BelVecTooMany, ";"},
        {"1, \"open", "1 0", BelVecNotANumber, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text, Dialect::dsc);
        Varbl_bn variable;
        float values[2] = {NAN, NAN};
        const int problems = ParseBelVec(r.in, values, variable, 0);
        EXPECT_EQ(problems & all, c.problems);
        EXPECT_EQ(TableText(values, 2), c.values);
        EXPECT_EQ(r.rest(), c.rest);
        EXPECT_EQ(r.seen.errors() > 0, (c.problems & BelVecNotANumber) != 0);
    }
    Reading r("1, 2, 3;", Dialect::dsc);
    Varbl_bn none;
    none.numStates = 0;
    EXPECT_TRUE(ParseBelVec(r.in, nullptr, none, 0) & BelVecTooMany);
    EXPECT_EQ(r.rest(), ";");
}

}  // namespace
}  // namespace lumo::test
