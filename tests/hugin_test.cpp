// Hugin .net files: what is read into the net, every report at its place, and recovery from damage.
#include <algorithm>

#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Import(const std::string& text) { return ImportText(text, FormatHugin); }

const Bnode_bn& Node(const Imported& got, const char* name) {
    Bnode_bn* const node = got.net == nullptr ? nullptr : got.net->findNodeLabeled(name);
    if (node == nullptr) throw std::runtime_error(std::string("no node ") + name);
    return *node;
}

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

// ---- Dialects ------------------------------------------------------------------------------

// Well-formed files of other writers: no error, and the tables that they give.
TEST(Hugin, ReadsWhatOtherProgramsWrite) {
    const std::string ab =
        "node A { states = (\"y\" \"n\"); }\nnode B { states = (\"y\" \"n\"); }\n";
    const struct {
        std::string text, tables;
    } cases[] = {
        {"% banner\r\n\r\nNET\r\n{\r\n}\r\nNODE A\r\n{\r\n}\r\nPotential ( A | )\r\n{\tDATA\r\n = "
         "(1\t3);\r\n}",
         "A/2"},
        {"net{}" + ab + "potential(B|A){data=((.1 .9)(5.E-1 +0.5));}", "A/0 B/4"},
        {"net {}" + ab + "potential (B | A) { data = (0.1, 0.9, % first\n 0.2, 0.8); }", "A/0 B/4"},
        {"net {}" + ab + "potential (B\n|\nA\n) { data = (((((1 0))((0 1))))); }", "A/0 B/4"},
        {"net {}" + ab +
             "potential (B | A) { model_nodes = (A); model_data = (if(A>1, \"a;}\", 2));"
             " data = ((1 1)(1 1)); experience = (2 3); }",
         "A/0 B/4"},
        {"net { HR_X = javax[a,b]; tree = \"(a;(b))\"; }" + ab, "A/0 B/0"},
        {"class C { inputs = (); outputs = (A B); node_size = (80.5, 40);" + ab +
             "potential (A) {} } % class C",
         "A/0 B/0"},
        {"net {} node a.1-b { } node f(x,y2) {} potential (f(x,y2) | a.1-b) { data = (1 0 0 1); }",
         "a_1_b/0 f_x_y2_/4"},
        {"net {} node 45 {} node 9 {} potential (45 | 9) { data = (1 1 1 1); }", "N45/4 N9/0"},
        {"net {} node A { states = (\"\" \"\" \"\"); subtype = interval; state_values = (0 1 2 3); "
         "}",
         "A/0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const Imported got = Import(c.text);
        EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
        EXPECT_EQ(Tables(got), c.tables);
    }
}

TEST(Hugin, PotentialData) {
    const std::string nodes = "node A {} node B { states = (\"a\" \"b\" \"c\"); } utility U {}\n";
    const struct {
        const char *potential, *node, *text;
    } cases[] = {
        {"potential (A) { data = (2 2); }", "A",
         "nature A at 40,40\n  states - -\n  table 0.5 0.5\n  experience 4\n"},
        {"potential (A | B) { data = ((0.3 0.7) (0.999 0) (1 2.999)); }", "A",
         "nature A at 40,40\n  states - -\n  parents B\n"
         "  table 0.3 0.7 1 0 0.25006253 0.7499375\n  experience 1 1 4\n"},
        {"potential (A | B) { data = ((0.001 0) (0 1) (0.998 0)); }", "A",
         "nature A at 40,40\n  states - -\n  parents B\n  deterministic 1 0 0 1 1 0\n"
         "  experience 0 1 1\n"},
        {"potential (U | A B) { data = ((-1 2 3) (1e3 .5 6)); }", "U",
         "utility U continuous at 40,40\n  states\n  parents A B\n  real -1 2 3 1000 0.5 6\n"},
        {"potential (U) { data = (-1); }", "U",
         "utility U continuous at 40,40\n  states\n  real -1\n"},
    };
    for (const auto& c : cases) {
        const Imported got = Import(File("", nodes + c.potential));
        EXPECT_EQ(got.seen.text(), "");
        EXPECT_EQ(NodeText(Node(got, c.node)), c.text);
    }
}

TEST(Hugin, PositionsAreScaledByTheZoomAndTurnedOverInVersion5) {
    const std::string nodes =
        "node A { position = (-100 50); } node B { position = (0 150); } node C { position = (30 "
        "80); }";
    const struct {
        std::string text;
        coord_kt a, b;
    } cases[] = {
        {File("", nodes), {40, 165}, {165, 40}},
        {File("HR_Zoom_ZoomFactor = \"200\";", nodes), {40, 103}, {103, 40}},
        {"class X { HR_Zoom_ZoomFactor = \"50\";" + nodes + "}", {40, 40}, {290, 290}},
        {File("HR_Zoom_ZoomFactor = \"0\";", nodes), {40, 165}, {165, 40}},
        {File("HR_Zoom_ZoomFactor = \"-1\";", nodes), {40, 165}, {165, 40}},
        {File("HR_Zoom_ZoomFactor = \"1e300\";", nodes), {40, 40}, {40, 40}},
        {File("HR_Zoom_ZoomFactor = \"1e-300\";", nodes), {40, INT_MAX}, {INT_MAX, 40}},
        {File("HR_Zoom_ZoomFactor = \"1e-320\";", nodes), {40, 165}, {165, 40}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        const Imported got = Import(c.text);
        EXPECT_EQ(got.seen.errors(), 0) << got.seen.text();
        const auto position = [&](const char* name) { return Node(got, name).vns[0]->position; };
        EXPECT_EQ(position("A").x, c.a.x);
        EXPECT_EQ(position("A").y, c.a.y);
        EXPECT_EQ(position("B").x, c.b.x);
        EXPECT_EQ(position("B").y, c.b.y);
    }
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

// ---- Reports -------------------------------------------------------------------------------

TEST(Hugin, NamesOfManyObjectsAreCut) {
    std::string many = "net { }\nnode A { }\n";
    for (int i = 0; i < 30; ++i) many += "function N" + std::to_string(i) + " { }\n";
    EXPECT_NE(Import(many).seen.text().find("passed over (30 of type 'function'): N0, N1, "),
              std::string::npos);
    EXPECT_NE(Import(many).seen.text().find(", N19 ...\n"), std::string::npos);
}

// ---- Reading leniently ---------------------------------------------------------------------

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
              "Whole W/0\n-5140 2:1 class 'Whole' is read; the other classes of the file are "
              "Part\n-3040 2:15 unknown object type 'instance'\n"
              "-5124 2:15 passed over (1 of type 'instance'): I\n");
    options.className = "Part";
    EXPECT_EQ(read(text).substr(0, 9), "Part P/0\n");
    options.className = "Hole";
    EXPECT_EQ(read(text),
              "null\n-5141 1:1 there is no class 'Hole' in this file, which has Part, Whole\n");
}

/// The lines of a table of cases, each with a line break for every '~'.
std::vector<std::string> Lines(const char* table) {
    std::istringstream in(table);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        std::ranges::replace(line, '~', '\n');
        lines.push_back(line);
    }
    return lines;
}

// ---- Recovery ------------------------------------------------------------------------------

/// One case a line: the nodes and table sizes wanted, then what stands before a sound node X and
/// its potential. With a '!' the version 5 file alone is tried: a '}' too many ends a class.
constexpr const char* Damage = R"(
X/3 | potential (Z) { data = (1 2); }
X/3 | potential Z) { data = (1 2); }
X/3 | potential (Z | { data = (1 2); }
A/0 X/3 | node A { } potential (A | Z data = (1 2); }
A/0 X/3 | node A { } potential ( A | Ã© ) { data = (1 2 3 4); }
A/0 X/3 | node A { } potential (A | 
A/0 X/3 | node A { } potential (A) data = (1 2); }
A/2 X/3 | node A { } potential (A) { data = (1 2); 
A/0 X/3 | node A { } potential (A) { data = (1 2) 
A/2 X/3 | node A { } potential (A) { data = (1 2; }
A/2 X/3 | node A { } potential (A) { data = 1 2); }
A/0 X/3 | node A { } potential (A) { data = (1 two); }
A/0 X/3 | node A label = "x"; }
A/0 X/3 | node A }
A/0 X/3 | node A
!A/0 X/3 | node A { label = "x"; }}
!A/0 X/3 | node A {{ label = "x"; }}
A/0 X/3 | node A { label = "x" 
A/0 X/3 | node A { HR_X = "x" 
A/0 X/3 | node A { position = (1 
A/0 X/3 | node A { label = "x; HR_X = ""; }
A/0 X/3 | node A { label = "x;~ label = "y"; }
A/0 X/3 | node A { HR_X = x";~ label = "y"; }
A/0 X/3 | node A { states = ("a "b");~ label = "y"; }
A/0 X/3 | node A { states = ("a" "b;~ label = "y"; }
!A/0 X/3 | node A { label = "a" "b"; } }
!A/0 X/3 | node A { label = "x"; } states = ("a" "b"); }
A/0 X/3 | node A { } node A { states = ("a"); }
X/3 | node { states = ("a"); }
X/3 | continuous node E { label = "x"; 
X/3 | continuous node E { label = "x; }
X/3 | { label = "x"; }
X/3 | ;;))
)";

TEST(Hugin, ObjectsAfterDamageAreRead) {
    const std::string sound =
        "\nnode X { states = (\"1\" \"2\" \"3\"); }\npotential (X) { data = (1 2 3); }\n";
    for (const std::string& line : Lines(Damage)) {
        const bool both = line[0] != '!';
        const std::size_t bar = line.find(" | ");
        for (const std::string version : {"net { }\n", "class C { HR_Desc = \"\";\n"}) {
            if (version[0] == 'c' && !both) continue;
            SCOPED_TRACE(version + line);
            const Imported got =
                Import(version + line.substr(bar + 3) + sound + (version[0] == 'c' ? "}" : ""));
            EXPECT_EQ(Tables(got), line.substr(both ? 0 : 1, bar - !both)) << got.seen.text();
            EXPECT_GE(got.seen.reports.size(), 1U);
            EXPECT_LE(got.seen.reports.size(), 6U) << got.seen.text();
        }
    }
}

// Each stands before sound fields of a node that has them all in the end.
TEST(Hugin, ADamagedValueEndsWithItsField) {
    for (const char* damaged :
         {"HR_Desc = \"5\" pipe\";", "HR_q = \"a\", \"b\";", "HR_y = \"he said \"x\" here\";",
          "u = \"a\", \"b\";", "HR_Desc = \"a \"b\" c\";", "position = (\"5\" pipe\");",
          "HR_x = ( utility * max (1, 2) );", "HR_x = (node y { );", "HR_x = (a; b; c);",
          "HR_x = {a; b} c;", "x = {a; b} c;", "x = (a; b {;} c);", "HR_x = \"two\nlines\"\n",
          "HR_Desc = \"two\nlines\" ", "HR_x = 3\n", "x = 3\n", "HR_x = (1; ", "x = 5\";"}) {
        SCOPED_TRACE(damaged);
        const Imported got = Import(File("", std::string("node A { ") + damaged +
                                                 " label = \"L\"; states = (\"a\" \"b\" \"c\"); }\n"
                                                 "node B { }\n"));
        EXPECT_EQ(Tables(got), "A/0 B/0");
        EXPECT_STREQ(Node(got, "A").title, "L") << got.seen.text();
        EXPECT_EQ(Node(got, "A").numStates(), 3);
    }
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
