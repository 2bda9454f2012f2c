// Values of XDSL elements: lists of words, bounds, noisy-max parameters; and what is not kept.
#include <algorithm>
#include <cmath>

#include "formats/shared/readers.h"
#include "formats/xdsl/parts.h"
#include "library/text/tokens.h"
#include "library/utilities/numbers.h"

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
        "noisy-max parameters that are no distributions, which are written out as tables",
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

/// A parent's states in order of strength, from the words there. False when these are not all.
bool ReadStrengths(const Words& strengths, std::size_t first, std::vector<int>& states) {
    std::vector<bool> seen(states.size(), false);
    for (std::size_t rank = 0; rank < states.size(); ++rank) {
        const std::string& word = strengths[first + rank];
        int& state = states[rank];
        const char* end = nullptr;
        const char* const last = word.data() + word.size();
        if (ParseInteger(word.data(), last, state, end) != NumberEN::ok || end != last ||
            state < 0 || state >= static_cast<int>(states.size()))
            return false;
        if (seen[static_cast<std::size_t>(state)]) return false;
        seen[static_cast<std::size_t>(state)] = true;
    }
    return true;
}

/// Reads a noisy-max whose child's last state and whose parents' weakest states are neutral. The
/// model's has the neutral states first: it is the same, with the states of the child and those of
/// each parent counted from the other end.
class StrengthReader {
public:
    StrengthReader(Parser_CString_kt& in, const NodeValues& values)
        : in_(in), values_(values), node_(*values.node), states_(node_.numStates()) {}

    std::optional<NoisyMax> read() {
        if (!readOrder()) {
            in_.report(msg::xdsl.wrongStrengths, node_.name());
            return std::nullopt;
        }
        readParameters();
        return std::move(made_);
    }

private:
    /// The last states are the weakest where the file says nothing else.
    bool readOrder() {
        std::size_t at = 0;
        for (const Bnode_bn* member : node_.family) {
            const auto count = static_cast<std::size_t>(member->numStates());
            std::vector<int> strongestFirst(count);
            for (std::size_t i = 0; i < count; ++i) strongestFirst[i] = static_cast<int>(i);
            if (member != &node_ && !values_.strengths.empty()) {
                if (at + count > values_.strengths.size()) return false;
                if (!ReadStrengths(values_.strengths, at, strongestFirst)) return false;
                at += count;
            }
            made_.order.insert(made_.order.end(), strongestFirst.rbegin(), strongestFirst.rend());
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
            ShortestDoubles(values_.numbers.begin(), values_.numbers.N, numbers.data());
        const double* block = numbers.data();
        for (const Bnode_bn* parent : node_.parents) {
            const auto count = static_cast<std::ptrdiff_t>(parent->numStates());
            for (std::ptrdiff_t rank = count; rank-- > 0;) {
                const double* const column = block + rank * states_;
                if (rank + 1 < count) {
                    appendReversed(column);
                } else if (!isNeutral(column) && !std::exchange(neutralTold_, true)) {
                    in_.report(msg::xdsl.neutralCause, node_.name());
                }
            }
            block += count * states_;
        }
        appendReversed(block);
    }

    bool isNeutral(const double* column) const {
        return column[states_ - 1] == 1 &&
               std::all_of(column, column + states_ - 1, [](double p) { return p == 0; });
    }

    void appendReversed(const double* column) {
        for (int k = states_ - 1; k >= 0; --k) made_.parameters.push_back(column[k]);
    }

    Parser_CString_kt& in_;
    const NodeValues& values_;
    const Bnode_bn& node_;
    int states_;
    NoisyMax made_;
    bool neutralTold_ = false;
};

}  // namespace

std::optional<NoisyMax> ReadNoisyMax(Parser_CString_kt& in, const NodeValues& values) {
    if (values.node->numStates() == 0) return std::nullopt;
    return StrengthReader(in, values).read();
}

}  // namespace lumo
