// Many files, and the outputs of the program: nothing of it is lost in silence.
#include "tests/commandline.h"

#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "formats/packing.h"

namespace lumo::test {
namespace {

class Batch : public Cli {
protected:
    void SetUp() override {
        Cli::SetUp();
        fs::create_directory(folder / "nets");
        for (int i = 0; i < 40; ++i) {
            const std::string name = "nets/" + std::to_string(100 + i) + ".erg";
            write(name.c_str(), Slurp(folder / "good.erg"));
        }
    }
    static long long lines(const std::string& text) { return std::ranges::count(text, '\n'); }
};

TEST_F(Batch, AnOutputThatFailsStopsTheWork) {
    for (const char* jobs : {"", "-j 3 "}) {
        for (const char* what : {"--json ", "-q ", ""}) {
            const Outcome r = run(std::string("$L ") + jobs + what + "nets/* >/dev/full");
            EXPECT_EQ(r.code, 74) << jobs << what;
            EXPECT_EQ(lines(r.err), 1) << jobs << what << r.err;
            EXPECT_NE(r.err.find("No space left on device"), std::string::npos) << r.err;
        }
        const Outcome convert =
            run(std::string("$L convert ") + jobs + "nets/* --to json -o - >/dev/full");
        EXPECT_NE(convert.code, 0) << convert.err;
    }
    EXPECT_EQ(run("$L -j 3 check nets/* none.net 2>/dev/full").code, 74);
    EXPECT_EQ(run("for i in 1 2 3; do cat none.net >nets/$i.net; done; ulimit -f 1; "
                  "$L -j 2 --json -r nets nets nets >out")
                  .code,
              74);
}

// As the shell expects: by the signal, or with its code, and without a word.
TEST_F(Batch, AClosedPipeEndsTheWorkQuietly) {
    for (const char* jobs : {"", "-j 3 "}) {
        const Outcome r = run(std::string("{ (sleep 0.2; exec env --default-signal $L ") + jobs +
                              "--json nets/* nets/* 2>&3; ) ; echo $? >code; } 3>&2 | :; "
                              "cat code");
        EXPECT_EQ(r.out, "141\n") << jobs << r.err;
        EXPECT_EQ(r.err, "") << jobs;
    }
}

TEST_F(Batch, StreamsThatAreNotThereAreNotTakenForFiles) {
    for (const char* closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-", ">&- 2>&-"})
        for (int i = 0; i < 3; ++i) {
            run("rm -rf out; mkdir out");
            run(std::string("$L convert -j 3 nets/* --to json -o out ") + closed);
            for (int n = 100; n < 140; ++n) {
                const std::string file = "out/" + std::to_string(n) + ".json";
                ASSERT_TRUE(nlohmann::json::accept(Slurp(folder / file))) << closed << file;
            }
        }
    EXPECT_EQ(run("$L good.erg >&-").code, 74);
    for (const char* files : {"errors.dsc", "errors.dsc good.erg", "-j 2 errors.dsc good.erg"}) {
        EXPECT_EQ(run(std::string("$L check ") + files + " 2>/dev/full").code, 74) << files;
        EXPECT_EQ(run(std::string("$L check ") + files + " 2>&-").code, 1) << files;
    }
    // "head" ends first; what is said behind it goes nowhere.
    EXPECT_EQ(
        run("{ (sleep 0.2; $L check -v good.erg errors.dsc 2>&1; echo $? >&3) | :; } 3>&1").out,
        "141\n");
    EXPECT_EQ(run("$L --help >/dev/full").code, 74);
    EXPECT_EQ(run("$L --version >/dev/full").code, 74);
}

TEST_F(Batch, WhatAWalkCannotLookAtIsToldOf) {
    run("ln -s nowhere nets/broken.net; ln -s nowhere nets/broken.txt; "
        "d=nets; for i in 1 2 3 4 5 6 7 8 9; do "
        "d=$d/$(head -c 200 /dev/zero | tr '\\0' x); mkdir $d; done; cp good.erg $d/a.erg");
    const Outcome r = run("$L -q -r nets");
    EXPECT_EQ(r.code, 2) << r.err;
    EXPECT_EQ(r.err, "nets/broken.net: No such file or directory\n");
    EXPECT_EQ(run("$L check -rj 2 nets").err.find("nets/broken.net: No such file or directory\n"),
              0U);
    if (::geteuid() == 0) return;  // whom nothing is closed to
    run("mkdir nets/closed; cp good.erg nets/closed; chmod 600 nets/closed");
    EXPECT_NE(run("$L -q -r nets").err.find("nets/closed/good.erg: Permission denied\n"),
              std::string::npos);
    run("chmod 700 nets/closed");
}

TEST_F(Batch, WhatCannotBeOpenedIsOneLine) {
    EXPECT_EQ(run("$L -q missing.net; $L missing.net; $L check missing.net").err,
              "missing.net: No such file or directory\nmissing.net: No such file or directory\n"
              "missing.net: No such file or directory\n");
    EXPECT_EQ(run("$L missing.net").out, "");
    EXPECT_EQ(run("$L missing.net").code, 2);
    EXPECT_EQ(run("$L -q 'no*.net'").err,
              "no*.net: No such file or directory; no name matches the pattern\n");
    EXPECT_EQ(run("$L -q https://example.org/a.net").err,
              "https://example.org/a.net: it is an address of the web; download the file and read "
              "that\n");
    EXPECT_EQ(run("$L -q nets").err, "nets: Is a directory; -r reads the files in it\n");
    EXPECT_NE(run("$L --json missing.net").out.find("\"status\":\"failed\""), std::string::npos);
}

TEST_F(Batch, MemoryIsAllowedAsItIsTold) {
    std::string text = "net {}\n";
    for (int i = 0; i < 5000; ++i) text += "node n" + std::to_string(i) + " { }\n";
    write("big.net", text);
    EXPECT_EQ(run("$L -q big.net --max-memory 1M").code, 0);
    const Outcome r = run("$L -q big.net --max-memory 64K");
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("big.net' takes more than the 64 KB of memory"), std::string::npos)
        << r.err;
    EXPECT_EQ(run("$L -q -j 2 big.net big.net --max-memory 100K").code, 2);
    EXPECT_EQ(run("$L -q --from hugin --max-memory 10MB /dev/zero").code, 2);
    EXPECT_EQ(run("$L big.net --max-memory much").code, 64);
}

TEST_F(Batch, EveryPackingIsRead) {
    const std::pair<const char*, const char*> tools[] = {
        {"gzip", "gz"}, {"bzip2", "bz2"}, {"xz", "xz"}, {"zstd", "zst"}};
    write("e.dsc", Slurp(folder / "errors.dsc"));
    for (const auto& [tool, extension] : tools) {
        SCOPED_TRACE(tool);
        const bool reads = PackingsRead().find(tool) != std::string::npos;
        if (!reads || run(std::string("command -v ") + tool).code != 0) continue;
        const std::string e = extension;
        run(std::string("T=") + tool + "; $T -c good.erg >a.erg." + e +
            "; (head -c 10 good.erg | $T; tail -c +11 good.erg | $T) >two.erg." + e +
            "; $T -c e.dsc >e.dsc." + e + "; head -c 30 a.erg." + e + " >cut." + e +
            "; (cat a.erg." + e + "; echo x) >more." + e +
            "; head -c 80000000 /dev/zero | $T >bomb.net." + e + "; cp a.erg." + e + " other");
        for (const std::string& file : {"a.erg." + e, "two.erg." + e, std::string("other")}) {
            const Outcome r = run("$L " + file + " --json");
            EXPECT_EQ(r.code, 0) << file << r.err;
            EXPECT_NE(r.out.find("\"nodes\":{\"all\":1,"), std::string::npos) << file << r.out;
        }
        EXPECT_EQ(run("$L check e.dsc." + e).err.find("e.dsc." + e + ":3:14: error"), 0U);
        EXPECT_EQ(run("cat a.erg." + e + " | $L -q -").code, 0);
        EXPECT_NE(run("$L -q cut." + e).code, 0);
        EXPECT_NE(run("$L check more." + e).err.find("[-543"), std::string::npos);
        const Outcome bomb = run("$L -q bomb.net." + e);
        EXPECT_EQ(bomb.code, 2);
        EXPECT_NE(bomb.err.find("has more than 67108864 bytes"), std::string::npos) << bomb.err;
    }
}

TEST_F(Batch, AnArchiveIsReadAsAFolder) {
    if (PackingsRead().empty() || run("command -v zip").code != 0) return;
    run("gzip -c good.erg >nets/packed.erg.gz; cp errors.dsc nets/e.dsc; echo no >nets/read.me; "
        "zip -qr a.zip nets; zip -q0 flat.zip good.erg; zip -qP x hidden.zip good.erg; mkdir out "
        "in; cp a.zip in");
    EXPECT_EQ(run("$L -q -r a.zip | tail -1").out, "42 files: 41 read, 1 read with errors\n");
    EXPECT_EQ(run("$L -q -r a.zip").out, run("$L -q -j 3 -r a.zip").out);
    EXPECT_EQ(run("$L -q -r in | tail -1").out, "42 files: 41 read, 1 read with errors\n");
    EXPECT_EQ(run("$L check -r a.zip").err.find("a.zip/nets/e.dsc:3:14: error"), 0U);
    for (const char* inside :
         {"a.zip/nets/100.erg", "a.zip/nets/packed.erg.gz", "flat.zip/good.erg"})
        EXPECT_EQ(run(std::string("$L -q ") + inside).code, 0) << inside;
    EXPECT_EQ(run("$L -q a.zip").err, "a.zip: it is a zip archive; -r reads the files in it\n");
    EXPECT_EQ(run("$L -q a.zip/nets/none.net").err,
              "a.zip/nets/none.net: No such file or directory\n");
    EXPECT_NE(run("$L -q hidden.zip/good.erg").err.find("it is encrypted"), std::string::npos);
    EXPECT_EQ(run("$L -q convert -r a.zip --to json -o out").code, 1);
    EXPECT_TRUE(fs::exists(folder / "out/nets/100.json"));
    // Cut anywhere, it ends well.
    const std::string whole = Slurp(folder / "a.zip");
    for (std::size_t at = 0; at < whole.size(); at += whole.size() / 40) {
        write("cut.zip", std::string_view(whole).substr(0, at));
        EXPECT_LE(run("$L -q -r cut.zip; $L -q cut.zip/nets/100.erg").code, 2) << at;
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 0x55);
        write("changed.zip", changed);
        EXPECT_LE(run("$L -q -r changed.zip").code, 2) << at;
    }
}

}  // namespace
}  // namespace lumo::test
