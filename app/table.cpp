#include "app/table.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <vector>

#include "app/columns.h"
#include "app/convert.h"
#include "app/suggest.h"
#include "app/terminal.h"
#include "export/facts.h"
#include "formats/shared/describe.h"
#include "formats/shared/digits.h"
#include "formats/shared/rows.h"
#include "formats/shared/textout.h"
#include "library/utilities/numbers.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::size_t mostNamesListed = 100;
constexpr std::size_t leastLabel = 6;   // columns that a label keeps on a narrow terminal
constexpr std::size_t widestHead = 16;  // columns of a state's label on a terminal
constexpr std::size_t mostBlocks = 20;  // of states below each other on a terminal
constexpr std::string_view divider = " | ";

// ---- What is shown -------------------------------------------------------------------------

/// A column at the left. Each of its labels holds for some rows, then the next does.
struct LabelColumn {
    std::string head;
    std::vector<std::string> texts;
    long long each = 1;

    const std::string& of(long long row) const {
        return texts[static_cast<std::size_t>(row / each) % texts.size()];
    }
};

/// A node's numbers with what stands at the left of and above them.
struct Sheet {
    Sheet(const Bnode_bn& node, std::string (*textOf)(std::string_view));

    bool hasNumbers() const { return static_cast<bool>(table) || params != nullptr; }

    std::vector<LabelColumn> labels;
    std::vector<std::string> heads;  ///< of the columns of numbers, the experience among them
    long long rows = 0;
    std::size_t values = 0;  ///< numbers of a row, the experience apart
    HeldTable table;         ///< row by row; or else
    const double* params = nullptr;
    HeldTable experience;

private:
    void labelRows(const Bnode_bn& node);
    void labelParameters(const Bnode_bn& node);
    std::vector<std::string> statesOf(const Bnode_bn& node) const;

    std::string (*const textOf_)(std::string_view);
};

Sheet::Sheet(const Bnode_bn& node, std::string (*textOf)(std::string_view)) : textOf_(textOf) {
    const Reln_bn& relation = node.relation;
    table = {relation.kind == RelnKindEN::real ? relation.reals : relation.probs, relation.exact};
    if (!table) params = relation.params;
    experience = Experience(relation);
    heads = statesOf(node);
    if (heads.empty()) heads.emplace_back(node.kind == UtilityNode ? "utility" : "value");
    values = heads.size();
    if (experience) heads.emplace_back("experience");
    params == nullptr ? labelRows(node) : labelParameters(node);
}

void Sheet::labelRows(const Bnode_bn& node) {
    rows = NumProduct(node.parents);
    long long each = rows;
    for (const Bnode_bn* parent : node.parents) {
        each /= std::max(parent->numStates(), 1);
        labels.push_back({textOf_(parent->name()), statesOf(*parent), each});
    }
}

/// A row for each parent's states but the neutral one, then the leak.
void Sheet::labelParameters(const Bnode_bn& node) {
    labels = {{"parent", {}}, {"state", {}}};
    const int* order = node.relation.order;
    const auto statesByStrength = [&](const Bnode_bn& of) {
        std::vector<std::string> states = statesOf(of);
        if (order == nullptr) return states;
        std::vector<std::string> ordered;
        for (std::size_t i = 0; i < states.size(); ++i)
            ordered.push_back(states[static_cast<std::size_t>(*order++)]);
        return ordered;
    };
    std::ranges::copy(statesByStrength(node), heads.begin());
    for (const Bnode_bn* parent : node.parents) {
        const std::vector<std::string> states = statesByStrength(*parent);
        for (std::size_t state = 1; state < states.size(); ++state) {
            labels[0].texts.push_back(textOf_(parent->name()));
            labels[1].texts.push_back(states[state]);
        }
    }
    labels[0].texts.emplace_back("(leak)");
    labels[1].texts.emplace_back();
    rows = std::ssize(labels[0].texts);
}

std::vector<std::string> Sheet::statesOf(const Bnode_bn& node) const {
    std::vector<std::string> states;
    for (int state = 0; state < node.numStates(); ++state)
        states.push_back(textOf_(StateLabel(node.variable, state)));
    return states;
}

// ---- Numbers -------------------------------------------------------------------------------

/// The digits of one row's numbers. exact: all; else of longer ones as many as a float has.
class Digits {
public:
    Digits(const Sheet& sheet, bool exact) : sheet_(sheet), exact_(exact) {}

    void choose(long long row) { row_ = static_cast<std::size_t>(row); }

    /// Valid until the next call.
    std::string_view of(std::size_t column) {
        char* end = text_;
        const auto at = static_cast<std::ptrdiff_t>(row_ * sheet_.values + column);
        if (column == sheet_.values)
            end = write(sheet_.experience[static_cast<std::ptrdiff_t>(row_)]);
        else
            end = write(sheet_.params != nullptr ? sheet_.params[at] : sheet_.table[at]);
        return {text_, static_cast<std::size_t>(end - text_)};
    }

private:
    static constexpr int significant = 7;
    static constexpr int longest = significant + 2;  // with "0."

    char* write(double value) {
        char* const end = WriteDigits(text_, value);
        if (exact_ || end - text_ <= longest) return end;
        const char* rounded = std::to_chars(text_, text_ + sizeof text_, value,
                                            std::chars_format::scientific, significant - 1)
                                  .ptr;
        double number = 0;
        ParseNumber(text_, rounded, number, rounded);
        return WriteDigits(text_, number);
    }

    const Sheet& sheet_;
    const bool exact_;
    std::size_t row_ = 0;
    char text_[MostDigits] = {};
};

// ---- For people ----------------------------------------------------------------------------

/// How wide a column of numbers is: their digits before the point, and the rest.
struct NumberWidth {
    std::size_t whole = 0, rest = 0, head = 0;
    std::size_t all() const { return std::max(whole + rest, head); }
};

void Pad(TextOut& out, std::size_t columns) {
    constexpr std::string_view blanks = "                                ";
    for (; columns > blanks.size(); columns -= blanks.size()) out << blanks;
    out << blanks.substr(0, columns);
}

/// The sheet on a page of so many columns, 0 for any number.
class Page {
public:
    Page(const Sheet& sheet, std::size_t columns)
        : sheet_(sheet), columns_(columns), digits_(sheet, false) {
        measureLabels();
        measureNumbers();
    }
    void write(TextOut& out);

private:
    void measureLabels();
    void measureNumbers();
    std::size_t endOfBlock(std::size_t first) const;
    void writeBlock(TextOut& out, std::size_t first, std::size_t last);
    void writeLabels(TextOut& out, long long row) const;
    void writeLabel(TextOut& out, const std::string& label, std::size_t column) const;

    const Sheet& sheet_;
    const std::size_t columns_;
    Digits digits_;
    std::vector<std::size_t> labelWidths_;
    std::vector<NumberWidth> widths_;
    std::vector<std::string> heads_;
    std::size_t left_ = 0;  ///< columns of all labels and what is between them
    bool cut_ = false;      ///< not all is shown
};

/// Labels that would take more than half of the page are cut.
void Page::measureLabels() {
    std::size_t all = 0;
    for (const LabelColumn& column : sheet_.labels) {
        std::size_t width = DisplayWidth(column.head);
        for (const std::string& text : column.texts) width = std::max(width, DisplayWidth(text));
        labelWidths_.push_back(width);
        all += width + betweenColumns.size();
    }
    const std::size_t room = columns_ / 2;
    if (columns_ > 0 && all > room) {
        const std::size_t share = room / labelWidths_.size();
        const std::size_t most =
            std::max(leastLabel, share - std::min(share, betweenColumns.size()));
        for (std::size_t& width : labelWidths_) {
            cut_ = cut_ || width > most;
            width = std::min(width, most);
        }
    }
    for (const std::size_t width : labelWidths_)
        left_ += width + (left_ == 0 ? 0 : betweenColumns.size());
    if (left_ > 0) left_ += divider.size();
}

void Page::measureNumbers() {
    for (const std::string& head : sheet_.heads) {
        heads_.push_back(columns_ == 0 ? head : CutEnd(head, widestHead));
        cut_ = cut_ || heads_.back().size() != head.size();
        widths_.push_back({0, 0, DisplayWidth(heads_.back())});
    }
    for (long long row = 0; row < sheet_.rows; ++row) {
        digits_.choose(row);
        for (std::size_t column = 0; column < widths_.size(); ++column) {
            const std::string_view text = digits_.of(column);
            const std::size_t whole = std::min(text.find('.'), text.size());
            NumberWidth& width = widths_[column];
            width.whole = std::max(width.whole, whole);
            width.rest = std::max(width.rest, text.size() - whole);
        }
    }
}

/// The columns from the first on that fit beside the labels, at least one.
std::size_t Page::endOfBlock(std::size_t first) const {
    std::size_t used = left_, last = first;
    while (last < widths_.size()) {
        used += widths_[last].all() + (last > first ? betweenColumns.size() : 0);
        if (columns_ > 0 && used > columns_ && last > first) break;
        ++last;
    }
    return last;
}

void Page::writeLabel(TextOut& out, const std::string& label, std::size_t column) const {
    const std::string text = CutEnd(label, labelWidths_[column]);
    if (column > 0) out << betweenColumns;
    out << text;
    Pad(out, labelWidths_[column] - DisplayWidth(text));
}

/// A label that holds for several rows stands in the first of them.
void Page::writeLabels(TextOut& out, long long row) const {
    static const std::string nothing;
    bool repeated = row > 0;
    for (std::size_t column = 0; column < sheet_.labels.size(); ++column) {
        const LabelColumn& labels = sheet_.labels[column];
        repeated =
            repeated && column + 1 < sheet_.labels.size() && labels.of(row) == labels.of(row - 1);
        writeLabel(out, repeated ? nothing : labels.of(row), column);
    }
    if (!sheet_.labels.empty()) out << divider;
}

void Page::writeBlock(TextOut& out, std::size_t first, std::size_t last) {
    for (std::size_t column = 0; column < sheet_.labels.size(); ++column)
        writeLabel(out, sheet_.labels[column].head, column);
    if (!sheet_.labels.empty()) out << divider;
    for (std::size_t column = first; column < last; ++column) {
        if (column > first) out << betweenColumns;
        Pad(out, widths_[column].all() - widths_[column].head);
        out << heads_[column];
    }
    out << "\n";
    for (long long row = 0; row < sheet_.rows; ++row) {
        writeLabels(out, row);
        digits_.choose(row);
        std::size_t owed = 0;  // blanks, unless the line ends
        for (std::size_t column = first; column < last; ++column) {
            const NumberWidth& width = widths_[column];
            const std::string_view text = digits_.of(column);
            const std::size_t whole = std::min(text.find('.'), text.size());
            if (column > first) owed += betweenColumns.size();
            Pad(out, owed + width.all() - width.rest - whole);
            out << text;
            owed = width.rest - (text.size() - whole);
        }
        out << "\n";
    }
}

void Page::write(TextOut& out) {
    std::size_t first = 0;
    for (std::size_t block = 0; first < widths_.size(); ++block) {
        if (block == mostBlocks) break;
        const std::size_t last = endOfBlock(first);
        if (block > 0) out << "\n";
        writeBlock(out, first, last);
        first = last;
    }
    if (const auto more = std::ssize(widths_) - static_cast<std::ptrdiff_t>(first); more > 0)
        out << "\nand " << Count(more, "state") << " more; --csv has them all\n";
    else if (cut_)
        out << "\nlong labels are cut; --csv has them whole\n";
}

/// Names in one line, only the first of many.
std::string NameList(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < std::min(names.size(), mostNamesListed); ++i)
        list += (i == 0 ? "" : ", ") + names[i];
    if (names.size() > mostNamesListed)
        list += " and " + std::to_string(names.size() - mostNamesListed) + " more";
    return list;
}

std::string Heading(const Bnode_bn& node, const Sheet& sheet) {
    std::string text = node.name();
    if (HasOwnTitle(node)) text += " (" + Visible(node.title) + ")";
    text += std::string(": ") + KindName(node.kind) +
            (node.variable.discrete || node.kind == UtilityNode ? "" : ", continuous");
    const RelnKindEN kind = node.relation.kind;
    if (kind == RelnKindEN::noisyMax || kind == RelnKindEN::deterministic)
        text += std::string(", ") + RelationName(kind);
    return text + (sheet.params == nullptr ? "" : ", its parameters") + "\n";
}

/// Why there is no table, and what there is of the node instead.
std::string WithoutTable(const Bnode_bn& node, const Sheet& sheet) {
    std::string text;
    if (node.numStates() > 0) text += "states: " + NameList(sheet.heads) + "\n";
    std::vector<std::string> parents;
    for (const Bnode_bn* parent : node.parents) parents.emplace_back(parent->name());
    if (!parents.empty()) text += "parents: " + NameList(parents) + "\n";
    const bool isContinuous = !node.variable.discrete && node.numStates() == 0;
    return text + (node.kind == DecisionNode ? "no table: it is a decision\n"
                   : isContinuous            ? "no table: its values are not states\n"
                                             : "no table\n");
}

void WritePage(const Bnode_bn& node, TextOut& out) {
    const Sheet sheet(node, Visible);
    out << Heading(node, sheet);
    if (!sheet.hasNumbers()) {
        out << WithoutTable(node, sheet);
        return;
    }
    out << "\n";
    Page(sheet, IsTerminal(system::StandardOutput) ? TerminalColumns(system::StandardOutput) : 0)
        .write(out);
}

// ---- For programs --------------------------------------------------------------------------

bool IsNumber(const std::string& text) {
    const char* const last = text.data() + text.size();
    const char* end = nullptr;
    double value = 0;
    return ParseNumber(text.data(), last, value, end) == NumberEN::ok && end == last;
}

/// A label that spreadsheets would compute is marked as text.
std::string AsText(const std::string& text) {
    const bool computed =
        !text.empty() && std::string_view("=+-@\t\r").find(text[0]) != std::string_view::npos;
    return computed && !IsNumber(text) ? "'" + text : text;
}

void WriteField(TextOut& out, const std::string& label) {
    const std::string text = AsText(label);
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        out << text;
        return;
    }
    out << '"';
    for (const char c : text) c == '"' ? out << "\"\"" : out << c;
    out << '"';
}

/// As RFC 4180 has it, with a header.
void WriteCsv(const Sheet& sheet, TextOut& out) {
    Digits digits(sheet, true);
    const char* comma = "";
    const auto field = [&](const std::string& text) {
        out << comma;
        WriteField(out, text);
        comma = ",";
    };
    for (const LabelColumn& column : sheet.labels) field(column.head);
    for (const std::string& head : sheet.heads) field(head);
    out << "\r\n";
    for (long long row = 0; sheet.hasNumbers() && row < sheet.rows; ++row) {
        comma = "";
        digits.choose(row);
        for (const LabelColumn& column : sheet.labels) field(column.of(row));
        for (std::size_t column = 0; column < sheet.heads.size(); ++column) {
            out << comma << digits.of(column);
            comma = ",";
        }
        out << "\r\n";
    }
}

/// One of several tables has its node's name above it.
void WriteCsvOf(const Bnode_bn& node, bool isNamed, TextOut& out) {
    if (isNamed) {
        WriteField(out, ToUtf8(node.name()));
        out << "\r\n";
    }
    WriteCsv(Sheet(node, ToUtf8), out);
}

// ---- Nodes ---------------------------------------------------------------------------------

using KnownBy = const char* (*)(const Bnode_bn& node);

constexpr KnownBy knownBy[] = {
    [](const Bnode_bn& node) { return node.name(); },
    [](const Bnode_bn& node) { return node.identity(); },
    [](const Bnode_bn& node) { return static_cast<const char*>(node.title); },
};

}  // namespace

const Bnode_bn* FindNode(const Bnet_bn& net, const std::string& text, std::string& mistake) {
    const std::string wanted = ToUtf8(text);
    std::vector<std::string> known, names;
    for (const KnownBy textOf : knownBy) {
        std::vector<const Bnode_bn*> found;
        for (const Bnode_bn* node : net.nodes) {
            const char* const its = textOf(*node);
            if (its == nullptr) continue;
            known.push_back(ToUtf8(its));
            if (known.back() == wanted) found.push_back(node);
        }
        if (found.size() == 1) return found.front();
        for (const Bnode_bn* node : found) names.emplace_back(node->name());
        if (names.empty()) continue;
        mistake = std::to_string(names.size()) + " nodes have the title '" + Visible(text) +
                  "'; name one of them: " + NameList(names);
        return nullptr;
    }
    for (const Bnode_bn* node : net.nodes) names.emplace_back(node->name());
    mistake = "there is no node '" + Visible(text) + "'" + DidYouMean(wanted, known) +
              "\nThe nodes: " + NameList(names);
    return nullptr;
}

std::string WriteTables(std::span<const Bnode_bn* const> nodes, const Options& options) {
    if (options.csv)
        for (const Bnode_bn* node : nodes)
            if (!Sheet(*node, ToUtf8).hasNumbers())
                std::cerr << std::string("lumo-import: node '") + node->name() + "' has no table\n";
    return WriteStandardOutput([&](std::ostream& stream) {
        TextOut out(stream);
        for (const Bnode_bn* node : nodes) {
            if (node != nodes.front()) out << (options.csv ? "\r\n" : "\n");
            options.csv ? WriteCsvOf(*node, nodes.size() > 1, out) : WritePage(*node, out);
        }
    });
}

}  // namespace lumo::app
