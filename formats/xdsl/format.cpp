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
    .extensions = ".xdsl",
    .services = "xml blocks",
    .strength = Strength,
    .read = ParseXdslFile,
    .messages = RowsIn<msg::xdsl>,
    .write = WriteXdsl,
    .losses = XdslLosses,
};

}  // namespace lumo
