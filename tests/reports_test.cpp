// Reports: shown exactly once, within the budgets, at their place, also without memory.
#include "library/reports/reports.h"
#include "library/reports/messages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

#include "library/text/parser.h"
#include "library/utilities/Utils.h"

namespace {
thread_local bool memoryIsOut = false;
}

// Every allocation of the program, so that a test can make them fail. Not inlined, or the compiler
// sees blocks from `new` go to free.
[[gnu::noinline]] void* operator new(std::size_t size) {
    void* const block = memoryIsOut ? nullptr : std::malloc(size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return memoryIsOut ? nullptr : std::malloc(size);
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace lumo {
namespace {

struct Shown {
    int number;
    int severity;
    int line;
    std::string message;
};

class Recorder : public ReportHandler {
public:
    void show(const rept_kt& r) override {
        if (throws) throw std::runtime_error("handler");
        reports.push_back({r.number, r.severity, r.line, r.message});
    }
    void print(const char* text) override { notes += text; }
    bool ask(int number, const char* question) override {
        notes += Format("%d %s", number, question);
        return true;
    }
    void waitBegin(const char* text) override { notes += std::string("<") + text; }
    void waitEnd(const char* text) override { notes += std::string(text) + ">"; }
    void unknownWord(const char* word, int number, long long count) override {
        words += Format("%s %d %lld;", word, number, count);
    }

    int count(int number) const {
        return static_cast<int>(std::ranges::count(reports, number, &Shown::number));
    }

    std::vector<Shown> reports;
    std::string notes;
    std::string words;
    bool throws = false;
};

class Reports : public testing::Test {
protected:
    Recorder shown;
    HandlerScope handler{shown};
};

rept_kt* Unknown(const char* word, int number, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = VMakeUnknown(word, number, format, arguments);
    va_end(arguments);
    return report;
}

rept_kt* Wrap(rept_kt& inner, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    rept_kt* const report = WrapReport(inner, format, arguments);
    va_end(arguments);
    return report;
}

class Place final : public PlaceSource {
public:
    explicit Place(int line) : line_(line) {}
    void describePlace(rept_kt& report) const override { report.line = line_; }

private:
    int line_;
};

TEST_F(Reports, EachIsShownOnceHoweverItTravels) {
    {
        const ReportScope scope;
        newwarn_kt(-1, "warning %d", 1);
        rept_kt* const twice = newerr_kt(-2, "shown by hand");
        ShowReport(twice);
        {
            const ReportScope inner;  // with a budget of its own
            EXPECT_EQ(ErrorsSoFar(), 0);
            ShowReport(twice);
            newerr_kt(-3, "left to the scope's end");
        }
        EXPECT_EQ(ErrorsSoFar(), 1);
        rept_kt* const wrapped = newerrwait_kt(-4, "cannot link 100%% of >-node %s", "a>-b");
        rept_kt* const outer = Wrap(*wrapped, "%s creating table %d", 7);
        EXPECT_TRUE(outer->waits);
        ShowReport(outer);
        ShowReport(Wrap(*newnotice_kt(-5, "n"), "%s again"));
        ShowReport(Okay_rept_kt);
        ShowReport(nullptr);
        ShowReport(Fail_rept_kt);
        ShowReport(Fail_rept_kt);
        EXPECT_EQ(ErrorsSoFar(), 4);  // the wrapped ones count once
    }
    std::string all;
    for (const Shown& s : shown.reports) {
        all += Format("%d/%d %s\n", s.number, s.severity, s.message.c_str());
    }
    EXPECT_EQ(all,
              "-1/4 warning 1\n-2/6 shown by hand\n-3/6 left to the scope's end\n"
              "-4/6 cannot link 100% of node a>-b creating table 7\n-5/2 n\n-5/6 n again\n"
              "0/6 the operation failed\n");
}

TEST_F(Reports, PlaceIsTheInnermostSourceAtTheMaking) {
    const ReportScope scope;
    rept_kt* const early = newerr_kt(-1, "made before any place");
    const auto outer = std::make_unique<Place>(10);
    {
        const Place inner(20);
        newwarn_kt(-2, "inner");
    }
    rept_kt* const made = newerr_kt(-3, "kept");
    {
        const Place inner(30);
        ShowReport(made);
        ShowReport(early);
    }
    EXPECT_EQ(InnermostPlaceSource(), outer.get());
    std::vector<int> lines;
    for (const Shown& s : shown.reports) lines.push_back(s.line);
    EXPECT_EQ(lines, (std::vector{20, 10, 30}));
}

TEST_F(Reports, BudgetsAndTheirFreshStart) {
    for (int round = 0; round < 2; ++round) {
        shown.reports.clear();
        {
            const ReportScope scope;
            for (int i = 0; i < MaxErrors; ++i) {
                EXPECT_FALSE(ErrorBudgetSpent());
                ShowReport(newerr_kt(-1, "e"));
            }
            EXPECT_TRUE(ErrorBudgetSpent());
            for (int i = 0; i < MaxShownWarnings - 1; ++i) newwarn_kt(-2, "w");
            EXPECT_NE(newnotice_kt(-3, "n"), Okay_rept_kt);
            memoryIsOut = true;  // what is not shown costs no memory
            for (int i = 0; i < 5; ++i) newwarn_kt(-2, "w");
            EXPECT_EQ(newnotice_kt(-3, "n"), Okay_rept_kt);
            EXPECT_EQ(Unknown("x", -4, "u"), Okay_rept_kt);
            memoryIsOut = false;
        }
        EXPECT_EQ(shown.count(-1), MaxErrors);
        EXPECT_EQ(shown.count(-2), MaxShownWarnings - 1);
        EXPECT_EQ(shown.count(msg::reports.moreWarnings.number), 1);
        EXPECT_EQ(shown.reports.back().message, "7 further warnings and notices are not shown");
    }
    shown.reports.clear();
    for (int i = 0; i < MaxShownWarnings + 5; ++i) newwarn_kt(-2, "outside any scope");
    EXPECT_EQ(shown.count(-2), MaxShownWarnings + 5);
}

TEST_F(Reports, UnknownWordsAreShownOnceThenSummedUp) {
    {
        const ReportScope scope;
        for (int i = 0; i < 12; ++i) Unknown("HR_X", -3037, "unknown '%s'", "HR_X");
        for (int i = 0; i < 3; ++i) Unknown("HR_Y", -3037, "unknown");
        Unknown("HR_X", -3040, "another number");
        Unknown("hr_x", -3037, "another case");
    }
    EXPECT_EQ(shown.count(-3037), 3);
    EXPECT_EQ(shown.count(-3040), 1);
    ASSERT_EQ(shown.count(msg::reports.unknownSummary.number), 1);
    EXPECT_EQ(shown.reports.back().message,
              "unknown words that occur again: 'HR_X' 12 times, 'HR_Y' 3 times");
    EXPECT_EQ(shown.words, "HR_X -3037 12;HR_Y -3037 3;HR_X -3040 1;hr_x -3037 1;");

    shown.reports.clear();
    {
        const ReportScope scope;
        for (int i = 0; i < 2 * 1000; ++i)
            Unknown(std::string(200, 'w').append(Format("%d", i % 1000)).c_str(), -1, "u");
    }
    EXPECT_EQ(shown.reports.size(), 1001U);
    EXPECT_LT(shown.reports.back().message.size(), 600U);
    EXPECT_TRUE(shown.reports.back().message.ends_with(" more")) << shown.reports.back().message;
}

TEST_F(Reports, LongMessagesAreCut) {
    const ReportScope scope;
    const std::string longText(3000000, 'x');
    rept_kt* const report = newerr_kt(-1, "%s", longText.c_str());
    EXPECT_LE(std::strlen(report->message), 65536U);
    EXPECT_TRUE(std::string_view(report->message).ends_with("xxx..."));
    EXPECT_LE(std::string_view(Wrap(*report, "%s and more")->message).size(), 65536U);

    std::string umlauts;
    for (int i = 0; i < 50000; ++i) umlauts += "\xC3\xA4";
    const std::string_view cut = newerr_kt(-1, "%s", umlauts.c_str())->message;
    EXPECT_TRUE(cut.ends_with("\xA4..."));  // no half character

    std::size_t total = 0;  // and many of them even shorter
    for (int i = 0; i < 500; ++i)
        total += std::strlen(newwarn_kt(-2, "%s", umlauts.c_str())->message);
    EXPECT_LT(total, 18U << 20);
}

TEST_F(Reports, WithoutMemory) {
    {
        const ReportScope scope;
        const Place place(5);
        memoryIsOut = true;
        rept_kt* const table = newerr_mem_kt(-2318, 4e9, "for >-CPTable of >-node %d", 3);
        memoryIsOut = false;
        EXPECT_EQ(table->severity, SeverityFatal);
        EXPECT_EQ(table->number, -2318);
        EXPECT_EQ(table->line, 5);
        EXPECT_STREQ(table->message,
                     "out of memory (4000000000 bytes wanted) for CPTable of node 3");
        ShowReport(table);

        memoryIsOut = true;
        rept_kt* const other = newerr_kt(-9, "%0600d", 1);
        memoryIsOut = false;
        EXPECT_EQ(other->number, msg::reports.outOfMemory.number);
    }
    ASSERT_EQ(shown.reports.size(), 2U);  // the second by the end of the scope
    EXPECT_EQ(shown.reports[1].number, msg::reports.outOfMemory.number);
}

TEST_F(Reports, HandlerThatThrows) {
    {
        const ReportScope scope;
        shown.throws = true;
        EXPECT_THROW(newwarn_kt(-1, "w"), std::runtime_error);
        newerr_kt(-2, "for the scope's end, which keeps quiet");
    }
    shown.throws = false;
    const ReportScope scope;
    EXPECT_EQ(newwarn_kt(-3, "w")->severity, SeverityWarning);
}

TEST_F(Reports, TalkingToTheUser) {
    Printf_kt("renamed >-node '%s'\n", "a");
    EXPECT_TRUE(AskYesOrNoC_kt(-9034, 0, -1, nullptr, "Condense %s?", "Tables"));
    { const userwait_kt wait("reading %s", "f"); }
    EXPECT_EQ(shown.notes, "renamed node 'a'-9034 Condense Tables?<reading freading f>");

    EXPECT_FALSE(shown.ReportHandler::ask(-1, "the answer of a handler that has none"));

    std::thread([] {  // has the built-in handler
        for (const bool3 answer : std::initializer_list<bool3>{1, 0, -1}) {
            EXPECT_EQ(AskYesOrNoC_kt(-1, 0, answer, nullptr, "?"), answer == 1);
        }
    })
        .join();
}

TEST_F(Reports, BuiltInHandlerWritesLinesForEditors) {
    testing::internal::CaptureStderr();
    std::thread([] {
        const ReportScope scope;
        rept_kt* const report = newerr_kt(-3030, "unknown >-node '%s'", "\x1B[31m");
        report->file = "a.net";
        report->line = 3;
        report->column = 7;
        ShowReport(report);
        newnotice_kt(0, "n");
        newerr_mem_kt(-1, 0, "here");
    }).join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "a.net:3:7: error: unknown node '\\x1B[31m' [-3030]\n"
              "notice: n\nfatal error: out of memory here [-1]\n");
}

TEST(BelvecMessages, NameEveryProblem) {
    struct {
        int problems;
        const char* expected;
    } const cases[] = {
        {0, "no problem"},
        {BelVecCommas | BelVecCounts | BelVecDontNormalize, "no problem"},
        {BelVecTooFew | BelVecNegative | BelVecCommas,
         "fewer numbers than states, the missing ones are 0; a negative number is taken as 0"},
        {BelVecNotOne | 0x12000, "the numbers do not sum to 1; problem 0x12000"},
    };
    for (const auto& c : cases) {
        char buffer[256];
        EXPECT_EQ(CheckBelvecMesg_kt(c.problems, true, buffer), buffer);
        EXPECT_STREQ(buffer, c.expected);
    }
    char buffer[257];
    buffer[256] = '#';
    CheckBelvecMesg_kt(-1, true, buffer);  // all at once
    EXPECT_EQ(buffer[256], '#');
}

}  // namespace
}  // namespace lumo
