#include "export/report.h"

#include <ostream>

#include "export/describe.h"
#include "export/text.h"

namespace lumo {

void WriteReport(const ImportResult& result, std::ostream& out) {
    const std::string title = result.net == nullptr ? result.file : TitleOrName(*result.net);
    out << TheReportPage.beforeTitle << XmlText(title) << TheReportPage.beforeData;
    JsonOut json(&out, true);
    WriteReportData(result, json);
    json.flush();
    out << TheReportPage.afterData;
}

}  // namespace lumo
