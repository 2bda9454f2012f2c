// XML for readers: tags with all their attributes, the passing over of elements, and XMLReader,
// which walks a document element by element.
//
// Names are compared as written, without namespace processing; comments and processing instructions
// are passed over wherever they stand; nothing here recurses, and all of it together is linear in
// the text, however damaged. The format: Extensible Markup Language (XML) 1.0, www.w3.org/TR/xml.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "library/text/floatlist.h"
#include "library/text/parser.h"

namespace lumo {

/// An attribute of a start tag. The name is a part of the text.
struct XMLAttribute {
    std::string_view name;
    std::string value;             ///< decoded
    ParserPos_kt place = nullptr;  ///< of its name
};

/// A start or end tag. The name is a part of the text and lives as long.
struct XMLTag {
    std::string_view name;
    std::vector<XMLAttribute> attributes;  ///< in the order of the text
    ParserPos_kt place = nullptr;          ///< of its '<'
    bool closes = false;                   ///< an end tag

    /// The value of the attribute; null when there is none.
    const std::string* find(std::string_view attribute) const {
        for (const XMLAttribute& a : attributes)
            if (a.name == attribute) return &a.value;
        return nullptr;
    }
};

/// Reads one tag as ReadElementTag does, but with all its attributes. When it throws in the midst
/// of a start tag, `tag` holds the attributes before the damage.
void ReadTag(Parser_CString_kt& in, XMLTag& tag);

/// Likewise; false at the end of the text, where only white space and comments were left.
bool ReadNextTag(Parser_CString_kt& in, XMLTag& tag);

/// Reads the end tag of the element named; throws when something else follows.
void ReadClosingTag(Parser_CString_kt& in, std::string_view name);

/// Reads the text of the element named, decoded and trimmed, and its end tag; throws when something
/// else follows. The text is a part of the file's, or stands in `room` when it had to be decoded.
std::string_view ReadText(Parser_CString_kt& in, std::string_view element, strin_kt& room);

/// The text of that element when it stands next, without attributes, and its text needs no
/// decoding; else empty. Nothing moves.
std::string_view PeekText(const Parser_CString_kt& in, std::string_view element);

/// Moves past the end tag of the element whose start tag was read, over all elements within, those
/// of the same name too. `around` names the elements that it stands in: where one of them ends, or
/// the text, the element was never closed; then nothing moves, and false is returned.
bool SkipElement(Parser_CString_kt& in, const XMLTag& start,
                 std::span<const std::string_view> around);

/// Reads the numbers of an element up to its next tag, appended to out; also in CDATA sections,
/// over processing instructions. Throws as ReadList does.
void ReadNumbers(Parser_CString_kt& in, FloatList& out);

/// The elements that are open at a place of a text, the innermost last.
class OpenElements {
public:
    struct Entry {
        std::string_view name;
        ParserPos_kt place;
    };

    void push(std::string_view name, ParserPos_kt place) {
        entries_.push_back({name, place});
        if (entries_.size() > Few) ++deep_[name];
    }
    void pop() {
        if (entries_.size() > Few) --deep_[top().name];
        entries_.pop_back();
    }
    bool holds(std::string_view name) const;
    const Entry& top() const { return entries_.back(); }
    bool empty() const { return entries_.empty(); }
    int size() const { return static_cast<int>(entries_.size()); }

private:
    static constexpr std::size_t Few = 32;  // as deep as files of people are
    std::vector<Entry> entries_;
    std::unordered_map<std::string_view, int> deep_;  // how often each name is open below
};

/// Walks a document element by element. Damage costs what is damaged: it is reported, recorded as
/// the tokenizer's current report, and reading goes on; nothing is thrown but by checkError.
///
///     XMLReader xml(in);
///     if (xml.nextChild() && xml.tag().name == "smile")  // the root
///         while (xml.nextChild()) {
///             if (xml.tag().name == "nodes") ReadNodes(xml);  // until its nextChild returns false
///             else xml.skipElement();
///         }
///
/// Each element that nextChild entered is left by nextChild returning false, readText, readNumbers
/// or skipElement. Nested structures need no recursion: a nextChild that returned false stands in
/// the element around again.
class XMLReader {
public:
    /// Reads on at the tokenizer's position; before the root: at the start of the text. The
    /// tokenizer has options.xmlText and xmlComments.
    explicit XMLReader(Parser_CString_kt& in) : in_(in) {}

    /// Enters the next element within the present one, at first the root. False when there is none:
    /// the end tag of the present element was passed, and the element around it is the present one.
    /// Text that stands between elements is passed over with a warning, and so is what follows the
    /// root. A text without any element gives false and no report.
    bool nextChild();

    /// The start tag of the element entered last.
    const XMLTag& tag() const { return tag_; }
    /// Its attribute's value; empty when there is none.
    std::string_view attribute(std::string_view name) const {
        const std::string* value = tag_.find(name);
        return value != nullptr ? std::string_view(*value) : std::string_view();
    }

    /// The text of the present element, decoded and trimmed, which leaves the element. A '<' that
    /// begins no tag is text, with a notice; elements in it are passed over with a warning. Another
    /// end tag than the element's ends it all the same, and so does an element that follows when
    /// its own end tag is missing.
    void readText(strin_kt& out);
    /// Likewise; the text is a part of the file's, or stands in `room` when it had to be decoded.
    std::string_view takeText(strin_kt& room);

    /// The numbers of the present element, separated by white space or commas, appended to out;
    /// leaves the element. False after an error that names the token that is no number.
    bool readNumbers(FloatList& out);

    /// Leaves the present element, passing over what is left of it. An element that is never closed
    /// is reported; what it holds is then read as the content of the element around it.
    void skipElement();

    /// For an element that cannot stand where it was found, and can behind the present element's
    /// parent, whose end tag must be missing: reports that, leaves both, and gives the element
    /// again as next child of the element around.
    void closeParent();

    /// How many elements are open; 0 before and after the root.
    int depth() const { return open_.size(); }

    /// Makes the next report point at the place.
    void reportAt(ParserPos_kt place) { in_.setTokenStart(place); }

private:
    bool toTag();
    bool readTag();
    bool leaves();
    void passText();
    bool closesBehind(ParserPos_kt place);
    void neverClosed();

    Parser_CString_kt& in_;
    XMLTag tag_;
    OpenElements open_;
    bool rootSeen_ = false;
    bool again_ = false;  ///< tag_ is to be given once more
    bool ended_ = false;  ///< that the text ends too early was reported
    bool inText_ = false;
};

}  // namespace lumo
