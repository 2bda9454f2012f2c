// XML BIF 0.3 (docs/xmlbif.md).
#pragma once

#include <string_view>

#include "formats/shared/format.h"
#include "formats/shared/losses.h"
#include "formats/shared/options.h"
#include "formats/shared/result.h"
#include "library/text/parser.h"

namespace lumo {

extern const FormatInfo xmlbifFormat;

/// A comment in front of what is written, by which its tables are known to have the format's order.
inline constexpr std::string_view orderMark =
    "<!-- In the tables the state of the node varies fastest. -->";

rept_kt* ParseXMLFile(InChannel_CString_kt& channel, Bnet_bn& net, Vnet_kt& drawing,
                      const ReadOptions& options = {});

/// One VARIABLE or DEFINITION element of XML BIF into the net, read strictly; errors are thrown.
/// The start tag was read and these are its first attribute (empty when it has none); with a null
/// name it is still to come.
void ReadVariable(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
                  const strin_kt* value);
void ReadNode(Parser_CString_kt& in, Bnet_bn& net, const strin_kt* attribute,
              const strin_kt* value);

/// Writes the net as an XML BIF 0.3 document in UTF-8 that holds to the format's document type
/// definition, without the definition itself. Linear in time.
void WriteXmlBif(const ImportResult& result, std::ostream& out);

Losses XmlBifLosses(const Bnet_bn& net);

}  // namespace lumo
