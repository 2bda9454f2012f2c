// Reading the numbers of a Hugin potential.
#pragma once

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace lumo {

/// A Hugin data table for the node and its present parents, at any nesting of parentheses, also
/// flat, with commas and comments between the numbers; the whole value up to before its ';'. On
/// return *table is a new table from xmallocf_kt that the caller owns, in model order. hasStates:
/// one entry per state and parent configuration, else one per parent configuration. Throws (after
/// makeError) when the count is wrong (how many wanted, how many read, where), a token is no
/// number, or the table is above MaxTableEntries; *table is null then. Parentheses that contradict
/// the parents' sizes are a warning (tableShape); asNested: numbers nested by all parents in
/// another order than the header's are read in that order then. The other arguments are 10, null,
/// 0, false, 14.
void ParseNodeTable(Parser_kt& in, unsigned char** table, int, bool hasStates, Bnode_bn& node,
                    const char* const*, int, bool, int, bool asNested = false);

}  // namespace lumo
