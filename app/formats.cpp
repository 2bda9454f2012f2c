#include "app/formats.h"

#include <algorithm>
#include <vector>

#include "export/writers.h"
#include "formats/formats.h"
#include "library/utilities/Utils.h"

namespace lumo::app {
namespace {

struct FormatRow {
    std::string name, title, extensions;
    bool isRead, isWritten;
};

std::vector<FormatRow> FormatRows() {
    std::vector<FormatRow> rows;
    for (const FormatInfo& format : Formats()) {
        rows.push_back({format.name, format.title, std::string(format.extensions), true, false});
    }
    for (const Writer& writer : Writers()) {
        const auto row = std::ranges::find(rows, writer.name, &FormatRow::name);
        if (row == rows.end()) {
            rows.push_back({writer.name, writer.title, std::string(writer.extension), false, true});
        } else {
            row->isWritten = true;
        }
    }
    return rows;
}

}  // namespace

std::string FormatTable() {
    constexpr const char* line = "%-9s %-9s %-5s %-6s %s\n";
    std::string table = Format(line, "name", "format", "read", "write", "extensions");
    for (const FormatRow& row : FormatRows()) {
        table += Format(line, row.name.c_str(), row.title.c_str(), row.isRead ? "yes" : "-",
                        row.isWritten ? "yes" : "-", row.extensions.c_str());
    }
    return table;
}

}  // namespace lumo::app
