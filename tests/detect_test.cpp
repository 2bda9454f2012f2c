// Which format a text is taken for, by content and by name.
#include "formats/detect.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "formats/othertexts.h"
#include "formats/utf16.h"
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
        {"\n\xEF\xBB\xBF\xEF\xBB\xBF<BIF>", "x.bif", "xmlbif"},
        {"<?xml version='1.0'?>\n<xbifns:XMLBIF version=\"0.5\">", "x.bif", "xmlbif"},
        {"<NETWORK><NAME>n</NAME><VARIABLE>", "x", "xmlbif"},
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
                             "digraph { a -> b }", "0.5 0.5", "%", "\"unclosed", "/* unclosed",
                             "<a><variable>node probability (</a>", "3 0 1 1 0 2 1", "2 3 4 5 6",
                             "Bayes network of each node, with a probability in each node",
                             "A network format. Each variable of it {"})
        EXPECT_EQ(Detected(text), "unknown") << text;
    EXPECT_EQ(Detected("", "dir.net/file"), "unknown");
    EXPECT_EQ(Detected("", ".net.bak"), "unknown");
}

TEST(Detect, NamesOtherTexts) {
    using namespace std::string_view_literals;
    const std::pair<std::string_view, const char*> cases[] = {
        {"\n<!DOCTYPE html><html>", "an HTML page"},
        {"<!DOCTYPE HTML><html><meta name=generator content=\"lumo-import, report of a net\">",
         "a report that lumo-import made of a net"},
        {"<?xml version=\"1.0\"?><!DOCTYPE x [<!ENTITY y \"z\">]><!-- a > --><ProbModelXML a=''>",
         "XML of another kind, its root element 'ProbModelXML'"},
        {"<svg xmlns=\"\">", "an SVG picture"},
        {"{\n \"a\": 1}", "JSON"},
        {"[1, 2]", "JSON"},
        {"a,b,c\n1,2,3\n4,5,6\n7", "a table of values, as CSV"},
        {"a\tb\n1\t2\n", "a table of values, as CSV"},
        {"1;2\r\n3;4\r\n", "a table of values, as CSV"},
        {"PK\3\4....mimetype", "a ZIP archive; unpack it first"},
        {"PK\3\4....[Content_Types].xml", "a document of an office program"},
        {"*Vertices 3\n1 \"a\"", "a graph of the Pajek format"},
        {"(export (version D)", "a netlist of a circuit"},
        {"amplifier\nR1 in out 10k\nC1 out 0 1u\n.end\n", "a netlist of a circuit"},
        {"* amplifier\nR1 in out 10k\nV1 in 0 DC 5\n", "a netlist of a circuit"},
        {"-----BEGIN PGP SIGNED MESSAGE-----\nFormat: 3.0\nSource: x\nBinary: x\nVersion: 1",
         "a description of a Debian source package"},
        {"net Fire\n{\n HEADER = { ID = x; };\n node A { TYPE = CPT; ID = A; };",
         "a net in the older text form of XDSL; save it as .xdsl"},
        {"\x89PNG\r\n\x1A\n\0\0\0\0"sv, "a PNG image"},
        {"\xFF\xFE\0\0n\0\0\0"sv, "a text in UTF-32; save it as UTF-8"},
        {"n\0e\0t\0 \0{\0 \0}\0"sv, "a text in UTF-16 without a byte order mark; save it as UTF-8"},
        {"\1\2\3\4\5\6\7 garbage", "binary data"},
    };
    for (const auto& [text, kind] : cases) EXPECT_EQ(OtherText(text, "x.net"), kind) << text;
    EXPECT_EQ(OtherText("1 2 0", "a.uai.evid"), "evidence for a net, without the net");
    for (const std::string_view text :
         {"net\0"sv, "net { }"sv, "net { node A }"sv, "<BIF>"sv, "<?xml?><x:network>"sv, "<9"sv,
          "2 3\n"sv, "\xFF\xFEn\0"sv, "% net, x, y\n% a, b, c\nnet"sv,
          "* a note\nnet { }\nrain is a b c\nmore of a b\n"sv, ""sv})
        EXPECT_EQ(OtherText(text, "x"), "") << text;
    for (const auto& path : FilesIn(Samples())) {
        std::ifstream in(path, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        EXPECT_EQ(OtherText(text, path.string()), "") << path;
    }
}

TEST(Detect, Utf16BecomesUtf8) {
    using namespace std::string_view_literals;
    EXPECT_EQ(FromUtf16("\xFF\xFEn\0\xE4\0\xAC\x20\x3D\xD8\0\xDE"sv),
              "n\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(FromUtf16("\xFE\xFF\0n\xD8\x3D\0"sv), "n\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_TRUE(IsUtf16("\xFE\xFF\0n"sv) && IsUtf16("\xFF\xFEn\0"sv));
    EXPECT_FALSE(IsUtf16("\xFF\xFE\0\0n"sv) || IsUtf16("n\0"sv));
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
