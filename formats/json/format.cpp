#include "formats/json/json.h"
#include "formats/json/messages.h"
#include "formats/shared/start.h"

namespace lumo {
namespace {

/// An object that names a schema of this program, or holds what its documents do.
int Strength(const TextStart& start) {
    const std::string_view text = SkipBlank(start.text);
    if (!text.starts_with('{')) return 0;
    const auto holds = [text](std::string_view words) { return text.find(words) != text.npos; };
    if (holds("\"schema\"") && holds("\"lumo-import")) return strength::certain;
    return holds("\"net\"") && holds("\"nodes\"") ? strength::fair : 0;
}

}  // namespace

constinit const FormatInfo jsonFormat = {
    .code = FormatJSON,
    .name = "json",
    .title = "JSON",
    .details = "this program's own",
    .users = "programs and scripts that use nets",
    .extensions = ".json",
    .services = {},
    .lineComment = "",
    .blockComments = false,
    .hasPositions = true,
    .strength = Strength,
    .read = ReadAny<ParseJsonFile>,
    .messages = RowsIn<msg::json>,
    .write = nullptr,  // by the export, with the reports
    .written = nullptr,
    .losses = nullptr,
};

}  // namespace lumo
