#include "export/writers.h"

#include <array>
#include <string>

#include "export/bif_writer.h"
#include "export/dot.h"
#include "export/dsc_writer.h"
#include "export/hugin_writer.h"
#include "export/json.h"
#include "export/report.h"
#include "export/svg.h"
#include "export/xmlbif_writer.h"
#include "library/Utils.h"

namespace lumo {
namespace {

constexpr std::array writers = {
    Writer{"json", ".json", true, WriteJson},
    Writer{"svg", ".svg", false, WriteSvg},
    Writer{"html", ".html", true, WriteReport},
    Writer{"dot", ".dot", false, WriteDot},
    Writer{"xmlbif", ".xml", false, WriteXmlBif, "XML BIF", XmlBifLosses},
    Writer{"hugin", ".net", false, WriteHugin, "Hugin", HuginLosses},
    Writer{"dsc", ".dsc", false, WriteDsc, "DSC", DscLosses},
    Writer{"bif", ".bif", false, WriteBif, "BIF", BifLosses},
};

}  // namespace

std::span<const Writer> Writers() { return writers; }

const Writer* FindWriter(std::string_view name) {
    for (const Writer& writer : writers)
        if (name == writer.name) return &writer;
    return nullptr;
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
