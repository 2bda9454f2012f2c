#include "export/facts.h"

#include <algorithm>
#include <functional>
#include <map>

#include "formats/shared/placing.h"

namespace lumo {
namespace {

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

}  // namespace

Facts::Facts(const Bnet_bn& net) {
    for (const Bnode_bn* node : net.nodes) add(*node);
    positions = net.vnets[0]->laidOut ? PositionsEN::layout
                : HasPlaces(net)      ? PositionsEN::file
                                      : PositionsEN::none;
}

void Facts::add(const Bnode_bn& node) {
    ++kinds[node.kind];
    states += node.numStates();
    links += node.parents.N;
    if (node.numStates() > 0) {
        fewestStates = std::min(fewestStates, node.numStates());
        mostStates = std::max(mostStates, node.numStates());
    }
    const long long size = TableSize(node);
    numbers += size;
    if (size > 0) ++tables;
    if (size == 0 && node.kind != DecisionNode) withoutTable.push_back(&node);
    if (node.identity() != nullptr) renamed.push_back(&node);
    titledStates += TitledStates(node.variable);
    if (size > largest) {
        largest = size;
        largestNode = &node;
    }
}

std::vector<SkippedWord> SkippedTotals(const ImportResult& result) {
    std::map<std::string, long long> totals;
    for (const SkippedWord& word : result.skipped) totals[word.word] += word.count;
    std::vector<SkippedWord> ranked;
    ranked.reserve(totals.size());
    for (const auto& [word, count] : totals) ranked.push_back({word, count});
    std::ranges::stable_sort(ranked, std::greater(), &SkippedWord::count);
    return ranked;
}

std::array<long long, 4> ProblemCounts(const ImportResult& result) {
    std::array<long long, 4> counts{};
    for (const ReportRecord& report : result.reports)
        ++counts[report.severity >= SeverityFatal    ? 0
                 : report.severity > SeverityWarning ? 1
                 : report.severity > SeverityNotice  ? 2
                                                     : 3];
    return counts;
}

std::string Digits(long long count) {
    std::string digits = std::to_string(count);
    for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
    return digits;
}

std::string Count(long long count, const char* one) {
    return Digits(count) + " " + one + (count == 1 ? "" : "s");
}

}  // namespace lumo
