// What the files of the XML services share; not for their users.
#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "library/text/messages.h"
#include "library/text/state.h"
#include "library/text/xml.h"

namespace lumo {

inline constexpr std::string_view XMLBlanks = " \t\n\v\f\r";
inline constexpr std::string_view XMLCDataStart = "<![CDATA[";

inline std::string_view ViewOf(const char* first, const char* last) {
    return {first, static_cast<std::size_t>(last - first)};
}

/// Which bytes stand in the text.
consteval std::array<bool, 256> BytesOf(std::string_view text) {
    std::array<bool, 256> bytes{};
    for (const char c : text) bytes[static_cast<unsigned char>(c)] = true;
    return bytes;
}
inline constexpr auto XMLNameEnds = BytesOf({" \t\n\v\f\r/>=<\"'\0", 13});
inline constexpr auto XMLPlainTextEnds = BytesOf({"<&\0", 3});
inline constexpr auto XMLTagStarts = [] {
    std::array<bool, 256> bytes = BytesOf("/_:");
    for (std::size_t c = 0; c < bytes.size(); ++c)
        bytes[c] = bytes[c] || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c >= 0x80;
    return bytes;
}();

inline bool IsIn(const std::array<bool, 256>& bytes, char c) {
    return bytes[static_cast<unsigned char>(c)];
}

inline bool IsXMLBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline const char* PastWhite(const char* p) {
    while (IsXMLBlank(*p)) ++p;
    return p;
}

/// True for the '<' of a tag.
inline bool IsTag(const char* p) { return IsIn(XMLTagStarts, p[1]); }
/// True for the '<' of a tag, declaration or instruction, not for one that stands for itself.
inline bool IsMarkup(const char* p) { return IsTag(p) || p[1] == '!' || p[1] == '?'; }

/// Appends the text with its references decoded.
void AppendDecoded(std::string_view text, strin_kt& out);

/// Reads the pieces of one tag, and passes over elements.
struct XMLMarkup {
    Parser_CString_kt& in;
    Parser_CString_kt::State& state;

    explicit XMLMarkup(Parser_CString_kt& parser) : in(parser), state(*parser.state_) {}

    void moveTo(const char* p) {
        in.channel.position = p;
        in.setTokenStart(p);
    }
    const char* pastBlanks(const char* p) { return in.pastBlanks(p); }
    void skipMarkup(const char* p);

    rept_kt* unexpected(const char* p, const Message<const char*, const char*>& message,
                        const std::string& expected);
    const char* toTag(const Message<const char*, const char*>& message,
                      const std::string& expected);
    std::string_view takeTagName(const char*& p);
    void finishEndTag(const char* p);
    const char* takeAttribute(const char* p, std::string_view& name, std::string_view& value);
    void readAttributes(const char* p, XMLTag& tag);
    void readTagAt(const char* p, XMLTag& tag);

    bool takeTag(XMLTag& tag);
    bool takePlainEndTag(std::string_view name);
    bool takePlainText(std::string_view element, std::string_view& text);
    /// Passes over the end of <X/>, where it stands.
    bool takeEmptyElement() {
        if (in.channel.position != state.emptyElement) return false;
        in.setTokenStart(in.channel.position);
        in.channel.position += 2;
        return true;
    }

    bool skipElement(std::string_view name, ParserPos_kt place,
                     const std::function<bool(std::string_view)>& standsIn);

private:
    bool takePlainElement(std::string_view name);
    const char* pastTag(const char* p, bool& empty) const;
};

}  // namespace lumo
