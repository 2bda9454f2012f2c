// XML BIF 0.3.
#pragma once

#include <iosfwd>

#include "formats/shared/losses.h"
#include "formats/shared/result.h"

namespace LUMO_API lumo {

/// Writes the net as an XML BIF 0.3 document in UTF-8 that holds to the format's document type
/// definition, without the definition itself. Linear in time.
void WriteXmlBif(const ImportResult& result, std::ostream& out);

Losses XmlBifLosses(const Bnet_bn& net);

}  // namespace lumo
