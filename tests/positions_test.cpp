// Positions that a file does not give: nothing is laid out until somebody asks for one.
#include <functional>
#include <map>
#include <sstream>

#include "export/facts.h"
#include "export/picture.h"
#include "export/writers.h"
#include "formats/detect.h"
#include "formats/shared/placing.h"
#include "tests/support.h"

namespace lumo::test {
namespace {

constexpr const char* dsc =
    "belief network x node a { type: discrete[2]; } node b { type: discrete[2]; }"
    "node c { type: discrete[2]; } probability(a) { 0.5, 0.5; }"
    "probability(b | a) { 0.1, 0.9; 0.2, 0.8; } probability(c | a) { 0.1, 0.9; 0.2, 0.8; }";

constexpr const char* bif =
    "network x {} variable a { type discrete [2] { s, t }; } variable b { type discrete [2] "
    "{ s, t }; } variable c { type discrete [2] { s, t }; } probability (a) { table 0.5, 0.5; } "
    "probability (b | a) { (s) 0.1, 0.9; (t) 0.2, 0.8; } "
    "probability (c | a) { (s) 0.1, 0.9; (t) 0.2, 0.8; }";

Imported Unplaced() { return ImportText(bif, FormatBIF); }

Vnet_kt& DrawingOf(const Imported& got) { return *got.net->vnets[0]; }

std::vector<coord_kt> PlacesOf(const Bnet_bn& net) {
    std::vector<coord_kt> places;
    for (const Vnode_kt* vnode : net.vnets[0]->vnodes) places.push_back(vnode->position());
    return places;
}

/// What the command line and the modules do with every net.
void LookAt(Imported& got) {
    const Facts facts(*got.net);
    EXPECT_NE(facts.positions, PositionsEN::file);
    for (const char* format : {"bif", "xdsl", "hugin", "dsc", "uai", "dot"}) {
        ImportResult result;
        result.net = std::move(got.net);
        std::ostringstream out;
        const Writer& writer = *FindWriter(format);
        if (writer.losses != nullptr) writer.losses(*result.net);
        writer.write(result, out);
        got.net = std::move(result.net);
    }
    MakePicture(*got.net);
}

TEST(Positions, NobodyPaysForALayoutThatNobodyLooksAt) {
    const std::map<std::string, std::string> texts = {
        {"dsc", dsc},
        {"bif", bif},
        {"dxpress",
         "diagnostic network \"k\" nodes { standard \"a\" { type: discrete[2] = { standard { name: "
         "\"s\"; } fault { name: \"t\"; } }; } standard \"b\" { type: discrete[2]; } }"},
        {"ergo",
         "3 2 2 2 0 1 1 1 1 2 .5 .5 4 .1 .9 .2 .8 4 .1 .9 .2 .8 a b c s t s t s t 0 0 0 0 0 0"}};
    for (const FormatInfo& format : Formats()) {
        SCOPED_TRACE(format.name);
        const auto known = texts.find(format.name);
        std::string text = known == texts.end() ? "" : known->second;
        if (const Writer* writer = FindWriter(format.name); text.empty() && writer != nullptr) {
            ImportResult result;
            result.net = ImportText(dsc, FormatDsc).net;
            std::ostringstream out;
            writer->write(result, out);
            text = out.str();
        }
        Imported got = ImportText(text, format.code);
        ASSERT_NE(got.net, nullptr) << text;
        const bool isToBeLaidOut = DrawingOf(got).laidOut;
        EXPECT_EQ(DrawingOf(got).arePlacesKnown(), !isToBeLaidOut);
        LookAt(got);
        EXPECT_EQ(DrawingOf(got).arePlacesKnown(), !isToBeLaidOut);
        PlacesOf(*got.net);
        EXPECT_TRUE(DrawingOf(got).arePlacesKnown());
    }
}

TEST(Positions, AreThoseOfTheLayoutHoweverOneAsks) {
    const Imported expected = Unplaced();
    const std::vector<coord_kt> places = PlacesOf(*expected.net);
    rect_kt extent;
    DrawingOf(expected).findExtent(extent);
    const coord_kt size = DrawingOf(expected).extent();
    EXPECT_EQ(size, (coord_kt{extent.right + 40, extent.bottom + 20}));
    EXPECT_GE(extent.left, 30);
    EXPECT_GE(extent.top, 10);
    EXPECT_LE(extent.right, 30 + 346);
    EXPECT_LE(extent.bottom, 10 + 173);
    const std::pair<const char*, std::function<void(Vnet_kt&)>> ways[] = {
        {"reformed", [](Vnet_kt& drawing) { drawing.reformAllAndRedraw(); }},
        {"settled", [](Vnet_kt& drawing) { drawing.settle(); }},
        {"extent first", [](Vnet_kt& drawing) { static_cast<void>(drawing.extent()); }},
        {"moved by nothing",
         [](Vnet_kt& drawing) {
             drawing.vnodes[1]->moveBy({0, 0}, 1);
         }},
        {"extent set", [&](Vnet_kt& drawing) { drawing.setExtent(size); }},
        {"nothing", [](Vnet_kt&) {}},
    };
    for (const auto& [what, way] : ways) {
        SCOPED_TRACE(what);
        const Imported got = Unplaced();
        way(DrawingOf(got));
        EXPECT_EQ(PlacesOf(*got.net), places);
        EXPECT_EQ(DrawingOf(got).extent(), size);
    }
}

TEST(Positions, StayWhatTheyWereWhenTheNetChanges) {
    const Imported got = Unplaced();
    const std::vector<coord_kt> before = PlacesOf(*got.net);
    Bnode_bn* const added = NewNode_ibn("d", 2, *got.net, {7, 8});
    EXPECT_EQ(added->vns[0]->position(), (coord_kt{7, 8}));
    SetNodeVisPosition_ibn(*got.net->nodes[0], {1, 2}, nullptr);
    BndList_bn gone;
    gone.append(got.net->nodes[1]);
    RemoveNodes_ibn(*got.net, gone);
    EXPECT_EQ(PlacesOf(*got.net), (std::vector<coord_kt>{{1, 2}, before[2], {7, 8}}));
    EXPECT_TRUE(HasPlaces(*got.net)) << "somebody placed a node";

    const Imported unseen = Unplaced();
    BndList_bn first;
    first.append(unseen.net->nodes[0]);
    RemoveNodes_ibn(*unseen.net, first);
    EXPECT_FALSE(DrawingOf(unseen).arePlacesKnown());
    EXPECT_EQ(PlacesOf(*unseen.net).size(), 2U);
}

}  // namespace
}  // namespace lumo::test
