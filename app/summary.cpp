#include "app/summary.h"

#include <algorithm>
#include <vector>

#include "export/facts.h"
#include "formats/detect.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr int namesListed = 5;
constexpr int widestText = 60;

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

std::string Problems(const ImportResult& result) {
    constexpr const char* nouns[] = {"fatal error", "error", "warning", "notice"};
    std::vector<std::string> parts;
    std::size_t kind = 0;
    for (const long long count : ProblemCounts(result)) {
        if (count > 0) parts.push_back(Count(count, nouns[kind]));
        ++kind;
    }
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

/// The texts of the items, only the first few unless all are wanted.
template <class LIST, class TEXT_OF>
std::string Listed(const LIST& list, bool all, TEXT_OF textOf) {
    const auto shown =
        all ? std::ssize(list) : std::min<std::ptrdiff_t>(std::ssize(list), namesListed);
    std::vector<std::string> texts;
    for (std::ptrdiff_t i = 0; i < shown; ++i)
        texts.push_back(textOf(list[static_cast<std::size_t>(i)]));
    const long long more = std::ssize(list) - shown;
    return Joined(texts) + (more > 0 ? " and " + Digits(more) + " more" : "");
}

std::string NameOf(const Bnode_bn* node) { return Short(node->name()); }

std::string Renaming(const Bnode_bn* node) {
    return "'" + Short(node->identity()) + "' to " + Short(node->name());
}

std::string WordAndCount(const SkippedWord& word) {
    return Short(word.word.c_str()) + (word.count > 1 ? " " + Digits(word.count) + " times" : "");
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

}  // namespace

std::string Summary(const ImportResult& result, bool all) {
    std::string text =
        Visible(result.file) + ": " + FormatTitle(result) + ", " + Outcome(result.status()) + "\n";
    const auto line = [&text](const char* label, const std::string& value) {
        text += Format("  %-12s", label) + value + "\n";
    };
    if (result.net != nullptr) {
        const Bnet_bn& net = *result.net;
        const Facts facts(net);
        line("name", Short(net.name));
        if (net.title != nullptr) line("title", Short(net.title));
        line("nodes", Kinds(facts));
        line("states", States(facts));
        line("links", Digits(facts.links));
        line("tables", Numbers(facts));
        if (!facts.withoutTable.empty()) line("no table", Listed(facts.withoutTable, all, NameOf));
        if (!net.nodesets().empty()) line("groups", Digits(std::ssize(net.nodesets())));
        if (!facts.renamed.empty()) line("renamed", Listed(facts.renamed, all, Renaming));
        if (facts.titledStates > 0)
            line("no name", Count(facts.titledStates, "state") + ", titled only");
        constexpr const char* positions[] = {"from the file", "none in the file, laid out here",
                                             "none in the file"};
        if (net.nodes.N > 1 || facts.positions == PositionsEN::layout)
            line("positions", positions[static_cast<int>(facts.positions)]);
    }
    if (!result.skipped.empty()) line("skipped", Listed(SkippedTotals(result), all, WordAndCount));
    line("problems", Problems(result));
    return text;
}

std::string SummaryLine(const ImportResult& result) {
    std::vector<std::string> parts = {FormatTitle(result), Outcome(result.status())};
    if (result.net != nullptr) {
        const Facts facts(*result.net);
        parts.push_back(Count(result.net->nodes.N, "node"));
        parts.push_back(Count(facts.links, "link"));
        parts.push_back(Count(facts.numbers, "number"));
    }
    if (!result.reports.empty()) parts.push_back(Problems(result));
    return Visible(result.file) + ": " + Joined(parts) + "\n";
}

}  // namespace lumo::app
