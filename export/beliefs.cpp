// Variables are eliminated one after the other: each, with those that it is tied to then, is a
// clique, whose table sends its sum over the variable to the clique of the one of them that is next
// to go. When the sums have come back in the opposite order every clique has the distribution of
// its variables.

#include "export/beliefs.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>
#include <utility>

#include "formats/shared/describe.h"
#include "formats/shared/rows.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr double mostEntries = 1 << 24;    ///< of the tables of all cliques
constexpr std::size_t mostVariables = 24;  ///< of a clique: each has two states at least
constexpr double mostWork = 1 << 30;       ///< multiplications
constexpr double rowTolerance = 1e-5;      ///< by which a row's sum may miss 1 unnoticed
constexpr int anyState = -1;

struct TooLarge : std::runtime_error {
    TooLarge() : std::runtime_error("exact distributions need more room than there is here") {}
};

/// Numbers for all states of some variables, those of the last changing fastest.
struct Factor {
    std::vector<int> scope;
    std::vector<double> values;
};

/// A variable with those that it is tied to when it is eliminated.
struct Clique {
    int variable = 0;
    Factor table;
    Factor sum;     ///< of the table over the variable
    int next = -1;  ///< the clique that the sum goes to; -1: none
};

/// The entry of the node in a list of all.
template <class LIST>
auto& EntryOf(LIST& list, const Bnode_bn& node) {
    return list[static_cast<std::size_t>(node.place())];
}

class Computation {
public:
    Computation(const Bnet_bn& net, std::span<const Observation> evidence)
        : tables_(net),
          state_(static_cast<std::size_t>(net.nodes.N), anyState),
          isNeeded_(static_cast<std::size_t>(net.nodes.N), 0) {
        for (const Bnode_bn* node : net.nodes) {
            cards_.push_back(HasBeliefs(*node) ? node->numStates() : 1);
            if (cards_.back() == 1) EntryOf(state_, *node) = 0;
        }
        for (const Observation& seen : evidence) EntryOf(state_, *seen.node) = seen.state;
    }

    /// Has the node take part, and all that it depends on.
    void need(const Bnode_bn& node) {
        std::vector<const Bnode_bn*> waiting = {&node};
        while (!waiting.empty()) {
            const Bnode_bn& next = *waiting.back();
            waiting.pop_back();
            if (!HasBeliefs(next) || std::exchange(EntryOf(isNeeded_, next), 1) != 0) continue;
            addFactor(next);
            waiting.insert(waiting.end(), next.parents.begin(), next.parents.end());
        }
    }

    /// Computes all; false when the evidence is impossible.
    bool run() {
        makeCliques();
        return possible_ && sumForth() && (sumBack(), true);
    }

    std::vector<double> beliefOf(const Bnode_bn& node) const {
        const int seen = EntryOf(state_, node);
        std::vector<double> belief(static_cast<std::size_t>(node.numStates()), 0);
        if (seen != anyState) {
            belief[static_cast<std::size_t>(seen)] = 1;
            return belief;
        }
        const Clique& clique = cliques_[cliqueOf_.at(node.place())];
        Factor sum{{node.place()}, std::move(belief)};
        addUp(clique.table, sum);
        scale(sum.values);
        return std::move(sum.values);
    }

    std::vector<std::string> notes() const;

private:
    std::size_t card(int v) const {
        return static_cast<std::size_t>(cards_[static_cast<std::size_t>(v)]);
    }
    double sizeOf(const std::vector<int>& scope) const {
        double size = 1;
        for (const int v : scope) size *= static_cast<double>(card(v));
        return size;
    }

    /// Calls with the place in a table of the first variables and that in a table of the second
    /// ones, which are among them, for all states of the first.
    template <class CALL>
    void forEach(const std::vector<int>& all, const std::vector<int>& part, CALL call) const {
        std::vector<std::size_t> step(all.size(), 0), state(all.size(), 0);
        std::size_t stride = 1, total = 1, there = 0;
        for (std::size_t i = part.size(); i-- > 0; stride *= card(part[i]))
            step[static_cast<std::size_t>(std::ranges::find(all, part[i]) - all.begin())] = stride;
        for (const int v : all) total *= card(v);
        for (std::size_t here = 0; here < total; ++here) {
            call(here, there);
            for (std::size_t d = all.size(); d-- > 0;) {
                there += step[d];
                if (++state[d] < card(all[d])) break;
                there -= step[d] * card(all[d]);
                state[d] = 0;
            }
        }
    }

    /// Scales the product: of a thousand factors it would be too small for a number.
    void multiply(Factor& table, const Factor& by) const {
        forEach(table.scope, by.scope, [&](std::size_t here, std::size_t there) {
            table.values[here] *= by.values[there];
        });
        scale(table.values);
    }
    void addUp(const Factor& table, Factor& sum) const {
        forEach(table.scope, sum.scope, [&](std::size_t here, std::size_t there) {
            sum.values[there] += table.values[here];
        });
    }

    /// Scales to the sum 1; false when that is 0.
    static bool scale(std::vector<double>& values) {
        double sum = 0;
        for (const double value : values) sum += value;
        if (!(sum > 0)) return false;
        for (double& value : values) value /= sum;
        return true;
    }

    void addFactor(const Bnode_bn& node);
    void addRow(HeldTable row, const Bnode_bn& node, Factor& factor);
    HeldTable tableOf(const Bnode_bn& node) const;
    std::vector<std::vector<int>> eliminationBy(bool fill, double most, double& entries) const;
    void makeCliques();
    bool sumForth();
    void sumBack();

    Tables tables_;
    std::vector<int> cards_;
    std::vector<int> state_;  ///< of every node, where it is known
    std::vector<char> isNeeded_;
    std::vector<Factor> factors_;
    std::vector<Clique> cliques_;  ///< in the order of elimination
    std::unordered_map<int, std::size_t> cliqueOf_;
    bool possible_ = true;
    long long withoutTable_ = 0, scaledRows_ = 0, emptyRows_ = 0;
    std::vector<std::string> unchosen_;
};

/// None where there is no table that can be used.
HeldTable Computation::tableOf(const Bnode_bn& node) const {
    const bool isUsable =
        node.kind != DecisionNode && std::ranges::all_of(node.parents, [](const Bnode_bn* parent) {
            return HasBeliefs(*parent);
        });
    if (!isUsable) return {};
    const HeldTable table = tables_.of(node);
    if (!table && node.relation.params != nullptr) throw TooLarge();  // to be expanded
    return table;
}

/// Adds the row, scaled, or what of it is left when the node's state is known.
void Computation::addRow(HeldTable row, const Bnode_bn& node, Factor& factor) {
    const int states = node.numStates();
    double sum = 0;
    for (int s = 0; s < states; ++s) sum += row[s];
    if (std::abs(sum - 1) > rowTolerance) ++(sum > 0 ? scaledRows_ : emptyRows_);
    const int seen = EntryOf(state_, node);
    for (int s = 0; s < states; ++s)
        if (seen == anyState || seen == s)
            factor.values.push_back(sum > 0 ? row[s] / sum : 1.0 / states);
}

/// Adds what the node's table says, as far as the known states let it.
void Computation::addFactor(const Bnode_bn& node) {
    const bool isDecision = node.kind == DecisionNode, isOpen = EntryOf(state_, node) == anyState;
    const HeldTable table = tableOf(node);
    const int own = node.place();
    if (!table) {
        if (isDecision && isOpen) unchosen_.push_back(Visible(TitleOrName(node)));
        withoutTable_ += isDecision ? 0 : 1;
        if (isOpen) factors_.push_back({{own}, std::vector<double>(card(own), 1.0)});
        return;
    }
    Factor factor;
    for (const Bnode_bn* parent : node.parents)
        if (EntryOf(state_, *parent) == anyState) factor.scope.push_back(parent->place());
    if (sizeOf(factor.scope) * (isOpen ? node.numStates() : 1) > mostEntries) throw TooLarge();
    // The rows that the known states of parents leave.
    const auto parents = static_cast<std::size_t>(node.parents.N);
    std::vector<std::size_t> step(parents);
    std::size_t first = 0, stride = 1;
    for (std::size_t i = parents; i-- > 0;) {
        const Bnode_bn& parent = *node.parents[static_cast<int>(i)];
        first += stride * static_cast<std::size_t>(std::max(0, EntryOf(state_, parent)));
        step[i] = std::exchange(stride, stride * card(parent.place()));
    }
    std::vector<std::size_t> rows = {first};
    for (std::size_t i = 0; i < parents; ++i) {
        const Bnode_bn& parent = *node.parents[static_cast<int>(i)];
        if (EntryOf(state_, parent) != anyState) continue;
        std::vector<std::size_t> more;
        for (const std::size_t row : rows)
            for (std::size_t s = 0; s < card(parent.place()); ++s)
                more.push_back(row + s * step[i]);
        rows = std::move(more);
    }
    for (const std::size_t row : rows)
        addRow(table.from(static_cast<std::ptrdiff_t>(row) * node.numStates()), node, factor);
    if (isOpen) factor.scope.push_back(own);
    if (factor.scope.empty())
        possible_ = possible_ && factor.values[0] > 0;
    else
        factors_.push_back(std::move(factor));
}

/// The cliques of eliminating always the variable whose clique is the smallest, or that ties the
/// fewest others; stops, with more entries than the most, when it needs more.
std::vector<std::vector<int>> Computation::eliminationBy(bool fill, double most,
                                                         double& entries) const {
    std::unordered_map<int, std::set<int>> near;
    for (const Factor& factor : factors_)
        for (const int v : factor.scope)
            for (const int u : factor.scope) near[v].insert(u);  // itself too
    const auto cost = [&](int v) {
        const std::set<int>& around = near[v];
        // Too large anyway, and a hub has as many as its net: those are not looked at time and
        // again.
        if (around.size() > mostVariables) return std::numeric_limits<double>::max();
        double size = 1, missing = 0;
        for (const int u : around) size *= static_cast<double>(card(u));
        if (!fill || size > mostEntries) return size;
        for (const int u : around)
            for (const int w : around) missing += u < w && !near[u].contains(w) ? 1 : 0;
        return missing + 1e-9 * size;
    };
    std::set<std::pair<double, int>> queue;
    std::unordered_map<int, double> costs;
    for (const auto& [v, around] : near) queue.emplace(costs[v] = cost(v), v);
    std::vector<std::vector<int>> made;
    entries = 0;
    while (!queue.empty() && entries <= most) {
        const int v = queue.begin()->second;
        queue.erase(queue.begin());
        const std::set<int> around = std::move(near[v]);
        near.erase(v);
        std::vector<int>& scope = made.emplace_back(around.begin(), around.end());
        entries += sizeOf(scope);
        if (entries > most) break;  // their ties are not worth making
        for (const int u : around) {
            if (u == v) continue;
            near[u].erase(v);
            for (const int w : around)
                if (w != v) near[u].insert(w);
        }
        for (const int u : around) {
            if (u == v) continue;
            queue.erase({costs[u], u});
            queue.emplace(costs[u] = cost(u), u);
        }
        std::iter_swap(scope.begin(), std::ranges::find(scope, v));
    }
    return made;
}

/// Makes the cliques of the better of two orders, and gives every factor to the first that has it.
void Computation::makeCliques() {
    double entries = 0, other = 0;
    std::vector<std::vector<int>> scopes = eliminationBy(false, mostEntries, entries);
    std::vector<std::vector<int>> byFill =
        eliminationBy(true, std::min(entries, mostEntries), other);
    if (other < entries) {
        scopes = std::move(byFill);
        entries = other;
    }
    if (entries > mostEntries) throw TooLarge();
    for (const std::vector<int>& scope : scopes) {
        Clique& clique = cliques_.emplace_back();
        clique.variable = scope[0];
        cliqueOf_[scope[0]] = cliques_.size() - 1;
        clique.table = {scope, {}};
    }
    const auto firstOf = [&](const std::vector<int>& scope, std::size_t from) {
        std::size_t first = cliques_.size();
        for (std::size_t i = from; i < scope.size(); ++i)
            first = std::min(first, cliqueOf_.at(scope[i]));
        return first;
    };
    double work = 0;
    for (Clique& clique : cliques_) {
        const std::vector<int>& scope = clique.table.scope;
        if (scope.size() > 1) clique.next = static_cast<int>(firstOf(scope, 1));
        work += 4 * sizeOf(scope);
    }
    std::vector<std::vector<const Factor*>> own(cliques_.size());
    for (const Factor& factor : factors_) {
        const std::size_t first = firstOf(factor.scope, 0);
        own[first].push_back(&factor);
        work += sizeOf(cliques_[first].table.scope);
    }
    for (const Clique& clique : cliques_)
        if (clique.next >= 0)
            work += sizeOf(cliques_[static_cast<std::size_t>(clique.next)].table.scope);
    if (work > mostWork) throw TooLarge();
    for (std::size_t i = 0; i < cliques_.size(); ++i) {
        Factor& table = cliques_[i].table;
        table.values.assign(static_cast<std::size_t>(sizeOf(table.scope)), 1.0);
        for (const Factor* factor : own[i]) multiply(table, *factor);
    }
}

/// Sends the sums to the next cliques; false when all is impossible.
bool Computation::sumForth() {
    for (Clique& clique : cliques_) {
        if (!scale(clique.table.values)) return false;
        if (clique.next < 0) continue;
        clique.sum.scope.assign(clique.table.scope.begin() + 1, clique.table.scope.end());
        clique.sum.values.assign(static_cast<std::size_t>(sizeOf(clique.sum.scope)), 0.0);
        addUp(clique.table, clique.sum);
        multiply(cliques_[static_cast<std::size_t>(clique.next)].table, clique.sum);
    }
    return true;
}

/// Multiplies every table by what the clique that its sum went to has come to know besides.
void Computation::sumBack() {
    for (std::size_t i = cliques_.size(); i-- > 0;) {
        Clique& clique = cliques_[i];
        if (clique.next < 0) continue;
        Factor known{clique.sum.scope, std::vector<double>(clique.sum.values.size(), 0.0)};
        addUp(cliques_[static_cast<std::size_t>(clique.next)].table, known);
        for (std::size_t n = 0; n < known.values.size(); ++n)
            known.values[n] = clique.sum.values[n] > 0 ? known.values[n] / clique.sum.values[n] : 0;
        multiply(clique.table, known);
    }
}

std::vector<std::string> Computation::notes() const {
    std::vector<std::string> notes;
    const auto note = [&](long long count, const char* what, const char* taken) {
        if (count == 0) return;
        notes.push_back(std::to_string(count) + " " + what + (count == 1 ? " is " : "s are ") +
                        taken);
    };
    std::string names;
    for (const std::string& name : unchosen_) names += (names.empty() ? "" : ", ") + name;
    if (!names.empty())
        notes.push_back("no option is chosen of " + names +
                        ": all are taken as equally likely; --evidence chooses");
    note(withoutTable_, "node", "without a table and taken as uniform");
    note(scaledRows_, "row", "scaled to sum to one for the distributions");
    note(emptyRows_, "row", "of zeros and taken as uniform");
    return notes;
}

}  // namespace

bool HasBeliefs(const Bnode_bn& node) {
    return node.numStates() > 0 && node.kind != UtilityNode &&
           node.relation.kind != RelnKindEN::real;
}

Beliefs ComputeBeliefs(const Bnet_bn& net, std::span<const Bnode_bn* const> wanted,
                       std::span<const Observation> evidence) {
    Beliefs beliefs;
    beliefs.evidence.assign(evidence.begin(), evidence.end());
    try {
        Computation computation(net, evidence);
        for (const Observation& seen : evidence) computation.need(*seen.node);
        for (const Bnode_bn* node : wanted) computation.need(*node);
        if (!computation.run()) {
            beliefs.failure = "the evidence is impossible: its probability is zero";
            return beliefs;
        }
        for (const Bnode_bn* node : wanted)
            if (HasBeliefs(*node)) beliefs.of.emplace(node, computation.beliefOf(*node));
        beliefs.notes = computation.notes();
    } catch (const TooLarge& error) {
        beliefs.failure = error.what();
    }
    return beliefs;
}

}  // namespace lumo
