// XML: tags, and passing over elements. <X/> is read as <X></X>: the reader of the start tag stops
// before "/>" and remembers that place as the end tag's, so that going back with setPos needs no
// care.
#include "library/text/xml.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "library/text/tokens.h"
#include "library/text/xmlmarkup.h"

namespace lumo {

namespace {

std::string_view TakeName(const char*& p) {
    const char* const first = p;
    while (!IsIn(XMLNameEnds, *p)) ++p;
    return ViewOf(first, p);
}

/// True at the end tag of the element, when no blanks stand in it.
bool IsEndTag(const char* p, std::string_view name) {
    return p[0] == '<' && p[1] == '/' && StartsWith(p + 2, name) && p[2 + name.size()] == '>';
}

/// From where the content of the element starts to its end tag, when nothing is to be decoded in
/// the text between; else null.
const char* PastPlainText(const char* p, std::string_view element, std::string_view& text) {
    const char* const first = PastWhite(p);
    const char* last = first;
    while (!IsIn(XMLPlainTextEnds, *last)) ++last;
    const char* const endTag = last;
    if (!IsEndTag(endTag, element)) return nullptr;
    while (last > first && IsXMLBlank(last[-1])) --last;
    text = ViewOf(first, last);
    return endTag;
}

}  // namespace

bool Parser_CString_kt::atEmptyElement() const { return channel.position == state_->emptyElement; }

// ---- Tags ----------------------------------------------------------------------------------

/// Reports what stands at p (after blanks) instead of the expected.
rept_kt* XMLMarkup::unexpected(const char* p, const Message<const char*, const char*>& message,
                               const std::string& expected) {
    moveTo(p);
    const std::string found = NextToken(in);
    if (in.isAtEnd()) return in.report(msg::text.unexpectedEnd);
    return in.report(message, expected.c_str(), found.c_str());
}

/// Passes over the declaration or instruction at p.
void XMLMarkup::skipMarkup(const char* p) {
    in.channel.position = p + 2;
    in.skipXMLMarkup();
}

/// To the next tag, over comments, instructions and declarations; returns the place after its '<',
/// which may be consumed already. Other text is an error.
const char* XMLMarkup::toTag(const Message<const char*, const char*>& message,
                             const std::string& expected) {
    const char* p = in.channel.position;
    if (p > in.channel.start && p[-1] == '<' && *p != '<') {
        in.setTokenStart(p - 1);
        return p;
    }
    for (;;) {
        p = in.pastBlanks(p);
        moveTo(p);
        const bool declaration = StartsWith(p, "<!") && !StartsWith(p, XMLCDataStart);
        if (*p != '<' || (p[1] == '!' && !declaration)) throw unexpected(p, message, expected);
        if (!declaration && p[1] != '?') return p + 1;
        if (declaration) in.report(msg::text.xmlDeclaration);
        skipMarkup(p);
        p = in.channel.position;
    }
}

std::string_view XMLMarkup::takeTagName(const char*& p) {
    const std::string_view name = TakeName(p);
    if (name.empty()) throw unexpected(p, msg::text.badXML, "the name of an element");
    return name;
}

void XMLMarkup::finishEndTag(const char* p) {
    p = PastWhite(p);
    if (*p != '>') throw unexpected(p, msg::text.badXML, "'>' at the end of the tag");
    in.channel.position = p + 1;
}

/// Reads an attribute; gives name and undecoded value and returns the place after it.
const char* XMLMarkup::takeAttribute(const char* p, std::string_view& name,
                                     std::string_view& value) {
    const char* const start = p;
    name = TakeName(p);
    if (name.empty()) throw unexpected(p, msg::text.badXML, "an attribute or '>'");
    p = PastWhite(p);
    if (*p != '=')
        throw unexpected(p, msg::text.badXML, Format("'=' after '%s'", Shown(name).c_str()));
    p = PastWhite(p + 1);
    const char quote = *p;
    if (quote != '"' && quote != '\'')
        throw unexpected(p, msg::text.badXML,
                         Format("a quoted value of '%s'", Shown(name).c_str()));
    const char* last = p + 1;
    while (*last != quote && *last != '<' && *last != 0) ++last;  // a '<' cannot stand in a value
    value = ViewOf(p + 1, last);
    if (*last == quote) return last + 1;
    moveTo(start);
    throw in.report(msg::text.openValue, Shown(name).c_str());
}

/// The rest of a start tag.
void XMLMarkup::readAttributes(const char* p, XMLTag& tag) {
    std::string_view name;
    std::string_view value;
    for (;;) {
        p = PastWhite(p);
        if (*p == '>' || (p[0] == '/' && p[1] == '>')) break;
        const char* const place = p;
        p = takeAttribute(p, name, value);
        XMLAttribute& attribute = tag.attributes.emplace_back();
        attribute.name = name;
        attribute.value = value;
        attribute.place = place;
        if (value.find('&') != std::string_view::npos) {
            strin_kt decoded;
            AppendDecoded(value, decoded);
            attribute.value = decoded.view();
        }
    }
    in.channel.position = *p == '>' ? p + 1 : p;
    if (*p == '>') return;
    state.emptyElement = p;
    state.emptyName = tag.name;
}

/// The tag whose '<' stands before p.
void XMLMarkup::readTagAt(const char* p, XMLTag& tag) {
    tag.place = in.tokenStart();
    tag.closes = *p == '/';
    if (tag.closes) ++p;
    tag.name = takeTagName(p);
    if (tag.closes)
        finishEndTag(p);
    else
        readAttributes(p, tag);
    in.setTokenStart(tag.place);
}

/// Reads the tag, when it stands right here, blanks aside, and has a name that '>' or attributes
/// follow, as nearly all do. Returns whether it did.
bool XMLMarkup::takeTag(XMLTag& tag) {
    const char* p = PastWhite(in.channel.position);
    if (*p != '<') return false;
    const bool closes = p[1] == '/';
    const char* const name = p + (closes ? 2 : 1);
    const char* last = name;
    while (in.is(last, Parser_CString_kt::ByteLetter)) ++last;
    if (last == name || (*last != '>' && (closes || !IsXMLBlank(*last)))) return false;
    tag.name = ViewOf(name, last);
    tag.closes = closes;
    tag.place = p;
    in.channel.position = last + 1;
    if (*last != '>') readAttributes(last, tag);
    in.setTokenStart(p);
    return true;
}

/// Passes over the end tag of the element when it stands right here without blanks in it.
bool XMLMarkup::takePlainEndTag(std::string_view name) {
    const char* const p = in.channel.position;
    if (!IsEndTag(p, name)) return false;
    in.setTokenStart(p);
    in.channel.position = p + name.size() + 3;
    return true;
}

/// Takes the text of the element that was entered, and passes over its end tag, when both stand
/// right here without anything to decode, as nearly always. Returns whether it did.
bool XMLMarkup::takePlainText(std::string_view element, std::string_view& text) {
    if (in.channel.position == state.emptyElement) return false;
    const char* const endTag = PastPlainText(in.channel.position, element, text);
    if (endTag == nullptr) return false;
    in.setTokenStart(endTag);
    in.channel.position = endTag + element.size() + 3;
    return true;
}

void ReadXMLVersion(Parser_CString_kt& in) {
    const char* const p = PastWhite(in.getPos());
    char start[6] = {};
    std::strncpy(start, p, 5);
    if (!streqli_kt(start, "<?xml")) return;
    in.setPos(p + 2);
    in.skipStructure('<', '>', true);
}

namespace {

/// Reads a tag that takeTag does not take.
void ReadOtherTag(XMLMarkup& markup, XMLTag& tag) {
    if (!markup.takeEmptyElement())
        return markup.readTagAt(markup.toTag(msg::text.badXML, "a tag"), tag);
    tag.name = markup.state.emptyName;
    tag.place = markup.in.tokenStart();
    tag.closes = true;
}

}  // namespace

void ReadTag(Parser_CString_kt& in, XMLTag& tag) {
    tag.attributes.clear();
    XMLMarkup markup(in);
    if (!markup.takeTag(tag)) ReadOtherTag(markup, tag);
}

bool ReadNextTag(Parser_CString_kt& in, XMLTag& tag) {
    tag.attributes.clear();
    XMLMarkup markup(in);
    if (markup.takeTag(tag)) return true;
    if (in.isAtEnd()) return false;
    ReadOtherTag(markup, tag);
    return true;
}

bool ReadElementTag(Parser_CString_kt& in, strin_kt& tag, strin_kt& attribute, strin_kt& value) {
    XMLTag read;
    ReadTag(in, read);
    tag.clear();
    tag.append(read.name);
    attribute.clear();
    value.clear();
    if (read.attributes.empty()) return read.closes;
    attribute.append(read.attributes[0].name);
    value.append(read.attributes[0].value);
    return read.closes;
}

void ReadClosingTag(Parser_CString_kt& in, std::string_view tag) {
    XMLMarkup markup(in);
    if (markup.takePlainEndTag(tag)) return;
    const std::string expected = Format("</%s>", Shown(tag).c_str());
    const ParserPos_kt before = in.getPos();
    if (markup.takeEmptyElement()) {
        if (tag == markup.state.emptyName) return;
        throw markup.unexpected(before, msg::text.wrongClosingTag, expected);
    }
    const char* p = markup.toTag(msg::text.wrongClosingTag, expected);
    const ParserPos_kt start = in.tokenStart();
    const bool isEnd = *p == '/';
    if (isEnd) ++p;
    const std::string_view name = markup.takeTagName(p);
    if (!isEnd || name != tag) {
        in.setTokenStart(start);
        throw in.report(msg::text.wrongClosingTag, expected.c_str(),
                        Format("<%s%s>", isEnd ? "/" : "", Shown(name).c_str()).c_str());
    }
    markup.finishEndTag(p);
}

void ReadClosingTag(Parser_CString_kt& in, const strin_kt& tag) { ReadClosingTag(in, tag.view()); }

std::string_view PeekText(const Parser_CString_kt& in, std::string_view element) {
    std::string_view text;
    const char* const p = PastWhite(in.getPos());
    const char* const content = p + element.size() + 2;
    if (*p == '<' && StartsWith(p + 1, element) && content[-1] == '>')
        PastPlainText(content, element, text);
    return text;
}

std::string_view ReadText(Parser_CString_kt& in, std::string_view element, strin_kt& room) {
    std::string_view text;
    if (XMLMarkup(in).takePlainText(element, text)) return text;
    room.clear();
    in.readToChar("<", room);
    ReadClosingTag(in, element);
    return room.view();
}

namespace {

/// A list whose opening character is that, for ReadList.
void ReadListOf(Parser_CString_kt& in, char openChar, FloatList& out) {
    struct Restored {
        char& place;
        char saved;
        ~Restored() { place = saved; }
    };
    const Restored restored{in.listOpenChar, std::exchange(in.listOpenChar, openChar)};
    ReadList(in, out);
}

}  // namespace

namespace {

/// A list that finds no memory is an error like one that is damaged.
void ReadListInMemory(Parser_CString_kt& in, char open, FloatList& out) {
    try {
        ReadListOf(in, open, out);
    } catch (const std::bad_alloc&) {
        throw NewMemoryReport(msg::text.outOfMemoryForNumbers,
                              static_cast<double>(GrownCapacity_kt(out.N)) * sizeof(float));
    }
}

}  // namespace

void ReadNumbers(Parser_CString_kt& in, FloatList& out) {
    for (;;) {
        ReadListInMemory(in, '>', out);
        const ParserPos_kt at = in.getPos();
        if (StartsWith(at, XMLCDataStart)) {  // a list between its inner brackets
            in.setPos(at + XMLCDataStart.size() - 1);
            ReadListInMemory(in, '[', out);
            if (StartsWith(in.getPos(), "]>")) in.setPos(in.getPos() + 2);
        } else if (StartsWith(at, "<?")) {
            XMLMarkup(in).skipMarkup(at);
        } else {
            return;
        }
    }
}

// ---- Passing over elements -----------------------------------------------------------------

bool OpenElements::holds(std::string_view name) const {
    const auto found = deep_.find(name);
    if (found != deep_.end() && found->second > 0) return true;
    const std::size_t few = std::min(entries_.size(), Few);
    return std::any_of(entries_.begin(), entries_.begin() + static_cast<std::ptrdiff_t>(few),
                       [name](const Entry& entry) { return entry.name == name; });
}

/// Passes over the element when it holds text alone.
bool XMLMarkup::takePlainElement(std::string_view name) {
    const char* const start = in.channel.position;
    in.channel.position += std::strcspn(start, "<");
    if (takePlainEndTag(name)) return true;
    in.channel.position = start;
    return false;
}

/// The end of the tag whose name ends at p: past its '>', or before the '<' that stands in it.
const char* XMLMarkup::pastTag(const char* p, bool& empty) const {
    for (;;) {
        p += std::strcspn(p, "\"'<>");
        if (*p == '>') break;
        if (*p != '"' && *p != '\'') return p;
        const char ends[] = {*p, '<', 0};
        p += 1 + std::strcspn(p + 1, ends);
        if (*p == ends[0]) ++p;
    }
    empty = p[-1] == '/';
    return p + 1;
}

/// Moves past the end tag of the element that starts there; its start tag was read. False, and no
/// move, when an element that it stands in ends first, or the text. Every element within that is
/// found to be never closed then is remembered, so that nobody looks for its end tag again.
bool XMLMarkup::skipElement(std::string_view name, ParserPos_kt place,
                            const std::function<bool(std::string_view)>& standsIn) {
    if (takeEmptyElement() || takePlainElement(name)) return true;
    std::vector<const char*>& unclosed = state.unclosed;
    if (std::binary_search(unclosed.begin(), unclosed.end(), place)) return false;
    const std::size_t known = unclosed.size();
    OpenElements open;
    open.push(name, place);
    for (const char* p = in.channel.position; *(p += std::strcspn(p, "<")) != 0;) {
        const char* const past = in.pastShielded(p);
        const char* q = p + (p[1] == '/' ? 2 : 1);
        const std::string_view tag = past == p && IsMarkup(p) ? TakeName(q) : std::string_view();
        if (tag.empty()) {
            p = past != p ? past : p + 1;
            continue;
        }
        bool empty = false;
        const char* const start = std::exchange(p, pastTag(q, empty));
        if (start[1] != '/') {
            if (!empty) open.push(tag, start);
        } else if (open.holds(tag)) {
            for (; open.top().name != tag; open.pop()) unclosed.push_back(open.top().place);
            open.pop();
            if (!open.empty()) continue;
            unclosed.resize(known);  // nobody comes back to these
            moveTo(start);
            in.channel.position = p;
            return true;
        } else if (standsIn(tag)) {
            break;
        }
    }
    for (; !open.empty(); open.pop()) unclosed.push_back(open.top().place);
    std::sort(unclosed.begin(), unclosed.end());
    return false;
}

bool SkipElement(Parser_CString_kt& in, const XMLTag& start,
                 std::span<const std::string_view> around) {
    return XMLMarkup(in).skipElement(start.name, start.place, [around](std::string_view name) {
        return std::ranges::find(around, name) != around.end();
    });
}

}  // namespace lumo
