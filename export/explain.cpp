#include "export/explain.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include "formats/catalogue.h"
#include "formats/shared/result.h"
#include "library/utilities/text.h"

namespace lumo {
namespace {

/// Lines of at most 78 characters, indented.
std::string Wrapped(std::string_view text) {
    constexpr std::size_t width = 76;
    std::string lines;
    while (!text.empty()) {
        std::size_t end = text.size() <= width ? text.size() : text.rfind(' ', width);
        if (end == std::string_view::npos) end = std::min(text.find(' '), text.size());
        lines += "  " + std::string(text.substr(0, end)) + "\n";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

/// The smallest text that provokes the report, as it stands.
std::string ExampleOf(const MessageRow& row) {
    std::string text = "  Example, reported";
    const Example& example = row.example;
    if (example.line != 0)
        text += " at line " + std::to_string(example.line) + ", column " +
                std::to_string(example.column);
    if (example.reading == ReadingEN::leniently) text += " in lenient reading";
    text += ":\n\n    ";
    for (const char c : ToUtf8(example.text)) text += c == '\n' ? "\n    " : std::string(1, c);
    return text + "\n";
}

}  // namespace

int ReportNumber(std::string_view text) {
    if (text.starts_with('[') && text.ends_with(']')) text = text.substr(1, text.size() - 2);
    if (text.starts_with('E') || text.starts_with('e')) text.remove_prefix(1);
    if (text.starts_with('-')) text.remove_prefix(1);
    int number = 0;
    const char* const last = text.data() + text.size();
    const auto [end, failure] = std::from_chars(text.data(), last, number);
    if (failure != std::errc() || end != last || number <= 0) return 0;
    return FindReport(-number).empty() ? 0 : -number;
}

std::string Explain(int number) {
    if (number > 0) number = -number;
    const std::vector<const MessageRow*> rows = FindReport(number);
    if (rows.empty()) return {};
    std::string text = std::to_string(number) + ": " + SeverityName(SeverityOf(rows[0]->kind)) +
                       " (" + FormatTitles(rows) + ")\n" + Wrapped(MessagesOf(rows)) + "\n" +
                       Wrapped(rows[0]->cure);
    if (rows[0]->example.text != nullptr) text += "\n" + ExampleOf(*rows[0]);
    return text + "\n";
}

}  // namespace lumo
