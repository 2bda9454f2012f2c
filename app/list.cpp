#include "app/list.h"

#include <algorithm>
#include <iostream>
#include <map>

#include "app/batch.h"
#include "app/columns.h"
#include "app/console.h"
#include "app/convert.h"
#include "app/fields.h"
#include "app/read.h"
#include "app/suggest.h"
#include "app/terminal.h"
#include "export/jsonout.h"
#include "export/survey.h"
#include "library/utilities/numbers.h"
#include "library/utilities/system.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

/// A line of the list: a value for each column, and last the file that has the same net.
using ListRow = std::vector<SurveyValue>;

std::size_t ColumnOf(std::string_view name) {
    const auto columns = SurveyColumns();
    const auto found = std::ranges::find_if(
        columns, [name](const SurveyColumn& column) { return column.name == name; });
    return static_cast<std::size_t>(found - columns.begin());
}

std::string NoColumn(const std::string& name) {
    std::vector<std::string> names;
    std::string list;
    for (const SurveyColumn& column : SurveyColumns()) {
        list += (names.empty() ? "" : ", ") + std::string(column.name);
        names.emplace_back(column.name);
    }
    return "there is no column '" + name + "' among " + list + DidYouMean(name, names);
}

std::string TextOf(const SurveyValue& value, const char* unknown) {
    if (const auto* number = std::get_if<long long>(&value)) return std::to_string(*number);
    const auto* text = std::get_if<std::string>(&value);
    return text == nullptr ? unknown : *text;
}

// ---- Conditions and order ------------------------------------------------------------------

template <class T>
bool Holds(const T& a, std::string_view order, const T& b) {
    const bool isLess = a < b, isMore = b < a;
    if (order == "=" || order == "==") return !isLess && !isMore;
    if (order == "!=") return isLess || isMore;
    if (order == "<") return isLess;
    if (order == "<=") return !isMore;
    return order == ">" ? isMore : !isLess;
}

bool Meets(const ListRow& row, const ListCondition& condition) {
    const SurveyValue& value = row[condition.column];
    if (const auto* text = std::get_if<std::string>(&value))
        return Holds(*text, condition.order, condition.value);
    const auto* number = std::get_if<long long>(&value);
    double wanted = 0;
    const char* end = nullptr;
    const char* const first = condition.value.data();
    ParseNumber(first, first + condition.value.size(), wanted, end);
    return number != nullptr && Holds(static_cast<double>(*number), condition.order, wanted);
}

void Sort(std::vector<ListRow>& rows, const std::string& by) {
    if (by.empty()) return;
    const bool isDown = by.front() == '-';
    const std::size_t column = ColumnOf(std::string_view(by).substr(isDown ? 1 : 0));
    std::ranges::stable_sort(rows, [&](const ListRow& a, const ListRow& b) {
        return isDown ? b[column] < a[column] : a[column] < b[column];
    });
}

// ---- Reading -------------------------------------------------------------------------------

/// What is told of the file: a letter and the text of each value, the content last.
int Survey(const InputFile& file, const Options& options, Console& console, std::string& told) try {
    const ImportResult result = ReadOne(file.path, options, console);
    if (options.walked && IsNoNet(result)) return ExitNoNet;
    const NetSurvey survey(result);
    for (const SurveyColumn& column : SurveyColumns()) {
        const SurveyValue value = column.of(survey);
        constexpr std::string_view kinds[] = {"-", "n", "t"};
        Put(told, std::string(kinds[value.index()]) + TextOf(value, ""));
    }
    Put(told, survey.nodes > 0 ? survey.content : std::string());
    return survey.hasNet ? ExitRead : ExitNothing;
} catch (const std::exception& error) {
    console.finish();
    std::cerr << "lumo-import: " + Visible(file.path) + ": " + error.what() + "\n";
    return ExitNothing;
}

/// The rows, as the files come.
class List {
public:
    void add(const InputFile& file, const std::string& told) {
        ListRow& row = rows_.emplace_back();
        Fields fields(told);
        for (std::size_t i = 0; i < SurveyColumns().size(); ++i) row.push_back(valueOf(fields));
        if (told.empty()) {  // reading it broke down
            row[ColumnOf("file")] = file.path;
            row[ColumnOf("status")] = "failed";
        }
        std::string content;
        fields.get(content);
        const auto [known, isNew] = first_.try_emplace(content, TextOf(row[ColumnOf("file")], ""));
        row.push_back(isNew || content.empty() ? SurveyValue() : SurveyValue(known->second));
    }
    std::vector<ListRow> take() { return std::move(rows_); }

private:
    static SurveyValue valueOf(Fields& fields) {
        std::string field;
        fields.get(field);
        if (field.starts_with('n')) return std::stoll(field.substr(1));
        return field.starts_with('t') ? SurveyValue(field.substr(1)) : SurveyValue();
    }

    std::vector<ListRow> rows_;
    std::map<std::string, std::string> first_;  // file of each content
};

// ---- Writing -------------------------------------------------------------------------------

std::vector<std::string> Heads() {
    std::vector<std::string> heads;
    for (const SurveyColumn& column : SurveyColumns()) heads.emplace_back(column.name);
    heads.emplace_back("same");
    return heads;
}

/// For people the content is only seen in what is the same.
std::string AsText(const std::vector<ListRow>& rows) {
    const std::size_t content = ColumnOf("content");
    std::vector<std::vector<std::string>> lines = {Heads()};
    for (const ListRow& row : rows) {
        auto& line = lines.emplace_back();
        for (const SurveyValue& value : row) line.push_back(Visible(TextOf(value, "-")));
        if (line.back() == "-") line.back().clear();
    }
    const bool anySame =
        std::ranges::any_of(rows, [](const ListRow& row) { return row.back().index() > 0; });
    std::vector<bool> areNumbers;
    for (std::size_t i = 0; i < lines[0].size(); ++i)
        areNumbers.push_back(std::ranges::any_of(
            rows, [i](const ListRow& row) { return std::holds_alternative<long long>(row[i]); }));
    for (auto& line : lines) {
        if (!anySame) line.pop_back();
        line.erase(line.begin() + static_cast<std::ptrdiff_t>(content));
    }
    areNumbers.erase(areNumbers.begin() + static_cast<std::ptrdiff_t>(content));
    const bool isSeen = IsTerminal(system::StandardOutput);
    return Aligned(lines, isSeen ? TerminalColumns(system::StandardOutput) : 0, areNumbers);
}

std::string CsvField(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
    std::string quoted = "\"";
    for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
    return quoted + '"';
}

std::string AsCsv(const std::vector<ListRow>& rows) {
    std::string text;
    const auto line = [&text](const auto& cells, auto textOf) {
        for (std::size_t i = 0; i < cells.size(); ++i)
            text += (i == 0 ? "" : ",") + CsvField(ToUtf8(textOf(cells[i])));
        text += "\r\n";
    };
    line(Heads(), [](const std::string& head) { return head; });
    for (const ListRow& row : rows)
        line(row, [](const SurveyValue& value) { return TextOf(value, ""); });
    return text;
}

std::string AsJson(const std::vector<ListRow>& rows) {
    std::string text;
    const std::vector<std::string> heads = Heads();
    for (const ListRow& row : rows) {
        JsonOut json;
        json.open('{');
        json.key("schema").text("lumo-import-list/1");
        for (std::size_t i = 0; i < heads.size(); ++i) {
            json.key(heads[i]);
            if (const auto* number = std::get_if<long long>(&row[i]))
                json.number(*number);
            else if (const auto* word = std::get_if<std::string>(&row[i]))
                json.text(*word);
            else
                json.null();
        }
        json.close('}');
        text += json.take() + "\n";
    }
    return text;
}

}  // namespace

std::string ParseCondition(const std::string& text, ListCondition& condition) {
    constexpr std::string_view orders = "<>=!";
    const std::size_t from = text.find_first_of(orders);
    if (from == std::string::npos) return "'" + text + "' is no condition, such as nodes > 100";
    const std::size_t to = std::min(text.find_first_not_of(orders, from), text.size());
    const auto trimmed = [](std::string part) {
        part.erase(0, part.find_first_not_of(' '));
        part.erase(part.find_last_not_of(' ') + 1);
        return part;
    };
    const std::string name = trimmed(text.substr(0, from));
    condition = {ColumnOf(name), text.substr(from, to - from), trimmed(text.substr(to))};
    if (condition.column == SurveyColumns().size()) return NoColumn(name);
    constexpr std::string_view known[] = {"<", "<=", "=", "==", "!=", ">=", ">"};
    if (std::ranges::find(known, condition.order) == std::end(known))
        return "'" + condition.order + "' is none of <, <=, =, !=, >=, >";
    return condition.value.empty() ? "'" + text + "' has nothing to compare with" : std::string();
}

std::string CheckSorting(const std::string& text) {
    const std::string name = text.starts_with('-') ? text.substr(1) : text;
    return ColumnOf(name) == SurveyColumns().size() ? NoColumn(name) : std::string();
}

int RunList(const Options& options) {
    List list;
    const Totals totals = RunBatch(
        options, Survey, [&list](const InputFile& file, int code, const std::string& told) {
            if (code != ExitNoNet) list.add(file, told);
        });
    std::vector<ListRow> rows = list.take();
    for (const ListCondition& condition : options.conditions)
        std::erase_if(rows, [&](const ListRow& row) { return !Meets(row, condition); });
    Sort(rows, options.sorting);
    const std::string failure = WriteStandardOutput(options.json  ? AsJson(rows)
                                                    : options.csv ? AsCsv(rows)
                                                                  : AsText(rows));
    if (failure.empty()) return totals.files.contains(ExitRead) ? ExitRead : ExitNothing;
    std::cerr << "lumo-import: " + failure + "\n";
    return ExitWriteFailed;
}

}  // namespace lumo::app
