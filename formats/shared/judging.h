// What is told of the nodes of a whole file, once all of it is read.
#pragma once

#include "library/text/parser.h"

namespace lumo {

class Bnet_bn;
class Bnode_bn;

/// Remembers that the node, which is new, is defined where the token read last starts.
void RememberPlace(Parser_CString_kt& in, const Bnode_bn& node);

/// Warns of nature nodes with states but without a table, in a net in which others have theirs, and
/// of nodes with two states of the same title. `isTold`: whether the lack of its table was told.
void JudgeNodes(Parser_CString_kt& in, const Bnet_bn& net,
                bool (*isTold)(const Bnode_bn& node) = nullptr);

}  // namespace lumo
