// The tokenizer: words, strings, numbers, comments, skipping, and the places of reports.
#include <cfloat>

#include "library/reports/messages.h"
#include "library/text/messages.h"
#include "tests/parser_support.h"

namespace lumo::test {
namespace {

using enum Dialect;

// ---- Words and punctuation -----------------------------------------------------------------

TEST(Words, EndAtBlanksPunctuationAndComments) {
    const struct {
        Dialect dialect;
        const char* text;
        std::vector<std::string> tokens;  // words, and punctuation after a '~'
    } cases[] = {
        {hugin, " node  A.b-1{label=\"\"", {"node", "A.b-1", "~{", "label", "~=", "~\"", "~\""}},
        {hugin, "a%b c\r\nd%\rf//g", {"a", "d", "f//g"}},
        {hugin, "a[1] b", {"a[1]", "b"}},
        {dsc, "a[1]/*x;*/b//c\nd/e", {"a", "~[", "1", "~]", "b", "d/e"}},
        {dsc, "a /* ** */ b /**/ c", {"a", "b", "c"}},
        {dxpress, "a//b /*c", {"a//b", "/*c"}},
        {ergo, "0.4,0.6 /* Names */ a//b\"", {"0.4,0.6", "a//b", "~\""}},
        {xml, "a<!-- b --><c%d", {"a", "~<", "c%d"}},
        {hugin, "\xEF\xBB\xBFnet\xC3\xA9\x01 x", {"net\xC3\xA9\x01", "x"}},
        {hugin, "a\t\v\f\nb", {"a", "b"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text, c.dialect);
        std::vector<std::string> tokens;
        while (!r.in.isAtEnd()) {
            const char punctuation = r.in.readPunc();
            tokens.push_back(punctuation ? std::string("~") + punctuation : r.word());
        }
        EXPECT_EQ(tokens, c.tokens);
        EXPECT_TRUE(r.seen.reports.empty());
    }
}

TEST(Words, AreCutToTheBufferAndConsumedWhole) {
    Reading r("abcdefgh = i");
    char buffer[4] = "xxx";
    EXPECT_EQ(r.in.readWordPunc(buffer, 3), '=');
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(r.in.readPunc(), 0);
    EXPECT_EQ(r.in.peekWord(), "i");
    EXPECT_EQ(r.word(), "i");
    EXPECT_EQ(r.word(), "");
}

TEST(Characters, GoBackAndForth) {
    Reading r("=3D x");
    EXPECT_EQ(r.in.readPunc(), '=');
    EXPECT_EQ(r.in.readChar(), '3');
    EXPECT_EQ(r.in.peekChar(), 'D');
    r.in.backUp(1);
    EXPECT_EQ(r.place(), "1:1");  // what was put back is no token any more
    const ParserPos_kt position = r.in.getPos();
    EXPECT_EQ(r.word(), "3D");
    r.in.setPos(position);
    r.in.unreadChar('=');
    EXPECT_EQ(r.rest(), "=3D x");
    r.in.backUp(100);
    r.in.jumpToEnd();
    EXPECT_EQ(r.in.readChar(), r.in.eofChar());
    r.in.unreadChar(r.in.eofChar());
    EXPECT_TRUE(r.in.isAtEnd());
    EXPECT_EQ(r.in.bytesLeft(), 0);
}

TEST(Channels, AreCopiedAndReadIntegers) {
    Collector seen;
    const HandlerScope scope(seen);
    const struct {
        const char* text;
        int value, moved;
    } cases[] = {{" 12 x", 12, 3}, {"-3/*c*/", -3, 2}, {"7", 7, 1},          {"3.5", 0, 0},
                 {"12abc", 0, 0},  {"", 0, 0},         {"99999999999", 0, 0}};
    for (const auto& c : cases) {
        InChannel_CString_kt channel(c.text, nullptr);
        int value = 0;
        EXPECT_EQ(IsError(channel.readInt(&value)), c.moved == 0) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
        EXPECT_EQ(channel.position - channel.start, c.moved) << c.text;
    }
    const Options options(hugin);
    InChannel_CString_kt channel("a b", std::string(300, 'n').c_str());
    const OwnedParser in(channel.makeParser(&options.record));
    char word[4];
    in->readWord(word, 3);
    EXPECT_STREQ(channel.position, "a b");
    EXPECT_EQ(std::string(channel.fileName).size(), 259U);
    ReportScope reports;
    EXPECT_THROW(InChannel_CString_kt("\xFF\xFEn", "x"), rept_kt*);
    EXPECT_NO_THROW(InChannel_CString_kt("\xFE\xFFn", "x"));
}

// ---- Strings -------------------------------------------------------------------------------

TEST(Strings, AreDecoded) {
    const struct {
        const char* text;
        std::string value;
    } cases[] = {
        {R"("a\"b\\" c)", "a\"b\\"},
        {R"("\n\t\r\363\x\9\48")", "\n\t\r\xF3\\x\\9\\48"},
        {"\"a\r\n% ; b\"", "a\r\n% ; b"},
        {R"("\400\12")", "\\400\\12"},
        {"word;", "word"},
        {"  ;", ""},
        {"\"\"x", ""},
        {R"("\101\000b")", std::string("A\0b", 3)},
    };
    for (const auto& c : cases) {
        Reading r(c.text);
        EXPECT_EQ(r.string(), c.value) << c.text;
        EXPECT_TRUE(r.seen.reports.empty()) << c.text;
    }
    Reading r("x \"left open; }");
    EXPECT_EQ(r.word(), "x");
    const OwnedStr value(r.in.readStringNew());
    EXPECT_STREQ(value.get(), "left open; }");
    EXPECT_EQ(r.seen.text(), "-5043 1:3 unterminated string\n");
    EXPECT_TRUE(r.in.isAtEnd());
}

TEST(Strings, QuotedValuesAreCutAndUnquotedOnesRaw) {
    const struct {
        const char* text;
        const char* value;
        const char* rest;
    } cases[] = {
        {"  \"a;b\" ; x", "a;b", " ; x"},
        {" (0 1 % c\n 2) ; x", "(0 1 % c\n 2)", "; x"},
        {" word }", "word", "}"},
        {";", "", ";"},
        {"f(\";\", 2); x", "f(\";\", 2)", "; x"},
    };
    for (const auto& c : cases) {
        Reading r(c.text);
        char value[256];
        r.in.readQuoted(value, 255);
        EXPECT_STREQ(value, c.value) << c.text;
        EXPECT_EQ(r.rest(), c.rest) << c.text;
    }
    Reading r("  \"" + std::string(300, 'a') + "\"");
    char value[256];
    r.in.readQuoted(value, 255);
    EXPECT_EQ(std::string(value), std::string(255, 'a'));
    EXPECT_EQ(r.seen.text(), "-5045 1:3 text of 300 characters is cut to 255\n");
}

// ---- Numbers -------------------------------------------------------------------------------

TEST(Numbers, AreReadOrNamed) {
    const struct {
        const char* text;
        double value;
        const char* report;  // null: a number
    } cases[] = {
        {" .5,", .5, nullptr},
        {"5.;", 5, nullptr},
        {"+3", 3, nullptr},
        {"-2.9438E-05%c", -2.9438e-05, nullptr},
        {"1E+3(", 1e3, nullptr},
        {"1e-999", 0, nullptr},
        {"4.9022E-005", 4.9022e-05, nullptr},
        {"1e999", 0, "-5041 1:1 number '1e999' is too large\n"},
        {"12abc", 0, "-5040 1:1 '12abc' is not a number\n"},
        {"nan", 0, "-5040 1:1 'nan' is not a number\n"},
        {"0x10", 0, "-5040 1:1 '0x10' is not a number\n"},
        {" {", 0, "-5040 1:2 expected a number, but found '{'\n"},
        {"a\x01\x7F", 0, "-5040 1:1 'a\\x01\\x7F' is not a number\n"},
        {" ", 0, "-4108 1:2 unexpected end-of-input\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text);
        const double value = r.in.readDouble();
        EXPECT_EQ(r.in.numberFailed, c.report != nullptr);
        EXPECT_EQ(std::isnan(value), c.report != nullptr);
        EXPECT_EQ(std::isnan(value) ? 0 : value, c.value);
        EXPECT_EQ(r.seen.text(), c.report == nullptr ? "" : c.report);
    }
    Reading r(std::string(200, 'z') + " 7 3.0 -12 { 99999999999 8");
    EXPECT_TRUE(std::isnan(r.in.readDouble()));
    EXPECT_NE(r.seen.text().find("'" + std::string(80, 'z') + "...'"), std::string::npos);
    EXPECT_EQ(r.in.readInt(), 7);
    EXPECT_EQ(r.in.readInt(), 0);
    EXPECT_TRUE(r.in.numberFailed);
    EXPECT_EQ(r.in.readInt(), -12);
    EXPECT_FALSE(r.in.numberFailed);
    EXPECT_EQ(r.in.readInt(), 0);  // punctuation stays
    EXPECT_EQ(r.in.readPunc(), '{');
    EXPECT_EQ(r.in.readInt(), 0);
    EXPECT_EQ(r.in.readInt(), 8);
    EXPECT_EQ(r.seen.count(msg::text.notAnInteger.number), 2);
    EXPECT_EQ(r.seen.count(msg::text.numberTooLarge.number), 1);
}

TEST(Numbers, RunsStopBeforeWhatIsNone) {
    const struct {
        Dialect dialect;
        const char* text;
        CommasEN commas;
        std::vector<float> values;
        const char* rest;
    } cases[] = {
        {hugin, "1 2%c\n3 ) 4", CommasEN::may, {1, 2, 3}, ") 4"},
        {hugin, "1, 2 %c\n ,% d\n 3,,4", CommasEN::may, {1, 2, 3}, ",,4"},
        {hugin, "1, 2", CommasEN::none, {1}, ", 2"},
        {hugin, ",1", CommasEN::may, {}, ",1"},
        {hugin, "1 2x 3", CommasEN::may, {1}, "2x 3"},
        {hugin, "1 1e39 3", CommasEN::may, {1}, "1e39 3"},
        {hugin, "3.4028235e38 1e-60 -1e-46", CommasEN::may, {FLT_MAX, 0, -0.0F}, ""},
        {hugin, "1 2 3 4 5 6", CommasEN::may, {1, 2, 3, 4, 5}, " 6"},
        {dsc, "0.1/*a*/,0.2//b\n0.7;", CommasEN::may, {0.1F, 0.2F, 0.7F}, ";"},
        {ergo, "1,2 3", CommasEN::none, {}, "1,2 3"},
        {ergo, "1)2", CommasEN::none, {}, "1)2"},
        {dxpress, "1, 2 ,3 4,5", CommasEN::must, {1, 2, 3}, "4,5"},
        {dxpress, "1,2;", CommasEN::must, {1, 2}, ";"},
        {xml, "1<!-- 5 --> 2, 3)</T>", CommasEN::may, {1, 2, 3}, ")</T>"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text, c.dialect);
        float values[5];
        const int n = r.in.readFloats(values, 5, c.commas);
        EXPECT_EQ(std::vector<float>(values, values + n), c.values);
        EXPECT_EQ(r.rest(), c.rest);
        EXPECT_TRUE(r.seen.reports.empty());
    }
    Reading r("1 1e39");
    double values[2];
    EXPECT_EQ(r.in.readDoubles(values, 2, CommasEN::none), 2);
    EXPECT_EQ(values[1], 1e39);
}

// ---- Comments and places -------------------------------------------------------------------

TEST(Places, FollowTheTokenReadLast) {
    Reading r("one\r\n two\r  {three\n\n", dsc);
    EXPECT_EQ(r.place(), "1:1");
    r.word();
    EXPECT_EQ(r.place(), "1:1");
    r.word();
    EXPECT_EQ(r.place(), "2:2");
    EXPECT_EQ(r.word(), "");  // nothing read: where the next token starts
    EXPECT_EQ(r.place(), "3:3");
    r.in.skipStructure('{', '}', false);
    EXPECT_EQ(r.place(), "3:3");
    EXPECT_TRUE(r.in.isAtEnd());
    EXPECT_EQ(r.place(), "5:1");
    r.in.setTokenStart(r.text.c_str() + 6);
    EXPECT_EQ(r.place(), "2:2");
}

TEST(Places, NameTheContext) {
    Reading r("a", hugin);
    const ParserContext outer(r.in, ">-node", "\xFF\xFE");
    r.in.fieldName = "states";
    r.in.makeWarning(-7, "w");
    const Seen& seen = r.seen.reports.back();
    EXPECT_EQ(seen.structKind, ">-node");
    EXPECT_EQ(seen.structName, "");
    EXPECT_EQ(seen.fieldName, "states");
}

TEST(Comments, LeftOpenAreReportedOnceAtTheirStart) {
    for (const Dialect dialect : {dsc, ergo, xml}) {
        Reading r(dialect == xml ? "a\n <!-- b -" : "a\n /* b *", dialect);
        EXPECT_EQ(r.word(), "a");
        EXPECT_TRUE(r.in.isAtEnd());
        r.in.setPos(r.text.c_str());
        r.in.skipStatement();
        EXPECT_TRUE(r.in.isAtEnd());
        EXPECT_EQ(r.seen.text(), "-5044 2:2 unterminated comment\n");
    }
}

TEST(Places, OnOneHugeLineCostLittle) {
    Reading r(Repeated("word;", 4'000'000));
    for (int i = 0; i < 9'000; ++i) {
        r.in.setTokenStart(r.text.c_str() + (i % 2 ? i : 20'000'000 - i));
        r.in.makeWarning(-7, "w");
    }
    EXPECT_EQ(r.seen.reports.back().column, 9'000);
}

// ---- Skipping ------------------------------------------------------------------------------

TEST(Skipping, StatementsEndWhereTheyShould) {
    const struct {
        const char* text;
        const char* rest;
    } cases[] = {
        {"a b; c", "; c"},
        {"\"a;}\" /* ; */ // ;\n; c", "; c"},
        {"(0; 1) [;] {; \"}\" (} ; c", "; c"},
        {"{a; {b;} c;} d;", " d;"},
        {"{a;}, {b;}; c", "; c"},
        {"{a;} // x\n ; c", "; c"},
        {"a } b;", "} b;"},
        {"(1 2; y = 3; } z", "; y = 3; } z"},
        {"(1 2; (3;", "; (3;"},
        {"a b", ""},
        {") ] ; c", "; c"},
        {"a \" b; c", "; c"},
    };
    for (const auto& c : cases) {
        Reading r(c.text, dsc);
        r.in.skipStatement();
        EXPECT_EQ(r.rest(), c.rest) << c.text;
    }
}

TEST(Skipping, StructuresAreMatched) {
    const struct {
        const char* text;
        bool opened;
        const char* rest;
    } cases[] = {
        {"a {b} \"}\" /* } */ c} d", true, " d"},
        {"a b {c {d} e} f", false, " f"},
        {"a b", false, "a b"},
        {"a {b", true, ""},
        {"a \"{\" b", false, "a \"{\" b"},
        {"a {b {c}", false, ""},
    };
    for (const auto& c : cases) {
        Reading r(c.text, dsc);
        r.in.skipStructure('{', '}', c.opened);
        EXPECT_EQ(r.rest(), c.rest) << c.text;
    }
}

TEST(Skipping, FindsTextOutsideStringsAndComments) {
    Reading r("\"network\" /* network */ belief network \"x\"", dsc);
    EXPECT_EQ(r.in.skipToString("{"), -1);
    EXPECT_EQ(r.in.getPos(), r.text.c_str());
    EXPECT_EQ(r.in.skipToString("network"), 0);
    EXPECT_EQ(r.rest(), " \"x\"");
    EXPECT_EQ(r.in.skipToString("network"), -1);
    r.in.setPos(r.text.c_str());
    EXPECT_EQ(r.in.skipToString("network"), 0);
}

// Each of these would take hours were it quadratic, or overflow the stack were it recursive.
TEST(Skipping, CostsLinearTime) {
    constexpr int many = 300'000;
    Reading unknown(Repeated("word ", many), dsc);
    for (int i = 0; i < many; ++i) {
        unknown.word();
        ASSERT_EQ(unknown.in.skipToString("{"), -1);
        unknown.in.skipStructure('{', '}', false);
    }
    EXPECT_TRUE(unknown.in.isAtEnd());

    Reading open(Repeated("x = (1 [2; ", many));
    for (int i = 0; i < many; ++i) {
        open.in.skipStatement();
        ASSERT_EQ(open.in.readPunc(), ';');
    }
    EXPECT_TRUE(open.in.isAtEnd());

    Reading quotes(Repeated("\\\" ; ", many) + "\"");
    for (int i = 0; i < many; ++i) {
        quotes.in.skipStatement();
        quotes.in.readPunc();
    }
    Reading braces(Repeated("{", many));
    braces.in.skipStatement();
    EXPECT_TRUE(braces.in.isAtEnd());
}

// ---- Errors --------------------------------------------------------------------------------

TEST(Errors, TheWorstReportStaysCurrent) {
    Reading r("a");
    EXPECT_EQ(r.in.curReport, Okay_rept_kt);
    r.in.setError(nullptr);
    r.in.setError(Okay_rept_kt);
    rept_kt* const error = r.in.makeError(-8, "first");
    r.in.makeWarning(-7, "w");
    r.in.makeWarningUnknown("x", -9, "unknown '%s'", "x");
    r.in.makeWarningUnknown("x", -9, "unknown '%s'", "x");
    EXPECT_EQ(r.in.curReport, error);
    rept_kt* const later = newerr_kt(-10, "later");
    r.in.setError(later);
    r.in.setError(error);
    EXPECT_EQ(r.in.curReport, error);
    EXPECT_EQ(later->line, 1);
    r.in.makeError(*later, "%s again %d", 5);
    EXPECT_STREQ(r.in.curReport->message, "later again 5");
    EXPECT_NO_THROW(r.in.checkError());
    EXPECT_EQ(r.seen.text(),
              "-8 1:1 first\n-7 1:1 w\n-9 1:1 unknown 'x'\n-10 1:1 later\n"
              "-10 1:1 later again 5\n");
    r.in.setError(newerr_mem_kt(-11, 8, "for it"));
    EXPECT_THROW(r.in.checkError(), rept_kt*);
}

TEST(Errors, BeyondTheBudgetReadingStops) {
    Reading r(Repeated("x ", 5'000));
    while (!r.in.isAtEnd()) r.in.readDouble();
    for (int i = 0; i < 10; ++i) {
        r.in.makeError(-8, "no news");
        r.in.setError(newerr_kt(-8, "no news"));
        r.in.checkError();
    }
    ASSERT_EQ(r.seen.errors(), MaxErrors + 1);
    EXPECT_EQ(r.seen.reports.back().number, msg::reports.tooManyErrors.number);
    EXPECT_EQ(r.seen.reports.back().column, 2 * MaxErrors - 1);
}

class Watcher : public Collector {
public:
    int steps = 0;
    bool stop = false;
    void progress(long long done, long long total) override { steps += done <= total; }
    bool cancelled() override { return stop; }
};

TEST(Errors, ProgressIsToldAndCancellingThrows) {
    Reading r(Repeated("x ", 5'000));
    Watcher watcher;
    const HandlerScope scope(watcher);
    for (; !r.in.isAtEnd(); r.word()) r.in.checkError();
    EXPECT_GE(watcher.steps, 90);
    EXPECT_LE(watcher.steps, 101);
    watcher.stop = true;
    for (int i = 0; i < 2; ++i) EXPECT_THROW(r.in.checkError(), rept_kt*);
    EXPECT_EQ(watcher.count(msg::reports.importCancelled.number), 1);
}

}  // namespace
}  // namespace lumo::test
