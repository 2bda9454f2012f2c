// lumo-import check for machines: forms, thresholds, what is let pass.
#include <algorithm>
#include <iterator>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "tests/commandline.h"

namespace {

using lumo::test::Cli;
using lumo::test::Outcome;
using lumo::test::Slurp;
using nlohmann::json;

/// A file with warnings, one with errors, and a line with letters of two bytes.
class Check : public Cli {
protected:
    void SetUp() override {
        Cli::SetUp();
        write("warns.net",
              "net { }\nnode a { states = (\"x\"); HR_Odd = 1; HR_Odder = 2; }\n"
              "potential (a) { data = (1); }\n");
        write("wide.dsc",
              "belief network \"e\"\n/* \u00e9\u00e9 */ probability (b) { 0.5; }\n"
              "node a { type: discrete[2] = {\"x\", \"y\"}; }\n");
    }
};

// ---- SARIF against the members that its schema has and requires -------------------------------

/// An object of the schema: its members with the shapes of their values, those that are required
/// with a '!'. "[x" is an array of x.
using Shape = std::map<std::string, std::string>;

const std::map<std::string, Shape> sarif = {
    {"log", {{"$schema", "text"}, {"version!", "text"}, {"runs!", "[run"}}},
    {"run",
     {{"tool!", "tool"},
      {"results", "[result"},
      {"invocations", "[invocation"},
      {"columnKind", "text"}}},
    {"tool", {{"driver!", "component"}}},
    {"component", {{"name!", "text"}, {"version", "text"}, {"rules", "[rule"}}},
    {"rule",
     {{"id!", "text"},
      {"shortDescription", "message!"},
      {"fullDescription", "message!"},
      {"help", "message!"},
      {"defaultConfiguration", "configuration"}}},
    {"message!", {{"text!", "text"}, {"markdown", "text"}}},
    {"configuration", {{"level", "level"}}},
    {"invocation", {{"executionSuccessful!", "bool"}, {"exitCode", "int"}}},
    {"result",
     {{"message!", "message!"},
      {"ruleId", "text"},
      {"level", "level"},
      {"locations", "[location"}}},
    {"location", {{"physicalLocation", "physical"}, {"logicalLocations", "[logical"}}},
    {"physical",
     {{"artifactLocation!", "artifact"}, {"region", "region"}, {"contextRegion", "region"}}},
    {"artifact", {{"uri", "uri"}}},
    {"logical", {{"name", "text"}}},
    {"region", {{"startLine", "place"}, {"startColumn", "place"}, {"snippet", "message!"}}},
};

void Hold(const json& value, const std::string& shape, const std::string& where) {
    if (shape[0] == '[') {
        ASSERT_TRUE(value.is_array()) << where;
        for (const json& item : value) Hold(item, shape.substr(1), where + "[]");
    } else if (const auto object = sarif.find(shape); object != sarif.end()) {
        ASSERT_TRUE(value.is_object()) << where;
        std::size_t known = 0;
        for (const auto& [member, its] : object->second) {
            const bool isRequired = member.back() == '!';
            const std::string name = isRequired ? member.substr(0, member.size() - 1) : member;
            EXPECT_TRUE(!isRequired || value.contains(name)) << where << " lacks " << name;
            if (!value.contains(name)) continue;
            ++known;
            Hold(value[name], its, where + "." + name);
        }
        EXPECT_EQ(value.size(), known) << where << " has more: " << value;
    } else if (shape == "level") {
        const std::string level = value;
        EXPECT_TRUE(level == "note" || level == "warning" || level == "error") << level;
    } else if (shape == "place") {
        EXPECT_GE(value.get<int>(), 1) << where;
    } else if (shape == "uri") {
        EXPECT_TRUE(std::regex_match(value.get<std::string>(),
                                     std::regex("(file://)?([A-Za-z0-9._~/-]|%[0-9A-F]{2})+")))
            << value;
    } else if (shape == "text") {
        EXPECT_FALSE(value.get<std::string>().empty()) << where;
    } else {
        EXPECT_TRUE(shape == "bool" ? value.is_boolean() : value.is_number_integer()) << where;
    }
}

TEST_F(Check, Sarif) {
    write("a b%.net", Slurp(folder / "warns.net"));
    const Outcome r =
        run("$L check --format sarif -j 2 warns.net wide.dsc good.erg missing \"$PWD/a b%.net\"");
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(r.err, "");
    const json log = json::parse(r.out);
    Hold(log, "log", "");
    EXPECT_EQ(log["version"], "2.1.0");
    const json& results = log["runs"][0]["results"];
    std::map<std::string, json> rules;
    for (const json& rule : log["runs"][0]["tool"]["driver"]["rules"]) rules[rule["id"]] = rule;
    for (const json& result : results) EXPECT_TRUE(rules.contains(result["ruleId"])) << result;
    const auto wide = std::ranges::find_if(
        results, [](const json& result) { return result["ruleId"] == "LUMO4016"; });
    ASSERT_NE(wide, results.end());
    const json& place = (*wide)["locations"][0]["physicalLocation"];
    EXPECT_EQ(place["artifactLocation"]["uri"], "wide.dsc");
    EXPECT_EQ(place["region"], json::parse(R"({"startLine": 2, "startColumn": 23,
                                               "snippet": {"text": "b) { 0.5; }"}})"));
    EXPECT_EQ(place["contextRegion"]["snippet"]["text"], "/* éé */ probability (b) { 0.5; }");
    EXPECT_EQ((*wide)["level"], "error");
    const json& rule = rules["LUMO4016"];
    EXPECT_EQ(rule["shortDescription"]["text"], "undeclared node '...'");
    EXPECT_NE(run("$L explain 4016 | tr -s '\\n ' ' '").out.find(rule["help"]["text"]),
              std::string::npos);
    const std::string uri =
        results.back()["locations"][0]["physicalLocation"]["artifactLocation"]["uri"];
    EXPECT_TRUE(uri.starts_with("file:///") && uri.ends_with("/a%20b%25.net")) << uri;
}

TEST_F(Check, GithubAnnotations) {
    write("a,b:%.net", Slurp(folder / "warns.net"));
    const Outcome r = run("$L check --format github 'a,b:%.net' wide.dsc good.erg missing");
    EXPECT_EQ(r.err, "");
    std::istringstream lines(r.out);
    const std::regex form(
        "::(notice|warning|error) file=[^,:]+(,line=\\d+,col=\\d+)?,title=[^,:]+::.+");
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(std::regex_match(line, form)) << line;
    EXPECT_NE(r.out.find("::warning file=a%2Cb%3A%25.net,line=2,col=26,title="), std::string::npos)
        << r.out;
    EXPECT_NE(
        r.out.find("::error file=wide.dsc,line=2,col=23,title=lumo-import::undeclared node 'b'"),
        std::string::npos)
        << r.out;
}

TEST_F(Check, JUnit) {
    const Outcome r =
        run("$L check --format junit -j 2 good.erg warns.net wide.dsc missing | python3 -c '\n"
            "import sys, xml.etree.ElementTree as tree\n"
            "suite = tree.fromstring(sys.stdin.buffer.read())[0]\n"
            "print(*(suite.get(key) for key in (\"tests\", \"failures\", \"errors\")))\n"
            "for case in suite: print(case.get(\"name\"), *(part.tag for part in case))\n"
            "print(suite[2][0].get(\"message\"))'");
    EXPECT_EQ(r.out,
              "4 1 1\ngood.erg\nwarns.net system-out\nwide.dsc failure\nmissing error\n"
              "undeclared node 'b' (in probability block) [-4016]\n")
        << r.err;
}

TEST_F(Check, JsonLines) {
    for (const char* form : {"--json", "--format json -j 2"}) {
        const Outcome r = run(std::string("$L check good.erg warns.net ") + form);
        EXPECT_EQ(r.code, 0);
        EXPECT_EQ(r.err, "");
        std::istringstream lines(r.out);
        std::string good, warns, more;
        std::getline(lines, good), std::getline(lines, warns);
        EXPECT_FALSE(std::getline(lines, more));
        EXPECT_EQ(json::parse(good)["reports"], json::array());
        const json object = json::parse(warns);
        EXPECT_EQ(object["status"], "warnings");
        ASSERT_EQ(object["reports"].size(), 2U);
        EXPECT_EQ(object["reports"][0]["number"], -3037);
        EXPECT_EQ(object["reports"][0]["structName"], "a");
        EXPECT_EQ(object["reports"][0]["sourceLine"],
                  "node a { states = (\"x\"); HR_Odd = 1; HR_Odder = 2; }");
    }
}

TEST_F(Check, TotalOfManyFiles) {
    EXPECT_EQ(run("$L check warns.net 2>&1 | grep -c files").out, "0\n");
    const std::string total =
        "4 files, 1 not read: 2 errors, 2 warnings\n"
        "       2  [-3037] unknown or ignored field\n";
    for (const char* jobs : {"", " -j 3"}) {
        const Outcome r = run(std::string("$L check warns.net wide.dsc good.erg missing") + jobs);
        EXPECT_NE(r.err.find(total), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
    EXPECT_EQ(run("$L check good.erg good.erg").err, "2 files: no problems\n");
    EXPECT_EQ(run("$L check -q good.erg good.erg").err, "");
}

TEST_F(Check, WhatFailsAndWhatIsLetPass) {
    const std::pair<const char*, int> cases[] = {
        {"warns.net", 0},
        {"--fail-on warning warns.net", 1},
        {"--fail-on=warning warns.net good.erg", 1},
        {"--max-severity notice warns.net", 1},
        {"--max-severity none warns.net", 1},
        {"--max-severity warning warns.net", 0},
        {"wide.dsc", 1},
        {"--max-severity error wide.dsc", 0},
        {"--fail-on fatal wide.dsc", 0},
        {"--fail-on fatal missing", 2},
        {"--allow 4016 wide.dsc", 0},
        {"--ignore [-4016] wide.dsc", 0},
        {"--allow 3037,E4016 --fail-on notice wide.dsc warns.net -j 2", 0},
        {"--allow 3037 --allow 4016 --fail-on notice wide.dsc warns.net", 0},
        {"--allow 3037 --ignore 4016 --fail-on notice wide.dsc warns.net", 0},
        {"--allow 3037 wide.dsc", 1},
        {"--allow 3468 missing", 0},
        {"--fail-on warning --max-severity error wide.dsc", 64},
        {"--fail-on often wide.dsc", 64},
        {"--allow 7 wide.dsc", 64},
        {"--baseline nosuch wide.dsc", 64},
        {"--baseline good.erg wide.dsc", 64},
    };
    for (const auto& [arguments, code] : cases)
        for (const char* form : {"", "--format sarif "}) {
            const Outcome r = run("$L check " + std::string(form) + arguments);
            EXPECT_EQ(r.code, code) << form << arguments << r.err;
        }
    EXPECT_EQ(run("$L check --allow 4016 wide.dsc").err, "");
    EXPECT_EQ(run("$L convert --fail-on error wide.dsc -o -").code, 64);
}

TEST_F(Check, Baseline) {
    run("mkdir sub");
    EXPECT_EQ(run("$L check -j 2 warns.net wide.dsc missing --write-baseline sub/known").code, 0);
    EXPECT_EQ(Slurp(folder / "sub/known").find("# "), 0U);
    for (const char* command :
         {"$L check --fail-on notice --baseline sub/known warns.net wide.dsc missing",
          "cd sub; $L check --fail-on notice --baseline known -j 2 ../wide.dsc $PWD/../missing"}) {
        const Outcome r = run(command);
        EXPECT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.err.find(" files"), std::string::npos);
        EXPECT_NE(r.err.find("no problems, "), std::string::npos) << r.err;
    }
    // A problem that moved is known, one that came again is not.
    write("warns.net",
          "\n\n" + Slurp(folder / "warns.net") + "node b { HR_New = 1; } potential (b) { }");
    const Outcome more = run("$L check --fail-on warning --baseline sub/known warns.net");
    EXPECT_EQ(more.code, 1);
    EXPECT_EQ(more.err.find("warns.net:6:10: warning: "), 0U) << more.err;
    EXPECT_EQ(std::ranges::count(more.err, '\n'), 2) << more.err;
    EXPECT_EQ(run("$L check wide.dsc --write-baseline no/such").code, 74);
    // What cannot be read is no baseline that lets nothing pass.
    write("odd", "0.5\n");
    for (const char* file : {"no/such", "sub", "odd"}) {
        const Outcome bad = run("$L check --baseline " + std::string(file) + " wide.dsc");
        EXPECT_EQ(bad.code, 64) << file << bad.err;
        EXPECT_NE(bad.err.find(std::string("'") + file + "'"), std::string::npos) << bad.err;
    }
}

}  // namespace
