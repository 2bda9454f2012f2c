// Reading a probability vector of a DSC file.
#pragma once

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace lumo {

/// One probability vector of the variable's number of states, from its first number to before the
/// ';' (or '}') that ends it; in parentheses or not. Every entry of out is set and finite. Records
/// an error that names the first token that is no number (BelVecNotANumber: the vector is not to be
/// used); does not throw; returns problem bits.
int ParseBelVec(Parser_kt& in, float* out, const Varbl_bn& variable, char);

}  // namespace lumo
