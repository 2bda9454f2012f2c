#include "formats/ending.h"

#include <string>

#include "formats/shared/messages.h"
#include "library/reports/context.h"

namespace lumo {
namespace {

/// Gives a report the place of another.
class SamePlace final : public PlaceSource {
public:
    explicit SamePlace(const rept_kt& other) : other_(other) {}
    void describePlace(rept_kt& report) const override {
        report.file = other_.file;
        report.line = other_.line;
        report.column = other_.column;
        report.offset = other_.offset;
    }

private:
    const rept_kt& other_;
};

/// Whether the report says that something is missing at the end. Other reports that are made there
/// may be of what a reader tried, before it went back to a better place.
bool IsOfEnd(const rept_kt& report) {
    return report.number == msg::text.unexpectedEnd.number ||
           std::string_view(report.message) == "missing '}' at end";
}

/// What was being read, unless that is the file as a whole.
std::string BlockOf(const rept_kt& report) {
    if (report.structKind.empty() || report.structKind.ends_with("file")) return {};
    std::string block = report.structKind;
    if (const std::size_t marker = block.find(">-"); marker != block.npos) block.erase(marker, 2);
    return report.structName.empty() ? block : block + " '" + report.structName + "'";
}

}  // namespace

void TellEnd(std::string_view text) {
    const auto end = static_cast<long long>(text.find_last_not_of(" \t\r\n") + 1);
    const rept_kt* ending = nullptr;
    for (const rept_kt* report : ReportsOfScope()) {
        if (report->offset < end || BlockOf(*report).empty()) continue;
        if (std::string_view(report->message).starts_with("the file ends")) return;  // is said
        if (ending == nullptr && IsOfEnd(*report)) ending = report;
    }
    if (ending == nullptr) return;
    const SamePlace place(*ending);
    NewReport(msg::import.endsInside, BlockOf(*ending).c_str());
}

}  // namespace lumo
