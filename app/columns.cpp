#include "app/columns.h"

#include <algorithm>

#include "app/terminal.h"

namespace lumo::app {
namespace {

using Line = std::vector<std::string>;
constexpr std::size_t widestInPipe = 40;
constexpr std::size_t leastWidth = 8;  ///< that a column keeps on a narrow terminal

std::vector<std::size_t> Widths(const std::vector<Line>& lines, std::size_t columns) {
    std::vector<std::size_t> widths(lines.front().size());
    const std::size_t most = columns > 0 ? columns : widestInPipe;
    for (const Line& line : lines)
        for (std::size_t i = 0; i < line.size(); ++i)
            widths[i] = std::max(widths[i], std::min(DisplayWidth(line[i]), most));
    std::size_t all = (widths.size() - 1) * betweenColumns.size();
    for (const std::size_t width : widths) all += width;
    while (columns > 0 && all > columns) {
        std::size_t& widest = *std::ranges::max_element(widths);
        if (widest <= leastWidth) break;
        --widest, --all;
    }
    return widths;
}

}  // namespace

std::string Aligned(const std::vector<Line>& lines, std::size_t columns,
                    const std::vector<bool>& areNumbers) {
    const std::vector<std::size_t> widths = Widths(lines, columns);
    std::string text;
    for (const Line& line : lines) {
        std::string row;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const std::string cell = columns > 0 ? CutEnd(line[i], widths[i]) : line[i];
            const std::size_t room = widths[i] - std::min(DisplayWidth(cell), widths[i]);
            const bool isNumber = i < areNumbers.size() && areNumbers[i];
            row.append(isNumber ? room : 0, ' ').append(cell).append(isNumber ? 0 : room, ' ');
            row.append(betweenColumns);
        }
        row.erase(row.find_last_not_of(' ') + 1);
        text += row + "\n";
    }
    return text;
}

}  // namespace lumo::app
