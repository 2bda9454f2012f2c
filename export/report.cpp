#include "export/report.h"

#include <ostream>

#include "export/json.h"
#include "formats/reportpage.h"
#include "formats/shared/describe.h"
#include "library/utilities/Utils.h"
#include "library/utilities/text.h"

namespace lumo {

std::string FileTitle(const ImportResult& result) {
    return result.file.substr(result.file.find_last_of("/\\") + 1);
}

namespace {

/// What the net is called; its file where the title or name says nothing.
std::string ReportTitle(const ImportResult& result) {
    if (result.net == nullptr) return FileTitle(result);
    const char* const texts[] = {TitleOrName(*result.net), result.net->name};
    for (const char* text : texts)
        if (!streqli_kt(text, "unknown") && !streqli_kt(text, "untitled")) return text;
    return FileTitle(result);
}

}  // namespace

void WriteReport(const ImportResult& result, std::ostream& out) {
    out << TheReportPage.beforeTitle << XmlText(ReportTitle(result)) << TheReportPage.beforeData;
    JsonOut json(&out, true);
    WriteReportData(result, json);
    json.flush();
    out << BeforeNetOfPage;
    JsonOut net(&out, true);
    if (CarriesNet(result)) {
        net.open('{');
        WriteNetDocument(net, result);
        net.close('}');
    } else {
        net.null();
    }
    net.flush();
    out << TheReportPage.afterData;
}

}  // namespace lumo
