// The summary for programs.
#include "app/options.h"
#include "app/summary.h"
#include "export/facts.h"
#include "export/json.h"
#include "export/jsonout.h"
#include "formats/shared/describe.h"

namespace lumo::app {
namespace {

void WriteNodeCounts(JsonOut& json, const Bnet_bn& net, const Facts& facts) {
    json.key("nodes").open('{');
    json.key("all").number(static_cast<long long>(net.nodes.N));
    for (const NodeKindEN kind : {NatureNode, DecisionNode, UtilityNode})
        json.key(KindName(kind)).number(facts.kinds[kind]);
    json.close('}');
}

void WriteTables(JsonOut& json, const Facts& facts) {
    json.key("tables").number(facts.tables);
    json.key("numbers").number(facts.numbers);
    json.key("largestTable");
    if (facts.largestNode == nullptr) {
        json.null();
    } else {
        json.open('{');
        json.key("node").text(facts.largestNode->name());
        json.key("numbers").number(facts.largest);
        json.close('}');
    }
    json.key("withoutTable").open('[');
    for (const Bnode_bn* node : facts.withoutTable) json.text(node->name());
    json.close(']');
}

void WriteNet(JsonOut& json, const Bnet_bn& net) {
    constexpr const char* positions[] = {"file", "layout", "none"};
    const Facts facts(net);
    json.open('{');
    json.key("name").text(net.name);
    json.key("title").textOrNull(net.title);
    WriteNodeCounts(json, net, facts);
    json.key("states").number(facts.states);
    json.key("links").number(facts.links);
    WriteTables(json, facts);
    json.key("groups").number(static_cast<long long>(std::ssize(net.nodesets())));
    json.key("renamed").open('{');
    for (const Bnode_bn* node : facts.renamed) json.key(node->name()).text(node->identity());
    json.close('}');
    json.key("titledStates").number(facts.titledStates);
    json.key("positions").text(positions[static_cast<int>(facts.positions)]);
    json.close('}');
}

}  // namespace

std::string SummaryJson(const ImportResult& result, int exitCode) {
    JsonOut json;
    json.open('{');
    json.key("schema").text("lumo-import-summary/1");
    WriteResultHead(json, result);
    json.key("exit").number(exitCode);
    json.key("net");
    result.net == nullptr ? json.null() : WriteNet(json, *result.net);
    json.key("skipped").open('[');
    for (const SkippedWord& word : SkippedTotals(result)) {
        json.open('{');
        json.key("word").text(word.word);
        json.key("count").number(word.count);
        json.close('}');
    }
    json.close(']');
    json.key("problems").open('{');
    const auto [fatal, errors, warnings, notices] = ProblemCounts(result);
    json.key("fatal").number(fatal);
    json.key("errors").number(errors);
    json.key("warnings").number(warnings);
    json.key("notices").number(notices);
    json.close('}').close('}');
    return json.take() + "\n";
}

std::string BrokenSummaryJson(const std::string& file) {
    ImportResult broken;
    broken.file = file;
    broken.reports.emplace_back().severity = SeverityFatal;
    return SummaryJson(broken, ExitNothing);
}

}  // namespace lumo::app
