// XML: text, tags, empty elements, skipping of elements and declarations.
#include "library/reports/messages.h"
#include "library/text/messages.h"
#include "library/text/xml.h"
#include "tests/parser_support.h"

namespace lumo::test {
namespace {

struct Tag {
    std::string name, attribute, value;
    bool isEnd;
    bool operator==(const Tag&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Tag& tag) {
    return out << (tag.isEnd ? "</" : "<") << tag.name << ' ' << tag.attribute << "='" << tag.value
               << '\'';
}

Tag ReadTag(Reading& r) {
    strin_kt name, attribute, value;
    const bool isEnd = ReadElementTag(r.in, name, attribute, value);
    return {std::string(name.view()), std::string(attribute.view()), std::string(value.view()),
            isEnd};
}

void Close(Reading& r, std::string_view name) {
    strin_kt tag;
    tag.append(name);
    ReadClosingTag(r.in, tag);
}

TEST(XMLText, IsDecodedAndTrimmed) {
    const struct {
        const char* text;
        const char* stops;
        const char* value;
        const char* rest;
    } cases[] = {
        {" \n a  b \t</N>", "<", "a  b", "</N>"},
        {"&lt;&amp;lt;&quot;&apos;&gt;<", "<", "<&lt;\"'>", "<"},
        {"&#65;&#x42;&#233;&#x20AC;&#x1F600;<", "<", "AB\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "<"},
        {"&nbsp;&#0;&#xD800;&#x110000;&#99999999999;&#;& &lt<", "<",
         "&nbsp;&#0;&#xD800;&#x110000;&#99999999999;&#;& &lt", "<"},
        {"a<!-- </N> it's -->b<?pi </N> ?>c</N>", "<", "abc", "</N>"},
        {"<![CDATA[<b> &lt; ]] ]]>&lt;</N>", "<", "<b> &lt; ]] <", "</N>"},
        {" <!-- c --> position = (1, 2)<", " =:\t\r\n", "position", " = (1, 2)<"},
        {"\n\tposition:(1,2)<", " =:\t\r\n", "position", ":(1,2)<"},
        {"pos</P>", " =:\t\r\n", "pos", "</P>"},
        {"a<9 &#61; b=</P>", "=", "a<9 = b", "=</P>"},
        {"<9</O>", "<", "", "<9</O>"},
        {"<?p ?> <![CDATA[ a b ]]> &#32;<", "<", "a b", "<"},
        {" &#13;\n&#x9;a&#13;\nb &#13;&#xa; <", "<", "\r\n\ta\r\nb", "<"},
        {"a <![CDATA[ b", "<", "a", "<![CDATA[ b"},
        {"a <!- b", "<", "a", "<!- b"},
        {"  ", "<", "", ""},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::xml);
        EXPECT_EQ(r.upTo(c.stops), c.value) << c.text;
        EXPECT_EQ(r.rest(), c.rest) << c.text;
    }
    Reading plain(" a &lt;b%\n;");
    EXPECT_EQ(plain.upTo("\n"), " a &lt;b%");
    strin_kt kept;
    kept.append("blank ");
    Reading after(" x <", Dialect::xml);
    after.in.readToChar("<", kept);
    EXPECT_EQ(kept.view(), "blank x");
}

TEST(XMLTags, AreReadWithTheirFirstAttribute) {
    const struct {
        const char* text;
        Tag tag;
        const char* rest;
    } cases[] = {
        {"<A>x", {"A", "", "", false}, "x"},
        {" <!-- <B> --> <?pi > ?>\n<A >x", {"A", "", "", false}, "x"},
        {"</A \n>x", {"A", "", "", true}, "x"},
        {"<A x = '1 \"> &amp;' y=\"/>\">z", {"A", "x", "1 \"> &", false}, "z"},
        {"<a:B\n  xmlns:x=\"u\"\n  y='2'  >z", {"a:B", "xmlns:x", "u", false}, "z"},
        {"<A x=''>", {"A", "x", "", false}, ""},
        {"<A x='1'/><B>", {"A", "x", "1", false}, "/><B>"},
        {"<!DOCTYPE a [<!ELEMENT a (b)>]><A>", {"A", "", "", false}, ""},
        {"<!- it's ->\n<A>", {"A", "", "", false}, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Reading r(c.text, Dialect::xml);
        EXPECT_EQ(ReadTag(r), c.tag);
        EXPECT_EQ(r.rest(), c.rest);
        EXPECT_EQ(r.seen.count(msg::text.xmlDeclaration.number),
                  c.text[1] == '!' && c.text[2] != '[');
    }
    Reading root("<BIF>", Dialect::xml);
    root.in.skipChar();  // the '<' was read by the driver
    EXPECT_EQ(ReadTag(root), (Tag{"BIF", "", "", false}));
    EXPECT_EQ(root.place(), "1:1");

    Reading many("<A" + Repeated(" attribute='value'", 100'000) + ">x", Dialect::xml);
    EXPECT_EQ(ReadTag(many), (Tag{"A", "attribute", "value", false}));
    EXPECT_EQ(many.rest(), "x");
}

TEST(XMLTags, MalformedOnesThrow) {
    const struct {
        const char* text;
        const char* report;
    } cases[] = {
        {"\n text", "-5051 2:2 expected a tag, but found 'text'"},
        {"<![CDATA[x]]>", "-5051 1:1 expected a tag, but found '<'"},
        {"< >", "-5051 1:3 expected the name of an element, but found '>'"},
        {"<A =>", "-5051 1:4 expected an attribute or '>', but found '='"},
        {"<A x>", "-5051 1:5 expected '=' after 'x', but found '>'"},
        {"<A x=1>", "-5051 1:6 expected a quoted value of 'x', but found '1'"},
        {"<A x='1></A>", "-5051 1:4 the value of attribute 'x' has no closing quote"},
        {"</A x>", "-5051 1:5 expected '>' at the end of the tag, but found 'x'"},
        {"<A / >", "-5051 1:4 expected an attribute or '>', but found '/'"},
        {"<A", "-4108 1:3 unexpected end-of-input"},
        {" <!-- x -->", "-4108 1:12 unexpected end-of-input"},
        {"<", "-4108 1:2 unexpected end-of-input"},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::xml);
        EXPECT_EQ(r.thrown([&] { ReadTag(r); }), c.report) << c.text;
        EXPECT_EQ(r.seen.errors(), 1) << c.text;
    }
}

TEST(XMLTags, ClosingOnesMustMatch) {
    const char* const cases[][2] = {
        {"</N>", ""},
        {" <!-- </M> --> </N >", ""},
        {"<N/></N>", "-5052 1:1 expected </N>, but found <N>"},
        {"x</N>", "-5052 1:1 expected </N>, but found 'x'"},
        {"", "-4108 1:1 unexpected end-of-input"},
    };
    for (const auto& [text, report] : cases) {
        Reading r(text, Dialect::xml);
        EXPECT_EQ(r.thrown([&] { Close(r, "N"); }), report) << text;
    }
}

TEST(XMLTags, EmptyElementsHaveAnEndTag) {
    Reading r("<X/><Y>", Dialect::xml);
    EXPECT_EQ(ReadTag(r).name, "X");
    const ParserPos_kt content = r.in.getPos();
    for (int pass = 0; pass < 2; ++pass) {  // going back finds it again
        EXPECT_EQ(r.upTo("<"), "");
        EXPECT_EQ(r.upTo(" =:"), "");
        EXPECT_FALSE(r.in.isAtEnd());
        Close(r, "X");
        EXPECT_EQ(r.rest(), "<Y>");
        r.in.setPos(content);
    }
    EXPECT_EQ(r.thrown([&] { Close(r, "Z"); }), "-5052 1:3 expected </Z>, but found '/'");
    EXPECT_EQ(ReadTag(r), (Tag{"X", "", "", true}));
    EXPECT_EQ(ReadTag(r), (Tag{"Y", "", "", false}));
}

TEST(XMLSkipping, ElementsEndAtTheirTag) {
    constexpr std::string_view around[] = {"R"};
    const struct {
        const char *text, *rest;
    } cases[] = {
        {"<X> </Z><Y/> <!-- </X> --> <![CDATA[</X>]]> <?p </X> ?> \"</X\n> rest", " rest"},
        {"<X><X><X/></X> a<9 </X>rest", "rest"},
        {"<X><Y b=\"/>\"></X></Y></X>rest", "</Y></X>rest"},
        {"<X/>rest</X>", "rest</X>"},
        {"<X>kept<X></X></R></X>", "kept<X></X></R></X>"},
        {"<X>kept<Y>", "kept<Y>"},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::xml);
        XMLTag tag;
        ReadTag(r.in, tag);
        EXPECT_EQ(SkipElement(r.in, tag, around), !std::string(c.rest).starts_with("kept"));
        EXPECT_EQ(r.rest(), c.rest);
    }
    Reading hostile(Repeated("<a><b>", 300'000) + Repeated("</c>", 300'000), Dialect::xml);
    for (XMLTag tag; hostile.in.bytesLeft() > 1'200'000;) {  // linear: each is never closed
        ReadTag(hostile.in, tag);
        ASSERT_FALSE(SkipElement(hostile.in, tag, around));
    }
}

/// A walk as text: elements named t, n, s and p are read as text, as numbers, skipped, and taken
/// for what stands behind their parent; the others are entered.
std::string Walk(Reading& r) {
    std::string out;
    XMLReader xml(r.in);
    for (int depth = 0;;) {
        if (!xml.nextChild()) {
            if (depth == 0) return out;
            out += "}";
            depth = xml.depth();
            continue;
        }
        out += xml.tag().name;
        for (const XMLAttribute& a : xml.tag().attributes)
            out += " " + std::string(a.name) + "=" + a.value;
        strin_kt text;
        FloatList numbers;
        const char action = xml.tag().name[0];
        if (action == 't') xml.readText(text);
        if (action == 'n') out += xml.readNumbers(numbers) ? "+" : "-";
        if (action == 's') xml.skipElement();
        if (action == 'p' && xml.depth() > 2) {
            xml.closeParent();
            out += "^";
        }
        if (action == 't') out += "'" + std::string(text.view()) + "'";
        for (const float number : numbers) out += Format("%g,", static_cast<double>(number));
        if (action != 't' && action != 'n' && action != 's') out += "{";
        depth = xml.depth();
        if (depth == 0) return out;
    }
}

TEST(XMLReader, WalksElementsAndDamageCostsWhatIsDamaged) {
    const struct {
        const char *text, *walk, *reports;
    } cases[] = {
        {"", "", ""},
        {"<?xml version='1.0'?><!DOCTYPE r [<!ELEMENT r (b)>]><!-- c --><r/>", "r{}", ""},
        {"<r a = '&lt;1' b=\"2\"><c/><c d='&#65;'/></r>", "r a=<1 b=2{c{}c d=A{}}", ""},
        {"<r><t> a<9 &amp; <![CDATA[<b>]]><!-- c --></t><t/></r>", "r{t'a<9 & <b>'t''}",
         "-5277 1:9 "},
        {"<r><n> 1 2e1,\n.5 </n><n/><n>1 x<c/></n><c/></r>", "r{n+1,20,0.5,n+n-1,c{}}",
         "-5040 2:17 "},
        {"<r><s><s><c></s></s><c/></r>", "r{sc{}}", ""},
        {"<r>a<t>b<c>d</c>e</t>f</r>g", "r{t'be'}", "-5260 1:4 -5263 1:9 -5260 1:22 -5260 1:27 "},
        {"<r><s><c>x</c></r>", "r{sc{}}", "-5261 1:4 -5260 1:10 "},
        {"<r><c><b></c><c/></r>", "r{c{b{}}c{}}", "-5261 1:7 "},
        {"<r><c></x></c></r></r>", "r{c{}}", "-5262 1:7 -5264 1:19 "},
        {"<r><c x=1/><c y='1' z/><c w='/>\n<c/></r>", "r{c{}c y=1{}c{}c{}}",
         "-5051 1:9 -5051 1:22 -5051 1:27 "},
        {"<r>< ></><c </r>", "r{c{}}", "-5260 1:4 -5051 1:9 -5051 1:13 -5261 1:10 "},
        {"<r><c><b/><p><b/></p></r>", "r{c{b{}p^{p{b{}}}", "-5261 1:4 "},
        {"<r><![CDATA[ <c/></r>", "r{}", "-5051 1:4 -4108 1:22 "},
        {"<r><c><t>x", "r{c{t'x'}}", "-4108 1:11 "},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::xml);
        EXPECT_EQ(Walk(r), c.walk) << c.text;
        std::string reports;
        for (const Seen& s : r.seen.reports)
            if (s.number != msg::reports.unknownSummary.number)
                reports += Format("%d %d:%d ", s.number, s.line, s.column);
        EXPECT_EQ(reports, c.reports) << c.text;
    }
    for (const char* piece :
         {"<a>", "</b>", "<a><b></a>", "<s>", "<s></r>", "<r><t>", "<", "<a b='"}) {
        Reading r("<r>" + Repeated(piece, 300'000), Dialect::xml);
        Walk(r);
        EXPECT_GT(r.seen.errors() + r.seen.count(msg::text.strayText.number), 0) << piece;
    }
}

TEST(XMLSkipping, MarkupIsPassedWhole) {
    const struct {
        const char* text;  // what follows the '<'
        const char* rest;
    } cases[] = {
        {"!-- it's <a> > -- > -->x", "x"},
        {"?pi it's > \" ?>x", "x"},
        {"!DOCTYPE B [ <!ELEMENT a (b)> <!-- don't ]> --> <!ENTITY c \"]>'\"> ]>x", "x"},
        {"![CDATA[ > <a ]]>x", "x"},
        {"!ELEMENT a", ""},
        {"!-- open", ""},
    };
    for (const auto& c : cases) {
        Reading r(std::string("<") + c.text, Dialect::xml);
        r.in.skipChar();
        r.in.readPunc();
        r.in.skipStructure('<', '>', true);
        EXPECT_EQ(r.rest(), c.rest) << c.text;
    }
    Reading deep("<!" + Repeated("<", 500'000) + Repeated("\"'", 500'000) + "\"", Dialect::xml);
    deep.in.setPos(deep.text.c_str() + 2);
    deep.in.skipStructure('<', '>', true);
    EXPECT_TRUE(deep.in.isAtEnd());
}

}  // namespace
}  // namespace lumo::test
