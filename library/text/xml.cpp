// XML: text with entities, CDATA sections and comments, and tags. <X/> is read as <X></X>: the
// reader of the start tag stops before "/>" and remembers that place as the end tag's, so that
// going back with setPos needs no care.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "library/text/parser.h"
#include "library/text/state.h"
#include "library/text/tokens.h"

namespace lumo {

namespace {

constexpr std::string_view Blanks = " \t\n\v\f\r";
constexpr std::string_view CDataStart = "<![CDATA[";
constexpr std::string_view CDataEnd = "]]>";

std::string_view ViewOf(const char* first, const char* last) {
    return {first, static_cast<std::size_t>(last - first)};
}

/// True for the '<' of a tag, declaration or instruction, not for one that stands for itself.
bool IsMarkup(const char* p) {
    const unsigned char c = static_cast<unsigned char>(p[1]);
    const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c >= 0x80;
    return letter || (c != 0 && std::strchr("/!?_:", c) != nullptr);
}

struct Entity {
    std::string_view name;
    char character;
};
constexpr Entity Entities[] = {
    {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};

void AppendUTF8(std::uint32_t code, strin_kt& out) {
    const auto tail = [&](int shift) {
        out.append(static_cast<char>(0x80 | ((code >> shift) & 0x3F)));
    };
    if (code < 0x80) return out.append(static_cast<char>(code));
    if (code < 0x800) {
        out.append(static_cast<char>(0xC0 | (code >> 6)));
        return tail(0);
    }
    if (code < 0x10000) {
        out.append(static_cast<char>(0xE0 | (code >> 12)));
    } else {
        out.append(static_cast<char>(0xF0 | (code >> 18)));
        tail(12);
    }
    tail(6);
    tail(0);
}

bool IsCharacter(std::uint32_t code) {
    return code != 0 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

/// Appends the character that the reference at the start of text ("&...") stands for and returns
/// the length of the reference. What is none stays as written.
std::size_t AppendReference(std::string_view text, strin_kt& out) {
    if (text.starts_with("&#")) {
        const bool hexadecimal = text.substr(2).starts_with('x');
        const char* const digits = text.data() + (hexadecimal ? 3 : 2);
        const char* const last = text.data() + text.size();
        std::uint32_t code = 0;
        const auto [end, error] = std::from_chars(digits, last, code, hexadecimal ? 16 : 10);
        if (error == std::errc() && end != last && *end == ';' && IsCharacter(code)) {
            AppendUTF8(code, out);
            return static_cast<std::size_t>(end + 1 - text.data());
        }
    }
    for (const Entity& entity : Entities) {
        const std::size_t n = entity.name.size();
        if (text.substr(1, n) != entity.name || text.substr(1 + n, 1) != ";") continue;
        out.append(entity.character);
        return n + 2;
    }
    out.append('&');
    return 1;
}

void AppendDecoded(std::string_view text, strin_kt& out) {
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('&'), text.size());
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) text.remove_prefix(AppendReference(text, out));
    }
}

}  // namespace

// ---- Text ----------------------------------------------------------------------------------

bool Parser_CString_kt::atEmptyElement() const { return channel.position == state_->emptyElement; }

/// Moves over white space and comments to where a text starts. A reference to white space is text.
const char* Parser_CString_kt::toText() {
    const char* p = channel.position;
    while (has(p, CharPropSpace) || (*p == '<' && commentAt(p)))
        p = *p == '<' ? pastComment(p) : p + 1;
    channel.position = p;
    setTokenStart(p);
    return p;
}

/// Takes the text at the position when an end tag follows it without a reference or other markup
/// between, as most do. Returns whether it did.
bool Parser_CString_kt::takePlainText(strin_kt& out) {
    const char* const first = toText();
    const char* p = first;
    while (p < end_ && *p != '<' && *p != '&') ++p;
    if (p[0] != '<' || p[1] != '/') return false;
    const char* last = p;
    while (last > first && has(last - 1, CharPropSpace)) --last;
    out.append(ViewOf(first, last));
    channel.position = p;
    return true;
}

void Parser_CString_kt::readXMLText(const char* stops, strin_kt& out) {
    if (atEmptyElement()) return setTokenStart(channel.position);
    if (std::string_view(stops) == "<" && takePlainText(out)) return;
    bool stop[256] = {};
    for (const char* s = stops; *s != 0; ++s) stop[static_cast<unsigned char>(*s)] = true;
    const auto plain = [&](char c) {
        return c != '<' && c != '&' && !stop[static_cast<unsigned char>(c)];
    };
    const auto blank = [](char c) { return Blanks.find(c) != std::string_view::npos; };
    const int before = out.num();
    const char* p = toText();
    while (p < end_) {
        const bool leading = out.num() == before;
        const char* const run = p;
        while (p < end_ && plain(*p)) ++p;
        out.append(ViewOf(run, p));
        const char* const past = pastTextMarkup(p, out);
        if (leading) {
            char* const text = out.first + before;
            out.last = std::move(std::find_if_not(text, out.last, blank), out.last, text);
        }
        if (past != p)
            p = past;
        else if (*p == '&' && !stop[unsigned{'&'}])
            p += AppendReference(ViewOf(p, end_), out);
        else if (*p == '<' && !stop[unsigned{'<'}] && !IsMarkup(p))
            out.append(*p++);
        else
            break;
    }
    while (out.num() > before && blank(out.last[-1])) --out.last;
    channel.position = p;
}

/// Past the CDATA section at p, which is text, or the comment or instruction, which are none.
const char* Parser_CString_kt::pastTextMarkup(const char* p, strin_kt& out) {
    if (*p != '<' || (p[1] != '!' && p[1] != '?')) return p;
    const char* const past = pastShielded(p);
    if (past != p && StartsWith(p, CDataStart))
        out.append(ViewOf(p + CDataStart.size(), past - CDataEnd.size()));
    return past;
}

// ---- Tags ----------------------------------------------------------------------------------

/// Reads the pieces of one tag.
struct XMLMarkup {
    Parser_CString_kt& in;
    Parser_CString_kt::State& state;

    explicit XMLMarkup(Parser_CString_kt& parser) : in(parser), state(*parser.state_) {}

    void moveTo(const char* p) {
        in.channel.position = p;
        in.setTokenStart(p);
    }

    /// Reports what stands at p (after blanks) instead of the expected.
    rept_kt* unexpected(const char* p, int number, const std::string& expected) {
        moveTo(p);
        const std::string found = NextToken(in);
        if (in.isAtEnd()) return in.makeError(num::unexpectedEnd, "unexpected end-of-input");
        return in.makeError(number, "expected %s, but found %s", expected.c_str(), found.c_str());
    }

    /// To the next tag, over comments, instructions and declarations; returns the place after its
    /// '<', which may be consumed already. Other text is an error.
    const char* toTag(int number, const std::string& expected) {
        const char* p = in.channel.position;
        if (p > in.channel.start && p[-1] == '<' && *p != '<') {
            in.setTokenStart(p - 1);
            return p;
        }
        for (;;) {
            p = in.pastBlanks(p);
            moveTo(p);
            const bool declaration = StartsWith(p, "<!") && !StartsWith(p, CDataStart);
            if (*p != '<' || (p[1] == '!' && !declaration)) throw unexpected(p, number, expected);
            if (!declaration && p[1] != '?') return p + 1;
            if (declaration)
                in.makeWarning(num::xmlDeclaration,
                               "a declaration among the elements is passed over");
            in.channel.position = p + 2;
            in.skipXMLMarkup();
            p = in.channel.position;
        }
    }

    const char* pastWhite(const char* p) const { return p + std::strspn(p, Blanks.data()); }

    std::string_view takeName(const char*& p) const {
        const char* const first = p;
        p += std::strcspn(p, " \t\n\v\f\r/>=<\"'");
        return ViewOf(first, p);
    }

    std::string_view takeTagName(const char*& p) {
        const std::string_view name = takeName(p);
        if (name.empty()) throw unexpected(p, num::badXML, "the name of an element");
        return name;
    }

    void finishEndTag(const char* p) {
        p = pastWhite(p);
        if (*p != '>') throw unexpected(p, num::badXML, "'>' at the end of the tag");
        in.channel.position = p + 1;
    }

    /// Reads an attribute; gives name and undecoded value and returns the place after it.
    const char* takeAttribute(const char* p, std::string_view& name, std::string_view& value) {
        const char* const start = p;
        name = takeName(p);
        if (name.empty()) throw unexpected(p, num::badXML, "an attribute or '>'");
        p = pastWhite(p);
        if (*p != '=')
            throw unexpected(p, num::badXML, Format("'=' after '%s'", Shown(name).c_str()));
        p = pastWhite(p + 1);
        const char quote = *p;
        if (quote != '"' && quote != '\'')
            throw unexpected(p, num::badXML, Format("a quoted value of '%s'", Shown(name).c_str()));
        const char ends[] = {quote, '<', 0};  // a '<' cannot stand in a value
        const char* const last = p + 1 + std::strcspn(p + 1, ends);
        value = ViewOf(p + 1, last);
        if (*last == quote) return last + 1;
        moveTo(start);
        throw in.makeError(num::badXML, "the value of attribute '%s' has no closing quote",
                           Shown(name).c_str());
    }

    /// The rest of a start tag, whose attributes are read up to the first and checked after it.
    void readAttributes(const char* p, std::string_view element, strin_kt& attribute,
                        strin_kt& value) {
        std::string_view name;
        std::string_view text;
        for (bool first = true;; first = false) {
            p = pastWhite(p);
            if (*p == '>' || StartsWith(p, "/>")) break;
            p = takeAttribute(p, name, text);
            if (!first) continue;
            attribute.append(name);
            AppendDecoded(text, value);
        }
        in.channel.position = *p == '>' ? p + 1 : p;
        if (*p == '>') return;
        state.emptyElement = p;
        state.emptyName = element;
    }

    /// Reads the tag, when it stands right here, blanks aside, and is a name in angle brackets
    /// alone, as most are. Returns whether it did.
    bool takePlainTag(strin_kt& tag, bool& isEnd) {
        const char* p = in.channel.position;
        while (in.has(p, CharPropSpace)) ++p;
        if (*p != '<') return false;
        const char* const name = p + (p[1] == '/' ? 2 : 1);
        const char* last = name;
        while (in.has(last, CharPropLetter)) ++last;
        if (last == name || *last != '>') return false;
        tag.append(ViewOf(name, last));
        isEnd = p[1] == '/';
        in.setTokenStart(p);
        in.channel.position = last + 1;
        return true;
    }

    /// Passes over the end tag of the element when it stands right here without blanks in it.
    bool takePlainEndTag(std::string_view name) {
        const char* const p = in.channel.position;
        if (p[0] != '<' || p[1] != '/' || !StartsWith(p + 2, name) || p[2 + name.size()] != '>')
            return false;
        in.setTokenStart(p);
        in.channel.position = p + name.size() + 3;
        return true;
    }

    bool takeEmptyElement() {
        if (!in.atEmptyElement()) return false;
        in.setTokenStart(in.channel.position);
        in.channel.position += 2;
        return true;
    }
};

void ReadXMLVersion(Parser_CString_kt& in) {
    const char* const p = in.getPos() + std::strspn(in.getPos(), Blanks.data());
    char start[6] = {};
    std::strncpy(start, p, 5);
    if (!streqli_kt(start, "<?xml")) return;
    in.setPos(p + 2);
    in.skipStructure('<', '>', true);
}

bool ReadElementTag(Parser_CString_kt& in, strin_kt& tag, strin_kt& attribute, strin_kt& value) {
    tag.clear();
    attribute.clear();
    value.clear();
    XMLMarkup markup(in);
    if (markup.takeEmptyElement()) {
        tag.append(markup.state.emptyName);
        return true;
    }
    bool isEnd = false;
    if (markup.takePlainTag(tag, isEnd)) return isEnd;
    const char* p = markup.toTag(num::badXML, "a tag");
    const ParserPos_kt start = in.tokenStart();
    isEnd = *p == '/';
    if (isEnd) ++p;
    const std::string_view name = markup.takeTagName(p);
    tag.append(name);
    if (isEnd)
        markup.finishEndTag(p);
    else
        markup.readAttributes(p, name, attribute, value);
    in.setTokenStart(start);
    return isEnd;
}

void ReadClosingTag(Parser_CString_kt& in, const strin_kt& tag) {
    XMLMarkup markup(in);
    if (markup.takePlainEndTag(tag.view())) return;
    const std::string expected = Format("</%s>", Shown(tag.view()).c_str());
    const ParserPos_kt before = in.getPos();
    if (markup.takeEmptyElement()) {
        if (tag.view() == markup.state.emptyName) return;
        throw markup.unexpected(before, num::wrongClosingTag, expected);
    }
    const char* p = markup.toTag(num::wrongClosingTag, expected);
    const ParserPos_kt start = in.tokenStart();
    const bool isEnd = *p == '/';
    if (isEnd) ++p;
    const std::string_view name = markup.takeTagName(p);
    if (!isEnd || name != tag.view()) {
        in.setTokenStart(start);
        throw in.makeError(num::wrongClosingTag, "expected %s, but found <%s%s>", expected.c_str(),
                           isEnd ? "/" : "", Shown(name).c_str());
    }
    markup.finishEndTag(p);
}

}  // namespace lumo
