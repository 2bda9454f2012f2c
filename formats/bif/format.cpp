#include "formats/bif/bif.h"
#include "formats/bif/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const std::size_t body = AfterNetworkHeader(tokens);
    if (FirstIs(tokens, body, "variable")) return body == 0 ? strength::fair : strength::certain;
    if (FirstIs(tokens, body, "node")) return 0;
    if (HasBlock(tokens, body, {"probability"}, "("))
        return body == 0 ? strength::weak : strength::strong;
    if (body == 0 || body >= tokens.size() || tokens[body].text != "{") return 0;
    return IsWord(tokens, body + 1, "property") ? strength::strong : strength::fair;
}

}  // namespace

constinit const FormatInfo bifFormat = {
    .code = FormatBIF,
    .name = "bif",
    .title = "BIF",
    .details = "version 0.15",
    .users = "packages of Python, R and Java; network repositories",
    .extensions = ".bif",
    .services = "tuples blocks tableorder",
    .lineComment = "//",
    .blockComments = true,
    .hasPositions = true,
    .strength = Strength,
    .read = ReadAny<ParseBifFile>,
    .messages = RowsIn<msg::bif>,
    .write = WriteBif,
    .written = "version 0.15, the format before XML BIF",
    .losses = BifLosses,
};

}  // namespace lumo
