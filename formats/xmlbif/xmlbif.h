// The element readers of XML BIF.
#pragma once

#include "library/model/netmodel.h"
#include "library/text/parser.h"

namespace lumo {

/// One VARIABLE or DEFINITION element of XML BIF into the net, read strictly; errors are thrown.
/// The start tag was read and these are its first attribute (empty when it has none); with a null
/// name it is still to come.
void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value);
void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
              const strin_kt* value);

}  // namespace lumo
