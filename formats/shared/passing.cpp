#include "formats/shared/passing.h"

#include <algorithm>

#include "library/text/messages.h"

namespace lumo {

void PassString(Parser_CString_kt& in, StartsNext& startsNext) {
    in.skipSpaces();
    const ParserPos_kt quote = in.getPos();
    in.skipToken();
    const ParserPos_kt end = in.getPos();
    bool lost = end == quote + 1;
    for (ParserPos_kt line = quote; !lost; line = in.getPos()) {
        in.setPos(std::find(line, end, '\n'));
        in.skipSpaces();
        if (in.getPos() >= end) {
            in.setPos(end);
            return;
        }
        lost = startsNext(in);
    }
    in.setTokenStart(quote);
    in.report(msg::text.unterminatedString);
}

void PassStructure(Parser_CString_kt& in, StartsNext& startsNext) {
    const ParserPos_kt body = in.getPos();
    const bool whole = in.skipStructure('{', '}', true);
    const ParserPos_kt end = in.getPos();
    if (!whole) {
        in.setTokenStart(end);
        in.report(msg::text.unexpectedEnd);
    }
    in.setPos(body);
    for (bool more = true; more && in.getPos() < end;) {
        // The next thing ends a structure that is not whole, and a string in one that is.
        const bool quoted = in.peekPunc() == '"';
        if (quoted) PassString(in, startsNext);
        if ((quoted || !whole) && startsNext(in)) return;
        if (!quoted) more = in.skipToken();
    }
}

}  // namespace lumo
