// The DOT language: texts that want out of their quotes, and that the program which reads it takes
// it.
#include "export/dot.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/picture_support.h"

namespace lumo {
namespace {

std::string Dot(const ImportResult& result) {
    std::ostringstream out;
    WriteDot(result, out);
    return out.str();
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
