// The DOT language: the whole of a small net, texts that want out of their quotes, and that the
// program which reads it takes it.
#include "export/dot.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/picture_support.h"

namespace lumo {
namespace {

using test::AddNode;
using test::NewResult;

std::string Dot(const ImportResult& result) {
    std::ostringstream out;
    WriteDot(result, out);
    return out.str();
}

TEST(Dot, WholeNet) {
    ImportResult result = NewResult("shop");
    Bnode_bn& price = AddNode(*result.net, "price", {40, 50}, DecisionNode);
    Bnode_bn& sales = AddNode(*result.net, "sales", {40, 150});
    Bnode_bn& gain = AddNode(*result.net, "gain", {240, 150}, UtilityNode);
    sales.setTitle(DupStr_kt("Sales \"now\""));
    AddLink_ibn(price, sales);
    AddLink_ibn(sales, gain);
    sales.relation.kind = RelnKindEN::deterministic;
    AddNodeToNodeset_ibn(price, "cluster");
    AddNodeToNodeset_ibn(gain, "cluster");
    EXPECT_EQ(Dot(result), R"(digraph "shop" {
  graph [inputscale=72, tooltip="shop"];
  node [style=filled, color="#3c4650", fontname="Arial", fontsize=12];
  edge [color="#5c6670", arrowsize=0.8];
  "price" [label="price", shape=box, fillcolor="#ffffcc", fontcolor="#000000", pos="40,-50!", width=0.73, height=0.4, tooltip="price\ndecision\nstates: #0, #1\ngroups: cluster"];
  "sales" [label="Sales \"now\"", shape=ellipse, fillcolor="#fcf3cf", fontcolor="#000000", pos="40,-150!", width=1.53, height=0.53, peripheries=2, tooltip="Sales \"now\" (sales)\nnature, deterministic\nstates: #0, #1"];
  "gain" [label="gain", shape=hexagon, fillcolor="#ffffcc", fontcolor="#000000", pos="240,-150!", width=0.73, height=0.4, tooltip="gain\nutility\nstates: #0, #1\ngroups: cluster"];
  "price" -> "sales" [pos="e,40,-131 40,-64.5 40,-64.5 40,-122 40,-122"];
  "sales" -> "gain" [pos="e,213.6,-150 94.91,-150 94.91,-150 204.6,-150 204.6,-150"];
  subgraph "group cluster" {
    label="cluster";
    color="#ffffcc";
    "price"; "gain";
  }
}
)");
}

/// What the program `dot` makes of the text, as plain lines; what it says on standard error too.
std::string Through(const std::string& dot, const std::string& arguments) {
    const std::string path = ::testing::TempDir() + "lumo_dot_test.dot";
    std::ofstream(path, std::ios::binary) << dot;
    std::FILE* pipe = ::popen(("dot " + arguments + " " + path + " 2>&1").c_str(), "r");
    std::string out;
    char buffer[4096];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, pipe))
        out.append(buffer, got);
    EXPECT_EQ(::pclose(pipe), 0) << out;
    std::remove(path.c_str());
    return out;
}

TEST(Dot, IsReadByTheProgramWithTextsAndPlacesAsTheyWere) {
    if (std::system("command -v dot >/dev/null") != 0) GTEST_SKIP() << "graphviz is not installed";
    const ImportResult result = test::HostileResult();
    const std::string svg = Through(Dot(result), "-Tsvg");
    EXPECT_EQ(svg.find("<script"), std::string::npos);
    EXPECT_EQ(svg.find("Warning"), std::string::npos) << svg.substr(0, 300);
    EXPECT_NE(svg.find("&lt;!&#45;&#45;"), std::string::npos);
    EXPECT_NE(svg.find(">&amp;amp;&amp;lt;&amp;#60;</text>"), std::string::npos);
    EXPECT_NE(svg.find(">\\N \\&quot; \\l</text>"), std::string::npos);
    // A program that keeps places gets them in points: 150 apart.
    const std::string plain = Through(Dot(result), "-Kneato -Tplain");
    double x[2] = {};
    std::size_t at = 0;
    for (double& place : x) {
        at = plain.find("\nnode ", at) + 6;
        place = std::strtod(plain.c_str() + plain.find(' ', at), nullptr);
    }
    const Bnet_bn& net = *result.net;
    EXPECT_NE(net.nodes[0]->vns[0]->position, net.nodes[1]->vns[0]->position);
    EXPECT_GT((x[1] - x[0]) * 72, 149) << plain;
}

}  // namespace
}  // namespace lumo
