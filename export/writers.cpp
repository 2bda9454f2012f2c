#include "export/writers.h"

#include <string>
#include <vector>

#include "export/dot.h"
#include "export/image.h"
#include "export/json.h"
#include "export/report.h"
#include "export/svg.h"
#include "formats/formats.h"
#include "library/utilities/Utils.h"

namespace lumo {
namespace {

// What is no net to be read again.
constexpr Writer views[] = {
    Writer{"json", "JSON", ".json", true, WriteJson},
    Writer{"svg", "SVG", ".svg", false, WriteSvg, nullptr, nullptr, DrawSvg},
    Writer{"html", "HTML", ".html", true, WriteReport},
    Writer{"dot", "DOT", ".dot", false, WriteDot},
    Writer{"png", "PNG", ".png", false, WritePng, nullptr, ImagesUnavailable, DrawPng,
           CharactersWithoutFont},
    Writer{"pdf", "PDF", ".pdf", false, WritePdf, nullptr, ImagesUnavailable, DrawPdf,
           CharactersWithoutFont},
};

std::vector<Writer> AllWriters() {
    std::vector<Writer> writers(std::begin(views), std::end(views));
    for (const FormatInfo& format : Formats()) {
        if (format.write == nullptr) continue;
        const std::string_view extension = format.extensions.substr(0, format.extensions.find(' '));
        writers.push_back(
            {format.name, format.title, extension, false, format.write, format.losses});
    }
    return writers;
}

}  // namespace

std::span<const Writer> Writers() {
    static const std::vector<Writer> writers = AllWriters();
    return writers;
}

const Writer* FindWriter(std::string_view name) {
    for (const Writer& writer : Writers())
        if (name == writer.name) return &writer;
    const bool dotted = name.starts_with('.');
    return FindWriterForFile((dotted ? "" : ".") + std::string(name));
}

const Writer* FindWriterForFile(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    const std::string extension(fileName.substr(dot));
    for (const Writer& writer : Writers())
        if (streqli_kt(extension.c_str(), std::string(writer.extension).c_str())) return &writer;
    return nullptr;
}

}  // namespace lumo
