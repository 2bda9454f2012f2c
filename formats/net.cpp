// The net as programs have it: what changes the model, and what looks further into it.
#include "formats/net.h"

#include <algorithm>
#include <utility>

#include "library/utilities/exact.h"

namespace lumo {
namespace {

/// What the model said of a change; its report lives no longer than that, and is shown to nobody
/// else.
Outcome OutcomeOf(rept_kt* report) {
    Outcome outcome;
    if (!IsError(report)) return outcome;
    outcome.report = ReportRecord(*report);
    report->shown = true;
    return outcome;
}

Outcome WrongCount(const Bnode_bn& node, const char* what, std::size_t wanted, std::size_t given) {
    Outcome outcome;
    outcome.report.severity = SeverityError;
    outcome.report.message = std::string(what) + " of node '" + node.name() + "' takes " +
                             std::to_string(wanted) + " numbers, not " + std::to_string(given);
    return outcome;
}

Outcome NoMemory() {
    Outcome outcome;
    outcome.report.severity = SeverityFatal;
    outcome.report.message = "out of memory";
    return outcome;
}

std::size_t ColumnsOf(const Bnode_bn& node) {
    const int least = node.kind == UtilityNode ? 1 : 0;
    return static_cast<std::size_t>(std::max(node.numStates(), least));
}

char* Copied(std::string_view text) { return text.empty() ? nullptr : DupStr_kt(text); }

}  // namespace

// ---- States and tables ---------------------------------------------------------------------

std::optional<double> State::value() const {
    if (variable_->levels == nullptr || variable_->numLevels != variable_->numStates)
        return std::nullopt;
    return variable_->levels[index_];
}

Table::Table(const Bnode_bn& node) : node_(&node), columns_(ColumnsOf(node)) {
    const Reln_bn& relation = node.relation;
    const float* const first = relation.kind == RelnKindEN::real ? relation.reals : relation.probs;
    if (first == nullptr) return;
    const std::size_t count = static_cast<std::size_t>(NumProduct(node.parents)) * columns_;
    floats_ = {first, count};
    if (relation.exact != nullptr) exact_ = {relation.exact, count};
}

std::span<const float> Table::row(std::span<const int> parentStates) const {
    if (empty() || std::ssize(parentStates) != node_->parents.N) return {};
    std::size_t index = 0;
    for (int i = 0; i < node_->parents.N; ++i) {
        const int states = node_->parents[i]->numStates();
        const int state = parentStates[static_cast<std::size_t>(i)];
        if (state < 0 || state >= states) return {};
        index = index * static_cast<std::size_t>(states) + static_cast<std::size_t>(state);
    }
    return row(index);
}

double Table::number(std::size_t row, std::size_t column) const {
    const std::size_t place = row * columns_ + column;
    return exact_.empty() ? ShortestDouble(floats_[place]) : exact_[place];
}

// ---- Nodes ---------------------------------------------------------------------------------

void Node::setTitle(std::string_view text) { node_->setTitle(Copied(text)); }
void Node::setComment(std::string_view text) { node_->setComment(Copied(text)); }

Outcome Node::setParents(std::span<const Node> parents) {
    BndList_bn list;
    for (const Node& parent : parents) list.append(parent.node_);
    const ReportScope scope;
    return OutcomeOf(node_->changePreds(list));
}

Outcome Node::setTable(std::span<const double> numbers) {
    const auto count = static_cast<long long>(numbers.size());
    const auto wanted = static_cast<long long>(NumProduct(node_->parents)) *
                        static_cast<long long>(ColumnsOf(*node_));
    if (count != wanted)
        return WrongCount(*node_, "the table", static_cast<std::size_t>(wanted), numbers.size());
    XArray<float> floats = NewXArray<float>(count);
    if (floats == nullptr) return NoMemory();
    std::transform(numbers.begin(), numbers.end(), floats.get(),
                   [](double number) { return static_cast<float>(number); });
    XArray<double> exact;
    if (!AreHeldByFloats(numbers.data(), floats.get(), count)) {
        exact = NewXArray<double>(count);
        if (exact == nullptr) return NoMemory();
        std::copy(numbers.begin(), numbers.end(), exact.get());
    }
    const ReportScope scope;
    return OutcomeOf(node_->setTable(std::move(floats), std::move(exact)));
}

Outcome Node::setRow(std::span<const int> parentStates, std::span<const double> numbers) {
    const auto states = static_cast<std::size_t>(node_->numStates());
    if (numbers.size() != states) return WrongCount(*node_, "a row", states, numbers.size());
    if (std::ssize(parentStates) != node_->parents.N)
        return WrongCount(*node_, "a row's place in the table",
                          static_cast<std::size_t>(node_->parents.N), parentStates.size());
    std::vector<float> floats(states);
    std::transform(numbers.begin(), numbers.end(), floats.begin(),
                   [](double number) { return static_cast<float>(number); });
    const bool held = AreHeldByFloats(numbers.data(), floats.data(), std::ssize(floats));
    const ReportScope scope;
    // Of files, a row that is given twice is told.
    const bool told = std::exchange(node_->relation.rowAgainTold, true);
    const Outcome outcome = OutcomeOf(
        node_->setRow(parentStates.data(), floats.data(), held ? nullptr : numbers.data()));
    node_->relation.rowAgainTold = told;
    return outcome;
}

// ---- Nets ----------------------------------------------------------------------------------

Net::Net(std::string_view name) : net_(NewVBNet(DupStr_kt(std::string_view(LegalName(name))))) {
    net_->fileName = DupStr_kt(std::string_view());
}

Node Net::add(std::string_view name, std::span<const std::string_view> states) {
    std::vector<std::string_view> different(states.begin(), states.end());
    std::sort(different.begin(), different.end());
    const bool same = std::adjacent_find(different.begin(), different.end()) != different.end();
    if (same || !IsLegalName_kt(name) || find(name)) return {};
    const ReportScope scope;
    const auto count = static_cast<int>(states.size());
    Bnode_bn* const node = NewNode_ibn(std::string(name).c_str(), count, *net_, coord_kt{0, 0});
    if (node == nullptr || count == 0) return node == nullptr ? Node() : Node(*node);
    char** const labels = new char*[states.size()];
    std::transform(states.begin(), states.end(), labels,
                   [](std::string_view state) { return DupStr_kt(state); });
    SetStatesToLabels(*node, labels, count, true);
    return *node;
}

}  // namespace lumo
