// The formats that are read.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "formats/shared/format.h"

namespace LUMO_API lumo {

/// In the order in which they are listed for people.
std::span<const FormatInfo> Formats();

/// The format of that name or code; null when there is none.
const FormatInfo* FindFormat(std::string_view name);
/// Likewise (ForeignFormatEN).
const FormatInfo* FindFormat(int code);

/// The name of the text in a file of that name: without ".gz" or the like at its end.
std::string_view PlainName(std::string_view fileName);

/// Whether the file's name has an extension of the format, also before ".gz" and the like.
bool HasExtension(const FormatInfo& format, std::string_view fileName);

/// The format whose extension the file's name has, also before ".gz" and the like; null when there
/// is none.
const FormatInfo* FormatOfExtension(std::string_view fileName);

}  // namespace lumo
