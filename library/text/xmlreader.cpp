// The walk over an XML document, element by element.
#include <utility>

#include "library/text/tokens.h"
#include "library/text/xmlmarkup.h"

namespace lumo {

/// To the next tag, over white space, comments, declarations and other text. False at the end.
bool XMLReader::toTag() {
    XMLMarkup markup(in_);
    while (!in_.isAtEnd()) {
        const char* const p = in_.getPos();
        in_.setTokenStart(p);
        if (*p != '<' || !IsMarkup(p) || StartsWith(p, XMLCDataStart)) {
            passText();
            if (in_.getPos() != p) continue;
        } else if (p[1] != '!' && p[1] != '?') {
            return true;
        } else if (p[1] == '!' && rootSeen_) {
            in_.report(msg::text.xmlDeclaration);
        }
        markup.skipMarkup(p);
    }
    return false;
}

/// Text where elements stand.
void XMLReader::passText() {
    strin_kt text;
    in_.readToChar("", text);
    if (text.isEmpty()) return;
    in_.report(msg::text.strayText, Shown(text.view()).c_str());
    in_.checkError();
}

/// Reads the tag at the position into tag_. A damaged one ends at its '>', or before the next '<';
/// what stood before the damage counts. False when not even a name did.
bool XMLReader::readTag() {
    tag_.attributes.clear();
    tag_.name = {};
    XMLMarkup markup(in_);
    if (markup.takePlainTag(tag_)) return true;
    const char* const start = in_.getPos();
    in_.setTokenStart(start);
    try {
        markup.readTagAt(start + 1, tag_);
    } catch (rept_kt* report) {
        in_.setError(report);
        const char* p = in_.getPos();
        while (p == start || (*p != 0 && *p != '<' && *p != '>')) ++p;
        if (*p == '>' && p[-1] == '/' && !tag_.closes && !tag_.name.empty()) {
            markup.state.emptyElement = --p;
            markup.state.emptyName = tag_.name;
        } else if (*p == '>') {
            ++p;
        }
        in_.setPos(p);
        in_.checkError();
    }
    return !tag_.name.empty();
}

void XMLReader::neverClosed() {
    in_.setTokenStart(open_.top().place);
    in_.report(msg::text.elementNeverClosed, Shown(open_.top().name).c_str());
    open_.pop();
    in_.checkError();
}

/// Whether the end tag read leaves the present element: as its own, or as that of an element around
/// it, which then reads it again.
bool XMLReader::leaves() {
    if (!open_.holds(tag_.name)) {
        in_.report(msg::text.strayEndTag, Shown(tag_.name).c_str());
        in_.checkError();
        return false;
    }
    if (open_.top().name == tag_.name) {
        open_.pop();
        return true;
    }
    in_.setPos(tag_.place);
    neverClosed();
    return true;
}

bool XMLReader::nextChild() {
    if (!again_ && depth() > 0 && XMLMarkup(in_).takeEmptyElement()) {
        open_.pop();
        return false;
    }
    while (again_ || toTag()) {
        if (!again_) {
            if (depth() == 0 && rootSeen_) break;
            if (!readTag()) continue;
            if (tag_.closes) {
                if (leaves()) return false;
                continue;
            }
        }
        again_ = false;
        rootSeen_ = true;
        open_.push(tag_.name, tag_.place);
        return true;
    }
    if (depth() == 0 && !in_.isAtEnd()) {
        in_.report(msg::text.afterRoot);
        in_.jumpToEnd();
    } else if (depth() > 0) {
        if (!ended_) in_.report(msg::text.unexpectedEnd);
        ended_ = true;
        open_.pop();
    }
    return false;
}

void XMLReader::readText(strin_kt& out) {
    out.clear();
    for (;;) {
        in_.readToChar("", out);
        if (XMLMarkup(in_).takePlainEndTag(open_.top().name)) return open_.pop();
        if (!nextChild()) return;
        in_.reportUnknown(tag_.name, msg::text.elementInText, Shown(tag_.name).c_str());
        skipElement();
    }
}

bool XMLReader::readNumbers(vect_kt<float>& out) {
    const char open = std::exchange(in_.listOpenChar, '>');
    bool read = true;
    try {
        ReadList<Parser_CString_kt, float, false, false>(in_, out);
    } catch (rept_kt* report) {
        in_.setError(report);
        read = false;
    }
    in_.listOpenChar = open;
    if (!read)
        skipElement();
    else
        while (nextChild()) skipElement();
    return read;
}

void XMLReader::skipElement() {
    const OpenElements::Entry present = open_.top();
    open_.pop();
    const auto standsIn = [this](std::string_view name) { return open_.holds(name); };
    if (XMLMarkup(in_).skipElement(present.name, present.place, standsIn)) return;
    open_.push(present.name, present.place);
    neverClosed();
}

void XMLReader::closeParent() {
    open_.pop();
    neverClosed();
    again_ = true;
}

}  // namespace lumo
