// Texts in UTF-16, as editors on Windows write them.
#pragma once

#include <string>
#include <string_view>

#include "library/utilities/language.h"

namespace LUMO_API lumo {

/// Whether the text begins with a byte order mark of UTF-16.
bool IsUtf16(std::string_view bytes);

/// Such a text as UTF-8, without its mark; what is no character becomes U+FFFD.
std::string FromUtf16(std::string_view bytes);

}  // namespace lumo
