// Lines of cells below each other.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lumo::app {

/// What is between two cells of a line.
constexpr std::string_view betweenColumns = "  ";

/// The lines, the heads first. On a terminal of so many columns a line has room, as wide cells give
/// way; elsewhere (0) a long cell moves what follows in its line, and not all lines. Cells of
/// numbers end below each other.
std::string Aligned(const std::vector<std::vector<std::string>>& lines, std::size_t columns,
                    const std::vector<bool>& areNumbers = {});

}  // namespace lumo::app
