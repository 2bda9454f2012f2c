#include "export/diff.h"
#include "export/json.h"
#include "export/jsonout.h"

namespace lumo {
namespace {

void WriteNumbers(JsonOut& json, const NodeDifference& node, const Difference& difference) {
    const NumbersDifference& numbers = *difference.numbers;
    json.key("numbers").number(numbers.all);
    json.key("different").number(numbers.different);
    json.key("largest").number(numbers.largest);
    json.key("rows").open('[');
    for (const RowDifference& row : numbers.rows) {
        const std::vector<double> before = RowOf(*node.before, difference.aspect, row.before);
        std::vector<double> after = RowOf(*node.after, difference.aspect, row.after), ordered;
        for (std::size_t i = 0; i < after.size(); ++i)
            ordered.push_back(after[static_cast<std::size_t>(numbers.columns[i])]);
        json.open('{');
        json.key("row").number(row.before);
        json.key("given");
        difference.aspect == AspectEN::parameters ? json.null()
                                                  : json.text(RowLabel(*node.before, row.before));
        json.key("before").numbers(before.data(), std::ssize(before));
        json.key("after").numbers(ordered.data(), std::ssize(ordered));
        json.close('}');
    }
    json.close(']');
}

void WriteTextOrNull(JsonOut& json, const std::optional<std::string>& text) {
    text ? json.text(*text) : json.null();
}

void WriteDifference(JsonOut& json, const NodeDifference* node, const Difference& difference) {
    json.open('{');
    json.key("what").text(AspectKey(difference.aspect));
    json.key("of").textOrNull(difference.of);
    if (difference.numbers) {
        WriteNumbers(json, *node, difference);
    } else {
        json.key("before"), WriteTextOrNull(json, difference.before);
        json.key("after"), WriteTextOrNull(json, difference.after);
    }
    json.close('}');
}

void WriteNode(JsonOut& json, const NodeDifference& node) {
    const auto name = [](const Bnode_bn* of) { return of == nullptr ? nullptr : of->name(); };
    constexpr const char* found[] = {nullptr, "name", "title", "shape"};
    json.line();
    json.open('{');
    json.key("before").textOrNull(name(node.before));
    json.key("after").textOrNull(name(node.after));
    json.key("foundBy").textOrNull(found[static_cast<int>(node.by)]);
    json.key("differences").open('[');
    for (const Difference& difference : node.differences) WriteDifference(json, &node, difference);
    json.close(']').key("notes").open('[');
    for (const std::string& note : node.notes) json.text(note);
    json.close(']').close('}');
}

}  // namespace

void WriteDiffJson(const NetDiff& diff, std::ostream& out) {
    const Comparison& found = diff.found;
    JsonOut json(&out);
    json.open('{');
    json.key("schema").text("lumo-import-diff/1");
    for (const auto& [side, result] : {std::pair("before", &diff.before), {"after", &diff.after}}) {
        json.key(side).open('{');
        WriteResultHead(json, *result);
        json.close('}');
    }
    json.key("same").boolean(found.isSame());
    json.key("sameNodes").number(found.same);
    json.key("numbers").number(found.numbers);
    json.key("differentNumbers").number(found.differentNumbers);
    json.key("largest").number(found.largest);
    json.line();
    json.key("nodes").open('[');
    for (const NodeDifference& node : found.nodes) WriteNode(json, node);
    json.close(']');
    json.line();
    json.key("net").open('[');
    for (const Difference& difference : found.net) WriteDifference(json, nullptr, difference);
    json.close(']').close('}');
    json.flush();
    out << '\n';
}

}  // namespace lumo
