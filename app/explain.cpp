#include "app/explain.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "export/result.h"
#include "import/ForeignFile.h"
#include "import/detect.h"
#include "library/reports/catalogue.h"

namespace lumo::app {
namespace {

constexpr struct {
    char letter;  ///< in ReportInfo::formats
    int code;
} formatLetters[] = {{'h', FormatHugin},
                     {'d', FormatDsc},
                     {'x', FormatDXPress},
                     {'e', FormatErgo},
                     {'b', FormatXMLBIF}};

std::string FormatsOf(const ReportInfo& info) {
    std::string text;
    for (const auto& [letter, code] : formatLetters) {
        if (std::string_view(info.formats).find(letter) == std::string_view::npos) continue;
        text += (text.empty() ? "" : ", ") + std::string(FindFormat(code)->title);
    }
    return text.empty() ? "any format" : text;
}

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

}  // namespace

std::string Explain(const std::string& number) {
    int value = 0;
    const char* const last = number.data() + number.size();
    const auto [end, error] = std::from_chars(number.data(), last, value);
    const ReportInfo* const info =
        error == std::errc() && end == last ? FindReport(-std::abs(value)) : nullptr;
    if (info == nullptr) return {};
    return std::to_string(-std::abs(value)) + ": " + SeverityName(info->severity) + " (" +
           FormatsOf(*info) + ")\n" + Wrapped(MessageOf(*info)) + "\n" + Wrapped(info->cure) + "\n";
}

}  // namespace lumo::app
