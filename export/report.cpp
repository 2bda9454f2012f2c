#include "export/report.h"

#include <ostream>

#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo {

std::string FileTitle(const ImportResult& result) {
    return result.file.substr(result.file.find_last_of("/\\") + 1);
}

void WriteReport(const ImportResult& result, std::ostream& out) {
    const std::string title = result.net == nullptr ? FileTitle(result) : TitleOrName(*result.net);
    out << TheReportPage.beforeTitle << XmlText(title) << TheReportPage.beforeData;
    JsonOut json(&out, true);
    WriteReportData(result, json);
    json.flush();
    out << TheReportPage.afterData;
}

}  // namespace lumo
