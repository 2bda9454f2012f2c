// The walk over an XML document, element by element.
#include <utility>

#include "library/text/tokens.h"
#include "library/text/xmlmarkup.h"

namespace lumo {

/// To the next tag, over white space, comments, declarations and other text. False at the end.
bool XMLReader::toTag() {
    XMLMarkup markup(in_);
    markup.moveTo(PastWhite(in_.getPos()));
    if (*in_.getPos() == '<' && IsTag(in_.getPos())) return true;  // nearly always
    while (!in_.isAtEnd()) {
        const char* const p = in_.getPos();
        in_.setTokenStart(p);
        if (*p == '<' && IsTag(p)) return true;
        const bool text = *p != '<' || !IsMarkup(p) || StartsWith(p, XMLCDataStart);
        if (text) {
            passText();
            if (in_.getPos() != p) continue;
        } else if (p[1] == '!' && rootSeen_) {
            in_.report(msg::text.xmlDeclaration);
        }
        markup.skipMarkup(p);
        if (!text && (in_.bytesLeft() > 0 || in_.getPos()[-1] == '>')) continue;
        in_.setTokenStart(p);
        in_.report(msg::text.openMarkup);
        in_.checkError();
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
    const char* const start = in_.getPos();
    in_.setTokenStart(start);
    try {
        if (!markup.takeTag(tag_)) markup.readTagAt(start + 1, tag_);
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
    if (!open_.empty() && open_.top().name == tag_.name) {
        open_.pop();
        return true;
    }
    if (!open_.holds(tag_.name) && inText_) {
        in_.report(msg::text.wrongClosingTag,
                   Format("</%s>", Shown(open_.top().name).c_str()).c_str(),
                   Format("</%s>", Shown(tag_.name).c_str()).c_str());
        open_.pop();
        in_.checkError();
        return true;
    }
    if (!open_.holds(tag_.name)) {
        in_.report(msg::text.strayEndTag, Shown(tag_.name).c_str());
        in_.checkError();
        return false;
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

/// Whether the present element, of which an element at the place was read, has its end tag.
bool XMLReader::closesBehind(ParserPos_kt place) {
    const ParserPos_kt present = in_.getPos();
    const OpenElements::Entry child = open_.top();
    open_.pop();
    const OpenElements::Entry text = open_.top();
    open_.pop();
    in_.setPos(place);
    const bool closed = XMLMarkup(in_).skipElement(
        text.name, text.place, [this](std::string_view name) { return open_.holds(name); });
    in_.setPos(present);
    open_.push(text.name, text.place);
    open_.push(child.name, child.place);
    return closed;
}

void XMLReader::readText(strin_kt& out) {
    out.clear();
    const ParserPos_kt start = in_.getPos();
    const auto sayBareLess = [&] {
        const ParserPos_kt place = XMLMarkup(in_).state.bareLess;
        if (place == nullptr || place <= start) return;
        in_.setTokenStart(place - 1);
        in_.report(msg::text.bareLess);
    };
    for (bool closed = false;;) {
        in_.readToChar("", out);
        if (XMLMarkup(in_).takePlainEndTag(open_.top().name)) {
            open_.pop();
            break;
        }
        inText_ = true;
        const bool child = nextChild();
        inText_ = false;
        if (!child) break;
        if (!closed && !closesBehind(tag_.place)) {
            closeParent();
            break;
        }
        closed = true;
        in_.setTokenStart(tag_.place);
        in_.reportUnknown(tag_.name, msg::text.elementInText, Shown(tag_.name).c_str());
        skipElement();
    }
    sayBareLess();
}

std::string_view XMLReader::takeText(strin_kt& room) {
    std::string_view text;
    if (XMLMarkup(in_).takePlainText(open_.top().name, text)) {
        open_.pop();
        return text;
    }
    readText(room);
    return room.view();
}

bool XMLReader::readNumbers(FloatList& out) {
    try {
        ReadNumbers(in_, out);
    } catch (rept_kt* report) {
        in_.setError(report);
        in_.checkError();
        skipElement();
        return false;
    }
    if (XMLMarkup(in_).takePlainEndTag(open_.top().name)) {
        open_.pop();
    } else {
        strin_kt none;
        readText(none);
    }
    return true;
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
