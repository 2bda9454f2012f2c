// Hugin .net files: what their texts in tests/cases cannot show, and what hostile files may cost.
#include <filesystem>

#include "tests/roundtrip.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

/// What lenient reading keeps of such files is written as they had it.
TEST(Hugin, GoesBackAsItCame) {
    const std::string text = R"(net
{
  name = "Farm";
}

node age
{
  states = ("young" "old");
  subtype = interval;
  state_values = (-infinity 20.5 infinity);
  colours = ("red" "dark blue");
}

node count
{
  states = ("0" "5");
  subtype = number;
  state_values = (0 5);
}

node flag
{
  states = ("false" "true");
  subtype = boolean;
}

continuous node yield
{
  label = "Yield";
}

potential (age)
{
  model_nodes = ();
  model_data = (Normal(20, 5));
  data = (0.5 0.5);
}

potential (count)
{
  data = (0.123456789012 0.876543210988);
}

potential (flag | age)
{
  data = ((0.2 0.8)
          (0.3 0.7));
  experience = (50 20);
}

potential (yield | flag)
{
  data = (normal(0, 1) normal(2 + 3 * yield, 3));
}
)";
    ImportResult result;
    result.net = ImportLeniently(text, FormatHugin, "farm.net").net;
    EXPECT_EQ(Write(result, "hugin"), text);
    const Bnet_bn& net = *result.net;
    EXPECT_STREQ(net.title, "Farm");
    EXPECT_FALSE(net.nodes[0]->variable.discrete);
    ASSERT_EQ(net.nodes[0]->variable.numLevels, 3);
    EXPECT_EQ(net.nodes[0]->variable.levels[1], 20.5);
    ASSERT_EQ(net.nodes[1]->variable.numLevels, 2);
    EXPECT_EQ(net.nodes[1]->variable.levels[1], 5);
    EXPECT_EQ(net.nodes[0]->userFields().size(), 3U);
    // Strictly, the texts are what they were.
    EXPECT_EQ(ImportText(text, FormatHugin, "farm.net").net->nodes[1]->userFields().size(), 1U);
}

/// Nodes called as the language calls other things are renamed, as programs stumble over them.
TEST(Hugin, ItsOwnWordsAreNoNames) {
    ImportResult result;
    result.net = ImportText(
                     "net { } node Data { states = (\"a\"); } node Data2 { states = (\"a\"); }"
                     "node b { states = (\"a\"); } potential (b | Data) { data = (1); }",
                     FormatHugin)
                     .net;
    const std::string text = Write(result, "hugin");
    EXPECT_NE(text.find("\nnode Data3\n"), text.npos) << text;
    EXPECT_NE(text.find("\npotential (b | Data3)\n"), text.npos) << text;
    const Losses losses = FindWriter("hugin")->losses(*result.net);
    EXPECT_EQ(LossNotes(losses, "Hugin").at(0), "names of 1 node are not kept by Hugin");
}

Imported Import(const std::string& text) { return ImportText(text, FormatHugin); }

const Vnet_kt& Drawing(const Imported& got) { return *got.net->vnets[0]; }

/// A version 5 file with the given net fields and objects.
std::string File(const std::string& fields, const std::string& objects) {
    return "net {\n" + fields + "}\n" + objects;
}

/// Names of the nodes, each with the number of entries of its table: "A/2 B/0".
std::string Tables(const Imported& got) {
    std::string out;
    if (got.net == nullptr) return "null";
    for (const Bnode_bn* node : got.net->nodes) {
        const int entries = node->relation.probs ? NumProduct(node->family) : 0;
        out += (out.empty() ? "" : " ") + std::string(node->name()) + '/' + std::to_string(entries);
    }
    return out;
}

std::string Groups(const Imported& got) {
    std::string out;
    for (const NodesetStyle& style : Drawing(got).nodesetStyles) {
        const nodeset_bn* set = got.net->findNodeset(style.name);
        out += Format("%s#%02x%02x%02x:", style.name, style.red, style.green, style.blue);
        for (const Bnode_bn* node : set->nodes()) out += std::string(" ") + node->name();
        out += '\n';
    }
    return out;
}

TEST(Hugin, Groups) {
    const std::string nodes =
        "node A { HR_Grp = \"0\"; } node B { HR_Group = \"0\"; } node C { HR_Group = \"2\"; }"
        "node D { HR_Grp = \"1\"; HR_Grp = \"\"; }";
    const struct {
        std::string fields, groups;
    } cases[] = {
        {"HR_Groups_GroupNames = \"x\ty\\t\"; HR_Groups_UserGroupsNo = \"4\";",
         "x#ffffcc: A\ny#ffffcc: D\nGroup_03#ffffcc: C\nGroup_04#ffffcc:\n"},
        {"HR_Groups_GroupNames = \"1\t\t1\"; HR_Groups_GroupNames = \"Group_05\";"
         "HR_Groups_GroupColors = \"0063123\"; HR_Groups_UserGroupsNo = \"5\";",
         "G1#ffffff: A\nG#000000: D\nG1_2#00ffff: C\nGroup_05#ff00ff:\nGroup_05_2#ffffcc:\n"},
        {"HR_Groups_UserGroupsNo = \"2\"; HR_Groups_GroupColors = \"01\";", ""},
        {"HR_Group_2_Name = \"" + std::string(300, 'n') +
             "\"; HR_Group_2Color = \"4\";"
             "hr_group_1 = \"\"; HR_Group_0_description = \"d\"; HR_Group_0_NAME = \"a b\";",
         "a_b#ffffff: A\nGroup_02#ffffff: D\n" + std::string(31, 'n') + "#c6ffff: C\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.fields);
        const Imported got = Import(File(c.fields, nodes));
        EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
        if (c.fields.find("nnn") != std::string::npos) {  // the set keeps the full name
            EXPECT_NE(got.net->findNodeset(std::string(255, 'n')), nullptr);
            continue;
        }
        EXPECT_EQ(Groups(got), c.groups);
    }
}

TEST(Hugin, NamesOfManyObjectsAreCut) {
    std::string many = "net { }\nnode A { }\n";
    for (int i = 0; i < 30; ++i) many += "function N" + std::to_string(i) + " { }\n";
    EXPECT_NE(Import(many).seen.text().find("passed over (30 of type 'function'): N0, N1, "),
              std::string::npos);
    EXPECT_NE(Import(many).seen.text().find(", N19 ...\n"), std::string::npos);
}

// A file of two classes, of which the first is part of the second.
TEST(Hugin, ChoosesAmongClasses) {
    const std::string text =
        "class Part { node P { } }\nclass Whole { instance I : Part () { } node W { } }\n";
    ReadOptions options;
    const auto read = [&](const std::string& classes) {
        Imported got = ImportText(classes, FormatHugin, "test.net", false, options);
        return (got.net == nullptr ? "null" : std::string(got.net->title) + ' ' + Tables(got)) +
               '\n' + got.seen.text();
    };
    EXPECT_EQ(read(text).substr(0, 9), "Part P/0\n");
    options.lenient = true;
    EXPECT_EQ(read(text),
              "Whole W/0 I_P/0\n-5142 2:15 1 instance is read as nodes of the net: I : Part\n");
    EXPECT_EQ(read(text + "class Rest { }"),
              "Whole W/0 I_P/0\n-5140 2:1 class 'Whole' is read; the other classes of the file are "
              "Part, Rest\n-5142 2:15 1 instance is read as nodes of the net: I : Part\n");
    options.className = "Part";
    EXPECT_EQ(read(text).substr(0, 9), "Part P/0\n");
    options.className = "Hole";
    EXPECT_EQ(read(text),
              "null\n-5141 1:1 there is no class 'Hole' in this file, which has Part, Whole\n");
}

// Classes are found in the folder of the file, and in no other.
TEST(Hugin, ReadsClassesBesideTheFile) {
    namespace fs = std::filesystem;
    const fs::path folder = fs::path(testing::TempDir()) / "hugin classes";
    fs::remove_all(folder);
    fs::create_directories(folder / "in");
    const auto write = [&](const char* name, const std::string& text) {
        std::ofstream(folder / name) << text;
    };
    const auto instance = [](const std::string& of) { return "instance I" + of + " : " + of; };
    write("in/A.oobn", "class A { " + instance("B") + " () { } node X { } }");
    write("in/B.net", "class Other { }\nclass B { node Y { } " + instance("Other") + " () { } }");
    write("in/C.oobn", "class D { node Z { } }");
    write("D.oobn", "class D { node Z { } }");
    std::error_code noLinks;  // not every system has them; then there is no such file
    fs::create_symlink("../D.oobn", folder / "in/D.oobn", noLinks);
    write("in/main.oobn", "class Main { " + instance("A") + " () { } " + instance("C") +
                              " () { } " + instance("D") + " () { } instance I1 : ../D () { } }");
    ReadOptions options;
    options.lenient = true;
    const auto read = [&](const std::string& file) {
        Imported got;
        HandlerScope scope(got.seen);
        got.net.reset(ReadForeignNetFile((folder / file).string().c_str(), FormatHugin, options));
        return Tables(got) + '\n' + got.seen.text();
    };
    EXPECT_EQ(
        read("in/main.oobn"),
        "IA_X/0 IA_IB_Y/0\n-5143 1:14 3 instances are read from files beside this one: IA : A "
        "(A.oobn), IA.IB : B (B.net), IA.IB.IOther : Other (B.net)\n-5144 1:37 3 instances are "
        "passed over, for their "
        "classes are neither in this file nor beside it: IC : C, ID : D, I1 : ../D\n");
    write("in/B.net", "class B { node Y { } node Y { } }");
    EXPECT_EQ(read("in/A.oobn"),
              "X/0 IB_Y/0\n-5080 1:27 there is a node 'IB.Y' already\n"
              "-5143 1:11 1 instance is read from files beside this one: IB : B (B.net)\n");
    EXPECT_EQ(ImportLeniently(ReadFile((folder / "in/A.oobn").string()), FormatHugin).net->nodes.N,
              1);
}

// Each class holds two instances of the next, so that the last would be there a billion times.
TEST(Hugin, InstancesHaveAnEnd) {
    std::string text;
    for (int i = 30; i > 0; --i) {
        const std::string next = " : C" + std::to_string(i + 1) + " () { } ";
        text += "class C" + std::to_string(i) + " { node X { } ";
        text += i == 30 ? "} " : "instance A" + next + "instance B" + next + "} ";
    }
    const Imported got = ImportLeniently(text, FormatHugin);
    EXPECT_EQ(got.net->nodes.N, 10001);
    EXPECT_EQ(got.seen.count(-5147), 1);
    ExpectSound(got);
}

TEST(Hugin, LargeInputsTakeLinearTime) {
    constexpr int million = 1'000'000;
    constexpr int many = 100'000;
    const std::string net = "net { }\n", nodeA = net + "node A { ";
    const std::string names = Numbered(20'000, "g", "\t"), nodes = Numbered(40, "node A", "{ }\n");
    ExpectLinear(
        {
            {net + Numbered(million, "w", " "), 0, -3040},
            {"net { " + Numbered(million, "w", " "), -1, -3036},
            {nodeA + "} potential (A) { data = " + Repeated("(", million), 1, -5049},
            {"net { x = " + Repeated("(", million), 0, -3038},
            {"net { HR_Groups_UserGroupsNo = \"10000\"; } node A { }", 1, 0},
            {net + Repeated("{", million), 0, -3041},
            {net + "node A " + Repeated("{", million), 1, -3035},
            {nodeA + "label = \"" + Repeated("endless ", million), 1, -5043},
            {nodeA + "states = (\"" + Repeated("x\n", million), 1, -5043},
            {nodeA + "\n" + Repeated("states = (\"a\n", many), 1, -5043},
            {nodeA + "\nx = \"\n" + Repeated("\\\"\n", million) + "\" x", 1, -5043},
            {net + Repeated("foo { \"\n", many), -1, -3040},
            {net + Numbered(many, "foo { node A", " { }\n"), many, -3040},
            {net + Numbered(many, "node A", " { states = (\"a\" \"b\");\n"), 1000, -5020},
            {net + Numbered(many, "node A", "\n"), 1, -3034},
            {nodeA + "states = (" + Repeated("s ", million + 1) + "); }", 1, -5047},
            {nodeA + "} node B { } potential (A |" + Repeated(" B", many) +
                 ") { data = (1 1 1 1); }",
             2, -5084},
            {net + nodes + "potential (A39 |" + Numbered(39, " A", "") + ") { data = (1 2); }", 40,
             -5087},
            {"net { HR_Groups_GroupNames = \"" + names + "\"; } node A { }", 1, -5096},
            {"net { " + Numbered(10'000, "HR_Group_", "_Name = \"g\";\n") +
                 "} node A { HR_Grp = \"9999\"; }",
             1, 0},
            {nodeA + "position = (2147483647 -2147483648); position = (-2147483648 2147483647); } "
                     "node B { position = (-2147483648 2147483647); }",
             2, 0},
            {nodeA + Repeated("HR_x = (a \"; b \" ", many), 1, -3038},
            {nodeA + "HR_x = (" + Repeated("a\" )", million), 1, -3037},
            {"class A { node N { } } " + Numbered(many, "class C", " { instance I : D () { } } "),
             1, -5123},
            {net + Numbered(many, "node f(", ")( { }\n"), 1000, -3034},
        },
        FormatHugin);
}

}  // namespace
}  // namespace lumo::test
