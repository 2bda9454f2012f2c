#include "export/survey.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>
#include <vector>

#include "export/facts.h"
#include "export/hash.h"
#include "formats/shared/describe.h"
#include "formats/shared/rows.h"
#include "library/utilities/Utils.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

// ---- Cliques -------------------------------------------------------------------------------

/// The moral graph while its nodes are eliminated. Its work is bounded.
class Elimination {
public:
    explicit Elimination(const Bnet_bn& net) : neighbours_(static_cast<std::size_t>(net.nodes.N)) {
        for (const Bnode_bn* node : net.nodes) {
            std::vector<int> family;
            if (node->kind != UtilityNode) family.push_back(node->place());
            for (const Bnode_bn* parent : node->parents) family.push_back(parent->place());
            work_ += std::ssize(family) * std::ssize(family);
            if (isTooMuch()) return;
            for (const int a : family)
                for (const int b : family)
                    if (a != b) at(a).insert(b);
        }
        fills_.resize(neighbours_.size());
        for (const Bnode_bn* node : net.nodes) {
            if (node->kind == UtilityNode) continue;
            fills_[static_cast<std::size_t>(node->place())] = fillOf(node->place());
            waiting_.emplace(fills_[static_cast<std::size_t>(node->place())], node->place());
        }
    }

    std::optional<int> largest() {
        int most = 0;
        while (!waiting_.empty() && !isTooMuch()) {
            const int node = waiting_.begin()->second;
            waiting_.erase(waiting_.begin());
            most = std::max(most, static_cast<int>(at(node).size()) + 1);
            eliminate(node);
        }
        return isTooMuch() ? std::nullopt : std::optional(most);
    }

private:
    static constexpr long long mostWork = 30'000'000;  ///< pairs that are looked at

    bool isTooMuch() const { return work_ > mostWork; }
    std::unordered_set<int>& at(int node) { return neighbours_[static_cast<std::size_t>(node)]; }

    /// The neighbours of the node that are none of each other.
    long long fillOf(int node) {
        const std::vector<int> around(at(node).begin(), at(node).end());
        long long missing = 0;
        work_ += std::ssize(around) * std::ssize(around) / 2;
        for (std::size_t i = 0; i < around.size() && !isTooMuch(); ++i)
            for (std::size_t j = 0; j < i; ++j) missing += !at(around[i]).contains(around[j]);
        return missing;
    }

    void eliminate(int node) {
        const std::vector<int> around(at(node).begin(), at(node).end());
        std::unordered_set<int> touched(around.begin(), around.end());
        for (const int a : around) at(a).erase(node);
        work_ += std::ssize(around) * std::ssize(around);
        if (isTooMuch()) return;
        for (const int a : around)
            for (const int b : around)
                if (a < b && at(a).insert(b).second) {
                    at(b).insert(a);
                    const auto& [less, more] = std::minmax(
                        at(a), at(b), [](auto& x, auto& y) { return x.size() < y.size(); });
                    for (const int each : less)
                        if (more.contains(each)) touched.insert(each);
                }
        at(node).clear();
        for (const int each : touched) update(each);
    }

    void update(int node) {
        long long& fill = fills_[static_cast<std::size_t>(node)];
        waiting_.erase({fill, node});
        fill = fillOf(node);
        waiting_.emplace(fill, node);
    }

    std::vector<std::unordered_set<int>> neighbours_;
    std::vector<long long> fills_;
    std::set<std::pair<long long, int>> waiting_;  // by fill-in
    long long work_ = 0;
};

// ---- Content -------------------------------------------------------------------------------

/// What a state is called in whatever format: its name, or the name that its title would make.
Hash StateHash(const Varbl_bn& variable, int state) {
    const char* const name = variable.stateNames == nullptr ? nullptr : variable.stateNames[state];
    if (HasText(name)) return HashOf(name);
    std::string title = ToUtf8(StateLabel(variable, state));
    title.resize(title.size() + 2);  // room for a letter in front
    ToLegalName_kt(title.data());
    return HashOf(title.c_str());
}

class Content {
public:
    explicit Content(const Bnet_bn& net) : tables_(net) {
        for (const Bnode_bn* node : net.nodes) {
            auto& states = states_.emplace_back();
            for (int state = 0; state < node->numStates(); ++state)
                states.push_back(StateHash(node->variable, state));
        }
        for (const Bnode_bn* node : net.nodes) sum_ += hashOf(*node);
    }
    Hash hash() const { return sum_; }

private:
    const std::vector<Hash>& statesOf(const Bnode_bn& node) const {
        return states_[static_cast<std::size_t>(node.place())];
    }

    Hash hashOf(const Bnode_bn& node) const {
        Hash hash = Mixed(HashOf(node.name()), static_cast<Hash>(node.kind));
        Hash states = 0, parents = 0;
        for (const Hash state : statesOf(node)) states += Mixed(1, state);
        for (const Bnode_bn* parent : node.parents) parents += Mixed(2, HashOf(parent->name()));
        hash = Mixed(Mixed(hash, states), parents);
        return Mixed(hash, numbersOf(node));
    }

    /// Each number with the states that it is of.
    Hash numbersOf(const Bnode_bn& node) const {
        const HeldTable table =
            node.relation.kind == RelnKindEN::real ? RealTable(node.relation) : tables_.of(node);
        if (!table) return 0;
        std::vector<std::vector<Hash>> given;  // of each parent, each state
        Hash row = 0;
        for (const Bnode_bn* parent : node.parents) {
            auto& hashes = given.emplace_back();
            for (const Hash state : statesOf(*parent))
                hashes.push_back(Mixed(HashOf(parent->name()), state));
            row += hashes.empty() ? 0 : hashes.front();
        }
        std::vector<Hash> columns = statesOf(node);
        if (columns.empty()) columns.push_back(0);
        std::vector<std::size_t> at(given.size());
        Hash sum = 3;
        std::ptrdiff_t place = 0;
        for (int rows = NumProduct(node.parents); rows > 0; --rows) {
            for (const Hash column : columns)
                sum += Mixed(Mixed(row, column), bits(table, place++));
            for (std::size_t i = given.size(); i-- > 0;) {
                row -= given[i][at[i]];
                at[i] = (at[i] + 1) % given[i].size();
                row += given[i][at[i]];
                if (at[i] > 0) break;
            }
        }
        return sum;
    }

    static Hash bits(const HeldTable& table, std::ptrdiff_t place) {
        const float number =
            table.floats != nullptr ? table.floats[place] : static_cast<float>(table.exact[place]);
        return std::bit_cast<std::uint32_t>(number == 0 ? 0.0F : number);
    }

    Tables tables_;
    std::vector<std::vector<Hash>> states_;
    Hash sum_ = 0;
};

SurveyValue Known(const NetSurvey& survey, long long value) {
    return survey.hasNet ? SurveyValue(value) : SurveyValue();
}

constexpr SurveyColumn columns[] = {
    {"file", [](const NetSurvey& s) -> SurveyValue { return s.file; }},
    {"format",
     [](const NetSurvey& s) { return s.format.empty() ? SurveyValue() : SurveyValue(s.format); }},
    {"status", [](const NetSurvey& s) -> SurveyValue { return s.status; }},
    {"nodes", [](const NetSurvey& s) { return Known(s, s.nodes); }},
    {"links", [](const NetSurvey& s) { return Known(s, s.links); }},
    {"parameters", [](const NetSurvey& s) { return Known(s, s.parameters); }},
    {"largest", [](const NetSurvey& s) { return Known(s, s.largest); }},
    {"clique", [](const NetSurvey& s) { return s.clique ? Known(s, *s.clique) : SurveyValue(); }},
    {"depth", [](const NetSurvey& s) { return Known(s, s.depth); }},
    {"errors", [](const NetSurvey& s) -> SurveyValue { return s.problems[0] + s.problems[1]; }},
    {"warnings", [](const NetSurvey& s) -> SurveyValue { return s.problems[2]; }},
    {"content",
     [](const NetSurvey& s) { return s.content.empty() ? SurveyValue() : SurveyValue(s.content); }},
};

long long FreeNumbers(const Bnode_bn& node) {
    if (node.relation.kind == RelnKindEN::none || node.kind == DecisionNode) return 0;
    const long long rows = NumProduct(node.parents);
    if (node.relation.kind == RelnKindEN::real) return rows * std::max(node.numStates(), 1);
    return rows * std::max(node.numStates() - 1, 0);
}

}  // namespace

std::optional<int> LargestClique(const Bnet_bn& net) { return Elimination(net).largest(); }

int DepthOf(const Bnet_bn& net) {
    std::vector<std::vector<int>> children(static_cast<std::size_t>(net.nodes.N));
    std::vector<int> left, depths(children.size()), ready;
    for (const Bnode_bn* node : net.nodes) {
        left.push_back(node->parents.N);
        if (node->parents.N == 0) ready.push_back(node->place());
        for (const Bnode_bn* parent : node->parents)
            children[static_cast<std::size_t>(parent->place())].push_back(node->place());
    }
    while (!ready.empty()) {
        const auto node = static_cast<std::size_t>(ready.back());
        ready.pop_back();
        for (const int child : children[node]) {
            const auto at = static_cast<std::size_t>(child);
            depths[at] = std::max(depths[at], depths[node] + 1);
            if (--left[at] == 0) ready.push_back(child);
        }
    }
    return depths.empty() ? 0 : *std::ranges::max_element(depths);
}

std::string ContentOf(const Bnet_bn& net) {
    return Format("%016llx", static_cast<unsigned long long>(Content(net).hash()));
}

std::span<const SurveyColumn> SurveyColumns() { return columns; }

NetSurvey::NetSurvey(const ImportResult& result)
    : file(result.file),
      format(result.format),
      status(StatusName(result.status())),
      hasNet(result.net != nullptr),
      problems(ProblemCounts(result)) {
    if (!hasNet) return;
    const Bnet_bn& net = *result.net;
    const Facts facts(net);
    nodes = net.nodes.N;
    links = facts.links;
    largest = facts.largest;
    for (const Bnode_bn* node : net.nodes) parameters += FreeNumbers(*node);
    clique = LargestClique(net);
    depth = DepthOf(net);
    content = ContentOf(net);
}

}  // namespace lumo
