#include <algorithm>
#include <cmath>
#include <ostream>
#include <utility>

#include "export/diff.h"
#include "export/report.h"
#include "export/svg.h"
#include "formats/detect.h"
#include "formats/shared/describe.h"
#include "formats/shared/digits.h"
#include "formats/shared/textout.h"
#include "library/utilities/Utils.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

constexpr std::size_t mostRows = 100;    // of one table
constexpr std::size_t mostColumns = 30;  // states of it
constexpr std::size_t mostAllRows = 20'000;

class PageWriter {
public:
    PageWriter(const NetDiff& diff, std::ostream& out) : diff_(diff), stream_(out), out_(out) {}

    void write() {
        out_ << "<h1>" << XmlText(FileTitle(diff_.before)) << " and "
             << XmlText(FileTitle(diff_.after)) << "</h1>\n<p>" << XmlText(DiffSummary(diff_))
             << "</p>\n";
        if (!diff_.found.isSame())
            out_ << "<p class=\"key\"><span class=\"changed\">differs</span><span "
                    "class=\"removed\">only in the first</span><span class=\"added\">only in the "
                    "second</span></p>\n";
        out_ << "<div class=\"nets\">\n";
        writePicture(diff_.before, &NodeDifference::before, "removed", "before-");
        writePicture(diff_.after, &NodeDifference::after, "added", "after-");
        out_ << "</div>\n";
        for (const NodeDifference& node : diff_.found.nodes) writeNode(node);
        if (diff_.found.net.empty()) return;
        out_ << "<h2>Net</h2>\n<dl>\n";
        for (const Difference& difference : diff_.found.net) writeTexts(difference);
        out_ << "</dl>\n";
    }

private:
    void writePicture(const ImportResult& result, const Bnode_bn* NodeDifference::*side,
                      const char* only, const char* prefix) {
        NodeMarks marks;
        for (const NodeDifference& node : diff_.found.nodes)
            if (node.*side != nullptr)
                marks.emplace(node.*side,
                              node.before != nullptr && node.after != nullptr ? "changed" : only);
        const FormatInfo* const format = FindFormat(result.formatCode);
        out_ << "<figure><figcaption><b>" << XmlText(FileTitle(result)) << "</b> "
             << (format == nullptr ? "" : format->title) << ", " << Count(result.net->nodes.N)
             << "</figcaption>\n";
        out_.flush();
        WriteInlineSvg(*result.net, marks, prefix, stream_);
        out_ << "</figure>\n";
    }

    static std::string Count(int nodes) {
        return std::to_string(nodes) + (nodes == 1 ? " node" : " nodes");
    }

    // ---- Nodes

    void writeNode(const NodeDifference& node) {
        const Bnode_bn& first = node.before != nullptr ? *node.before : *node.after;
        out_ << "<h2 id=\"" << XmlText(first.name()) << "\">" << XmlText(first.name());
        if (node.before == nullptr) out_ << ", only in the second";
        if (node.after == nullptr) out_ << ", only in the first";
        out_ << "</h2>\n";
        if (node.before == nullptr || node.after == nullptr) {
            out_ << "<p>" << XmlText(OneLine(NodeSummary(first))) << "</p>\n";
            return;
        }
        for (const std::string& note : node.notes)
            out_ << "<p class=\"note\">" << XmlText(note) << "</p>\n";
        out_ << "<dl>\n";
        for (const Difference& difference : node.differences)
            if (!difference.numbers) writeTexts(difference);
        out_ << "</dl>\n";
        for (const Difference& difference : node.differences)
            if (difference.numbers) writeNumbers(node, difference);
    }

    void writeTexts(const Difference& difference) {
        out_ << "<dt>" << AspectWords(difference.aspect);
        if (!difference.of.empty()) out_ << ' ' << XmlText(difference.of);
        out_ << "</dt>\n";
        if (difference.before)
            out_ << "<dd class=\"before\">" << XmlText(*difference.before) << "</dd>\n";
        if (difference.after)
            out_ << "<dd class=\"after\">" << XmlText(*difference.after) << "</dd>\n";
    }

    // ---- Numbers

    void writeNumbers(const NodeDifference& node, const Difference& difference) {
        const NumbersDifference& numbers = *difference.numbers;
        out_ << "<h3>" << AspectWords(difference.aspect) << ": "
             << std::to_string(numbers.different) << " of " << std::to_string(numbers.all)
             << " numbers differ, by up to " << Format("%.3g", numbers.largest) << "</h3>\n";
        const std::size_t rows = std::min({numbers.rows.size(), mostRows, rowsLeft_});
        const std::size_t columns = std::min(numbers.columns.size(), mostColumns);
        rowsLeft_ -= rows;
        if (rows > 0 && !RowOf(*node.before, difference.aspect, 0).empty() &&
            !RowOf(*node.after, difference.aspect, 0).empty())
            writeTable(node, difference, rows, columns);
        writeMore(numbers.rows.size() - rows, "rows that differ");
        writeMore(numbers.columns.size() - columns, "states");
    }

    void writeMore(std::size_t count, const char* what) {
        if (count > 0)
            out_ << "<p class=\"note\">and " << std::to_string(count) << " more " << what
                 << "</p>\n";
    }

    void writeTable(const NodeDifference& node, const Difference& difference, std::size_t rows,
                    std::size_t columns) {
        out_ << "<div class=\"scroll\"><table>\n<thead><tr><th></th>";
        for (const char* part : {"first", "second", "difference"})
            out_ << "<th colspan=\"" << std::to_string(columns) << "\">" << part << "</th>";
        out_ << "</tr>\n<tr><th></th>";
        for (int part = 0; part < 3; ++part)
            for (std::size_t i = 0; i < columns; ++i)
                out_ << "<th>" << XmlText(headOf(*node.before, difference.aspect, i)) << "</th>";
        out_ << "</tr></thead>\n<tbody>\n";
        for (std::size_t i = 0; i < rows; ++i)
            writeRow(node, difference, difference.numbers->rows[i], columns);
        out_ << "</tbody></table></div>\n";
    }

    static std::string headOf(const Bnode_bn& node, AspectEN aspect, std::size_t state) {
        if (aspect == AspectEN::experience) return "experience";
        if (node.numStates() == 0) return "value";
        return ToUtf8(StateLabel(node.variable, static_cast<int>(state)));
    }

    void writeRow(const NodeDifference& node, const Difference& difference,
                  const RowDifference& row, std::size_t columns) {
        const std::vector<double> before = RowOf(*node.before, difference.aspect, row.before);
        const std::vector<double> other = RowOf(*node.after, difference.aspect, row.after);
        std::vector<double> after;
        for (const int column : difference.numbers->columns)
            after.push_back(other[static_cast<std::size_t>(column)]);
        const std::string label = difference.aspect == AspectEN::parameters
                                      ? "distribution " + std::to_string(row.before + 1)
                                      : RowLabel(*node.before, row.before);
        out_ << "<tr><th>" << XmlText(label) << "</th>";
        double most = 1;
        for (std::size_t i = 0; i < columns; ++i)
            most = std::max({most, std::fabs(before[i]), std::fabs(after[i])});
        const auto heat = [most](double value) {
            return "h" + std::to_string(std::lround(10 * std::fabs(value) / most));
        };
        for (const std::vector<double>* side : {&before, &std::as_const(after)})
            for (std::size_t i = 0; i < columns; ++i)
                writeCell(heat((*side)[i]) + (before[i] != after[i] ? " other" : ""), (*side)[i]);
        for (std::size_t i = 0; i < columns; ++i) {
            const double change = after[i] - before[i];
            const long level = std::min(4L, 1 + std::lround(6 * std::fabs(change) / most));
            writeCell(change == 0 ? "" : (change > 0 ? "u" : "d") + std::to_string(level), change,
                      3);
        }
        out_ << "</tr>\n";
    }

    void writeCell(const std::string& classes, double value, int digits = 0) {
        char text[MostDigits];
        const std::string number = digits > 0 ? Format("%+.*g", digits, value)
                                              : std::string(text, WriteDigits(text, value));
        out_ << "<td class=\"" << classes << "\">" << number << "</td>";
    }

    const NetDiff& diff_;
    std::ostream& stream_;
    TextOut out_;  // to it
    std::size_t rowsLeft_ = mostAllRows;
};

}  // namespace

void WriteDiffPage(const NetDiff& diff, std::ostream& out) {
    const std::string title = FileTitle(diff.before) + " and " + FileTitle(diff.after);
    out << TheDiffPage.beforeTitle << XmlText(title) << TheDiffPage.beforeData;
    PageWriter(diff, out).write();
    out << TheDiffPage.afterData;
}

}  // namespace lumo
