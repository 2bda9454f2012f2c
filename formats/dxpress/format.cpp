#include "formats/dxpress/dxpress.h"
#include "formats/dxpress/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (body == 0 || !IsWord(tokens, 0, "diagnostic")) return 0;
    if (HasBlock(tokens, body, {"node", "probability"})) return 0;
    const bool hasBlock =
        HasBlock(tokens, body, {"kb", "nodes", "network", "faulthierarchy", "nodehierarchy"}, "{");
    return hasBlock ? strength::certain : strength::fair;
}

}  // namespace

constinit const FormatInfo dxpressFormat = {
    .code = FormatDXPress,
    .name = "dxpress",
    .title = "DXPress",
    .details = "",
    .users = "diagnostic knowledge bases",
    .extensions = ".dxp .dx",
    .services = "blocks",
    .lineComment = "",
    .blockComments = true,
    .hasPositions = true,
    .strength = Strength,
    .read = ReadAny<ParseDXPressFile>,
    .messages = RowsIn<msg::dxpress>,
    .write = nullptr,
    .written = nullptr,
    .losses = nullptr,
};

}  // namespace lumo
