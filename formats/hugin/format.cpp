#include "formats/hugin/hugin.h"
#include "formats/hugin/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

int Strength(const TextStart& start) {
    const std::vector<Token>& tokens = start.tokens;
    const bool isClass = IsWord(tokens, 0, "class");
    if (!isClass && !IsWord(tokens, 0, "net")) return 0;
    const std::size_t brace = isClass ? 2 : 1;
    return tokens.size() > brace && tokens[brace].text == "{" ? strength::certain : strength::weak;
}

}  // namespace

constinit const FormatInfo huginFormat = {
    .code = FormatHugin,
    .name = "hugin",
    .title = "Hugin",
    .details = "versions 4 to 6",
    .users = "many tools and network repositories",
    .extensions = ".net .oobn .hugin",
    .services = "blocks",
    .lineComment = "%",
    .blockComments = false,
    .hasPositions = true,
    .strength = Strength,
    .read = ReadAny<ParseHuginFile>,
    .messages = RowsIn<msg::hugin>,
    .write = WriteHugin,
    .written = "version 5",
    .losses = HuginLosses,
};

}  // namespace lumo
