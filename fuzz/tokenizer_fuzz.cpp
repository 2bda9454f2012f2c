// Runs operations of the tokenizer over a text. The input's first byte chooses the reader whose
// options are used, the second says how many of the bytes behind it choose operations; the rest is
// the text. The place never leaves the text, and reading never moves it back.
#include <algorithm>

#include "formats/dsc/belvec.h"
#include "fuzz/properties.h"
#include "tests/dialects.h"

namespace lumo::fuzz {
namespace {

using Operation = void (*)(Parser_CString_kt& in);

void Word(Parser_CString_kt& in) {
    char text[20];
    in.readWord(text, sizeof text - 1);
}
void WordPunc(Parser_CString_kt& in) {
    char text[20];
    in.readWordPunc(text, sizeof text - 1);
}
void Quoted(Parser_CString_kt& in) {
    char text[20];
    in.readQuoted(text, sizeof text - 1);
}
void String(Parser_CString_kt& in) {
    strin_kt text;
    in.readString(text);
}
void QuotedRest(Parser_CString_kt& in) {
    strin_kt text;
    in.readQuotedRest(text);
}
void ToChar(Parser_CString_kt& in) {
    strin_kt text;
    in.readToChar("<;", text);
}
void Strings(Parser_CString_kt& in) {
    int count = 0;
    const std::unique_ptr<char*[]> list(ReadListStrings<Parser_kt, true, true, 1>(in, count));
    for (int i = 0; i < count; ++i) delete[] list[static_cast<std::size_t>(i)];
}
void Pair(Parser_CString_kt& in) {
    coord_kt pair;
    ReadCoord<Parser_kt>(in, pair);
}
void Floats(Parser_CString_kt& in) {
    float numbers[50];
    Require(in.readFloats(numbers, 50, CommasEN::may) <= 50, "no more numbers than were asked for");
}
void Numbers(Parser_CString_kt& in) {
    vect_kt<float> numbers;
    ReadList<Parser_CString_kt, float, false, false>(in, numbers);
}
void Vector(Parser_CString_kt& in) {
    Varbl_bn variable;
    variable.numStates = 3;
    float vector[3];
    ParseBelVec(in, vector, variable, '(');
    Require(test::AllFinite(vector, 3), "a vector of finite numbers");
}
void Tag(Parser_CString_kt& in) {
    strin_kt tag, attribute, value;
    ReadElementTag(in, tag, attribute, value);
}
void Notice(Parser_CString_kt& in) { in.makeNotice(-1, "here"); }

constexpr Operation operations[] = {
    Word,
    WordPunc,
    Quoted,
    String,
    QuotedRest,
    ToChar,
    Strings,
    Pair,
    Floats,
    Numbers,
    Vector,
    Tag,
    Notice,
    [](Parser_CString_kt& in) { delete[] in.readStringNew(); },
    [](Parser_CString_kt& in) { in.readPunc(); },
    [](Parser_CString_kt& in) { in.readChar(); },
    [](Parser_CString_kt& in) { in.readInt(); },
    [](Parser_CString_kt& in) { in.readDouble(); },
    [](Parser_CString_kt& in) { in.skipSpaces(); },
    [](Parser_CString_kt& in) { in.skipStatement(); },
    [](Parser_CString_kt& in) { in.skipStructure('{', '}', false); },
    [](Parser_CString_kt& in) { in.skipStructure('<', '>', true); },
    [](Parser_CString_kt& in) { in.skipToString("}"); },
    [](Parser_CString_kt& in) { in.skipToString("</a>"); },
    [](Parser_CString_kt& in) { ReadXMLVersion(in); },
    [](Parser_CString_kt& in) { in.peekWord(); },
};

void Run(Parser_CString_kt& in, std::string_view choices) {
    for (const char choice : choices) {
        const ParserPos_kt before = in.getPos();
        const std::size_t operation = static_cast<unsigned char>(choice) % std::size(operations);
        try {
            operations[operation](in);
        } catch (rept_kt*) {
            // Recorded and shown already.
        }
        if (in.getPos() < before)
            Require(false, "operation " + std::to_string(operation) + " reads on");
        Require(in.bytesLeft() >= 0, "a place in the text");
    }
}

}  // namespace
}  // namespace lumo::fuzz

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace lumo;
    if (size < 2 || size - 2 < data[1]) return 0;
    const std::string_view choices = fuzz::View(data + 2, data[1]);
    std::string text(fuzz::View(data + 2 + data[1], size - 2 - data[1]));
    text.resize(std::min(text.size(), text.find('\0')));
    fuzz::PlaceChecker handler;
    const HandlerScope handlers(handler);
    const ReportScope scope;
    const test::Options options(static_cast<test::Dialect>(data[0] % test::dialects));
    try {
        InChannel_CString_kt channel(text.c_str(), "fuzz");
        Parser_CString_kt in(&options.record, channel);
        fuzz::Run(in, choices);
    } catch (rept_kt*) {
        // A text in a 16-bit encoding.
    }
    return 0;
}
