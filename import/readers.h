// The readers, one per format, each in its own file. Every one reads the channel's text into an
// empty net and returns its report: Okay_rept_kt, or the most severe that was recorded.
#pragma once

#include "library/netmodel.h"
#include "library/parser.h"

namespace lumo {

rept_kt* ParseHuginFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing);
rept_kt* ParseDscFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing);
rept_kt* ParseDXPressFile(InChannel_kt& channel, Bnet_bn& net, Vnet_kt& drawing);
rept_kt* ParseErgoFile(InChannel_kt& channel, Bnet_bn& net);
rept_kt* ParseXMLFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing);

/// A character as messages name it.
inline const char* CharName(char c) { return CharName_kt(static_cast<unsigned char>(c)); }

/// One VARIABLE or DEFINITION element of XML BIF into the net; errors are thrown. The start tag was
/// read and these are its first attribute (empty when it has none); with a null name it is still to
/// come.
void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value);
void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
              const strin_kt* value);

}  // namespace lumo
