// All reports: the rows of every format, then what formats share.
#include "formats/catalogue.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "formats/formats.h"
#include "formats/shared/messages.h"
#include "library/reports/plural.h"

namespace lumo {
namespace {

std::vector<MessageRow> AllRows() {
    std::vector<MessageRow> all;
    const auto add = [&all](std::span<const MessageRow> rows, const char* users) {
        for (MessageRow row : rows) {
            if (*row.users == '\0') row.users = users;
            all.push_back(row);
        }
    };
    for (const FormatInfo& format : Formats()) add(format.messages(), format.name);
    add(RowsIn<msg::text>(), "");
    add(RowsIn<msg::model>(), "");
    add(RowsIn<msg::import>(), "");
    add(RowsIn<msg::reports>(), "");
    return all;
}

bool IsOfAll(const MessageRow* row) { return *row->users == '\0'; }

}  // namespace

std::span<const MessageRow> ReportCatalogue() {
    static const std::vector<MessageRow> rows = AllRows();
    return rows;
}

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
            if (!text.ends_with("...")) text += "...";
            if (p[1] >= 'a' && p[1] <= 'z') text += ' ';  // which comes with what stands before
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

bool IsOf(const MessageRow& row, const FormatInfo& format) {
    return std::string_view(row.users) == format.name || HasWord(format.services, row.users);
}

std::string FormatTitles(std::span<const MessageRow* const> rows) {
    if (std::ranges::any_of(rows, IsOfAll)) return "any format";
    std::string titles;
    for (const FormatInfo& format : Formats())
        if (std::ranges::any_of(rows, [&](const MessageRow* row) { return IsOf(*row, format); }))
            titles += (titles.empty() ? "" : ", ") + std::string(format.title);
    return titles;
}

std::vector<std::vector<const MessageRow*>> GroupedReports(const FormatInfo* format) {
    std::vector<std::vector<const MessageRow*>> groups;
    for (const MessageRow& row : ReportCatalogue()) {
        if (format == nullptr ? !IsOfAll(&row) : !IsOf(row, *format)) continue;
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
