#include "export/writers.h"

#include <array>
#include <string>

#include "export/dot.h"
#include "export/image.h"
#include "export/json.h"
#include "export/report.h"
#include "export/svg.h"
#include "formats/bif/writer.h"
#include "formats/dsc/writer.h"
#include "formats/hugin/writer.h"
#include "formats/uai/writer.h"
#include "formats/xdsl/writer.h"
#include "formats/xmlbif/writer.h"
#include "library/utilities/Utils.h"

namespace lumo {
namespace {

constexpr std::array writers = {
    Writer{"json", "JSON", ".json", true, WriteJson},
    Writer{"svg", "SVG", ".svg", false, WriteSvg},
    Writer{"html", "HTML", ".html", true, WriteReport},
    Writer{"dot", "DOT", ".dot", false, WriteDot},
    Writer{"png", "PNG", ".png", false, WritePng, nullptr, ImagesUnavailable},
    Writer{"pdf", "PDF", ".pdf", false, WritePdf, nullptr, ImagesUnavailable},
    Writer{"xmlbif", "XML BIF", ".xml", false, WriteXmlBif, XmlBifLosses},
    Writer{"hugin", "Hugin", ".net", false, WriteHugin, HuginLosses},
    Writer{"dsc", "DSC", ".dsc", false, WriteDsc, DscLosses},
    Writer{"bif", "BIF", ".bif", false, WriteBif, BifLosses},
    Writer{"xdsl", "XDSL", ".xdsl", false, WriteXdsl, XdslLosses},
    Writer{"uai", "UAI", ".uai", false, WriteUai, UaiLosses},
};

}  // namespace

std::span<const Writer> Writers() { return writers; }

const Writer* FindWriter(std::string_view name) {
    for (const Writer& writer : writers)
        if (name == writer.name) return &writer;
    const bool dotted = name.starts_with('.');
    return FindWriterForFile((dotted ? "" : ".") + std::string(name));
}

const Writer* FindWriterForFile(std::string_view fileName) {
    const std::size_t dot = fileName.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    const std::string extension(fileName.substr(dot));
    for (const Writer& writer : writers)
        if (streqli_kt(extension.c_str(), writer.extension)) return &writer;
    return nullptr;
}

}  // namespace lumo
