// XML: text, tags, empty elements, skipping of elements and declarations.
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
        EXPECT_EQ(r.seen.count(num::xmlDeclaration), c.text[1] == '!' && c.text[2] != '[');
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
    const struct {
        const char* text;
        const char* report;
    } cases[] = {
        {"</N>", ""},
        {" <!-- </M> --> </N >", ""},
        {"<N/></N>", "-5052 1:1 expected </N>, but found <N>"},
        {" </M>", "-5052 1:2 expected </N>, but found </M>"},
        {"x</N>", "-5052 1:1 expected </N>, but found 'x'"},
        {"", "-4108 1:1 unexpected end-of-input"},
    };
    for (const auto& c : cases) {
        Reading r(c.text, Dialect::xml);
        EXPECT_EQ(r.thrown([&] { Close(r, "N"); }), c.report) << c.text;
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

    Reading skipped("<X a='1'/></X>", Dialect::xml);
    ReadTag(skipped);
    EXPECT_EQ(skipped.in.skipToString("</X>"), 0);
    EXPECT_EQ(skipped.rest(), "</X>");

    Reading numbers("<X/></X>", Dialect::xml);
    ReadTag(numbers);
    vect_kt<float> none;
    numbers.in.listOpenChar = '>';
    ReadList<Parser_CString_kt, float, false, false>(numbers.in, none);
    EXPECT_EQ(none.N, 0);
}

TEST(XMLSkipping, ElementsEndAtTheirTag) {
    Reading r("<Y/> <!-- </X> --> <![CDATA[</X>]]> <?p </X> ?> \"</X\n> rest </X>", Dialect::xml);
    EXPECT_EQ(r.in.skipToString("</Z>"), -1);
    EXPECT_EQ(r.in.getPos(), r.text.c_str());
    EXPECT_EQ(r.in.skipToString("</X>"), 0);
    EXPECT_EQ(r.rest(), " rest </X>");
    EXPECT_EQ(r.in.skipToString("</X>"), 0);
    EXPECT_EQ(r.in.skipToString("</X>"), -1);

    std::string text;  // every element unknown, no two alike, none closed but the last
    constexpr int many = 100'000;
    for (int i = 0; i < many; ++i)
        text += "<e" + std::to_string(i) + "></f" + std::to_string(i) + ">";
    Reading hostile(text + "</e0>", Dialect::xml);
    for (int i = 1; i < many; ++i)
        ASSERT_EQ(hostile.in.skipToString(("</e" + std::to_string(i) + ">").c_str()), -1);
    EXPECT_EQ(hostile.in.skipToString("</e0>"), 0);
    EXPECT_TRUE(hostile.in.isAtEnd());
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

TEST(XMLSkipping, DeclarationIsOptional) {
    for (const char* text : {"<?xml version='1.0'?>x", " \n<?XML VERSION=\"1.0\"?>x", "x"}) {
        Reading r(text, Dialect::xml);
        ReadXMLVersion(r.in);
        EXPECT_EQ(r.rest(), "x") << text;
    }
}

}  // namespace
}  // namespace lumo::test
