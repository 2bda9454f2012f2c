#include "formats/shared/start.h"
#include "formats/xdsl/messages.h"
#include "formats/xdsl/xdsl.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    const bool mentioned = start.text.find("<smile") != std::string_view::npos;
    return mentioned && start.isMarkup ? strength::certain : 0;
}

}  // namespace

constinit const FormatInfo xdslFormat = {
    .code = FormatXDSL,
    .name = "xdsl",
    .title = "XDSL",
    .details = "",
    .users = "an editor of decision networks and its engine",
    .extensions = ".xdsl",
    .services = "xml blocks",
    .lineComment = "",
    .blockComments = false,
    .hasPositions = true,
    .strength = Strength,
    .read = ParseXdslFile,
    .messages = RowsIn<msg::xdsl>,
    .write = WriteXdsl,
    .written = "parents before children, rectangles of one size, node sets as submodels",
    .losses = XdslLosses,
};

}  // namespace lumo
