#include "formats/shared/start.h"
#include "formats/xmlbif/messages.h"
#include "formats/xmlbif/xmlbif.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    if (!start.isMarkup) return 0;
    const std::string root = Lower(RootElement(start.text));
    if (root.ends_with(":xmlbif") || root.ends_with(":bif") || root == "xmlbif")
        return strength::certain;
    const bool isNetwork = root == "network" || root.ends_with(":network");
    if (isNetwork && start.lower.find("<variable") != std::string::npos) return strength::certain;
    if (start.text.find("<BIF") != std::string_view::npos) return strength::certain;
    const bool mentioned = start.lower.find("<bif") != std::string::npos ||
                           start.lower.find("<!doctype bif") != std::string::npos;
    return mentioned ? strength::fair : 0;
}

}  // namespace

constinit const FormatInfo xmlbifFormat = {
    .code = FormatXMLBIF,
    .name = "xmlbif",
    .title = "XML BIF",
    .details = "version 0.3",
    .users = "programs in Java; machine-learning workbenches",
    .extensions = ".xml .xbif .xmlbif .bifxml",
    .services = "xml tableorder",
    .lineComment = "",
    .blockComments = false,
    .hasPositions = true,
    .strength = Strength,
    .read = ParseXMLFile,
    .messages = RowsIn<msg::xmlbif>,
    .write = WriteXmlBif,
    .written =
        "version 0.3, without a document type definition, for which some programs refuse a file",
    .losses = XmlBifLosses,
};

}  // namespace lumo
