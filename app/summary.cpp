#include "app/summary.h"

#include <algorithm>
#include <functional>
#include <map>
#include <vector>

#include "export/text.h"
#include "import/detect.h"

namespace lumo::app {
namespace {

constexpr int namesListed = 5;
constexpr int widestText = 60;

/// The number with its thousands set apart.
std::string Digits(long long count) {
    std::string digits = std::to_string(count);
    for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
    return digits;
}

/// "1 node", "3 nodes".
std::string Count(long long count, const char* one) {
    return Digits(count) + " " + one + (count == 1 ? "" : "s");
}

std::string Joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

/// The start of a text on one line.
std::string Short(const char* text) {
    std::string line = Visible(text);
    if (line.size() <= widestText) return line;
    std::size_t end = widestText;
    while ((line[end] & '\xC0') == '\x80') --end;
    return line.substr(0, end) + "...";
}

struct Facts {
    long long kinds[UtilityNode + 1] = {};
    long long states = 0, links = 0, numbers = 0, tables = 0;
    int fewestStates = INT_MAX, mostStates = 0;
    long long largest = 0;
    const Bnode_bn* largestNode = nullptr;
    std::vector<std::string> withoutTable;
    std::vector<std::string> renamed;  ///< the file's text and the name in the net
    long long titledStates = 0;        ///< states that have a title but no name
    bool placed = false;               ///< the nodes are not all at one place
};

long long TableSize(const Bnode_bn& node) {
    if (node.relation.kind == RelnKindEN::none) return 0;
    const bool condensed =
        node.relation.kind == RelnKindEN::noisyMax && node.relation.probs == nullptr;
    if (condensed) return NumCIParams(node);
    return static_cast<long long>(NumProduct(node.parents)) * std::max(node.numStates(), 1);
}

/// States that have a title but no name.
int TitledStates(const Varbl_bn& variable) {
    if (variable.stateTitles == nullptr) return 0;
    int count = 0;
    for (int i = 0; i < variable.numStates; ++i) {
        const bool named = variable.stateNames != nullptr && variable.stateNames[i] != nullptr;
        count += variable.stateTitles[i] != nullptr && !named;
    }
    return count;
}

void AddNode(const Bnode_bn& node, Facts& facts) {
    ++facts.kinds[node.kind];
    facts.states += node.numStates();
    facts.links += node.parents.N;
    if (node.numStates() > 0) {
        facts.fewestStates = std::min(facts.fewestStates, node.numStates());
        facts.mostStates = std::max(facts.mostStates, node.numStates());
    }
    const long long size = TableSize(node);
    facts.numbers += size;
    if (size > 0) ++facts.tables;
    if (size == 0 && node.kind != DecisionNode) facts.withoutTable.push_back(Short(node.name()));
    if (node.identity() != nullptr)
        facts.renamed.push_back("'" + Short(node.identity()) + "' to " + Short(node.name()));
    facts.titledStates += TitledStates(node.variable);
    if (size > facts.largest) {
        facts.largest = size;
        facts.largestNode = &node;
    }
}

Facts FactsOf(const Bnet_bn& net) {
    Facts facts;
    for (const Bnode_bn* node : net.nodes) AddNode(*node, facts);
    rect_kt extent;
    net.vnets[0]->findExtent(extent);
    facts.placed = extent.left != extent.right || extent.top != extent.bottom;
    return facts;
}

std::string Problems(const ImportResult& result) {
    const auto count = [&result](const char* kind) {
        return std::ranges::count_if(result.reports, [kind](const ReportRecord& report) {
            return std::string_view(SeverityName(report.severity)) == kind;
        });
    };
    std::vector<std::string> parts;
    for (const char* kind : {"fatal", "error", "warning", "notice"})
        if (const auto n = count(kind); n > 0)
            parts.push_back(std::string_view(kind) == "fatal" ? Count(n, "fatal error")
                                                              : Count(n, kind));
    return parts.empty() ? "none" : Joined(parts);
}

std::string Kinds(const Facts& facts) {
    std::vector<std::string> parts;
    const auto add = [&](NodeKindEN kind, const char* name) {
        if (facts.kinds[kind] > 0) parts.push_back(Digits(facts.kinds[kind]) + " " + name);
    };
    add(NatureNode, "nature");
    add(DecisionNode, "decision");
    add(UtilityNode, "utility");
    if (parts.size() < 2) return parts.empty() ? "0" : parts[0];
    return Digits(facts.kinds[NatureNode] + facts.kinds[DecisionNode] + facts.kinds[UtilityNode]) +
           ": " + Joined(parts);
}

std::string States(const Facts& facts) {
    std::string text = Digits(facts.states);
    if (facts.mostStates == 0) return text;
    text += ", " + std::to_string(facts.fewestStates);
    if (facts.mostStates > facts.fewestStates) text += " to " + std::to_string(facts.mostStates);
    return text + " a node";
}

std::string Numbers(const Facts& facts) {
    if (facts.tables == 0) return "none";
    std::string text = Count(facts.numbers, "number") + " in " + Count(facts.tables, "table");
    if (facts.tables > 1)
        text += ", the largest with " + Count(facts.largest, "number") + " ('" +
                Short(facts.largestNode->name()) + "')";
    return text;
}

std::string Names(const std::vector<std::string>& names) {
    const std::vector<std::string> shown(
        names.begin(), names.begin() + std::min<std::ptrdiff_t>(std::ssize(names), namesListed));
    const long long more = std::ssize(names) - std::ssize(shown);
    return Joined(shown) + (more > 0 ? " and " + Digits(more) + " more" : "");
}

const char* Outcome(StatusEN status) {
    constexpr const char* texts[] = {"read", "read with warnings", "read with errors",
                                     "nothing could be read"};
    return texts[static_cast<int>(status)];
}

const char* FormatTitle(const ImportResult& result) {
    const FormatInfo* format = FindFormat(result.formatCode);
    return format == nullptr ? "unknown format" : format->title;
}

const char* Positions(const Bnet_bn& net, const Facts& facts) {
    if (net.vnets[0]->laidOut) return "none in the file, laid out here";
    if (net.nodes.N < 2) return nullptr;
    return facts.placed ? "from the file" : "none in the file";
}

/// The words with their counts; a word that is unknown in several places counts once.
std::string Skipped(const std::vector<SkippedWord>& words) {
    std::map<std::string, long long> totals;
    for (const SkippedWord& word : words) totals[word.word] += word.count;
    std::vector<std::pair<std::string, long long>> ranked(totals.begin(), totals.end());
    std::ranges::stable_sort(ranked, std::greater(), [](const auto& word) { return word.second; });
    std::vector<std::string> texts;
    texts.reserve(ranked.size());
    for (const auto& [word, count] : ranked)
        texts.push_back(Short(word.c_str()) + (count > 1 ? " " + Digits(count) + " times" : ""));
    return Names(texts);
}

}  // namespace

std::string Summary(const ImportResult& result) {
    std::string text =
        Visible(result.file) + ": " + FormatTitle(result) + ", " + Outcome(result.status()) + "\n";
    const auto line = [&text](const char* label, const std::string& value) {
        text += Format("  %-12s", label) + value + "\n";
    };
    if (result.net != nullptr) {
        const Bnet_bn& net = *result.net;
        const Facts facts = FactsOf(net);
        line("name", Short(net.name));
        if (net.title != nullptr) line("title", Short(net.title));
        line("nodes", Kinds(facts));
        line("states", States(facts));
        line("links", Digits(facts.links));
        line("tables", Numbers(facts));
        if (!facts.withoutTable.empty()) line("no table", Names(facts.withoutTable));
        if (!net.nodesets().empty()) line("groups", Digits(std::ssize(net.nodesets())));
        if (!facts.renamed.empty()) line("renamed", Names(facts.renamed));
        if (facts.titledStates > 0)
            line("no name", Count(facts.titledStates, "state") + ", titled only");
        if (const char* positions = Positions(net, facts)) line("positions", positions);
    }
    if (!result.skipped.empty()) line("skipped", Skipped(result.skipped));
    line("problems", Problems(result));
    return text;
}

std::string SummaryLine(const ImportResult& result) {
    std::vector<std::string> parts = {FormatTitle(result), Outcome(result.status())};
    if (result.net != nullptr) {
        const Facts facts = FactsOf(*result.net);
        parts.push_back(Count(result.net->nodes.N, "node"));
        parts.push_back(Count(facts.links, "link"));
        parts.push_back(Count(facts.numbers, "number"));
    }
    if (!result.reports.empty()) parts.push_back(Problems(result));
    return Visible(result.file) + ": " + Joined(parts) + "\n";
}

}  // namespace lumo::app
