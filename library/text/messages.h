// The tokenizer's reports.
#pragma once

#include "library/reports/message.h"

namespace lumo {

struct TextMessages {
    using enum MessageKind;
    using enum ReadingEN;
    // clang-format off
    Message<> unexpectedEnd{-4108, error, "unexpected end-of-input", "the file breaks off where "
        "more must follow. Get it again; what was read is kept", {"1 2", 1, 4, "ergo"}};
    Message<const char*> notANumber{-5040, error, "'%s' is not a number",
        "correct the number at that place. There is a decimal point, never a comma; fractions, "
        "`inf` and `nan` are no numbers", {"1 2 0 2 0.5 x", 1, 13, "ergo"}};
    Message<const char*> decimalComma{-5040, error, "'%s' is not a number: it has a decimal comma",
        notANumber.cure, {"1 2 0 2 0.5 0,5", 1, 13, "ergo"}};
    Message<const char*> noNumber{-5040, error, "expected a number, but found %s",
        notANumber.cure, {"1 2 0 2 0.5 \"", 1, 13, "ergo"}};
    Message<const char*> numberTooLarge{-5041, error, "number '%s' is too large",
        "the number does not fit its type. Correct it", {"1 2 0 2 0.5 1e99", 1, 13, "ergo"}};
    Message<const char*, int> coordinateClamped{-5224, warning, "coordinate %s is too large and is "
        "taken as %d", "the node is drawn at the border of all drawings. Correct the number",
        {"1 2 0 2 1 0 A a b 99999999999 2", 1, 19, "ergo"}};
    Message<const char*> notAnInteger{-5042, error, "'%s' is not an integer",
        "correct the number at that place", {"1 x", 1, 3, "ergo"}};
    Message<const char*> noInteger{-5042, error, "expected an integer, but found %s",
        notAnInteger.cure, {"1 \"", 1, 3, "ergo"}};
    Message<> unterminatedString{-5043, error, "unterminated string",
        "the quote at that place is never closed, or swallows the fields behind it. Close it",
        {"net {} node a { label = \"x", 1, 25, "hugin"}};
    Message<> unterminatedComment{-5044, warning, "unterminated comment", "the comment at that "
        "place is never closed. Close it: `/*` ends with `*/`", {"1 2 /* 0", 1, 5, "ergo"}};
    Message<> commentInComment{-5054, warning, "the comment holds the start of another",
        "a comment ends at the first end mark. When one has lost its own, what stands between the "
        "two is passed over. Close the first one",
        {"1 2 0 2 /* a\n.1 .9 /* b */ .1 .9", 1, 9, "ergo"}};
    Message<int, int> textCut{-5045, warning, "text of %d characters is cut to %d",
        "names and single-line values keep 255 bytes, names of Ergo 256. Use a shorter one"};
    Message<const char*, const char*> badCoordinate{-5046, error, "expected %s, but found %s",
        "a position or size is not a pair of numbers, `(x y)` or `(x, y)`. Write two numbers",
        {"net {} node a { position = 5; }", 1, 29, "hugin"}};
    Message<const char*, const char*> badList{-5047, error, "expected %s, but found %s",
        "a list lacks its opening or closing bracket, or holds something else than its entries. "
        "Correct it", {"net {} node a { states = 5; }", 1, 26, "hugin"}};
    Message<int, const char*> unclosedList{-5047, error, "missing '%c' at the end of the list, "
        "before %s", badList.cure, {"net {} node a { states = (\"x\"; }", 1, 30, "hugin"}};
    Message<int> longList{-5047, error, "the list has more than %d entr[y|ies]", badList.cure};
    Message<int, int> wrongListCount{-5048, error, "%d number[|s] wanted, but %d read", Of{"dsc"},
        "a tuple has not one number for each parent. Write one for each, in the order of the "
        "header"};
    Message<const char*, const char*> badXML{-5051, error, "expected %s, but found %s", Of{"xml"},
        "the markup is not well-formed (any XML checker names the place); `<` in a text is written "
        "`&lt;`. Correct it", {"<BIF VERSION 0.3>", 1, 14, "xmlbif"}};
    Message<const char*> openValue{-5051, error, "the value of attribute '%s' has no closing quote",
        Of{"xml"}, badXML.cure, {"<BIF VERSION=\"0.3>", 1, 6, "xmlbif"}};
    Message<> openMarkup{-5051, error, "the markup that starts here is never closed", Of{"xml"},
        badXML.cure, {"<!DOCTYPE BIF [", 1, 1, "xmlbif"}};
    Message<const char*, const char*> wrongClosingTag{-5052, error, "expected %s, but found %s",
        Of{"xml"}, "the end tag of a text element differs from its start tag. Write the one the "
        "message names", {"<BIF VERSION=\"0.3\"><NETWORK><NAME>a</NAM>", 1, 36, "xmlbif"}};
    Message<> xmlDeclaration{-5053, warning, "a declaration among the elements is passed over",
        Of{"xml"}, "`<!...>` stands before the root alone. Delete it, or write a comment",
        {"<BIF VERSION=\"0.3\"><!ELEMENT X><NETWORK></NETWORK></BIF>", 1, 20, "xmlbif"}};
    Message<> outOfMemoryForNumbers{-5281, memoryError, "for the numbers of an element", Of{"xml"},
        "there is not enough memory for one table: the node has none, and all else is read. Give "
        "the node fewer parents or states, or use a larger machine"};
    Message<const char*> strayText{-5260, warning, "text among the elements is passed over: '%s'",
        Of{"xml"}, "text stands where only elements can. Delete it, or write it as a comment",
        {"<BIF VERSION='0.3'><NETWORK>text</NETWORK></BIF>", 1, 29, "xmlbif", leniently}};
    Message<const char*> elementNeverClosed{-5261, error, "element '%s' is never closed", Of{"xml"},
        "the end tag is missing; what stands behind the start tag is read as if that were not "
        "there. Write the end tag",
        {"<BIF VERSION=\"0.3\"><NETWORK><NOTE></NETWORK></BIF>", 1, 29, "xmlbif"}};
    Message<const char*> strayEndTag{-5262, error, "</%s> closes nothing", Of{"xml"},
        "the end tag has no start tag. Delete it, or write one",
        {"<BIF VERSION='0.3'><NETWORK></X></NETWORK></BIF>", 1, 29, "xmlbif", leniently}};
    Message<const char*> elementInText{-5263, warning, "element '%s' within a text is passed over",
        Of{"xml"}, "the text around it is kept. Write the element elsewhere, or its `<` as `&lt;`",
        {"<BIF VERSION='0.3'><NETWORK><NAME>a<X/></NAME></NETWORK>"
        "</BIF>", 1, 36, "xmlbif", leniently}};
    Message<> bareLess{-5277, notice, "this '<' begins no tag and is taken as text", Of{"xml"},
        "write it as `&lt;`",
        {"<BIF VERSION='0.3'><NETWORK><NAME>a<9</NAME></NETWORK>"
        "</BIF>", 1, 36, "xmlbif", leniently}};
    Message<> afterRoot{-5264, warning, "what follows the root element is passed over", Of{"xml"},
        "an XML file holds one element. Put the second into a file of its own",
        {"<BIF VERSION='0.3'><NETWORK></NETWORK></BIF><BIF>", 1, 45, "xmlbif", leniently}};
    // clang-format on
};

namespace msg {
inline constexpr TextMessages text;
}

}  // namespace lumo
