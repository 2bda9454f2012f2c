// Values of XDSL elements: lists of words, bounds, noisy-max parameters; and what is not kept.
#include <algorithm>
#include <cmath>

#include "formats/shared/readers.h"
#include "formats/xdsl/parts.h"
#include "library/text/tokens.h"

namespace lumo {

// ---- What is not kept ----------------------------------------------------------------------

void NotKept::add(LossEN loss, std::string_view name) {
    constexpr std::size_t mostNames = 60;
    Kind& kind = kinds_[static_cast<int>(loss)];
    ++kind.count;
    if (name.empty() || kind.names.ends_with(", ...")) return;
    kind.names += kind.names.empty() ? ": " : ", ";
    kind.names += kind.names.size() < mostNames ? Shown(name) : "...";
}

void NotKept::report(Parser_CString_kt& in) const {
    constexpr const char* names[] = {
        "sampling settings",
        "properties of the network",
        "labels and marks of states",
        "colors, fonts and bar charts",
        "text boxes",
        "submodels in submodels",
        "cases",
        "observation costs",
        "noisy-max parameters, which are written out as tables",
        "ids that are no names, which the nodes have as titles",
        "equations",
        "sums and formulas of utilities",
        "noisy adders and other gates",
    };
    for (int i = 0; i < static_cast<int>(LossEN::count); ++i) {
        const Kind& kind = kinds_[i];
        const bool changes = i >= static_cast<int>(LossEN::equations);
        if (kind.count > 0)
            in.report(changes ? msg::xdsl.noCounterpart : msg::xdsl.notKept, names[i], kind.count,
                      kind.names.c_str());
    }
}

void SkipUnknown(Parser_CString_kt& in, XMLReader& xml, std::string_view around) {
    const std::string name(xml.tag().name);
    xml.reportAt(xml.tag().place);
    in.reportUnknown(name, msg::xdsl.unknownElement, Shown(name).c_str(), Shown(around).c_str());
    xml.skipElement();
}

// ---- Values --------------------------------------------------------------------------------

bool IsStateId(std::string_view text) {
    return !text.empty() &&
           std::ranges::none_of(text, [](char c) { return (c >= 0 && c <= ' ') || c == 0x7F; });
}

void AppendWords(std::string_view text, Words& words) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    for (auto word = text.begin();;) {
        word = std::find_if_not(word, text.end(), blank);
        if (word == text.end()) return;
        const auto end = std::find_if(word, text.end(), blank);
        words.emplace_back(word, end);
        word = end;
    }
}

void NodeValues::clear() {
    for (Words* words : {&states, &parents, &results, &strengths}) words->clear();
    id.clear();
    lower.clear();
    upper.clear();
    fields.clear();
    uppers.clear();
    numbers.N = 0;
    exact.reset();
    numbersPlace = nullptr;
    damaged = false;
    node = nullptr;
}

double ReadBound(Parser_CString_kt& in, std::string_view text, double none) {
    if (text == "inf" || text == "+inf") return HUGE_VAL;
    if (text == "-inf") return -HUGE_VAL;
    if (text.empty()) return none;
    double bound = 0;
    const char* end = nullptr;
    const std::string zeroEnded(text);
    if (strtodouble2_kt(zeroEnded.c_str(), &bound, &end) >= 0 && *end == 0) return bound;
    in.report(msg::xdsl.badInterval, Shown(text).c_str());
    return none;
}

// ---- Noisy-max -----------------------------------------------------------------------------

namespace {

/// The ranks of a parent's states, 0 for the strongest, from the numbers of its states in order of
/// strength. False when these are not all states.
bool ReadRanks(const Words& strengths, std::size_t first, std::vector<int>& ranks) {
    std::ranges::fill(ranks, -1);
    for (std::size_t rank = 0; rank < ranks.size(); ++rank) {
        const std::string& word = strengths[first + rank];
        int state = 0;
        const char* end = nullptr;
        const char* const last = word.data() + word.size();
        if (ParseInteger(word.data(), last, state, end) != NumberEN::ok || end != last ||
            state < 0 || state >= static_cast<int>(ranks.size()) ||
            ranks[static_cast<std::size_t>(state)] >= 0)
            return false;
        ranks[static_cast<std::size_t>(state)] = static_cast<int>(rank);
    }
    return true;
}

/// Expands a noisy-max whose child's last state and whose parents' weakest states are neutral. The
/// model's noisy-max has the neutral states first: it is the same, with the states of the child
/// and the ranks of each parent's counted from the other end.
class StrengthExpansion {
public:
    StrengthExpansion(Parser_CString_kt& in, const NodeValues& values)
        : in_(in), values_(values), node_(*values.node), states_(node_.numStates()) {}

    XArray<double> expand() {
        if (!readRanks()) {
            in_.report(msg::xdsl.wrongStrengths, node_.name());
            return {};
        }
        readParameters();
        const int entries = NumProduct(node_.family);
        XArray<double> turned = NewTable<double>(entries, node_);
        XArray<double> table = NewTable<double>(entries, node_);
        std::vector<int> parentStates;
        for (const Bnode_bn* parent : node_.parents) parentStates.push_back(parent->numStates());
        ExpandNoisyMax(params_.data(), states_, parentStates.data(), node_.parents.N, turned.get());
        turnBack(turned.get(), table.get());
        return table;
    }

private:
    bool readRanks() {
        std::size_t at = 0;
        for (const Bnode_bn* parent : node_.parents) {
            const auto count = static_cast<std::size_t>(parent->numStates());
            std::vector<int>& ranks = ranks_.emplace_back(count);
            for (std::size_t i = 0; i < count; ++i) ranks[i] = static_cast<int>(i);
            if (values_.strengths.empty()) continue;
            if (at + count > values_.strengths.size()) return false;
            if (!ReadRanks(values_.strengths, at, ranks)) return false;
            at += count;
        }
        return at == values_.strengths.size();
    }

    /// The model's parameters: of each parent's columns the last is left out, and the others come
    /// in reverse order, each reversed.
    void readParameters() {
        std::vector<double> numbers(static_cast<std::size_t>(values_.numbers.N));
        if (values_.exact != nullptr)
            std::copy_n(values_.exact.get(), numbers.size(), numbers.data());
        else
            ShortestDoubles(values_.numbers.array, values_.numbers.N, numbers.data());
        const double* block = numbers.data();
        for (const std::vector<int>& ranks : ranks_) {
            const std::size_t count = ranks.size();
            for (std::size_t rank = count; rank-- > 0;) {
                const double* const column = block + rank * static_cast<std::size_t>(states_);
                if (rank + 1 < count) {
                    appendReversed(column);
                } else if (!isNeutral(column) && !neutralTold_) {
                    in_.report(msg::xdsl.neutralCause, node_.name());
                    neutralTold_ = true;
                }
            }
            block += count * static_cast<std::size_t>(states_);
        }
        appendReversed(block);
    }

    bool isNeutral(const double* column) const {
        return column[states_ - 1] == 1 &&
               std::all_of(column, column + states_ - 1, [](double p) { return p == 0; });
    }

    void appendReversed(const double* column) {
        for (int k = states_ - 1; k >= 0; --k) params_.push_back(column[k]);
    }

    /// Puts rows and numbers into the order of the file.
    void turnBack(const double* turned, double* table) const {
        const auto parents = ranks_.size();
        std::vector<int> state(parents, 0);
        const int rows = NumProduct(node_.parents);
        for (int row = 0; row < rows; ++row, table += states_) {
            std::ptrdiff_t from = 0;
            for (std::size_t i = 0; i < parents; ++i) {
                const int count = static_cast<int>(ranks_[i].size());
                const int rank = ranks_[i][static_cast<std::size_t>(state[i])];
                from = from * count + (count - 1 - rank);
            }
            std::reverse_copy(turned + from * states_, turned + (from + 1) * states_, table);
            for (std::size_t i = parents; i-- > 0;) {
                if (++state[i] < static_cast<int>(ranks_[i].size())) break;
                state[i] = 0;
            }
        }
    }

    Parser_CString_kt& in_;
    const NodeValues& values_;
    const Bnode_bn& node_;
    int states_;
    std::vector<std::vector<int>> ranks_;  // by parent, by state
    std::vector<double> params_;
    bool neutralTold_ = false;
};

}  // namespace

XArray<double> ExpandStrengths(Parser_CString_kt& in, const NodeValues& values) {
    if (values.node->numStates() == 0) return {};
    return StrengthExpansion(in, values).expand();
}

}  // namespace lumo
