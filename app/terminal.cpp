#include "app/terminal.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "library/utilities/Utils.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::string_view ellipsis = "…";
constexpr std::size_t longestBar = 30;
constexpr std::size_t shortestBar = 10;

bool IsAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<signed char>(c) >= 0; });
}

/// Columns and bytes of the character at the start of the text.
std::pair<std::size_t, std::size_t> CharacterSize(std::string_view utf8) {
    const auto [code, length] = CodePoint(utf8);
    const int width = length == 1 ? 1 : system::ColumnsOf(static_cast<char32_t>(code));
    return {static_cast<std::size_t>(width), length};
}

/// Bytes of the longest start of the text that takes no more than the columns.
std::size_t StartWithin(std::string_view text, std::size_t columns) {
    std::size_t at = 0;
    for (std::size_t used = 0; at < text.size();) {
        const auto [width, length] = CharacterSize(text.substr(at));
        used += width;
        if (used > columns) break;
        at += length;
    }
    return at;
}

}  // namespace

bool IsTerminal(int descriptor) { return system::IsTerminal(descriptor); }

std::size_t TerminalColumns(int descriptor) {
    if (const std::size_t known = system::TerminalColumns(descriptor); known > 0) return known;
    const char* const said = std::getenv("COLUMNS");
    const std::string_view digits = said == nullptr ? "" : said;
    unsigned short columns = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), columns);
    return columns > 0 ? columns : 80;
}

std::size_t DisplayWidth(std::string_view utf8) {
    if (IsAscii(utf8)) return utf8.size();
    std::size_t width = 0;
    while (!utf8.empty()) {
        const auto [columns, length] = CharacterSize(utf8);
        width += columns;
        utf8.remove_prefix(length);
    }
    return width;
}

std::string CutEnd(const std::string& utf8, std::size_t columns) {
    if (DisplayWidth(utf8) <= columns) return utf8;
    if (columns == 0) return {};
    return utf8.substr(0, StartWithin(utf8, columns - 1)).append(ellipsis);
}

std::string CutMiddle(const std::string& utf8, std::size_t columns) {
    const std::size_t width = DisplayWidth(utf8);
    if (width <= columns) return utf8;
    if (columns == 0) return {};
    const std::size_t end = (columns - 1) / 2;
    // What is left out takes at least the columns that are too many, wide characters whole.
    std::size_t from = StartWithin(utf8, width - end);
    if (DisplayWidth(std::string_view(utf8).substr(from)) > end)
        from += CharacterSize(std::string_view(utf8).substr(from)).second;
    return utf8.substr(0, StartWithin(utf8, columns - 1 - end)) + std::string(ellipsis) +
           utf8.substr(from);
}

std::string ProgressText(const std::string& what, double part, std::size_t columns) {
    const double done = std::clamp(part, 0.0, 1.0);
    const std::string percent = Format("%3d%%", static_cast<int>(done * 100));
    const std::size_t size = std::clamp(columns / 3, shortestBar, longestBar);
    if (columns < size + 8) return CutEnd(percent, columns);  // no room for a bar
    std::string bar(size, '.');
    std::fill_n(bar.begin(), static_cast<std::size_t>(done * static_cast<double>(size)), '#');
    const std::string line = "[" + bar + "] " + percent + " ";
    return line + CutMiddle(what, columns - line.size());
}

}  // namespace lumo::app
