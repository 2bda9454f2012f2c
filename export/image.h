// Pictures of the net as PNG and PDF, drawn by librsvg and cairo. Those libraries are loaded when a
// picture is made: they are many, and nothing else needs them.
#pragma once

#include <iosfwd>
#include <string>

#include "export/picture.h"
#include "formats/shared/result.h"

namespace lumo {

/// Why no images can be written, with what to install; null when they can.
const char* ImagesUnavailable();

/// The picture of the net, which must be there, as a bitmap: two dots a pixel of the SVG where that
/// is of a sensible size, 300 an inch on paper. Throws std::runtime_error when it cannot be drawn.
void WritePng(const ImportResult& result, std::ostream& out);
void DrawPng(const Bnet_bn& net, const Picture& picture, std::ostream& out);

/// The same as a page of its size. The same net gives the same bytes.
void WritePdf(const ImportResult& result, std::ostream& out);
void DrawPdf(const Bnet_bn& net, const Picture& picture, std::ostream& out);

/// What is to be said of characters of the picture that no installed font has; empty when nothing.
std::string CharactersWithoutFont(const Picture& picture);

}  // namespace lumo
