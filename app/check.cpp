#include "app/check.h"

#include <algorithm>
#include <iostream>
#include <string_view>

#include "app/convert.h"
#include "app/fields.h"
#include "export/facts.h"
#include "formats/catalogue.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

constexpr std::size_t mostNumbers = 5;  ///< in the total

/// Does the same to all fields of a report.
template <class REPORT, class DO>
void EachField(REPORT& report, DO&& work) {
    work(report.number);
    work(report.severity);
    work(report.message);
    work(report.file);
    work(report.line);
    work(report.column);
    work(report.structKind);
    work(report.structName);
    work(report.fieldName);
    work(report.sourceLine);
    work(report.sourceCaret);
}

int WorstOf(const std::vector<ReportRecord>& reports) {
    int worst = SeverityOkay;
    for (const ReportRecord& report : reports) worst = std::max(worst, report.severity);
    return worst;
}

}  // namespace

std::string CheckedFile::packed() const {
    std::string text;
    Put(text, format);
    Put(text, status);
    Put(text, allowed);
    Put(text, std::ssize(reports));
    const auto put = [&text](const auto& field) {
        if constexpr (std::is_arithmetic_v<std::decay_t<decltype(field)>>)
            Put(text, static_cast<long long>(field));
        else
            Put(text, field);
    };
    for (const ReportRecord& report : reports) EachField(report, put);
    return text;
}

CheckedFile CheckedFile::unpacked(const InputFile& file, int exitCode, const std::string& text) {
    CheckedFile checked;
    checked.file = file.path == "-" ? "stdin" : file.path;
    checked.exitCode = exitCode;
    if (text.empty()) {
        checked.status = "failed";
        ReportRecord& report = checked.reports.emplace_back();
        report.severity = SeverityFatal;
        report.file = checked.file;
        report.message = "reading it broke down";
        return checked;
    }
    Fields fields(text);
    fields.get(checked.format);
    fields.get(checked.status);
    fields.get(checked.allowed);
    std::size_t count = 0;
    fields.get(count);
    checked.reports.resize(count);
    for (ReportRecord& report : checked.reports)
        EachField(report, [&fields](auto& field) { fields.get(field); });
    return checked;
}

int CheckExitCode(const ImportResult& result, long long allowed, const Options& options) {
    const int worst = WorstOf(result.reports);
    const bool isAllowed = allowed > 0 && worst <= SeverityWarning;
    if (result.net == nullptr && !isAllowed) return ExitNothing;
    return worst >= options.failFrom ? ExitErrors : ExitRead;
}

Checker::Checker(const Options& options)
    : options_(options), form_(MakeCheckForm(options.form)), found_(options.newBaseline) {}

void Checker::add(CheckedFile file) {
    ++files_;
    notRead_ += file.exitCode == ExitNothing ? 1 : 0;
    allowed_ += file.allowed;
    if (!options_.newBaseline.empty())
        for (const ReportRecord& report : file.reports) found_.add(file.file, report);
    if (options_.quiet)
        std::erase_if(file.reports, [](const ReportRecord& report) {
            return report.severity <= SeverityWarning;
        });
    for (const ReportRecord& report : file.reports) {
        const int milder =
            (SeverityFatal - std::clamp<int>(report.severity, SeverityNotice, SeverityFatal)) / 2;
        ++problems_[static_cast<std::size_t>(milder)];
        ++numbers_[report.number];
    }
    if (form_ != nullptr) write(form_->add(file));
}

void Checker::write(const std::string& text) {
    if (failure_.empty() && !text.empty()) failure_ = WriteStandardOutput(text);
}

std::string Checker::total() const {
    std::string problems;
    constexpr const char* kinds[] = {"fatal error", "error", "warning", "notice"};
    for (std::size_t i = 0; i < problems_.size(); ++i)
        if (problems_[i] > 0)
            problems += (problems.empty() ? "" : ", ") + Count(problems_[i], kinds[i]);
    if (problems.empty()) problems = "no problems";
    if (allowed_ > 0) problems += ", " + Digits(allowed_) + " allowed";
    const std::string notRead = notRead_ > 0 ? ", " + Digits(notRead_) + " not read" : "";
    return Count(files_ + options_.noNets, "file") + notRead +
           (options_.noNets > 0 ? ", " + Count(options_.noNets, "no net") : "") + ": " + problems +
           "\n";
}

std::string Checker::mostFrequent() const {
    std::vector<std::pair<long long, int>> order;
    for (const auto& [number, count] : numbers_)
        if (number != 0) order.emplace_back(-count, number);
    std::ranges::sort(order);
    if (order.size() > mostNumbers) order.resize(mostNumbers);
    std::string text;
    for (const auto& [count, number] : order)
        text += Format("%8s  [%d] %s\n", Digits(-count).c_str(), number,
                       MessagesOf(FindReport(number)).c_str());
    return text;
}

int Checker::end(int exitCode) {
    if (!options_.newBaseline.empty()) {
        exitCode = ExitRead;  // all of it is known now
        if (failure_.empty()) failure_ = found_.write();
    }
    if (form_ != nullptr)
        write(form_->end(exitCode));
    else if (files_ + options_.noNets > 1 && !options_.quiet && !options_.jsonDiagnostics)
        Say(total() + mostFrequent());
    if (failure_.empty()) return exitCode;
    std::cerr << "lumo-import: " + failure_ + "\n";
    return ExitWriteFailed;
}

}  // namespace lumo::app
