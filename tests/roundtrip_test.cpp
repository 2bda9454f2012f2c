// Written nets read back: samples, random nets, and the files of a folder.
#include "tests/roundtrip.h"
#include "tests/places.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>
#include <random>
#include <set>

#include "export/compare.h"
#include "formats/detect.h"
#include "formats/shared/describe.h"
#include "formats/shared/labels.h"
#include "library/utilities/text.h"
#include "tests/random_net.h"
#include "tests/strict_readers.h"

namespace lumo::test {
namespace {

namespace fs = std::filesystem;

/// Reads a file of any format; no net when its format is not recognised.
ImportResult ReadAny(const fs::path& file) {
    ImportResult result;
    const std::string text = ReadFile(file.string());
    const FormatInfo* format = DetectFormat(text, file.string());
    if (format == nullptr) return result;
    result = ReadBack(text, format->code, file.filename().string().c_str());
    result.format = format->name;
    return result;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (std::size_t i = 0; i < lines.size() && i < 10; ++i) text += lines[i] + '\n';
    return text;
}

/// A net's nodes as far as the file has them, and their places in it.
struct InFile {
    std::vector<int> nodes;
    std::map<const Bnode_bn*, std::size_t> places;

    InFile(const Bnet_bn& net, const Losses& losses) {
        for (int i = 0; i < net.nodes.N; ++i) {
            if ((losses.nodes[static_cast<std::size_t>(i)] & Bit(FeatureEN::node)) != 0) continue;
            places.emplace(net.nodes[i], nodes.size());
            nodes.push_back(i);
        }
    }
};

/// The table of a node as the model has it, its rows summing to their experience.
std::vector<float> CountsOf(const Bnode_bn& node, bool weighs) {
    const Tables tables(node.net());
    const HeldTable table =
        node.relation.kind == RelnKindEN::real ? RealTable(node.relation) : tables.of(node);
    const std::size_t states = static_cast<std::size_t>(std::max(node.numStates(), 1));
    std::vector<float> counts(static_cast<std::size_t>(NumProduct(node.parents)) * states);
    for (std::size_t i = 0; i < counts.size(); ++i)
        counts[i] = static_cast<float>(table[static_cast<std::ptrdiff_t>(i)]) *
                    (weighs ? node.relation.exper[i / states] : 1.0F);
    return counts;
}

/// What the file says of a node against the net and the announced losses.
void CompareStrict(const Bnode_bn& node, FeatureSet lost, const StrictNode& read,
                   const InFile& file, const FormatInfo& info) {
    SCOPED_TRACE(node.name());
    const std::string_view format = info.name;
    const auto kept = [lost](FeatureEN feature) { return (lost & Bit(feature)) == 0; };
    const bool byTitle =
        format == "xmlbif" && node.title != nullptr && read.name == ToUtf8(node.title);
    EXPECT_TRUE(byTitle || read.name == node.name() || !kept(FeatureEN::name)) << read.name;
    EXPECT_EQ(read.isPlaced, info.hasPositions && HasPlaces(node.net()));
    if (kept(FeatureEN::kind)) {
        EXPECT_EQ(read.kind, KindName(node.kind));
    }
    std::vector<std::size_t> parents;
    for (const Bnode_bn* parent : node.parents)
        if (file.places.contains(parent)) parents.push_back(file.places.at(parent));
    EXPECT_TRUE(read.parents == parents ||
                ((format == "uai" || format == "bif") && !kept(FeatureEN::parents)));
    const bool hasTable = node.relation.kind != RelnKindEN::none && kept(FeatureEN::table);
    const bool mayBeUniform = format == "xdsl" || format == "uai";
    EXPECT_TRUE(read.hasTable == hasTable || (mayBeUniform && read.hasTable));
    if (kept(FeatureEN::utilityForm)) {
        ASSERT_EQ(read.states.size(), static_cast<std::size_t>(node.numStates()));
        char* const* names = kept(FeatureEN::stateNames) ? node.variable.stateNames : nullptr;
        EXPECT_TRUE(!AreStateNames(read.states) || AreKept(names, read.states));
    }
    if (!hasTable || !read.hasTable) return;
    const bool weighs = format == "hugin" && node.relation.experFromCounts;
    if (weighs && !kept(FeatureEN::experience)) return;
    const std::vector<float> counts = CountsOf(node, weighs);
    EXPECT_TRUE(std::equal(counts.begin(), counts.end(), read.table.begin(), read.table.end(),
                           [weighs, &read](float a, float b) {
                               float slack = 0;
                               if (weighs) slack = a == 0 ? 0.001F : 3e-7F * a;  // of counts
                               if (read.isComputed) slack = 1e-5F;
                               return AreClose(a, b) || std::fabs(a - b) <= slack;
                           }));
}

/// The nodes of a file that has parents first, in the order of the net.
StrictNet InOrder(StrictNet read, const Bnet_bn& net, const InFile& file) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < file.nodes.size(); ++i)
        places.emplace(net.nodes[file.nodes[i]]->name(), i);
    StrictNet ordered(read.size());
    for (StrictNode& node : read) {
        for (std::size_t& parent : node.parents) parent = places.at(read[parent].name);
    }
    for (StrictNode& node : read) ordered.at(places.at(node.name)) = node;
    return ordered;
}

void ExpectStrict(const ImportResult& result) {
    for (const FormatInfo& format : WrittenFormats()) {
        SCOPED_TRACE(format.name);
        const StrictReader reader = FindStrictReader(format.name);
        ASSERT_NE(reader, nullptr) << "strict_readers.h has none of this format";
        const Losses losses = format.losses(*result.net);
        StrictNet read;
        ASSERT_NO_THROW(read = reader(Write(result, format.name)));
        const InFile file(*result.net, losses);
        ASSERT_EQ(read.size(), file.nodes.size());
        if (std::string_view(format.name) == "xdsl") read = InOrder(read, *result.net, file);
        for (std::size_t i = 0; i < read.size(); ++i) {
            CompareStrict(*result.net->nodes[file.nodes[i]],
                          losses.nodes[static_cast<std::size_t>(file.nodes[i])], read[i], file,
                          format);
        }
    }
}

/// Through every format, and what the strict readers say; whether each came back the same.
std::vector<bool> ExpectRoundTrips(const Trip& first, const char* name) {
    std::vector<bool> same;
    for (const FormatInfo& format : WrittenFormats()) {
        const auto faults = RoundTrip(first, format, name);
        EXPECT_TRUE(faults.empty()) << "as " << format.name << '\n' << Joined(faults);
        same.push_back(faults.empty());
    }
    ExpectStrict(first.result);
    return same;
}

class RandomNets : public testing::TestWithParam<unsigned> {};

TEST_P(RandomNets, InEveryFormat) {
    for (unsigned seed = GetParam(); seed < GetParam() + 50 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ImportResult made;
        Collector silent;
        const HandlerScope scope(silent);
        made.net = RandomNet(seed).make();
        ExpectRoundTrips(Trip(std::move(made)), "test");
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomNets, testing::Range(1U, 401U, 50U),
                         testing::PrintToStringParamName());

/// Every sample through every format; with LUMO_ROUNDTRIP_FILES=FOLDER every file in it, and a
/// table of how many came back the same.
TEST(RoundTrip, EverySampleInEveryFormat) {
    const char* folder = std::getenv("LUMO_ROUNDTRIP_FILES");
    struct Tally {
        int files = 0, same = 0, unread = 0;
        std::map<std::string, int> announced;
    };
    std::map<std::string, Tally> tallies;
    for (const fs::path& file : FilesIn(folder != nullptr ? folder : Samples())) {
        SCOPED_TRACE(file);
        const Trip trip(ReadAny(file));
        const ImportResult& first = trip.result;
        if (first.net == nullptr) {
            ++tallies["not read"].unread;
            continue;
        }
        const std::vector<bool> same = ExpectRoundTrips(trip, file.filename().string().c_str());
        for (std::size_t i = 0; i < same.size(); ++i) {
            const FormatInfo& writer = WrittenFormats()[i];
            Tally& tally = tallies[first.format + " to " + writer.name];
            const auto notes = LossNotes(writer.losses(*first.net), writer.title);
            ++tally.files;
            tally.same += same[i] && notes.empty();
            for (const std::string& note : notes) {
                std::string kind;  // without its count
                for (const char c : note.substr(0, note.find(" not kept")))
                    if (c < '0' || c > '9') kind += c;
                ++tally.announced[kind];
            }
        }
    }
    if (folder == nullptr) {
        EXPECT_EQ(tallies["not read"].unread, 0);
        return;
    }
    for (const auto& [name, tally] : tallies) {
        std::cout << name << ": " << tally.files << " files, " << tally.same << " the same";
        if (tally.unread > 0) std::cout << ", " << tally.unread << " without a net";
        std::cout << '\n';
        for (const auto& [kind, count] : tally.announced)
            std::cout << "    " << count << " files: " << kind << " not kept\n";
    }
}

/// The numbers of the node's table as doubles; none without a table.
std::vector<double> NumbersOf(const Bnode_bn& node) {
    const Tables tables(node.net());
    const bool real = node.relation.kind == RelnKindEN::real;
    const HeldTable table = real ? RealTable(node.relation) : tables.of(node);
    if (!table) return {};
    const int states = real ? std::max(node.numStates(), 1) : node.numStates();
    std::vector<double> numbers(static_cast<std::size_t>(NumProduct(node.parents)) *
                                static_cast<std::size_t>(states));
    for (std::size_t i = 0; i < numbers.size(); ++i)
        numbers[i] = table[static_cast<std::ptrdiff_t>(i)];
    return numbers;
}

/// The net as it comes back through a format; the tables that it keeps have the same doubles.
ImportResult ExpectSameNumbers(const ImportResult& before, const FormatInfo& format) {
    SCOPED_TRACE(format.name);
    const Losses losses = FindWriter(format.name)->losses(*before.net);
    ImportResult after = ReadBack(Write(before, format.name), format.code, "numbers");
    std::size_t at = 0;
    const bool reordered = (losses.net & Bit(nodeOrder)) != 0;
    for (int i = 0; i < before.net->nodes.N; ++i) {
        const FeatureSet lost = losses.nodes[static_cast<std::size_t>(i)];
        if ((lost & Bit(FeatureEN::node)) != 0) continue;
        const Bnode_bn& node = *before.net->nodes[i];
        const Bnode_bn* const read = reordered ? after.net->findNodeLabeled(node.name())
                                               : after.net->nodes[static_cast<int>(at)];
        ++at;
        if (read == nullptr || (lost & Of({table, exactTable, noTable, parents})) != 0) continue;
        EXPECT_EQ(NumbersOf(node), NumbersOf(*read)) << node.name();
    }
    return after;
}

/// Every number that a file says is the same double in its own format and through any other two.
TEST(RoundTrip, NumbersAreTheSameDoubles) {
    for (const fs::path& file : FilesIn(Samples())) {
        SCOPED_TRACE(file);
        const ImportResult first = ReadAny(file);
        if (first.net == nullptr) continue;
        for (const FormatInfo& format : WrittenFormats()) {
            const ImportResult second = ExpectSameNumbers(first, format);
            for (const FormatInfo& other : WrittenFormats()) ExpectSameNumbers(second, other);
        }
        const Json nodes = Flat(first)["nodes"];
        for (int i = 0; i < first.net->nodes.N; ++i) {
            const Json& table = nodes[static_cast<std::size_t>(i)]["relation.table"];
            if (!table.is_null()) {
                EXPECT_EQ(table.get<std::vector<double>>(), NumbersOf(*first.net->nodes[i]));
            }
        }
    }
}

/// What the format keeps of the nets, as if of a net of one node and one group.
struct KeptFeatures {
    FeatureSet ofNodes = 0, ofGroups = 0, ofNet = 0;

    void add(const Bnet_bn& net, const FormatInfo& format) {
        const Losses losses = format.losses(net);
        for (int i = 0; i < net.nodes.N; ++i) {
            FeatureSet lost = losses.nodes[static_cast<std::size_t>(i)];
            if (!HasPlaces(net)) lost |= Bit(position);
            if ((lost & Bit(position)) != 0) lost |= Bit(exactPosition);
            if ((lost & Bit(FeatureEN::node)) == 0) ofNodes |= FeaturesOf(*net.nodes[i]) & ~lost;
        }
        const std::vector<RGB> colors = NodesetColors(net);
        for (std::size_t i = 0; i < losses.groups.size(); ++i) {
            const FeatureSet has = Bit(group) | (IsDefaultColor(colors[i]) ? 0 : Bit(color));
            if ((losses.groups[i] & Bit(group)) == 0) ofGroups |= has & ~losses.groups[i];
        }
        ofNet |= FeaturesOf(net) & ~losses.net;
    }
    std::vector<std::string> lackedBy(const KeptFeatures& other) const {
        Losses losses;
        losses.nodes = {ofNodes & ~other.ofNodes};
        losses.groups = {ofGroups & ~other.ofGroups};
        losses.net = ofNet & ~other.ofNet;
        return LossNotes(losses, "the file");
    }
};

/// A file of each format that says all that the format can: as it is read, it is written, every
/// number and text, and nothing is told.
TEST(RoundTrip, OwnFormatsKeepAll) {
    const std::vector<std::string> none;
    std::size_t files = 0;
    for (const fs::path& file : FilesIn(Samples() + "/../tests/kept")) {
        SCOPED_TRACE(file);
        const std::string text = ReadFile(file.string());
        const FormatInfo* const format = DetectFormat(text, file.string());
        ASSERT_NE(format, nullptr);
        const auto read = [&](const std::string& from) {
            ImportResult result;
            result.net = ImportLeniently(from, format->code, "kept").net;
            return Trip(std::move(result));
        };
        const Trip first = read(text);
        ASSERT_NE(first.result.net, nullptr);
        EXPECT_EQ(LossNotes(format->losses(*first.result.net), format->title),
                  std::vector<std::string>());
        const Trip second = read(Write(first.result, format->name));
        ASSERT_NE(second.result.net, nullptr);
        EXPECT_TRUE(CompareNets(*first.result.net, *second.result.net, {.tolerance = 0}).isSame());
        for (std::size_t i = 0; i < first.flat["nodes"].size(); ++i)
            EXPECT_EQ(first.flat["nodes"][i], second.flat["nodes"][i]);
        EXPECT_EQ(first.flat, second.flat);
        KeptFeatures has, any;
        Collector silent;
        const HandlerScope scope(silent);
        has.add(*first.result.net, *format);
        for (unsigned seed = 1; seed <= 100; ++seed) any.add(*RandomNet(seed).make(), *format);
        EXPECT_EQ(any.lackedBy(has), none);
        ++files;
    }
    EXPECT_EQ(files, WrittenFormats().size());
}

/// A net on its way through many formats.
class Chain {
public:
    explicit Chain(Trip first) : now_(std::move(first)) {}

    /// Writes and reads the net. After the first step the numbers stay, but for what is told as
    /// lost; those of a node are rounded once at most.
    void step(const FormatInfo& format) {
        SCOPED_TRACE(format.name);
        Losses losses = format.losses(*now_.result.net);
        Json before = now_.flat;
        now_ = Trip(ReadBack(Write(now_.result, format.name), format.code, "chain"));
        ASSERT_NE(now_.result.net, nullptr);
        DropLost(before, losses);
        Json nodes = now_.flat["nodes"];
        if ((losses.net & Bit(nodeOrder)) != 0) SortLike(before["nodes"], nodes);
        ASSERT_EQ(before["nodes"].size(), nodes.size());
        std::set<std::string> rounded;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Json& was = before["nodes"][i];
            const std::string name = nodes[i]["name"];
            const bool wasRounded = rounded_.contains(was["name"]);
            const bool isSame = isFirst_ || AreKept(was, nodes[i], losses.nodes[i]);
            const bool mayRound = (losses.nodes[i] & Bit(exactTable)) != 0 && !wasRounded;
            EXPECT_TRUE(isSame || mayRound)
                << name << was["relation.table"] << " became " << nodes[i]["relation.table"];
            if (wasRounded || !isSame) rounded.insert(name);
        }
        rounded_ = std::move(rounded);
        isFirst_ = false;
    }

private:
    static bool AreKept(const Json& was, const Json& is, FeatureSet lost) {
        const auto isKept = [&](const char* key, FeatureSet features) {
            return (lost & features) != 0 || was[key] == is[key];
        };
        return isKept("relation.table", Of({table, noTable, parents})) &&
               isKept("relation.experience", Of({table, noTable, parents, experience}));
    }

    Trip now_;
    bool isFirst_ = true;
    std::set<std::string> rounded_;  ///< nodes of rows that do not sum to 1, which a format scaled
};

/// Sixty conversions leave the numbers as the first one did: by turns in formats that know
/// utilities and in all.
TEST(RoundTrip, ChainsDoNotDrift) {
    std::vector<const FormatInfo*> all, rich;
    for (const FormatInfo& format : WrittenFormats()) {
        all.push_back(&format);
        const std::string_view name = format.name;
        if (name == "hugin" || name == "xmlbif" || name == "xdsl") rich.push_back(&format);
    }
    std::mt19937 random(60);
    int files = 0;
    const char* folder = std::getenv("LUMO_ROUNDTRIP_FILES");
    for (const fs::path& file : FilesIn(folder != nullptr ? folder : Samples())) {
        SCOPED_TRACE(file);
        const auto& formats = files++ % 2 == 0 ? rich : all;
        Trip first(ReadAny(file));
        if (first.result.net == nullptr) continue;
        Chain chain(std::move(first));
        for (int i = 0; i < 60 && !HasFatalFailure(); ++i)
            chain.step(*formats[random() % formats.size()]);
    }
}

/// Nothing becomes impossible, or certain: not in single precision, and in no format.
TEST(RoundTrip, WhatIsPossibleStaysSo) {
    ImportResult result;
    result.net =
        ImportLeniently(
            "net { } node a { states = (\"x\" \"y\"); } node b { states = (\"x\" \"y\"); }"
            "potential (a) { data = (1e-50 1); } potential (b | a) { data = ((1 0) (1e-46 1)); }",
            FormatHugin)
            .net;
    for (const FormatInfo& format : WrittenFormats()) {
        SCOPED_TRACE(format.name);
        const Imported read = ImportLeniently(Write(result, format.name), format.code);
        ASSERT_EQ(read.net->nodes.N, 2);
        const Bnode_bn& a = *read.net->nodes[0];
        const Bnode_bn& b = *read.net->nodes[1];
        EXPECT_EQ(a.relation.kind, RelnKindEN::table);
        EXPECT_EQ(b.relation.kind, RelnKindEN::table);
        EXPECT_EQ(NumbersOf(a), std::vector<double>({1e-50, 1}));
        EXPECT_EQ(NumbersOf(b), std::vector<double>({1, 0, 1e-46, 1}));
        constexpr float least = std::numeric_limits<float>::denorm_min();
        EXPECT_EQ(a.relation.probs[0], least);
        EXPECT_EQ(b.relation.probs[1], 0);
        EXPECT_EQ(b.relation.probs[2], least);
        EXPECT_EQ(read.seen.count(-5429), 1) << read.seen.text();
    }
}

/// Every digit, however the numbers of a table are separated.
TEST(RoundTrip, DigitsOfEverySpelling) {
    const struct {
        int format;
        const char *before, *behind;
    } files[] = {
        {FormatDsc,
         "belief network \"n\"\nnode a { type : discrete [ 3 ] = { \"x\", \"y\", \"z\" }; }\n"
         "probability ( a ) { ",
         "; }\n"},
        {FormatHugin,
         "net { }\nnode a { states = (\"x\" \"y\" \"z\"); }\npotential ( a ) { data = ( ",
         " ); }\n"},
        {FormatBIF,
         "network n { }\nvariable a { type discrete [ 3 ] { x, y, z }; }\nprobability ( a ) { "
         "table ",
         "; }\n"},
        {FormatXDSL,
         "<smile version=\"1.0\" id=\"n\"><nodes><cpt id=\"a\"><state id=\"x\"/><state id=\"y\"/>"
         "<state id=\"z\"/><probabilities>",
         "</probabilities></cpt></nodes></smile>"},
    };
    const std::vector<double> numbers{0.123456789012345, 0.376543210987655, 0.5};
    for (const auto& file : files) {
        for (const std::string separator : {" ", ", ", ",", "\n"}) {
            const std::string text = file.before + ("0.123456789012345" + separator) +
                                     "0.376543210987655" + separator + "0.5" + file.behind;
            SCOPED_TRACE(text);
            const ImportResult read = ReadBack(text, file.format, "digits");
            ASSERT_NE(read.net, nullptr);
            EXPECT_EQ(NumbersOf(*read.net->nodes[0]), numbers);
        }
    }
}

/// Long lists, whose length is foreseen by how they begin.
TEST(RoundTrip, LongListsOfNumbersOfEveryLength) {
    constexpr int states = 200, count = states * states;
    std::string text = "<smile version=\"1.0\" id=\"n\"><nodes>";
    const auto node = [&](const char* id) {
        text += Format("<cpt id=\"%s\">", id);
        for (int i = 0; i < states; ++i) text += Format("<state id=\"s%d\"/>", i);
    };
    node("a");
    text += "</cpt>";
    node("b");
    text += "<parents>a</parents><probabilities>";
    const auto isLong = [](int way, int i) {
        return way == 0 ? i >= count / 2 : way == 1 ? i < count / 2 : way == 2 && i % 1000 == 0;
    };
    for (int way = 0; way < 4; ++way) {
        SCOPED_TRACE(way);
        std::string file = text;
        std::vector<double> numbers;
        for (int i = 0; i < count; ++i) {
            numbers.push_back(isLong(way, i) ? 0.123456789012345 : 0.5);
            file += isLong(way, i) ? " 0.123456789012345" : " .5";
        }
        file += "</probabilities></cpt></nodes></smile>";
        const ImportResult read = ReadBack(file, FormatXDSL, "long");
        ASSERT_NE(read.net, nullptr);
        EXPECT_EQ(read.net->nodes[1]->relation.exact != nullptr, way != 3);
        EXPECT_TRUE(NumbersOf(*read.net->nodes[1]) == numbers);
    }
}

}  // namespace
}  // namespace lumo::test
