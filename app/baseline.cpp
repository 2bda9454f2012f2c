#include "app/baseline.h"

#include <cerrno>
#include <charconv>
#include <fstream>
#include <ostream>
#include <system_error>
#include <vector>

#include "app/convert.h"
#include "app/options.h"
#include "formats/shared/describe.h"
#include "library/utilities/paths.h"
#include "library/utilities/text.h"

namespace lumo::app {
namespace {

namespace fs = std::filesystem;

constexpr const char* head =
    "# Problems that lumo-import check lets pass: file, report, how often, text.\n"
    "# Made by --write-baseline.\n";

fs::path Absolute(const std::string& path) {
    std::error_code unknown;
    return fs::absolute(PathOf(path), unknown).lexically_normal();
}

std::vector<std::string> FieldsOf(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == '\t' && fields.size() < 4)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

template <class NUMBER>
bool IsNumber(const std::string& text, NUMBER& number) {
    const char* const last = text.data() + text.size();
    return std::from_chars(text.data(), last, number).ptr == last && !text.empty();
}

}  // namespace

Baseline::Baseline(const std::string& file)
    : file_(file), folder_(file.empty() ? fs::path() : Absolute(file).parent_path()) {}

std::string Baseline::placeOf(const std::string& file) const {
    if (file == "-" || file == "stdin") return "stdin";
    const fs::path place = Absolute(file);
    const fs::path below = place.lexically_relative(folder_);
    return Visible(Utf8((below.empty() ? place : below).generic_u8string()));
}

std::string Baseline::read() {
    const auto unreadable = [this](int error) {
        return "cannot read '" + file_ + "': " + std::generic_category().message(error);
    };
    std::error_code unknown;
    if (fs::is_directory(PathOf(file_), unknown)) return unreadable(EISDIR);
    std::ifstream in(PathOf(file_));
    if (!in) return unreadable(errno);
    std::string line;
    for (int number = 1; std::getline(in, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        const std::vector<std::string> fields = FieldsOf(line);
        int report = 0;
        long long count = 0;
        if (fields.size() != 4 || !IsNumber(fields[1], report) || !IsNumber(fields[2], count))
            return "'" + file_ + "', line " + std::to_string(number) + ": no line of a baseline";
        files_[fields[0]][{report, fields[3]}] += count;
    }
    return {};
}

std::string Baseline::write() const {
    const int failed = WriteToFile(file_, [this](std::ostream& out) {
                           out << head;
                           for (const auto& [file, problems] : files_)
                               for (const auto& [problem, count] : problems)
                                   out << file << '\t' << problem.first << '\t' << count << '\t'
                                       << problem.second << '\n';
                       }).error;
    if (failed == 0) return {};
    return "cannot write '" + Visible(file_) + "': " + std::generic_category().message(failed);
}

std::string Baseline::textOf(const std::string& file, const ReportRecord& report) const {
    std::string text = Visible(report.message + ContextText(report));
    const std::string named = "'" + Visible(file) + "'";
    if (const std::size_t at = text.find(named); at != text.npos)
        text.replace(at + 1, named.size() - 2, placeOf(file));
    return text;
}

void Baseline::add(const std::string& file, const ReportRecord& report) {
    ++files_[placeOf(file)][{report.number, textOf(file, report)}];
}

const Baseline::Problems& Baseline::of(const std::string& file) const {
    static const Problems none;
    const auto found = files_.empty() ? files_.end() : files_.find(placeOf(file));
    return found == files_.end() ? none : found->second;
}

void Screen::begin(const std::string& file) {
    file_ = file;
    known_ = options_.baseline.of(file);
}

bool Screen::lets(const ReportRecord& report) {
    if (options_.allowed.contains(report.number)) return true;
    if (known_.empty()) return false;
    const auto found = known_.find({report.number, options_.baseline.textOf(file_, report)});
    if (found == known_.end()) return false;
    if (--found->second == 0) known_.erase(found);
    return true;
}

}  // namespace lumo::app
