#include "formats/shared/xmlout.h"

#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::string_view xmlBlanks = " \t\n\v\f\r";
constexpr std::string_view replacement = "\xEF\xBF\xBD";

bool IsBlank(char c) { return xmlBlanks.find(c) != std::string_view::npos; }

/// The length of a character at the start of the text that no XML document may hold, 0 when it may
/// stand there.
std::size_t ForbiddenLength(std::string_view utf8) {
    const auto byte = static_cast<unsigned char>(utf8.front());
    if (byte < 0x20) return byte == '\t' || byte == '\n' || byte == '\r' ? 0 : 1;
    return utf8.starts_with("\xEF\xBF\xBE") || utf8.starts_with("\xEF\xBF\xBF") ? 3 : 0;
}

/// The text as valid UTF-8 of characters that XML has.
std::string Allowed(std::string_view text) {
    std::string utf8 = ToUtf8(text);
    std::string out;
    std::size_t plain = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const std::size_t length = ForbiddenLength(std::string_view(utf8).substr(i));
        if (length == 0) continue;
        out.append(utf8, plain, i - plain) += replacement;
        i += length - 1;
        plain = i + 1;
    }
    return plain == 0 ? utf8 : out.append(utf8, plain);
}

void WriteReference(TextOut& out, char c) { out << "&#" << static_cast<int>(c) << ';'; }

void WriteCharacter(TextOut& out, char c) {
    switch (c) {
        case '<':
            out << "&lt;";
            break;
        case '>':
            out << "&gt;";
            break;
        case '&':
            out << "&amp;";
            break;
        default:
            out << c;
    }
}

}  // namespace

std::string XmlAsRead(std::string_view text) {
    std::string read = Allowed(text);
    while (!read.empty() && IsBlank(read.back())) read.pop_back();
    return read;
}

bool XmlComesBack(std::string_view text) { return XmlAsRead(text) == ToUtf8(text); }

bool XmlValueComesBack(std::string_view text) { return Allowed(text) == ToUtf8(text); }

void WriteXmlContent(TextOut& out, std::string_view text) {
    bool leading = true;  // blanks that readers would pass over
    for (const char c : Allowed(text)) {
        leading = leading && IsBlank(c);
        leading || c == '\r' ? WriteReference(out, c) : WriteCharacter(out, c);
    }
}

void WriteXmlValue(TextOut& out, std::string_view text) {
    for (const char c : Allowed(text)) {
        const bool blank = IsBlank(c) && c != ' ';
        if (c == '"') {
            out << "&quot;";
        } else {
            blank ? WriteReference(out, c) : WriteCharacter(out, c);
        }
    }
}

}  // namespace lumo
