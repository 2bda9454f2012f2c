// Every sample: the net, the drawing and the reports that must come of it, which lie in a file
// beside it, and that no prefix and no changed byte does harm.
#include <filesystem>

#include "import/detect.h"
#include "tests/places.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

std::vector<std::string> AllSamples() {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Samples()))
        if (DetectFormat("", entry.path().string()) != nullptr && entry.is_regular_file())
            paths.push_back(std::filesystem::relative(entry.path(), Samples()));
    std::ranges::sort(paths);
    return paths;
}

class Sample : public testing::TestWithParam<std::string> {
protected:
    const std::string text = ReadFile(Samples() + "/" + GetParam());
    const int format = DetectFormat("", GetParam())->code;
};

/// What the file says of fonts, grid and groups.
std::string DrawingText(const Bnet_bn& net) {
    const Vnet_kt& drawing = *net.vnets[0];
    const fontspec_kt& font = drawing.font->spec();
    std::string out =
        Format("font %s %d %d, grid %g %g%s%s, style %d, labels %d, zoom %g\n", font.face.c_str(),
               font.size, font.styleFlags, drawing.grid.x, drawing.grid.y,
               drawing.showGrid ? " shown" : "", drawing.snapToGrid ? " snaps" : "",
               drawing.drawStyle, drawing.labelStyle, drawing.zoomFactor);
    for (const NodesetStyle& style : drawing.nodesetStyles)
        out += Format("group %s #%02x%02x%02x\n", style.name, style.red, style.green, style.blue);
    return out;
}

std::string Outcome(const Imported& got) {
    ExpectSound(got);
    std::string out = NetText(got.net.get()) + (got.net ? DrawingText(*got.net) : "");
    for (const std::string& print : got.seen.prints) out += print + '\n';
    return out + got.seen.text();
}

TEST_P(Sample, IsReadAsExpected) {
    const std::string strict = Outcome(ImportText(text, format, GetParam().c_str()));
    ReadOptions options;
    options.lenient = true;
    const std::string lenient =
        Outcome(ImportText(text, format, GetParam().c_str(), false, options));
    ExpectFile(Samples() + "/" + GetParam() + ".expected",
               strict + (lenient == strict ? "" : "---- leniently\n" + lenient));
}
TEST_P(Sample, EveryPrefix) { ImportEveryPrefix(text, format); }
TEST_P(Sample, EveryByteChanged) {
    const bool isLaidOut = text.find("position") == std::string::npos && format == FormatXMLBIF;
    if (!isLaidOut) ImportEveryByteChanged(text, format);  // each time
}

INSTANTIATE_TEST_SUITE_P(Files, Sample, testing::ValuesIn(AllSamples()), [](const auto& sample) {
    std::string name = sample.param;
    for (char& c : name)
        if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
    return name;
});

}  // namespace
}  // namespace lumo::test
