// Which format a file is in.
#pragma once

#include "library/utilities/language.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace LUMO_API lumo {

struct TextStart;  ///< the start of a text, cut into tokens

/// A format as people name it.
struct FormatInfo {
    int code;                                 ///< ForeignFormatEN
    const char* name;                         ///< for --from and the JSON
    const char* title;                        ///< for people
    unsigned bit;                             ///< of FormatSetEN
    std::string_view extensions;              ///< each with its dot, between blanks
    int (*strength)(const TextStart& start);  ///< how much a text looks like it, 0 to 100
};

std::span<const FormatInfo> Formats();

/// The format of that name or code; null when there is none.
const FormatInfo* FindFormat(std::string_view name);
const FormatInfo* FindFormat(int code);

/// The titles of the formats of a set of FormatSetEN, "DSC, BIF"; "any format" for OfAny.
std::string FormatTitles(unsigned formats);

/// The name of the text in a file of that name: without a ".gz" at its end.
std::string_view PlainName(std::string_view fileName);

/// The format whose extension the file's name has, or ".gz" after it; null when there is none.
const FormatInfo* FormatOfExtension(std::string_view fileName);

/// As much of a file's start as detection looks at, in bytes.
inline constexpr std::size_t DetectionWindow = 64 * 1024;

/// The format that the start of the text looks most like; between equals, and for a text that looks
/// like none, the file name's extension decides. Null when that is unknown as well.
const FormatInfo* DetectFormat(std::string_view start, std::string_view fileName);

/// The format that the start of the text is certainly in; null when it only looks like one.
const FormatInfo* CertainFormat(std::string_view start);

}  // namespace lumo
