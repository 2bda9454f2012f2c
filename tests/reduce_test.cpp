// Nets made smaller: what is written then, what is told, and that the rest is the same net.
#include "export/reduce.h"

#include <gtest/gtest.h>

#include "export/compare.h"
#include "formats/detect.h"
#include "tests/places.h"
#include "tests/roundtrip.h"

namespace lumo::test {
namespace {

using Lines = std::vector<std::string>;

/// What it gives for the file that TheirSpellingAndLosses writes whole.
TEST(Reduce, PlainNatureNodes) {
    const std::string folder = Samples() + "/../tests/written/";
    ImportResult result = ReadBack(ReadFile(folder + "lawn.net"), FormatHugin, "lawn.net");
    EXPECT_EQ(Reduce(*result.net, {.plain = true, .onlyNature = true}),
              Lines({"1 decision node, 1 utility node and 1 nature node that depends on them are "
                     "left out"}));
    for (const char* name : {"dsc", "bif", "xdsl"}) {
        std::string text = Write(result, name);
        for (const std::string& note : LossNotes(FindWriter(name)->losses(*result.net), name))
            text += "-- " + note + '\n';
        ExpectFile(folder + "lawn-plain." + name, text);
    }
}

TEST(Reduce, RowsThatMissOneByRounding) {
    const auto table = [](const char* row, Lines told) {
        const std::string text = std::string(
                                     "network n { }\nvariable a { type discrete [ 3 ] "
                                     "{ x, y, z }; }\nprobability ( a ) { table ") +
                                 row + "; }\n";
        const ImportResult result = ReadBack(text, FormatBIF, "n.bif");
        EXPECT_EQ(Reduce(*result.net, {.plain = true}), told) << row;
        const std::string written = Write(result, "bif");
        const std::size_t at = written.find("table ") + 6;
        return written.substr(at, written.find(';', at) - at);
    };
    const Lines scaled = {"rows of 1 node are scaled to sum to 1"};
    EXPECT_EQ(table("0.333333, 0.333333, 0.333333", scaled),
              "0.3333333333333333, 0.3333333333333333, 0.3333333333333333");
    EXPECT_EQ(table("0.1, 0.2, 0.7", {}), "0.1, 0.2, 0.7");
    EXPECT_EQ(table("0.25, 0.25, 0.25", {}), "0.25, 0.25, 0.25");  // no rounding
    EXPECT_EQ(table("0, 0, 0", {}), "0, 0, 0");
}

TEST(Reduce, NoisyMaxBecomesATable) {
    for (const bool condensed : {false, true}) {
        ImportResult result = ReadBack(
            "belief network n node a { type: discrete[2]; } node b { type: discrete[2]; }"
            "probability(a) { 0.5, 0.5; } probability(b | a) { }",
            FormatDsc, "n.dsc");
        Bnode_bn& node = *result.net->nodes[1];
        const double parameters[] = {0.25, 0.75, 0.5, 0.5};
        ASSERT_FALSE(IsError(node.makeIntoNoisyMax(parameters, condensed)));
        Reduce(*result.net, {.plain = true});
        EXPECT_EQ(node.relation.kind, RelnKindEN::table);
        EXPECT_EQ(node.relation.params, nullptr);
        EXPECT_NE(Write(result, "bif").find("0.125, 0.875"), std::string::npos);
    }
}

/// What a plain net lacks, no writer loses, and the rest is the same.
TEST(Reduce, PlainSamplesAreTheSameTables) {
    constexpr AspectEN meaning[] = {AspectEN::name,        AspectEN::kind,       AspectEN::discrete,
                                    AspectEN::states,      AspectEN::stateOrder, AspectEN::parents,
                                    AspectEN::parentOrder, AspectEN::table};
    const FeatureSet beside = Of({title, comment, stateComments, position, exactPosition, groups,
                                  userFields, deterministic, parameters, experience, group,
                                  netTitle, netComment, autoUpdate, labelStyle, zoom, font, grid});
    for (const std::filesystem::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const std::string text = ReadFile(file.string());
        const FormatInfo* const format = DetectFormat(text, file.string());
        if (format == nullptr) continue;
        const ImportResult whole = ReadBack(text, format->code, "test");
        ImportResult plain = ReadBack(text, format->code, "test");
        if (plain.net == nullptr) continue;
        Reduce(*plain.net, {.plain = true});
        const Comparison found = CompareNets(*whole.net, *plain.net, {.tolerance = 1e-3});
        for (const NodeDifference& node : found.nodes)
            for (const Difference& difference : node.differences)
                EXPECT_EQ(std::ranges::count(meaning, difference.aspect), 0)
                    << node.before->name() << ' ' << AspectKey(difference.aspect);
        for (const FormatInfo& written : WrittenFormats()) {
            const Losses losses = written.losses(*plain.net);
            FeatureSet lost = losses.net;
            for (const FeatureSet set : losses.nodes) lost |= set;
            EXPECT_EQ(lost & beside, 0U) << written.name;
        }
    }
}

}  // namespace
}  // namespace lumo::test
