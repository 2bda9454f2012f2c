// The DSC reader: what it makes of whole files, every report with its place, recovery, lenient
// reading, and what hostile files may cost.
#include <algorithm>

#include "import/messages.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

// Nodes for the probability blocks of short texts, in the first line.
const std::string abc =
    "network n node A{type:discrete[2]={x,y};} node B{type:discrete[2]={x,y};} "
    "node C{type:discrete[3]={x,y,z};}\n";

Imported Dsc(std::string_view text) { return ImportText(text, FormatDsc); }

std::string TableOf(const Imported& got, const std::string& name) {
    const Bnode_bn* node = got.net ? got.net->findNodeLabeled(name.c_str()) : nullptr;
    if (node == nullptr || node->relation.probs == nullptr) return "none";
    return TableText(node->relation.probs, NumProduct(node->family));
}

TEST(Dsc, StateNamesFromTitlesWhenPreferred) {
    Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = true;
    const Imported got = Dsc("network n node A { type: discrete[2] = { \"a b\", \"<5\" }; }");
    Read_BNIF_creates_state_names_if_titles_not_legal_IDnames_pref = false;
    EXPECT_STREQ(got.net->nodes[0]->variable.stateNames[0], "a_b");
    EXPECT_STREQ(got.net->nodes[0]->variable.stateTitles[1], "<5");
}

// Text -> nodes read (-1: no net), reports. A ~ is a line break, % the nodes of abc and
// "probability". What a report's own example shows is not repeated here.
const char* const reportCases = R"(
network x -> -1 -4108 1:10 unexpected end-of-input
BELIEF NetWork X node network1{} -> 1
belief network~node A {} node B {} -> 2 -5226 2:1 the network has no name
belief network a~my network b~node A {} note: the node~B {} -> 2 -4027 2:1 unknown block type 'my'~-4027 3:11 unknown block type 'note'
network x properties { y {~node A {} -> 1 -4027 1:11 unknown block type 'properties'~-4108 2:10 unexpected end-of-input
network x node A{} a { { "}" } /* } */ }~; node B{} -> 2 -4027 1:20 unknown block type 'a'~-4028 2:1 unexpected punctuation ';'
network x { v is 1; }~node A{} -> 1 -4027 1:13 unknown block type 'v'~-4028 1:21 unexpected punctuation '}'
network x node A~node B{} -> 1 -4005 2:1 missing '{'
network x node A type: {~{} } }~node B{} -> 1 -4005 1:18 missing '{'
network x node "A b" { v: { } }~node B{} -> 1 -4005 1:16 missing '{'
network x node A { position: (1, x); name: a; } -> 1 -5046 1:32 expected a pair of numbers, but found ','
network x node A { position: (1e10, -1e10); } -> 1 -5224 1:37 coordinate 1e+10 is too large and is taken as 2147483647~-5224 1:37 coordinate -1e+10 is too large and is taken as -2147483648
network x node A {~ cost: fix = 2, "}" ; } -> 1 -4012 2:2 unknown or ignored attribute 'cost'
network x node A {~ name: a { b: "}" } label: "x" "y; }"} -> 1 -4013 2:10 missing semicolon at end~-4013 2:32 missing semicolon at end
network x node A {~ name: a, label; } -> 1 -4013 2:9 missing semicolon at end~-4007 2:11 missing colon ':' after attribute name
network x node A { type: discrete[2]={a;b}; }~node B{} -> 2 -5047 1:40 missing '}' at the end of the list, before ';'
network x node A { type: discrete[2]={a,b; }~node B{} -> 2 -5047 1:42 missing '}' at the end of the list, before ';'
network x node A { type: discrete[2]={"a,b; }~node B{} -> 1 -5043 1:39 unterminated string~-5047 2:9 missing '}' at the end of the list, before the end of the input~-4013 2:9 missing semicolon at end~-4014 2:9 missing '}' at end
network x node A { name: "node x {";~node B{} -> 2 -4014 2:1 missing '}' at end
network x node A {}~node A { }~node B{} -> 2 -5080 2:6 there is a node 'A' already
network x node {} node B { name:; label: } -> 2 -5227 1:16 this node has no name~-5228 1:33 the value of the attribute is missing~-5228 1:42 the value of the attribute is missing~-4013 1:42 missing semicolon at end
network x node A { type: discrete[3] = {a,,}; } -> 1 -5229 1:40 2 state names are missing from the list
network x node A { type: discrete[3] = {"","",""}; } -> 1
%(B|A,,C,) { default: 1,0; } -> 3 -4017 2:18 unexpected punctuation ','~-4017 2:21 unexpected punctuation ')'
%(B|A,~ -> 3 -4108 3:1 unexpected end-of-input~-4020 3:1 missing '{'
%(B|A) { -> 3 -5092 2:20 2 of the 2 rows of node 'B' are missing, and are zeros
%(A) { 1, 0 } node D {} -> 4 -3611 2:24 expected semicolon (;) after probablity vector, but read '}'
%(B|A) { (0):1,0; (1):0,1 } node D {} -> 4 -3611 2:38 expected semicolon (;) after probablity vector, but read '}'
%(A) { 1, 0 node D {} -> 4 -3611 2:24 expected semicolon (;) after probablity vector, but read 'node'~-4022 2:24 unexpected token 'node'
%(B|A) { (0):1,0; (2):1,0; } -> 3 -5094 2:30 state 2 of node 'A' is wanted for a row of node 'B', but it has 2 states~-5092 2:1 1 of the 2 rows of node 'B' are missing, and are zeros
network x node A{type:discrete[2147483647]={a};} -> 1 -4010 1:44 supposed to be 2147483647 states, but there are 1 state names~-5085 1:16 node 'A' is to have 2147483647 states, but the limit is 1000000
network x node A{type:discrete[-1]={};} -> 1 -4010 1:36 supposed to be -1 states, but there are 0 state names~-5085 1:16 node 'A' is to have -1 states, but the limit is 1000000
network x node A{type:discrete[99999999999]={a,b};} -> 1 -5041 1:32 number '99999999999' is too large
%(B|A) { (): 1,0; } -> 3 -5048 2:22 1 numbers wanted, but 0 read
%(B|A) { (0.5): 1,0; } -> 3 -5042 2:22 '0.5' is not an integer
%(B|A) { (0 : 1,0; } -> 3 -5042 2:24 expected an integer, but found ':'
%(B|A,A) { (0,0):1,0; (1,0):1,0; (1,1):1,0; } -> 3 -5084 2:18 node 'A' is named again as a parent of node 'B'~-5211 2:34 this row names two states of node 'A', so it is passed over
%(C) {~ 1, 0, 0, 0; } -> 3 -4034 3:2 more numbers than states, the rest is passed over
%(C) {~ 0,3, 0,2, 0,5; } -> 3 -4034 3:2 more numbers than states, the rest is passed over; are these decimal commas?
%(C) {~ 1, 0, -3; } -> 3 -4034 3:2 a negative number is taken as 0
%(C) {~ 0, 0, 0; } -> 3 -4034 3:2 the numbers sum to 0
%(C) { 188, 10, 2; 0.3333, 0.3333, 0.3333; } -> 3 -5093 2:31 a row of node 'C' is given again, and the later one counts
%(A) {1,0;} probability (A) {0,1;} -> 3 -5093 2:41 a row of node 'A' is given again, and the later one counts
%(B|A) {(0):1,0; default:1,1;} -> 3 -5093 2:29 a row of node 'B' is given again, and the later one counts: A=x
%(B|A) {default:1,0; default:1,1;} -> 3 -5093 2:33 a row of node 'B' is given again, and the later one counts: A=x
%(C) { 1/3, 1/6, 1/2; } -> 3 -5040 2:19 '1/3' is not a number
%(C) { 0.5, 0.25x, 0.25; } -> 3 -5040 2:24 '0.25x' is not a number
%(C) { 0.5, "0.5"; } -> 3 -5040 2:24 expected a number, but found '"'
%(C) { 1, 1e999, 0; } -> 3 -5041 2:22 number '1e999' is too large
%(B|A) { (0):1,0; (1):o,1; } -> 3 -5040 2:34 'o' is not a number~-5092 2:1 1 of the 2 rows of node 'B' are missing, and are zeros
)";

TEST(Dsc, EveryReportHasItsPlace) {
    std::istringstream lines(reportCases + 1);
    for (std::string line; std::getline(lines, line);) {
        SCOPED_TRACE(line);
        std::ranges::replace(line, '~', '\n');
        const std::size_t arrow = line.find(" -> ");
        std::string text = line.substr(0, arrow);
        if (text[0] == '%') text = abc + "probability " + text.substr(1);
        const Imported got = Dsc(text);
        const int nodes = got.net ? got.net->nodes.N : -1;
        std::string reports = got.seen.text();
        if (!reports.empty()) reports.insert(0, " "), reports.pop_back();
        EXPECT_EQ(std::to_string(nodes) + reports, line.substr(arrow + 4));
    }
}

// Probability block -> a node and its table.
const char* const tableCases = R"(
(A) { 2, 6; } -> A 0.25 0.75
(A) { default : 0.25 0.75; } -> A 0.25 0.75
(C) { 0, 0, 0; } -> C 0 0 0
(C) { -1, 1, 3; } -> C 0 0.25 0.75
(C) { (0.25, 0.25, 0.5); } -> C 0.25 0.25 0.5
(C) { 1e-1, 2E-01, .7 /* , 3 */ ; } -> C 0.1 0.2 0.7
(C) { 1, 1/3, 1; } -> C none
(B | A) { (0): 1,0; (1): 1e39,1; } -> B 1 0 0 0
(B | A, C) { default: 1 1; (0 1): 1,0; (1, 2) : 0,1; } -> B 0.5 0.5 1 0 0.5 0.5 0.5 0.5 0.5 0.5 0 1
(B | A) { (1): 1,0; (0): 1,0; default: 0,1; } -> B 0 1 0 1
(B | A) { (1): 1,0; (0): 1,0; (1): 0,1; } -> B 1 0 0 1
(B | A) { (0): 1,0; } probability (B | A) { (1): 0,1; } -> B 1 0 0 1
(B | A) { } probability (B | C) { default: 0,1; (1,0): 1,0; } -> B 0 1 0 1 0 1 1 0 0 1 0 1
(B | A, A) { (0,0): 1,0; (0,1): 1,1; (1,1): 0,1; } -> B 1 0 0 1
(B | A, A) { (0): 1,0; (1): 0,1; } -> B 1 0 0 1
(B | A) { } probability (B | C, A) { default: 0,1; (2,0): 1,0; } -> B 0 1 0 1 1 0 0 1 0 1 0 1
(B | A) { (0): 1,0; (0,1): 0,1; } probability (A) {0,1;} -> A 0 1
(B | A) { (0): 1,0; (x): 0,1; (1): 0,1; } -> B 1 0 0 0
(A | A) { (0): 1,0; } probability (A) {0,1;} -> A 0 1
(B | A); probability (A) {0,1;} -> A 0 1
(B | A { (0): 1,0; } probability (A) {0,1;} -> A 0 1
(B | A) (0): 1,0; } probability (A) {0,1;} -> A 0 1
(X) "}" (0): 1,0; } probability (A) {0,1;} -> A 0 1
(B) { 1,0; probability (A) {0,1;} -> A 0 1
(B | A) { (0): 1,0; (1): 0,1; probability (A) {0,1;} -> A 0 1
(B) { 1,0 }; probability (A) {0,1;} -> B 1 0
(B | A) { (0): 1,0; (1): 0,1 } probability (A) {0,1;} -> A 0 1
(B | A) { function: max; (0): { 1; } } probability (A) {0,1;} -> A 0 1
)";

TEST(Dsc, ReadsTablesAndRecovers) {
    std::istringstream lines(tableCases + 1);
    for (std::string line; std::getline(lines, line);) {
        SCOPED_TRACE(line);
        const std::size_t arrow = line.find(" -> ");
        const Imported got = Dsc(abc + "probability " + line.substr(0, arrow));
        EXPECT_EQ(TableOf(got, line.substr(arrow + 4, 1)), line.substr(arrow + 6));
    }
}

// Text read leniently -> the node read last as text, without its drawing, and the reports.
const char* const lenientCases = R"(
network "x" { version is 1; creator is "}"; } node A {} -> nature A/  states - -/  none|-5212 1:13
network { node A {} } -> nature A/  states - -/  none|-5226 1:9 -4028 1:21
node A {} belief network x -> nature A/  states - -/  none|-5213 1:1 -4027 1:11
network n node "A b" {type:discrete[2]{"x","y"};} -> nature A_b/  states x y/  none|-5214 1:16 -5215 1:39
% "D e" {} probability ("D e" | "A") {(0)=1,0;(1)=0,1;} -> nature D_e/  states - -/  parents A/  table 1 0 0 1|-5214 2:6 -5216 2:45
% D {} probability (D | A, C) {(x, "z"): 1,0; (y,1): 0,1; default:1,1;} -> nature D/  states - -/  parents A C/  table 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5|-5217 2:36 -5093 2:62
% D {} probability (D | A, A) {(x, x): 1,0; (y): 0,1;} -> nature D/  states - -/  parents A/  table 1 0 0 1|-5084 2:31 -5217 2:36
% D {} probability (D | A) {(x, x): 1,0; } -> nature D/  states - -/  parents A/  none|-5217 2:33 -5048 2:37
% D {} probability (D | A) {(0,0):1,0 /* c */ ;// c
(0,0):0,1} -> nature D/  states - -/  parents A/  table 1 0 0 1|-3611 3:10 -5219 2:32
% D {} probability (D | A, B) {(1,1):1,0;(1,1):0,1;(1,1):1,1;(1,1):1,3;} -> nature D/  states - -/  parents A B/  table 1 0 0 1 0.5 0.5 0.25 0.75|-5220 2:35
% D {} probability (D | A, B) {(0,0):1,1;(0,0):1,1;(0,0):1,1;(0,0):1,1;} -> nature D/  states - -/  parents A B/  table 0.5 0.5 0.5 0.5 0.5 0.5 0.5 0.5|-5219 2:35
% D {} probability (D | A, B) {(0,0):1,0;(0,0):0,1;(0,0):1,1;} -> nature D/  states - -/  parents A B/  table 0.5 0.5 0 0 0 0 0 0|-5093 2:45 -5092 2:11
% D {} probability (D | A, C) {function: max; (1,0):0.5,0.5; (0,0):0.75,0.25; (0,2):0,1; (0,1):0.5,0.5; (1,1):1,0;} -> nature D/  states - -/  parents A C/  noisy-max 0.75 0.25 0.375 0.625 0 1 0.375 0.625 0.1875 0.8125 0 1|-5221 2:35 -5222 2:108
% D {} probability (D | A) {function = MAX; (1):0.5,0.5;} -> nature D/  states - -/  parents A/  noisy-max 1 0 0.5 0.5|-5221 2:32
% D {} probability (D | A) {function: min; (0):1,0; (1):0,1;} -> nature D/  states - -/  parents A/  none|-4022 2:32
% D {} probability (D | A) {function: max; (2):1,0; } -> nature D/  states - -/  parents A/  none|-5221 2:32 -5094 2:47
)";

TEST(Dsc, ReadsLeniently) {
    std::string cases(lenientCases + 1);
    for (std::size_t start = 0, next = 0; start < cases.size(); start = next + 1) {
        const std::size_t arrow = cases.find(" -> ", start);
        next = cases.find('\n', arrow);
        std::string text = cases.substr(start, arrow - start);
        SCOPED_TRACE(text);
        if (text[0] == '%') text = abc + "node" + text.substr(1);
        const Imported got = ImportLeniently(text, FormatDsc);
        ASSERT_NE(got.net, nullptr);
        std::string seen = NodeText(*got.net->nodes[got.net->nodes.N - 1]);
        seen.erase(seen.find(" at "), seen.find('\n') - seen.find(" at "));
        seen.back() = '|';
        std::ranges::replace(seen, '\n', '/');
        for (const Seen& report : got.seen.reports)
            seen += (seen.back() == '|' ? "" : " ") + std::to_string(report.number) + ' ' +
                    std::to_string(report.line) + ':' + std::to_string(report.column);
        EXPECT_EQ(seen, cases.substr(arrow + 4, next - arrow - 4));
    }
}

TEST(DscHostile, TablesOutOfProportion) {
    std::string parents;
    std::string nodes = "network n node C {}";
    for (int i = 0; i < 40; ++i) {
        const std::string name = "P" + std::to_string(i);
        nodes += "node " + name + "{type:discrete[10]={0 1 2 3 4 5 6 7 8 9};}";
        parents += (i > 0 ? "," : "") + name;
    }
    const Imported fill = Dsc(nodes + "probability (C|" + parents + ") { default: 1,0; }");
    EXPECT_EQ(fill.seen.count(msg::import.tableTooLarge.number), 1);

    // Each of these texts asks for far more than it holds, again and again.
    const std::string wide =
        "network n node A{type:discrete[1000000];} node B{type:discrete[100];}";
    const std::string texts[] = {
        wide + "probability (A) {" + Repeated("1;", 100'000) + "}",
        wide + Repeated("probability (A) {1;}", 10'000),
        wide + Repeated("probability (B|A) {default:1;}", 1000),
        wide + "probability (B|A) {" + Repeated("default:1;", 1000) + "}",
    };
    for (const std::string& text : texts) {
        const Imported got = Dsc(text);
        EXPECT_GE(got.seen.errors(), 1);
        ExpectConsistent(got.net.get());
    }
}

TEST(DscHostile, LongTextsEnd) {
    const int many = 300'000;
    const std::string ab = "network n node A{} node B{}";
    const std::string texts[] = {
        ab + "probability(A){" + Repeated("1,", many) + "}",
        ab + "probability(B|A){" + Repeated("(0):1,0;", many) + "}",
        ab + Repeated(" thing", many),
        ab + Repeated("a } ", many) + "{",
        ab + Repeated("a { ", many),
        ab + Repeated("node C ", many),
        ab + Repeated("node C { x ", many / 10),
        ab + Repeated("probability(A){1,0} 1;", many / 10),
        ab + "node C { type: discrete[2]={; \"" + Repeated("\\\"", many),
        ab + Repeated("probability(A){1,", many / 10) + "} x",
        ab + "probability(B|" + Repeated("A,", many / 10) + "){default:1,0;}",
        "network n node A{" + Repeated("x:(", many) + "}",
        ab + Repeated("a { node X { } ", many / 10),
        ab + Repeated("node C {type:discrete[2]={a;{ ", many / 10),
        ab + Repeated("probability(A|B){(0):1,0;", many / 10),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 60));
        for (const Imported& got : {Dsc(text), ImportLeniently(text, FormatDsc)}) {
            EXPECT_FALSE(got.seen.reports.empty());
            ExpectConsistent(got.net.get());
        }
    }
}

}  // namespace
}  // namespace lumo::test
