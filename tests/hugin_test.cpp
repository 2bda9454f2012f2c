// Hugin .net files: what is read into the net, every report at its place, and recovery from damage.
#include <algorithm>

#include "tests/support.h"

namespace lumo::test {
namespace {

Imported Import(const std::string& text) { return ImportText(text, FormatHugin); }

Imported Sample(const std::string& name) {
    return Import(ReadFile(std::string(SAMPLES) + "/hugin/" + name));
}

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

// ---- Whole files ---------------------------------------------------------------------------

TEST(HuginSamples, ClassicNet) {
    const Imported got = Sample("asia.net");
    EXPECT_EQ(got.seen.text(), "");
    EXPECT_EQ(got.net->nodes.N, 8);
    EXPECT_STREQ(got.net->comment,
                 "A small net for patients with shortness of breath.\n"
                 "The numbers are textbook values.");
    EXPECT_TRUE(got.net->autoUpdate);
    EXPECT_EQ(NodeText(Node(got, "dysp")),
              "nature dysp title='Dyspnoea?' at 315,340\n"
              "  states yes no\n  parents either bronc\n"
              "  table 0.9 0.1 0.7 0.3 0.8 0.2 0.1 0.9\n");
    EXPECT_EQ(Node(got, "either").relation.kind, RelnKindEN::deterministic);
}

TEST(HuginSamples, InfluenceDiagram) {
    const Imported got = Sample("umbrella.net");
    EXPECT_EQ(got.seen.text(), "");
    EXPECT_EQ(Drawing(got).labelStyle, 3);
    EXPECT_EQ(NodeText(Node(got, "Umbrella")),
              "decision Umbrella title='Take the umbrella?' at 265,165\n"
              "  states take leave\n  parents Forecast\n  none\n");
    EXPECT_EQ(NodeText(Node(got, "Comfort")),
              "utility Comfort continuous title='Comfort' at 265,40\n"
              "  states\n  parents Weather Umbrella\n  real 50 100 70 0\n");
}

TEST(HuginSamples, GroupsAndFontsOfVersion5) {
    const Imported got = Sample("press_groups.net");
    EXPECT_EQ(got.seen.text(), "");
    EXPECT_EQ(Groups(got),
              "Causes#ffc3ff: Humidity\nMachine_parts#0082c6: Ink Roller\n"
              "Observations#ffffc6: Smear\nGroup_04#ffffcc:\n");
    const Vnet_kt& drawing = Drawing(got);
    const fontspec_kt& font = drawing.font->spec();
    EXPECT_EQ(font.face, "Helvetica");
    EXPECT_EQ(font.size, 14);
    EXPECT_EQ(font.styleFlags, fontspec_kt::Bold | fontspec_kt::Italic);
    EXPECT_EQ(drawing.grid.x, 20);
    EXPECT_EQ(drawing.grid.y, 15);
    EXPECT_TRUE(drawing.showGrid && drawing.snapToGrid);
    EXPECT_EQ(drawing.drawStyle, 7);
    EXPECT_DOUBLE_EQ(drawing.zoomFactor, 0.8);
    EXPECT_EQ(NodeText(Node(got, "Humidity")),
              "nature Humidity title='Air humidity' at 40,40\n"
              "  states below_40_='below 40 %'(Static charge is likely) N40_to_60_='40 to 60 %' "
              "above_60_='above 60 %'(Paper swells)\n"
              "  field sensor 'HT-4, hall 2'\n  group Causes\n"
              "  table 0.12 0.6 0.28\n  experience 100\n");
    EXPECT_EQ(TableText(Node(got, "Ink").relation.exper, 3), "12 60 28");
}

TEST(HuginSamples, ClassOfVersion6) {
    const Imported got = Sample("pump_class.net");
    EXPECT_EQ(got.seen.errors(), 0);
    EXPECT_EQ(got.seen.count(-3037), 7);  // each unknown field once
    EXPECT_STREQ(got.net->title, "Pumpwerk");
    EXPECT_STREQ(Node(got, "Zulauf").title, "Zuflu\xDF");
    EXPECT_EQ(Groups(got), "Wetter#00ffff: Zulauf\nAnlage#ffc384: Pumpe_1 Foerderung\n");
    EXPECT_EQ(NodeText(Node(got, "Foerderung")),
              "nature Foerderung title='F\xF6rderung reicht' at 110,160\n"
              "  states ja nein\n  parents Zulauf Pumpe_1\n  group Anlage\n"
              "  table 1 0 0.9 0.1 0.95 0.05 0.2 0.8 0.6 0.4 0 1\n");
}

TEST(HuginSamples, DamageCostsWhatIsDamaged) {
    const Imported got = Sample("damaged.net");
    EXPECT_EQ(got.seen.text(),
              "-3028 5:26 illegal number 'full'\n"
              "-5043 10:13 missing closing quote\n"
              "-3036 21:1 missing '=' after field name\n"
              "-3039 21:1 missing '}' at end\n"
              "-5049 36:25 the data of node 'Flow' should be 6 numbers, but 5 were read\n"
              "-3032 39:25 unknown node 'Pressure'\n");
    EXPECT_EQ(Tables(got), "Valve/2 Flow/0 Alarm/0 Siren/4");
    EXPECT_EQ(Node(got, "Valve").title, nullptr);
    EXPECT_STREQ(Node(got, "Flow").parents[0]->name(), "Valve");
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
        {"class C { instance I : K (x = y; z = w) { label = \"\"; } node A {} temporal T : A { }"
         "continuous node E { position = (1 2); }\n"
         "potential (A | T) { data = (1 1 1 1); } potential (A) { data = (1 3); }"
         "potential (E | A) { data = (normal(1, 2), normal(3 + A, 4)); } potential (T) { data = "
         "(1); } }",
         "A/2"},
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

TEST(Hugin, NodeFields) {
    const Imported got = Import(
        File("",
             "node A {\n"
             " HR_State_1 = \"early\"; label = word; states = (\"s 1\" \"t\" \"t\");\n"
             " position = (10 20); HR_State_0 = \"\"; HR_STATE_2 = \"no\"; HR_Desc = \"line\n"
             "two\"; HR_Desc = \"\"; empty = \"\"; Cost = \"7 \\\"x\\\"\"; values = (1 2);\n"
             "}\nnode B { position = (110, 120.5); states = (0 1); }\n"
             "decision D { states = (\"go\" \"stay\"); }\nutility U { }\n"));
    EXPECT_EQ(got.seen.text(), "-3037 5:39 unknown or ignored field\n");
    EXPECT_EQ(NetText(got.net.get()),
              "net test\n"
              "nature A title='word' at 53,166\n"
              "  states s_1='s 1' t='t'(early) t2='t'\n  comment 'line\ntwo'\n"
              "  field empty ''\n  field Cost '7 \"x\"'\n  field values '(1 2)'\n  none\n"
              "nature B at 178,40\n  states N0='0' N1='1'\n  none\n"
              "decision D at 40,191\n  states go stay\n  none\n"
              "utility U continuous at 40,191\n  states\n  none\n");
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

TEST(Hugin, DisplayFields) {
    const Imported got = Import(File(
        "node_size = (1 2); HRUNTIME_Font_Size = \"-9.7\"; hr_font_weight = \"499\";\n"
        "HR_Font_Italic = \"0\"; HR_Grid_X = \"2.5\"; HR_Grid_GridShow = \"1\"; HR_Desc = \"\";\n"
        "HR_Node_Label_Style = \"1\"; HR_Propagate_Auto = \"1\"; HR_Color_Utility = \"x\";\n",
        "node A {}"));
    EXPECT_EQ(got.seen.text(), "");
    const Vnet_kt& drawing = Drawing(got);
    EXPECT_EQ(drawing.font->spec().size, 9);
    EXPECT_EQ(drawing.font->spec().styleFlags, 0);
    EXPECT_EQ(drawing.grid.x, 2.5);
    EXPECT_TRUE(drawing.showGrid && !drawing.snapToGrid);
    EXPECT_EQ(drawing.labelStyle, 0);
    EXPECT_EQ(got.net->comment, nullptr);
    EXPECT_TRUE(got.net->autoUpdate);
    // A warning before it switches automatic updating off.
    EXPECT_FALSE(Import(File("x = \"\"; HR_Propagate_Auto = \"1\";", "node A {}")).net->autoUpdate);
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

/// One case a line: the report, then the file that provokes it. A '~' stands for a line break, '*'
/// for a text of 256 characters.
constexpr const char* Reports = R"(
-4004 2:1 this is not a Hugin file, or is in | % nothing~
-3040 2:1 unknown object type 'blob' | net { }~blob X { node { } }~node A {}
-3041 3:2 unexpected punctuation '}' | net { }~node A {}~ };
-4142 4:11 group index 1 for node 'A' is too high (there are 1 groups) | net {~HR_Groups_GroupNames = "g"; }~node A {~ HR_Grp = "1"; }
-3034 2:8 missing '{' after 'A' | net { }~node A x {}
-3035 1:7 unexpected punctuation ':' | net { : HR_Desc = ""; }
-3036 2:10 missing '=' after field name | net { }~node A { label "x"; }
-3037 2:10 unknown or ignored field | net { }~node A { subtype = number; }
-3038 2:20 missing semicolon at end | net { }~node A { label = x }
-3039 2:21 missing '}' at end | net { }~node A { label = x; 
-3029 2:11 missing node list | net { }~potential A { }
-3030 2:12 unknown node 'A' | net { }~potential (A) { }
-3031 3:17 unexpected punctuation ',' | net { }~node A {} node B {}~potential (A | B, B) { }
-3032 3:16 unknown node 'X' | net { }~node A {}~potential (A | X) { }
-3033 3:14 unexpected punctuation none | net { }~node A {}~potential (A B) { }
-4108 3:16 unexpected end-of-input | net { }~node A {}~potential (A | 
-3028 2:13 illegal number '1o' | net {~HR_Grid_X = "1o"; }
-3027 2:20 unknown boolean value 'yes' | net {~HR_Grid_GridShow = "yes"; }
-4128 2:26 illegal integer '2x' | net {~HR_Groups_UserGroupsNo = "2x"; }
-4131 2:19 illegal integer '2x' | net { }~node A { HR_Grp = "2x"; }
-4131 2:19 illegal integer '99999999999' | net { }~node A { HR_Grp = "99999999999"; }
-4141 2:21 negative group index -1 for node 'A' | net { }~node A { HR_Group = "-1"; }
-4129 2:25 illegal integer '1x' | net {~HR_Groups_GroupColors = "1x05"; }
-4130 2:25 color index must be between 0 and 63 inclusive, but its 64 | net {~HR_Groups_GroupColors = "0564"; }
-2866 2:18 missing HR_Group index integer in '_Name' | net {~HR_Group__Name = "g"; }
-2867 2:20 illegal integer 'red' | net {~HR_Group_1_Color = "red"; }
-2868 2:20 color index must be between 0 and 63 inclusive, but its 64 | net {~HR_Group_1_Color = "64"; }
-2869 2:20 unknown HR_Group attribute 'Shape' | net {~HR_Group_1_Shape = "64"; }
-5120 2:6 missing name of node | net { }~node { }
-5121 3:12 potential passed over: 'E' is of a kind that is not read | net { }~continuous node E { }~potential (E) { }
-5122 4:16 potential passed over: parent 'E' is of a kind that | net { }~temporal E : A { }~node A { }~potential (A | E) { }
-5123 2:1 only the first class is read, so what follows it is ignored | class A { node N { } }~class B { }
-5080 3:6 | net { }~node A { }~node A { }
-5082 3:16 | net { }~node A { }~potential (A | A) { data = (1 0); }
-5086 2:10 | net { }~node A { HR_State_2 = "x"; }
-5046 2:24 | net { }~node A { position = (1 x); }
-5224 2:24 coordinate 3e+09 is too large and is taken as 2147483647 | net { }~node A { position = (1 3e9); }
-5045 2:14 text of 256 characters is cut to 255 | net { }~node A { u = "*"; }
-5045 2:24 group name of 256 characters is cut to 255 | net {~HR_Groups_GroupNames = "*"; }
-5049 3:27 the data of node 'A' should be 2 numbers, but 3 were read | net { }~node A { }~potential (A) { data=(1 2 3); }
-5096 2:26 10001 groups are declared, but at most 10000 are possible | net {~HR_Groups_UserGroupsNo = "10001"; }
-5096 2:28 group index 2147483647 is too high: at most 10000 groups | net {~HR_Group_2147483647_Name = "x"; }
-5098 2:22 a zoom of 0 per cent counts as 100 per cent | net {~HR_Zoom_ZoomFactor = "0"; }
)";

/// The lines of a table of cases, each with its '~' and '*' replaced.
std::vector<std::string> Lines(const char* table) {
    std::istringstream in(table);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        std::ranges::replace(line, '~', '\n');
        const std::size_t star = line.find('*');
        if (star != std::string::npos) line.replace(star, 1, std::string(256, 'x'));
        lines.push_back(line);
    }
    return lines;
}

TEST(Hugin, EveryReportAtItsPlace) {
    for (const std::string& line : Lines(Reports)) {
        SCOPED_TRACE(line);
        const std::size_t bar = line.find(" | ");
        const Imported got = Import(line.substr(bar + 3));
        EXPECT_NE(("\n" + got.seen.text()).find("\n" + line.substr(0, bar)), std::string::npos)
            << got.seen.text();
    }
}

TEST(Hugin, ReportsNameWhatWasRead) {
    const Imported got = Import(File("", "utility U { HR_Grp = \"x\"; }"));
    ASSERT_EQ(got.seen.reports.size(), 1U);
    EXPECT_EQ(got.seen.reports[0].structKind, "utility node");
    EXPECT_EQ(got.seen.reports[0].structName, "U");
    EXPECT_EQ(got.seen.reports[0].fieldName, "HR_Grp");
}

// ---- Recovery ------------------------------------------------------------------------------

/// One case a line: the nodes and table sizes wanted, then what stands before a sound node X and
/// its potential. With a '!' the version 5 file alone is tried: a '}' too many ends a class.
constexpr const char* Damage = R"(
X/3 | potential (Z) { data = (1 2); }
X/3 | potential Z) { data = (1 2); }
X/3 | potential (Z | { data = (1 2); }
A/0 X/3 | node A { } potential (A | Z data = (1 2); }
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
    const Imported got =
        Import(File("",
                    "node A { HR_Desc = \"two\nlines\"\n x = 3\n y = \"\";}\n"
                    "potential (A) { model_data = ( utility * max (1, 2) ); data = (1 0); }"));
    EXPECT_EQ(NodeText(Node(got, "A")),
              "nature A at 40,40\n  states - -\n  comment 'two\nlines'\n  field x '3'\n"
              "  field y ''\n  deterministic 1 0\n");
    EXPECT_EQ(got.seen.errors(), 0);
    EXPECT_EQ(got.seen.count(-3038), 2);
}

TEST(Hugin, ClassInCapitalsKeepsItsFieldListOpen) {
    const Imported got =
        Import("Class C { node A { label = \"x\"; } potential (A) { data = (1 1); } }");
    EXPECT_EQ(got.net, nullptr);
    EXPECT_EQ(got.seen.count(-3036), 2) << got.seen.text();
}

}  // namespace
}  // namespace lumo::test
