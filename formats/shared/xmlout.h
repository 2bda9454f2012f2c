// Text in XML files for the readers of this library and of others.
#pragma once

#include <string>
#include <string_view>

#include "formats/shared/textout.h"

namespace LUMO_API lumo {

/// What a reader takes the text for: valid UTF-8 of characters that XML has; white space at its end
/// goes.
std::string XmlAsRead(std::string_view text);

/// Whether the text is read as it is, as content or as the value of an attribute.
bool XmlComesBack(std::string_view text);
bool XmlValueComesBack(std::string_view text);

/// Writes the text as the content of an element.
void WriteXmlContent(TextOut& out, std::string_view text);

/// Writes the text for an attribute in double quotes.
void WriteXmlValue(TextOut& out, std::string_view text);

}  // namespace lumo
