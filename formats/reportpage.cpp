#include "formats/reportpage.h"

#include "formats/detect.h"
#include "formats/shared/start.h"

namespace lumo {

bool IsReportPage(std::string_view start) {
    constexpr std::string_view page = "<!doctype html";
    return Lower(start.substr(0, page.size())) == page &&
           start.substr(0, DetectionWindow).find(ReportPageMark) != start.npos;
}

std::optional<std::string_view> NetOfReportPage(std::string_view page) {
    std::size_t from = page.find(BeforeNetOfPage);
    if (from == page.npos) return {};
    from += BeforeNetOfPage.size();
    // The document has no tag's bracket: the writer escapes it.
    const std::string_view net = page.substr(from, page.find('<', from) - from);
    return net == "null" ? std::nullopt : std::optional(net);
}

}  // namespace lumo
