// The list of formats: its rows are whole, and what is said of formats elsewhere is what they say.
// With LUMO_UPDATE=1 the tables of the documentation are written anew.
#include "formats/formats.h"

#include <filesystem>
#include <set>

#include "export/writers.h"
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/strict_readers.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

const fs::path root = fs::path(Docs()).parent_path();

bool IsFull(const fs::path& folder) { return fs::exists(folder) && !FilesIn(folder).empty(); }

TEST(Formats, HaveAllThatBelongsToThem) {
    std::set<std::string> names, titles;
    std::set<int> codes;
    for (const FormatInfo& format : Formats()) {
        SCOPED_TRACE(format.name);
        EXPECT_TRUE(names.insert(format.name).second && titles.insert(format.title).second);
        EXPECT_TRUE(codes.insert(format.code).second);
        EXPECT_EQ(FindFormat(format.code), FindFormat(std::string_view(format.name)));
        EXPECT_TRUE(fs::exists(root / "formats" / format.name / "format.cpp"));
        EXPECT_TRUE(fs::exists(root / "formats" / format.name / "fuzz.dict"));
        EXPECT_TRUE(fs::exists(root / "docs" / (format.name + std::string(".md"))));
        EXPECT_TRUE(IsFull(root / "formats" / format.name / "cases"));
        EXPECT_TRUE(IsFull(root / "samples" / format.name));
        EXPECT_FALSE(format.messages().empty());
        for (const MessageRow& row : format.messages()) EXPECT_STREQ(row.users, "") << row.text;
        const bool isWritten = format.write != nullptr;
        EXPECT_EQ(isWritten, format.losses != nullptr && format.written != nullptr);
        EXPECT_EQ(isWritten, FindStrictReader(format.name) != nullptr);
    }
    // A folder that no line of the list names would be dead code.
    std::size_t folders = 0;
    for (const auto& entry : fs::directory_iterator(root / "formats"))
        folders += fs::exists(entry.path() / "format.cpp");
    EXPECT_EQ(folders, Formats().size());
}

/// The words of a list with blanks between them.
std::vector<std::string> Words(std::string_view list) {
    std::istringstream in{std::string(list)};
    return {std::istream_iterator<std::string>(in), {}};
}

TEST(Formats, AreFoundByTheirExtensions) {
    for (const FormatInfo& format : Formats()) {
        ASSERT_FALSE(format.extensions.empty());
        for (const std::string& extension : Words(format.extensions)) {
            EXPECT_TRUE(extension.starts_with('.'));
            for (const std::string name : {"x", "X.y", "d.net/x"})
                EXPECT_EQ(FormatOfExtension(name + extension), &format) << name << extension;
            EXPECT_EQ(FormatOfExtension("x" + extension + ".gz"), &format) << extension;
            EXPECT_EQ(DetectFormat("", "x" + extension), &format) << extension;
        }
    }
    for (const char* name : {"", "x", ".", "net", "x.nets", "x.net/y"})
        EXPECT_EQ(FormatOfExtension(name), nullptr) << name;
}

// ---- What the documentation says ---------------------------------------------------------------

std::string Code(const std::string& text) { return "`" + text + "`"; }

std::string Page(const FormatInfo& format) { return format.name + std::string(".md"); }

TEST(Formats, AreWhatTheReadmeSays) {
    std::string table = "| format | files | read | write | used by |\n|---|---|---|---|---|\n";
    for (const FormatInfo& format : Formats()) {
        std::string extensions;
        for (const std::string& extension : Words(format.extensions))
            extensions += (extensions.empty() ? "" : " ") + Code(extension);
        const std::string details = *format.details == '\0' ? "" : ", ";
        table += std::string("| [") + format.title + "](docs/" + Page(format) + ")" + details +
                 format.details + " | " + extensions + " | yes | " +
                 (FindWriter(format.name) == nullptr ? "no" : "yes") + " | " + format.users +
                 " |\n";
    }
    ExpectPart((root / "README.md").string(), "<!-- formats -->\n", "<!-- end of formats -->",
               table);
}

TEST(Formats, AreWhatThePageOfTheJsonSays) {
    std::string list;
    for (const FormatInfo& format : Formats())
        list += (list.empty() ? "`\"" : ", `\"") + std::string(format.name) + "\"` " +
                std::to_string(format.code);
    ExpectPart(Docs() + "/json.md", "<!-- formats -->", "<!-- end of formats -->", list);
}

/// The rows of the table behind the heading of a page.
std::vector<std::pair<std::string, std::string>> KeptOf(const FormatInfo& format) {
    const std::string text = ReadFile(Docs() + "/" + Page(format));
    const std::string heading = "## What a written file keeps\n\n| | kept |\n|---|---|\n";
    std::size_t at = text.find(heading);
    EXPECT_NE(at, text.npos) << format.name;
    if (at == text.npos) return {};
    std::vector<std::pair<std::string, std::string>> rows;
    for (at += heading.size(); text[at] == '|'; at = text.find('\n', at) + 1) {
        const std::size_t middle = text.find(" | ", at);
        const std::size_t end = text.find(" |\n", middle);
        rows.emplace_back(text.substr(at + 2, middle - at - 2),
                          text.substr(middle + 3, end - middle - 3));
    }
    return rows;
}

TEST(Formats, AreWhatThePageOfTheWritersSays) {
    std::string formats = "| format | `--to` | extension | what is written |\n|---|---|---|---|\n";
    std::string head = "| |", line = "|---|";
    std::vector<std::string> kept;
    for (const FormatInfo& format : Formats()) {
        if (format.write == nullptr) continue;
        const std::string details =
            *format.written == '\0' ? "" : std::string(format.written) + " ";
        formats += std::string("| ") + format.title + " | " + Code(format.name) + " | " +
                   Code(Words(format.extensions).front()) + " | " + details + "([" + Page(format) +
                   "](" + Page(format) + ")) |\n";
        head += std::string(" ") + format.title + " |";
        line += "---|";
        const auto rows = KeptOf(format);
        kept.resize(std::max(kept.size(), rows.size()));
        EXPECT_EQ(kept.size(), rows.size()) << format.name;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (kept[i].empty()) kept[i] = "| " + rows[i].first + " |";
            EXPECT_TRUE(kept[i].starts_with("| " + rows[i].first + " |")) << rows[i].first;
            kept[i] += " " + rows[i].second + " |";
        }
    }
    std::string table = head + "\n" + line + "\n";
    for (const std::string& row : kept) table += row + "\n";
    const std::string page = Docs() + "/writers.md";
    ExpectPart(page, "<!-- formats -->\n", "<!-- end of formats -->", formats);
    ExpectPart(page, "<!-- kept -->\n", "<!-- end of kept -->", table);
}

/// "A, B and C." in lines for the manual page.
template <class LIST, class TEXT>
std::string Sentence(const LIST& list, TEXT textOf, const char* end) {
    std::string out, line;
    std::size_t left = list.size();
    for (const auto& entry : list) {
        const std::string text = textOf(entry) + (left > 2 ? "," : left == 2 ? " and" : end);
        --left;
        if (line.size() + text.size() > 98) {
            out += line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + text;
    }
    return out + line + "\n";
}

TEST(Formats, AreWhatTheManualPageSays) {
    const std::string page = (root / "packaging/lumo-import.1.in").string();
    const auto part = [&](const std::string& name, const std::string& text) {
        ExpectPart(page, ".\\\" " + name + "\n", ".\\\" end of " + name + "\n", text);
    };
    part("read", Sentence(
                     Formats(),
                     [](const FormatInfo& format) {
                         const std::string details = format.details;
                         return format.title + (details.empty() ? "" : " (" + details + ")");
                     },
                     ","));
    part("written",
         Sentence(
             Writers(), [](const Writer& writer) { return std::string(writer.title); }, "."));
    const auto name = [](const auto& entry) { return std::string("\\fB") + entry.name + "\\fR"; };
    part("to", Sentence(Writers(), name, "."));
    part("from", Sentence(Formats(), name, "."));
}

}  // namespace
}  // namespace lumo::test
