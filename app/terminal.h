// The terminal: how wide it is, and how much of it a text takes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace lumo::app {

/// What ends a color or bold letters.
constexpr const char* endOfColor = "\x1b[0m";

/// Whether a person is looking at that descriptor.
bool IsTerminal(int descriptor);

/// The columns of that terminal as it is now; when it does not say, those of the variable COLUMNS,
/// else 80.
std::size_t TerminalColumns(int descriptor);

/// Columns that UTF-8 text takes: two for a wide character, none for a combining one.
std::size_t DisplayWidth(std::string_view utf8);

/// The text, or as much of its start, or of its start and its end, as with "…" takes no more than
/// that many columns.
std::string CutEnd(const std::string& utf8, std::size_t columns);
std::string CutMiddle(const std::string& utf8, std::size_t columns);

/// A line that says how far the work is, no longer than that many columns; part is from 0 to 1.
std::string ProgressText(const std::string& what, double part, std::size_t columns);

}  // namespace lumo::app
