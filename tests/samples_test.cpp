// Every sample, and every text of tests/texts: the net, the drawing and the reports that must come
// of it, which lie in a file beside it, and that no prefix and no changed byte of a sample harms.
// Short texts stand together in the files of formats/FORMAT/cases, each with what must come of it.
// With LUMO_UPDATE=1 the files are written anew.
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

class Text : public testing::TestWithParam<fs::path> {
protected:
    const std::string text = ReadFile(GetParam().string());
    const int format = DetectFormat("", GetParam().string())->code;
};
class Sample : public Text {};

/// What the file says of fonts, grid and groups.
std::string DrawingText(const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    std::string out = Format(
        "font %s %d %d, grid %g %g%s%s, style %d, labels %d, zoom %g%s\n", font.face.c_str(),
        font.size, font.styleFlags, drawing.grid.x, drawing.grid.y,
        drawing.showGrid ? " shown" : "", drawing.snapToGrid ? " snaps" : "", drawing.drawStyle,
        drawing.labelStyle, drawing.zoomFactor, net.autoUpdate ? ", updates itself" : "");
    for (const NodesetStyle& style : drawing.nodesetStyles)
        out += Format("group %s #%02x%02x%02x\n", style.name, style.red, style.green, style.blue);
    return out;
}

std::string ReportsText(const Imported& got) {
    std::string out;
    for (const std::string& print : got.seen.prints) out += print + '\n';
    for (const Seen& r : got.seen.reports)
        out += Format("%d %d:%d %s [%s|%s|%s]\n", r.number, r.line, r.column, r.message.c_str(),
                      r.structKind.c_str(), r.structName.c_str(), r.fieldName.c_str());
    return out;
}

std::string Outcome(const Imported& got) {
    ExpectSound(got);
    return NetText(got.net.get()) + (got.net ? DrawingText(*got.net) : "") + ReportsText(got);
}

/// The outcomes of reading both ways, as one where they are the same.
template <class OutcomeOf>
std::string BothOutcomes(std::string_view text, int format, const char* name, OutcomeOf outcome) {
    const std::string strict = outcome(ImportText(text, format, name));
    const std::string lenient = outcome(ImportLeniently(text, format, name));
    return strict + (lenient == strict ? "" : "---- leniently\n" + lenient);
}

TEST_P(Text, IsReadAsExpected) {
    const std::string name = "dir/" + GetParam().filename().string();
    ExpectFile(GetParam().string() + ".expected",
               BothOutcomes(text, format, name.c_str(), Outcome));
}

/// A file's first line, if it has one before the first "====", stands around each text, which takes
/// the place of its '@'. A text ends before "----", behind which follows what comes of it: of the
/// nodes, those that are not the same without the text.
class Cases : public testing::TestWithParam<fs::path> {};

TEST_P(Cases, AreReadAsExpected) {
    const std::string file = ReadFile(GetParam().string());
    const int format = FindFormat(GetParam().parent_path().parent_path().filename().string())->code;
    std::size_t at = file.find("====\n");
    std::string result = file.substr(0, at);
    const std::string before = result.substr(0, result.find('@'));
    const std::string after =
        at == 0 ? "" : result.substr(before.size() + 1, at - before.size() - 2);
    const Imported bare = ImportText(before + after, format);
    const std::string bareText = NetText(bare.net.get());
    while (at < file.size()) {
        const std::size_t end = file.find("\n----\n", at);
        const std::string text = file.substr(at + 5, end - at - 5);
        SCOPED_TRACE(text);
        at = std::min(file.find("\n====\n", end), file.size() - 1) + 1;
        const auto outcome = [&](const Imported& got) {
            ExpectSound(got);
            const int count = got.net ? got.net->nodes.N : -1;
            std::string out = count < 0 ? "no net\n" : Format("nodes: %d\n", count);
            for (int i = 0; i < count; ++i)
                if (const std::string node = NodeText(*got.net->nodes[i]);
                    bareText.find(node) == bareText.npos)
                    out += node;
            return out + ReportsText(got);
        };
        result += "====\n" + text + "\n----\n" +
                  BothOutcomes(before + text + after, format, "dir/a file.txt", outcome);
    }
    ExpectFile(GetParam().string(), result);
}

TEST_P(Sample, EveryPrefix) { ImportEveryPrefix(text, format); }

TEST_P(Sample, EveryByteChanged) {
    const bool isLaidOut = text.find("position") == std::string::npos && format == FormatXMLBIF;
    if (!isLaidOut) ImportEveryByteChanged(text, format);  // each time
}

std::string Name(const testing::TestParamInfo<fs::path>& file) {
    std::string name =
        file.param.parent_path().filename().string() + "_" + file.param.filename().string();
    std::ranges::replace_if(
        name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return name;
}

/// The files of all formats' folders of cases; a folder that is missing is a file that is.
std::vector<fs::path> CaseFiles() {
    std::vector<fs::path> files;
    for (const FormatInfo& format : Formats()) {
        const fs::path folder =
            fs::path(Samples()).parent_path() / "formats" / format.name / "cases";
        if (!fs::exists(folder))
            files.push_back(folder / "missing.txt");
        else
            for (const fs::path& file : FilesIn(folder)) files.push_back(file);
    }
    return files;
}

std::string CaseName(const testing::TestParamInfo<fs::path>& file) {
    return file.param.parent_path().parent_path().filename().string() + "_" +
           file.param.stem().string();
}

const fs::path texts = fs::path(Samples()).parent_path() / "tests/texts";
INSTANTIATE_TEST_SUITE_P(Samples, Text, testing::ValuesIn(FilesIn(Samples())), Name);
INSTANTIATE_TEST_SUITE_P(Texts, Text, testing::ValuesIn(FilesIn(texts)), Name);
INSTANTIATE_TEST_SUITE_P(Texts, Cases, testing::ValuesIn(CaseFiles()), CaseName);
INSTANTIATE_TEST_SUITE_P(Samples, Sample, testing::ValuesIn(FilesIn(Samples())), Name);

}  // namespace
}  // namespace lumo::test
