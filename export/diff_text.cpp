#include <algorithm>
#include <map>

#include "export/diff.h"
#include "formats/shared/describe.h"
#include "formats/shared/digits.h"
#include "library/utilities/Utils.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::size_t fewRows = 3;
constexpr std::size_t fewNodes = 5;
constexpr std::size_t fewNumbers = 12;
constexpr std::size_t longestText = 160;

std::string Count(long long count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Number(double value) {
    char digits[MostDigits];
    return {digits, WriteDigits(digits, value)};
}

/// Of a difference the digits that say something.
std::string Rough(double value) { return Format("%.3g", value); }

/// One line of it, cut unless all is wanted.
std::string Shown(const std::string& text, bool all) {
    std::string line;
    for (const char c : text) c == '\n' ? line += "\\n" : line += c;
    line = Visible(line);
    if (all || line.size() <= longestText) return line;
    std::size_t end = longestText;
    while ((line[end] & '\xC0') == '\x80') --end;
    return line.substr(0, end) + "...";
}

/// What is of many nodes and says little of each.
bool IsSmall(const Difference& difference) {
    switch (difference.aspect) {
        case AspectEN::title:
        case AspectEN::comment:
        case AspectEN::stateTitles:
        case AspectEN::stateComments:
        case AspectEN::stateValues:
        case AspectEN::position:
        case AspectEN::groups:
        case AspectEN::userFields:
        case AspectEN::discrete:
        case AspectEN::relation:
            return true;
        default:
            return false;
    }
}

class LineWriter {
public:
    LineWriter(const NetDiff& diff, bool all) : diff_(diff), all_(all) {}

    std::vector<DiffLine> write() {
        countSmall();
        for (const NodeDifference& node : diff_.found.nodes) writeNode(node);
        if (!diff_.found.net.empty()) add('@', "net");
        for (const Difference& difference : diff_.found.net) writeTexts(difference);
        for (const auto& [aspect, names] : small_)
            if (isTogether(aspect)) writeTogether(aspect, names);
        return std::move(lines_);
    }

private:
    void add(char sign, std::string text) { lines_.push_back({sign, std::move(text)}); }

    // ---- Small things of many nodes

    void countSmall() {
        for (const NodeDifference& node : diff_.found.nodes)
            for (const Difference& difference : node.differences) {
                auto& names = small_[difference.aspect];
                const std::string name = node.before->name();
                if (IsSmall(difference) && (names.empty() || names.back() != name))
                    names.push_back(name);
            }
    }
    bool isTogether(AspectEN aspect) const {
        const auto found = small_.find(aspect);
        return !all_ && found != small_.end() && found->second.size() > fewNodes;
    }
    void writeTogether(AspectEN aspect, const std::vector<std::string>& names) {
        std::string list;
        for (std::size_t i = 0; i < fewNodes; ++i) list += (i == 0 ? "" : ", ") + names[i];
        add('@', std::string(AspectWords(aspect)) + " of " + Count(std::ssize(names), "node"));
        add(' ', list + " and " + std::to_string(names.size() - fewNodes) + " more");
    }

    // ---- Nodes

    static std::string inShort(const Bnode_bn& node) {
        std::string text = KindName(node.kind), states, parents;
        for (int state = 0; state < node.numStates(); ++state)
            states += (state == 0 ? "" : ", ") + StateLabel(node.variable, state);
        for (const Bnode_bn* parent : node.parents)
            parents += (parents.empty() ? "" : ", ") + std::string(parent->name());
        if (!states.empty()) text += ", states " + states;
        if (!parents.empty()) text += ", parents " + parents;
        return text;
    }

    void writeNode(const NodeDifference& node) {
        if (node.before == nullptr || node.after == nullptr) {
            const Bnode_bn& only = node.before != nullptr ? *node.before : *node.after;
            const bool isNew = node.before == nullptr;
            add('@', std::string("node ") + only.name() + (isNew ? ": added" : ": removed"));
            add(isNew ? '+' : '-', Shown(inShort(only), all_));
            return;
        }
        const auto isShown = [this](const Difference& difference) {
            return !isTogether(difference.aspect) || !IsSmall(difference);
        };
        if (std::ranges::none_of(node.differences, isShown)) return;
        std::string heading = std::string("node ") + node.before->name();
        if (node.differences.front().aspect == AspectEN::name)
            heading += std::string(" is ") + node.after->name() + ", found by its " +
                       (node.by == MatchEN::title ? "title" : "states and neighbours");
        add('@', heading);
        for (const Difference& difference : node.differences)
            if (isShown(difference)) writeDifference(node, difference);
        for (const std::string& note : node.notes) add(' ', "(" + note + ")");
    }

    void writeDifference(const NodeDifference& node, const Difference& difference) {
        if (difference.numbers)
            writeNumbers(node, difference);
        else
            writeTexts(difference);
    }

    void writeTexts(const Difference& difference) {
        std::string head = AspectWords(difference.aspect);
        if (!difference.of.empty()) head += " " + Shown(difference.of, all_);
        const auto line = [&](char sign, const std::optional<std::string>& text) {
            if (text) add(sign, head + ": " + (text->empty() ? "none" : Shown(*text, all_)));
        };
        line('-', difference.before);
        line('+', difference.after);
    }

    // ---- Numbers

    void writeNumbers(const NodeDifference& node, const Difference& difference) {
        const NumbersDifference& numbers = *difference.numbers;
        add(' ',
            Format("%s: %lld of %lld numbers differ, by up to %s", AspectWords(difference.aspect),
                   numbers.different, numbers.all, Rough(numbers.largest).c_str()));
        std::vector<RowDifference> rows = numbers.rows;
        if (!all_ && rows.size() > fewRows) {  // those that differ most, in their order
            std::ranges::stable_sort(rows, std::greater(), &RowDifference::largest);
            rows.resize(fewRows);
            std::ranges::sort(rows, {}, &RowDifference::before);
        }
        for (const RowDifference& row : rows) {
            const bool isTable = difference.aspect != AspectEN::parameters;
            std::string label = isTable ? RowLabel(*node.before, row.before)
                                        : "distribution " + std::to_string(row.before + 1);
            if (!label.empty()) label = Shown(label, all_) + ": ";
            add('-', label + rowText(*node.before, difference, row.before, {}));
            add('+', label + rowText(*node.after, difference, row.after, numbers.columns));
        }
        if (rows.size() < numbers.rows.size())
            add(' ', "and " + Count(std::ssize(numbers.rows) - std::ssize(rows), "more row"));
    }

    std::string rowText(const Bnode_bn& node, const Difference& difference, int row,
                        const std::vector<int>& columns) const {
        const std::vector<double> numbers = RowOf(node, difference.aspect, row);
        if (numbers.empty()) return "(of its parameters)";
        std::string text;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            if (!all_ && i == fewNumbers) return text + " ...";
            const auto at = columns.empty() ? i : static_cast<std::size_t>(columns[i]);
            text += (i == 0 ? "" : " ") + Number(numbers[at]);
        }
        return text;
    }

    const NetDiff& diff_;
    const bool all_;
    std::map<AspectEN, std::vector<std::string>> small_;  // names of the nodes
    std::vector<DiffLine> lines_;
};

}  // namespace

std::vector<DiffLine> DiffLines(const NetDiff& diff, bool all) {
    return LineWriter(diff, all).write();
}

std::string DiffSummary(const NetDiff& diff) {
    const Comparison& found = diff.found;
    if (found.isSame())
        return "the nets are the same: " + Count(found.same, "node") + ", " +
               Count(found.numbers, "number");
    long long added = 0, removed = 0;
    for (const NodeDifference& node : found.nodes) {
        added += node.before == nullptr;
        removed += node.after == nullptr;
    }
    std::string text;
    const auto part = [&text](long long count, const std::string& what) {
        if (count > 0) text += (text.empty() ? "" : ", ") + what;
    };
    const long long changed = std::ssize(found.nodes) - added - removed;
    part(changed, Count(changed, "node") + (changed == 1 ? " differs" : " differ"));
    part(added, Count(added, "node") + " added");
    part(removed, Count(removed, "node") + " removed");
    part(found.same, Count(found.same, "node") + (found.same == 1 ? " is" : " are") + " the same");
    part(found.differentNumbers,
         Format("%lld of %lld numbers differ, by up to %s", found.differentNumbers, found.numbers,
                Rough(found.largest).c_str()));
    return text;
}

}  // namespace lumo
