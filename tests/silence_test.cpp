// No damage is silent: every sample with each of its tokens deleted, and cut behind each of them,
// gives the net of the whole file, or some report; or it stands in the list of what no reader can
// know.
#include <cctype>
#include <filesystem>
#include <sstream>

#include "export/json.h"
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

struct Token {
    std::size_t start, size;
};

bool IsWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '-' ||
           c == '+' || static_cast<unsigned char>(c) >= 0x80;
}

/// Words, quoted texts and single characters; comments are no tokens.
std::vector<Token> TokensOf(std::string_view text, const FormatInfo& format) {
    const bool xml = HasWord(format.services, "xml");
    const std::string_view lineComment = format.lineComment;
    const auto past = [text](std::size_t at, std::string_view end) {
        const std::size_t found = text.find(end, at);
        return found == text.npos ? text.size() : found + end.size();
    };
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        if (std::isspace(static_cast<unsigned char>(rest[0]))) {
            ++at;
        } else if (!lineComment.empty() && rest.starts_with(lineComment)) {
            at = past(at, "\n");
        } else if (format.blockComments && rest.starts_with("/*")) {
            at = past(at, "*/");
        } else if (xml &&
                   (rest.starts_with("<!--") || rest.starts_with("<!") || rest.starts_with("<?"))) {
            at = past(at, rest.starts_with("<!--") ? "-->" : ">");
        } else {
            std::size_t size = 1;
            if (rest[0] == '"') {
                size = past(at + 1, "\"") - at;
            } else if (xml && rest[0] == '<') {
                size = past(at, ">") - at;  // a tag
            } else if (IsWordChar(rest[0])) {
                while (size < rest.size() && IsWordChar(rest[size])) ++size;
            }
            tokens.push_back({at, size});
            at += size;
        }
    }
    return tokens;
}

/// The net alone, as JSON.
std::string NetOf(Imported got) {
    ImportResult result;
    result.net = std::move(got.net);
    std::ostringstream out;
    WriteJson(result, out);
    return out.str();
}

/// What was reported, without the places.
std::string MessagesOf(const Imported& got) {
    std::string text;
    for (const Seen& r : got.seen.reports) text += std::to_string(r.number) + r.message + '\n';
    return text;
}

struct Case {
    std::string path;
    bool lenient;
};
std::ostream& operator<<(std::ostream& out, const Case& c) {
    return out << c.path << (c.lenient ? ", leniently" : ", strictly");
}

class Silence : public ::testing::TestWithParam<Case> {};

/// What changes the net in silence and must, as no reader can know that it is damage.
constexpr struct {
    int format;
    bool cut;
    std::string_view token;   ///< empty: any, but no XML tag
    std::string_view inLine;  ///< what the token's line holds
} cannotBeKnown[] = {
    // A file that ends behind a whole block or row is a whole file.
    {FormatHugin, true, "}", ""},
    {FormatDsc, true, "}", ""},
    {FormatDsc, true, ";", ""},
    {FormatDXPress, true, "}", ""},
    {FormatBIF, true, "}", ""},
    // People's own text: names, comments, formulas, fields of a meaning of their own.
    {FormatHugin, false, "", "model_nodes"},
    {FormatHugin, false, "", "model_data"},
    {FormatXMLBIF, false, "", "<NAME>"},
    {FormatXMLBIF, false, "", "<OUTCOME>"},
    {FormatXMLBIF, false, "", "<PROPERTY>"},
    {FormatXDSL, false, "", "<name>"},
    {FormatXDSL, false, "", "<comment>"},
    {FormatXDSL, false, "", "<caption>"},
    {FormatXDSL, false, "", "<definition"},
    {FormatXDSL, false, "", "<property"},
    {FormatXDSL, false, "", "<weights>"},
    // What need not be there: a colour, a decision's known facts.
    {FormatXDSL, false, "<state id=\"much\" />", ""},  // of a noisy adder, which has no table
    {FormatXDSL, false, "<state id=\"little\" />", ""},
    {FormatXDSL, false, "<interior color=\"ffcc66\" />", ""},
    {FormatHugin, false, "Forecast", "potential (Umbrella | Forecast)"},
};

bool CannotBeKnown(std::string_view text, std::string_view token, bool cut, int format) {
    const std::size_t at = static_cast<std::size_t>(token.data() - text.data());
    const std::size_t first = text.rfind('\n', at) + 1;  // npos + 1 is 0
    const std::string_view line = text.substr(first, text.find('\n', at) - first);
    return std::ranges::any_of(cannotBeKnown, [&](const auto& known) {
        const bool same = known.token.empty() ? token[0] != '<' : known.token == token;
        return known.format == format && known.cut == cut && same &&
               line.find(known.inLine) != line.npos;
    });
}

TEST_P(Silence, IsNeverKept) {
    const std::string text = ReadFile(GetParam().path);
    const FormatInfo* const info = DetectFormat(text, GetParam().path);
    ASSERT_NE(info, nullptr);
    const auto read = [&](std::string_view damaged) {
        return GetParam().lenient ? ImportLeniently(damaged, info->code)
                                  : ImportText(damaged, info->code);
    };
    Imported undamaged = read(text);
    if (undamaged.seen.errors() > 0) return;  // a damaged sample is told in any case
    const std::string reports = MessagesOf(undamaged);
    const std::string whole = NetOf(std::move(undamaged));
    for (const Token& token : TokensOf(text, *info)) {
        for (const bool cut : {false, true}) {
            std::string damaged = text.substr(0, cut ? token.start + token.size : token.start);
            if (!cut) damaged += text.substr(token.start + token.size);
            Imported got = read(damaged);
            const bool said = !got.seen.reports.empty() && MessagesOf(got) != reports;
            if (said || NetOf(std::move(got)) == whole) continue;
            const std::string_view lost = std::string_view(text).substr(token.start, token.size);
            if (CannotBeKnown(text, lost, cut, info->code)) continue;
            const auto line = std::count(text.data(), lost.data(), '\n') + 1;
            ADD_FAILURE_AT(GetParam().path.c_str(), static_cast<int>(line))
                << (cut ? "cut behind " : "without ") << lost;
        }
    }
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    for (const fs::path& path : FilesIn(Samples()))
        for (const bool lenient : {false, true}) cases.push_back({path.string(), lenient});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Samples, Silence, ::testing::ValuesIn(Cases()), [](const auto& sample) {
    const fs::path path = sample.param.path;
    std::string name = path.parent_path().filename().string() + "_" + path.stem().string() +
                       (sample.param.lenient ? "_lenient" : "_strict");
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

}  // namespace
}  // namespace lumo::test
