#include "app/nodes.h"

#include <algorithm>
#include <array>
#include <vector>

#include "app/convert.h"
#include "app/terminal.h"
#include "formats/shared/describe.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

using Line = std::array<std::string, 5>;
constexpr std::string_view between = "  ";
constexpr std::size_t widestInPipe = 40;
constexpr std::size_t leastWidth = 8;  ///< that a column keeps on a narrow terminal

std::string StatesOf(const Bnode_bn& node) {
    const bool isContinuous = node.kind != UtilityNode && !node.variable.discrete;
    if (node.numStates() == 0) return isContinuous ? "continuous" : "-";
    std::string text;
    for (int state = 0; state < node.numStates(); ++state)
        text += (state == 0 ? "" : ", ") + Visible(StateLabel(node.variable, state));
    return text;
}

std::string ParentsOf(const Bnode_bn& node) {
    std::string text;
    for (const Bnode_bn* parent : node.parents)
        text += (text.empty() ? "" : ", ") + std::string(parent->name());
    return text.empty() ? "-" : text;
}

/// How wide the columns are. On a terminal a line has room, as wide ones give way; elsewhere a long
/// cell moves what follows in its line, and not all lines.
std::array<std::size_t, std::tuple_size_v<Line>> Widths(const std::vector<Line>& lines,
                                                        std::size_t columns) {
    std::array<std::size_t, std::tuple_size_v<Line>> widths{};
    const std::size_t most = columns > 0 ? columns : widestInPipe;
    for (const Line& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], std::min(DisplayWidth(line[i]), most));
    std::size_t all = (widths.size() - 1) * between.size();
    for (const std::size_t width : widths) all += width;
    while (columns > 0 && all > columns) {
        std::size_t& widest = *std::ranges::max_element(widths);
        if (widest <= leastWidth) break;
        --widest, --all;
    }
    return widths;
}

/// The lines, the heads first, with their cells below each other.
std::string Aligned(const std::vector<Line>& lines, std::size_t columns) {
    const auto widths = Widths(lines, columns);
    std::string text;
    for (const Line& line : lines) {
        std::string row;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string cell = columns > 0 ? CutEnd(line[i], widths[i]) : line[i];
            const std::size_t width = DisplayWidth(cell);
            row.append(cell).append(widths[i] - std::min(width, widths[i]), ' ').append(between);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        text += row + "\n";
    }
    return text;
}

}  // namespace

std::string WriteNodes(const Bnet_bn& net) {
    std::vector<Line> lines = {{"node", "kind", "states", "parents", ""}};
    for (const Bnode_bn* node : net.nodes) {
        lines.push_back({node->name(), KindName(node->kind), StatesOf(*node), ParentsOf(*node),
                         HasOwnTitle(*node) ? Visible(node->title) : ""});
        if (!lines.back()[4].empty()) lines.front()[4] = "title";
    }
    return WriteStandardOutput(Aligned(
        lines, IsTerminal(system::StandardOutput) ? TerminalColumns(system::StandardOutput) : 0));
}

}  // namespace lumo::app
