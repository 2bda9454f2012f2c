// Which format a text is taken for, by content and by name.
#include "formats/detect.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/places.h"

namespace lumo::test {
namespace {

std::string Detected(std::string_view text, std::string_view name = "file") {
    const FormatInfo* format = DetectFormat(text, name);
    return format == nullptr ? "unknown" : format->name;
}

struct Case {
    const char* text;
    const char* name;
    const char* format;
};

TEST(Detect, ContentDecides) {
    const Case cases[] = {
        {"net { }", "x.dsc", "hugin"},
        {"\xEF\xBB\xBF% a banner: network \"x\" node\r% more\r\nNET\n{", "x", "hugin"},
        {"class Pump { inputs = (); }", "x.xml", "hugin"},
        {"belief network \"asia\"\nnode visit {\n", "x.net", "dsc"},
        {"network \"n\" { version is 1; }\nprobability (a) { }", "x", "dsc"},
        {"// note\n/* net { */ trouble network \"t\"\nservice { }\nnode a { }", "x.dxp", "dsc"},
        {"diagnostic network \"\"\nnode kb { }", "x.dxp", "dsc"},
        {"diagnostic network \"printer\" kb { notes: \"node probability\"; }", "x.dsc", "dxpress"},
        {"DIAGNOSTIC NETWORK p nodes { node \"a\" { } }", "x.dsc", "dxpress"},
        {"diagnostic network \"p\" faulthierarchy { node { } }", "x", "dxpress"},
        {"2\n2 3\n0\n1 1\n2 0.5 0.5", "x.txt", "ergo"},
        {"/* from the old program */ 1 2 0", "x.dsc", "ergo"},
        {"<?xml version=\"1.0\"?>\n<!-- net { --><BIF VERSION=\"0.3\">", "x.net", "xmlbif"},
        {" <!DOCTYPE BIF [", "x", "xmlbif"},
        {"network n { }\nvariable node { }", "x.dsc", "bif"},
        {"// made by hand\nvariable a { type", "x.net", "bif"},
        {"belief network n\nnode variable { }", "x.bif", "dsc"},
        {"network n { property version 1.0; }", "x", "bif"},
        {"<?xml version=\"1.0\"?><!-- x --><smile id=\"n\">", "x.xml", "xdsl"},
        {"# net\nBAYES\n2", "x.erg", "uai"},
        {"MARKOV 3 2 2 2", "x", "uai"},
    };
    for (const Case& c : cases) EXPECT_EQ(Detected(c.text, c.name), c.format) << c.text;
}

TEST(Detect, ExtensionDecidesWhereContentDoesNot) {
    const Case cases[] = {
        {"", "a.net", "hugin"},
        {"Enet { }", "a.oobn", "hugin"},
        {"", "a.hugin", "hugin"},
        {"diagnostic network \"x\"", "a.DSC", "dsc"},
        {"diagnostic network \"x\"", "a.dxp", "dxpress"},
        {"", "a.dx", "dxpress"},
        {"text", "a.erg", "ergo"},
        {"", "a.ergo", "ergo"},
        {"\xFF\xFE<", "a.xml", "xmlbif"},
        {"<x/>", "dir.net/a.bifxml", "xmlbif"},
        {"", "a.xbif", "xmlbif"},
        {"", "a.xmlbif", "xmlbif"},
        {"", "a.bif", "bif"},
        {"<BIF VERSION=\"0.3\">", "a.bif", "xmlbif"},
        {"network x { }", "a.bif", "bif"},
        {"network x { }", "a.dsc", "dsc"},
        {"x", "a.XDSL", "xdsl"},
        {"", "a.uai", "uai"},
    };
    for (const Case& c : cases) EXPECT_EQ(Detected(c.text, c.name), c.format) << c.name;
}

TEST(Detect, OtherTextsAreUnknown) {
    for (const char* text : {"", "<html><body>", "The network of nodes is large.", "{\"a\":1}",
                             "digraph { a -> b }", "0.5 0.5", "%", "\"unclosed", "/* unclosed"})
        EXPECT_EQ(Detected(text), "unknown") << text;
    EXPECT_EQ(Detected("", "dir.net/file"), "unknown");
    EXPECT_EQ(Detected("", ".net.bak"), "unknown");
}

TEST(Detect, EverySampleWithoutItsName) {
    for (const auto& path : FilesIn(Samples())) {
        std::ifstream in(path, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        EXPECT_EQ(Detected(text), path.parent_path().filename()) << path;
    }
}

}  // namespace
}  // namespace lumo::test
