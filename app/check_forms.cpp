// The forms of check for programs: JSON, SARIF 2.1.0, annotations of GitHub, JUnit's XML.
#include <set>

#include "app/check.h"
#include "app/console.h"
#include "export/json.h"
#include "export/jsonout.h"
#include "formats/catalogue.h"
#include "formats/shared/describe.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

const char* LevelOf(int severity, const char* mildest) {
    if (severity > SeverityWarning) return "error";
    return severity > SeverityNotice ? "warning" : mildest;
}

/// The report's column in characters.
int CharacterColumn(const ReportRecord& report) {
    const std::string before = ToUtf8(report.sourceLine.substr(0, report.sourceCaret));
    const auto inner = std::ranges::count_if(before, [](char c) { return (c & '\xC0') == '\x80'; });
    const auto bytes = static_cast<std::ptrdiff_t>(report.sourceCaret);
    return report.column - static_cast<int>(bytes - (std::ssize(before) - inner));
}

// ---- JSON ----------------------------------------------------------------------------------

/// An object a line.
class JsonForm : public CheckForm {
public:
    std::string add(const CheckedFile& file) override {
        JsonOut json;
        json.open('{');
        json.key("schema").text("lumo-import-check/1");
        json.key("file").text(file.file);
        json.key("format").textOrNull(file.format);
        json.key("status").text(file.status);
        json.key("exit").number(std::max<int>(file.exitCode, ExitRead));
        json.key("allowed").number(file.allowed);
        json.key("reports").open('[');
        for (const ReportRecord& report : file.reports) {
            json.open('{');
            WriteReportFields(json, report);
            json.key("sourceLine").textOrNull(report.sourceLine);
            json.close('}');
        }
        json.close(']').close('}');
        return json.take() + "\n";
    }
};

// ---- SARIF ---------------------------------------------------------------------------------

/// The file as a reference: relative paths stay so, that they count from the root of the sources.
std::string UriOf(const std::string& path) {
    constexpr std::string_view plain = "-._~/";
    std::string uri = path.starts_with('/') ? "file://" : "";
    for (const char c : ToUtf8(path)) {
        const bool isAlnum =
            (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (isAlnum || plain.find(c) != plain.npos)
            uri += c;
        else
            uri += Format("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
    return uri;
}

std::string RuleId(int number) { return "LUMO" + std::to_string(-number); }

class SarifForm : public CheckForm {
public:
    SarifForm() {
        json_.open('{');
        json_.key("$schema").text("https://json.schemastore.org/sarif-2.1.0.json");
        json_.key("version").text("2.1.0");
        json_.key("runs").open('[').open('{');
        json_.key("results").open('[');
    }
    std::string add(const CheckedFile& file) override {
        for (const ReportRecord& report : file.reports) writeResult(file, report);
        return {};
    }
    std::string end(int exitCode) override;

private:
    void writeResult(const CheckedFile& file, const ReportRecord& report);
    void writeRegions(const ReportRecord& report);
    void writeRule(int number);

    void writeText(const char* key, std::string_view text) {
        json_.key(key).open('{');
        json_.key("text").text(text);
        json_.close('}');
    }

    JsonOut json_;
    std::set<int> numbers_;  ///< of rules
};

void SarifForm::writeResult(const CheckedFile& file, const ReportRecord& report) {
    json_.line();
    json_.open('{');
    if (report.number != 0) {
        numbers_.insert(report.number);
        json_.key("ruleId").text(RuleId(report.number));
    }
    json_.key("level").text(LevelOf(report.severity, "note"));
    writeText("message", Visible(report.message + ContextText(report)));
    json_.key("locations").open('[').open('{');
    json_.key("physicalLocation").open('{');
    json_.key("artifactLocation").open('{');
    json_.key("uri").text(UriOf(file.file));
    json_.close('}');
    if (report.line > 0) writeRegions(report);
    json_.close('}');
    if (!report.structName.empty()) {
        json_.key("logicalLocations").open('[').open('{');
        json_.key("name").text(report.structName);
        json_.close('}').close(']');
    }
    json_.close('}').close(']').close('}');
}

/// The place, up to the end of its line, and the line around it.
void SarifForm::writeRegions(const ReportRecord& report) {
    const auto region = [&](const char* key, int column, std::string_view snippet) {
        json_.key(key).open('{');
        json_.key("startLine").number(report.line);
        if (column > 0) json_.key("startColumn").number(column);
        if (!snippet.empty()) writeText("snippet", Visible(snippet));
        json_.close('}');
    };
    const std::string_view line = report.sourceLine;
    region("region", CharacterColumn(report),
           line.substr(std::min(report.sourceCaret, line.size())));
    if (!line.empty()) region("contextRegion", 0, line);
}

void SarifForm::writeRule(int number) {
    const std::vector<const MessageRow*> rows = FindReport(number);
    json_.line();
    json_.open('{');
    json_.key("id").text(RuleId(number));
    if (!rows.empty()) {
        const MessageRow& row = *rows.front();
        writeText("shortDescription", MessagesOf(rows));
        writeText("fullDescription", row.cure);
        json_.key("help").open('{');
        json_.key("text").text(row.cure);
        json_.key("markdown").text(row.cure);
        json_.close('}');
        json_.key("defaultConfiguration").open('{');
        json_.key("level").text(LevelOf(SeverityOf(row.kind), "note"));
        json_.close('}');
    }
    json_.close('}');
}

std::string SarifForm::end(int exitCode) {
    json_.close(']');
    json_.line();
    json_.key("tool").open('{');
    json_.key("driver").open('{');
    json_.key("name").text("lumo-import");
    json_.key("version").text(LUMO_VERSION);
    json_.key("rules").open('[');
    for (const int number : numbers_) writeRule(number);
    json_.close(']').close('}').close('}');
    json_.key("invocations").open('[').open('{');
    json_.key("executionSuccessful").boolean(true);
    json_.key("exitCode").number(exitCode);
    json_.close('}').close(']');
    json_.key("columnKind").text("unicodeCodePoints");
    json_.close('}').close(']').close('}');
    return json_.take() + "\n";
}

// ---- GitHub --------------------------------------------------------------------------------

/// Commands of a workflow's log, which become annotations.
class GithubForm : public CheckForm {
public:
    std::string add(const CheckedFile& file) override {
        std::string text;
        for (const ReportRecord& report : file.reports) {
            text += std::string("::") + LevelOf(report.severity, "notice") +
                    " file=" + escaped(file.file, ",:");
            if (report.line > 0)
                text += ",line=" + std::to_string(report.line) +
                        ",col=" + std::to_string(CharacterColumn(report));
            text += ",title=lumo-import::" + escaped(MessageText(report), "") + "\n";
        }
        return text;
    }

private:
    static std::string escaped(const std::string& text, std::string_view also) {
        std::string out;
        for (const char c : ToUtf8(text)) {
            if (c == '%' || c == '\r' || c == '\n' || also.find(c) != also.npos)
                out += Format("%%%02X", static_cast<unsigned>(c));
            else
                out += c;
        }
        return out;
    }
};

// ---- JUnit ---------------------------------------------------------------------------------

/// A test case a file.
class JUnitForm : public CheckForm {
public:
    std::string add(const CheckedFile& file) override {
        ++tests_;
        std::string lines;
        const ReportRecord* worst = nullptr;
        for (const ReportRecord& report : file.reports) {
            lines += XmlText(PlaceText(report) + SeverityName(report.severity) + ": " +
                             MessageText(report)) +
                     "\n";
            if (worst == nullptr || report.severity > worst->severity) worst = &report;
        }
        cases_ += "    <testcase classname=\"lumo-import\" name=\"" + XmlText(file.file) + "\"";
        const bool isError = file.exitCode == ExitNothing;
        if (file.exitCode == ExitNoNet) {
            ++skipped_;
            cases_ += ">\n      <skipped/>\n    </testcase>\n";
        } else if (isError || file.exitCode == ExitErrors) {
            ++(isError ? errors_ : failures_);
            const std::string name = isError ? "error" : "failure";
            cases_ += ">\n      <" + name;
            if (worst != nullptr)
                cases_ += " type=\"" + std::to_string(worst->number) + "\" message=\"" +
                          XmlText(MessageText(*worst)) + "\"";
            cases_ += ">" + lines + "</" + name + ">\n    </testcase>\n";
        } else if (!lines.empty()) {
            cases_ += ">\n      <system-out>" + lines + "</system-out>\n    </testcase>\n";
        } else {
            cases_ += "/>\n";
        }
        return {};
    }
    std::string end(int) override {
        const std::string counts = Format(
            "name=\"lumo-import check\" tests=\"%d\" failures=\"%d\" errors=\"%d\" skipped=\"%d\"",
            tests_, failures_, errors_, skipped_);
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites " + counts +
               ">\n  <testsuite " + counts + ">\n" + cases_ + "  </testsuite>\n</testsuites>\n";
    }

private:
    std::string cases_;
    int tests_ = 0, failures_ = 0, errors_ = 0, skipped_ = 0;
};

template <class FORM>
std::unique_ptr<CheckForm> Made() {
    return std::make_unique<FORM>();
}

}  // namespace

std::unique_ptr<CheckForm> MakeCheckForm(CheckFormEN form) {
    switch (form) {
        case CheckFormEN::json:
            return Made<JsonForm>();
        case CheckFormEN::sarif:
            return Made<SarifForm>();
        case CheckFormEN::github:
            return Made<GithubForm>();
        case CheckFormEN::junit:
            return Made<JUnitForm>();
        default:
            return nullptr;
    }
}

}  // namespace lumo::app
