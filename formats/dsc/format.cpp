#include "formats/dsc/dsc.h"
#include "formats/dsc/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (body == 0) return HasBlock(tokens, 0, {"probability"}, "(") ? strength::weak : 0;
    if (FirstIs(tokens, body, "variable")) return 0;
    if (HasBlock(tokens, body, {"node", "probability"})) return strength::certain;
    if (tokens.size() == body || tokens[body].text == "{") return strength::fair;
    return tokens[body - 1].kind == Token::quoted ? strength::weak : 0;
}

}  // namespace

constinit const FormatInfo dscFormat = {
    .code = FormatDsc,
    .name = "dsc",
    .title = "DSC",
    .details = "",
    .users = "network repositories, older editors",
    .extensions = ".dsc",
    .services = "tuples",
    .lineComment = "//",
    .blockComments = true,
    .hasPositions = true,
    .strength = Strength,
    .read = ReadAny<ParseDscFile>,
    .messages = RowsIn<msg::dsc>,
    .write = WriteDsc,
    .written = "",
    .losses = DscLosses,
};

}  // namespace lumo
