// The entry: loading, naming, the net's fate; and the normalisation of positions.
#ifndef _WIN32
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <climits>
#include <filesystem>

#include "formats/shared/messages.h"
#include "library/utilities/system.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

class EntryTest : public ::testing::Test {
protected:
    fs::path folder =
        fs::temp_directory_path() / ("lumo-entry-" + std::to_string(system::ProcessNumber()));
    void SetUp() override { fs::create_directories(folder); }
    void TearDown() override { fs::remove_all(folder); }

    std::string write(const std::string& name, std::string_view text) const {
        const fs::path path = folder / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
};

Imported ImportFile(const std::string& path, int format) {
    Imported result;
    HandlerScope scope(result.seen);
    result.net.reset(ReadForeignNetFile_kt(path.c_str(), format, false));
    return result;
}

constexpr const char* tiny = "1 2 0 2 .5 .5 A a b 7 9";

TEST_F(EntryTest, NamesTheNetAfterTheFile) {
    struct Case {
        const char *path, *name, *fileName;
    };
    for (const Case& c :
         {Case{"a.erg", "a", "a.lumo"},
          Case{"two words.v2.erg", "two_words_v2", "two words.v2.lumo"},
          Case{"d.x/9net", "N9net", "d.x/9net.lumo"}, Case{".erg", "N_erg", ".erg.lumo"}}) {
        const Imported got = ImportFile(write(c.path, tiny), FormatErgo);
        ASSERT_NE(got.net, nullptr) << c.path;
        EXPECT_STREQ(got.net->name, c.name);
        EXPECT_EQ(got.net->fileName, (folder / c.fileName).string());
        EXPECT_EQ(got.net->changeMarker >= got.net->savedChangeMarker, true);
    }
}

TEST_F(EntryTest, LongPathsWork) {
#ifdef _WIN32
    GTEST_SKIP() << "a path has at most 260 characters";
#endif
    std::string deep;
    for (const char c : {'a', 'b', 'c', 'd'}) deep.append(100, c) += '/';
    const Imported got = ImportFile(write(deep + std::string(200, 'n') + ".erg", tiny), FormatErgo);
    ASSERT_NE(got.net, nullptr);
    EXPECT_EQ(got.net->name, std::string(200, 'n'));
    EXPECT_EQ(got.net->fileName, (folder / (deep + std::string(200, 'n') + ".lumo")).string());
}

TEST_F(EntryTest, RefusesWhatCannotBeRead) {
    const std::string unicode = write("u.erg",
                                      "\xff\xfe"
                                      "1\0");
    EXPECT_EQ(ImportFile(unicode, FormatErgo).seen.count(-4136), 1);
    EXPECT_EQ(ImportFile(unicode, FormatErgo).net, nullptr);

    for (const fs::path& path : {folder, folder / "missing.erg"}) {
        const Imported got = ImportFile(path.string(), FormatErgo);
        EXPECT_EQ(got.net, nullptr);
        EXPECT_EQ(got.seen.reports.back().number, -3468);
        EXPECT_EQ(got.seen.reports.back().message,
                  "couldn't read file '" + path.string() + "' into memory");
    }
#ifndef _WIN32
    mkfifo((folder / "fifo").c_str(), 0600);
    EXPECT_EQ(ImportFile((folder / "fifo").string(), FormatErgo).net, nullptr);  // nobody writes
    if (getuid() != 0) {
        const std::string secret = write("secret.erg", tiny);
        chmod(secret.c_str(), 0);
        EXPECT_EQ(ImportFile(secret, FormatErgo).seen.count(-3468), 1);
    }
#endif
}

TEST_F(EntryTest, SaysWhereAZeroByteIs) {
    const std::string text = std::string(tiny) + '\0' + "more";
    for (const Imported& got :
         {ImportFile(write("z.erg", text), FormatErgo), ImportText(text, FormatErgo)}) {
        EXPECT_NE(got.net, nullptr);
        ASSERT_EQ(got.seen.count(msg::reports.zeroByte.number), 1);
        EXPECT_NE(got.seen.reports[0].message.find(std::to_string(std::string(tiny).size())),
                  std::string::npos);
    }
}

/// Keeps the file that a report names.
struct Keeper : Collector {
    std::string file;
    void show(const rept_kt& report) override { file = report.file; }
};

/// The reports of damaged texts.
std::string ReadDamaged() {
    constexpr std::pair<int, const char*> texts[] = {
        {FormatHugin,
         "net { HR_Groups_GroupNames = \"g\"; } function f { } node a { HR_State_0 = 1; } "
         "potential (f) { } potential (a) { data = (1); }"},
        {FormatDsc, "network x node A { type: discrete[1] = { a, b }; } probability (B)"},
        {FormatDXPress, "diagnostic network x nodes { standard A { cost: x;"},
        {FormatErgo, "1 2 0 2 .5 .5 A 9 b 1e99 9"},
        {FormatXMLBIF, "<BIF VERSION='0.3'><NETWORK><X/><VARIABLE><NAME>a</NAME></NETWORK>"},
        {FormatBIF, "variable a { type discrete [2] { x } probability (b) { }"},
        {FormatXDSL, "<smile><nodes><cpt id='a'><x/></cpt></nodes>"},
        {FormatUAI, "BAYES 1 2 1 1 0 2 x"},
    };
    Collector seen;
    const HandlerScope scope(seen);
    for (const auto& [format, text] : texts) OwnedNet(ReadForeignNetText_kt(text, "early", format));
    return seen.text();
}

/// Read when no static of the library is made.
const std::string early [[gnu::init_priority(101)]] = ReadDamaged();

TEST_F(EntryTest, WorksBeforeMain) {
    EXPECT_EQ(early, ReadDamaged());
    for (const char* number :
         {"-5121", "-4016", "-5040", "-5042", "-3483", "-5308", "-5352", "-5403"})
        EXPECT_NE(early.find(number), early.npos) << number;
}

TEST_F(EntryTest, LongPathsAreWholeInReports) {
    const std::string name(400, 'x');
    Keeper keeper;
    const HandlerScope scope(keeper);
    OwnedNet(ReadForeignNetText_kt("1 2 0 2 x", name.c_str(), FormatErgo));
    EXPECT_EQ(keeper.file, name);
}

TEST_F(EntryTest, ImportsInAScopeHaveTheirOwnBudgets) {
    const ReportScope outer;
    Collector seen;
    const HandlerScope scope(seen);
    for (int i = 0; i <= MaxErrors; ++i) OwnedNet(ReadForeignNetText_kt("1 x", "x", FormatErgo));
    EXPECT_EQ(seen.errors(), MaxErrors + 1);
    EXPECT_EQ(seen.count(msg::reports.tooManyErrors.number), 0);
}

TEST_F(EntryTest, NamesThatAreCutAreSaid) {
    const std::string name(300, 'x');
    for (const auto& [format, text] : std::initializer_list<std::pair<int, std::string>>{
             {FormatHugin, "net {} node " + name + " {}"},
             {FormatDsc, "network x node " + name + " {}"},
             {FormatErgo, "1 1 0 1 1 " + name + " a 0 0"}}) {
        EXPECT_EQ(ImportText(text, format).seen.count(msg::text.textCut.number), 1) << text;
    }
}

TEST_F(EntryTest, UnknownCodesAreAnErrorThatNamesThem) {
    for (const int code : {12, 0, -1, 99}) {
        const Imported got = ImportText(tiny, code);
        EXPECT_EQ(got.net, nullptr);
        ASSERT_EQ(got.seen.count(msg::import.unknownFormatCode.number), 1);
        EXPECT_NE(got.seen.reports[0].message.find(std::to_string(code)), std::string::npos);
    }
}

TEST_F(EntryTest, SizesTheDrawingOfAPartialNetToo) {
    const Imported got = ImportText("1 2 0 2 .5 .5 A a b 700 900\n", FormatErgo);
    const Vnet_kt& drawing = *got.net->vnets[0];
    EXPECT_EQ(drawing.extent().x, 700 + 2 * drawing.marginUnit.x);
    EXPECT_EQ(drawing.extent().y, 900 + drawing.marginUnit.y);
    const Imported partial = ImportText("1 2 0", FormatErgo);
    ASSERT_NE(partial.net, nullptr);
    EXPECT_LT(partial.net->vnets[0]->extent().x, 16383);
}

/// A handler that stops the import in one way or another.
struct Stopper : Collector {
    enum { cancel, throwing, throwingNumbers, throwingReports, throwingAlways } how = cancel;
    bool cancelled() override { return how == cancel; }
    void print(const char*) override {
        if (how == throwing) throw std::runtime_error("no more");
        if (how == throwingNumbers) throw 7;
        if (how == throwingReports) throw static_cast<rept_kt*>(nullptr);
    }
    void show(const rept_kt& report) override {
        if (how == throwingAlways) throw std::runtime_error("never");
        Collector::show(report);
    }
};

TEST_F(EntryTest, WhatEscapesAReaderFreesEverythingAndTheLock) {
    const char* renames = "1 2 0 2 .5 .5 9 a b 7 9";
    Stopper stopper;
    HandlerScope scope(stopper);
    stopper.how = Stopper::throwing;
    EXPECT_EQ(ReadForeignNetText_kt(renames, "x", FormatErgo), nullptr);
    ASSERT_EQ(stopper.count(msg::reports.internalError.number), 1);
    EXPECT_NE(stopper.reports.back().message.find("no more"), std::string::npos);
    stopper.how = Stopper::throwingNumbers;
    EXPECT_EQ(ReadForeignNetText_kt(renames, "x", FormatErgo), nullptr);
    EXPECT_EQ(stopper.count(msg::reports.internalError.number), 2);
    stopper.how = Stopper::throwingReports;
    EXPECT_EQ(ReadForeignNetText_kt(renames, "x", FormatErgo), nullptr);
    EXPECT_EQ(stopper.count(msg::reports.internalError.number), 3);
    stopper.how = Stopper::throwingAlways;
    EXPECT_EQ(ReadForeignNetText_kt("1 2 0 2 .5 x", "x", FormatErgo), nullptr);
    stopper.how = Stopper::cancel;
    for (const int format : {FormatHugin, FormatDsc, FormatDXPress, FormatErgo, FormatXMLBIF}) {
        const char* const nets[] = {
            "net {} node a {}", "network x node a {}",
            "diagnostic network x { nodes { standard \"a\" { }; }; }", renames,
            "<BIF VERSION=\"0.3\"><NETWORK><VARIABLE><NAME>a</NAME></VARIABLE></NETWORK></BIF>"};
        const int index = format == FormatXMLBIF ? 4 : format - FormatHugin;
        EXPECT_EQ(ReadForeignNetText_kt(nets[index], "x", format), nullptr) << format;
    }
    EXPECT_EQ(stopper.count(msg::reports.importCancelled.number), 5);
    EXPECT_NE(ImportText(renames, FormatErgo).net, nullptr);  // the lock is free
}

TEST(Entry, WhatReplacesATableOrLeavesTheDrawingIsTold) {
    const struct {
        int format;
        const char* text;
    } cases[] = {
        {FormatHugin,
         "net{} node A{} node B{} potential(A){data=(1 0);} potential(A|B){data=(1 0 1 0);}"},
        {FormatDXPress,
         "diagnostic network x nodes { standard A { } } network { standard A () { prob: { (; "
         "1, 0; } prob: { (; 0, 1; } } }"},
        {FormatDXPress,
         "diagnostic network x nodes { standard A { } standard B { } } network { standard A () "
         "{ prob: { (; 1, 0; } } standard A (B) { } }"},
        {FormatBIF,
         "variable a { type discrete [ 1 ] { x }; } probability ( a ) { table 1; table 1; }"},
        {FormatXDSL,
         "<smile><nodes><cpt id='a'><state id='x'/><probabilities>1</probabilities>"
         "<probabilities>1</probabilities></cpt></nodes></smile>"},
    };
    const int again = msg::import.tableAgain.number;
    for (const auto& c : cases)
        EXPECT_EQ(ImportText(c.text, c.format).seen.count(again), 1) << c.text;
    EXPECT_EQ(ImportText("<smile><nodes><decision id='a'/></nodes><extensions><genie><node id='a'>"
                         "<position>-3e9 0 1 1</position></node></genie></extensions></smile>",
                         FormatXDSL)
                  .seen.count(msg::import.positionsClamped.number),
              1);
}

struct Placed {
    Collector seen;
    HandlerScope handler{seen};
    ReportScope scope;
    OwnedNet net{NewVBNet(DupStr_kt("n"))};

    std::vector<coord_kt> fix(const std::vector<coord_kt>& at, double scale, bool turnOver) {
        for (const coord_kt& p : at) NewNode_ibn(nullptr, 2, *net, p);
        FixNodePositions(*net->vnets[0], scale, turnOver);
        std::vector<coord_kt> out;
        for (const Vnode_kt* v : net->vnets[0]->vnodes) out.push_back(v->position());
        return out;
    }
};

TEST(FixNodePositions, ScalesTurnsAndKeepsTheMargin) {
    using P = std::vector<coord_kt>;
    const P square = {{100, 50}, {200, 150}};
    EXPECT_EQ(Placed().fix(square, 1.25, false), (P{{40, 40}, {165, 165}}));
    EXPECT_EQ(Placed().fix(square, 1.25, true), (P{{40, 165}, {165, 40}}));
    EXPECT_EQ(Placed().fix(square, 0.625, false), (P{{40, 40}, {103, 103}}));  // 62.5 goes up
    EXPECT_EQ(Placed().fix({{-7, -7}}, 3.0, true), (P{{40, 40}}));
    EXPECT_EQ(Placed().fix({}, 1.0, true), P{});
}

TEST(FixNodePositions, StaysWithinInt) {
    using P = std::vector<coord_kt>;
    Placed wide;
    EXPECT_EQ(wide.fix({{INT_MIN, 0}, {INT_MAX, 10}}, 1e6, false),
              (P{{40, 40}, {INT_MAX, 10000040}}));
    EXPECT_EQ(wide.seen.count(msg::import.positionsClamped.number), 1);
    for (const double scale : {0.0, -1.0, HUGE_VAL, std::nan("")}) {
        Placed bad;
        EXPECT_EQ(bad.fix({{0, 0}, {10, 10}}, scale, false), (P{{40, 40}, {50, 50}}));
        EXPECT_EQ(bad.seen.count(msg::import.badScale.number), 1);
    }
}

}  // namespace
}  // namespace lumo::test
