#include "export/json.h"

#include <ostream>
#include <span>
#include <string_view>

#include "export/jsonout.h"
#include "formats/shared/describe.h"

namespace lumo {
namespace {

template <class NAMED>
void WriteNames(JsonOut& json, const char* key, std::span<NAMED* const> list, auto name) {
    json.key(key).open('[');
    for (const NAMED* item : list) json.text(name(*item));
    json.close(']');
}

void WriteStates(JsonOut& json, const Varbl_bn& variable) {
    const auto entry = [](char** texts, int i) { return texts == nullptr ? nullptr : texts[i]; };
    const bool valued = variable.levels != nullptr && variable.numLevels == variable.numStates;
    json.key("states").open('[');
    for (int i = 0; i < variable.numStates; ++i) {
        json.open('{');
        json.key("name").textOrNull(entry(variable.stateNames, i));
        json.key("title").textOrNull(entry(variable.stateTitles, i));
        json.key("comment").textOrNull(entry(variable.stateComments, i));
        json.key("value");
        valued ? json.number(variable.levels[i]) : json.null();
        json.close('}');
    }
    json.close(']');
    json.key("levels").numbers(valued ? nullptr : variable.levels, variable.numLevels);
}

void WriteUserFields(JsonOut& json, const std::vector<UserField>& fields) {
    json.key("userFields").open('{');
    for (const UserField& field : fields) json.key(ToUtf8(field.name)).text(FieldText(field));
    json.close('}');
}

void WriteRelation(JsonOut& json, const Bnode_bn& node) {
    const Reln_bn& relation = node.relation;
    const long long rows = NumProduct(node.parents);
    const long long rowLength = std::max(node.numStates(), 1);
    json.key("relation").open('{');
    json.key("kind").text(RelationName(relation.kind));
    const float* table = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    json.key("table").numbers(table, relation.exact, rows * rowLength);
    json.key("experience").numbers(relation.exper, relation.exactExper, rows);
    json.key("parameters").numbers(relation.params, NumCIParams(node));
    json.key("declared").boolean(relation.saidDeterministic);
    json.key("fromCounts").boolean(relation.experFromCounts);
    if (relation.order != nullptr) json.key("order").numbers(relation.order, NumFamilyStates(node));
    json.close('}');
}

void WriteNode(JsonOut& json, const Bnode_bn& node) {
    json.line();
    json.open('{');
    WriteNodeHead(json, node);
    WriteStates(json, node.variable);
    WriteNames(json, "parents",
               std::span<Bnode_bn* const>(node.parents.begin(), node.parents.end()),
               [](const Bnode_bn& parent) { return parent.name(); });
    const coord_kt at = node.vns.hasSome() ? node.vns[0]->position() : coord_kt();
    const int position[] = {at.x, at.y};
    json.key("position").numbers(position, 2);
    WriteNames(json, "groups", std::span<nodeset_bn* const>(node.nodesets()),
               [](const nodeset_bn& set) { return std::string_view(set.name()); });
    WriteUserFields(json, node.userFields());
    WriteRelation(json, node);
    json.key("identity").textOrNull(node.identity());
    if (node.variable.titlesAreIds) json.key("titlesAreIds").boolean(true);
    json.close('}');
}

void WriteGroups(JsonOut& json, const Bnet_bn& net) {
    const std::vector<RGB> colors = NodesetColors(net);
    std::size_t place = 0;
    json.line();
    json.key("groups").open('[');
    for (const auto& set : net.nodesets()) {
        json.open('{');
        json.key("name").text(set->name());
        json.key("color").text(ColorText(colors[place++]));
        json.close('}');
    }
    json.close(']');
}

void WriteDrawing(JsonOut& json, const Vnet_kt& drawing) {
    const coord_kt size = drawing.extent();
    const int extent[] = {size.x, size.y};
    const fontspec_kt& font = drawing.font->spec();
    json.line();
    json.key("drawing").open('{');
    json.key("extent").numbers(extent, 2);
    json.key("drawStyle").number(drawing.drawStyle);
    json.key("labelStyle").number(drawing.labelStyle);
    json.key("zoom").number(drawing.zoomFactor);
    json.key("font").open('{');
    json.key("face").text(font.face);
    json.key("size").number(font.size);
    json.key("bold").boolean((font.styleFlags & fontspec_kt::Bold) != 0);
    json.key("italic").boolean((font.styleFlags & fontspec_kt::Italic) != 0);
    json.close('}');
    json.key("grid").open('{');
    json.key("x").number(drawing.grid.x);
    json.key("y").number(drawing.grid.y);
    json.key("show").boolean(drawing.showGrid);
    json.key("snap").boolean(drawing.snapToGrid);
    json.close('}');
    json.key("laidOut").boolean(drawing.laidOut);
    json.close('}');
}

void WriteNet(JsonOut& json, const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    json.open('{');
    json.key("name").text(net.name);
    json.key("title").textOrNull(net.title);
    json.key("comment").textOrNull(net.comment);
    json.key("fileName").textOrNull(net.fileName);
    json.key("autoUpdate").boolean(net.autoUpdate);
    json.key("nodes").open('[');
    for (const Bnode_bn* node : net.nodes) WriteNode(json, *node);
    json.close(']');
    WriteGroups(json, net);
    WriteDrawing(json, drawing);
    json.close('}');
}

}  // namespace

void WriteNodeHead(JsonOut& json, const Bnode_bn& node) {
    json.key("name").text(node.name());
    json.key("title").textOrNull(node.title);
    json.key("comment").textOrNull(node.comment);
    json.key("kind").text(KindName(node.kind));
    json.key("discrete").boolean(node.variable.discrete);
}

void WriteResultHead(JsonOut& json, const ImportResult& result) {
    json.key("file").text(result.file);
    json.key("format").textOrNull(result.format);
    json.key("formatCode");
    result.formatCode == 0 ? json.null() : json.number(result.formatCode);
    json.key("status").text(StatusName(result.status()));
}

void WriteReportFields(JsonOut& json, const ReportRecord& report) {
    const auto placed = [&](int value) { report.line > 0 ? json.number(value) : json.null(); };
    json.key("number").number(report.number);
    json.key("severity").number(report.severity);
    json.key("kind").text(SeverityName(report.severity));
    json.key("message").text(report.message);
    json.key("line"), placed(report.line);
    json.key("column"), placed(report.column);
    json.key("structKind").textOrNull(report.structKind);
    json.key("structName").textOrNull(report.structName);
    json.key("fieldName").textOrNull(report.fieldName);
}

void WriteNetDocument(JsonOut& json, const ImportResult& result) {
    json.key("schema").text("lumo-import/1");
    WriteResultHead(json, result);
    json.line();
    json.key("net");
    result.net == nullptr ? json.null() : WriteNet(json, *result.net);
    json.line();
}

void WriteJson(const ImportResult& result, std::ostream& out) {
    JsonOut json(&out);
    json.open('{');
    WriteNetDocument(json, result);
    json.key("reports").open('[');
    for (const ReportRecord& report : result.reports) {
        json.line();
        json.open('{');
        WriteReportFields(json, report);
        json.close('}');
    }
    json.close(']').close('}');
    json.flush();
    out << '\n';
}

std::string ReportToJson(const ReportRecord& report) {
    JsonOut json;
    json.open('{');
    json.key("file").text(report.file);
    WriteReportFields(json, report);
    json.close('}');
    return json.take();
}

}  // namespace lumo
