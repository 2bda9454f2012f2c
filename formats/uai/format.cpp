#include <algorithm>

#include "formats/shared/start.h"
#include "formats/uai/messages.h"
#include "formats/uai/uai.h"

namespace lumo {
namespace {

/// A text that starts with the name of a kind and a number.
int Strength(const TextStart& start) {
    if (start.isMarkup) return 0;
    std::string_view text = SkipBlank(start.lower);
    for (; text.starts_with('#'); text = SkipBlank(text))
        text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    const std::vector<Token> tokens = Tokens(text.substr(0, 100));
    const bool kind = IsWord(tokens, 0, "bayes") || IsWord(tokens, 0, "markov") ||
                      IsWord(tokens, 0, "id") || IsWord(tokens, 0, "limid");
    if (!kind) return 0;
    const bool number =
        tokens.size() > 1 && tokens[1].text.front() >= '0' && tokens[1].text.front() <= '9';
    return number ? strength::certain : tokens.size() == 1 ? strength::fair : 0;
}

}  // namespace

constinit const FormatInfo uaiFormat = {
    .code = FormatUAI,
    .name = "uai",
    .title = "UAI",
    .details = "Bayes nets",
    .users = "inference competitions and their solvers",
    .extensions = ".uai",
    .services = {},
    .lineComment = "#",
    .blockComments = true,
    .hasPositions = false,
    .strength = Strength,
    .read = ReadAny<ParseUaiFile>,
    .messages = RowsIn<msg::uai>,
    .write = WriteUai,
    .written = "chance and decision nodes as a Bayes net, without comments",
    .losses = UaiLosses,
};

}  // namespace lumo
