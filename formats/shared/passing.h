// How readers pass over what they do not take, without losing what comes behind it.
#pragma once

#include "library/text/parser.h"

namespace lumo {

/// Whether the next thing of a file (a block, an object) starts at the next token.
using StartsNext = bool(Parser_CString_kt&);

/// Passes over the quoted string that stands next. When it is never closed, or the next thing
/// begins a line within it, so that its closing quote is lost, that is an error; then the input
/// goes on behind the opening quote, or at that line.
void PassString(Parser_CString_kt& in, StartsNext& startsNext);

/// Passes over a structure in braces, its '{' read. One that has lost its '}' is an error and ends
/// before the next thing, as one that has lost a quote does.
void PassStructure(Parser_CString_kt& in, StartsNext& startsNext);

}  // namespace lumo
