// What the files of the XML services share; not for their users.
#pragma once

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

/// True for the '<' of a tag, declaration or instruction, not for one that stands for itself.
bool IsMarkup(const char* p);

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

    bool takePlainTag(XMLTag& tag);
    bool takePlainEndTag(std::string_view name);
    bool takeEmptyElement();

    bool skipElement(std::string_view name, ParserPos_kt place,
                     const std::function<bool(std::string_view)>& standsIn);

private:
    bool takePlainElement(std::string_view name);
    const char* pastTag(const char* p, bool& empty) const;
};

}  // namespace lumo
