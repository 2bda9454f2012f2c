// The program's own report pages, which carry the net that they show.
#pragma once

#include <optional>
#include <string_view>

#include "library/utilities/language.h"

namespace LUMO_API lumo {

/// What a page says of itself in its head, and what is around the net in it, a JSON document.
inline constexpr std::string_view ReportPageMark = "content=\"lumo-import, report of a net\"";
inline constexpr std::string_view BeforeNetOfPage =
    "</script>\n<script type=\"application/json\" id=\"net\">";

/// Whether a text that begins so is such a page.
bool IsReportPage(std::string_view start);

/// The net's document; none when the page carries none, as it showed no net or a very large one.
std::optional<std::string_view> NetOfReportPage(std::string_view page);

}  // namespace lumo
