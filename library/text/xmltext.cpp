// XML: text with entities, CDATA sections and comments.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "library/text/xmlmarkup.h"

namespace lumo {

namespace {

constexpr std::string_view CDataEnd = "]]>";

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

}  // namespace

void AppendDecoded(std::string_view text, strin_kt& out) {
    while (!text.empty()) {
        const std::size_t plain = std::min(text.find('&'), text.size());
        out.append(text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) text.remove_prefix(AppendReference(text, out));
    }
}

/// Moves over white space and comments to where a text starts. A reference to white space is text.
const char* Parser_CString_kt::toText() {
    const char* p = channel.position;
    while (is(p, ByteSpace) || (*p == '<' && commentAt(p))) p = *p == '<' ? pastComment(p) : p + 1;
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
    while (last > first && is(last - 1, ByteSpace)) --last;
    out.append(ViewOf(first, last));
    channel.position = p;
    return true;
}

void Parser_CString_kt::readXMLText(const char* stops, strin_kt& out) {
    if (atEmptyElement()) return setTokenStart(channel.position);
    if ((*stops == 0 || std::string_view(stops) == "<") && takePlainText(out)) return;
    bool stop[256] = {};
    for (const char* s = stops; *s != 0; ++s) stop[static_cast<unsigned char>(*s)] = true;
    const auto plain = [&](char c) {
        return c != '<' && c != '&' && !stop[static_cast<unsigned char>(c)];
    };
    // Where nothing stops the text, a '<' that another one follows before any '>' begins no tag.
    const auto markup = [&](const char* q) {
        if (!IsMarkup(q)) return false;
        return *stops != 0 || std::strchr("/!?", q[1]) != nullptr ||
               q[1 + std::strcspn(q + 1, "<>")] == '>';
    };
    const auto blank = [](char c) { return XMLBlanks.find(c) != std::string_view::npos; };
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
        else if (*p == '<' && !stop[unsigned{'<'}] && !markup(p)) {
            out.append(*p++);
            state_->bareLess = p;
        } else
            break;
    }
    while (out.num() > before && blank(out.last[-1])) --out.last;
    channel.position = p;
}

/// Past the CDATA section at p, which is text, or the comment or instruction, which are none.
const char* Parser_CString_kt::pastTextMarkup(const char* p, strin_kt& out) {
    if (*p != '<' || (p[1] != '!' && p[1] != '?')) return p;
    const char* const past = pastShielded(p);
    if (past != p && StartsWith(p, XMLCDataStart))
        out.append(ViewOf(p + XMLCDataStart.size(), past - CDataEnd.size()));
    return past;
}

}  // namespace lumo
