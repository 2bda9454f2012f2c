// Nets compared: what differs is told, what does not is not, whatever the formats.
#include "export/compare.h"

#include <gtest/gtest.h>

#include "export/report.h"
#include "formats/detect.h"
#include "formats/import.h"
#include "tests/places.h"
#include "tests/random_net.h"
#include "tests/roundtrip.h"

namespace lumo::test {
namespace {

/// A comparison in short: a line for each thing that differs.
std::string Told(const Comparison& comparison) {
    std::string text;
    const auto tell = [&text](const std::string& what, const Difference& difference) {
        text += what + AspectKey(difference.aspect);
        if (!difference.of.empty()) text += " " + difference.of;
        if (difference.numbers)
            text += Format(" %lld of %lld in %zu rows, by %g", difference.numbers->different,
                           difference.numbers->all, difference.numbers->rows.size(),
                           difference.numbers->largest);
        else
            text +=
                ": " + difference.before.value_or("-") + " -> " + difference.after.value_or("-");
        text += '\n';
    };
    for (const NodeDifference& node : comparison.nodes) {
        const std::string name = (node.before != nullptr ? node.before : node.after)->name();
        if (node.before == nullptr) text += "+ " + name + '\n';
        if (node.after == nullptr) text += "- " + name + '\n';
        for (const Difference& difference : node.differences) tell(name + " ", difference);
        for (const std::string& note : node.notes) text += name + " (" + note + ")\n";
    }
    for (const Difference& difference : comparison.net) tell("net ", difference);
    return text;
}

OwnedNet Hugin(const std::string& text) { return ImportText(text, FormatHugin).net; }

std::string Compared(const std::string& before, const std::string& after,
                     std::optional<double> tolerance = {}) {
    const OwnedNet a = Hugin(before), b = Hugin(after);
    return Told(CompareNets(*a, *b, {.tolerance = tolerance}));
}

std::string With(std::string text, const std::string& what, const std::string& with) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return at == std::string::npos ? text : text.replace(at, what.size(), with);
}

constexpr const char* wet = R"(net { }
node rain { states = ("no" "yes"); position = (0 0); }
node sprinkler { states = ("off" "on"); position = (100 0); }
node wet { states = ("no" "yes"); label = "Wet grass"; position = (50 100); }
potential (rain) { data = (0.8 0.2); }
potential (sprinkler | rain) { data = ((0.6 0.4) (0.99 0.01)); }
potential (wet | rain sprinkler) { data = (((1 0) (0.1 0.9)) ((0.2 0.8) (0.01 0.99))); }
)";

TEST(Compare, WhatDiffersIsTold) {
    struct {
        const char *what, *with, *told;
    } const cases[] = {
        {"Wet grass", "Wet grass", ""},
        {"Wet grass", "Wet lawn", "wet title: Wet grass -> Wet lawn\n"},
        {"0.8 0.2)", "0.7 0.3)", "rain table 2 of 2 in 1 rows, by 0.1\n"},
        {"0.99 0.01))", "0.9900001 0.0099999))", "sprinkler table 2 of 4 in 1 rows, by 1e-07\n"},
        {"(50 100)", "(60 100)", "wet position: 103, 40 -> 115, 40\n"},
        {"(\"off\" \"on\")", "(\"off\" \"open\")", "sprinkler states: off, on -> off, open\n"},
        {"(\"off\" \"on\")", "(\"off\" \"on\" \"broken\")",
         "sprinkler states: off, on -> off, on, broken\nsprinkler relation: table -> none\n"
         "wet relation: table -> none\n"},
        {"| rain) { data = ((0.6 0.4) (0.99 0.01))", ") { data = (0.6 0.4)",
         "sprinkler parents: rain -> \nsprinkler (tables are not compared, for the parents "
         "differ)\n"},
        {"net { }", "net { HR_Font_Size = \"-20\"; }", "net font: Arial, 12 -> Arial, 20\n"},
    };
    for (const auto& [what, with, told] : cases) {
        const std::string found = Compared(wet, With(wet, what, with));
        EXPECT_EQ(found, told) << with;
    }
}

TEST(Compare, ToleranceIsOfNumbers) {
    const std::string other = With(wet, "0.8 0.2)", "0.81 0.19)");
    EXPECT_NE(Compared(wet, other), "");
    EXPECT_NE(Compared(wet, other, 0.001), "");
    EXPECT_EQ(Compared(wet, other, 0.011), "");
    EXPECT_EQ(Compared(wet, wet, 0), "");
}

TEST(Compare, OtherOrdersAreComparedAfterPermuting) {
    std::string other =
        With(wet, "| rain sprinkler) { data = (((1 0) (0.1 0.9)) ((0.2 0.8) (0.01 0.99)))",
             "| sprinkler rain) { data = (((1 0) (0.2 0.8)) ((0.1 0.9) (0.01 0.99)))");
    EXPECT_EQ(Compared(wet, other),
              "wet parentOrder: rain, sprinkler -> sprinkler, rain\n"
              "wet (its table is compared in the order of the first net)\n");
    other = With(other, "(0.2 0.8)", "(0.3 0.7)");
    EXPECT_EQ(Compared(wet, other),
              "wet parentOrder: rain, sprinkler -> sprinkler, rain\n"
              "wet table 2 of 8 in 1 rows, by 0.1\n"
              "wet (its table is compared in the order of the first net)\n");
    other = With(wet, "(\"no\" \"yes\"); position = (0 0)", "(\"yes\" \"no\"); position = (0 0)");
    other = With(other, "(0.8 0.2)", "(0.2 0.8)");
    other = With(other, "((0.6 0.4) (0.99 0.01))", "((0.99 0.01) (0.6 0.4))");
    other = With(other, "(((1 0) (0.1 0.9)) ((0.2 0.8) (0.01 0.99)))",
                 "(((0.2 0.8) (0.01 0.99)) ((1 0) (0.1 0.9)))");
    EXPECT_EQ(Compared(wet, other),
              "rain stateOrder: no, yes -> yes, no\n"
              "rain (states are compared in the order of the first net)\n");
}

TEST(Compare, NodesAreFoundByNameTitleAndShape) {
    std::string other = wet;
    for (std::size_t at; (at = other.find("wet")) != std::string::npos;)
        other.replace(at, 3, "gras");
    EXPECT_EQ(Compared(wet, other), "wet name: wet -> gras\n");
    other = With(wet, "node rain", "node other { states = (\"a\"); }\nnode rain");
    EXPECT_EQ(Compared(wet, other), "+ other\n");
    EXPECT_EQ(Compared(other, wet), "- other\n");
    // Neither names nor titles nor states: a UAI file's are all made up.
    for (const std::filesystem::path& file : FilesIn(Samples() + "/hugin")) {
        const std::string text = ReadFile(file.string());
        const Trip trip(ReadBack(text, FormatHugin, "test"));
        if (trip.result.net == nullptr) continue;
        const Losses losses = FindWriter("uai")->losses(*trip.result.net);
        const ImportResult uai = ReadBack(Write(trip.result, "uai"), FormatUAI, "test");
        const Comparison found = CompareNets(*trip.result.net, *uai.net, {.losses = &losses});
        EXPECT_TRUE(found.isSame()) << file << '\n' << Told(found);
    }
}

/// A net as each writer writes it, read back.
struct Exports {
    explicit Exports(const ImportResult& first) {
        for (const FormatInfo& format : WrittenFormats()) {
            losses.push_back(format.losses(*first.net));
            read.push_back(ReadBack(Write(first, format.name), format.code, "test"));
        }
    }
    std::vector<Losses> losses;
    std::vector<ImportResult> read;
};

/// The losses of both, of the nodes of the net that was exported first.
Losses Both(const Bnet_bn& net, const Bnet_bn& exported, const Losses& own, const Losses& other) {
    Losses both;
    const Matching places = MatchNodes(exported, net);  // names that both have, or their order
    FeatureSet any = other.net;
    for (std::size_t i = 0; i < places.afterOf.size(); ++i) {
        const int place = places.afterOf[i];
        both.nodes.push_back(place < 0 ? ~FeatureSet{0}
                                       : own.nodes[static_cast<std::size_t>(place)] |
                                             other.nodes[static_cast<std::size_t>(place)]);
        // States that are made up may have the names of others.
        if ((both.nodes.back() & Bit(name)) != 0) both.nodes.back() |= Bit(stateNames);
        any |= both.nodes.back();
    }
    both.net = own.net | any;
    both.groups.assign(exported.nodesets().size(), Bit(group) | Bit(color));
    return both;
}

bool LosesAny(const Losses& losses, FeatureSet features) {
    return std::any_of(losses.nodes.begin(), losses.nodes.end(),
                       [features](FeatureSet set) { return (set & features) != 0; });
}

/// Without names, nodes of two files are known by their links alone.
bool CannotBeMatched(const Losses& a, const Losses& b) {
    const auto breaks = Of({FeatureEN::node, parents});
    return (LosesAny(a, Of({name})) || LosesAny(b, Of({name}))) &&
           (LosesAny(a, breaks) || LosesAny(b, breaks));
}

/// Of nodes and groups that one writer lost and the other did not.
void LeaveOutAdded(const Losses& own, Comparison& comparison) {
    if (LosesAny(own, Bit(FeatureEN::node)))
        std::erase_if(comparison.nodes,
                      [](const NodeDifference& node) { return node.before == nullptr; });
    std::erase_if(comparison.net, [](const Difference& difference) {
        return difference.aspect == AspectEN::group && !difference.before;
    });
}

/// Every export is the net, and every two are the same, but for what their writers announced.
void ExpectSameExports(const ImportResult& first) {
    const Exports exports(first);
    for (std::size_t i = 0; i < exports.read.size(); ++i) {
        const Comparison found =
            CompareNets(*first.net, *exports.read[i].net, {.losses = &exports.losses[i]});
        EXPECT_TRUE(found.isSame()) << WrittenFormats()[i].name << '\n' << Told(found);
        for (std::size_t j = 0; j < exports.read.size(); ++j) {
            if (CannotBeMatched(exports.losses[i], exports.losses[j])) continue;
            const Losses both =
                Both(*first.net, *exports.read[i].net, exports.losses[i], exports.losses[j]);
            Comparison pair =
                CompareNets(*exports.read[i].net, *exports.read[j].net, {.losses = &both});
            LeaveOutAdded(exports.losses[i], pair);
            EXPECT_TRUE(pair.isSame())
                << WrittenFormats()[i].name << " and " << WrittenFormats()[j].name << '\n'
                << Told(pair);
        }
    }
}

TEST(Compare, ExportsAreTheSameNet) {
    for (const std::filesystem::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const std::string text = ReadFile(file.string());
        const FormatInfo* const format = DetectFormat(text, file.string());
        if (format == nullptr) continue;
        const ImportResult first = ReadBack(text, format->code, "test");
        if (first.net != nullptr) ExpectSameExports(first);
    }
}

TEST(Compare, ReportsOfNetsAreReadAsTheNets) {
    for (const std::filesystem::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const ImportResult first = Import(FromFile(file.string()));
        if (first.net == nullptr) continue;
        std::ostringstream page;
        WriteReport(first, page);
        for (const char* asked : {"", "hugin"}) {  // a page has but one format
            ImportOptions options;
            options.format = FindFormat(std::string_view(asked));
            const ImportResult again =
                Import(FromBytes(page.str(), file.filename().string()), options);
            ASSERT_NE(again.net, nullptr);
            const Comparison found = CompareNets(*first.net, *again.net);
            EXPECT_TRUE(found.isSame()) << Told(found);
        }
    }
    std::ostringstream page;
    WriteReport(ImportResult(), page);
    EXPECT_EQ(Import(FromBytes(page.str(), "x.html")).net, nullptr);
}

}  // namespace
}  // namespace lumo::test
