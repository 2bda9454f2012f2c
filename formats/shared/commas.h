// Numbers written with decimal commas, which separate numbers here.
#pragma once

#include "library/text/parser.h"

namespace lumo {

/// Says so of a node's list of numbers that starts there, when it has twice the numbers wanted
/// because each was written as 0,5.
void TellDecimalCommas(Parser_CString_kt& in, ParserPos_kt list, const char* nodeName,
                       long long wanted, long long count);

}  // namespace lumo
