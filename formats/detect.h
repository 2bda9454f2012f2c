// Which format a file is in.
#pragma once

#include "formats/formats.h"

namespace LUMO_API lumo {

/// As much of a file's start as detection looks at, in bytes.
inline constexpr std::size_t DetectionWindow = 64 * 1024;

/// The format that the start of the text looks most like; between equals, and for a text that looks
/// like none, the file name's extension decides. Null when that is unknown as well.
const FormatInfo* DetectFormat(std::string_view start, std::string_view fileName);

/// The format that the start of the text is certainly in; null when it only looks like one.
const FormatInfo* CertainFormat(std::string_view start);

}  // namespace lumo
