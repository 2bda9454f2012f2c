#include "library/reports/catalogue.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "library/reports/plural.h"

namespace lumo {

std::vector<const MessageRow*> FindReport(int number) {
    std::vector<const MessageRow*> rows;
    for (const MessageRow& row : ReportCatalogue())
        if (row.number == number) rows.push_back(&row);
    return rows;
}

std::string MessageOf(const MessageRow& row) {
    std::string text;
    if (row.kind == MessageKind::memoryError || row.kind == MessageKind::memoryFatal)
        text = "out of memory ";
    for (const char* p = row.text; *p != '\0'; ++p) {
        if (const NumberedWords words = NumberedWordsAt(p); words.length > 0) {
            text += words.many;
            p += words.length - 1;
        } else if (*p == '%') {
            p += std::strcspn(p, "sdgcf");  // what ends a conversion
            text += "...";
        } else if (std::strncmp(p, ">-", 2) == 0) {
            ++p;
        } else {
            text += *p;
        }
    }
    return text;
}

std::string MessagesOf(std::span<const MessageRow* const> rows) {
    std::vector<std::string> texts;
    for (const MessageRow* row : rows) {
        std::string text = MessageOf(*row);
        if (std::ranges::find(texts, text) == texts.end()) texts.push_back(std::move(text));
    }
    std::string all;
    for (const std::string& text : texts) all += (all.empty() ? "" : "; ") + text;
    return all;
}

std::vector<std::vector<const MessageRow*>> GroupedReports(unsigned format) {
    std::vector<std::vector<const MessageRow*>> groups;
    for (const MessageRow& row : ReportCatalogue()) {
        const bool wanted =
            (row.formats == OfAny) == (format == OfAny) && (row.formats & format) != 0;
        if (!wanted) continue;
        const auto together = [&row](const auto& group) {
            return group[0]->kind == row.kind && std::string_view(group[0]->cure) == row.cure;
        };
        const auto found = std::ranges::find_if(groups, together);
        if (found == groups.end())
            groups.push_back({&row});
        else
            found->push_back(&row);
    }
    return groups;
}

}  // namespace lumo
