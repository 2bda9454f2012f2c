// The walk over the elements of an XML BIF document, strict or lenient.
#include "formats/xmlbif/document.h"

namespace lumo::xmlbif {

namespace {

/// Elements that stand in NETWORK alone: within another one they tell that its end tag is missing.
constexpr std::string_view inNetworkAlone[] = {"VARIABLE", "DEFINITION", "PROBABILITY", "NETWORK"};

}  // namespace

bool Elements::next(const Structure& what) {
    if (lenient) {
        if (!walk.nextChild()) return false;
        if (std::string_view(what.kind) == network.kind ||
            std::ranges::find(inNetworkAlone, tag().name) == std::end(inNetworkAlone))
            return true;
        walk.closeParent();
        return false;
    }
    if (!ReadNextTag(in, tag_)) return false;
    if (!tag_.closes) return true;
    if (tag_.name == what.kind) return false;
    throw in.report(*what.mustCloseFirst, what.kind, std::string(tag_.name).c_str());
}

std::string_view Elements::readText() {
    return lenient ? walk.takeText(room_) : ReadText(in, tag_.name, room_);
}

bool Elements::readNumbers(FloatList& numbers) {
    if (lenient) return walk.readNumbers(numbers);
    ReadNumbers(in, numbers);
    ReadClosingTag(in, tag_.name);
    return true;
}

void Elements::leaveNumbers() {
    if (in.skipToString("<") != 0) return;
    in.backUp(1);
    ReadClosingTag(in, tag_.name);
}

void Elements::skipUnknown(const Structure& what) {
    const std::string name(tag().name);
    const ParserPos_kt place = tag().place;
    const std::string_view around[] = {what.kind, network.kind, "BIF"};
    const bool closed = lenient || SkipElement(in, tag_, around);
    in.setTokenStart(place);
    in.reportUnknown(name, *what.unknownElement, name.c_str());
    if (lenient) walk.skipElement();
    if (!closed) in.report(msg::text.elementNeverClosed, name.c_str());
    in.checkError();
}

}  // namespace lumo::xmlbif
