// Every sample, and every text of tests/texts: the net, the drawing and the reports that must come
// of it, which lie in a file beside it, and that no prefix and no changed byte of a sample harms.
#include "import/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

class Text : public testing::TestWithParam<fs::path> {
protected:
    const std::string text = ReadFile(GetParam());
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

std::string Outcome(const Imported& got) {
    ExpectSound(got);
    std::string out = NetText(got.net.get()) + (got.net ? DrawingText(*got.net) : "");
    for (const std::string& print : got.seen.prints) out += print + '\n';
    for (const Seen& r : got.seen.reports)
        out += Format("%d %d:%d %s [%s|%s|%s]\n", r.number, r.line, r.column, r.message.c_str(),
                      r.structKind.c_str(), r.structName.c_str(), r.fieldName.c_str());
    return out;
}

TEST_P(Text, IsReadAsExpected) {
    const std::string name = "dir/" + GetParam().filename().string();
    const std::string strict = Outcome(ImportText(text, format, name.c_str()));
    const std::string lenient = Outcome(ImportLeniently(text, format, name.c_str()));
    ExpectFile(GetParam().string() + ".expected",
               strict + (lenient == strict ? "" : "---- leniently\n" + lenient));
}

TEST_P(Sample, EveryPrefix) { ImportEveryPrefix(text, format); }

TEST_P(Sample, EveryByteChanged) {
    const bool isLaidOut = text.find("position") == std::string::npos && format == FormatXMLBIF;
    if (!isLaidOut) ImportEveryByteChanged(text, format);  // each time
}

std::string Name(const testing::TestParamInfo<fs::path>& file) {
    std::string name = file.param.parent_path().filename() / file.param.filename();
    std::ranges::replace_if(
        name, [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return name;
}

const fs::path texts = fs::path(Samples()).parent_path() / "tests/texts";
INSTANTIATE_TEST_SUITE_P(Samples, Text, testing::ValuesIn(FilesIn(Samples())), Name);
INSTANTIATE_TEST_SUITE_P(Texts, Text, testing::ValuesIn(FilesIn(texts)), Name);
INSTANTIATE_TEST_SUITE_P(Samples, Sample, testing::ValuesIn(FilesIn(Samples())), Name);

}  // namespace
}  // namespace lumo::test
