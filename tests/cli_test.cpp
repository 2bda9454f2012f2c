// lumo-import as its users run it: exit codes, streams, files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "app/terminal.h"
#include "formats/packing.h"
#include "tests/commandline.h"
#include "tests/places.h"

namespace {

namespace fs = std::filesystem;
using lumo::test::Cli;
using lumo::test::Outcome;
using lumo::test::Samples;
using lumo::test::Slurp;

TEST_F(Cli, ExitCodes) {
    const std::pair<const char*, int> cases[] = {
        {"$L good.erg", 0},
        {"$L errors.dsc", 1},
        {"$L none.net", 2},
        {"$L missing.net", 2},
        {"$L missing", 2},
        {"$L .", 2},
        {"$L good.erg errors.dsc good.erg", 1},
        {"$L -j 3 none.net good.erg errors.dsc", 2},
        {"$L check good.erg", 0},
        {"$L check errors.dsc", 1},
        {"$L convert errors.dsc -o x.json", 1},
        {"$L convert none.net -o none.json", 2},
        {"$L --from dsc good.erg", 2},
        {"$L", 64},
        {"$L --nonsense good.erg", 64},
        {"$L --from gif good.erg", 64},
        {"$L -j 0 good.erg", 64},
        {"$L convert good.erg", 64},
        {"$L explain", 64},
        {"$L convert good.erg -o good.xyz", 64},
        {"$L convert good.erg errors.dsc --to json -o x.json", 64},
        {"$L convert good.erg ./good.erg --to json -o .", 64},
        {"$L -q -v good.erg", 64},
        {"$L table --json good.erg Rain", 64},
        {"$L table good.erg", 64},
        {"$L table good.erg Rain --all", 64},
        {"$L nodes good.erg errors.dsc", 64},
        {"$L info good.erg", 64},
        {"$L formats good.erg", 64},
        {"$L convert good.erg -o x.json --force --no-clobber", 64},
        {"$L check - - ", 64},
    };
    for (const auto& [command, code] : cases) {
        const Outcome r = run(command);
        EXPECT_EQ(r.code, code) << command << '\n' << r.out << r.err;
        if (code == 64) {
            EXPECT_EQ(r.out, "") << command;
            EXPECT_NE(r.err.find("Try 'lumo-import --help'"), std::string::npos) << command;
        }
    }
}

TEST_F(Cli, HelpAndVersionGoToStandardOutput) {
    for (const char* command : {"$L --help", "$L check -h", "$L convert --help"}) {
        const Outcome r = run(command);
        EXPECT_EQ(r.code, 0);
        EXPECT_EQ(r.err, "");
        EXPECT_LT(r.out.find("Examples:"), r.out.find("Options:"));
    }
    EXPECT_NE(run("$L --help").out.find("--to FORMAT"), std::string::npos);
    EXPECT_EQ(run("$L check --help").out.find("--to FORMAT"), std::string::npos);
    const std::string version = run("$L --version").out;
    EXPECT_EQ(version.find("lumo-import "), 0U);
    EXPECT_NE(version.find("\nreads   hugin, "), std::string::npos) << version;
    EXPECT_NE(version.find("png"), std::string::npos) << version;
    EXPECT_NE(version.find("gzip"), std::string::npos) << version;
    EXPECT_EQ(version.find("unpacks ") != std::string::npos, !lumo::PackingsRead().empty())
        << version;
}

TEST_F(Cli, SummaryOnOutputDiagnosticsOnError) {
    const Outcome good = run("$L good.erg");
    EXPECT_EQ(good.err, "");
    EXPECT_EQ(good.out,
              "good.erg: Ergo, read\n"
              "  name        good\n"
              "  nodes       1 nature\n"
              "  states      2, 2 a node\n"
              "  links       0\n"
              "  tables      2 numbers in 1 table\n"
              "  problems    none\n");
    const Outcome errors = run("$L check errors.dsc");
    EXPECT_EQ(errors.out, "");
    EXPECT_EQ(errors.err,
              "errors.dsc:3:14: error: undeclared node 'b' (in probability block) [-4016]\n");
    EXPECT_EQ(run("$L check -q good.erg").err, "");
    EXPECT_EQ(run("$L --color always check errors.dsc").err.find("\x1b[1merrors.dsc:3:14:"), 0U);
}

TEST_F(Cli, SummarySaysWhatBecameOfTheFile) {
    write("plant.net",
          "net { HR_Odd = \"1\"; HR_Odd = \"2\"; }\n"
          "node 2nd.pump { states = (\"on\" \"off\"); position = (10 20); HR_Group = \"0\"; }\n"
          "node Valve { states = (\"half open\" \"shut\"); position = (90 20); }\n"
          "decision Stop { states = (\"yes\" \"no\"); position = (90 90); }\n"
          "potential (2nd.pump) { data = (0.5 0.5); }\n");
    EXPECT_EQ(run("$L plant.net").out,
              "plant.net: Hugin, read with warnings\n"
              "  name        plant\n"
              "  nodes       3: 2 nature, 1 decision\n"
              "  states      6, 2 a node\n"
              "  links       0\n"
              "  tables      2 numbers in 1 table\n"
              "  no table    Valve\n"
              "  renamed     '2nd.pump' to N2nd_pump\n"
              "  positions   from the file\n"
              "  skipped     HR_Odd 2 times\n"
              "  problems    2 warnings, 1 notice\n");
}

TEST_F(Cli, SummaryForPrograms) {
    const Outcome r = run("$L -j 2 --json good.erg errors.dsc none.net");
    EXPECT_EQ(r.code, 2);
    std::istringstream lines(r.out);
    std::vector<nlohmann::json> files;
    for (std::string line; std::getline(lines, line);) files.push_back(nlohmann::json::parse(line));
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[0]["net"]["nodes"],
              nlohmann::json({{"all", 1}, {"nature", 1}, {"decision", 0}, {"utility", 0}}));
    EXPECT_EQ(files[0]["net"]["numbers"], 2);
    EXPECT_EQ(files[1]["net"]["withoutTable"], nlohmann::json({"a"}));
    EXPECT_EQ(files[1]["problems"]["errors"], 1);
    EXPECT_TRUE(files[2]["net"].is_null());
    for (std::size_t i = 0; i < files.size(); ++i) EXPECT_EQ(files[i]["exit"], i);
}

// What the help of a command lists is an option that it takes.
TEST_F(Cli, HelpListsOptionsOfTheCommand) {
    std::istringstream lines(run("$L --help").out);
    std::set<std::string> commands;
    for (std::string line; std::getline(lines, line) && !line.starts_with("Options");)
        if (std::smatch found;
            std::regex_match(line, found, std::regex("  lumo-import ([a-z]+) .*")))
            commands.insert(found[1]);
    EXPECT_GT(commands.size(), 4U);
    for (const std::string& command : commands) {
        std::istringstream help(run("$L " + command + " --help").out);
        for (std::string line; std::getline(help, line);) {
            std::smatch found;
            if (!std::regex_match(line, found, std::regex(" +(?:-., )?(--[a-z-]+) .*"))) continue;
            const Outcome r = run("$L " + command + " " + found[1].str());
            EXPECT_EQ(r.err.find("there is no option"), std::string::npos) << command << r.err;
            EXPECT_EQ(r.err.find("is an option of"), std::string::npos) << command << r.err;
        }
    }
}

TEST_F(Cli, NodesOfANet) {
    write("n.net",
          "net {} node A { label = \"\u6771\"; states = (\"yes\" \"no\"); }\n"
          "utility U { } decision D { states = (\"go\"); } continuous node X { }\n"
          "potential (U | A D) { data = (1 2); }\n");
    EXPECT_EQ(run("$L nodes n.net").out,
              "node  kind      states      parents  title\n"
              "A     nature    yes, no     -        \u6771\n"
              "U     utility   -           A, D\n"
              "D     decision  go          -\n"
              "X     nature    continuous  -\n");
    EXPECT_EQ(
        run("script -qec \"stty cols 30; $L nodes -q n.net\" /dev/null | head -4 | tail -1").out,
        "D     decision  go        -\r\n");
}

TEST_F(Cli, TableOfANode) {
    write(
        "t.net",
        "net {} node P { label = \"\u6771 \\\"x\\\"\"; states = (\"\u6771\u4eac\" \"b,c\"); }\n"
        "node Q { states = (\"a\" \"b\"); }\nnode C { states = (\"x\" \"y\" \"z\"); }\n"
        "utility U { } potential (U | P) { data = (-1.5 20); } decision D { states = (\"go\"); }\n"
        "potential (C | P Q) { data = (0.59 0.4067 0.0033 1 0 0 0 1 0 0.25 0.25 0.5); }\n");
    write("s.net", "net {} node S { states = (\"=1+1\" \"@x\" \"-a\" \"-3\"); }");
    const std::pair<const char*, const char*> cases[] = {
        {"$L table t.net C",
         "C: nature\n\n"
         "P     Q |    x       y       z\n"
         "\u6771\u4eac  a | 0.59  0.4067  0.0033\n"
         "      b | 1     0       0\n"
         "b,c   a | 0     1       0\n"
         "      b | 0.25  0.25    0.5\n"},
        {"$L table t.net U",
         "U: utility\n\nP    | utility\n\u6771\u4eac |    -1.5\nb,c  |    20\n"},
        {"$L table t.net D", "D: decision\nstates: go\nno table: it is a decision\n"},
        {"$L table t.net '\u6771 \"x\"' --csv", "\u6771\u4eac,\"b,c\"\r\n"},
        {"$L table t.net D U",
         "D: decision\nstates: go\nno table: it is a decision\n\n"
         "U: utility\n\nP    | utility\n\u6771\u4eac |    -1.5\nb,c  |    20\n"},
        {"$L table t.net U Q --csv",
         "U\r\nP,utility\r\n\u6771\u4eac,-1.5\r\n\"b,c\",20\r\n\r\nQ\r\na,b\r\n"},
        {"$L table t.net --all | grep -cE ': (nature|utility|decision)$'", "5\n"},
        {"$L table s.net S --csv", "'=1+1,'@x,'-a,-3\r\n"},  // what a spreadsheet would compute
        {"$L table t.net U --csv", "P,utility\r\n\u6771\u4eac,-1.5\r\n\"b,c\",20\r\n"},
    };
    for (const auto& [command, text] : cases) EXPECT_EQ(run(command).out, text) << command;
    const Outcome unknown = run("$L table -q t.net C c");
    EXPECT_EQ(unknown.out, "");
    EXPECT_EQ(unknown.code, 64);
    EXPECT_EQ(unknown.err,
              "lumo-import: there is no node 'c'; did you mean 'C'?\nThe nodes: P, Q, C, U, D\n");
    EXPECT_EQ(run("script -qec \"stty cols 20; $L table t.net C\" /dev/null | grep -c '^P'").out,
              "3\n");
    EXPECT_NE(run("$L table " + Samples() + "/dxpress/alarm-bell.dxp Bell --condense yes")
                  .out.find("\n(leak)         |   0.99  0.008  0.002\n"),
              std::string::npos);
}

TEST_F(Cli, Suggestions) {
    const std::pair<const char*, const char*> cases[] = {
        {"$L convret good.erg -o x.net", "no command or file 'convret'; did you mean 'convert'?"},
        {"$L info good.erg", "no command or file 'info'; the commands: check, nodes, "},
        {"$L --from hugin -v info x.net", "no command or file 'info'; the commands: "},
        {"$L --from", "--from needs a value: FORMAT\n"},
        {"$L good.erg -j ten", "--jobs: 'ten' is no number from 1 to 256\n"},
        {"$L -j 1 -j 2 good.erg", "--jobs takes one value: N\n"},
        {"$L convert good.erg", "convert: -o says where to write\n"},
        {"$L table good.erg", "table: name a node, or --all;"},
        {"$L --quite good.erg", "no option --quite; did you mean '--quiet'?"},
        {"$L check good.erg -o x", "-o is an option of convert\n"},
        {"$L --from hugn good.erg", "json; did you mean 'hugin'?"},
        {"$L convert --to xdls -o - good.erg", "; did you mean 'xdsl'?"}};
    for (const auto& [command, text] : cases)
        EXPECT_NE(run(command).err.find(text), std::string::npos) << run(command).err;
    for (const char* file : {"chek", "info"}) {
        write(file, Slurp(folder / "good.erg"));
        EXPECT_EQ(run("$L " + std::string(file) + " good.erg").code, 0);
    }
}

TEST_F(Cli, HintOnATerminal) {
    const std::string hint = "lumo-import explain 4016\r\n";
    const Outcome many = run("script -qec \"$L check errors.dsc good.erg -j 2\" /dev/null");
    EXPECT_TRUE(many.out.ends_with(hint)) << many.out;
    EXPECT_EQ(run("$L check errors.dsc").err.find("explain"), std::string::npos);
}

TEST_F(Cli, SourceLineAndCaretOnATerminal) {
    const auto onTerminal = [this](const std::string& line) {
        write("t.dsc", "belief network \"e\"\n" + line + "\n");
        return run("TERM=dumb script -qec \"$L check t.dsc\" /dev/null").out;
    };
    EXPECT_EQ(onTerminal("\tprobability (b) { 0.5; }"),
              "t.dsc:2:15: error: undeclared node 'b' (in probability block) [-4016]\r\n"
              "   probability (b) { 0.5; }\r\n"
              "                ^\r\n"
              "What that means and what to do: lumo-import explain 4016\r\n");
    EXPECT_NE(onTerminal("/*\xC3\xA9\x1b[31m\xE9\u202E*/ probability (b) { }")
                  .find("  /*é\\x1b[31mé\\u202e*/ probability (b) { }\r\n"
                        "                                    ^\r\n"),
              std::string::npos);
    const std::string far(5000, ' ');
    const std::string windowed = onTerminal(far + "probability (b)" + far);
    EXPECT_LT(windowed.size(), 500U);
    EXPECT_NE(windowed.find("probability (b)  "), std::string::npos);
}

// Of reports of one number a few are shown by check and on a terminal; -v and JSON have all.
TEST_F(Cli, ManyLikeReportsAreOne) {
    std::string text = "net { }\n";
    for (int i = 0; i < 36; ++i)
        text += "node n" + std::to_string(i) + " { states = (\"a\" \"b\"); }\npotential (n" +
                std::to_string(i) + ") { data = (0.5 x); }\n";
    write("many.net", text + "node z { states = (\"a\"); HR_Odd = 1; }\n");
    const auto place = [](int line) {
        return "many.net:" + std::to_string(line) + ":30: error: 'x' is not a number";
    };
    const auto count = [this](const std::string& command) {
        return run("{ " + command + "; } 2>&1 | grep -c \"'x' is\"").out;
    };
    const std::string piped = run("$L check many.net").err;
    EXPECT_NE(piped.find(place(7)), std::string::npos) << piped;
    EXPECT_EQ(piped.find(place(9)), std::string::npos) << piped;
    EXPECT_NE(
        piped.find("[-5040]\n  and 33 more like this (-v shows all)\nmany.net:74:26: warning: "),
        std::string::npos)
        << piped;
    const std::string seen = run("TERM=dumb script -qec \"$L check many.net\" /dev/null").out;
    EXPECT_TRUE(seen.starts_with("many.net\r\n  3:30: error: ")) << seen;
    EXPECT_NE(seen.find("^\r\n    and 33 more like this (-v shows all)\r\n  74:26: "),
              std::string::npos)
        << seen;
    EXPECT_EQ(count("$L check many.net"), "3\n");
    EXPECT_EQ(count("$L check -j 2 many.net good.erg many.net"), "6\n");
    EXPECT_EQ(count("script -qec \"$L convert many.net -o x.json\" /dev/null | grep -v explain"),
              "3\n");
    for (const char* all :
         {"$L check -v many.net", "$L many.net", "$L check --diagnostics json many.net"})
        EXPECT_EQ(count(all), "36\n") << all;
    EXPECT_EQ(nlohmann::json::parse(Slurp(folder / "x.json"))["reports"].size(), 37U);
}

TEST_F(Cli, DiagnosticsAsJsonLines) {
    const auto report = nlohmann::json::parse(run("$L check --diagnostics json errors.dsc").err);
    EXPECT_EQ(report["file"], "errors.dsc");
    EXPECT_EQ(report["number"], -4016);
    EXPECT_EQ(report["line"], 3);
    EXPECT_EQ(report["message"], "undeclared node 'b'");
}

TEST_F(Cli, ConvertToFileStandardOutputAndFolder) {
    write("out.json", "old");
    chmod(path("out.json").c_str(), 0640);
    fs::create_symlink("out.json", folder / "link.json");
    EXPECT_EQ(run("$L convert good.erg -o link.json").out, "");
    EXPECT_TRUE(fs::is_symlink(folder / "link.json"));
    const std::string text = Slurp(path("out.json"));
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["net"]["nodes"][0]["relation"]["table"], nlohmann::json({0.25, 0.75}));
    struct stat status {};
    stat(path("out.json").c_str(), &status);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
    EXPECT_EQ(run("$L convert good.erg --to json -o -").out, text);
    EXPECT_EQ(run("$L convert good.erg --to .JSON -o -").out, text);
    EXPECT_EQ(run("$L convert good.erg --to jso -o -").code, 64);
    const std::string longest = std::string(250, 'n') + ".json";
    EXPECT_EQ(run("$L convert good.erg -o " + longest).code, 0);
    EXPECT_EQ(Slurp(folder / longest), text);

    fs::create_directory(folder / "all");
    const Outcome many = run("$L convert -j 2 good.erg errors.dsc none.net --to json -o all");
    EXPECT_EQ(many.code, 2);
    EXPECT_EQ(Slurp(folder / "all/good.json"), text);
    EXPECT_EQ(nlohmann::json::parse(Slurp(folder / "all/errors.json"))["status"], "errors");
    const auto none = nlohmann::json::parse(Slurp(folder / "all/none.json"));
    EXPECT_TRUE(none["net"].is_null());
    EXPECT_EQ(none["status"], "failed");
    EXPECT_FALSE(none["reports"].empty());
}

TEST_F(Cli, InputsAreNotWrittenOver) {
    write("asia.net", Slurp(Samples() + "/hugin/asia.net"));
    write("bad.net", "net { zoom; HR_Zoom_ZoomFactor = full; }\nnode a { }\n");
    fs::create_symlink("asia.net", folder / "link.net");
    fs::create_hard_link(folder / "asia.net", folder / "hard.net");
    fs::create_directory(folder / "to");
    fs::create_symlink("../asia.net", folder / "to/bad.net");
    const std::string asia = Slurp(folder / "asia.net"), bad = Slurp(folder / "bad.net");
    for (const char* rest :
         {"asia.net -o asia.net", "asia.net -o link.net", "link.net -o ./asia.net",
          "hard.net -o asia.net", "*.net -o .", "asia.net bad.net -o to --force",
          "- -o asia.net <asia.net", "asia.net -o - >>asia.net"}) {
        const std::string command = "$L convert --to hugin " + std::string(rest);
        const Outcome r = run(command);
        EXPECT_EQ(r.code, 64) << command << r.err;
        EXPECT_NE(r.err.find("' is the input '"), std::string::npos) << r.err;
    }
    EXPECT_EQ(run("$L convert bad.net -o bad.net --force").code, 74);
    EXPECT_EQ(Slurp(folder / "asia.net"), asia);
    EXPECT_EQ(Slurp(folder / "bad.net"), bad);
    EXPECT_EQ(run("$L convert asia.net -o link.net --force").code, 0);
    EXPECT_NE(Slurp(folder / "asia.net"), asia);
    EXPECT_TRUE(fs::is_symlink(folder / "link.net"));
}

// What is there is left alone with --no-clobber, and where a person is, who is asked.
TEST_F(Cli, WhatIsThereIsWrittenOverAsAsked) {
    const std::string convert = "$L convert good.erg -o x.dsc";
    const auto atTerminal = [&](const std::string& answer, const std::string& command) {
        write("x.dsc", "old");
        write("answer", answer + "\n");
        return run("script -qec \"" + command + "\" /dev/null <answer");
    };
    const Outcome no = atTerminal("n", convert);
    EXPECT_NE(no.out.find("'x.dsc' is there already. Write over it? [y/N]"), std::string::npos)
        << no.out;
    EXPECT_EQ(no.code, 74);
    EXPECT_EQ(Slurp(folder / "x.dsc"), "old");
    EXPECT_EQ(atTerminal("y", convert).code, 0);
    EXPECT_NE(Slurp(folder / "x.dsc"), "old");
    const Outcome forced = atTerminal("n", convert + " --force");
    EXPECT_EQ(forced.out.find("[y/N]"), std::string::npos);
    EXPECT_NE(Slurp(folder / "x.dsc"), "old");
    run("mkdir all; echo old >all/good.dsc");
    const Outcome many = atTerminal("", "$L convert good.erg errors.dsc --to dsc -o all -j 2");
    EXPECT_NE(many.out.find("'all/good.dsc' is there already."), std::string::npos) << many.out;
    EXPECT_EQ(Slurp(folder / "all/good.dsc"), "old\n");
    write("x.dsc", "old");
    const Outcome left = run(convert + " --no-clobber");
    EXPECT_EQ(left.code, 74);
    EXPECT_EQ(left.err, "lumo-import: 'x.dsc' is there already, and is not written over\n");
    EXPECT_EQ(Slurp(folder / "x.dsc"), "old");
    EXPECT_EQ(run(convert).code, 0);
    EXPECT_NE(Slurp(folder / "x.dsc"), "old");
    EXPECT_EQ(run("$L convert good.erg --no-clobber -o new.dsc").code, 0);
}

TEST_F(Cli, FoldersAreMade) {
    EXPECT_EQ(run("$L convert good.erg errors.dsc --to json -o new").code, 1);
    EXPECT_TRUE(fs::exists(folder / "new/good.json") && fs::exists(folder / "new/errors.json"));
    EXPECT_EQ(run("$L convert good.erg --to json -o one/two/").code, 0);
    EXPECT_TRUE(fs::exists(folder / "one/two/good.json"));
    EXPECT_NE(run("$L convert good.erg errors.dsc -o x.json").err.find("'x.json/' makes one"),
              std::string::npos);
    EXPECT_EQ(run("$L convert good.erg errors.dsc --to json -o x.json/").code, 1);
    EXPECT_TRUE(fs::exists(folder / "x.json/good.json"));
}

TEST_F(Cli, OutputIsCompressedByItsName) {
    write("big.net", [] {
        std::string text = "net {}\n";
        for (int i = 0; i < 20000; ++i)
            text += "node n" + std::to_string(i) + " { states = (\"a\" \"b\"); }\n";
        return text;
    }());
    for (const std::string file : {"good.erg", "big.net"}) {
        EXPECT_EQ(run("$L convert " + file + " -o x.json.gz --force").code, 0);
        EXPECT_TRUE(run("gzip -dc x.json.gz").out ==
                    run("$L convert " + file + " --to json -o -").out);
    }
    EXPECT_EQ(run("$L convert good.erg -o again.dsc.gz; $L -q again.dsc.gz").code, 0);
    write("x.json.gz", "old");
    EXPECT_EQ(run("ulimit -f 1; $L convert big.net -o x.json.gz --force").code, 74);
    EXPECT_EQ(Slurp(folder / "x.json.gz"), "old");
}

TEST_F(Cli, DescriptorsAreWrittenThrough) {
    for (const std::string place : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1", "to-it"}) {
        fs::remove(folder / "to-it");
        fs::create_symlink("/dev/fd/1", folder / "to-it");
        EXPECT_EQ(run("{ echo first; $L convert good.erg --to json -o " + place +
                      "; echo last; } >log; head -1 log; tail -1 log; grep -c schema log")
                      .out,
                  "first\nlast\n1\n")
            << place;
    }
    EXPECT_EQ(run("$L convert good.erg --to json -o /dev/fd/77").code, 74);
}

TEST_F(Cli, SignalsEndItWithoutHalfAFile) {
    std::string text = "net {}\n";
    for (int i = 0; i < 50000; ++i)
        text += "node n" + std::to_string(i) + " { states = (\"a\" \"b\"); }\n";
    write("big.net", text);
    write("kept", "old");
    const int before = (run("true"), entries());
    const std::string convert = "$L convert big.net --to html -o kept & ";
    const std::string wait = "until ls -a | grep -q '^[.]lumo-' || ! kill -0 $!; do :; done; ";
    for (const std::string signal : {"INT", "TERM", "HUP", "QUIT"}) {
        Outcome r;
        for (int tries = 0; tries < 20 && std::atoi(r.out.c_str()) <= 128; ++tries) {
            write("kept", "old");  // on a busy machine the signal may come too late
            r = run("ulimit -c 0; env --default-signal " + convert + wait + "kill -" + signal +
                    " $!; wait $!; echo $?");
        }
        EXPECT_GT(std::atoi(r.out.c_str()), 128) << signal << r.out << r.err;
        EXPECT_EQ(entries(), before) << signal;
        EXPECT_EQ(Slurp(folder / "kept"), "old");
    }
    EXPECT_EQ(run("nohup " + convert + wait + "kill -HUP $!; wait $!; echo $?").out, "0\n");
}

TEST_F(Cli, InputFromPipes) {
    const std::string piped = run("cat good.erg | $L convert - --to json -o -").out;
    EXPECT_EQ(nlohmann::json::parse(piped)["net"]["name"], "stdin");
    EXPECT_EQ(run("mkfifo p.erg; cat good.erg >p.erg & $L p.erg").code, 0);
    EXPECT_EQ(run("printf 'plain text' | $L -").code, 2);
    EXPECT_EQ(run("cat errors.dsc | $L check -").err.find("stdin:3:14: error:"), 0U);
}

TEST_F(Cli, CompressedFiles) {
    write("e.dsc", Slurp(folder / "errors.dsc"));
    run("gzip -k good.erg; gzip e.dsc; head -c 40 good.erg.gz >cut.gz; cp good.erg.gz other; "
        "(head -c 10 good.erg | gzip; tail -c +11 good.erg | gzip; head -c 9 /dev/zero) "
        ">two.erg.gz; "
        "(cat good.erg.gz; echo) >more.gz; gzip </dev/null >none.gz; "
        "head -c 80000000 /dev/zero | gzip >bomb.net.gz");
    const std::pair<const char*, int> cases[] = {
        {"$L -q good.erg.gz two.erg.gz other - <good.erg.gz", 0},
        {"$L cut.gz", 1},
        {"$L none.gz", 2},
        {"printf '\\037\\213junk' | $L -", 2},
        {"$L bomb.net.gz", 2}};
    for (const auto& [command, code] : cases) {
        const Outcome r = run(command);
        EXPECT_EQ(r.code, code) << command << r.out << r.err;
        EXPECT_EQ(r.err.empty(), code == 0) << command;
    }
    EXPECT_EQ(run("$L check e.dsc.gz").err.find("e.dsc.gz:3:14: error: undeclared node"), 0U);
    EXPECT_NE(run("$L check more.gz").err.find("[-5434]"), std::string::npos);
    EXPECT_EQ(run("$L convert two.erg.gz --to json -o .").code, 0);
    EXPECT_EQ(nlohmann::json::parse(Slurp(folder / "two.json"))["net"]["name"], "two");
}

TEST_F(Cli, Folders) {
    run("mkdir -p in/b/c in/.git in/empty; cp good.erg in/z.erg; cp good.erg in/b/z.dsc; "
        "cp in/z.erg in/b/z.erg; gzip in/z.erg; cp good.erg in/.git/a.erg; ln -s .. in/b/up; "
        "echo '1 2 3' >in/numbers; echo 'class X { node A { } potential (A) { data = (1 1); } }' "
        ">in/b/c/x");
    const Outcome r = run("$L convert -rv in --to json -o in/out");
    EXPECT_EQ(r.code, 0) << r.err;
    for (const char* file : {"b/c/x.json", "b/z.dsc.json", "b/z.erg.json", "z.json"})
        EXPECT_TRUE(fs::exists(folder / "in/out" / file)) << file;
    for (const char* text : {"in/.git: notice: passed over", "in/b/up: notice",
                             "in/numbers: notice", "4 files: 4 read\n"})
        EXPECT_NE(r.err.find(text), std::string::npos) << text;
    EXPECT_NE(run("$L convert -rv in --to json -o in/out").err.find("in/out: notice"),
              std::string::npos);
    EXPECT_EQ(run("rm -r in/out; $L -r in in | tail -1").out, "8 files: 8 read\n");
    EXPECT_EQ(run("$L check in; $L check -r in/empty").err,
              "in: Is a directory; -r reads the files in it\n"
              "in/empty: no file in it is of a known format\n");
}

// What is no net is named; in a folder it is counted.
TEST_F(Cli, OtherFilesAreNoNets) {
    write("good.net", "net { } node A { } potential (A) { data = (1 0); }");
    write("page.net", "<html><body></body></html>");
    write("bare.net", "net { } node A { }");
    write("bare", "net { } node A { }");
    write("Pump.java", "class Pump { }");
    run("iconv -f UTF-8 -t UTF-16 good.net >wide.net");
    EXPECT_EQ(run("$L check page.net").err,
              "page.net: error: 'page.net' is not a net of a known format: it is an HTML page "
              "[-5435]\n");
    for (const char* file : {"page.net", "bare", "Pump.java"})
        EXPECT_EQ(run(std::string("$L -q ") + file).code, 2) << file;
    EXPECT_EQ(run("$L -q bare.net").code, 0);
    EXPECT_EQ(run("$L -q --from hugin bare").code, 0);
    EXPECT_EQ(run("$L -q --strict wide.net").code, 2);
    EXPECT_EQ(run("$L check wide.net").err,
              "wide.net: notice: 'wide.net' is read as UTF-16 [-5438]\n");
    const Outcome walked = run(
        "mkdir in; mv good.net page.net bare.net bare Pump.java wide.net in; $L -qr in | tail -1");
    EXPECT_EQ(walked.out, "6 files: 3 no nets, 3 read\n");
    EXPECT_EQ(run("$L -qr in").code, 0);
}

TEST_F(Cli, WritesThatFailLeaveNothing) {
    write("in.net", Slurp(Samples() + "/hugin/asia.net"));
    write("kept", "old");
    const int before = (run("true"), entries());
    const std::pair<const char*, const char*> cases[] = {
        {"$L convert in.net -o no/such/x.json", "'no/such/x.json': No such file or directory"},
        {"$L convert in.net --to json -o /dev/full", "'/dev/full': No space left on device"},
        {"$L convert in.net --to json -o - >/dev/full",
         "'standard output': No space left on device"},
        {"$L in.net >&-", "'standard output': Bad file descriptor"},
        {"ulimit -f 1; $L convert in.net --to json -o kept", "'kept': File too large"},
        {"ulimit -f 1; $L convert in.net --to hugin -o kept", "'kept': File too large"},
        {"{ (sleep 0.2; $L convert in.net --to json -o - 2>&3; exit $?) | :; } 3>&2; sleep 0.4; "
         "exit 74",
         "'standard output': Broken pipe"}};
    for (const auto& [command, failure] : cases) {
        const Outcome r = run(command);
        EXPECT_EQ(r.code, 74) << command;
        EXPECT_TRUE(r.err.starts_with("lumo-import: cannot write " + std::string(failure) + "\n"))
            << r.err;  // behind it gcov complains, too
    }
    EXPECT_EQ(entries(), before);
    EXPECT_EQ(Slurp(folder / "kept"), "old");
}

TEST_F(Cli, OutputsGoWhereTheirPathLeads) {
    fs::create_directory(folder / "there");
    fs::create_symlink("there/second", folder / "first");
    fs::create_symlink("new.json", folder / "there/second");
    EXPECT_EQ(run("$L convert good.erg --to json -o first").code, 0);
    EXPECT_TRUE(fs::is_symlink(folder / "first") && fs::is_symlink(folder / "there/second"));
    EXPECT_TRUE(nlohmann::json::accept(Slurp(folder / "there/new.json")));
    fs::create_symlink("round", folder / "round");
    const Outcome round = run("$L convert good.erg --to json -o round");
    EXPECT_EQ(round.code, 74);
    EXPECT_TRUE(fs::is_symlink(folder / "round"));

    write("kept.json", "old");
    chmod(path("kept.json").c_str(), 0444);
    const Outcome refused = run("$L convert good.erg -o kept.json");
    EXPECT_EQ(refused.code, 74);
    EXPECT_EQ(refused.err, "lumo-import: 'kept.json' is read-only; --force replaces it\n");
    EXPECT_NE(run("$L diff good.erg good.erg -o kept.json").err.find("Permission denied"),
              std::string::npos);
    EXPECT_EQ(Slurp(folder / "kept.json"), "old");
    EXPECT_EQ(run("$L convert good.erg -o kept.json --force").code, 0);
    EXPECT_TRUE(nlohmann::json::accept(Slurp(folder / "kept.json")));
}

TEST_F(Cli, FilesInClosedFoldersAreWrittenWhereTheyStand) {
    fs::create_directory(folder / "closed");
    write("closed/mine.json", std::string(100'000, 'x'));
    write("closed/other.json", "old");
    chmod(path("closed/mine.json").c_str(), 0666);
    chmod(path("closed/other.json").c_str(), 0644);
    chmod(path("closed").c_str(), 0555);
    chmod(folder.c_str(), 0777);
    // Whoever may do everything is somebody else for this.
    const std::string lumo = geteuid() == 0 ? "setpriv --reuid=65534 --clear-groups $L" : "$L";
    const Outcome written = run(lumo + " convert good.erg -o closed/mine.json");
    EXPECT_EQ(written.code, 0);
    EXPECT_EQ(
        written.err,
        "good.erg: notice: 'closed/mine.json' is written where it stands, not in one step: its "
        "folder takes no new file\n");
    EXPECT_TRUE(nlohmann::json::accept(Slurp(folder / "closed/mine.json")));
    EXPECT_EQ(run(lumo + " convert good.erg -o closed/new.json").code, 74);
    if (geteuid() == 0) {
        EXPECT_EQ(run(lumo + " convert good.erg -o closed/other.json").code, 74);
        EXPECT_EQ(Slurp(folder / "closed/other.json"), "old");
    }
    chmod(path("closed").c_str(), 0755);
}

TEST_F(Cli, LossesAreToldOnStandardError) {
    const std::string convert = "$L convert " + Samples() + "/hugin/umbrella.net --to dsc -o x.dsc";
    const Outcome told = run(convert);
    EXPECT_EQ(told.code, 0);
    EXPECT_EQ(told.out, "");
    EXPECT_NE(told.err.find("umbrella.net: notice: tables of 2 nodes are not kept by DSC\n"),
              std::string::npos);
    EXPECT_EQ(run(convert + " --quiet").err, "");
    const std::string lines = run(convert + " --diagnostics json").err;
    const auto first = nlohmann::json::parse(lines.substr(0, lines.find('\n')));
    EXPECT_EQ(first["kind"], "notice");
    EXPECT_EQ(first["message"], "kinds (decision, utility) of 3 nodes are not kept by DSC");
}

TEST_F(Cli, LessIsWrittenWhereThatIsAskedFor) {
    const std::string convert =
        "$L convert --plain --only-nature --verify " + Samples() + "/hugin/umbrella.net -o ";
    for (const char* out : {"x.dsc", "x.bif", "x.xml", "x.net", "x.json"}) {
        const Outcome told = run(convert + out);
        EXPECT_EQ(told.code, 0) << out;
        EXPECT_NE(told.err.find(
                      "umbrella.net: notice: 1 decision node and 2 utility nodes are left out\n"),
                  std::string::npos)
            << told.err;
        EXPECT_EQ(Slurp(folder / out).find("position = "), std::string::npos) << out;
        EXPECT_EQ(run(convert + out + " --force --quiet").err, "");
    }
}

TEST_F(Cli, ManyFilesKeepTheirOrder) {
    std::string command = "$L";
    for (int i = 0; i < 500; ++i) command += i % 2 == 0 ? " good.erg" : " errors.dsc";
    const Outcome serial = run(command);
    const Outcome parallel = run(command + " -j 4");
    EXPECT_EQ(parallel.out, serial.out);
    EXPECT_EQ(parallel.err, serial.err);
    EXPECT_NE(serial.out.find("500 files: 250 read, 250 read with errors\n"), std::string::npos);
}

TEST_F(Cli, WorkersThatDieCostOneFileAndNoneOutlivesTheBatch) {
    // The second of two workers waits for the pipe.
    const auto batchOf = [](const std::string& command) {
        return "mkfifo p.erg; " + command +
               " & P=$!; "
               "until set -- $(cat /proc/$P/task/$P/children) && [ $# = 2 ]; do :; done; ";
    };
    const std::string batch = batchOf("$L -j 2 good.erg p.erg errors.dsc good.erg");
    const Outcome died = run(batch + "kill -9 $2; wait $P");
    EXPECT_EQ(died.code, 2);
    EXPECT_EQ(died.err.find("p.erg: fatal: reading it ended with signal 9 (Killed)\n"), 0U);
    EXPECT_NE(died.out.find("4 files: 2 read, 1 read with errors, 1 not read\n"),
              std::string::npos);
    fs::remove(folder / "p.erg");
    const Outcome ended = run(batch +
                              "kill $P; wait $P; echo $?; "
                              "while grep 'State:.[^ZX]' /proc/$2/status >/dev/null; do :; done");
    EXPECT_TRUE(ended.out.ends_with("143\n")) << ended.out;

    // What it left half written goes with it, wherever a link leads.
    fs::remove(folder / "p.erg");
    fs::create_directories(folder / "there");
    fs::create_directories(folder / "out");
    fs::create_symlink("../there/p.json", folder / "out/p.json");
    run(batchOf("$L convert -j 2 good.erg p.erg none.net --to json -o out") +
        "touch there/.lumo-$2-0 there/.lumo-1$2-0; kill -9 $2; wait $P");
    EXPECT_EQ(run("ls -A there | wc -l").out, "1\n");
}

TEST_F(Cli, NoisyMaxQuestion) {
    const std::string file = Samples() + "/dxpress/alarm-bell.dxp";
    const auto relation = [&](const std::string& options) {
        const auto json = nlohmann::json::parse(
            run("$L convert --to json -o - " + options + " '" + file + "'").out);
        for (const auto& node : json["net"]["nodes"])
            if (node["relation"]["kind"] == "noisy-max") return node["relation"];
        return nlohmann::json();
    };
    EXPECT_TRUE(relation("--condense yes")["table"].is_null());
    EXPECT_TRUE(relation("--condense no")["table"].is_array());
    EXPECT_TRUE(relation("")["table"].is_array());
    EXPECT_NE(run("$L check '" + file + "'").err.find("--condense"), std::string::npos);
}

TEST_F(Cli, OptionsOfReading) {
    write("a.xml",
          "<BIF VERSION=\"0.3\"><NETWORK><VARIABLE><NAME>a</NAME><OUTCOME>x y</OUTCOME>"
          "<OUTCOMES>z</OUTCOMES></VARIABLE><DEFINITION><FOR>a</FOR><TABLE>25 75</TABLE>"
          "</DEFINITION></NETWORK></BIF>");
    const auto node = [this](const std::string& options) {
        const Outcome r = run("$L convert a.xml --to json -o - " + options);
        EXPECT_EQ(r.err.find("notice: scaled to sum to 1: 1 row of 1 node [-5420]") == r.err.npos,
                  options.find("--normalize") == options.npos)
            << r.err;
        return nlohmann::json::parse(r.out)["net"]["nodes"][0];
    };
    EXPECT_EQ(node("")["relation"]["table"], nlohmann::json({25, 75}));
    EXPECT_EQ(node("")["states"][0]["name"], nullptr);
    EXPECT_EQ(node("--strict")["states"].size(), 1U);
    const auto scaled = node("--normalize --create-state-names");
    EXPECT_EQ(scaled["relation"]["table"], nlohmann::json({0.25, 0.75}));
    EXPECT_EQ(scaled["states"][0]["name"], "x_y");
}

TEST_F(Cli, ListsFormatsAndExplainsReports) {
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"$L formats",
         {"\ndxpress   DXPress   yes   -      .dxp .dx\n",
          "\njson      JSON      yes   yes    .json\n", "\ndsc       DSC       yes   yes "}},
        {"$L explain -4022 4004",
         {"-4022: error (DSC)\n  unexpected token '...'\n", "-4004: error (Hugin)"}},
        {"$L explain [-3028] E3028 e3028 -3028", {"-3028: error (Hugin)\n  illegal number"}},
        {"$L explain 4022x 2>&1", {"lumo-import: there is no report 4022x\n"}}};
    for (const auto& [command, texts] : cases)
        for (const std::string& text : texts)
            EXPECT_NE(run(command).out.find(text), std::string::npos) << text;
}

TEST(Terminal, TextsAreCutToColumns) {
    const struct {
        const char* text;
        std::size_t columns;
        const char *end, *middle;
    } cases[] = {
        {"plain", 5, "plain", "plain"},
        {"plain", 4, "pla…", "pl…n"},
        {"e\u0301e\u0301e\u0301", 3, "e\u0301e\u0301e\u0301", "e\u0301e\u0301e\u0301"},
        {"\u6771\u4eac\u90fd\u5e81", 6, "\u6771\u4eac…", "\u6771…\u5e81"},
        {"abc", 1, "…", "…"},
        {"abc", 0, "", ""},
    };
    for (const auto& [text, columns, end, middle] : cases) {
        EXPECT_EQ(lumo::app::CutEnd(text, columns), end);
        EXPECT_EQ(lumo::app::CutMiddle(text, columns), middle);
    }
}

TEST(Terminal, ProgressFitsAnyWidth) {
    const std::string what = "reading file /a/long/way/to/東京/the.net";
    EXPECT_EQ(lumo::app::ProgressText(what, 0.5, 50),
              "[########........]  50% reading file …東京/the.net");
    EXPECT_EQ(lumo::app::ProgressText("files", 0.999, 100),
              "[#############################.]  99% files");
    for (std::size_t columns = 0; columns < 120; ++columns)
        EXPECT_LE(lumo::app::DisplayWidth(lumo::app::ProgressText(what, 2, columns)), columns);
}

constexpr const char* rainNet = "1\n2\n0\n2 0.25 0.75\nRain\nno yes\n10 20\n";

TEST_F(Cli, DiffTellsHowTwoNetsDiffer) {
    write("rain.erg", rainNet);
    write("more.erg", "1\n2\n0\n2 0.2 0.8\nRain\nno yes\n10 20\n");
    EXPECT_EQ(run("$L diff good.erg rain.erg").out, "the nets are the same: 1 node, 2 numbers\n");
    const Outcome r = run("$L diff good.erg more.erg");
    EXPECT_EQ(r.out,
              "--- good.erg (Ergo)\n+++ more.erg (Ergo)\n@@ node Rain @@\n"
              "  table: 2 of 2 numbers differ, by up to 0.05\n- 0.25 0.75\n+ 0.2 0.8\n"
              "1 node differs, 2 of 2 numbers differ, by up to 0.05\n");
    EXPECT_EQ(run("$L diff --color always -q good.erg more.erg").out.substr(0, 29),
              "\x1b[31m--- good.erg (Ergo)\x1b[0m\n");
    const std::pair<const char*, int> cases[] = {
        {"$L diff good.erg rain.erg", 0},
        {"$L diff good.erg more.erg", 1},
        {"$L diff good.erg more.erg --tolerance 0.06", 0},
        {"$L diff good.erg more.erg --tolerance 0.04", 1},
        {"$L diff good.erg none.net", 2},
        {"$L diff missing.net good.erg", 2},
        {"$L diff good.erg more.erg -o no/such/folder", 2},
        {"$L diff good.erg", 64},
        {"$L diff good.erg more.erg rain.erg", 64},
        {"$L diff good.erg more.erg --tolerance -1", 64},
        {"$L diff good.erg more.erg --tolerance much", 64},
        {"$L check good.erg --tolerance 1", 64},
    };
    for (const auto& [command, code] : cases) {
        const Outcome got = run(command);
        EXPECT_EQ(got.code, code) << command << '\n' << got.out << got.err;
    }
}

TEST_F(Cli, DiffForProgramsAndAsAPage) {
    const std::string asia = Samples() + "/hugin/asia.net";
    run("sed 's/0.99 0.01/0.9 0.1/; s/(\"yes\" \"no\")/(\"no\" \"yes\")/' " + asia + " > new.net");
    const Outcome json = run("$L diff -q --json " + asia + " new.net");
    EXPECT_EQ(json.code, 1);
    const auto parsed = nlohmann::json::parse(json.out);
    EXPECT_EQ(parsed["schema"], "lumo-import-diff/1");
    EXPECT_EQ(parsed["same"], false);
    EXPECT_EQ(parsed["sameNodes"].get<int>() + static_cast<int>(parsed["nodes"].size()), 8);
    const Outcome page = run("$L diff -q --html " + asia + " new.net -o page.html");
    EXPECT_EQ(page.code, 1);
    EXPECT_EQ(page.out, "");
    const std::string html = Slurp(folder / "page.html");
    EXPECT_NE(html.find("class=\"changed\"><title>"), std::string::npos);
    EXPECT_EQ(html.find("<script"), std::string::npos);
    EXPECT_EQ(html.find("style=\""), std::string::npos) << "which the page's policy refuses";
    EXPECT_EQ(html.find("<?xml"), std::string::npos);
    std::set<std::string> ids;
    const std::regex id(" id=\"([^\"]+)\"");
    for (std::sregex_iterator at(html.begin(), html.end(), id), end; at != end; ++at)
        EXPECT_TRUE(ids.insert((*at)[1]).second) << (*at)[1];
}

TEST_F(Cli, ListIsATableOfNets) {
    run("mkdir nets && cp '" + Samples() + "/hugin/asia.net' nets && " +
        "$L convert -q nets/asia.net -o nets/b.xml && cp good.erg none.net nets");
    const Outcome text = run("$L list nets");
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_EQ(text.err, "");
    EXPECT_EQ(text.out.substr(0, text.out.find('\n')),
              "file           format  status  nodes  links  parameters  largest  clique  depth  "
              "errors  warnings  same");
    EXPECT_NE(
        text.out.find("nets/b.xml     xmlbif  ok          8      8          18        8       "
                      "3      3       0         0  nets/asia.net\n"),
        std::string::npos)
        << text.out;
    const std::pair<const char*, const char*> chosen[] = {
        {"--where 'nodes > 5'", "nets/asia.net nets/b.xml "},
        {"--where 'nodes>5' --where 'format = xmlbif'", "nets/b.xml "},
        {"--where 'status = failed'", "nets/none.net "},
        {"--where 'clique <= 1'", "nets/good.erg "},
        {"--sort -format", "nets/b.xml nets/asia.net nets/none.net nets/good.erg "},
    };
    for (const auto& [options, wanted] : chosen) {
        const Outcome csv = run(std::string("$L list --csv nets ") + options);
        std::istringstream lines(csv.out);
        std::string files, line;
        std::getline(lines, line);
        EXPECT_TRUE(line.starts_with("file,format,status,")) << line;
        while (std::getline(lines, line)) files += line.substr(0, line.find(',')) + " ";
        EXPECT_EQ(files, wanted) << options << csv.err;
    }
    EXPECT_EQ(run("$L list -j 3 nets").out, text.out);
    EXPECT_EQ(run("$L list --where 'nodes > 0' --sort file nets").out,
              run("$L list nets --sort file --where 'nodes > 0'").out);
    const Outcome json = run("$L list --json nets/asia.net nets/b.xml");
    std::istringstream lines(json.out);
    std::string one, two;
    std::getline(lines, one), std::getline(lines, two);
    EXPECT_EQ(nlohmann::json::parse(one)["content"], nlohmann::json::parse(two)["content"]);
    const std::pair<const char*, int> codes[] = {
        {"$L list none.net", 2},
        {"$L list nets --where 'nods > 5'", 64},
        {"$L list nets --where 'nodes'", 64},
        {"$L list nets --where 'nodes >'", 64},
        {"$L list nets --where 'nodes => 5'", 64},
        {"$L list nets --sort size", 64},
        {"$L list", 64},
    };
    for (const auto& [command, code] : codes) EXPECT_EQ(run(command).code, code) << command;
}

TEST_F(Cli, ConvertVerifiesWhatItWrote) {
    const std::string asia = Samples() + "/hugin/asia.net";
    for (const char* out : {"a.xml", "a.bif", "a.net", "a.dsc", "a.xdsl", "a.uai", "a.json"}) {
        const Outcome r = run("$L convert -q --verify " + asia + " -o " + out);
        EXPECT_EQ(r.code, 0) << out << r.err;
    }
    EXPECT_EQ(run("$L convert --verify " + asia + " -o a.svg").code, 64);
    EXPECT_EQ(run("$L convert --verify " + asia + " --to bif -o -").code, 64);
    // A file that another process spoils meanwhile.
    EXPECT_EQ(run("ln -s /dev/null gone.bif; $L convert --verify " + asia + " -o gone.bif").code,
              74);
}

}  // namespace
